#include "datasource/btrieve/btrievefile.h"

#include <algorithm>
#include <fstream>
#include <unordered_set>

#include "datasource/database.h"

namespace rq::btrieve {

namespace {

constexpr std::uint32_t kNone = 0xFFFFFFFFu;
constexpr std::uint64_t kMaxFileBytes = std::uint64_t{1} << 34;  // 16 GiB

std::uint16_t u16(const unsigned char* p) {
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
std::uint32_t u32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}
// Two 16-bit words, high word first.
std::uint32_t swapped32(const unsigned char* p) {
    return (static_cast<std::uint32_t>(u16(p)) << 16) | u16(p + 2);
}
bool allOnes(const unsigned char* p) {
    return p[0] == 0xFF && p[1] == 0xFF && p[2] == 0xFF && p[3] == 0xFF;
}

bool validPageSize(std::uint32_t ps) {
    return ps >= 512 && ps <= 16384 && ps % 512 == 0;
}

}  // namespace

DataFile DataFile::open(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw DatabaseError("Could not open the Btrieve file '" + path + "'.");
    in.seekg(0, std::ios::end);
    std::streamoff size = in.tellg();
    if (size < 0 || static_cast<std::uint64_t>(size) > kMaxFileBytes)
        throw DatabaseError("Could not read the Btrieve file '" + path + "'.");
    std::string bytes(static_cast<std::size_t>(size), '\0');
    in.seekg(0);
    if (size > 0 && !in.read(bytes.data(), size))
        throw DatabaseError("Could not read the Btrieve file '" + path + "'.");
    return fromBytes(std::move(bytes), path);
}

DataFile DataFile::fromBytes(std::string bytes, const std::string& name) {
    DataFile f;
    f.name_ = name;
    f.bytes_ = std::move(bytes);
    f.parse();
    return f;
}

void DataFile::fail(const std::string& what) const {
    throw DatabaseError("'" + name_ + "' " + what, kErrUnrecognisedFormat);
}

namespace {

// A variable part that cannot be followed; reason says why, without the file.
class VariablePartError : public DatabaseError {
  public:
    VariablePartError(const std::string& message, std::string reason)
        : DatabaseError(message, kErrUnrecognisedFormat), reason_(std::move(reason)) {}
    const std::string& reason() const { return reason_; }

  private:
    std::string reason_;
};

}  // namespace

void DataFile::failVariable(const std::string& what) const {
    throw VariablePartError("'" + name_ + "' is damaged: " + what + ".", what);
}

std::string_view DataFile::page(std::uint32_t physical) const {
    return std::string_view(bytes_).substr(std::size_t{physical} * info_.pageSize, info_.pageSize);
}

void DataFile::parse() {
    if (bytes_.size() < 512) fail("is too short to be a Btrieve data file.");
    if (bytes_[0] == 'F' && bytes_[1] == 'C')
        parse6();
    else
        parse5();
}

void DataFile::parse5() {
    const auto* h = reinterpret_cast<const unsigned char*>(bytes_.data());
    info_.version = 5;
    info_.pageSize = u16(h + 0x08);
    if (u32(h) != 0 || !validPageSize(info_.pageSize)) fail("is not a Btrieve data file.");
    pageCount_ = static_cast<std::uint32_t>(bytes_.size() / info_.pageSize);
    if (pageCount_ < 2) fail("is too short to be a Btrieve data file.");
    info_.keyCount = u16(h + 0x14);
    info_.recordLength = u16(h + 0x16);
    info_.physicalRecordLength = u16(h + 0x18);
    info_.recordCount = swapped32(h + 0x1A);
    const unsigned char format = h[0x38];
    if (format != 0x00 && format != 0xFF)
        fail("is a Btrieve 5.x file with compressed records, which cannot be read.");
    info_.variableLength = format == 0xFF;
    const std::uint32_t overhead = info_.variableLength ? 4 : 0;
    if (info_.recordLength == 0 || info_.physicalRecordLength < info_.recordLength + overhead ||
        info_.physicalRecordLength > info_.pageSize - 6)
        fail("is not a Btrieve data file (its record lengths do not fit its pages).");

    currentDataPage_ = swapped32(h + 0x1E);
    std::uint32_t freeBytes = u16(h + 0x2A);
    currentPageUsed_ = freeBytes >= info_.pageSize ? 0 : info_.pageSize - freeBytes;

    for (std::uint32_t p = 1; p < pageCount_; ++p) {
        const auto* pg = reinterpret_cast<const unsigned char*>(page(p).data());
        if ((u16(pg + 4) & 0x8000) && swapped32(pg) == p) dataPages_.push_back(p);
    }

    // Deleted slots: each holds the address of the next one in its first 4 bytes.
    const std::uint64_t slotsPerPage = (info_.pageSize - 6) / info_.physicalRecordLength;
    const std::uint64_t maxSteps = slotsPerPage * dataPages_.size() + 1;
    std::uint32_t a = swapped32(h + 0x10);
    for (std::uint64_t steps = 0; a != kNone; ++steps) {
        if (steps > maxSteps) fail("is damaged: its chain of deleted records loops.");
        if (std::uint64_t{a} + 4 > bytes_.size())
            fail("is damaged: its chain of deleted records leaves the file.");
        freeSlots_.push_back(a);
        a = swapped32(h + a);
    }
    std::sort(freeSlots_.begin(), freeSlots_.end());
    if (dataPages_.empty() && info_.recordCount > 0)
        fail(
            "holds records but no data page of the 5.x layout; it is damaged or of a later "
            "version this reader does not understand.");
}

std::uint32_t DataFile::physicalOf(std::uint32_t logical) const {
    if (logical == 0 || logical >= logicalToPhysical_.size()) return 0;
    return logicalToPhysical_[logical];
}

void DataFile::parse6() {
    const auto* h0 = reinterpret_cast<const unsigned char*>(bytes_.data());
    info_.version = 6;
    info_.pageSize = u16(h0 + 0x08);
    if (!validPageSize(info_.pageSize)) fail("is not a Btrieve data file.");
    pageCount_ = static_cast<std::uint32_t>(bytes_.size() / info_.pageSize);
    if (pageCount_ < 4) fail("is too short to be a Btrieve 6.x data file.");
    const unsigned char* h = h0;
    const auto* h1 = h0 + info_.pageSize;
    if (h1[0] == 'F' && h1[1] == 'C' && u16(h1 + 0x08) == info_.pageSize &&
        u32(h1 + 4) > u32(h0 + 4))
        h = h1;
    info_.keyCount = u16(h + 0x14);
    info_.recordLength = u16(h + 0x16);
    info_.physicalRecordLength = u16(h + 0x18);
    info_.recordCount = u32(h + 0x1C);
    const unsigned char format = h[0x38];
    if (format != 0x00 && format != 0xFF)
        fail("is a Btrieve 6.x file with compressed records, which cannot be read.");
    info_.variableLength = format == 0xFF;
    const std::uint32_t overhead = 2 + (info_.variableLength ? 4 : 0);
    if (info_.recordLength == 0 || info_.physicalRecordLength < info_.recordLength + overhead ||
        info_.physicalRecordLength > info_.pageSize - 6)
        fail("is not a Btrieve data file (its record lengths do not fit its pages).");

    // The current copy of each page allocation table.
    struct Table {
        std::uint32_t usage = 0;
        std::uint32_t physical = 0;
    };
    std::vector<Table> tables;
    for (std::uint32_t p = 2; p < pageCount_; ++p) {
        const auto* pg = reinterpret_cast<const unsigned char*>(page(p).data());
        if (pg[0] != 'P' || pg[1] != 'P') continue;
        std::uint32_t n = u16(pg + 2);
        if (n == 0 || n > pageCount_) continue;
        if (tables.size() < n) tables.resize(n);
        Table& t = tables[n - 1];
        if (t.physical == 0 || u32(pg + 4) > t.usage) t = {u32(pg + 4), p};
    }
    if (tables.empty() || tables[0].physical == 0)
        fail("has no page allocation table; it is not a Btrieve 6.x file this reader understands.");

    const std::uint32_t perTable = (info_.pageSize - 8) / 4;
    logicalToPhysical_.assign(std::size_t{perTable} * tables.size() + 1, 0);
    for (std::size_t t = 0; t < tables.size(); ++t) {
        if (tables[t].physical == 0) continue;
        const auto* pg = reinterpret_cast<const unsigned char*>(page(tables[t].physical).data());
        for (std::uint32_t i = 0; i < perTable; ++i) {
            const unsigned char* e = pg + 8 + 4 * i;
            if (e[1] == 0) continue;
            std::uint32_t physical = (static_cast<std::uint32_t>(e[0]) << 16) | u16(e + 2);
            std::uint32_t logical = static_cast<std::uint32_t>(t) * perTable + i + 1;
            if (physical < 2 || physical >= pageCount_) continue;
            // The page must say it is that logical page of that type.
            const auto* target = reinterpret_cast<const unsigned char*>(page(physical).data());
            if (target[1] != e[1] || u16(target + 2) != (logical & 0xFFFF)) continue;
            logicalToPhysical_[logical] = physical;
            if (e[1] == 'D') dataPages_.push_back(physical);
        }
    }
    if (dataPages_.empty() && info_.recordCount > 0)
        fail(
            "holds records but no data page of the 6.x layout; it is damaged or of a later "
            "version this reader does not understand.");
}

void DataFile::appendVariable(const unsigned char* ptr, std::string& out) const {
    const std::size_t startSize = out.size();
    std::unordered_set<std::uint64_t> seen;
    unsigned char p[4] = {ptr[0], ptr[1], ptr[2], ptr[3]};
    bool first = true;
    while (!allOnes(p)) {
        std::uint32_t pageNo = (static_cast<std::uint32_t>(p[0]) << 16) | u16(p + 1);
        std::uint32_t frag = p[3];
        if (!first) {
            if (!seen.insert((std::uint64_t{pageNo} << 8) | frag).second)
                failVariable("the variable part of a record loops");
        }
        std::uint32_t physical = pageNo;
        if (info_.version == 6) physical = physicalOf(pageNo);
        if (physical == 0 || physical >= pageCount_)
            failVariable("a variable part points outside the file");
        const auto* pg = reinterpret_cast<const unsigned char*>(page(physical).data());
        if (info_.version == 5 ? swapped32(pg) != pageNo
                               : (pg[1] != 'V' || u16(pg + 2) != (pageNo & 0xFFFF)))
            failVariable("a variable part points to a page of another kind");
        const std::uint32_t ps = info_.pageSize;
        std::uint32_t n = u16(pg + 10);
        if (frag >= n || 2 * (n + 1) > ps - 12)
            failVariable("a variable part names a fragment its page does not hold");
        const std::uint32_t tableStart = ps - 2 * (n + 1);
        auto entry = [&](std::uint32_t k) { return u16(pg + ps - 2 - 2 * k); };
        std::uint32_t e = entry(frag);
        std::uint32_t start = e & 0x7FFF;
        std::uint32_t end = tableStart;
        for (std::uint32_t k = 0; k <= n; ++k) {
            std::uint32_t o = entry(k) & 0x7FFF;
            if (o > start && o < end) end = o;
        }
        if (start < 12 || start > end)
            failVariable("a fragment of a variable part lies outside its page");
        const unsigned char* data = pg + start;
        std::uint32_t len = end - start;
        bool chained = info_.version == 6 || (e & 0x8000);
        if (chained) {
            if (len < 4) failVariable("a fragment of a variable part is too short");
            std::copy(data, data + 4, p);
            data += 4;
            len -= 4;
        } else {
            p[0] = p[1] = p[2] = p[3] = 0xFF;
        }
        out.append(reinterpret_cast<const char*>(data), len);
        if (out.size() - startSize > bytes_.size())
            failVariable("the variable part of a record loops");
        first = false;
    }
}

void DataFile::forEachRecord(
    const std::function<void(std::string_view)>& visit,
    const std::function<void(std::uint64_t, const std::string&)>& damaged) const {
    std::uint64_t number = 0;
    const std::uint32_t ps = info_.pageSize;
    const std::uint32_t prl = info_.physicalRecordLength;
    const std::uint32_t rl = info_.recordLength;
    const std::uint32_t prefix = info_.version == 6 ? 2 : 0;
    std::string record;
    for (std::uint32_t p : dataPages_) {
        const auto* pg = reinterpret_cast<const unsigned char*>(page(p).data());
        const std::uint64_t pageOffset = std::uint64_t{p} * ps;
        std::uint32_t limit = ps;
        if (info_.version == 5 && p == currentDataPage_) limit = currentPageUsed_;
        for (std::uint32_t so = 6; so + prl <= limit; so += prl) {
            if (info_.version == 5) {
                if (std::binary_search(freeSlots_.begin(), freeSlots_.end(), pageOffset + so))
                    continue;
            } else if (u16(pg + so) == 0) {
                continue;
            }
            const unsigned char* r = pg + so + prefix;
            ++number;
            if (!info_.variableLength) {
                visit(std::string_view(reinterpret_cast<const char*>(r), rl));
                continue;
            }
            record.assign(reinterpret_cast<const char*>(r), rl);
            try {
                appendVariable(r + rl, record);
            } catch (const VariablePartError& e) {
                if (!damaged) throw;
                damaged(number, e.reason());
            }
            visit(record);
        }
    }
}

std::vector<std::string> DataFile::records() const {
    std::vector<std::string> out;
    forEachRecord([&](std::string_view r) { out.emplace_back(r); });
    return out;
}

}  // namespace rq::btrieve
