// A writer of workbook record streams for cases the sample files lack.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "reader_test_support.h"

namespace rq::testing {

// Builds a record stream: id, length, data, little-endian.
class RecordWriter {
  public:
    RecordWriter& record(std::uint16_t id, const std::string& data) {
        put16(out_, id);
        put16(out_, static_cast<std::uint16_t>(data.size()));
        out_ += data;
        return *this;
    }
    std::size_t size() const { return out_.size(); }
    const std::string& bytes() const { return out_; }
    std::string& bytes() { return out_; }

    static void put16(std::string& s, std::uint16_t v) {
        s += static_cast<char>(v & 0xFF);
        s += static_cast<char>(v >> 8);
    }
    static void put32(std::string& s, std::uint32_t v) {
        put16(s, static_cast<std::uint16_t>(v & 0xFFFF));
        put16(s, static_cast<std::uint16_t>(v >> 16));
    }
    static void putDouble(std::string& s, double v) {
        char b[8];
        std::memcpy(b, &v, 8);
        s.append(b, 8);
    }
    static std::string cell(std::uint16_t row, std::uint16_t col, std::uint16_t xf) {
        std::string s;
        put16(s, row);
        put16(s, col);
        put16(s, xf);
        return s;
    }
    // A compressed (8-bit) Unicode string with a 16-bit count.
    static std::string shortString(std::string_view latin1) {
        std::string s;
        put16(s, static_cast<std::uint16_t>(latin1.size()));
        s += '\0';
        s += latin1;
        return s;
    }

  private:
    std::string out_;
};

}  // namespace rq::testing
