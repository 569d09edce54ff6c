#include "base/xml/xmltext.h"

#include <cstdio>

namespace rq {

namespace {

// Decodes one strict UTF-8 sequence at s[i]; returns its length, or 0 when the
// bytes there are not UTF-8.
std::size_t decodeStrict(std::string_view s, std::size_t i, char32_t& code) {
    const auto b0 = static_cast<unsigned char>(s[i]);
    if (b0 < 0x80) {
        code = b0;
        return 1;
    }
    std::size_t len;
    char32_t min;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        len = 2;
        min = 0x80;
        code = b0 & 0x1F;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        len = 3;
        min = 0x800;
        code = b0 & 0x0F;
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        len = 4;
        min = 0x10000;
        code = b0 & 0x07;
    } else {
        return 0;
    }
    if (i + len > s.size()) return 0;
    for (std::size_t k = 1; k < len; ++k) {
        const auto b = static_cast<unsigned char>(s[i + k]);
        if ((b & 0xC0) != 0x80) return 0;
        code = (code << 6) | (b & 0x3F);
    }
    if (code < min || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
    return len;
}

void appendEscaped(std::string& out, std::string_view text, bool attribute) {
    std::size_t plain = 0;  // start of the run not yet copied
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char* ref = nullptr;
        switch (text[i]) {
            case '&':
                ref = "&amp;";
                break;
            case '<':
                ref = "&lt;";
                break;
            case '>':
                ref = "&gt;";
                break;
            case '\r':
                ref = "&#13;";
                break;
            case '"':
                ref = attribute ? "&quot;" : nullptr;
                break;
            case '\n':
                ref = attribute ? "&#10;" : nullptr;
                break;
            case '\t':
                ref = attribute ? "&#9;" : nullptr;
                break;
            default:
                break;
        }
        if (!ref) continue;
        out.append(text, plain, i - plain);
        out += ref;
        plain = i + 1;
    }
    out.append(text, plain, std::string_view::npos);
}

}  // namespace

bool findNonXmlChar(std::string_view utf8, XmlCharProblem& problem) {
    for (std::size_t i = 0; i < utf8.size();) {
        char32_t c;
        const std::size_t len = decodeStrict(utf8, i, c);
        if (len == 0) {
            problem = {i, kNotUtf8};
            return true;
        }
        if ((c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0xFFFE || c == 0xFFFF) {
            problem = {i, c};
            return true;
        }
        i += len;
    }
    return false;
}

std::string describeChar(char32_t code) {
    if (code == kNotUtf8) return "bytes that are not UTF-8";
    char buf[16];
    std::snprintf(buf, sizeof buf, "U+%04X", static_cast<unsigned>(code));
    return buf;
}

void appendXmlText(std::string& out, std::string_view text) {
    appendEscaped(out, text, false);
}

void appendXmlAttribute(std::string& out, std::string_view text) {
    appendEscaped(out, text, true);
}

}  // namespace rq
