#include "datasource/bytes.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "base/text/cp1252.h"
#include "datasource/database.h"

namespace rq::bytes {

std::string readWholeFile(const std::string& path, std::uint64_t maxBytes) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!f) {
        throw DatabaseError("Could not open file '" + path + "': " + std::strerror(errno) + ".");
    }
    std::string out;
    if (std::fseek(f.get(), 0, SEEK_END) == 0) {
        long size = std::ftell(f.get());
        if (size > 0 && static_cast<std::uint64_t>(size) > maxBytes)
            throw DatabaseError("File '" + path + "' is too large to be read.");
        if (size > 0) out.reserve(static_cast<std::size_t>(size));
        std::fseek(f.get(), 0, SEEK_SET);
    }
    char buf[1 << 16];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f.get())) > 0) {
        out.append(buf, n);
        if (out.size() > maxBytes)
            throw DatabaseError("File '" + path + "' is too large to be read.");
    }
    if (std::ferror(f.get())) throw DatabaseError("Could not read file '" + path + "'.");
    return out;
}

static unsigned char lower(char c) {
    return static_cast<unsigned char>(std::tolower(static_cast<unsigned char>(c)));
}

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (lower(a[i]) != lower(b[i])) return false;
    return true;
}

bool lessIgnoreCase(std::string_view a, std::string_view b) {
    std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        unsigned char x = lower(a[i]), y = lower(b[i]);
        if (x != y) return x < y;
    }
    if (a.size() != b.size()) return a.size() < b.size();
    return a < b;  // a stable tie-break between names differing only in case
}

void Utf16Decoder::unit(std::uint16_t u) {
    if (high_) {
        std::uint16_t h = high_;
        high_ = 0;
        if (u >= 0xDC00 && u <= 0xDFFF) {
            appendUtf8(out_, 0x10000 + ((h - 0xD800u) << 10) + (u - 0xDC00u));
            return;
        }
        appendUtf8(out_, 0xFFFD);
    }
    if (u >= 0xD800 && u <= 0xDBFF)
        high_ = u;
    else if (u >= 0xDC00 && u <= 0xDFFF)
        appendUtf8(out_, 0xFFFD);
    else
        appendUtf8(out_, u);
}

void Utf16Decoder::finish() {
    if (high_) appendUtf8(out_, 0xFFFD);
    high_ = 0;
}

namespace fs = std::filesystem;

TableFolder::TableFolder(std::string folder, std::string_view tableExtension)
    : folder_(std::move(folder)), extension_(tableExtension) {
    std::error_code ec;
    if (!fs::is_directory(folder_, ec))
        throw DatabaseError("Could not find the folder '" + folder_ + "'.");
    fs::directory_iterator it(folder_, ec);
    if (ec)
        throw DatabaseError("Could not read the folder '" + folder_ + "': " + ec.message() + ".");
    for (; it != fs::directory_iterator(); it.increment(ec)) {
        if (ec) break;
        std::error_code fec;
        if (it->is_regular_file(fec)) files_.push_back(it->path().filename().string());
    }
    std::sort(files_.begin(), files_.end());
    for (const auto& f : files_) {
        fs::path p(f);
        if (equalsIgnoreCase(p.extension().string(), extension_))
            tables_.push_back(p.stem().string());
    }
    std::sort(tables_.begin(), tables_.end(),
              [](const std::string& a, const std::string& b) { return lessIgnoreCase(a, b); });
}

std::string TableFolder::tablePath(const std::string& table) const {
    std::string p = companion(table, extension_);
    if (p.empty())
        throw DatabaseError("The table '" + table + "' does not exist in the folder '" + folder_ +
                            "'.");
    return p;
}

std::string TableFolder::companion(const std::string& table, std::string_view extension) const {
    for (int pass = 0; pass < 2; ++pass) {
        for (const auto& f : files_) {
            fs::path p(f);
            bool sameStem =
                pass == 0 ? p.stem().string() == table : equalsIgnoreCase(p.stem().string(), table);
            if (sameStem && equalsIgnoreCase(p.extension().string(), extension))
                return (fs::path(folder_) / f).string();
        }
    }
    return {};
}

}  // namespace rq::bytes
