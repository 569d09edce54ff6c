// Tables as the engine holds them: values take the form a stored SQLite
// column of the same declared type would give them, and equality lookups find
// what SQLite's own comparison finds.

#include "datasource/sql/tablestore.h"
#include "reader_test_support.h"
#include "sql_test_support.h"

namespace rq {
namespace {

// SQLite itself is the reference: the text is stored into a real column of
// the declared type, as the engine once copied tables, and read back.
TEST(SqlStore, ValuesConvertAsAStoredColumnWould) {
    // clang-format off
    const char* texts[] = {"5", "-0", "2.5", "3.0", " 7 ", "1e3", "1.5e-3", ".5", "5.", "1e", "abc",
                           "12abc", "0x10", "+4", "9223372036854775807", "-9223372036854775808",
                           "9223372036854775808", "1e400", "00012", "1,5", "\t8\n", "true",
                           "false", "", "1 2", "-", ".", "e5", "  "};
    // clang-format on
    const int types[] = {kLong, kInteger, kCurrency, kDecimal, kDouble,  kSingle,
                         kText, kMemo,    kBinary,   kBoolean, kDateTime};
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    for (int type : types) {
        std::string create = std::string("CREATE TABLE t(c ") + sql::declaredType(type) + ")";
        sqlite3_exec(db, "DROP TABLE IF EXISTS t", nullptr, nullptr, nullptr);
        ASSERT_EQ(sqlite3_exec(db, create.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
        for (const char* text : texts) {
            std::string_view t(text);
            sqlite3_stmt* ins = nullptr;
            sqlite3_prepare_v2(db, "INSERT INTO t VALUES (?) RETURNING c", -1, &ins, nullptr);
            if (t.empty())
                sqlite3_bind_null(ins, 1);
            else if (type == kBoolean && (t == "true" || t == "false"))
                sqlite3_bind_int(ins, 1, t == "true");
            else
                sqlite3_bind_text(ins, 1, t.data(), static_cast<int>(t.size()), SQLITE_STATIC);
            ASSERT_EQ(sqlite3_step(ins), SQLITE_ROW);
            sql::Value v = sql::columnValue(t, sql::affinityOf(type), type == kBoolean);
            const std::string what = std::string(sql::declaredType(type)) + " '" + text + "'";
            switch (sqlite3_column_type(ins, 0)) {
                case SQLITE_NULL:
                    EXPECT_EQ(v.kind, sql::Value::Null) << what;
                    break;
                case SQLITE_INTEGER:
                    EXPECT_EQ(v.kind, sql::Value::Integer) << what;
                    EXPECT_EQ(v.i, sqlite3_column_int64(ins, 0)) << what;
                    break;
                case SQLITE_FLOAT:
                    EXPECT_EQ(v.kind, sql::Value::Real) << what;
                    EXPECT_DOUBLE_EQ(v.r, sqlite3_column_double(ins, 0)) << what;
                    break;
                default:
                    EXPECT_EQ(v.kind, sql::Value::Text) << what;
                    EXPECT_EQ(v.text, t) << what;
                    break;
            }
            sqlite3_finalize(ins);
        }
    }
    sqlite3_close(db);
}

class SqlJoins : public ::testing::Test {
  protected:
    void SetUp() override {
        db.tables.push_back(
            {"Parts", {{{"PartNo", kText}}, {{"1"}, {"2"}, {"02"}, {"x"}, {"BOLT "}, {"2.0"}}}});
        db.tables.push_back({"Stock", {{{"PartId", kLong}}, {{"1"}, {"2"}, {"3"}}}});
        db.tables.push_back({"Names", {{{"Name", kText}}, {{"bolt"}, {"x"}, {"X"}, {"x "}}}});
        // Records that match nothing, enough for lookups to beat scans.
        const char* prefixes[] = {"p", "", "n"};
        for (int t = 0; t < 3; ++t)
            for (int i = 0; i < 200; ++i)
                db.tables[t].second.rows.push_back({prefixes[t] + std::to_string(1000 + i)});
    }
    // Every row of the result as "a|b".
    std::vector<std::string> lines(const std::string& sql) {
        Result r;
        runSqlOverDatabase(db, sql, r);
        return rq::testing::joinedRows(r.rows);
    }
    MemoryDatabase db;
};

TEST_F(SqlJoins, LookupsFindWhatComparisonFinds) {
    // clang-format off
    const struct { const char* sql; std::vector<std::string> rows; } cases[] = {
        // Text against an integer column: the text is read as a number when it is one.
        {"SELECT Parts.PartNo, Stock.PartId FROM Parts INNER JOIN Stock ON Parts.PartNo = Stock.PartId "
         "ORDER BY 1", {"02|2", "1|1", "2|2", "2.0|2"}},
        {"SELECT Stock.PartId, Parts.PartNo FROM Stock, Parts WHERE Stock.PartId = Parts.PartNo ORDER BY 2",
         {"2|02", "1|1", "2|2", "2|2.0"}},
        // Text against text: exact, unless a collation says otherwise.
        {"SELECT Parts.PartNo, Names.Name FROM Parts, Names WHERE Names.Name = Parts.PartNo ORDER BY 2",
         {"x|x"}},
        {"SELECT Parts.PartNo, Names.Name FROM Parts, Names WHERE Names.Name = Parts.PartNo COLLATE NOCASE "
         "ORDER BY 2", {"x|X", "x|x"}},
        {"SELECT Parts.PartNo, Names.Name FROM Parts, Names WHERE Names.Name = Parts.PartNo COLLATE RTRIM "
         "ORDER BY 2", {"x|x", "x|x "}},
        // Constants, lists and numbers written as text.
        {"SELECT PartId FROM Stock WHERE PartId = '3'", {"3"}},
        {"SELECT PartNo FROM Parts WHERE PartNo = 2", {"2"}},
        {"SELECT PartNo FROM Parts WHERE PartNo IN ('1', 'x', 'y') ORDER BY 1", {"1", "x"}},
        {"SELECT Name FROM Names WHERE Name = NULL", {}},
    };
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(lines(c.sql), c.rows) << c.sql;
}

TEST_F(SqlJoins, ReadersWarningsReachTheSink) {
    db.readWarning = "2 of 3 records read";
    Result r;
    runSqlOverDatabase(db, "SELECT * FROM Stock", r);
    EXPECT_EQ(r.warnings, std::vector<std::string>{"2 of 3 records read"});
    EXPECT_EQ(r.fields.at(0).name, "PartId");
}

}  // namespace
}  // namespace rq
