// The Access reader against real sample files. Expected values come from the
// mdbtools command-line programs (mdb-export, mdb-count, mdb-schema) and, for
// dates outside their range, from the raw doubles found in the files' bytes.
#include <gtest/gtest.h>

#include <filesystem>

#include "datasource/database.h"
#include "datasource/readers.h"
#include "reader_test_support.h"

namespace rq {
namespace {

namespace fs = std::filesystem;

const fs::path kAccess = fs::path(ROWQUILL_FIXTURES) / "access";

#define NEED_FIXTURES() SKIP_WITHOUT(kAccess)

using testing::TableSink;
using Table = TableSink;

Table load(Database& db, const std::string& table) {
    return testing::readTable(db, table);
}

std::unique_ptr<Database> open(const std::string& rel, const std::string& password = {}) {
    return openAccessDatabase((kAccess / rel).string(), {.password = password, .codepage = 0});
}

TEST(AccessReader, Jet3TableFieldsTypesAndValues) {
    NEED_FIXTURES();
    auto db = open("jackcess/testV1997.mdb");
    Table t = load(*db, "Table1");
    EXPECT_EQ(t.names(), (std::vector<std::string>{"A", "B", "C", "D", "E", "F", "G", "H", "I"}));
    EXPECT_EQ(t.types(), (std::vector<int>{kText, kText, kByte, kInteger, kLong, kDouble, kDateTime,
                                           kCurrency, kBoolean}));
    ASSERT_EQ(t.rows.size(), 2u);
    EXPECT_EQ(t.line(0), "a|b|0|0|0|0|1981-12-12|0|false");
    EXPECT_EQ(t.line(1), "abcdefg|hijklmnop|2|222|333333333|444.555|1974-09-21|3.5|true");
    EXPECT_TRUE(load(*db, "Table2").rows.empty());
    EXPECT_EQ(db->fields("Table2").size(), 89u);     // column1 .. column89 (mdb-export)
    EXPECT_EQ(load(*db, "table1").rows.size(), 2u);  // names match in any letter case
    const std::string error = testing::errorOf([&] { load(*db, "NoSuchTable"); });
    EXPECT_TRUE(testing::contains(error, "NoSuchTable")) << error;
    EXPECT_TRUE(testing::contains(error, "testV1997.mdb")) << error;
}

TEST(AccessReader, CatalogListsTablesWithTheRecordCountsOfMdbExportThenQueries) {
    NEED_FIXTURES();
    using Counts = std::vector<std::pair<std::string, std::size_t>>;
    // clang-format off
    const std::pair<const char*, Counts> files[] = {
        {"mdbtestdata/nwind.mdb", {{"Order Details", 2155}, {"Orders", 830}, {"Products", 77},
          {"Shippers", 3}, {"Categories", 8}, {"Customers", 91}, {"Employees", 9},
          {"Suppliers", 29}, {"Umsätze", 830}}},
        {"mdbtestdata/ASampleDatabase.accdb", {{"Asset Items", 65}}},
        {"mdbtestdata/DateTestDatabase.mdb", {{"DateTest", 6}}},
        {"jackcess/test2V2000.mdb", {{"MSP_PROJECTS", 1}}},
        {"jackcess/testUnicodeCompV2003.mdb", {{"Table", 8}}},
    };
    // clang-format on
    for (const auto& [file, tables] : files) {
        SCOPED_TRACE(file);
        auto db = open(file);
        Counts listed;
        for (auto& e : listedCatalog(*db))
            if (e.marker == 0) listed.emplace_back(e.name, load(*db, e.name).rows.size());
        EXPECT_EQ(listed, tables);
    }
    // The queries follow the tables, in database order.
    std::vector<CatalogEntry> nwind = listedCatalog(*open("mdbtestdata/nwind.mdb"));
    ASSERT_EQ(nwind.size(), 9u + 22u);
    for (std::size_t i = 0; i < nwind.size(); ++i) EXPECT_EQ(nwind[i].marker == 0, i < 9) << i;
    EXPECT_EQ(nwind[9].name, "Alphabetical List of Products");
    EXPECT_EQ(nwind.back().name, "Summary of Sales by Quarter");
    // Hidden "~sq_" queries of an ACE file are returned but not listed.
    auto ace = open("mdbtestdata/ASampleDatabase.accdb");
    EXPECT_EQ(testing::catalogNames(listedCatalog(*ace)),
              (std::vector<std::string>{"Asset Items", "qryComputerHardwareInOwnerOrder",
                                        "qryCostsSummedByOwner", "qryGSTCalculations"}));
}

TEST(AccessReader, DatesFromYear100To9999) {
    NEED_FIXTURES();
    // Serials in the file: -728, -363, 2 (row 3); -463126, -462760, -462395 (row 4);
    // 2958101 three times (row 2).
    auto db = open("mdbtestdata/DateTestDatabase.mdb");
    Table t = load(*db, "DateTest");
    ASSERT_EQ(t.rows.size(), 6u);
    EXPECT_EQ(t.at(1, "DateTimeCol"), "9999-01-01");
    EXPECT_EQ(t.at(2, "DateTimeCol"), "1898-01-01");
    EXPECT_EQ(t.at(2, "DateCol"), "1899-01-01");
    EXPECT_EQ(t.at(2, "TimeCol"), "1900-01-01");
    EXPECT_EQ(t.at(3, "DateTimeCol"), "0632-01-01");
    EXPECT_EQ(t.at(3, "TimeCol"), "0634-01-01");
    EXPECT_EQ(t.at(0, "DateCol"), "2021-12-02");
    // Memo text keeps its line break; a literal backslash sequence stays literal.
    EXPECT_EQ(t.at(5, "LongTextCol"), "New line\r\nin field");
    EXPECT_EQ(t.at(4, "ShortTextCol"), "Escaped new line \\r\\n in field");
    EXPECT_EQ(t.fields[4].type, kMemo);
}

TEST(AccessReader, CompressedUnicodeText) {
    NEED_FIXTURES();
    auto db = open("jackcess/testUnicodeCompV2003.mdb");
    Table t = load(*db, "Table");
    ASSERT_EQ(t.rows.size(), 8u);
    EXPECT_EQ(t.at(1, "Unicode"), "ääkkösiä");
    EXPECT_EQ(t.at(3, "Unicode"),
              "\u03f0\u03b1\u1f76 \u03c4\u1f79\u03c4' \u1f10\u03b3\u1f7c "
              "\u039a\u1f7b\u03f0\u03bb\u03c9\u03c0\u03b1");
    EXPECT_EQ(t.at(4, "Unicode"), "漢字仮名交じり文");
}

TEST(AccessReader, Jet3TextMemoAndOlePhotos) {
    NEED_FIXTURES();
    auto db = open("mdbtestdata/nwind.mdb");
    Table e = load(*db, "Employees");
    ASSERT_EQ(e.rows.size(), 9u);
    EXPECT_EQ(e.at(0, "LastName"), "Davolio");
    EXPECT_EQ(e.at(0, "BirthDate"), "1948-12-08");
    const std::string& notes = e.at(0, "Notes");
    EXPECT_EQ(notes.size(), 175u);
    EXPECT_EQ(notes.rfind("Education includes a BA in psychology", 0), 0u);
    EXPECT_EQ(e.fields[14].type, kLongBinary);
    EXPECT_EQ(e.at(0, "Photo").size(), 28836u);  // 21,626 bytes (mdb-export -b hex) in base64
    EXPECT_EQ(load(*db, "Products").at(0, "UnitPrice"), "18");
}

TEST(AccessReader, RcFourEncodedFilesAreDecoded) {
    NEED_FIXTURES();
    for (const char* f : {"jackcessencrypt/db-enc.mdb", "jackcessencrypt/db97-enc.mdb"}) {
        auto db = open(f);
        EXPECT_EQ(testing::catalogNames(listedCatalog(*db)), std::vector<std::string>{"Table1"});
        EXPECT_EQ(testing::joinedRows(load(*db, "Table1").rows),
                  (std::vector<std::string>{"1|hello|0", "2|world|42"}))
            << f;
    }
}

TEST(AccessReader, DatabasePassword) {
    NEED_FIXTURES();
    for (const char* wrong : {"", "abcd", "ABCD1234", "abcd12345"}) {
        const auto e =
            testing::thrownBy([&] { open("jettoobjects/password-database.mdb", wrong); });
        EXPECT_EQ(e.code, kErrPasswordRequired) << wrong;
        EXPECT_TRUE(testing::contains(e.message, "password-database.mdb")) << e.message;
    }
    auto db = open("jettoobjects/password-database.mdb", "abcd1234");
    Table t = load(*db, "Products");
    EXPECT_TRUE(t.rows.empty());
    EXPECT_EQ(t.fields.size(), 6u);
    // A database without a password opens whatever password is given.
    EXPECT_NO_THROW(open("jackcess/testV1997.mdb", "anything"));
}

TEST(AccessReader, UnrecognisedFilesNameThePath) {
    NEED_FIXTURES();
    testing::ScratchFolder dir;
    dir.write("notes.mdb", "this is not a database");
    dir.write("empty.mdb", "");
    // A header page alone, with nothing after it.
    dir.write("header.mdb", testing::slurp(kAccess / "jackcess/testV1997.mdb").substr(0, 2048));
    for (const std::string& path : {dir.file("notes.mdb"), dir.file("empty.mdb"),
                                    dir.path().string(), dir.file("header.mdb")}) {
        const auto e = testing::thrownBy([&] { openAccessDatabase(path, {}); });
        EXPECT_EQ(e.code, kErrUnrecognisedFormat) << path;
        EXPECT_EQ(e.message, "Unrecognized database format '" + path + "'.");
    }
    EXPECT_THROW(openAccessDatabase(dir.file("missing.mdb"), {}), DatabaseError);
}

TEST(AccessReader, StoredQueriesAreRebuiltAndRun) {
    NEED_FIXTURES();
    auto db = open("mdbtestdata/nwind.mdb");
    std::string top = db->storedQuerySql("Ten Most Expensive Products");
    EXPECT_NE(top.find("TOP 10"), std::string::npos) << top;
    EXPECT_NE(top.find("ORDER BY Products.UnitPrice DESC"), std::string::npos) << top;
    Table t = load(*db, "Ten Most Expensive Products");
    ASSERT_EQ(t.rows.size(), 10u);
    EXPECT_EQ(t.names(), (std::vector<std::string>{"TenMostExpensiveProducts", "UnitPrice"}));
    EXPECT_EQ(t.line(0) + "/" + t.line(9), "Côte de Blaye|263.5/Rössle Sauerkraut|45.6");
    EXPECT_EQ(t.fields[1].type, kCurrency);

    // UNION of customers and suppliers, duplicates removed: 91 + 29 distinct rows.
    Table u = load(*db, "Customers and Suppliers by City");
    EXPECT_EQ(u.rows.size(), 120u);
    EXPECT_EQ(u.names().back(), "Relationship");
    EXPECT_EQ(u.rows[0][0], "Aachen");

    // A grouped query used by another like a table.
    EXPECT_EQ(load(*db, "Summary of Sales by Year").names(),
              (std::vector<std::string>{"ShippedDate", "OrderID", "Subtotal"}));

    // Joins nested three deep keep the plain field names.
    Table inv = load(*db, "Invoices");
    EXPECT_EQ(inv.rows.size(), 2155u);
    EXPECT_EQ(inv.fields[6].name, "CustomerID");

    EXPECT_TRUE(db->storedQuerySql("Orders").empty());  // a table, no query
}

TEST(AccessReader, AceStoredQueries) {
    NEED_FIXTURES();
    auto db = open("mdbtestdata/ASampleDatabase.accdb");
    Table hw = load(*db, "qryComputerHardwareInOwnerOrder");
    ASSERT_FALSE(hw.rows.empty());
    for (auto& r : hw.rows) EXPECT_EQ(r[2], "Computer Hardware");
    for (std::size_t i = 1; i < hw.rows.size(); ++i) EXPECT_LE(hw.rows[i - 1][1], hw.rows[i][1]);
    Table gst = load(*db, "qryGSTCalculations");
    EXPECT_EQ(gst.rows.size(), 65u);
    EXPECT_EQ(gst.names().back(), "GST");
    // qryGSTCalculations: Cost 1995.5 -> Cost / 1.22
    EXPECT_EQ(gst.at(0, "Cost"), "1995.5");
    EXPECT_EQ(gst.at(0, "Ex Tax").substr(0, 8), "1635.655");
    EXPECT_EQ(db->fields("qryCostsSummedByOwner").size(), 3u);
}

}  // namespace
}  // namespace rq
