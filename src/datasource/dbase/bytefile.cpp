#include "datasource/dbase/bytefile.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <memory>

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

}  // namespace rq::bytes
