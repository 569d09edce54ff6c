// The SQL engine over a small in-memory database, with statements as the
// Visual SQL wizard builds them and as users type them.

#include "reader_test_support.h"
#include "sql_test_support.h"

namespace rq {
namespace {

using Lines = std::vector<std::string>;

class SqlEngine : public ::testing::Test {
  protected:
    void SetUp() override {
        db.tables.push_back({"Order Lines",
                             {{{"Id", kLong},
                               {"Item", kText},
                               {"Qty", kInteger},
                               {"Price", kCurrency},
                               {"Shipped", kDateTime},
                               {"Paid", kBoolean},
                               {"CustId", kLong}},
                              {{"1", "Bolt", "5", "0.25", "2024-01-15", "true", "1"},
                               {"2", "Nut", "10", "0.1", "2024-02-01T08:30:00", "false", "2"},
                               {"3", "Washer", "9", "", "", "true", "1"},
                               {"4", "bolt", "100", "0.2", "2023-12-31", "false", "3"},
                               {"5", "Screw 10mm", "40", "1995.5", "2024-01-31", "true", ""}}}});
        db.tables.push_back(
            {"Customers",
             {{{"CustId", kLong}, {"Name", kText}, {"City", kText}},
              {{"1", "Anna", "Leeds"}, {"2", "O'Brien", "York"}, {"3", "Chen", "Leeds"}}}});
    }
    Result run(const std::string& sql) {
        Result r;
        runSqlOverDatabase(db, sql, r);
        return r;
    }
    // Every row of the result as "a|b|c".
    Lines lines(const std::string& sql) { return rq::testing::joinedRows(run(sql).rows); }
    std::vector<int> types(const std::string& sql) {
        std::vector<int> out;
        for (const auto& f : run(sql).fields) out.push_back(f.type);
        return out;
    }
    MemoryDatabase db;
};

TEST_F(SqlEngine, StatementsGiveTheirRows) {
    // clang-format off
    const struct { const char* sql; Lines rows; } cases[] = {
        // As the wizard writes them: bracketed names, table.field lists, grouped criteria.
        {"Select [Order Lines].Item,[Order Lines].Qty From [Order Lines] Where ([Order Lines].Qty > 5 ) "
         "And ([Order Lines].Item = 'Bolt' Or [Order Lines].Item = 'Nut' ) ", {"Nut|10"}},
        {"Select Customers.Name,[Order Lines].Item From [Order Lines],Customers Where ([Order "
         "Lines].CustId = Customers.CustId ) And (Customers.City = 'Leeds' ) ORDER BY 2",
         {"Anna|Bolt", "Anna|Washer", "Chen|bolt"}},
        // Numbers compare as numbers: as text "100" < "9".
        {"SELECT Item FROM [Order Lines] WHERE Qty > 9 ORDER BY Qty", {"Nut", "Screw 10mm", "bolt"}},
        {"SELECT Price, Paid, Shipped FROM [Order Lines] WHERE Id = 1", {"0.25|true|2024-01-15"}},
        {"SELECT 2.5 AS a, 7 AS b, 'x' AS c, NULL AS d, Price * 2 AS e FROM [Order Lines] WHERE Id = 3",
         {"2.5|7|x||"}},
        // Sums of currency show no binary noise.
        {"SELECT Sum(Price) FROM [Order Lines] WHERE Id IN (2, 4)", {"0.3"}},
        {"SELECT Sum(Price) FROM [Order Lines]", {"1996.05"}},
        // Like: letters match either case, % is an ordinary character.
        {"SELECT Item FROM [Order Lines] WHERE Item Like 'b*' ORDER BY Id", {"Bolt", "bolt"}},
        {"SELECT Item FROM [Order Lines] WHERE Item Like '*##mm'", {"Screw 10mm"}},
        {"SELECT Item FROM [Order Lines] WHERE Item Like '[!A-M]*' ORDER BY Id",
         {"Nut", "Washer", "Screw 10mm"}},
        {"SELECT Item FROM [Order Lines] WHERE Item Like '%'", {}},
        {"SELECT Item FROM [Order Lines] WHERE Item NOT LIKE '*o*' ORDER BY Id",
         {"Nut", "Washer", "Screw 10mm"}},
        // Classic literals and operators (their rewriting is a translation test).
        {"SELECT Id FROM [Order Lines] WHERE Shipped Between #1/1/2024# And #1/31/2024# ORDER BY Id",
         {"1", "5"}},
        {"SELECT Id FROM [Order Lines] WHERE Paid = No ORDER BY Id", {"2", "4"}},
        {"SELECT \"He said \"\"hi\"\"\" AS q, 7 Mod 3 AS m FROM Customers WHERE CustId = 1",
         {"He said \"hi\"|1"}},
        {"SELECT Name FROM Customers WHERE Name = 'O''Brien'", {"O'Brien"}},
        // TOP, also in a subquery.
        {"SELECT TOP 2 Item FROM [Order Lines] ORDER BY Qty DESC", {"bolt", "Screw 10mm"}},
        {"SELECT Item FROM [Order Lines] WHERE Qty IN (SELECT TOP 1 Qty FROM [Order Lines] ORDER BY Qty)",
         {"Bolt"}},
        // Functions.
        {"SELECT UCase(Item), LCase(Item), Left(Item, 3), Right(Item, 4), Mid(Item, 2, 3), Len(Item), "
         "Trim('  x  '), IIf(Qty > 10, 'big', 'small'), Nz(Price, 0), Year(Shipped), Month(Shipped), "
         "Day(Shipped) FROM [Order Lines] WHERE Id = 5",
         {"SCREW 10MM|screw 10mm|Scr|10mm|cre|10|x|big|1995.5|2024|1|31"}},
        {"SELECT Nz(Price, 0), Nz(Shipped, 'none') FROM [Order Lines] WHERE Id = 3", {"0|none"}},
        {"SELECT UCase('ärger'), Left('Мир', 2) FROM Customers WHERE CustId = 1", {"ÄRGER|Ми"}},
        // Joins, grouping, having and order.
        {"SELECT c.City, Count(*) AS N, Sum(o.Qty) AS Total FROM Customers AS c INNER JOIN [Order Lines] "
         "AS o ON c.CustId = o.CustId GROUP BY c.City HAVING Sum(o.Qty) > 10 ORDER BY c.City",
         {"Leeds|3|114"}},
        {"SELECT Customers.Name, [Order Lines].Id FROM Customers LEFT JOIN [Order Lines] ON "
         "Customers.CustId = [Order Lines].CustId ORDER BY Customers.Name, [Order Lines].Id",
         {"Anna|1", "Anna|3", "Chen|4", "O'Brien|2"}},
    };
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(lines(c.sql), c.rows) << c.sql;
    const Result now = run("SELECT Now(), Date() FROM Customers WHERE CustId = 1");
    EXPECT_EQ(now.rows[0][0].substr(0, 10), now.rows[0][1]);
}

TEST_F(SqlEngine, ColumnsKeepTheirTypesAndComputedOnesTakeThemFromTheValues) {
    EXPECT_EQ(run("Select [Order Lines].Item,[Order Lines].Qty From [Order Lines]").fields[0].name,
              "Item");
    EXPECT_EQ(types("SELECT Item, Qty, Price, Paid, Shipped FROM [Order Lines]"),
              (std::vector<int>{kText, kInteger, kCurrency, kBoolean, kDateTime}));
    EXPECT_EQ(types("SELECT 2.5 AS a, 7 AS b, 'x' AS c FROM Customers"),
              (std::vector<int>{kDouble, kLong, kText}));
    EXPECT_EQ(run("Select [Order Lines].* From [Order Lines]").fields.size(), 7u);
}

TEST_F(SqlEngine, StoredQueriesActAsTables) {
    db.queries["Leeds People"] = "SELECT Name, CustId FROM Customers WHERE City = \"Leeds\"";
    db.queries["Leeds Orders"] =
        "SELECT [Leeds People].Name, [Order Lines].Item FROM [Leeds People] INNER JOIN "
        "[Order Lines] ON [Leeds People].CustId = [Order Lines].CustId";
    EXPECT_EQ(lines("SELECT Name, Item FROM [Leeds Orders] ORDER BY Item"),
              (Lines{"Anna|Bolt", "Anna|Washer", "Chen|bolt"}));
    // Reading a stored query by name runs it the same way.
    Result direct;
    db.read("Leeds People", direct);
    EXPECT_EQ(direct.rows.size(), 2u);
    // A query that refers to itself is an error, not a hang.
    db.queries["Loop"] = "SELECT * FROM [Loop]";
    EXPECT_THROW(run("SELECT * FROM Loop"), DatabaseError);
}

TEST_F(SqlEngine, OnlyTheTablesNamedAreCopied) {
    run("select name from CUSTOMERS");  // names match whatever their case
    EXPECT_EQ(db.reads, 1);
}

TEST_F(SqlEngine, ErrorsCarryTheEngineMessage) {
    const std::pair<const char*, const char*> cases[] = {
        {"Enter SQL Statement here.", "syntax error"},
        {"SELECT Nope FROM Customers", "Nope"},
        {"", ""},
        {"Select * From ", ""},  // no table at all
        {"SELECT TOP 10 PERCENT Item FROM [Order Lines]", ""},
        {"TRANSFORM Sum(Qty) SELECT Item FROM [Order Lines] GROUP BY Item PIVOT Paid", ""},
    };
    for (const auto& [sql, part] : cases) {
        const std::string error = rq::testing::errorOf([&] { run(sql); });
        EXPECT_NE(error, "no error") << sql;
        EXPECT_TRUE(rq::testing::contains(error, part)) << sql << " -> " << error;
    }
}

}  // namespace
}  // namespace rq
