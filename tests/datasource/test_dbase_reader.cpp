// The dBase/FoxPro reader against sample files written by other programs, and
// against small tables built here for what the samples lack.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "datasource/readers.h"
#include "reader_test_support.h"

using namespace rq;
using rq::testing::contains;
using rq::testing::joined;
using rq::testing::le16;
using rq::testing::le32;
using rq::testing::ScratchFolder;
namespace fs = std::filesystem;

namespace {

using Loaded = rq::testing::LoadedSheet;
using rq::testing::kFixtures;

Loaded load(const fs::path& folder, const std::string& table, const OpenOptions& options = {}) {
    return rq::testing::loadSheet(*openDbaseFolder(folder.string(), options), table);
}

// Builds a small .dbf: fields are (name, type, length, decimals, flags).
struct FieldLayout {
    std::string name;
    char type;
    int length;
    int decimals = 0;
    int flags = 0;
};

std::string makeDbf(unsigned version, const std::vector<FieldLayout>& fields,
                    const std::vector<std::string>& records, int ldid = 0) {
    const bool vfp = version == 0x30 || version == 0x31 || version == 0x32;
    int recordLength = 1;
    for (const auto& f : fields) recordLength += f.length;
    const int headerLength = 32 + 32 * static_cast<int>(fields.size()) + 1 + (vfp ? 263 : 0);
    std::string h(32, '\0');
    h[0] = static_cast<char>(version);
    h.replace(4, 4, le32(static_cast<std::uint32_t>(records.size())));
    h.replace(8, 2, le16(headerLength));
    h.replace(10, 2, le16(recordLength));
    h[29] = static_cast<char>(ldid);
    int offset = 1;
    for (const auto& f : fields) {
        std::string d(32, '\0');
        std::memcpy(d.data(), f.name.data(), std::min<std::size_t>(f.name.size(), 10));
        d[11] = f.type;
        d.replace(12, 4, le32(static_cast<std::uint32_t>(offset)));
        d[16] = static_cast<char>(f.length);
        d[17] = static_cast<char>(f.decimals);
        d[18] = static_cast<char>(f.flags);
        h += d;
        offset += f.length;
    }
    h += '\x0d';
    if (vfp) h += std::string(263, '\0');
    for (const auto& r : records) {
        EXPECT_EQ(static_cast<int>(r.size()), recordLength) << "record built with a wrong length";
        h += r;
    }
    h += '\x1a';
    return h;
}

}  // namespace

// ------------------------------------------------------------ sample files

// Row 0 of a sheet is the field names, so a cell at row 0 checks a name.
struct Sample {
    const char* folder;
    const char* table;
    int records;
    std::vector<rq::testing::SampleCell> cells;
    std::vector<std::pair<int, int>> types = {};  // (column, engine type)
    const char* warning = nullptr;                // part of the one warning, after the table's path
};

TEST(DbaseSamples, ValuesAndWarningsOfEveryTableOfEveryVersion) {
    SKIP_WITHOUT(kFixtures / "dbase");
    SKIP_WITHOUT(kFixtures / "foxpro");
    // clang-format off
    const Sample samples[] = {
        // The third record is marked deleted.
        {"dbase/dbfread", "people", 2, {{0, 1, "BIRTHDATE"}, {1, 0, "Alice"}, {1, 1, "1987-03-01"},
         {2, 1, "1980-11-12"}}, {{1, kDateTime}}},
        {"dbase/dbfread", "invalid_value", 2, {{1, 1, ""}, {2, 1, "1980-11-12"}}, {},  // bad date
         ": record 1, field BIRTHDATE: \"NotAYear\" is not a date"},
        // dBase III: exact numbers, duplicate names kept, leading zeros of text kept.
        {"dbase/infused_dbf", "dbase_03", 14, {{0, 0, "Point_ID"}, {0, 30, "Point_ID"},
         {1, 0, "0507121"}, {1, 8, "2005-07-12"}, {1, 10, "5.2"}, {1, 11, "2"},
         {1, 28, "557904.898"}, {1, 30, "401"}}, {{10, kDecimal}, {30, kLong}}},
        // Memos from the .dbt; logicals as booleans.
        {"dbase/infused_dbf", "dbase_83", 67, {{0, 11, "DESC"}, {1, 0, "87"}, {1, 12, "5.51"},
         {1, 13, "true"}, {2, 13, "false"}}, {{11, kMemo}}},
        // Without its memo file the table still loads, with empty memo cells.
        {"dbase/infused_dbf", "dbase_83_missing_memo", 67, {{1, 11, ""},
         {1, 6, "Assorted Petits Fours"}}, {}, ": the memo file 'dbase_83_missing_memo.dbt' is missing: 67 memos are left empty"},
        // dBase IV memo blocks carry their length.
        {"dbase/infused_dbf", "dbase_8b", 10, {{1, 0, "One"}, {1, 1, "1"}, {1, 2, "1970-01-01"},
         {1, 3, "true"}, {1, 4, "1.23456789012346"}, {1, 5, "First memo\r\n"}}},
        // dBase 7: long big-endian with the sign bit flipped, order-preserving doubles.
        {"dbase/sheetjs", "d11", 4, {{0, 11, "auto"}, {1, 8, "1111111111"}, {4, 8, "2222"},
         {1, 9, "2011-11-11T11:11:11"}, {3, 9, "2001-01-01"}, {4, 9, "2002-02-02T23:59:59"},
         {3, 10, "1.1"}, {4, 10, "22.22"}, {4, 11, "4"}, {1, 3, "true"}, {2, 3, ""}},
         {{9, kDateTime}, {10, kDouble}}, ": the memo file 'd11.dbt' is missing: 6 memos are left empty"},
        {"dbase/infused_dbf", "dbase_8c", 10, {{0, 3, "Length CM"}, {1, 0, "1"},
         {1, 1, "Clown Triggerfish"}, {1, 3, "100"}}, {}, ": the memo file 'dbase_8c.dbt' is missing: 20 memos are left empty"},
        // Code page from the language driver; 850 for DOS accents without one;
        // UTF-8 when the bytes are UTF-8.
        {"foxpro/infused_dbf", "cp1251", 4, {{1, 1, "амбулаторно-поликлиническое"}}},
        {"foxpro/infused_dbf", "dbase_f5", 975, {{1, 13, "baix penedès"},
         {1, 16, "químic prof sec"}}},
        {"dbase/infused_dbf", "dbase_03_cyrillic", -1, {{0, 0, "ШАР"}, {1, 0, "Номер"},
         {1, 1, "36.3"}}},
        // Visual FoxPro: currency, B double, blank date; _NullFlags not shown.
        {"foxpro/sheetjs", "vfp3", 3, {{1, 1, "123.45"}, {3, 1, "999.99"}, {1, 4, "1917-02-19"},
         {3, 5, "1909-09-09T09:09:09"}, {1, 6, "1231.4"}, {3, 7, "909090"}, {2, 4, ""}},
         {{1, kCurrency}, {6, kDouble}}, ": the memo file 'vfp3.fpt' is missing: 4 memos are left empty"},
        {"foxpro/infused_dbf", "dbase_32", 1, {{1, 0, "Bad Meets Evil"}}},  // varchar length
        {"foxpro/infused_dbf", "dbase_31", 77, {{1, 5, "18"}, {77, 5, "13"}, {77, 0, "77"}}},
        // FoxPro memos and date-times; a time alone is stored on 1899-12-30.
        {"foxpro/infused_dbf/foxprodb", "calls", 16, {{1, 2, "1994-11-21T13:35:39"},
         {1, 3, "13:35:39"}, {2, 5, "Usual monthly order."}}},
        {"foxpro/dbfread", "memotest", 2, {{1, 2, "Alice memo"}, {2, 2, "Bob memo"}}},
        {"foxpro/dbfread", "no_memofile", 2, {{2, 0, "Bob"}, {2, 2, ""}}, {},
         ": the memo file 'no_memofile.fpt' is missing: 2 memos are left empty"},
        {"foxpro/infused_dbf", "dbase_02", 9, {{0, 0, "EMP:NMBR"}, {1, 1, "Stegman"},
         {1, 12, "6"}}},
        // Mazovia: the Polish letters at 0x98 and 0x9E with other DOS characters between.
        {"foxpro/infused_dbf", "mazovia", 2, {{1, 1, "English"}, {2, 1, "Ś╫êëτ⌡ś"}}},
        {"dbase/infused_dbf", "polygon", 1, {}},  // a shapefile table without fields
        // The other samples: read without a warning.
        {"dbase/sheetjs", "write", -1, {}}, {"foxpro/infused_dbf", "dbase_30", -1, {}},
        {"foxpro/infused_dbf/foxprodb", "contacts", -1, {}},
        {"foxpro/infused_dbf/foxprodb", "setup", -1, {}},
        {"foxpro/infused_dbf/foxprodb", "types", -1, {}},
    };
    // clang-format on
    for (const Sample& s : samples) {
        SCOPED_TRACE(std::string(s.folder) + "/" + s.table);
        Loaded t = load(kFixtures / s.folder, s.table);
        rq::testing::expectSample(t, s.records, s.cells, s.types);
        const std::string path = (kFixtures / s.folder / s.table).string() + ".dbf";
        EXPECT_EQ(t.warnings, s.warning ? std::vector<std::string>{path + s.warning}
                                        : std::vector<std::string>{});
    }

    Loaded memo = load(kFixtures / "dbase/infused_dbf", "dbase_83");
    const std::string text = memo.at(1, 11);
    EXPECT_EQ(text.size(), 524u);
    EXPECT_EQ(text.substr(0, 30), "Our Original assortment...a li");
    EXPECT_EQ(text.substr(text.size() - 16), "Raspberry Blanc.");

    // A code page chosen by the caller wins.
    Loaded forced =
        load(kFixtures / "foxpro/infused_dbf", "cp1251", {.password = {}, .codepage = 1252});
    EXPECT_NE(forced.at(1, 1), "амбулаторно-поликлиническое");
}

// ------------------------------------------------------------ built tables

TEST(DbaseBuilt, NumbersLogicalsAndDatesTakeTheirForms) {
    // Raw N(8,2), L and D bytes, and the texts they should give.
    struct Row {
        const char *n, *l, *d, *number, *logical, *date;
    };
    const Row rows[] = {
        {" -000.50", "T", "20240115", "-0.5", "true", "2024-01-15"},
        {"      .5", "F", "        ", "0.5", "false", ""},
        {"  ******", "?", "00000000", "******", "", ""},  // overflow kept; '?' unknown
        {" 1.5E+03", "y", "19991332", "1.5E+03", "true", ""},
        {"        ", "n", "        ", "", "false", ""},
        // Dates that are no day of the calendar are left empty and named.
        {"        ", " ", "20240229", "", "", "2024-02-29"},
        {"        ", " ", "20230229", "", "", ""},
        {"        ", " ", "20230431", "", "", ""},
        {"        ", " ", "2023 4 1", "", "", ""},
    };
    std::vector<std::string> records;
    for (const Row& r : rows) records.push_back(std::string(" ") + r.n + r.l + r.d);
    ScratchFolder dir;
    dir.write("t.dbf", makeDbf(0x03, {{"N", 'N', 8, 2}, {"L", 'L', 1}, {"D", 'D', 8}}, records));
    Loaded t = load(dir.path(), "t");
    ASSERT_EQ(t.records(), 9);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(joined(t.row(i + 1)),
                  std::string(rows[i].number) + "|" + rows[i].logical + "|" + rows[i].date)
            << i;
    // Blank and zero dates are no date, not a damaged one.
    ASSERT_EQ(t.warnings.size(), 4u);
    EXPECT_EQ(t.warnings[0],
              (dir.path() / "t.dbf").string() + ": record 4, field D: \"19991332\" is not a date");
    EXPECT_NE(t.warnings[3].find("record 9, field D: \"2023 4 1\""), std::string::npos);
}

TEST(DbaseBuilt, VisualFoxProNullBitsFollowFieldOrder) {
    ScratchFolder dir;
    // V (var bit 0, null bit 1), I nullable (bit 2), C not nullable.
    std::vector<FieldLayout> f = {{"V", 'V', 5, 0, 0x02},
                                  {"I", 'I', 4, 0, 0x02},
                                  {"C", 'C', 3},
                                  {"_NullFlags", '0', 1, 0, 0x05}};
    std::string r1 = std::string(" ") + std::string("ab\0\0\x02", 5) + le32(42) + "xyz" + "\x01";
    std::string r2 = std::string(" ") + "abcde" + le32(7) + "   " + "\x06";
    dir.write("v.dbf", makeDbf(0x30, f, {r1, r2}, 0x03));
    Loaded t = load(dir.path(), "v");
    EXPECT_EQ(t.lines(), (std::vector<std::string>{"V|I|C", "ab|42|xyz", "||"}));  // nulls
}

TEST(DbaseBuilt, DamagedFilesGiveErrorsNamingTheFileAndKeepTheSheet) {
    ScratchFolder dir;
    dir.write("junk.dbf", "this is not a table at all");
    std::string longField = makeDbf(0x03, {{"A", 'C', 4}}, {"  abc"});
    longField[10] = 2;  // record length 2 < 1 + 4
    dir.write("short.dbf", longField);
    dir.write("empty.dbf", "");
    // A memo block number beyond the end of the memo file.
    std::string dbt(512, '\0');
    dbt += "hello\x1a\x1a";
    dir.write("m.dbf", makeDbf(0x83, {{"M", 'M', 10}}, {"         99"}));
    dir.write("m.dbt", dbt);
    dir.write("ok.dbf", makeDbf(0x83, {{"M", 'M', 10}}, {"          1"}));
    dir.write("ok.dbt", dbt);
    auto db = openDbaseFolder(dir.path().string(), {});
    const std::pair<const char*, const char*> damaged[] = {
        {"junk", "junk.dbf"}, {"short", "short.dbf"}, {"empty", "empty.dbf"}};
    for (auto [table, file] : damaged) {
        DataSheet sheet = DataSheet::startup();
        EXPECT_TRUE(contains(rq::testing::errorOf([&] { loadTable(*db, table, sheet); }), file));
        EXPECT_EQ(sheet.cell(0, 0), "Element 1");  // the sheet is kept
    }
    EXPECT_EQ(load(dir.path(), "ok").at(1, 0), "hello");
    // A memo beyond the end of its file leaves its cell empty and is named.
    Loaded m = load(dir.path(), "m");
    EXPECT_EQ(m.records(), 1);
    EXPECT_EQ(m.at(1, 0), "");
    ASSERT_EQ(m.warnings.size(), 1u);
    EXPECT_NE(
        m.warnings[0].find("record 1, field M: block 99 of the memo file 'm.dbt' lies outside it"),
        std::string::npos)
        << m.warnings[0];
    EXPECT_THROW(openDbaseFolder((dir.path() / "nowhere").string(), {}), DatabaseError);
}

// ------------------------------------------------------------ warnings

TEST(DbaseWarnings, CutCopiesGiveWhatIsPresentAndSaySo) {
    SKIP_WITHOUT(kFixtures / "dbase/infused_dbf");
    const fs::path from = kFixtures / "dbase/infused_dbf";
    const std::string dbf = rq::testing::slurp(from / "dbase_83.dbf");
    const std::string dbt = rq::testing::slurp(from / "dbase_83.dbt");

    ScratchFolder dir;
    // The table whole, its memo file cut to its first 2 KiB: the memos there are
    // read, each of the others is empty with a warning, the rest counted.
    dir.write("memo.dbf", dbf);
    dir.write("memo.dbt", dbt.substr(0, 2048));
    Loaded memo = load(dir.path(), "memo");
    EXPECT_EQ(memo.records(), 67);
    EXPECT_EQ(memo.at(1, 11).substr(0, 30), "Our Original assortment...a li");
    ASSERT_EQ(memo.warnings.size(), 21u);
    for (std::size_t i = 0; i < 20; ++i)
        EXPECT_NE(memo.warnings[i].find("of the memo file 'memo.dbt'"), std::string::npos)
            << memo.warnings[i];
    EXPECT_NE(memo.warnings[20].find("more values could not be read"), std::string::npos);
    // Cut inside a record (a cut between records is covered by the CLI tests).
    const auto word = [&](std::size_t at) {
        return (dbf[at] & 0xFFu) | (dbf[at + 1] & 0xFFu) << 8;
    };
    const std::size_t header = word(8), record = word(10);
    dir.write("cut.dbf", dbf.substr(0, header + 10 * record + record / 2));
    dir.write("cut.dbt", dbt);
    EXPECT_EQ(load(dir.path(), "cut").warnings,
              std::vector<std::string>{dir.file("cut.dbf") + ": 10 of 67 records read"});
}

// ------------------------------------------------------------ DOS code pages

TEST(DbaseCodePages, MazoviaAndKamenickyLanguageDrivers) {
    // Polish (driver 0x69) and Czech (0x68) pangrams,
    // written in the DOS code pages these drivers name.
    struct Case {
        int ldid;
        std::string bytes;
        const char* text;
    };
    const Case cases[] = {
        {0x69, "Za\xA7\xA2\x92\x8D g\x91\x9El\x86 ja\xA6\xA4", "Zażółć gęślą jaźń"},
        {0x68,
         "P\xA9\xA1li\xA8 \x91lu\x9Fou\x87k\x98 k\x96\xA4 \xA3p\x88l \x83\xA0"
         "belsk\x82 \xA2"
         "dy",
         "Příliš žluťoučký kůň úpěl ďábelské ódy"},
        // Box drawing and signs above 0xB0 are those of the other DOS code pages.
        {0x69, "\xC9\xCD\xBB \xE1\xF8\xFD", "╔═╗ ß°²"},
    };
    ScratchFolder dir;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        std::string value = c.bytes;
        value.resize(40, ' ');
        dir.write("p.dbf", makeDbf(0x03, {{"T", 'C', 40}}, {" " + value}, c.ldid));
        EXPECT_EQ(load(dir.path(), "p").at(1, 0), c.text);
    }
}
