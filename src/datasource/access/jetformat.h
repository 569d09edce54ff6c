// The parts of the Jet/ACE file format that this reader decodes itself rather
// than through libmdb: the header page (kind, page size, database password),
// text in its stored forms, and the value forms libmdb formats lossily.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace rq::jet {

enum class Version { Jet3, Jet4, Ace };

struct Header {
    Version version = Version::Jet3;
    int rawVersion = 0;             // the version word at 0x14
    int pageSize = 2048;            // 2048 for Jet 3, 4096 otherwise
    int codePage = 0;               // the code page word of the header (Jet 3 text)
    std::uint32_t encodingKey = 0;  // non-zero: pages are RC4-encoded
    std::string password;           // the database password, UTF-8, empty when none
};

// Decodes the first page of a database file. Returns false when the bytes are
// not the header of a Jet 3, Jet 4 or ACE database.
bool parseHeader(std::string_view page0, Header& out);

// The RC4 keystream cipher (symmetric: encodes and decodes).
void rc4(const unsigned char* key, std::size_t keyLen, unsigned char* data, std::size_t len);

// Text of a Jet 4/ACE text or memo value: UTF-16LE, or the compressed form
// that begins FF FE and switches between one-byte and two-byte characters at
// each zero byte. Appends UTF-8.
void appendUcs2Text(std::string& out, std::string_view bytes);

// A decimal (numeric) value: a sign byte then a 128-bit magnitude stored as
// four little-endian 32-bit words, most significant word first.
std::string decimalValue(std::string_view bytes17, int scale);

// A replication id (GUID) in its registry form {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}.
std::string guidValue(std::string_view bytes16);

// Whether a table's map of its data pages can be followed: a type byte, and
// for a map of type 0 (a first page number then a bitmap of the pages after
// it) the five bytes of its head. Other types list pages that hold bitmaps,
// four bytes each, or are unknown and followed by searching every page.
bool usageMapIsSound(const unsigned char* map, std::size_t size);

}  // namespace rq::jet
