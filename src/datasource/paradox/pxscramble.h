// Password-protected Paradox tables: their data blocks and blob files are
// scrambled with a key kept in the table's header, and the header records a
// checksum of the password.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace rq::paradox {

// The checksum a protected table's header records for its password (the
// password's bytes in the table's code page). Its low 16 bits are also the key
// of the table's scrambling. An empty password gives 0.
std::uint32_t passwordChecksum(std::string_view password);

// Undoes the scrambling of one data block of a table in place. number is the
// block's number in the file (the first block after the header is 1). Only
// whole 256-byte runs are scrambled; a shorter tail is left as it is.
void unscrambleTableBlock(char* block, std::size_t size, std::uint32_t key, std::uint32_t number);

// Undoes the scrambling of a protected table's blob file in place (the whole
// file, header block included).
void unscrambleBlobFile(std::string& blobs, std::uint32_t key);

}  // namespace rq::paradox
