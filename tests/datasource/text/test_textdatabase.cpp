#include <gtest/gtest.h>

#include <filesystem>

#include "../reader_test_support.h"
#include "datasource/database.h"
#include "datasource/sheetloader.h"

using namespace rq;
namespace fs = std::filesystem;

namespace {

const fs::path kFixtures = fs::path(ROWQUILL_FIXTURES) / "text";

using Folder = rq::testing::ScratchFolder;

struct Table {
    std::vector<Field> fields;
    DataSheet sheet;
    std::vector<std::string> warnings;
    std::vector<std::string> names() const {
        std::vector<std::string> n;
        for (auto& f : fields) n.push_back(f.name);
        return n;
    }
    std::vector<int> types() const {
        std::vector<int> t;
        for (auto& f : fields) t.push_back(f.type);
        return t;
    }
    std::vector<std::string> row(int r) const {
        std::vector<std::string> cells;
        for (int c = 0; c < sheet.cols(); ++c) cells.emplace_back(sheet.cell(r, c));
        return cells;
    }
    int records() const { return sheet.rows() - 1; }
};

Table load(const std::string& chosenFile, const std::string& table, OpenOptions options = {}) {
    auto db = openFileDatabase("Text;", chosenFile, options);
    Table t;
    t.fields = loadTable(*db, table, t.sheet, &t.warnings);
    return t;
}

using Row = std::vector<std::string>;

#define NEED_FIXTURES() \
    if (!fs::exists(kFixtures)) GTEST_SKIP() << "fixtures folder absent: " << kFixtures

}  // namespace

TEST(TextTables, CatalogListsTextFilesAsFileHashExtension) {
    Folder f;
    f.write("orders.csv", "a\n1\n");
    f.write("notes.TXT", "a\n");
    f.write("b.tab", "a\n");
    f.write("c.asc", "a\n");
    f.write("image.png", "x");
    f.write("schema.ini", "");
    auto db = openFileDatabase("Text;", f.file("orders.csv"));
    EXPECT_EQ(db->name(), f.path().string());
    std::vector<CatalogEntry> expected = {
        {"b#tab", 0}, {"c#asc", 0}, {"notes#TXT", 0}, {"orders#csv", 0}};
    EXPECT_EQ(db->catalog(), expected);
    Table t = load(f.file("orders.csv"), "ORDERS#CSV");
    EXPECT_EQ(t.row(1), Row{"1"});
    EXPECT_THROW(load(f.file("orders.csv"), "missing#csv"), DatabaseError);
}

TEST(TextTables, QuotedFieldsKeepDelimitersQuotesAndLineBreaks) {
    Folder f;
    f.write("q.csv",
            "id,text,,note\r\n"
            "1,\"a,b\",\"say \"\"hi\"\"\",plain\r\n"
            "2,\"two\nlines\",x\"y,\"\"\n"
            "3,\"\",,\"tail\"er\r"
            "4\n"
            "\n"
            "5,a,b,c,extra\n");
    Table t = load(f.file("q.csv"), "q#csv");
    EXPECT_EQ(t.names(), (Row{"id", "text", "F3", "note", "F5"}));
    EXPECT_EQ(t.types(), (std::vector<int>{kText, kText, kText, kText, kText}));
    ASSERT_EQ(t.records(), 5);
    EXPECT_EQ(t.row(1), (Row{"1", "a,b", "say \"hi\"", "plain", ""}));
    EXPECT_EQ(t.row(2), (Row{"2", "two\nlines", "x\"y", "", ""}));
    EXPECT_EQ(t.row(3), (Row{"3", "", "", "tailer", ""}));
    EXPECT_EQ(t.row(4), (Row{"4", "", "", "", ""}));
    EXPECT_EQ(t.row(5), (Row{"5", "a", "b", "c", "extra"}));
}

TEST(TextTables, UnclosedQualifierTakesTheRestOfTheFile) {
    Folder f;
    f.write("u.csv", "a,b\n1,\"open\n2,3\n");
    Table t = load(f.file("u.csv"), "u#csv");
    ASSERT_EQ(t.records(), 1);
    EXPECT_EQ(t.row(1), (Row{"1", "open\n2,3\n"}));
    EXPECT_EQ(t.warnings, Row{f.file("u.csv") +
                              ": a quoted value in record 1 is never closed: it takes the rest "
                              "of the file"});
}

// UTF-8, a byte-order mark and code pages are covered by the CLI tests.
TEST(TextTables, Utf16AndABrokenByteOrderMark) {
    Folder f;
    f.write("wide.txt", std::string("\xFF\xFEn\0a\0m\0e\0\n\0\x16\x04\n\0", 16));
    Table wide = load(f.file("wide.txt"), "wide#txt");
    EXPECT_EQ(wide.names(), Row{"name"});
    EXPECT_EQ(wide.row(1), Row{"\xD0\x96"});
    // A byte-order mark promises UTF-8 that the bytes do not keep.
    f.write("badbom.csv", "\xEF\xBB\xBFname\ncaf\xE9\n");
    Table bad = load(f.file("badbom.csv"), "badbom#csv");
    EXPECT_EQ(bad.row(1), Row{"caf\xEF\xBF\xBD"});
    EXPECT_EQ(bad.warnings, Row{f.file("badbom.csv") +
                                ": the file holds bytes that are not UTF-8 as it says; they read "
                                "as U+FFFD"});
}

TEST(TextTables, SchemaFormatsHeaderAndCharacterSet) {
    Folder f;
    f.write("schema.ini",
            "; settings\r\n"
            "[tabs.txt]\r\nFormat=TabDelimited\r\n"
            "[semi.txt]\r\nFormat=Delimited(;)\r\nColNameHeader=False\r\n"
            "[oem.txt]\r\nCharacterSet=OEM\r\n"
            "[named.txt]\r\nColNameHeader=True\r\nCol1=\"First Name\" Text\r\nCol2=Age Short\r\n"
            "[fixed.txt]\r\nFormat=FixedLength\r\nColNameHeader=False\r\n"
            "Col1=code Text Width 3\r\nCol2=qty Long Width 4\r\nCol3=label Text Width 5\r\n");
    f.write("tabs.txt", "a\tb\n1,2\t3\n");
    f.write("semi.txt", "1;x,y\n2;z\n");
    f.write("oem.txt", "n\n\x81\x9A\n");
    f.write("named.txt", "fn,age\nAnn,41\nBob,old\n");
    f.write("fixed.txt", "AB   12caf\xC3\xA9 tail\nXYZ1234\n");

    Table tabs = load(f.file("tabs.txt"), "tabs#txt");
    EXPECT_EQ(tabs.names(), (Row{"a", "b"}));
    EXPECT_EQ(tabs.row(1), (Row{"1,2", "3"}));

    Table semi = load(f.file("semi.txt"), "semi#txt");
    EXPECT_EQ(semi.names(), (Row{"F1", "F2"}));
    ASSERT_EQ(semi.records(), 2);
    EXPECT_EQ(semi.row(1), (Row{"1", "x,y"}));

    EXPECT_EQ(load(f.file("oem.txt"), "oem#txt").row(1), Row{"\xC3\xBC\xC3\x9C"});  // üÜ

    Table named = load(f.file("named.txt"), "named#txt");
    EXPECT_EQ(named.names(), (Row{"First Name", "Age"}));
    EXPECT_EQ(named.types(), (std::vector<int>{kText, kInteger}));
    EXPECT_EQ(named.row(1), (Row{"Ann", "41"}));
    EXPECT_EQ(named.row(2), (Row{"Bob", ""}));  // not a number: null

    Table fixed = load(f.file("fixed.txt"), "fixed#txt");
    EXPECT_EQ(fixed.names(), (Row{"code", "qty", "label"}));
    ASSERT_EQ(fixed.records(), 2);
    EXPECT_EQ(fixed.row(1), (Row{"AB", "12", "caf\xC3\xA9"}));
    EXPECT_EQ(fixed.row(2), (Row{"XYZ", "1234", ""}));
}

TEST(TextTables, TypedColumnsFollowTheValueForms) {
    Folder f;
    f.write("schema.ini",
            "[t.csv]\nDateTimeFormat=dd.mm.yyyy hh:nn\n"
            "Col1=when DateTime\nCol2=price Currency\nCol3=ok Bit\nCol4=ratio Double\n"
            "Col5=big Long\n");
    f.write("t.csv",
            "w,p,o,r,b\n"
            "05.03.2024 13:45,0012.50,Yes,0.15,-7\n"
            "31.02.2024 10:00,1.2.3,maybe,abc,99999999999\n"
            ",,,,\n");
    Table t = load(f.file("t.csv"), "t#csv");
    EXPECT_EQ(t.types(), (std::vector<int>{kDateTime, kCurrency, kBoolean, kDouble, kLong}));
    EXPECT_EQ(t.row(1), (Row{"2024-03-05T13:45:00", "12.5", "true", "0.15", "-7"}));
    EXPECT_EQ(t.row(2), (Row{"", "", "", "", ""}));
    EXPECT_EQ(t.row(3), (Row{"", "", "", "", ""}));
    // The values of the second record are named; the empty ones of the third are nulls.
    const std::string at = f.file("t.csv") + ": record 2, field ";
    EXPECT_EQ(t.warnings,
              (Row{at + "when: \"31.02.2024 10:00\" is not a date",
                   at + "price: \"1.2.3\" is not a number",
                   at + "ok: \"maybe\" is not true or false", at + "ratio: \"abc\" is not a number",
                   at + "big: \"99999999999\" is not a whole number"}));
}

TEST(TextFixtures, SchemaThatDescribesAnotherFileIsNotApplied) {
    NEED_FIXTURES();
    // schema.ini names six typed columns, the file has four (CR line ends, and a
    // CR CR LF at its end).
    Table t = load((kFixtures / "simplebackup" / "backup_log.csv").string(), "backup_log#csv");
    EXPECT_EQ(t.names(), (Row{"src-path", "bck-path", "type", "date-time"}));
    ASSERT_EQ(t.records(), 3);
    EXPECT_EQ(t.row(1),
              (Row{"c:\\temp\\test\\src", "c:\\temp\\test\\dst\\src_full_12_09_2022_20_41_17",
                   "full", "12-09-2022_20:41:17"}));
    EXPECT_EQ(t.row(3)[3], "12-09-2022_20:50:05");
}

TEST(TextFixtures, BomAndTypedSchemaColumns) {
    NEED_FIXTURES();
    Table t = load((kFixtures / "temperature_qaqc" / "ARD_to_WRS.csv").string(), "ARD_to_WRS#csv");
    EXPECT_EQ(t.names(), (Row{"OID_", "PATH", "ROW", "PR", "h", "v"}));
    EXPECT_EQ(t.types(), (std::vector<int>{kLong, kLong, kLong, kText, kLong, kLong}));
    ASSERT_EQ(t.records(), 4057);
    EXPECT_EQ(t.row(1), (Row{"0", "13", "25", "013025", "29", "0"}));
    EXPECT_EQ(t.row(4057), (Row{"4056", "38", "46", "038046", "1", "21"}));
}

TEST(TextFixtures, Cp1251FilesAndASectionTitledWithAWindowsPath) {
    NEED_FIXTURES();
    const std::string chosen = (kFixtures / "sql-data-base" / "DataBase.csv").string();
    OpenOptions cp1251;
    cp1251.codepage = 1251;
    // The file has no header line, so its first record names the fields.
    Table db = load(chosen, "DataBase#csv", cp1251);
    ASSERT_EQ(db.fields.size(), 8u);
    EXPECT_EQ(db.names()[1], "\xD0\x90\xD0\xBD\xD0\xB4\xD1\x80\xD0\xB5\xD0\xB9");  // Андрей
    ASSERT_EQ(db.records(), 1);
    EXPECT_EQ(db.row(1)[5], "9");
    // The section [F:\...\DataBaseO.csv] applies (",", eight columns), but the
    // header-only file is delimited by ";": one column, named by the whole line.
    Table o = load(chosen, "DataBaseO#csv", cp1251);
    ASSERT_EQ(o.fields.size(), 1u);
    EXPECT_EQ(o.names()[0].substr(0, 10), "ID;\xD0\x98\xD0\xBC\xD1\x8F;");  // ID;Имя;
    EXPECT_EQ(o.records(), 0);
}

TEST(TextTables, WideRecordsKeepTheirQuotedFieldsAndTooManyFieldsAreAnError) {
    // A record wider than every earlier one, whose first fields needed
    // unquoting, keeps their text while more fields are read.
    Folder f;
    std::string wide = "\"a\"\"1\",\"b\"\"2\"";
    for (int i = 0; i < 40; ++i) wide += ",\"c\"\"" + std::to_string(i) + "\"";
    f.write("w.csv", "h\n" + wide + "\n");
    Table t = load(f.file("w.csv"), "w#csv");
    ASSERT_EQ(t.fields.size(), 42u);
    EXPECT_EQ(t.row(1)[1], "b\"2");
    EXPECT_EQ(t.row(1)[41], "c\"39");
    f.write("wide.csv", std::string(20000, ','));
    const std::string error = rq::testing::errorOf([&] { load(f.file("wide.csv"), "wide#csv"); });
    EXPECT_TRUE(rq::testing::contains(error, "wide.csv")) << error;
}
