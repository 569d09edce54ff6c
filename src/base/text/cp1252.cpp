#include "base/text/cp1252.h"

#include <cstdint>
#include <cstring>

namespace rq {

namespace {

// 0x80 .. 0x9F; 0xA0 .. 0xFF equal their Unicode code points.
constexpr char16_t kHigh[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

}  // namespace

char32_t cp1252ToUnicode(unsigned char b) {
    if (b >= 0x80 && b < 0xA0) return kHigh[b - 0x80];
    return b;
}

int unicodeToCp1252(char32_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<int>(c);
    for (int i = 0; i < 32; ++i)
        if (kHigh[i] == c) return 0x80 + i;
    return -1;
}

int cp1252Code(char32_t c) {
    int b = unicodeToCp1252(c);
    return b < 0 ? 63 : b;
}

std::size_t decodeUtf8(std::string_view s, std::size_t pos, char32_t& out) {
    auto b = static_cast<unsigned char>(s[pos]);
    if (b < 0x80) {
        out = b;
        return 1;
    }
    int len = (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 0;
    if (len == 0 || pos + static_cast<std::size_t>(len) > s.size()) {
        out = 0xFFFD;
        return 1;
    }
    char32_t c = b & (0x7F >> len);
    for (int k = 1; k < len; ++k) {
        auto n = static_cast<unsigned char>(s[pos + static_cast<std::size_t>(k)]);
        if ((n & 0xC0) != 0x80) {
            out = 0xFFFD;
            return 1;
        }
        c = (c << 6) | (n & 0x3F);
    }
    out = c;
    return static_cast<std::size_t>(len);
}

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

void appendCp1252(std::string& out, std::string_view utf8) {
    out.reserve(out.size() + utf8.size());
    const char* s = utf8.data();
    const std::size_t n = utf8.size();
    std::size_t i = 0;
    while (i < n) {
        std::size_t start = i;
        // Whole words of ASCII first, then single bytes.
        while (i + 8 <= n) {
            std::uint64_t w;
            std::memcpy(&w, s + i, 8);
            if (w & 0x8080808080808080ULL) break;
            i += 8;
        }
        while (i < n && !(static_cast<unsigned char>(s[i]) & 0x80)) ++i;
        out.append(s + start, i - start);
        if (i >= n) break;
        char32_t c;
        i += decodeUtf8(utf8, i, c);
        int code = unicodeToCp1252(c);
        out += code < 0 ? '?' : static_cast<char>(code);
    }
}

std::string utf8ToCp1252(std::string_view utf8) {
    std::string out;
    appendCp1252(out, utf8);
    return out;
}

std::string cp1252ToUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (unsigned char b : bytes) appendUtf8(out, cp1252ToUnicode(b));
    return out;
}

}  // namespace rq
