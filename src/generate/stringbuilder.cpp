#include "generate/stringbuilder.h"

namespace rq {

void StringBuilder::concat(std::string_view piece) {
    if (fill_ + piece.size() >= bufferLength_)
        bufferLength_ += piece.size() >= 50001 ? piece.size() : 50000;
    if (data_.size() < fill_ + piece.size()) {
        std::size_t want = data_.size() * 2;
        if (want < fill_ + piece.size()) want = fill_ + piece.size();
        if (want < 50000) want = 50000;
        data_.resize(want);
    }
    data_.replace(fill_, piece.size(), piece);
    fill_ += piece.size();
}

void StringBuilder::clear() {
    data_.clear();
    data_.shrink_to_fit();
    fill_ = 0;
    bufferLength_ = 0;
}

std::string StringBuilder::take() {
    data_.resize(fill_);
    std::string out = std::move(data_);
    clear();
    return out;
}

std::string tabs(int n) {
    return n < 1 ? std::string() : std::string(static_cast<std::size_t>(n), '\t');
}

}  // namespace rq
