// Text helpers shared by the table and record code of the .dbf reader.
#pragma once

#include <string>
#include <string_view>

#include "datasource/codepage.h"

namespace rq::dbase {

inline bool isBlank(std::string_view s) {
    for (char c : s)
        if (c != ' ' && c != '\0') return false;
    return true;
}

inline std::string_view trimRight(std::string_view s) {
    while (!s.empty() && (s.back() == ' ' || s.back() == '\0')) s.remove_suffix(1);
    return s;
}

inline std::string_view trimBoth(std::string_view s) {
    s = trimRight(s);
    while (!s.empty() && (s.front() == ' ' || s.front() == '\0')) s.remove_prefix(1);
    return s;
}

inline bool isAscii(std::string_view s) {
    for (char c : s)
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    return true;
}

inline void appendDecoded(std::string& out, std::string_view raw, const CodePage& cp) {
    if (isAscii(raw))
        out.append(raw);
    else
        cp.appendUtf8(out, raw);
}

}  // namespace rq::dbase
