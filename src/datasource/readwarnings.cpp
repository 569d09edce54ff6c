#include "datasource/readwarnings.h"

namespace rq {

void ReadWarnings::table(const std::string& text) {
    out_(file_ + ": " + text);
}

void ReadWarnings::value(std::uint64_t record, std::string_view field, std::string_view raw,
                         const std::string& what) {
    if (values_ >= limit_) {
        ++values_;
        return;
    }
    std::string text = "record " + std::to_string(record) + ", field " + std::string(field) + ": ";
    if (!raw.empty()) text += quotedForMessage(raw) + " ";
    limited(text + what);
}

void ReadWarnings::limited(const std::string& text) {
    if (values_++ < limit_) table(text);
}

void ReadWarnings::recordsShort(std::uint64_t read, std::uint64_t declared) {
    if (read < declared)
        table(std::to_string(read) + " of " + std::to_string(declared) + " records read");
}

void ReadWarnings::finish() {
    if (values_ > limit_)
        table(std::to_string(values_ - limit_) + " more values could not be read");
    values_ = 0;
}

std::string quotedForMessage(std::string_view raw) {
    constexpr std::size_t kMaxChars = 40;
    std::string out = "\"";
    std::size_t chars = 0;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        const auto c = static_cast<unsigned char>(raw[i]);
        const bool starts = (c & 0xC0) != 0x80;
        if (starts && ++chars > kMaxChars) {
            out += "...";
            break;
        }
        out += c < 0x20 || c == 0x7F ? ' ' : static_cast<char>(c);
    }
    return out + "\"";
}

}  // namespace rq
