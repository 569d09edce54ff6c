// The multi-byte character set of the later worksheet files (releases 3 and
// up): plain bytes are ASCII or, from 0x80, characters of the file's default
// group; a byte below 0x20 may be a group byte naming how the bytes after it
// are read.
#pragma once

#include <string>
#include <string_view>

namespace rq {
class CodePage;
}

namespace rq::lotus {

// True when the text holds a byte below 0x20: a group byte or a control
// character written as itself.
bool hasLowBytes(std::string_view bytes);

// The UTF-8 form of LMBCS text (up to a zero byte). Group 0x0F carries control
// characters as the byte plus 0x20 (0x0F 0x2D is a carriage return); groups
// 0x01-0x0B one byte of their code page (0x01 code page 850, so 0x01 0x0D is
// a carriage return too); groups 0x10-0x13 two bytes of an East Asian code
// page; group 0x14 one UTF-16 unit, high byte first. Other bytes below 0x20
// are control characters; bytes from 0x80 without a group byte are read in
// base. A sequence that does not decode gives U+FFFD.
std::string decodeLmbcs(std::string_view bytes, const CodePage& base);

}  // namespace rq::lotus
