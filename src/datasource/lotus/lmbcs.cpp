#include "datasource/lotus/lmbcs.h"

#include <cstdint>

#include "datasource/bytes.h"
#include "datasource/codepage.h"

namespace rq::lotus {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

// The code page of a group byte followed by one byte, 0 when the group is not one.
int singleByteGroup(unsigned char g) {
    switch (g) {
        case 0x01:
            return 850;
        case 0x02:
            return 851;
        case 0x03:
            return 1255;
        case 0x04:
            return 1256;
        case 0x05:
            return 1251;
        case 0x06:
            return 852;
        case 0x08:
            return 1254;
        case 0x0B:
            return 874;
        default:
            return 0;
    }
}

// The code page of a group byte followed by two bytes, 0 when the group is not one.
int doubleByteGroup(unsigned char g) {
    switch (g) {
        case 0x10:
            return 932;
        case 0x11:
            return 949;
        case 0x12:
            return 950;
        case 0x13:
            return 936;
        default:
            return 0;
    }
}

constexpr unsigned char kControlGroup = 0x0F;
constexpr unsigned char kUnicodeGroup = 0x14;

}  // namespace

bool hasLowBytes(std::string_view bytes) {
    for (char c : bytes)
        if (c != '\0' && static_cast<unsigned char>(c) < 0x20) return true;
    return false;
}

std::string decodeLmbcs(std::string_view b, const CodePage& base) {
    b = b.substr(0, b.find('\0'));
    std::string out;
    out.reserve(b.size());
    std::size_t i = 0;
    bytes::Utf16Decoder wide(out);  // pairs the surrogates of consecutive 0x14 groups
    // The n bytes after the group byte, or false when the text ends first.
    auto take = [&](std::size_t n, std::string_view& part) {
        if (i + 1 + n > b.size()) return false;
        part = b.substr(i + 1, n);
        i += 1 + n;
        return true;
    };
    while (i < b.size()) {
        const auto c = static_cast<unsigned char>(b[i]);
        std::string_view part;
        if (c != kUnicodeGroup) wide.finish();
        if (c >= 0x20) {
            const std::size_t start = i;
            while (i < b.size() && static_cast<unsigned char>(b[i]) >= 0x20) ++i;
            base.appendUtf8(out, b.substr(start, i - start));
        } else if (c == kControlGroup) {
            if (!take(1, part)) break;
            const auto v = static_cast<unsigned char>(part[0]);
            if (v > 0x20 && v < 0x40)
                out += static_cast<char>(v - 0x20);
            else if (v == 0x20)
                continue;  // a zero character: text cannot hold it
            else
                out += kReplacement;
        } else if (int cp = singleByteGroup(c)) {
            if (!take(1, part)) break;
            CodePage::get(cp).appendUtf8(out, part);
        } else if (int cp = doubleByteGroup(c)) {
            if (!take(2, part)) break;
            CodePage::get(cp).appendUtf8(out, part);
        } else if (c == kUnicodeGroup) {
            if (!take(2, part)) break;
            wide.unit(static_cast<std::uint16_t>(bytes::uc(part)[0] << 8 | bytes::uc(part)[1]));
        } else {
            out += static_cast<char>(c);  // a control character written as itself
            ++i;
        }
    }
    wide.finish();
    if (i < b.size()) out += kReplacement;  // a group byte cut off by the end
    return out;
}

}  // namespace rq::lotus
