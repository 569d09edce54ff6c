#include "generate/escape.h"

#include <array>

#include "generate/cp1252.h"

namespace rq {

namespace {

struct SpecialTable {
    std::array<bool, 256> special{};
    SpecialTable() {
        for (unsigned char c : {'&', '<', '>', '\n', '"'}) special[c] = true;
    }
};
const SpecialTable kSpecial;

}  // namespace

bool needsEscaping(std::string_view text) {
    for (unsigned char c : text)
        if (kSpecial.special[c]) return true;
    return false;
}

void appendEscaped(std::string& out, std::string_view text) {
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto c = static_cast<unsigned char>(text[i]);
        if (!kSpecial.special[c]) continue;
        out.append(text.data() + start, i - start);
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '\n':
                out += "\r\n";
                break;
            default:
                out += "&quot;";
                break;
        }
        start = i + 1;
    }
    out.append(text.data() + start, text.size() - start);
}

std::string replacertxt(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 8);
    appendEscaped(out, text);
    return out;
}

const std::string& symbolTableEntry(int k) {
    static const std::array<std::string, 128> table = [] {
        std::array<std::string, 128> t;
        for (int i = 0; i < 128; ++i)
            appendUtf8(t[static_cast<std::size_t>(i)],
                       cp1252ToUnicode(static_cast<unsigned char>(128 + i)));
        return t;
    }();
    return table[static_cast<std::size_t>(k & 127)];
}

// Every converted byte is replaced by bytes of its own table entry only, and
// no entry can be mistaken for another character's marker, so one pass gives
// the same text as marking every character first and converting the markers
// afterwards.
std::string symbrep(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (unsigned char c : text) {
        if (c < 128)
            out += static_cast<char>(c);
        else
            out += symbolTableEntry(c - 128);
    }
    return out;
}

std::string ascterep(std::string_view name) {
    std::string s(name);
    if (s.empty()) return s;
    char32_t c;
    std::size_t len = decodeUtf8(s, 0, c);
    int code = cp1252Code(c);
    if (code < 65 || code > 122) s.erase(0, len);
    if (!s.empty()) {
        len = decodeUtf8(s, 0, c);
        code = cp1252Code(c);
        if (code > 90 && code < 97 && code != 95) s.erase(0, len);
    }
    return s;
}

std::string encodeForFile(std::string_view utf8, bool convertSymbols) {
    if (convertSymbols) return std::string(utf8);
    return utf8ToCp1252(utf8);
}

}  // namespace rq
