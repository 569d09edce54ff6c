// Statements and names that try to change an ODBC source, and statements that
// never end: each attack is made here and the source checked afterwards with
// a connection of the test's own. Last, the values of a SQLite file in every
// fetch mode (listing, data source names and reconnecting are covered by the
// CLI tests).
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "datasource/odbc/odbcsource.h"
#include "odbc_test_support.h"
#include "reader_test_support.h"

using namespace rq;
using rq::odbctest::Collected;
using rq::testing::contains;
using rq::testing::errorOf;
namespace fs = std::filesystem;

namespace {

std::string makeSqliteFile(const std::vector<std::string>& statements) {
    std::string path = odbctest::temporaryFolder() + "/shop.db";
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    for (const auto& s : statements)
        EXPECT_EQ(sqlite3_exec(db, s.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << s;
    sqlite3_close(db);
    return path;
}

}  // namespace

TEST(OdbcReadOnly, PostgresStatementsCannotChangeTheSource) {
    PG_DATABASE(cs, "rq_harm");
    odbctest::execute(
        cs, {"create table t (id int)", "insert into t values (1), (2), (3)", "create sequence s"});
    auto source = openOdbcSource(cs);
    auto count = [&] { return odbctest::scalar(cs, "select count(*) from t"); };
    Collected got;

    // A statement that writes: refused by the read-only transaction.
    std::string text = errorOf([&] { source->query("Delete From t Where id=2", got); });
    EXPECT_TRUE(contains(text, "read-only transaction")) << text;
    EXPECT_EQ(count(), "3");

    // A write inside a query, and a change no rollback undoes.
    try {
        source->query("With d As (Delete From t Where id=2 Returning *) Select * From d", got);
    } catch (const DatabaseError&) {
        // Refused as a write in a read-only transaction, or run and undone.
    }
    EXPECT_EQ(count(), "3");
    EXPECT_THROW(source->query("Select nextval('s')", got), DatabaseError);
    EXPECT_EQ(odbctest::scalar(cs, "select is_called from s"), "0");

    // Reading still works, on the same source.
    Collected rows;
    source->query("Select id From t Order By id;", rows);
    EXPECT_EQ(rows.rows.size(), 3u);
}

TEST(OdbcReadOnly, PostgresTableNamesCannotEscapeTheirQuotes) {
    PG_DATABASE(cs, "rq_names");
    const std::string hostile[] = {"t]; Delete From t; Select * From [t", "t\"; Delete From t; --"};
    odbctest::execute(cs, {"create table t (id int)", "insert into t values (1), (2)"});
    for (const auto& name : hostile) {
        std::string quoted = "\"";
        for (char c : name) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
        quoted += "\"";
        odbctest::execute(
            cs, {"create table " + quoted + " (own int)", "insert into " + quoted + " values (7)"});
    }
    auto source = openOdbcSource(cs);
    for (const auto& name : hostile) {
        SCOPED_TRACE(name);
        Collected got;
        source->read(name, got);
        ASSERT_EQ(got.names(), std::vector<std::string>{"own"});
        ASSERT_EQ(got.rows.size(), 1u);
        EXPECT_EQ(got.rows[0][0], "7");
        EXPECT_EQ(source->fields(name).size(), 1u);
        EXPECT_EQ(odbctest::scalar(cs, "select count(*) from t"), "2");
    }
}

TEST(OdbcReadOnly, PostgresStatementThatRunsTooLongIsStopped) {
    PG_DATABASE(cs, "rq_timeout");
    auto source = openOdbcSource(cs);
    EXPECT_EQ(source->statementTimeoutSeconds(), 60);
    source->setStatementTimeout(2);
    auto started = std::chrono::steady_clock::now();
    Collected got;
    std::string text = errorOf([&] { source->query("Select pg_sleep(60)", got); });
    EXPECT_EQ(text,
              "The statement did not finish within its time limit of 2 seconds and was stopped.");
    // Not a timing measurement: without the limit the statement waits the whole minute.
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30));

    Collected quick;
    source->query("Select pg_sleep(0.1), 5 As five", quick);
    ASSERT_EQ(quick.rows.size(), 1u);
    EXPECT_EQ(quick.rows[0][1], "5");
}

TEST(OdbcReadOnly, SqliteWritesAreRolledBack) {
    std::string driver = odbctest::sqliteDriver();
    if (driver.empty()) GTEST_SKIP() << "the SQLite 3 ODBC driver is not installed";
    std::string file = makeSqliteFile(
        {"create table t (id)", "insert into t values (1), (2)", "create table u (x)"});
    std::string cs = "Driver=" + driver + ";Database=" + file + ";";
    auto source = openOdbcSource(cs);
    Collected got;
    std::string text = errorOf([&] { source->query("Drop Table u", got); });
    EXPECT_TRUE(contains(text, "rolled back")) << text;
    text = errorOf([&] { source->query("Delete From t", got); });
    EXPECT_TRUE(contains(text, "rolled back")) << text;
    text = errorOf([&] { source->query("Select 1; Drop Table t", got); });
    EXPECT_TRUE(contains(text, "one statement")) << text;
    std::string attached = odbctest::temporaryFolder() + "/attached.db";
    text = errorOf([&] { source->query("Attach '" + attached + "' As x", got); });
    EXPECT_FALSE(fs::exists(attached)) << text;
    text = errorOf([&] { source->query("Select load_extension('/nonexistent/evil.so')", got); });
    EXPECT_TRUE(contains(text, "loads a library")) << text;
    EXPECT_EQ(odbctest::scalar(cs, "select count(*) from sqlite_master where name = 'u'"), "1");
    EXPECT_EQ(odbctest::scalar(cs, "select count(*) from t"), "2");

    // A statement the driver does not stop by itself is cancelled.
    source->setStatementTimeout(1);
    text = errorOf([&] {
        source->query(
            "With Recursive c(x) As (Select 1 Union All Select x + 1 From c) "
            "Select count(*) From c",
            got);
    });
    EXPECT_EQ(text,
              "The statement did not finish within its time limit of 1 second and was stopped.");
}

TEST(OdbcReadOnly, MissingSqliteFileIsAnErrorAndStaysMissing) {
    std::string driver = odbctest::sqliteDriver();
    if (driver.empty()) GTEST_SKIP() << "the SQLite 3 ODBC driver is not installed";
    std::string missing = odbctest::temporaryFolder() + "/none.db";
    std::string text =
        errorOf([&] { openOdbcSource("Driver=" + driver + ";Database=" + missing + ";"); });
    EXPECT_EQ(text,
              "Error Opening DataSource: The SQLite database " + missing + " does not exist.");
    EXPECT_FALSE(fs::exists(missing));

    // A source whose file went away after it was opened.
    std::string file = makeSqliteFile({"create table t (id)"});
    auto source = openOdbcSource("Driver=" + driver + ";Database=" + file + ";");
    fs::remove(file);
    Collected got;
    text = errorOf([&] { source->read("t", got); });
    EXPECT_TRUE(contains(text, "does not exist")) << text;
    EXPECT_FALSE(fs::exists(file));
}

TEST(OdbcReadOnly, OverlongConnectionStringIsRefusedWhole) {
    // Cut to its length modulo 65,536 it would still name the driver and a new file.
    std::string file = odbctest::temporaryFolder() + "/never.db";
    std::string cs = "Driver=SQLite3;Database=" + file + ";X=" + std::string(70000, 'x');
    std::string text = errorOf([&] { openOdbcSource(cs); });
    EXPECT_TRUE(contains(text, std::to_string(cs.size()) + " bytes")) << text;
    EXPECT_TRUE(contains(text, "32767")) << text;
    EXPECT_FALSE(fs::exists(file));
}

TEST(OdbcSqlite, ValuesBecomeTheirTextInEveryFetchMode) {
    std::string driver = odbctest::sqliteDriver();
    if (driver.empty()) GTEST_SKIP() << "the SQLite 3 ODBC driver is not installed";
    std::string longText(200000, 'q');
    longText += "end";
    std::string file = makeSqliteFile({
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
        EXPECT_TRUE(got.rows[0].at(7) == longText) << got.rows[0][7].size();
        got.rows[0].pop_back();
        EXPECT_EQ(got.line(0), "1|Zoë 日本 😀|2024-01-15|2024-01-15T13:45:00|0.15|ab  |AP9B");
        EXPECT_EQ(got.line(1), "2|||||||");
        EXPECT_EQ(
            got.line(2),
            "-9223372036854775808|a longer name than ten|1900-02-28|1899-12-30T00:00:00|-1e-07|"
            "abcd||");
        // SQLite keeps the blanks it was given and the driver reports char(4) as varchar.
        EXPECT_EQ(got.fields[2].type, kAdoDBDate);
        EXPECT_EQ(got.fields[5].type, kAdoVarChar);
    }
}
