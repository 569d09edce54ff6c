// The Paradox reader against sample tables written by other programs, and
// against small tables built here for what the samples lack.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "datasource/readers.h"
#include "datasource/sheetloader.h"
#include "sheet/datasheet.h"

using namespace rq;
namespace fs = std::filesystem;

namespace {

const fs::path kFixtures = ROWQUILL_FIXTURES;

#define REQUIRE_PARADOX(sub)                        \
    if (!fs::exists(kFixtures / "paradox" / (sub))) \
    GTEST_SKIP() << "fixture folder missing: " << (kFixtures / "paradox" / (sub)).string()

struct Loaded {
    DataSheet sheet;
    std::vector<Field> fields;
    int records() const { return sheet.rows() - 1; }
    std::string at(int record, int col) const { return std::string(sheet.cell(record, col)); }
    std::string name(int col) const { return std::string(sheet.cell(0, col)); }
};

Loaded load(const std::string& sub, const std::string& table) {
    auto db = openParadoxFolder((kFixtures / "paradox" / sub).string(), {});
    Loaded l;
    l.fields = loadTable(*db, table, l.sheet);
    return l;
}

}  // namespace

TEST(ParadoxSamples, CatalogListsEveryDbTable) {
    REQUIRE_PARADOX("db");
    auto db = openParadoxFolder((kFixtures / "paradox/db").string(), {});
    std::vector<std::string> names;
    for (const auto& e : db->catalog()) names.push_back(e.name);
    EXPECT_EQ(names,
              (std::vector<std::string>{"AREACODE", "AREACODES", "CONTACTS", "CUSTOMER", "DECIMAL",
                                        "GENERAL", "HERCULES", "ORDERS", "ROMAN8", "SERVER"}));
}

TEST(ParadoxSamples, EveryUnprotectedTableHasItsRecordCount) {
    REQUIRE_PARADOX("mtdemo");
    const std::vector<std::pair<std::string, std::pair<std::string, int>>> expected = {
        {"areas", {"AREACODE", 239}}, {"areas", {"STATES", 53}},    {"db", {"AREACODE", 135}},
        {"db", {"AREACODES", 370}},   {"db", {"CONTACTS", 55}},     {"db", {"CUSTOMER", 20}},
        {"db", {"DECIMAL", 9}},       {"db", {"GENERAL", 3}},       {"db", {"HERCULES", 20}},
        {"db", {"ORDERS", 224}},      {"db", {"SERVER", 4}},        {"mtdemo", {"AMOUNT", 50}},
        {"mtdemo", {"CUSTOMER", 28}}, {"mtdemo", {"EMPLOYEE", 21}}, {"mtdemo", {"FILMS", 36}},
        {"mtdemo", {"KRENTAL", 198}}, {"mtdemo", {"PAYMENT", 54}},  {"mtdemo", {"RENTAL", 198}},
        {"mtdemo", {"STORE", 4}},     {"mtdemo", {"TAXRATE", 9}},   {"mtdemo", {"VIDORDER", 50}},
        {"fields", {"date7", 5}},     {"fields", {"logical", 4}},
    };
    for (const auto& [folder, table] : expected)
        EXPECT_EQ(load(folder, table.first).records(), table.second)
            << folder << "/" << table.first;
}

TEST(ParadoxSamples, NumbersDatesAndMoneyOfAVersion3Table) {
    REQUIRE_PARADOX("mtdemo");
    Loaded t = load("mtdemo", "AMOUNT");
    EXPECT_EQ(t.name(2), "Total Rental Fee");
    EXPECT_EQ(t.at(1, 0), "1989-01-01");
    EXPECT_EQ(t.at(1, 1), "1332");
    EXPECT_EQ(t.at(1, 4), "0.17");  // money, stored as 0.16999999999999998
    EXPECT_EQ(t.at(3, 6), "");      // a null money value is empty, not 0
    EXPECT_EQ(t.fields[0].type, kDateTime);
    EXPECT_EQ(t.fields[2].type, kCurrency);
    EXPECT_EQ(t.fields[3].type, kDouble);

    Loaded orders = load("db", "ORDERS");
    EXPECT_EQ(orders.at(1, 0), "1001");
    EXPECT_EQ(orders.at(1, 1), "1221");
    EXPECT_EQ(orders.at(1, 2), "1988-04-03");
    EXPECT_EQ(orders.at(1, 5), "7320");

    Loaded general = load("db", "GENERAL");
    EXPECT_EQ(general.at(3, 0), "333333333");
    EXPECT_EQ(general.at(3, 1), "Elizabet");
    EXPECT_EQ(general.at(3, 2), "75");
}

TEST(ParadoxSamples, FieldTypesOfLaterVersions) {
    REQUIRE_PARADOX("fields");
    Loaded time = load("fields", "time");
    EXPECT_EQ(time.at(1, 0), "01:00:01");
    EXPECT_EQ(time.at(2, 0), "");
    EXPECT_EQ(time.at(3, 0), "03:00:03");
    Loaded stamp = load("fields", "timestamp");
    EXPECT_EQ(stamp.at(1, 0), "");
    EXPECT_EQ(stamp.at(2, 0), "2020-02-01T01:00:01");
    Loaded date = load("fields", "date5");
    EXPECT_EQ(date.at(3, 0), "2018-01-02");
    EXPECT_EQ(date.at(3, 1), "09:25:25");
    EXPECT_EQ(load("fields", "date35").at(2, 0), "2018-02-01");
    Loaded logical = load("fields", "logical");
    EXPECT_EQ(logical.at(1, 0), "true");
    EXPECT_EQ(logical.at(2, 0), "false");
    EXPECT_EQ(logical.fields[0].type, kBoolean);
    Loaded longs = load("fields", "long");
    EXPECT_EQ(longs.at(2, 1), "2");
    EXPECT_EQ(longs.at(3, 0), "3");  // autoincrement
    EXPECT_EQ(longs.at(3, 1), "");   // null long
    EXPECT_EQ(longs.fields[0].type, kLong);
    Loaded bcd = load("fields", "bcd");
    EXPECT_EQ(bcd.at(1, 0), "1.23");
    EXPECT_EQ(bcd.at(2, 0), "-1.23");
    EXPECT_EQ(bcd.at(2, 1), "-1");
    EXPECT_EQ(bcd.at(3, 1), "");
    EXPECT_EQ(bcd.fields[0].type, kDecimal);
    Loaded bytes = load("fields", "bytes");
    EXPECT_EQ(bytes.at(1, 0).substr(0, 8), "MQAyADMA");  // "1\0" "2\0" "3\0"
    EXPECT_EQ(bytes.at(1, 0).size(), 340u);              // 255 bytes
}

TEST(ParadoxSamples, BlobsComeFromTheLeaderOrTheMbFile) {
    REQUIRE_PARADOX("db");
    Loaded c = load("db", "CUSTOMER");
    EXPECT_EQ(c.name(8), "Comments");
    EXPECT_EQ(c.at(1, 8), "Small comment (less 100 symbols)");
    const std::string big = c.at(2, 8);
    EXPECT_EQ(big.size(), 518u);
    EXPECT_EQ(big.substr(0, 20), "\tThe length of the l");
    EXPECT_EQ(big.substr(big.size() - 11), "s document.");
    EXPECT_EQ(c.at(1, 9), "1996-02-02");

    Loaded memo = load("fields", "memo");
    EXPECT_EQ(memo.at(2, 1), "01234567890\n");
    EXPECT_EQ(memo.at(1, 1).size(), 555u);

    Loaded fmemo = load("fields", "fmemo");
    EXPECT_EQ(fmemo.at(1, 1), "123");
    EXPECT_EQ(fmemo.fields[1].type, kMemo);

    Loaded graphic = load("fields", "graphic240");
    EXPECT_EQ(graphic.at(1, 1).substr(0, 4), "Qk1u");  // "BMn": the bitmap itself
    EXPECT_EQ(graphic.fields[1].type, kLongBinary);
}

TEST(ParadoxSamples, ProtectedTablesGiveAClearError) {
    REQUIRE_PARADOX("encrypt");
    auto db = openParadoxFolder((kFixtures / "paradox/encrypt").string(), {});
    DataSheet sheet;
    try {
        loadTable(*db, "encrypted", sheet);
        ADD_FAILURE() << "loaded";
    } catch (const DatabaseError& e) {
        EXPECT_NE(std::string(e.what()).find("encrypted.db"), std::string::npos);
    }
    EXPECT_EQ(db->fields("encrypted35").size(), 2u);  // the header is not scrambled
}

TEST(ParadoxBuilt, DamagedTablesGiveErrorsNamingTheFile) {
    const fs::path dir = fs::temp_directory_path() / "rq_paradox_damaged";
    fs::remove_all(dir);
    fs::create_directories(dir);
    std::ofstream(dir / "junk.db", std::ios::binary) << "definitely not a table";
    std::string header(0x58, '\0');
    header[4] = 2;  // data table
    header[5] = 1;  // 1 KiB blocks
    header[0x39] = 3;
    header[0x21] = 1;  // one field
    header[2] = 0x58;  // header size smaller than its field list needs
    header[0] = 4;
    std::ofstream(dir / "cut.db", std::ios::binary) << header;
    auto db = openParadoxFolder(dir.string(), {});
    for (const char* name : {"junk", "cut"}) {
        DataSheet sheet = DataSheet::startup();
        try {
            loadTable(*db, name, sheet);
            ADD_FAILURE() << name << " loaded";
        } catch (const DatabaseError& e) {
            EXPECT_NE(std::string(e.what()).find(std::string(name) + ".db"), std::string::npos)
                << e.what();
        }
        EXPECT_EQ(sheet.cell(0, 0), "Element 1");
    }
    fs::remove_all(dir);
}
