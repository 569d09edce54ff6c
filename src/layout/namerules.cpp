#include "layout/namerules.h"

#include "base/text/cp1252.h"

namespace rq {

namespace {

bool removedCode(int code) {
    return (code >= 0 && code <= 44) || (code >= 46 && code <= 47) || (code >= 59 && code <= 64) ||
           (code >= 91 && code <= 96 && code != 95) || (code >= 123 && code <= 254);
}

}  // namespace

std::string repairFirstCharacter(std::string_view name) {
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

std::string cleanTagName(std::string_view typed) {
    std::string s(typed);
    for (char& c : s)
        if (c == ' ') c = '_';
    s = repairFirstCharacter(s);
    std::string out;
    for (std::size_t i = 0; i < s.size();) {
        char32_t ch;
        std::size_t len = decodeUtf8(s, i, ch);
        int code = unicodeToCp1252(ch);
        if (code < 0 || !removedCode(code)) out.append(s, i, len);
        i += len;
    }
    return out;
}

bool isCleanName(std::string_view name) {
    if (name.empty()) return false;
    for (std::size_t i = 0; i < name.size();) {
        char32_t ch;
        std::size_t len = decodeUtf8(name, i, ch);
        int code = unicodeToCp1252(ch);
        if (ch == ' ' || (code >= 0 && removedCode(code))) return false;
        i += len;
    }
    return true;
}

}  // namespace rq
