// Escaping of values, the symbol conversion of whole documents, and the repair
// of a tag name's first character.
#pragma once

#include <string>
#include <string_view>

namespace rq {

// Makes a value safe as element content or attribute value: & < > become
// entities, a line feed becomes "\r\n" (even after a carriage return), a double
// quote becomes &quot;. The apostrophe stays. Empty text is returned unchanged.
std::string replacertxt(std::string_view text);
// Appends replacertxt(text) to out.
void appendEscaped(std::string& out, std::string_view text);
// True when replacertxt would change the text.
bool needsEscaping(std::string_view text);

// Entry k (0..127) of the symbol table: the UTF-8 bytes of the character code
// page 1252 gives to code 128 + k, one char per byte.
const std::string& symbolTableEntry(int k);

// Turns every byte 128..255 of an 8-bit (code page 1252) text into its UTF-8
// bytes, converting each character once only.
std::string symbrep(std::string_view cp1252Text);

// Repairs the first character of a typed name: drops it when its code is
// below 65 or above 122; then drops the new first character when its code lies
// between 91 and 96 and is not 95. Each rule drops at most one character.
std::string ascterep(std::string_view name);

// The bytes a generation or save writes for a document held as UTF-8: with
// symbol conversion the UTF-8 bytes themselves (what symbrep gives for every
// character of code page 1252, and UTF-8 for the rest); without it code page
// 1252 with "?" for what the code page lacks.
std::string encodeForFile(std::string_view utf8, bool convertSymbols);

}  // namespace rq
