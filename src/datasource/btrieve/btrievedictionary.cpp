#include "datasource/btrieve/btrievedictionary.h"

#include <algorithm>
#include <stdexcept>

#include "datasource/btrieve/btrievefile.h"
#include "datasource/codepage.h"

namespace rq::btrieve {

namespace {

std::uint16_t u16(std::string_view r, std::size_t at) {
    return static_cast<std::uint16_t>(static_cast<unsigned char>(r[at]) |
                                      (static_cast<unsigned char>(r[at + 1]) << 8));
}

std::string text(std::string_view r, std::size_t at, std::size_t size, const CodePage& cp) {
    std::string_view s = r.substr(at, size);
    std::size_t z = s.find('\0');
    if (z != std::string_view::npos) s = s.substr(0, z);
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    return cp.toUtf8(s);
}

void put16(std::string& s, std::size_t at, std::uint32_t v) {
    s[at] = static_cast<char>(v & 0xFF);
    s[at + 1] = static_cast<char>((v >> 8) & 0xFF);
}

// High word first, as the 5.x layout stores 32-bit values.
void putSwapped(std::string& s, std::size_t at, std::uint32_t v) {
    put16(s, at, v >> 16);
    put16(s, at + 2, v & 0xFFFF);
}

void putPadded(std::string& s, std::size_t at, std::size_t size, std::string_view v) {
    std::string_view cut = v.substr(0, size);
    std::copy(cut.begin(), cut.end(), s.begin() + static_cast<std::ptrdiff_t>(at));
}

}  // namespace

std::vector<TableEntry> readFileDictionary(const DataFile& file, const CodePage& cp) {
    std::vector<TableEntry> out;
    file.forEachRecord([&](std::string_view r) {
        if (r.size() < 87) return;
        TableEntry t;
        t.id = u16(r, 0);
        t.name = text(r, 2, 20, cp);
        t.location = text(r, 22, 64, cp);
        t.flags = static_cast<unsigned char>(r[86]);
        if (!t.name.empty()) out.push_back(std::move(t));
    });
    return out;
}

std::map<std::uint16_t, std::vector<FieldDef>> readFieldDictionary(const DataFile& file,
                                                                   const CodePage& cp) {
    std::map<std::uint16_t, std::vector<std::pair<std::uint16_t, FieldDef>>> byTable;
    file.forEachRecord([&](std::string_view r) {
        if (r.size() < 32) return;
        FieldDef f;
        f.dataType = static_cast<unsigned char>(r[24]);
        if (!isColumnType(f.dataType)) return;
        f.name = text(r, 4, 20, cp);
        f.offset = u16(r, 25);
        f.size = u16(r, 27);
        f.decimals = static_cast<unsigned char>(r[29]);
        byTable[u16(r, 2)].emplace_back(u16(r, 0), std::move(f));
    });
    std::map<std::uint16_t, std::vector<FieldDef>> out;
    for (auto& [table, list] : byTable) {
        std::stable_sort(list.begin(), list.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        auto& fields = out[table];
        for (auto& entry : list) fields.push_back(std::move(entry.second));
    }
    return out;
}

std::string fileDictionaryRecord(std::uint16_t id, std::string_view name, std::string_view location,
                                 int flags) {
    std::string r(87, ' ');
    put16(r, 0, id);
    putPadded(r, 2, 20, name);
    putPadded(r, 22, 64, location);
    r[86] = static_cast<char>(flags);
    return r;
}

std::string fieldDictionaryRecord(std::uint16_t id, std::uint16_t file, std::string_view name,
                                  int dataType, std::uint16_t offset, std::uint16_t size,
                                  int decimals, std::uint16_t flags) {
    std::string r(32, '\0');
    put16(r, 0, id);
    put16(r, 2, file);
    std::fill(r.begin() + 4, r.begin() + 24, ' ');
    putPadded(r, 4, 20, name);
    r[24] = static_cast<char>(dataType);
    put16(r, 25, offset);
    put16(r, 27, size);
    r[29] = static_cast<char>(decimals);
    put16(r, 30, flags);
    return r;
}

std::string writeDataFile5(std::uint32_t ps, std::uint32_t rl, bool variable,
                           const std::vector<std::string>& records) {
    const std::uint32_t prl = rl + (variable ? 4 : 0);
    if (ps < 512 || ps % 512 != 0 || rl == 0 || prl > ps - 6)
        throw std::invalid_argument("record does not fit the page size");
    const std::size_t perPage = (ps - 6) / prl;
    const std::size_t dataPages =
        std::max<std::size_t>(1, (records.size() + perPage - 1) / perPage);

    std::vector<std::string> pages(1 + dataPages, std::string(ps, '\0'));
    // Variable parts, packed into pages after the data pages.
    std::string* var = nullptr;
    std::uint32_t varUsed = 0, varCount = 0;
    auto closeVar = [&]() {
        if (!var) return;
        put16(*var, 10, varCount);
        put16(*var, ps - 2 - 2 * varCount, varUsed);  // end of the last fragment
    };
    for (std::size_t i = 0; i < records.size(); ++i) {
        const std::string& rec = records[i];
        if (variable ? rec.size() < rl : rec.size() != rl)
            throw std::invalid_argument("record of the wrong length");
        const std::uint32_t page = static_cast<std::uint32_t>(1 + i / perPage);
        const std::size_t slot = 6 + (i % perPage) * prl;
        std::copy(rec.begin(), rec.begin() + rl,
                  pages[page].begin() + static_cast<std::ptrdiff_t>(slot));
        if (!variable) continue;
        std::string_view part = std::string_view(rec).substr(rl);
        std::string pointer(4, '\xFF');
        if (!part.empty()) {
            if (part.size() + 12 + 4 > ps) throw std::invalid_argument("variable part too long");
            if (!var || varUsed + part.size() + 2 * (varCount + 2) > ps || varCount == 255) {
                closeVar();
                pages.emplace_back(ps, '\0');
                var = &pages.back();
                putSwapped(*var, 0, static_cast<std::uint32_t>(pages.size() - 1));
                put16(*var, 4, 1);
                putSwapped(*var, 6, 0xFFFFFFFFu);
                varUsed = 12;
                varCount = 0;
            }
            const std::uint32_t varPage = static_cast<std::uint32_t>(pages.size() - 1);
            put16(*var, ps - 2 - 2 * varCount, varUsed);
            std::copy(part.begin(), part.end(), var->begin() + varUsed);
            varUsed += static_cast<std::uint32_t>(part.size());
            pointer[0] = static_cast<char>((varPage >> 16) & 0xFF);
            pointer[1] = static_cast<char>(varPage & 0xFF);
            pointer[2] = static_cast<char>((varPage >> 8) & 0xFF);
            pointer[3] = static_cast<char>(varCount);
            ++varCount;
        }
        std::copy(pointer.begin(), pointer.end(),
                  pages[page].begin() + static_cast<std::ptrdiff_t>(slot + rl));
    }
    closeVar();
    for (std::size_t p = 1; p <= dataPages; ++p) {
        putSwapped(pages[p], 0, static_cast<std::uint32_t>(p));
        put16(pages[p], 4, 0x8001);
    }
    std::string& h = pages[0];
    put16(h, 0x04, 1);
    put16(h, 0x06, 0x0500);
    put16(h, 0x08, ps);
    putSwapped(h, 0x0C, 0xFFFFFFFFu);
    putSwapped(h, 0x10, 0xFFFFFFFFu);
    put16(h, 0x14, 0);
    put16(h, 0x16, rl);
    put16(h, 0x18, prl);
    putSwapped(h, 0x1A, static_cast<std::uint32_t>(records.size()));
    putSwapped(h, 0x1E, static_cast<std::uint32_t>(dataPages));
    putSwapped(h, 0x22, 1);
    putSwapped(h, 0x26, static_cast<std::uint32_t>(pages.size()));
    const std::size_t inLast = records.size() - (dataPages - 1) * perPage;
    put16(h, 0x2A, static_cast<std::uint32_t>(ps - 6 - inLast * prl));
    h[0x38] = variable ? '\xFF' : '\0';
    std::string out;
    out.reserve(pages.size() * ps);
    for (const auto& p : pages) out += p;
    return out;
}

}  // namespace rq::btrieve
