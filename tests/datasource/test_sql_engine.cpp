// The SQL engine over a small in-memory database, with statements as the
// Visual SQL wizard builds them and as users type them.
#include <gtest/gtest.h>

#include "sql_test_support.h"

namespace rq {
namespace {

using Rows = std::vector<std::vector<std::string>>;
using Col = std::vector<std::string>;

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
    MemoryDatabase db;
};

TEST_F(SqlEngine, WizardStatements) {
    // As the wizard writes them: bracketed names, table.field lists, grouped criteria.
    Result r =
        run("Select [Order Lines].Item,[Order Lines].Qty From [Order Lines] Where ([Order "
            "Lines].Qty > 5 ) "
            "And ([Order Lines].Item = 'Bolt' Or [Order Lines].Item = 'Nut' ) ");
    EXPECT_EQ(r.rows, (Rows{{"Nut", "10"}}));
    EXPECT_EQ(r.fields[0].name, "Item");
    EXPECT_EQ(r.fields[0].type, kText);
    EXPECT_EQ(r.fields[1].type, kInteger);

    EXPECT_EQ(run("Select [Order Lines].* From [Order Lines]").fields.size(), 7u);
    Result two =
        run("Select Customers.Name,[Order Lines].Item From [Order Lines],Customers "
            "Where ([Order Lines].CustId = Customers.CustId ) And (Customers.City = 'Leeds' )");
    EXPECT_EQ(two.rows.size(), 3u);

    // No table at all: the engine's own error.
    EXPECT_THROW(run("Select * From "), DatabaseError);
}

TEST_F(SqlEngine, NumbersCompareAsNumbersAndKeepTheirTypes) {
    // As text "100" < "9"; as numbers it is the largest.
    EXPECT_EQ(run("SELECT Item FROM [Order Lines] WHERE Qty > 9 ORDER BY Qty").column(0),
              (Col{"Nut", "Screw 10mm", "bolt"}));
    Result r = run("SELECT Price, Paid, Shipped FROM [Order Lines] WHERE Id = 1");
    EXPECT_EQ(r.rows, (Rows{{"0.25", "true", "2024-01-15"}}));
    EXPECT_EQ(r.fields[0].type, kCurrency);
    EXPECT_EQ(r.fields[1].type, kBoolean);
    EXPECT_EQ(r.fields[2].type, kDateTime);
    // Computed columns take their type from the values.
    Result c =
        run("SELECT 2.5 AS a, 7 AS b, 'x' AS c, NULL AS d, Price * 2 AS e FROM [Order Lines] "
            "WHERE Id = 3");
    EXPECT_EQ(c.rows, (Rows{{"2.5", "7", "x", "", ""}}));
    EXPECT_EQ(c.fields[0].type, kDouble);
    EXPECT_EQ(c.fields[1].type, kLong);
    EXPECT_EQ(c.fields[2].type, kText);
    // Sums of currency show no binary noise.
    EXPECT_EQ(run("SELECT Sum(Price) FROM [Order Lines] WHERE Id IN (2, 4)").rows[0][0], "0.3");
    EXPECT_EQ(run("SELECT Sum(Price) FROM [Order Lines]").rows[0][0], "1996.05");
}

TEST_F(SqlEngine, LikeWildcards) {
    auto items = [&](const std::string& pattern) {
        return run("SELECT Item FROM [Order Lines] WHERE Item Like '" + pattern + "' ORDER BY Id")
            .column(0);
    };
    EXPECT_EQ(items("b*"), (Col{"Bolt", "bolt"}));  // letters match either case
    EXPECT_EQ(items("*##mm"), (Col{"Screw 10mm"}));
    EXPECT_EQ(items("[!A-M]*"), (Col{"Nut", "Washer", "Screw 10mm"}));
    EXPECT_EQ(items("%"), (Col{}));  // % is an ordinary character
    EXPECT_EQ(run("SELECT Item FROM [Order Lines] WHERE Item NOT LIKE '*o*' ORDER BY Id").column(0),
              (Col{"Nut", "Washer", "Screw 10mm"}));
}

TEST_F(SqlEngine, ClassicLiteralsAndOperators) {
    EXPECT_EQ(run("SELECT Id FROM [Order Lines] WHERE Shipped Between #1/1/2024# And #1/31/2024# "
                  "ORDER BY Id")
                  .column(0),
              (Col{"1", "5"}));
    EXPECT_EQ(run("SELECT Id FROM [Order Lines] WHERE Shipped < #2024-01-01#").column(0),
              (Col{"4"}));
    EXPECT_EQ(run("SELECT Id FROM [Order Lines] WHERE Paid = No ORDER BY Id").column(0),
              (Col{"2", "4"}));
    EXPECT_EQ(run("SELECT Item & '-' & Qty FROM [Order Lines] WHERE Id = 1").rows[0][0], "Bolt-5");
    EXPECT_EQ(
        run("SELECT \"He said \"\"hi\"\"\" AS q, 7 Mod 3 AS m FROM Customers WHERE CustId = 1")
            .rows[0],
        (std::vector<std::string>{"He said \"hi\"", "1"}));
    EXPECT_EQ(run("SELECT Name FROM Customers WHERE Name = 'O''Brien'").rows.size(), 1u);
    // Brackets and strings protect what looks like syntax.
    EXPECT_EQ(run("SELECT 'a & b, #1/1/95#, True' FROM Customers WHERE CustId = 1").rows[0][0],
              "a & b, #1/1/95#, True");
}

TEST_F(SqlEngine, DistinctRowAndTop) {
    EXPECT_EQ(run("SELECT TOP 2 Item FROM [Order Lines] ORDER BY Qty DESC").column(0),
              (Col{"bolt", "Screw 10mm"}));
    EXPECT_EQ(run("SELECT DISTINCTROW TOP 1 Item FROM [Order Lines] ORDER BY Id;").column(0),
              (Col{"Bolt"}));
    EXPECT_EQ(
        run("SELECT Item FROM [Order Lines] WHERE Qty IN (SELECT TOP 1 Qty FROM [Order Lines] "
            "ORDER BY Qty)")
            .column(0),
        (Col{"Bolt"}));
    EXPECT_THROW(run("SELECT TOP 10 PERCENT Item FROM [Order Lines]"), DatabaseError);
}

TEST_F(SqlEngine, Functions) {
    Result r =
        run("SELECT UCase(Item), LCase(Item), Left(Item, 3), Right(Item, 4), Mid(Item, 2, 3), "
            "Len(Item), "
            "Trim('  x  '), IIf(Qty > 10, 'big', 'small'), Nz(Price, 0), Year(Shipped), "
            "Month(Shipped), "
            "Day(Shipped) FROM [Order Lines] WHERE Id = 5");
    EXPECT_EQ(r.rows[0], (std::vector<std::string>{"SCREW 10MM", "screw 10mm", "Scr", "10mm", "cre",
                                                   "10", "x", "big", "1995.5", "2024", "1", "31"}));
    EXPECT_EQ(
        run("SELECT Nz(Price, 0), Nz(Shipped, 'none') FROM [Order Lines] WHERE Id = 3").rows[0],
        (std::vector<std::string>{"0", "none"}));
    Result now = run("SELECT Now(), Date() FROM Customers WHERE CustId = 1");
    EXPECT_EQ(now.rows[0][0].substr(0, 10), now.rows[0][1]);
    EXPECT_EQ(run("SELECT UCase('ärger'), Left('Мир', 2) FROM Customers WHERE CustId = 1").rows[0],
              (std::vector<std::string>{"ÄRGER", "Ми"}));
}

TEST_F(SqlEngine, JoinsGroupingHavingAndOrder) {
    Result r =
        run("SELECT c.City, Count(*) AS N, Sum(o.Qty) AS Total FROM Customers AS c INNER JOIN "
            "[Order Lines] AS o ON c.CustId = o.CustId GROUP BY c.City HAVING Sum(o.Qty) > 10 "
            "ORDER BY c.City");
    EXPECT_EQ(r.rows, (Rows{{"Leeds", "3", "114"}}));
    Result left =
        run("SELECT Customers.Name, [Order Lines].Id FROM Customers LEFT JOIN [Order Lines] "
            "ON Customers.CustId = [Order Lines].CustId ORDER BY Customers.Name, [Order Lines].Id");
    EXPECT_EQ(left.rows.size(), 4u);
    EXPECT_EQ(left.rows[0], (std::vector<std::string>{"Anna", "1"}));
}

TEST_F(SqlEngine, StoredQueriesActAsTables) {
    db.queries["Leeds People"] = "SELECT Name, CustId FROM Customers WHERE City = \"Leeds\"";
    db.queries["Leeds Orders"] =
        "SELECT [Leeds People].Name, [Order Lines].Item FROM [Leeds People] INNER JOIN [Order "
        "Lines] "
        "ON [Leeds People].CustId = [Order Lines].CustId";
    Result r = run("SELECT Name, Item FROM [Leeds Orders] ORDER BY Item");
    EXPECT_EQ(r.rows, (Rows{{"Anna", "Bolt"}, {"Anna", "Washer"}, {"Chen", "bolt"}}));
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
    try {
        run("Enter SQL Statement here.");
        FAIL();
    } catch (const DatabaseError& e) {
        EXPECT_NE(std::string(e.what()).find("syntax error"), std::string::npos) << e.what();
    }
    try {
        run("SELECT Nope FROM Customers");
        FAIL();
    } catch (const DatabaseError& e) {
        EXPECT_NE(std::string(e.what()).find("Nope"), std::string::npos) << e.what();
    }
    EXPECT_THROW(run(""), DatabaseError);
    EXPECT_THROW(run("TRANSFORM Sum(Qty) SELECT Item FROM [Order Lines] GROUP BY Item PIVOT Paid"),
                 DatabaseError);
}

}  // namespace
}  // namespace rq
