// Shared helpers of the readers: whole-file reads, bounds-checked little and
// big-endian access, UTF-16 decoding, and folders of table files.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "datasource/database.h"

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

// Appends UTF-16 code units as UTF-8, pairing surrogates; a lone surrogate
// becomes U+FFFD.
class Utf16Decoder {
  public:
    explicit Utf16Decoder(std::string& out) : out_(out) {}
    Utf16Decoder(const Utf16Decoder&) = delete;
    Utf16Decoder& operator=(const Utf16Decoder&) = delete;
    ~Utf16Decoder() { finish(); }
    void unit(std::uint16_t u);
    // Ends the text: a high surrogate still waiting becomes U+FFFD.
    void finish();

  private:
    std::string& out_;
    std::uint16_t high_ = 0;
};

// A folder whose files are tables of one extension (any letter case), each
// named by its base name, with companion files of the same base name.
class TableFolder {
  public:
    // Lists the folder; throws DatabaseError naming it when it cannot be read.
    TableFolder(std::string folder, std::string_view tableExtension);
    const std::string& path() const { return folder_; }
    // Table names sorted without regard to letter case.
    const std::vector<std::string>& tables() const { return tables_; }
    // The file of a table; throws DatabaseError when there is none.
    std::string tablePath(const std::string& table) const;
    // The file of the same base name with another extension (the exact base name
    // first, then any letter case), or "" when there is none.
    std::string companion(const std::string& table, std::string_view extension) const;

  private:
    std::string folder_;
    std::string extension_;
    std::vector<std::string> files_;
    std::vector<std::string> tables_;
};

}  // namespace rq::bytes

namespace rq {

// A database whose tables are the files of one extension in a folder; the
// kinds differ only in how they read a table file.
class FolderDatabase : public Database {
  public:
    FolderDatabase(std::string folder, std::string_view tableExtension, const OpenOptions& options)
        : folder_(std::move(folder), tableExtension), codepage_(options.codepage) {}

    std::string name() const override { return folder_.path(); }
    std::vector<CatalogEntry> catalog() override {
        std::vector<CatalogEntry> out;
        for (const auto& t : folder_.tables()) out.push_back({t, 0});
        return out;
    }

  protected:
    bytes::TableFolder folder_;
    int codepage_ = 0;
};

}  // namespace rq
