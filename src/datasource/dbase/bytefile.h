// Whole-file reads and bounds-checked little/big-endian access for the readers
// of the folder-based file kinds.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace rq::bytes {

// Reads a whole file. Throws DatabaseError naming the file when it cannot be read
// or is larger than maxBytes.
std::string readWholeFile(const std::string& path, std::uint64_t maxBytes = (1ull << 32));

inline bool fits(std::string_view data, std::size_t offset, std::size_t length) {
    return offset <= data.size() && length <= data.size() - offset;
}

inline std::uint16_t le16(const unsigned char* p) {
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
inline std::uint32_t le32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}
inline std::uint64_t le64(const unsigned char* p) {
    return static_cast<std::uint64_t>(le32(p)) | (static_cast<std::uint64_t>(le32(p + 4)) << 32);
}
inline std::uint16_t be16(const unsigned char* p) {
    return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}
inline std::uint32_t be32(const unsigned char* p) {
    return (static_cast<std::uint32_t>(p[0]) << 24) | (static_cast<std::uint32_t>(p[1]) << 16) |
           (static_cast<std::uint32_t>(p[2]) << 8) | static_cast<std::uint32_t>(p[3]);
}
inline std::uint64_t be64(const unsigned char* p) {
    return (static_cast<std::uint64_t>(be32(p)) << 32) | static_cast<std::uint64_t>(be32(p + 4));
}
inline double doubleFromBits(std::uint64_t bits) {
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

inline const unsigned char* uc(std::string_view data, std::size_t offset = 0) {
    return reinterpret_cast<const unsigned char*>(data.data()) + offset;
}

// Case-insensitive ASCII comparisons for file names and extensions.
bool equalsIgnoreCase(std::string_view a, std::string_view b);
bool lessIgnoreCase(std::string_view a, std::string_view b);

}  // namespace rq::bytes
