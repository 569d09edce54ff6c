// The dBase/FoxPro reader against sample files written by other programs, and
// against small tables built here for what the samples lack.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "datasource/readers.h"
#include "datasource/sheetloader.h"
#include "sheet/datasheet.h"

using namespace rq;
namespace fs = std::filesystem;

namespace {

const fs::path kFixtures = ROWQUILL_FIXTURES;

#define REQUIRE_FIXTURES(sub)           \
    if (!fs::exists(kFixtures / (sub))) \
    GTEST_SKIP() << "fixture folder missing: " << (kFixtures / (sub)).string()

struct Loaded {
    DataSheet sheet;
    std::vector<Field> fields;
    int records() const { return sheet.rows() - 1; }
    std::string at(int record, int col) const { return std::string(sheet.cell(record, col)); }
    std::string name(int col) const { return std::string(sheet.cell(0, col)); }
};

Loaded load(const fs::path& folder, const std::string& table, const OpenOptions& options = {}) {
    auto db = openDbaseFolder(folder.string(), options);
    Loaded l;
    l.fields = loadTable(*db, table, l.sheet);
    return l;
}

class TempDir {
  public:
    TempDir() {
        path_ = fs::temp_directory_path() /
                ("rq_dbase_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
                 "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(path_);
        fs::create_directories(path_);
    }
    ~TempDir() { fs::remove_all(path_); }
    const fs::path& path() const { return path_; }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
    }

  private:
    fs::path path_;
};

// Builds a small .dbf: fields are (name, type, length, decimals, flags).
struct FieldLayout {
    std::string name;
    char type;
    int length;
    int decimals = 0;
    int flags = 0;
};

std::string le16(int v) {
    return {static_cast<char>(v & 0xFF), static_cast<char>((v >> 8) & 0xFF)};
}
std::string le32(std::uint32_t v) {
    return le16(static_cast<int>(v & 0xFFFF)) + le16(static_cast<int>(v >> 16));
}

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

TEST(DbaseSamples, CatalogListsEveryDbfByBaseNameSortedWithoutCase) {
    REQUIRE_FIXTURES("foxpro/infused_dbf");
    auto db = openDbaseFolder((kFixtures / "foxpro/infused_dbf").string(), {});
    std::vector<std::string> names;
    for (const auto& e : db->catalog()) {
        names.push_back(e.name);
        EXPECT_EQ(e.marker, 0);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"cp1251", "dbase_02", "dbase_30", "dbase_31",
                                               "dbase_32", "dbase_f5", "mazovia"}));
}

TEST(DbaseSamples, DeletedRecordsAreNotShownAndInvalidDatesKeepTheirText) {
    REQUIRE_FIXTURES("dbase/dbfread");
    Loaded people = load(kFixtures / "dbase/dbfread", "people");
    ASSERT_EQ(people.records(), 2);  // the third record is marked deleted
    EXPECT_EQ(people.name(1), "BIRTHDATE");
    EXPECT_EQ(people.at(1, 0), "Alice");
    EXPECT_EQ(people.at(1, 1), "1987-03-01");
    EXPECT_EQ(people.at(2, 1), "1980-11-12");
    EXPECT_EQ(people.fields[1].type, kDateTime);

    Loaded invalid = load(kFixtures / "dbase/dbfread", "invalid_value");
    ASSERT_EQ(invalid.records(), 2);
    EXPECT_EQ(invalid.at(1, 1), "NotAYear");
}

TEST(DbaseSamples, Dbase3NumbersStayExactAndDuplicateNamesStay) {
    REQUIRE_FIXTURES("dbase/infused_dbf");
    Loaded t = load(kFixtures / "dbase/infused_dbf", "dbase_03");
    ASSERT_EQ(t.records(), 14);
    ASSERT_EQ(t.sheet.cols(), 31);
    EXPECT_EQ(t.name(0), "Point_ID");
    EXPECT_EQ(t.name(30), "Point_ID");
    EXPECT_EQ(t.at(1, 0), "0507121");     // character field: leading zero kept
    EXPECT_EQ(t.at(1, 8), "2005-07-12");  // Date_Visit
    EXPECT_EQ(t.at(1, 10), "5.2");        // Max_PDOP N(5,1)
    EXPECT_EQ(t.at(1, 11), "2");          // Max_HDOP "  2.0"
    EXPECT_EQ(t.at(1, 28), "557904.898");
    EXPECT_EQ(t.at(1, 30), "401");
    EXPECT_EQ(t.fields[10].type, kDecimal);
    EXPECT_EQ(t.fields[30].type, kLong);
}

TEST(DbaseSamples, Dbase3MemosComeFromTheDbtAndLogicalsAreBooleans) {
    REQUIRE_FIXTURES("dbase/infused_dbf");
    Loaded t = load(kFixtures / "dbase/infused_dbf", "dbase_83");
    ASSERT_EQ(t.records(), 67);
    EXPECT_EQ(t.name(11), "DESC");
    EXPECT_EQ(t.fields[11].type, kMemo);
    const std::string memo = t.at(1, 11);
    EXPECT_EQ(memo.size(), 524u);
    EXPECT_EQ(memo.substr(0, 30), "Our Original assortment...a li");
    EXPECT_EQ(memo.substr(memo.size() - 16), "Raspberry Blanc.");
    EXPECT_EQ(t.at(1, 0), "87");
    EXPECT_EQ(t.at(1, 12), "5.51");
    EXPECT_EQ(t.at(1, 13), "true");
    EXPECT_EQ(t.at(2, 13), "false");

    // Without its memo file the table still loads, with empty memo cells.
    Loaded missing = load(kFixtures / "dbase/infused_dbf", "dbase_83_missing_memo");
    ASSERT_EQ(missing.records(), 67);
    EXPECT_EQ(missing.at(1, 11), "");
    EXPECT_EQ(missing.at(1, 6), "Assorted Petits Fours");
}

TEST(DbaseSamples, Dbase4MemoBlocksCarryTheirLength) {
    REQUIRE_FIXTURES("dbase/infused_dbf");
    Loaded t = load(kFixtures / "dbase/infused_dbf", "dbase_8b");
    ASSERT_EQ(t.records(), 10);
    EXPECT_EQ(t.at(1, 0), "One");
    EXPECT_EQ(t.at(1, 1), "1");  // N(20,2) "1.00"
    EXPECT_EQ(t.at(1, 2), "1970-01-01");
    EXPECT_EQ(t.at(1, 3), "true");
    EXPECT_EQ(t.at(1, 4), "1.23456789012346");
    EXPECT_EQ(t.at(1, 5), "First memo\r\n");
}

TEST(DbaseSamples, Dbase7DescriptorsAndBinaryNumbers) {
    REQUIRE_FIXTURES("dbase/sheetjs");
    Loaded t = load(kFixtures / "dbase/sheetjs", "d11");
    ASSERT_EQ(t.records(), 4);
    ASSERT_EQ(t.sheet.cols(), 12);
    EXPECT_EQ(t.name(11), "auto");
    EXPECT_EQ(t.at(1, 8), "1111111111");  // long: big-endian, sign bit flipped
    EXPECT_EQ(t.at(4, 8), "2222");
    EXPECT_EQ(t.at(1, 9), "2011-11-11T11:11:11");
    EXPECT_EQ(t.at(3, 9), "2001-01-01");
    EXPECT_EQ(t.at(4, 9), "2002-02-02T23:59:59");
    EXPECT_EQ(t.at(3, 10), "1.1");  // double, order-preserving encoding
    EXPECT_EQ(t.at(4, 10), "22.22");
    EXPECT_EQ(t.at(4, 11), "4");
    EXPECT_EQ(t.at(1, 3), "true");
    EXPECT_EQ(t.at(2, 3), "");
    EXPECT_EQ(t.fields[9].type, kDateTime);
    EXPECT_EQ(t.fields[10].type, kDouble);

    Loaded fish = load(kFixtures / "dbase/infused_dbf", "dbase_8c");
    ASSERT_EQ(fish.records(), 10);
    EXPECT_EQ(fish.name(3), "Length CM");
    EXPECT_EQ(fish.at(1, 0), "1");
    EXPECT_EQ(fish.at(1, 1), "Clown Triggerfish");
    EXPECT_EQ(fish.at(1, 3), "100");  // "100.0000"
}

TEST(DbaseSamples, CodePagesComeFromTheLanguageDriverOrTheBytes) {
    REQUIRE_FIXTURES("foxpro/infused_dbf");
    Loaded cp1251 = load(kFixtures / "foxpro/infused_dbf", "cp1251");
    ASSERT_EQ(cp1251.records(), 4);
    EXPECT_EQ(cp1251.at(1, 1), "амбулаторно-поликлиническое");

    // No language driver, DOS accented letters: read as code page 850.
    Loaded f5 = load(kFixtures / "foxpro/infused_dbf", "dbase_f5");
    ASSERT_EQ(f5.records(), 975);
    EXPECT_EQ(f5.at(1, 13), "baix penedès");
    EXPECT_EQ(f5.at(1, 16), "químic prof sec");

    // No usable language driver and UTF-8 bytes: read as UTF-8.
    Loaded cyr = load(kFixtures / "dbase/infused_dbf", "dbase_03_cyrillic");
    EXPECT_EQ(cyr.name(0), "ШАР");
    EXPECT_EQ(cyr.at(1, 0), "Номер");
    EXPECT_EQ(cyr.at(1, 1), "36.3");

    // A code page chosen by the caller wins.
    OpenOptions latin;
    latin.codepage = 1252;
    Loaded forced = load(kFixtures / "foxpro/infused_dbf", "cp1251", latin);
    EXPECT_NE(forced.at(1, 1), "амбулаторно-поликлиническое");
}

TEST(DbaseSamples, VisualFoxProBinaryFieldsAndNullFlags) {
    REQUIRE_FIXTURES("foxpro/sheetjs");
    Loaded t = load(kFixtures / "foxpro/sheetjs", "vfp3");
    ASSERT_EQ(t.records(), 3);
    ASSERT_EQ(t.sheet.cols(), 13);    // _NullFlags is not shown
    EXPECT_EQ(t.at(1, 1), "123.45");  // currency
    EXPECT_EQ(t.at(3, 1), "999.99");
    EXPECT_EQ(t.at(1, 4), "1917-02-19");
    EXPECT_EQ(t.at(3, 5), "1909-09-09T09:09:09");
    EXPECT_EQ(t.at(1, 6), "1231.4");  // B: double
    EXPECT_EQ(t.at(3, 7), "909090");
    EXPECT_EQ(t.at(2, 4), "");  // blank date
    EXPECT_EQ(t.fields[1].type, kCurrency);
    EXPECT_EQ(t.fields[6].type, kDouble);

    Loaded v = load(kFixtures / "foxpro/infused_dbf", "dbase_32");
    ASSERT_EQ(v.records(), 1);
    EXPECT_EQ(v.at(1, 0), "Bad Meets Evil");  // varchar: length in its last byte

    Loaded p = load(kFixtures / "foxpro/infused_dbf", "dbase_31");
    ASSERT_EQ(p.records(), 77);
    EXPECT_EQ(p.at(1, 5), "18");
    EXPECT_EQ(p.at(77, 5), "13");
    EXPECT_EQ(p.at(77, 0), "77");
}

TEST(DbaseSamples, FoxProMemosAndDateTimes) {
    REQUIRE_FIXTURES("foxpro/infused_dbf/foxprodb");
    Loaded calls = load(kFixtures / "foxpro/infused_dbf/foxprodb", "calls");
    ASSERT_EQ(calls.records(), 16);
    EXPECT_EQ(calls.at(1, 2), "1994-11-21T13:35:39");
    EXPECT_EQ(calls.at(1, 3), "13:35:39");  // a time stored on 1899-12-30
    EXPECT_EQ(calls.at(2, 5), "Usual monthly order.");

    Loaded memo = load(kFixtures / "foxpro/dbfread", "memotest");  // memotest.FPT
    ASSERT_EQ(memo.records(), 2);
    EXPECT_EQ(memo.at(1, 2), "Alice memo");
    EXPECT_EQ(memo.at(2, 2), "Bob memo");
    Loaded none = load(kFixtures / "foxpro/dbfread", "no_memofile");
    ASSERT_EQ(none.records(), 2);
    EXPECT_EQ(none.at(2, 0), "Bob");
    EXPECT_EQ(none.at(2, 2), "");

    Loaded old = load(kFixtures / "foxpro/infused_dbf", "dbase_02");
    ASSERT_EQ(old.records(), 9);
    EXPECT_EQ(old.name(0), "EMP:NMBR");
    EXPECT_EQ(old.at(1, 1), "Stegman");
    EXPECT_EQ(old.at(1, 12), "6");
}

TEST(DbaseSamples, ShapefileTableWithoutFieldsHasOneEmptyRecord) {
    REQUIRE_FIXTURES("dbase/infused_dbf");
    Loaded t = load(kFixtures / "dbase/infused_dbf", "polygon");
    EXPECT_EQ(t.sheet.cols(), 0);
    EXPECT_EQ(t.records(), 1);
}

// ------------------------------------------------------------ built tables

TEST(DbaseBuilt, NumbersLogicalsAndDatesTakeTheirForms) {
    TempDir dir;
    std::vector<FieldLayout> f = {{"N", 'N', 8, 2}, {"L", 'L', 1}, {"D", 'D', 8}};
    dir.write("t.dbf", makeDbf(0x03, f,
                               {std::string(" ") + " -000.50" + "T" + "20240115",
                                std::string(" ") + "      .5" + "F" + "        ",
                                std::string(" ") + "  ******" + "?" + "00000000",
                                std::string(" ") + " 1.5E+03" + "y" + "19991332",
                                std::string(" ") + "        " + "n" + "        "}));
    Loaded t = load(dir.path(), "t");
    ASSERT_EQ(t.records(), 5);
    EXPECT_EQ(t.at(1, 0), "-0.5");
    EXPECT_EQ(t.at(2, 0), "0.5");
    EXPECT_EQ(t.at(3, 0), "******");  // overflow marks stay as written
    EXPECT_EQ(t.at(4, 0), "1.5E+03");
    EXPECT_EQ(t.at(5, 0), "");
    EXPECT_EQ(t.at(1, 1), "true");
    EXPECT_EQ(t.at(2, 1), "false");
    EXPECT_EQ(t.at(3, 1), "");  // '?' is unknown
    EXPECT_EQ(t.at(4, 1), "true");
    EXPECT_EQ(t.at(5, 1), "false");
    EXPECT_EQ(t.at(1, 2), "2024-01-15");
    EXPECT_EQ(t.at(2, 2), "");
    EXPECT_EQ(t.at(3, 2), "");
    EXPECT_EQ(t.at(4, 2), "19991332");
}

TEST(DbaseBuilt, VisualFoxProNullBitsFollowFieldOrder) {
    TempDir dir;
    // V (var bit 0, null bit 1), I nullable (bit 2), C not nullable.
    std::vector<FieldLayout> f = {{"V", 'V', 5, 0, 0x02},
                                  {"I", 'I', 4, 0, 0x02},
                                  {"C", 'C', 3},
                                  {"_NullFlags", '0', 1, 0, 0x05}};
    std::string r1 = std::string(" ") + std::string("ab\0\0\x02", 5) + le32(42) + "xyz" + "\x01";
    std::string r2 = std::string(" ") + "abcde" + le32(7) + "   " + "\x06";
    dir.write("v.dbf", makeDbf(0x30, f, {r1, r2}, 0x03));
    Loaded t = load(dir.path(), "v");
    ASSERT_EQ(t.records(), 2);
    ASSERT_EQ(t.sheet.cols(), 3);
    EXPECT_EQ(t.at(1, 0), "ab");
    EXPECT_EQ(t.at(1, 1), "42");
    EXPECT_EQ(t.at(1, 2), "xyz");
    EXPECT_EQ(t.at(2, 0), "");  // null
    EXPECT_EQ(t.at(2, 1), "");  // null
}

TEST(DbaseBuilt, DamagedHeadersGiveErrorsNamingTheFile) {
    TempDir dir;
    dir.write("junk.dbf", "this is not a table at all");
    std::string longField = makeDbf(0x03, {{"A", 'C', 4}}, {"  abc"});
    longField[10] = 2;  // record length 2 < 1 + 4
    dir.write("short.dbf", longField);
    dir.write("empty.dbf", "");
    auto db = openDbaseFolder(dir.path().string(), {});
    for (const char* name : {"junk", "short", "empty"}) {
        DataSheet sheet = DataSheet::startup();
        try {
            loadTable(*db, name, sheet);
            ADD_FAILURE() << name << " loaded";
        } catch (const DatabaseError& e) {
            EXPECT_NE(std::string(e.what()).find(std::string(name) + ".dbf"), std::string::npos)
                << e.what();
        }
        EXPECT_EQ(sheet.cell(0, 0), "Element 1");  // the sheet is kept
    }
    EXPECT_THROW(openDbaseFolder((dir.path() / "nowhere").string(), {}), DatabaseError);
}

TEST(DbaseBuilt, RecordCountIsLimitedToTheRecordsPresent) {
    TempDir dir;
    std::string t = makeDbf(0x03, {{"A", 'C', 2}}, {" ab", " cd"});
    t.replace(4, 4, le32(1000000));
    t.pop_back();  // no end mark
    t.pop_back();  // and half a record
    dir.write("t.dbf", t);
    Loaded l = load(dir.path(), "t");
    EXPECT_EQ(l.records(), 1);
    EXPECT_EQ(l.at(1, 0), "ab");
}

TEST(DbaseBuilt, MemoBlockOutsideTheMemoFileIsAnError) {
    TempDir dir;
    dir.write("m.dbf", makeDbf(0x83, {{"M", 'M', 10}}, {"         99"}));
    std::string dbt(512, '\0');
    dbt += "hello\x1a\x1a";
    dir.write("m.dbt", dbt);
    auto db = openDbaseFolder(dir.path().string(), {});
    DataSheet sheet;
    try {
        loadTable(*db, "m", sheet);
        ADD_FAILURE() << "loaded";
    } catch (const DatabaseError& e) {
        EXPECT_NE(std::string(e.what()).find("m.dbt"), std::string::npos) << e.what();
    }
    dir.write("ok.dbf", makeDbf(0x83, {{"M", 'M', 10}}, {"          1"}));
    dir.write("ok.dbt", dbt);
    EXPECT_EQ(load(dir.path(), "ok").at(1, 0), "hello");
}
