// The ODBC source against SQLite files through the SQLite 3 ODBC driver.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>
#include <fstream>

#include "datasource/odbc/odbcsource.h"
#include "datasource/sheetloader.h"
#include "odbc_test_support.h"

using namespace rq;
using rq::odbctest::Collected;

namespace {

// A new SQLite file holding the result of the statements.
std::string makeDatabase(const std::vector<std::string>& statements) {
    std::string path = odbctest::temporaryFolder() + "/test.db";
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    for (const auto& s : statements) {
        char* error = nullptr;
        EXPECT_EQ(sqlite3_exec(db, s.c_str(), nullptr, nullptr, &error), SQLITE_OK)
            << s << ": " << (error ? error : "");
        sqlite3_free(error);
    }
    sqlite3_close(db);
    return path;
}

#define SQLITE_DRIVER(var)                      \
    std::string var = odbctest::sqliteDriver(); \
    if (var.empty()) GTEST_SKIP() << "the SQLite 3 ODBC driver is not installed"

std::vector<std::string> namesOf(const std::vector<CatalogEntry>& entries) {
    std::vector<std::string> names;
    for (const auto& e : entries) names.push_back(e.name);
    return names;
}

}  // namespace

TEST(OdbcSqlite, ListsTablesThenViewsAndReconnectsWithTheCompletedString) {
    SQLITE_DRIVER(driver);
    std::string file = makeDatabase({
        "create view [b view] as select 1 as one",
        "create table [Order Lines] (item varchar(20), qty integer)",
        "insert into [Order Lines] values ('Bolt', 5), ('Nut', 12)",
        "create table MSysAccessObjects (a)",
        "create table [~sq_cForm1] (a)",
        "create view msysview as select 2",
        "create table Alpha (a)",
    });
    auto source = openOdbcSource("Driver=" + driver + ";Database=" + file + ";");
    auto all = namesOf(source->catalog());
    ASSERT_EQ(all.size(), 6u);
    // Tables first, then the views, each in the driver's order (here: as created).
    EXPECT_EQ(std::vector<std::string>(all.begin() + 4, all.end()),
              (std::vector<std::string>{"b view", "msysview"}));
    EXPECT_EQ(namesOf(listedCatalog(*source)),
              (std::vector<std::string>{"Order Lines", "Alpha", "b view"}));

    // The driver's completed string names no driver; the saved one must still reconnect.
    EXPECT_NE(source->name().find(file), std::string::npos);
    EXPECT_EQ(connectionAttribute(source->name(), "Driver"), driver);
    DataSheet sheet;
    auto fields = loadTable(*source, "Order Lines", sheet);
    ASSERT_EQ(sheet.rows(), 3);
    EXPECT_EQ(sheet.cell(0, 0), "item");
    EXPECT_EQ(sheet.cell(0, 1), "qty");
    EXPECT_EQ(sheet.cell(2, 0), "Nut");
    EXPECT_EQ(sheet.cell(2, 1), "12");
    EXPECT_EQ(fields[0].type, kAdoVarChar);
    EXPECT_EQ(fields[1].type, kAdoInteger);

    DataSheet view;
    loadTable(*source, "b view", view);
    EXPECT_EQ(view.cell(0, 0), "one");
    EXPECT_EQ(view.cell(1, 0), "1");
}

TEST(OdbcSqlite, ValuesBecomeTheirText) {
    SQLITE_DRIVER(driver);
    std::string longText(200000, 'q');
    longText += "end";
    std::string file = makeDatabase({
        "create table t (id integer, name varchar(10), born date, seen timestamp, price real, "
        "code char(4), photo blob, note text)",
        "insert into t values (1, 'Zoë 日本 😀', '2024-01-15', '2024-01-15 13:45:00', 0.15, "
        "'ab  ', x'00ff41', '" +
            longText + "')",
        "insert into t values (2, null, null, null, null, null, null, null)",
        "insert into t values (-9223372036854775808, 'a longer name than ten', '1900-02-28', "
        "'1899-12-30 00:00:00', -1e-7, 'abcd', x'', '')",
    });
    auto source = openOdbcSource("Driver=" + driver + ";Database=" + file + ";");
    for (OdbcFetchMode mode :
         {OdbcFetchMode::Automatic, OdbcFetchMode::Bound, OdbcFetchMode::CellByCell}) {
        SCOPED_TRACE(static_cast<int>(mode));
        source->setFetchMode(mode);
        Collected got;
        source->read("t", got);
        ASSERT_EQ(got.rows.size(), 3u);
        ASSERT_EQ(got.rows[0].size(), 8u);
        EXPECT_TRUE(got.rows[0][7] == longText) << got.rows[0][7].size();
        got.rows[0].pop_back();
        EXPECT_EQ(got.rows[0],
                  (std::vector<std::string>{"1", "Zoë 日本 😀", "2024-01-15", "2024-01-15T13:45:00",
                                            "0.15", "ab  ", "AP9B"}));
        EXPECT_EQ(got.rows[1], (std::vector<std::string>{"2", "", "", "", "", "", "", ""}));
        EXPECT_EQ(got.rows[2], (std::vector<std::string>{
                                   "-9223372036854775808", "a longer name than ten", "1900-02-28",
                                   "1899-12-30T00:00:00", "-1e-07", "abcd", "", ""}));
        std::vector<int> types;
        for (const auto& f : got.fields) types.push_back(f.type);
        EXPECT_EQ(types[2], kAdoDBDate);
        EXPECT_EQ(types[3], kAdoDBTimeStamp);
        EXPECT_EQ(types[4], kAdoDouble);
        // SQLite keeps the blanks it was given and the driver reports char(4) as varchar.
        EXPECT_EQ(types[5], kAdoVarChar);
    }
}

TEST(OdbcSqlite, StatementsAndTheirErrors) {
    SQLITE_DRIVER(driver);
    std::string file = makeDatabase({
        "create table [Order Lines] ([Item Name] text, qty integer)",
        "insert into [Order Lines] values ('Bolt', 5), ('it''s [x]', 7)",
    });
    auto source = openOdbcSource("Driver=" + driver + ";Database=" + file + ";");
    Collected got;
    source->query(
        "Select [Order Lines].[Item Name] From [Order Lines] Where "
        "[Order Lines].[Item Name] = 'it''s [x]'",
        got);
    ASSERT_EQ(got.rows.size(), 1u);
    EXPECT_EQ(got.rows[0][0], "it's [x]");

    try {
        source->query("Select * From [No Such Table]", got);
        FAIL() << "a missing table was read";
    } catch (const DatabaseError& e) {
        EXPECT_NE(std::string(e.what()).find("No Such Table"), std::string::npos) << e.what();
    }
    EXPECT_THROW(source->query("Select Select", got), DatabaseError);

    auto fields = source->fields("Order Lines");
    ASSERT_EQ(fields.size(), 2u);
    EXPECT_EQ(fields[0].name, "Item Name");
    EXPECT_EQ(fields[1].type, kAdoInteger);
}

TEST(OdbcSqlite, DataSourcesAndDriversOfTheDriverManager) {
    SQLITE_DRIVER(driver);
    std::string file = makeDatabase({"create table t (a)", "insert into t values ('from dsn')"});
    std::string ini = odbctest::temporaryFolder() + "/odbc.ini";
    std::ofstream(ini) << "[Rowquill Test Source]\nDescription=test\nDriver=" << driver
                       << "\nDatabase=" << file << "\n";
    const char* before = std::getenv("ODBCINI");
    std::string saved = before ? before : "";
    setenv("ODBCINI", ini.c_str(), 1);
    auto sources = odbcDataSources();
    auto found = std::find_if(sources.begin(), sources.end(), [](const OdbcDataSourceEntry& e) {
        return e.name == "Rowquill Test Source";
    });
    ASSERT_NE(found, sources.end());
    EXPECT_FALSE(found->system);
    EXPECT_EQ(found->driver, driver);

    auto source = openOdbcSource(connectionStringForDataSource("Rowquill Test Source"));
    Collected got;
    source->read("t", got);
    ASSERT_EQ(got.rows.size(), 1u);
    EXPECT_EQ(got.rows[0][0], "from dsn");
    if (before)
        setenv("ODBCINI", saved.c_str(), 1);
    else
        unsetenv("ODBCINI");

    auto drivers = odbcDrivers();
    auto entry = std::find_if(drivers.begin(), drivers.end(),
                              [&](const OdbcDriverEntry& d) { return d.name == driver; });
    ASSERT_NE(entry, drivers.end());
    EXPECT_NE(std::find_if(entry->attributes.begin(), entry->attributes.end(),
                           [](const std::string& a) { return a.rfind("Driver=", 0) == 0; }),
              entry->attributes.end());

    try {
        openOdbcSource("DSN=No Such Source For Rowquill;");
        FAIL() << "opened a source that does not exist";
    } catch (const DatabaseError& e) {
        std::string text = e.what();
        EXPECT_EQ(text.rfind("Error Opening DataSource: ", 0), 0u) << text;
        EXPECT_NE(text.find("not found"), std::string::npos) << text;
    }
}
