#include <gtest/gtest.h>

#include <filesystem>

#include "../reader_test_support.h"
#include "datasource/database.h"

using namespace rq;
namespace fs = std::filesystem;

namespace {

const fs::path kTextSamples = rq::testing::kFixtures / "text";

using Folder = rq::testing::ScratchFolder;
using Row = std::vector<std::string>;

rq::testing::LoadedSheet load(const std::string& chosenFile, const std::string& table,
                              OpenOptions options = {}) {
    return rq::testing::loadSheet(*openFileDatabase("Text;", chosenFile, options), table);
}

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
    auto t = load(f.file("orders.csv"), "ORDERS#CSV");
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
    auto t = load(f.file("q.csv"), "q#csv");
    EXPECT_EQ(t.types(), (std::vector<int>{kText, kText, kText, kText, kText}));
    EXPECT_EQ(t.lines(), (Row{"id|text|F3|note|F5", "1|a,b|say \"hi\"|plain|",
                              "2|two\nlines|x\"y||", "3|||tailer|", "4||||", "5|a|b|c|extra"}));
}

TEST(TextTables, UnclosedQualifierTakesTheRestOfTheFile) {
    Folder f;
    f.write("u.csv", "a,b\n1,\"open\n2,3\n");
    auto t = load(f.file("u.csv"), "u#csv");
    EXPECT_EQ(t.lines(), (Row{"a|b", "1|open\n2,3\n"}));
    EXPECT_EQ(t.warnings, Row{f.file("u.csv") +
                              ": a quoted value in record 1 is never closed: it takes the rest "
                              "of the file"});
}

// UTF-8, a byte-order mark and code pages are covered by the CLI tests.
TEST(TextTables, Utf16AndABrokenByteOrderMark) {
    Folder f;
    f.write("wide.txt", std::string("\xFF\xFEn\0a\0m\0e\0\n\0\x16\x04\n\0", 16));
    auto wide = load(f.file("wide.txt"), "wide#txt");
    EXPECT_EQ(wide.lines(), (Row{"name", "\xD0\x96"}));
    // A byte-order mark promises UTF-8 that the bytes do not keep.
    f.write("badbom.csv", "\xEF\xBB\xBFname\ncaf\xE9\n");
    auto bad = load(f.file("badbom.csv"), "badbom#csv");
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

    const std::pair<std::string, Row> expected[] = {
        {"tabs", {"a|b", "1,2|3"}},
        {"semi", {"F1|F2", "1|x,y", "2|z"}},
        {"oem", {"n", "\xC3\xBC\xC3\x9C"}},               // üÜ
        {"named", {"First Name|Age", "Ann|41", "Bob|"}},  // not a number: null
        {"fixed", {"code|qty|label", "AB|12|caf\xC3\xA9", "XYZ|1234|"}},
    };
    for (const auto& [name, lines] : expected)
        EXPECT_EQ(load(f.file(name + ".txt"), name + "#txt").lines(), lines) << name;
    EXPECT_EQ(load(f.file("named.txt"), "named#txt").types(), (std::vector<int>{kText, kInteger}));
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
    auto t = load(f.file("t.csv"), "t#csv");
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

TEST(TextFixtures, SchemasCodePagesAndTypedColumns) {
    SKIP_WITHOUT(kTextSamples);
    struct Sample {
        const char *file, *table;
        int codepage, records;
        std::vector<int> types;
        const char *names, *first, *last;
    };
    // clang-format off
    const Sample samples[] = {
        // schema.ini names six typed columns, the file has four (CR line ends, and a
        // CR CR LF at its end).
        {"simplebackup/backup_log.csv", "backup_log#csv", 0, 3, {kText, kText, kText, kText},
         "src-path|bck-path|type|date-time",
         "c:\\temp\\test\\src|c:\\temp\\test\\dst\\src_full_12_09_2022_20_41_17|full|12-09-2022_20:41:17",
         "c:\\temp\\test\\src|c:\\temp\\test\\dst\\src_full_12_09_2022_20_50_05|full|12-09-2022_20:50:05"},
        // A byte-order mark and typed columns.
        {"temperature_qaqc/ARD_to_WRS.csv", "ARD_to_WRS#csv", 0, 4057,
         {kLong, kLong, kLong, kText, kLong, kLong}, "OID_|PATH|ROW|PR|h|v",
         "0|13|25|013025|29|0", "4056|38|46|038046|1|21"},
        // No header line: the first record names the fields.
        {"sql-data-base/DataBase.csv", "DataBase#csv", 1251, 1, {},
         "1|Андрей|Зарубин|БСБО-11-18|ЯЛОХ1|20|Кафедра ухода за ушками|Факультет прикладной "
         "математики и искусства",
         "6|Цезарь|Кот|БСБО-11-18|ЯКОТ1|9|Кафедра ухода за шерстью|Кафедра вылизывания", nullptr},
    };
    // clang-format on
    for (const Sample& s : samples) {
        SCOPED_TRACE(s.file);
        auto t = load((kTextSamples / s.file).string(), s.table,
                      {.password = {}, .codepage = s.codepage});
        ASSERT_EQ(t.records(), s.records);
        if (!s.types.empty()) {
            EXPECT_EQ(t.types(), s.types);
        }
        EXPECT_EQ(rq::testing::joined(t.names()), s.names);
        EXPECT_EQ(rq::testing::joined(t.row(1)), s.first);
        if (s.last) {
            EXPECT_EQ(rq::testing::joined(t.row(s.records)), s.last);
        }
    }
    // The section [F:\...\DataBaseO.csv] applies (",", eight columns), but the
    // header-only file is delimited by ";": one column, named by the whole line.
    auto o = load((kTextSamples / "sql-data-base/DataBase.csv").string(), "DataBaseO#csv",
                  {.password = {}, .codepage = 1251});
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
    auto t = load(f.file("w.csv"), "w#csv");
    ASSERT_EQ(t.fields.size(), 42u);
    EXPECT_EQ(t.row(1)[1], "b\"2");
    EXPECT_EQ(t.row(1)[41], "c\"39");
    f.write("wide.csv", std::string(20000, ','));
    const std::string error = rq::testing::errorOf([&] { load(f.file("wide.csv"), "wide#csv"); });
    EXPECT_TRUE(rq::testing::contains(error, "wide.csv")) << error;
}
