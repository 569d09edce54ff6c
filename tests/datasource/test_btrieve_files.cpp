// Reading Btrieve data files without a dictionary, checked against what the
// sample files hold: the SQLite conversion made by the authors of one of them,
// and values worked out from the bytes independently of this reader.

#include <cstring>
#include <set>
#include <tuple>

#include "datasource/btrieve/btrievefile.h"
#include "reader_test_support.h"

using rq::DatabaseError;
using rq::btrieve::DataFile;
namespace fs = std::filesystem;

namespace {

const fs::path kBtrieve = rq::testing::kFixtures / "btrieve";

std::uint64_t fnv1a(const std::vector<std::string>& records) {
    std::uint64_t h = 0xcbf29ce484222325ULL;
    for (const auto& r : records)
        for (unsigned char c : r) h = (h ^ c) * 0x100000001b3ULL;
    return h;
}

unsigned u16(const std::string& r, std::size_t at) {
    return static_cast<unsigned char>(r[at]) | (static_cast<unsigned char>(r[at + 1]) << 8);
}

}  // namespace

TEST(BtrieveFile, FiveXRecordsMatchTheAuthorsSqliteConversion) {
    SKIP_WITHOUT(kBtrieve);
    DataFile f = DataFile::open((kBtrieve / "wbtrv32/MBBSEMU.DAT").string());
    const auto& i = f.info();  // version, page, record, physical record, keys, variable
    EXPECT_EQ(std::tuple(i.version, i.pageSize, i.recordLength, i.physicalRecordLength, i.keyCount,
                         i.variableLength),
              std::tuple(5, 512u, 74u, 90u, 4u, false));

    const auto expected = rq::testing::sqliteColumn(kBtrieve / "wbtrv32/mbbsemu_sqlite/MBBSEMU.DB",
                                                    "SELECT data FROM data_t ORDER BY id");
    ASSERT_EQ(expected.size(), 4u);
    EXPECT_EQ(f.records(), expected);
    EXPECT_EQ(f.info().recordCount, 4u);
}

TEST(BtrieveFile, FiveXVariableRecordsFollowTheirFragmentChains) {
    SKIP_WITHOUT(kBtrieve);
    DataFile f = DataFile::open((kBtrieve / "wbtrv32/VARIABLE.DAT").string());
    EXPECT_TRUE(f.info().variableLength);
    EXPECT_EQ(f.info().recordLength, 8u);
    // Record k holds 0xDEADBEEF, k mod 64, k, then a variable part of k bytes
    // 0, 1, 2, ... (mod 256). The longest parts span three pages.
    auto records = f.records();
    ASSERT_EQ(records.size(), 1024u);
    std::set<unsigned> seen;
    for (const auto& r : records) {
        ASSERT_GE(r.size(), 8u);
        unsigned k = u16(r, 6);
        EXPECT_EQ(r.substr(0, 4), "\xEF\xBE\xAD\xDE");
        EXPECT_EQ(u16(r, 4), k % 64);
        std::string part;
        for (unsigned j = 0; j < k; ++j) part += static_cast<char>(j & 0xFF);
        EXPECT_EQ(r.substr(8), part) << "record " << k;
        seen.insert(k);
    }
    EXPECT_EQ(seen.size(), 1024u);
    EXPECT_EQ(*seen.rbegin(), 1023u);
}

TEST(BtrieveFile, FixedAndVariableRecordsOfBothFormatVersions) {
    SKIP_WITHOUT(kBtrieve);
    // Record counts, the text the records start with and a hash of all their
    // bytes, worked out from the files independently of this reader.
    struct Case {
        const char* file;
        int version;
        std::size_t records;
        std::size_t textAt;
        const char* first;
        const char* last;
        std::uint64_t hash;
    };
    const Case cases[] = {
        {"wbtrv32/MBMGEPLT.DAT", 5, 22, 24, "*Galactic Comman", "Sysop", 0x22253b79fab062b3ULL},
        // Found through the current allocation table; the count is that of the
        // newer of the two control records.
        {"wbtrv32/GALTELA.DAT", 6, 73, 0, "!List", "", 0xac826f754eb12a16ULL},
        {"wbtrv32/WGSMENU2.DAT", 6, 46, 0, "AACCOUNT", "CWORMSG", 0xb52207b061e5310fULL},
        // 37 deleted slots in the chain and one record left; deleted slots among records.
        {"doclife/F13.DAT", 5, 1, 0, "19000141481", "19000141481", 0},
        {"doclife/F17.DAT", 5, 46, 0, "", "", 0x96341353759f81bdULL},
        {"wbtrv32/MULTIACS.DAT", 6, 0, 0, "", "", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        DataFile f = DataFile::open((kBtrieve / c.file).string());
        EXPECT_EQ(f.info().version, c.version);
        auto records = f.records();
        ASSERT_EQ(records.size(), c.records);
        if (c.records == 0) continue;
        EXPECT_EQ(records.front().substr(c.textAt, std::strlen(c.first)), c.first);
        EXPECT_EQ(records.back().substr(c.textAt, std::strlen(c.last)), c.last);
        EXPECT_EQ(c.hash ? fnv1a(records) : 0, c.hash);  // 0: no hash to compare
    }
    // The variable parts of the 6.x file: a record part of 448 bytes, then these.
    auto menu = DataFile::open((kBtrieve / "wbtrv32/WGSMENU2.DAT").string()).records();
    EXPECT_EQ(menu[1].size() - 448, 2u);
    EXPECT_EQ(menu[9].size() - 448, 380u);
}

TEST(BtrieveFile, CompressedFileIsRefusedByName) {
    SKIP_WITHOUT(kBtrieve);
    const std::string path = (kBtrieve / "ccc-fibu/FI1310.BTR").string();
    const std::string error = rq::testing::errorOf([&] { DataFile::open(path); });
    EXPECT_TRUE(rq::testing::contains(error, path)) << error;
    EXPECT_TRUE(rq::testing::contains(error, "compressed")) << error;
}

TEST(BtrieveFile, NonBtrieveBytesAreRefused) {
    EXPECT_THROW(DataFile::fromBytes("short", "x"), DatabaseError);
    EXPECT_THROW(DataFile::fromBytes(std::string(4096, 'A'), "x"), DatabaseError);
    std::string fc(4096, '\0');
    fc.replace(0, 2, "FC");
    fc[9] = 4;  // page size 1024, but no allocation table
    fc[0x16] = 10;
    fc[0x18] = 12;
    EXPECT_THROW(DataFile::fromBytes(fc, "x"), DatabaseError);
    EXPECT_THROW(DataFile::open("/nonexistent/file.dat"), DatabaseError);
}
