// Reading Btrieve data files without a dictionary, checked against what the
// sample files hold: the SQLite conversion made by the authors of one of them,
// and values worked out from the bytes independently of this reader.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <set>

#include "datasource/btrieve/btrievefile.h"
#include "datasource/database.h"

using rq::DatabaseError;
using rq::btrieve::DataFile;
namespace fs = std::filesystem;

namespace {

fs::path fixtures() {
    return fs::path(ROWQUILL_FIXTURES) / "btrieve";
}

#define REQUIRE_FIXTURES()                                                        \
    if (!fs::exists(fixtures())) GTEST_SKIP() << "no fixtures at " << fixtures(); \
    static_assert(true)

std::uint64_t fnv1a(const std::vector<std::string>& records) {
    std::uint64_t h = 0xcbf29ce484222325ULL;
    for (const auto& r : records)
        for (unsigned char c : r) h = (h ^ c) * 0x100000001b3ULL;
    return h;
}

std::string leadingText(const std::string& r) {
    return r.substr(0, r.find('\0'));
}

unsigned u16(const std::string& r, std::size_t at) {
    return static_cast<unsigned char>(r[at]) | (static_cast<unsigned char>(r[at + 1]) << 8);
}

}  // namespace

TEST(BtrieveFile, FiveXRecordsMatchTheAuthorsSqliteConversion) {
    REQUIRE_FIXTURES();
    DataFile f = DataFile::open((fixtures() / "wbtrv32/MBBSEMU.DAT").string());
    EXPECT_EQ(f.info().version, 5);
    EXPECT_EQ(f.info().pageSize, 512u);
    EXPECT_EQ(f.info().recordLength, 74u);
    EXPECT_EQ(f.info().physicalRecordLength, 90u);
    EXPECT_EQ(f.info().keyCount, 4u);
    EXPECT_FALSE(f.info().variableLength);

    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2((fixtures() / "wbtrv32/mbbsemu_sqlite/MBBSEMU.DB").c_str(), &db,
                              SQLITE_OPEN_READONLY, nullptr),
              SQLITE_OK);
    sqlite3_stmt* st = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT data FROM data_t ORDER BY id", -1, &st, nullptr),
              SQLITE_OK);
    std::vector<std::string> expected;
    while (sqlite3_step(st) == SQLITE_ROW)
        expected.emplace_back(static_cast<const char*>(sqlite3_column_blob(st, 0)),
                              static_cast<std::size_t>(sqlite3_column_bytes(st, 0)));
    sqlite3_finalize(st);
    sqlite3_close(db);

    ASSERT_EQ(expected.size(), 4u);
    EXPECT_EQ(f.records(), expected);
    EXPECT_EQ(f.info().recordCount, 4u);
}

TEST(BtrieveFile, FiveXVariableRecordsFollowTheirFragmentChains) {
    REQUIRE_FIXTURES();
    DataFile f = DataFile::open((fixtures() / "wbtrv32/VARIABLE.DAT").string());
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

TEST(BtrieveFile, FiveXFixedRecordsSpanningManyPages) {
    REQUIRE_FIXTURES();
    DataFile f = DataFile::open((fixtures() / "wbtrv32/MBMGEPLT.DAT").string());
    auto records = f.records();
    ASSERT_EQ(records.size(), 22u);
    EXPECT_EQ(records[0].size(), 493u);
    EXPECT_EQ(records[0].substr(24, 16), "*Galactic Comman");
    EXPECT_EQ(records[21].substr(24, 5), "Sysop");
    EXPECT_EQ(fnv1a(records), 0x22253b79fab062b3ULL);
}

TEST(BtrieveFile, SixXFixedRecordsAreFoundThroughTheCurrentAllocationTable) {
    REQUIRE_FIXTURES();
    DataFile f = DataFile::open((fixtures() / "wbtrv32/GALTELA.DAT").string());
    EXPECT_EQ(f.info().version, 6);
    EXPECT_EQ(f.info().pageSize, 4096u);
    EXPECT_EQ(f.info().recordLength, 950u);
    EXPECT_EQ(f.info().recordCount, 73u);  // from the newer of the two control records
    EXPECT_FALSE(f.info().variableLength);
    auto records = f.records();
    ASSERT_EQ(records.size(), 73u);
    EXPECT_EQ(leadingText(records[0]), "!List");
    EXPECT_EQ(leadingText(records[1]), "DEFAULT");
    EXPECT_EQ(records[1].substr(16, 7), "bearhug");
    EXPECT_EQ(fnv1a(records), 0xac826f754eb12a16ULL);
}

TEST(BtrieveFile, SixXVariableRecords) {
    REQUIRE_FIXTURES();
    DataFile f = DataFile::open((fixtures() / "wbtrv32/WGSMENU2.DAT").string());
    EXPECT_TRUE(f.info().variableLength);
    auto records = f.records();
    ASSERT_EQ(records.size(), 46u);
    EXPECT_EQ(leadingText(records[0]), "AACCOUNT");
    EXPECT_EQ(leadingText(records[1]), "ADLTAGGED");
    EXPECT_EQ(leadingText(records[45]), "CWORMSG");
    const std::size_t varLengths[] = {0, 2, 0, 0, 0, 2, 2, 0, 2, 380};
    for (std::size_t i = 0; i < std::size(varLengths); ++i)
        EXPECT_EQ(records[i].size() - 448, varLengths[i]) << "record " << i;
    std::size_t total = 0;
    for (const auto& r : records) total += r.size();
    EXPECT_EQ(total, 26216u);
    EXPECT_EQ(fnv1a(records), 0xb52207b061e5310fULL);
}

TEST(BtrieveFile, SixXFileWithoutRecords) {
    REQUIRE_FIXTURES();
    DataFile f = DataFile::open((fixtures() / "wbtrv32/MULTIACS.DAT").string());
    EXPECT_EQ(f.info().version, 6);
    EXPECT_EQ(f.info().recordLength, 128u);
    EXPECT_TRUE(f.records().empty());
}

TEST(BtrieveFile, DeletedAndNeverUsedSlotsAreSkipped) {
    REQUIRE_FIXTURES();
    // F13 has 37 deleted slots in its chain and one record left; F30 has two
    // deleted slots among nine records.
    DataFile f13 = DataFile::open((fixtures() / "doclife/F13.DAT").string());
    auto r13 = f13.records();
    ASSERT_EQ(r13.size(), 1u);
    EXPECT_EQ(r13[0].substr(0, 11), "19000141481");
    EXPECT_EQ(DataFile::open((fixtures() / "doclife/F30.DAT").string()).records().size(), 9u);
    auto f17 = DataFile::open((fixtures() / "doclife/F17.DAT").string()).records();
    EXPECT_EQ(f17.size(), 46u);
    EXPECT_EQ(fnv1a(f17), 0x96341353759f81bdULL);
}

TEST(BtrieveFile, CompressedFileIsRefusedByName) {
    REQUIRE_FIXTURES();
    const std::string path = (fixtures() / "ccc-fibu/FI1310.BTR").string();
    try {
        DataFile::open(path);
        FAIL() << "a compressed file was accepted";
    } catch (const DatabaseError& e) {
        EXPECT_NE(std::string(e.what()).find(path), std::string::npos) << e.what();
        EXPECT_NE(std::string(e.what()).find("compressed"), std::string::npos) << e.what();
    }
}

TEST(BtrieveFile, NonBtrieveBytesAreRefused) {
    EXPECT_THROW(DataFile::fromBytes("short", "x"), DatabaseError);
    EXPECT_THROW(DataFile::fromBytes(std::string(4096, 'A'), "x"), DatabaseError);
    std::string fc(4096, '\0');
    fc[0] = 'F';
    fc[1] = 'C';
    fc[8] = 0;
    fc[9] = 4;  // page size 1024, but no allocation table
    fc[0x16] = 10;
    fc[0x18] = 12;
    EXPECT_THROW(DataFile::fromBytes(fc, "x"), DatabaseError);
    EXPECT_THROW(DataFile::open("/nonexistent/file.dat"), DatabaseError);
}

TEST(BtrieveFile, EverySampleHoldsTheRecordsItsHeaderCounts) {
    REQUIRE_FIXTURES();
    int files = 0;
    for (const char* folder : {"doclife", "wbtrv32"})
        for (const auto& e : fs::directory_iterator(fixtures() / folder)) {
            const std::string ext = e.path().extension().string();
            if (ext != ".DAT" && ext != ".DDF") continue;
            SCOPED_TRACE(e.path().string());
            DataFile f = DataFile::open(e.path().string());
            EXPECT_EQ(f.records().size(), f.info().recordCount);
            ++files;
        }
    EXPECT_GT(files, 25);
}
