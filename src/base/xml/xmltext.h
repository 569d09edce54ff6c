// Writing text into XML: the check that a UTF-8 string can be written at all,
// and escaping for character data and for attribute values.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace rq {

// Where a string stops being writable as XML 1.0 text.
struct XmlCharProblem {
    std::size_t offset = 0;  // byte offset of the offending sequence
    char32_t code = 0;       // the character, or 0xFFFFFFFF for bytes that are not UTF-8
};

inline constexpr char32_t kNotUtf8 = 0xFFFFFFFF;

// Finds the first byte sequence that is not UTF-8 (overlong forms and
// surrogates included) or a character XML 1.0 cannot carry, even as a
// reference: the control characters below U+0020 other than tab, line feed and
// carriage return, U+FFFE and U+FFFF. Returns false when there is none.
bool findNonXmlChar(std::string_view utf8, XmlCharProblem& problem);

// "U+0001" for a code, "bytes that are not UTF-8" for kNotUtf8.
std::string describeChar(char32_t code);

// Appends text escaped for an element's content: & < > become references (so
// "]]>" never appears), a carriage return becomes &#13; so that it is not read
// as a line break. The text must have passed findNonXmlChar.
void appendXmlText(std::string& out, std::string_view text);
// Appends text escaped for a double-quoted attribute value: as above, plus the
// double quote, and tab and line feed as references so that reading does not
// turn them into blanks.
void appendXmlAttribute(std::string& out, std::string_view text);

}  // namespace rq
