// Statements and stored queries that try to do more than read, or to use
// memory without end: each is refused with a clear message, leaves no file
// behind and changes nothing.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "datasource/readers.h"
#include "sql_test_support.h"

namespace rq {
namespace {

namespace fs = std::filesystem;

struct CountSink : RecordSink {
    std::size_t rows = 0;
    void begin(const std::vector<Field>&) override {}
    void row(const std::string_view*, std::size_t) override { ++rows; }
};

// The message of the DatabaseError that running the statement throws ("" when none).
std::string refusal(Database& db, const std::string& sql, const SqlOptions& options = {}) {
    CountSink sink;
    try {
        runSqlOverDatabase(db, sql, sink, options);
    } catch (const DatabaseError& e) {
        return e.what();
    }
    return {};
}

int countRows(const fs::path& file, const char* table) {
    sqlite3* db = nullptr;
    sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* st = nullptr;
    std::string sql = std::string("SELECT count(*) FROM ") + table;
    int n = -1;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) == SQLITE_OK &&
        sqlite3_step(st) == SQLITE_ROW)
        n = sqlite3_column_int(st, 0);
    sqlite3_finalize(st);
    sqlite3_close(db);
    return n;
}

class SqlGuard : public ::testing::Test {
  protected:
    void SetUp() override {
        dir = fs::temp_directory_path() / ("rq_sql_guard_" + std::to_string(::getpid()));
        fs::remove_all(dir);
        fs::create_directories(dir);
        // Another SQLite database the user can write, with three rows.
        other = dir / "other.db";
        sqlite3* o = nullptr;
        ASSERT_EQ(sqlite3_open(other.c_str(), &o), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(o, "CREATE TABLE t(a); INSERT INTO t VALUES (1), (2), (3);", nullptr,
                               nullptr, nullptr),
                  SQLITE_OK);
        sqlite3_close(o);
        db.tables.push_back({"Customers",
                             {{{"CustId", kLong}, {"Name", kText}},
                              {{"1", "Anna"}, {"2", "O'Brien"}, {"3", "Chen"}}}});
    }
    void TearDown() override { fs::remove_all(dir); }

    // Only the database made in SetUp is in the folder, still with its rows.
    void expectNothingChanged() {
        std::vector<std::string> names;
        for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename());
        EXPECT_EQ(names, std::vector<std::string>{"other.db"});
        EXPECT_EQ(countRows(other, "t"), 3);
        Result r;
        runSqlOverDatabase(db, "SELECT * FROM Customers", r);
        EXPECT_EQ(r.rows.size(), 3u);
    }

    fs::path dir, other;
    MemoryDatabase db;
};

TEST_F(SqlGuard, StatementsThatDoMoreThanReadAreRefused) {
    const std::string attach = "ATTACH DATABASE '" + (dir / "new.db").string() + "' AS x";
    const std::string attachOther = "ATTACH '" + other.string() + "' AS o";
    const struct {
        std::string sql, expected;
    } cases[] = {
        {"SELECT * FROM Customers; DROP TABLE Customers", "only one statement"},
        {"SELECT * FROM Customers; " + attach, "only one statement"},
        {"SELECT * FROM Customers;\n" + attachOther + "; DELETE FROM o.t", "only one statement"},
        {attach, "ATTACH is not allowed"},
        {attachOther, "ATTACH is not allowed"},
        {"DETACH DATABASE main", "DETACH is not allowed"},
        {"PRAGMA writable_schema=1", "PRAGMA writable_schema is not allowed"},
        {"Pragma journal_mode=WAL", "PRAGMA journal_mode is not allowed"},
        // Refused by the authorizer or by the tables themselves.
        {"SELECT * FROM pragma_table_info('Customers')", "not allowed"},
        {"DELETE FROM Customers", "may not be modified"},
        {"INSERT INTO Customers VALUES (4, 'Dan')", "not allowed"},
        {"UPDATE Customers SET Name = 'x'", "may not be modified"},
        {"CREATE TABLE t2 (a)", "a change to the schema is not allowed"},
        {"CREATE TEMP VIEW v AS SELECT 1", "a change to the schema is not allowed"},
        {"DROP TABLE Customers", "a change to the schema is not allowed"},
        {"BEGIN", "a transaction is not allowed"},
        {"VACUUM INTO '" + (dir / "copy.db").string() + "'", "select records"},
        {"SELECT load_extension('" + (dir / "x.so").string() + "')",
         "the function load_extension is not allowed"},
        {"WITH d AS (SELECT 1) DELETE FROM Customers", "may not be modified"},
    };
    for (const auto& c : cases) {
        std::string msg = refusal(db, c.sql);
        EXPECT_NE(msg.find(c.expected), std::string::npos) << c.sql << "\n -> " << msg;
    }
    expectNothingChanged();
}

TEST_F(SqlGuard, StoredQueriesThatDoMoreThanReadAreRefusedByName) {
    db.queries["Evil"] = "SELECT Name FROM Customers; ATTACH '" + (dir / "evil.db").string() +
                         "' AS e; CREATE TABLE e.t (a)";
    db.queries["Cleanup"] =
        "SELECT Name FROM Customers;\nATTACH '" + other.string() + "' AS o;\nDELETE FROM o.t";
    db.queries["Remover"] = "DELETE FROM Customers";
    db.queries["Pragma"] = "PRAGMA writable_schema = 1";
    for (const char* name : {"Evil", "Cleanup", "Remover", "Pragma"}) {
        std::string msg = refusal(db, std::string("SELECT * FROM [") + name + "]");
        EXPECT_NE(msg.find(std::string("stored query '") + name + "'"), std::string::npos) << msg;
        // Used inside another query, or read by name, it is refused the same way.
        db.queries["Outer"] = std::string("SELECT * FROM [") + name + "]";
        EXPECT_FALSE(refusal(db, "SELECT * FROM Outer").empty()) << name;
        Result direct;
        EXPECT_THROW(db.read(name, direct), DatabaseError) << name;
    }
    expectNothingChanged();

    // A stored query that reads is used, with the semicolon and comment it may end with.
    db.queries["Names"] = "SELECT Name FROM Customers WHERE CustId < 3; -- two of them";
    Result r;
    runSqlOverDatabase(db, "SELECT * FROM Names", r);
    EXPECT_EQ(r.rows, (std::vector<std::vector<std::string>>{{"Anna"}, {"O'Brien"}}));
}

// A copy of a real database whose stored query has one expression replaced in
// place, of the same length, by an ATTACH of a file in the current folder.
TEST_F(SqlGuard, DoctoredAccessQueryCannotAttachAFile) {
    const fs::path source = fs::path(ROWQUILL_FIXTURES) / "access/mdbtestdata/nwind.mdb";
    if (!fs::exists(source)) GTEST_SKIP() << "no fixture " << source;
    std::ifstream in(source, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // In the query's select list: the expression named TenMostExpensiveProducts.
    std::size_t alias = bytes.find("TenMostExpensiveProducts");
    ASSERT_NE(alias, std::string::npos);
    std::size_t expr = bytes.find("Products.ProductName", alias);
    ASSERT_LT(expr - alias, 64u);
    const std::string hostile = "0;ATTACH 'v' AS v;--";
    ASSERT_EQ(hostile.size(), std::string("Products.ProductName").size());
    bytes.replace(expr, hostile.size(), hostile);
    const fs::path doctored = dir / "doctored.mdb";
    std::ofstream(doctored, std::ios::binary) << bytes;

    const fs::path before = fs::current_path();
    fs::current_path(dir);
    std::string viaStatement, viaTable;
    try {
        auto mdb = openAccessDatabase(doctored.string(), {});
        EXPECT_NE(mdb->storedQuerySql("Ten Most Expensive Products").find("ATTACH"),
                  std::string::npos);
        viaStatement = refusal(*mdb, "SELECT * FROM [Ten Most Expensive Products]");
        Result r;
        try {
            mdb->read("Ten Most Expensive Products", r);
        } catch (const DatabaseError& e) {
            viaTable = e.what();
        }
    } catch (...) {
        fs::current_path(before);
        throw;
    }
    fs::current_path(before);
    EXPECT_NE(viaStatement.find("'Ten Most Expensive Products'"), std::string::npos)
        << viaStatement;
    EXPECT_NE(viaTable.find("'Ten Most Expensive Products'"), std::string::npos) << viaTable;
    EXPECT_FALSE(fs::exists(dir / "v"));
}

TEST_F(SqlGuard, ValuesAndMemoryAreBounded) {
    // A value of a billion bytes is refused before it is built.
    EXPECT_NE(refusal(db, "SELECT zeroblob(1000000000)").find("larger than allowed (256 MB)"),
              std::string::npos);
    EXPECT_NE(refusal(db, "SELECT randomblob(900000000)").find("larger than allowed"),
              std::string::npos);

    // Within the value limit, SQLite's working memory is bounded by its own limit,
    // which is put back afterwards (it is process-wide).
    const sqlite3_int64 heapLimit = sqlite3_hard_heap_limit64(-1);
    SqlOptions small;
    small.limits.memoryBytes = 16 << 20;
    small.limits.valueBytes = 64 << 20;
    EXPECT_NE(refusal(db, "SELECT length(zeroblob(40000000) || 'x')", small)
                  .find("needs more memory than allowed (16 MB)"),
              std::string::npos);
    EXPECT_EQ(sqlite3_hard_heap_limit64(-1), heapLimit);
    EXPECT_EQ(refusal(db, "SELECT length(zeroblob(4000000) || 'x')", small), "");

    std::string longStatement = "SELECT '" + std::string(1100000, 'x') + "'";
    EXPECT_NE(refusal(db, longStatement).find("longer than allowed"), std::string::npos);
}

TEST_F(SqlGuard, EndlessResultsStopAtTheResultLimit) {
    SqlOptions options;
    options.limits.resultBytes = 4 << 20;
    CountSink sink;
    try {
        runSqlOverDatabase(db,
                           "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) "
                           "SELECT x, 'row ' || x FROM c",
                           sink, options);
        FAIL() << "an endless statement ended";
    } catch (const DatabaseError& e) {
        EXPECT_NE(std::string(e.what()).find("larger than allowed (4 MB)"), std::string::npos)
            << e.what();
    }
    // Records were handed on as they came, and stopped near the limit:
    // each takes at least 32 + 2 * 4 bytes.
    EXPECT_GT(sink.rows, 10000u);
    EXPECT_LT(sink.rows, (4u << 20) / 40);

    // A result as large as its table is not refused under the default limits.
    MemTable big{{{"Id", kLong}, {"Text", kText}}, {}};
    for (int i = 0; i < 50000; ++i) big.rows.push_back({std::to_string(i), std::string(100, 'a')});
    db.tables.push_back({"Big", big});
    CountSink all;
    runSqlOverDatabase(db, "SELECT * FROM Big", all);
    EXPECT_EQ(all.rows, 50000u);
}

TEST_F(SqlGuard, ARunningStatementCanBeCancelled) {
    std::atomic<bool> cancel{false};
    SqlOptions options;
    options.cancel = &cancel;
    std::thread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        cancel = true;
    });
    // Counts to thirty million unless cancelled: no record comes out meanwhile.
    std::string msg = refusal(db,
                              "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c "
                              "WHERE x < 30000000) SELECT count(*) FROM c",
                              options);
    stopper.join();
    EXPECT_EQ(msg, "The statement was cancelled.");
    // A flag already set stops the statement before it reads a table.
    EXPECT_EQ(refusal(db, "SELECT * FROM Customers", options), "The statement was cancelled.");
}

}  // namespace
}  // namespace rq
