// Decoding the code pages of database files into UTF-8.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace rq {

class CodePage {
  public:
    // A code page by its Windows number (437, 850, 866, 1251, 1252, 936, 65001, ...),
    // or 620 (Mazovia, Polish DOS) and 895 (Kamenicky, Czech DOS).
    // Unknown numbers fall back to 1252. Instances are shared and never freed.
    static const CodePage& get(int number);
    // True when the number names a code page this build can decode.
    static bool isSupported(int number);

    int number() const { return number_; }
    bool singleByte() const { return singleByte_; }

    // Appends the UTF-8 form of bytes to out. Bytes that do not decode become U+FFFD.
    void appendUtf8(std::string& out, std::string_view bytes) const;
    std::string toUtf8(std::string_view bytes) const {
        std::string s;
        appendUtf8(s, bytes);
        return s;
    }

    // The UTF-8 form of one byte of a single-byte code page.
    std::string_view byteUtf8(unsigned char b) const { return {table_[b].data(), len_[b]}; }

    explicit CodePage(int number);

  private:
    int number_;
    bool singleByte_ = true;
    std::string iconvName_;
    std::array<std::array<char, 4>, 256> table_{};
    std::array<unsigned char, 256> len_{};
};

}  // namespace rq
