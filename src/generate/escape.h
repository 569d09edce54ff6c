// Escaping of values for element content and attribute values.
#pragma once

#include <string>
#include <string_view>

namespace rq {

// Makes a value safe as element content or attribute value: & < > become
// entities, a line feed becomes "\r\n" (even after a carriage return), a double
// quote becomes &quot;. The apostrophe stays. Empty text is returned unchanged.
std::string escapeXml(std::string_view text);  // replacertxt
// Appends replacertxt(text) to out.
void appendEscaped(std::string& out, std::string_view text);
// True when replacertxt would change the text.
bool needsEscaping(std::string_view text);

}  // namespace rq
