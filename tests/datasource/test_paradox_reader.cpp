// The Paradox reader against sample tables written by other programs, and
// against small tables built here for what the samples lack.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>

#include "datasource/readers.h"
#include "reader_test_support.h"

using namespace rq;
using namespace rq::testing;
namespace fs = std::filesystem;

namespace {

using Loaded = LoadedSheet;
const fs::path kParadox = kFixtures / "paradox";

Loaded loadFrom(const fs::path& folder, const std::string& table, const OpenOptions& options = {}) {
    return loadSheet(*openParadoxFolder(folder.string(), options), table);
}

Loaded load(const std::string& sub, const std::string& table, const OpenOptions& options = {}) {
    return loadFrom(kParadox / sub, table, options);
}

}  // namespace

TEST(ParadoxSamples, RecordCountsAndValuesOfEveryFieldTypeWithoutWarnings) {
    SKIP_WITHOUT(kParadox / "fields");
    struct Sample {
        const char* folder;
        const char* table;
        int records;  // -1: not checked
        std::vector<rq::testing::SampleCell> cells;
        std::vector<std::pair<int, int>> types = {};  // (column, engine type)
    };
    // Row 0 of a sheet is the field names.
    // clang-format off
    const Sample samples[] = {
        // Version 3: money stored as 0.16999999999999998; a null money value is empty, not 0.
        {"mtdemo", "AMOUNT", 50, {{0, 2, "Total Rental Fee"}, {1, 0, "1989-01-01"}, {1, 1, "1332"},
         {1, 4, "0.17"}, {3, 6, ""}}, {{0, kDateTime}, {2, kCurrency}, {3, kDouble}}},
        {"db", "ORDERS", 224, {{1, 2, "1988-04-03"}, {1, 5, "7320"}}},
        {"db", "GENERAL", 3, {{3, 0, "333333333"}}},
        {"fields", "time", -1, {{1, 0, "01:00:01"}, {2, 0, ""}, {3, 0, "03:00:03"}}},
        {"fields", "timestamp", -1, {{1, 0, ""}, {2, 0, "2020-02-01T01:00:01"}}},
        {"fields", "date5", -1, {{3, 0, "2018-01-02"}, {3, 1, "09:25:25"}}},
        {"fields", "date35", -1, {{2, 0, "2018-02-01"}}},
        {"fields", "logical", 4, {{1, 0, "true"}, {2, 0, "false"}}, {{0, kBoolean}}},
        // Autoincrement, and a null long.
        {"fields", "long", -1, {{2, 1, "2"}, {3, 0, "3"}, {3, 1, ""}}, {{0, kLong}}},
        {"fields", "bcd", -1, {{1, 0, "1.23"}, {2, 0, "-1.23"}, {2, 1, "-1"}, {3, 1, ""}},
         {{0, kDecimal}}},
        {"fields", "fmemo", -1, {{1, 1, "123"}}, {{1, kMemo}}},
        {"fields", "memo", -1, {{2, 1, "01234567890\n"}}},
        // Every other unprotected table: its record count.
        {"fields", "date7", 5, {}}, {"areas", "AREACODE", 239, {}}, {"areas", "STATES", 53, {}},
        {"db", "AREACODE", 135, {}}, {"db", "AREACODES", 370, {}}, {"db", "CONTACTS", 55, {}},
        {"db", "CUSTOMER", 20, {}}, {"db", "DECIMAL", 9, {}}, {"db", "HERCULES", 20, {}},
        {"db", "SERVER", 4, {}}, {"mtdemo", "CUSTOMER", 28, {}}, {"mtdemo", "EMPLOYEE", 21, {}},
        {"mtdemo", "FILMS", 36, {}}, {"mtdemo", "KRENTAL", 198, {}}, {"mtdemo", "PAYMENT", 54, {}},
        {"mtdemo", "RENTAL", 198, {}}, {"mtdemo", "STORE", 4, {}}, {"mtdemo", "TAXRATE", 9, {}},
        {"mtdemo", "VIDORDER", 50, {}},
    };
    // clang-format on
    for (const Sample& s : samples) {
        SCOPED_TRACE(std::string(s.folder) + "/" + s.table);
        Loaded t = load(s.folder, s.table);
        EXPECT_TRUE(t.warnings.empty()) << t.warnings.front();
        rq::testing::expectSample(t, s.records, s.cells, s.types);
    }
    Loaded bytes = load("fields", "bytes");
    EXPECT_EQ(bytes.at(1, 0).substr(0, 8), "MQAyADMA");  // "1\0" "2\0" "3\0"
    EXPECT_EQ(bytes.at(1, 0).size(), 340u);              // 255 bytes
    // The catalog lists every .db table of the folder, the protected one too.
    EXPECT_EQ(openParadoxFolder((kParadox / "db").string(), {})->catalog().size(), 10u);
}

TEST(ParadoxSamples, BlobsComeFromTheLeaderOrTheMbFile) {
    SKIP_WITHOUT(kParadox / "db");
    Loaded c = load("db", "CUSTOMER");
    EXPECT_EQ(c.at(0, 8), "Comments");
    EXPECT_EQ(c.at(1, 8), "Small comment (less 100 symbols)");
    const std::string big = c.at(2, 8);
    EXPECT_EQ(big.size(), 518u);
    EXPECT_EQ(big.substr(0, 20), "\tThe length of the l");
    EXPECT_EQ(big.substr(big.size() - 11), "s document.");
    EXPECT_EQ(c.at(1, 9), "1996-02-02");

    EXPECT_EQ(load("fields", "memo").at(1, 1).size(), 555u);

    Loaded graphic = load("fields", "graphic240");
    EXPECT_EQ(graphic.at(1, 1).substr(0, 4), "Qk1u");  // "BMn": the bitmap itself
    EXPECT_EQ(graphic.at(1, 1).size(), 26772u);        // all 20,078 bytes of it
    EXPECT_EQ(graphic.fields[1].type, kLongBinary);

    // An OLE value loses the same 8-byte prefix (kind 0x02000001, length).
    Loaded ole = load("fields", "ole");
    EXPECT_EQ(ole.at(1, 1).substr(0, 16), "AQBQYXJhZG94IERv");  // "\1\0Paradox Do"
    EXPECT_EQ(ole.at(1, 1).size(), 487896u);                    // 365,920 bytes
    EXPECT_EQ(ole.fields[1].type, kLongBinary);
    EXPECT_TRUE(ole.warnings.empty()) << ole.warnings.front();
}

TEST(ParadoxSamples, ProtectedTablesOpenWithTheirPassword) {
    SKIP_WITHOUT(kParadox / "encrypt");
    const OpenOptions withPassword{.password = "123"};
    EXPECT_EQ(
        load("encrypt", "encrypted", withPassword).lines(),
        (std::vector<std::string>{"Id|Text", "1|Value 1", "2|Value 2", "3|Value 3", "4|Last one"}));
    Loaded old = load("encrypt", "encrypted35", withPassword);
    ASSERT_EQ(old.records(), 2);
    EXPECT_EQ(old.at(2, 1), "Test2");

    // The blob file is scrambled too; both memos live there.
    Loaded memo = load("encrypt", "encryptedmemo", withPassword);
    ASSERT_EQ(memo.records(), 2);
    const std::string first = memo.at(1, 0);
    EXPECT_EQ(first.size(), 55855u);
    EXPECT_EQ(first.substr(0, 27), " The PARADOX File Structure");
    EXPECT_EQ(first.substr(first.size() - 5), "End.\n");
    EXPECT_EQ(memo.at(2, 0).size(), 494832u);
    EXPECT_EQ(memo.at(2, 0).substr(0, 14), "(This is stale");
}

TEST(ParadoxSamples, ProtectedTablesRefuseAMissingOrWrongPassword) {
    SKIP_WITHOUT(kParadox / "encrypt");
    for (const char* password : {"", "124", "1234", "12"}) {
        auto db = openParadoxFolder((kParadox / "encrypt").string(), {.password = password});
        const Thrown e = thrownBy([&] { loadSheet(*db, "encrypted"); });
        EXPECT_EQ(e.code, kErrPasswordRequired) << password;
        EXPECT_TRUE(contains(e.message, "encrypted.db")) << e.message;
        EXPECT_EQ(db->fields("encrypted35").size(), 2u);  // the header is not scrambled
    }
}

namespace {

// A small version 3 table: the header with its field list and names, then
// blocks of 1 KiB chained in order, each holding the given number of records
// filled with the byte of their number.
struct BuiltTable {
    std::vector<std::pair<unsigned, unsigned>> fields;  // type, size
    std::vector<int> recordsPerBlock;
    std::uint32_t declared = 0;

    std::string bytes() const {
        unsigned recordSize = 0;
        for (const auto& f : fields) recordSize += f.second;
        std::string h(0x58, '\0');
        for (const auto& f : fields) {
            h += static_cast<char>(f.first);
            h += static_cast<char>(f.second);
        }
        h += std::string(4 + 4 * fields.size() + 79, '\0');
        for (std::size_t i = 0; i < fields.size(); ++i) h += "F" + std::to_string(i + 1) + '\0';
        h.replace(0, 2, le16(recordSize));
        h.replace(2, 2, le16(static_cast<unsigned>(h.size())));
        h[5] = 1;  // 1 KiB blocks
        h.replace(6, 2, le16(declared));
        h.replace(0x0C, 2, le16(static_cast<unsigned>(recordsPerBlock.size())));
        h.replace(0x0E, 2, le16(recordsPerBlock.empty() ? 0 : 1));
        h.replace(0x21, 2, le16(static_cast<unsigned>(fields.size())));
        h[0x39] = 3;
        for (std::size_t b = 0; b < recordsPerBlock.size(); ++b) {
            std::string block(1024, '\0');
            const unsigned next = b + 1 < recordsPerBlock.size() ? b + 2 : 0;
            block[0] = static_cast<char>(next);
            const int last = (recordsPerBlock[b] - 1) * static_cast<int>(recordSize);
            block.replace(4, 2, le16(static_cast<unsigned>(last)));
            for (int r = 0; r < recordsPerBlock[b]; ++r)
                std::fill_n(block.begin() + 6 + r * recordSize, recordSize,
                            static_cast<char>(r + 1));
            h += block;
        }
        return h;
    }
};

// The refusal names the file.
void expectRefused(const ScratchFolder& folder, const std::string& table) {
    EXPECT_TRUE(contains(errorOf([&] { loadFrom(folder.path(), table); }), table + ".db")) << table;
}

}  // namespace

TEST(ParadoxBuilt, HeadersAndFieldsThatPointPastTheFileAreRefused) {
    ScratchFolder folder;
    folder.write("junk.db", "definitely not a table");
    expectRefused(folder, "junk");
    // A later-version header cut at 103 bytes: its code page and password words
    // would lie beyond the end.
    std::string shortHeader(103, '\0');
    shortHeader[0] = 4;
    shortHeader[2] = 103;
    shortHeader[5] = 1;
    shortHeader[0x21] = 1;
    shortHeader[0x39] = 12;
    folder.write("short.db", shortHeader);
    expectRefused(folder, "short");

    // A Long Integer declared one byte wide, its record the last byte of the file.
    BuiltTable narrow{{{0x04, 1}}, {1}, 1};
    std::string bytes = narrow.bytes();
    folder.write("narrow.db", bytes.substr(0, bytes.size() - 1024 + 7));
    expectRefused(folder, "narrow");

    // Every fixed-size type with a size it cannot have.
    for (unsigned type : {0x02u, 0x03u, 0x05u, 0x06u, 0x09u, 0x14u, 0x15u, 0x16u}) {
        BuiltTable wrong{{{0x01, 4}, {type, 3}}, {1}, 1};
        folder.write("wrong.db", wrong.bytes());
        expectRefused(folder, "wrong");
    }
    BuiltTable right{{{0x01, 4}, {0x04, 4}, {0x05, 8}}, {2}, 2};
    folder.write("right.db", right.bytes());
    EXPECT_EQ(loadFrom(folder.path(), "right").records(), 2);
}

TEST(ParadoxBuilt, ACutTableSaysHowManyRecordsItRead) {
    ScratchFolder folder;
    BuiltTable t{{{0x01, 10}}, {5, 4, 3}, 12};
    const std::string whole = t.bytes();
    folder.write("whole.db", whole);
    Loaded all = loadFrom(folder.path(), "whole");
    EXPECT_EQ(all.records(), 12);
    EXPECT_TRUE(all.warnings.empty());

    // Cut inside the third block, before its first record ends.
    folder.write("cut.db", whole.substr(0, whole.size() - 1024 + 10));
    Loaded cut = loadFrom(folder.path(), "cut");
    EXPECT_EQ(cut.records(), 9);
    ASSERT_EQ(cut.warnings.size(), 1u);
    EXPECT_EQ(cut.warnings[0], (folder.path() / "cut.db").string() + ": 9 of 12 records read");
}

TEST(ParadoxSamples, AMissingBlobFileIsReported) {
    SKIP_WITHOUT(kParadox / "db");
    ScratchFolder folder;
    fs::copy_file(kFixtures / "paradox/db/CUSTOMER.DB", folder.path() / "CUSTOMER.DB");
    Loaded customer = loadFrom(folder.path(), "CUSTOMER");
    EXPECT_EQ(customer.records(), 20);
    EXPECT_EQ(customer.at(1, 8), "Small comment (less 100 symbols)");  // kept in the record
    EXPECT_EQ(customer.at(2, 8), "");                                  // kept in the .MB
    ASSERT_EQ(customer.warnings.size(), 1u);
    EXPECT_NE(customer.warnings[0].find((folder.path() / "CUSTOMER.MB").string()),
              std::string::npos)
        << customer.warnings[0];
}
