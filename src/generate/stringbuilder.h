// The growing text buffer of the writer and the text export.
#pragma once

#include <string>
#include <string_view>

namespace rq {

class StringBuilder {
  public:
    // Appends a piece. The buffer's length grows by the piece's own length for
    // a piece of 50001 characters or more, otherwise by 50000, whenever the
    // piece does not fit; the storage behind it grows geometrically.
    void concat(std::string_view piece);  // Concat
    // The built text: the buffer's first fill characters.
    std::string_view text() const { return {data_.data(), fill_}; }
    std::size_t fill() const { return fill_; }
    std::size_t bufferLength() const { return bufferLength_; }
    void setFill(std::size_t n) { fill_ = n < data_.size() ? n : data_.size(); }
    // Empties the buffer.
    void clear();
    // Moves the built text out and empties the buffer.
    std::string take();

  private:
    std::string data_;  // holds at least fill_ characters
    std::size_t fill_ = 0;
    std::size_t bufferLength_ = 0;
};

// n tab characters; empty for n below 1.
std::string tabs(int n);  // TxtTab

}  // namespace rq
