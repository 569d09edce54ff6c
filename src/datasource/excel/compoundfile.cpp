#include "datasource/excel/compoundfile.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace rq::excel {

namespace {

constexpr std::uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr std::uint32_t kFreeSector = 0xFFFFFFFF;
constexpr unsigned char kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

[[noreturn]] void damaged(const char* why) {
    throw std::runtime_error(std::string("damaged container: ") + why);
}

std::uint32_t le32(std::string_view b, std::size_t at) {
    if (at + 4 > b.size()) damaged("read past the end");
    const auto* p = reinterpret_cast<const unsigned char*>(b.data() + at);
    return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

std::uint16_t le16(std::string_view b, std::size_t at) {
    if (at + 2 > b.size()) damaged("read past the end");
    const auto* p = reinterpret_cast<const unsigned char*>(b.data() + at);
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

class Container {
  public:
    explicit Container(std::string_view bytes) : file_(bytes) {
        if (!isCompoundFile(bytes) || bytes.size() < 512) damaged("no header");
        const unsigned shift = le16(bytes, 0x1E);
        const unsigned miniShift = le16(bytes, 0x20);
        if (shift != 9 && shift != 12) damaged("sector size");
        if (miniShift == 0 || miniShift >= shift) damaged("small sector size");
        sectorSize_ = std::size_t{1} << shift;
        miniSize_ = std::size_t{1} << miniShift;
        // Sector n starts at (n + 1) * size: the header fills sector "-1".
        // A last sector cut short still counts; reads past the end fail.
        sectorCount_ = bytes.size() <= sectorSize_
                           ? 0
                           : (bytes.size() - sectorSize_ + sectorSize_ - 1) / sectorSize_;
        miniCutoff_ = le32(bytes, 0x38);
        loadFat();
        loadDirectory();
        loadMiniFat();
    }

    std::optional<std::string> stream(std::initializer_list<std::string_view> names) const {
        for (std::string_view want : names) {
            for (std::size_t i = 0; i < dir_.size() / 128; ++i) {
                std::string_view e = std::string_view(dir_).substr(i * 128, 128);
                if (e[0x42] != 2) continue;  // not a stream
                if (!nameMatches(e, want)) continue;
                const std::uint32_t start = le32(e, 0x74);
                const std::uint32_t size = le32(e, 0x78);
                if (size < miniCutoff_) return miniChain(start, size);
                return chain(start, size);
            }
        }
        return std::nullopt;
    }

  private:
    std::string_view sector(std::uint32_t n) const {
        if (n >= sectorCount_) damaged("sector out of range");
        const std::size_t at = (std::size_t{n} + 1) * sectorSize_;
        return file_.substr(at, sectorSize_);  // may be short at the end of the file
    }

    void loadFat() {
        // The first 109 FAT sector numbers are in the header, the rest in DIFAT sectors.
        std::vector<std::uint32_t> fatSectors;
        const std::uint32_t fatCount = le32(file_, 0x2C);
        if (fatCount > sectorCount_) damaged("allocation table size");
        for (int i = 0; i < 109 && fatSectors.size() < fatCount; ++i)
            fatSectors.push_back(le32(file_, 0x4C + 4 * i));
        std::uint32_t dif = le32(file_, 0x44);
        std::size_t guard = 0;
        while (fatSectors.size() < fatCount && dif != kEndOfChain && dif != kFreeSector) {
            if (++guard > sectorCount_) damaged("loop in the allocation list");
            std::string_view s = sector(dif);
            if (s.size() < sectorSize_) damaged("short allocation list sector");
            const std::size_t per = sectorSize_ / 4 - 1;
            for (std::size_t k = 0; k < per && fatSectors.size() < fatCount; ++k)
                fatSectors.push_back(le32(s, 4 * k));
            dif = le32(s, 4 * per);
        }
        if (fatSectors.size() < fatCount) damaged("allocation table incomplete");
        fat_.reserve(fatSectors.size() * sectorSize_ / 4);
        for (std::uint32_t fs : fatSectors) {
            std::string_view s = sector(fs);
            for (std::size_t k = 0; k + 4 <= s.size(); k += 4) fat_.push_back(le32(s, k));
        }
    }

    // Follows a chain of sectors; the chain may not be longer than the file.
    std::string chain(std::uint32_t start, std::size_t size) const {
        std::string out;
        if (size > file_.size()) damaged("stream larger than the file");
        out.reserve(size);
        std::uint32_t s = start;
        std::size_t steps = 0;
        while (out.size() < size) {
            if (s == kEndOfChain || s >= fat_.size()) damaged("stream chain ends early");
            if (++steps > sectorCount_) damaged("loop in a stream chain");
            std::string_view data = sector(s);
            out.append(data.substr(0, size - out.size()));
            if (data.size() < sectorSize_ && out.size() < size) damaged("stream cut short");
            s = fat_[s];
        }
        return out;
    }

    // The whole chain, for the directory and the small allocation table.
    std::string wholeChain(std::uint32_t start) const {
        std::string out;
        std::uint32_t s = start;
        std::size_t steps = 0;
        while (s != kEndOfChain) {
            if (s >= fat_.size()) damaged("chain leaves the allocation table");
            if (++steps > sectorCount_) damaged("loop in a chain");
            out.append(sector(s));
            s = fat_[s];
        }
        return out;
    }

    void loadDirectory() {
        dir_ = wholeChain(le32(file_, 0x30));
        if (dir_.size() < 128 || dir_[0x42] != 5) damaged("no root entry");
        const std::uint32_t miniStart = le32(dir_, 0x74);
        const std::uint32_t miniSize = le32(dir_, 0x78);
        if (miniSize > 0) ministream_ = chain(miniStart, miniSize);
    }

    void loadMiniFat() {
        const std::uint32_t start = le32(file_, 0x3C);
        if (start == kEndOfChain || start == kFreeSector) return;
        std::string raw = wholeChain(start);
        miniFat_.reserve(raw.size() / 4);
        for (std::size_t k = 0; k + 4 <= raw.size(); k += 4) miniFat_.push_back(le32(raw, k));
    }

    std::string miniChain(std::uint32_t start, std::size_t size) const {
        std::string out;
        out.reserve(size);
        std::uint32_t s = start;
        std::size_t steps = 0;
        const std::size_t count = ministream_.size() / miniSize_;
        while (out.size() < size) {
            if (s >= miniFat_.size() || s >= count) damaged("short stream chain ends early");
            if (++steps > count) damaged("loop in a short stream chain");
            out.append(ministream_.substr(std::size_t{s} * miniSize_,
                                          std::min(miniSize_, size - out.size())));
            s = miniFat_[s];
        }
        return out;
    }

    static bool nameMatches(std::string_view entry, std::string_view want) {
        const std::uint16_t bytes = le16(entry, 0x40);
        if (bytes < 2 || bytes > 64 || std::size_t{bytes} / 2 - 1 != want.size()) return false;
        for (std::size_t i = 0; i < want.size(); ++i) {
            const std::uint16_t c = le16(entry, 2 * i);
            if (c > 127) return false;
            const char a = static_cast<char>(c);
            auto lower = [](char x) { return (x >= 'A' && x <= 'Z') ? char(x + 32) : x; };
            if (lower(a) != lower(want[i])) return false;
        }
        return true;
    }

    std::string_view file_;
    std::size_t sectorSize_ = 512, miniSize_ = 64, sectorCount_ = 0;
    std::uint32_t miniCutoff_ = 4096;
    std::vector<std::uint32_t> fat_, miniFat_;
    std::string dir_, ministream_;
};

}  // namespace

bool isCompoundFile(std::string_view bytes) {
    return bytes.size() >= 8 && std::memcmp(bytes.data(), kSignature, 8) == 0;
}

std::optional<std::string> readCompoundStream(std::string_view bytes,
                                              std::initializer_list<std::string_view> names) {
    Container c(bytes);
    return c.stream(names);
}

}  // namespace rq::excel
