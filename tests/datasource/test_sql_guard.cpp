// Statements and stored queries that try to do more than read, or to use
// memory without end: each is refused with a clear message, leaves no file
// behind and changes nothing.

#include <chrono>
#include <thread>

#include "datasource/readers.h"
#include "reader_test_support.h"
#include "sql_test_support.h"

namespace rq {
namespace {

namespace fs = std::filesystem;

using rq::testing::TableSink;

// The message of the DatabaseError that running the statement throws ("" when none).
std::string refusal(Database& db, const std::string& sql, const SqlOptions& options = {}) {
    TableSink sink;
    const auto e = rq::testing::errorOf([&] { runSqlOverDatabase(db, sql, sink, options); });
    return e == "no error" ? "" : e;
}

class SqlGuard : public ::testing::Test {
  protected:
    void SetUp() override {
        // Another SQLite database the user can write, with three rows.
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

    // Only the database made in SetUp is in the folder, still with its rows.
    void expectNothingChanged() {
        std::vector<std::string> names;
        for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename());
        EXPECT_EQ(names, std::vector<std::string>{"other.db"});
        EXPECT_EQ(rq::testing::sqliteColumn(other, "SELECT count(*) FROM t"),
                  std::vector<std::string>{"3"});
        Result r;
        runSqlOverDatabase(db, "SELECT * FROM Customers", r);
        EXPECT_EQ(r.rows.size(), 3u);
    }
    // The refusal holds the text.
    void expectRefused(const std::string& sql, const std::string& part,
                       const SqlOptions& options = {}) {
        const std::string msg = refusal(db, sql, options);
        EXPECT_NE(msg.find(part), std::string::npos) << sql.substr(0, 80) << "\n -> " << msg;
    }

    rq::testing::ScratchFolder scratch;
    const fs::path dir = scratch.path(), other = dir / "other.db";
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
    for (const auto& c : cases) expectRefused(c.sql, c.expected);
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
        expectRefused(std::string("SELECT * FROM [") + name + "]",
                      std::string("stored query '") + name + "'");
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
    const fs::path source = rq::testing::kFixtures / "access/mdbtestdata/nwind.mdb";
    SKIP_WITHOUT(source);
    std::string bytes = rq::testing::slurp(source);
    // In the query's select list: the expression named TenMostExpensiveProducts.
    std::size_t alias = bytes.find("TenMostExpensiveProducts");
    ASSERT_NE(alias, std::string::npos);
    std::size_t expr = bytes.find("Products.ProductName", alias);
    ASSERT_LT(expr - alias, 64u);
    const std::string hostile = "0;ATTACH 'v' AS v;--";
    ASSERT_EQ(hostile.size(), std::string("Products.ProductName").size());
    bytes.replace(expr, hostile.size(), hostile);
    scratch.write("doctored.mdb", bytes);

    // Run in the scratch folder, where the attached file would appear.
    struct InFolder {
        const fs::path before = fs::current_path();
        explicit InFolder(const fs::path& d) { fs::current_path(d); }
        ~InFolder() { fs::current_path(before); }
    } inFolder(dir);
    auto mdb = openAccessDatabase(scratch.file("doctored.mdb"), {});
    EXPECT_NE(mdb->storedQuerySql("Ten Most Expensive Products").find("ATTACH"), std::string::npos);
    const std::string name = "'Ten Most Expensive Products'";
    const std::string viaStatement = refusal(*mdb, "SELECT * FROM [Ten Most Expensive Products]");
    EXPECT_NE(viaStatement.find(name), std::string::npos) << viaStatement;
    const std::string viaTable = rq::testing::errorOf([&] {
        Result r;
        mdb->read("Ten Most Expensive Products", r);
    });
    EXPECT_NE(viaTable.find(name), std::string::npos) << viaTable;
    EXPECT_FALSE(fs::exists(dir / "v"));
}

TEST_F(SqlGuard, ValuesAndMemoryAreBounded) {
    // A value of a billion bytes is refused before it is built.
    expectRefused("SELECT zeroblob(1000000000)", "larger than allowed (256 MB)");
    expectRefused("SELECT randomblob(900000000)", "larger than allowed");
    expectRefused("SELECT '" + std::string(1100000, 'x') + "'", "longer than allowed");

    // Within the value limit, SQLite's working memory is bounded by its own limit,
    // which is put back afterwards (it is process-wide).
    const sqlite3_int64 heapLimit = sqlite3_hard_heap_limit64(-1);
    SqlOptions small;
    small.limits.memoryBytes = 16 << 20;
    small.limits.valueBytes = 64 << 20;
    expectRefused("SELECT length(zeroblob(40000000) || 'x')",
                  "needs more memory than allowed (16 MB)", small);
    EXPECT_EQ(sqlite3_hard_heap_limit64(-1), heapLimit);
    EXPECT_EQ(refusal(db, "SELECT length(zeroblob(4000000) || 'x')", small), "");
}

TEST_F(SqlGuard, EndlessResultsStopAtTheResultLimit) {
    SqlOptions options;
    options.limits.resultBytes = 4 << 20;
    TableSink sink;
    const std::string error = rq::testing::errorOf([&] {
        runSqlOverDatabase(db,
                           "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) "
                           "SELECT x, 'row ' || x FROM c",
                           sink, options);
    });
    EXPECT_NE(error.find("larger than allowed (4 MB)"), std::string::npos) << error;
    // Records were handed on as they came, and stopped near the limit:
    // each takes at least 32 + 2 * 4 bytes.
    EXPECT_GT(sink.rows.size(), 10000u);
    EXPECT_LT(sink.rows.size(), (4u << 20) / 40);

    // A result as large as its table is not refused under the default limits.
    MemTable big{{{"Id", kLong}, {"Text", kText}}, {}};
    for (int i = 0; i < 50000; ++i) big.rows.push_back({std::to_string(i), std::string(100, 'a')});
    db.tables.push_back({"Big", big});
    TableSink all;
    runSqlOverDatabase(db, "SELECT * FROM Big", all);
    EXPECT_EQ(all.rows.size(), 50000u);
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
