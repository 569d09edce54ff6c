// Windows code page 1252 and UTF-8: the one 8-bit character set the name rules,
// the symbol table and unconverted output files speak.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace rq {

// The Unicode character of a code page 1252 byte. The five bytes the code page
// leaves unassigned (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to U+0081 ... U+009D.
char32_t cp1252ToUnicode(unsigned char b);
// The code page 1252 byte of a character, or -1 when the code page lacks it.
int unicodeToCp1252(char32_t c);
// The code of a character as the name rules read it: its code page 1252 code,
// or 63 ("?") for a character the code page lacks.
int cp1252Code(char32_t c);

// Decodes one UTF-8 character at s[pos]; returns its length (1 for an invalid
// byte, which then reads as U+FFFD).
std::size_t decodeUtf8(std::string_view s, std::size_t pos, char32_t& out);
void appendUtf8(std::string& out, char32_t c);

// The one encoder: appends the code page 1252 bytes of UTF-8 text to out, "?"
// for every character the code page lacks. Runs of ASCII are copied whole.
void appendCp1252(std::string& out, std::string_view utf8);
// The same, returned.
std::string utf8ToCp1252(std::string_view utf8);
// The one decoder: code page 1252 bytes to UTF-8, every byte converted once
// (the symbol conversion, symbrep).
std::string cp1252ToUtf8(std::string_view bytes);

}  // namespace rq
