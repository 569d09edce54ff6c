#include "generate/escape.h"

#include <array>

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

std::string escapeXml(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 8);
    appendEscaped(out, text);
    return out;
}

}  // namespace rq
