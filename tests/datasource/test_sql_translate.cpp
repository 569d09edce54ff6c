#include <gtest/gtest.h>

#include <algorithm>

#include "datasource/access/jetformat.h"
#include "datasource/access/storedquery.h"
#include "datasource/sql/translate.h"

namespace rq {
namespace {

TEST(SqlTranslate, DateLiterals) {
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"1/31/95", "1995-01-31"}, {"12/31/29", "2029-12-31"}, {"2/29/2023", ""},
        {"13/1/2024", ""}, {"1/15/2024 1:45 PM", "2024-01-15T13:45:00"},
        {"2024-01-15 00:00:00", "2024-01-15"}, {"12:00 AM", "00:00:00"},
        {"0100-01-01", "0100-01-01"}, {"abc", ""}, {"1/2", ""}};
    // clang-format on
    for (auto [typed, iso] : cases) EXPECT_EQ(sql::dateLiteral(typed), iso) << typed;
}

TEST(SqlTranslate, LikeMatching) {
    EXPECT_TRUE(sql::likeMatch("a*b", "a[*]b"));
    EXPECT_FALSE(sql::likeMatch("axb", "a[*]b"));
    EXPECT_TRUE(sql::likeMatch("Ärger", "ä*"));
    EXPECT_TRUE(sql::likeMatch("[", "["));  // an unclosed bracket is literal
    EXPECT_TRUE(sql::likeMatch("Мир", "м??"));
    // Many stars against a long mismatch finish quickly (no exponential backtracking).
    EXPECT_FALSE(sql::likeMatch(std::string(5000, 'a'), "*a*a*a*a*a*a*a*a*b"));
}

TEST(SqlTranslate, RewritesOnlyOutsideLiterals) {
    sql::Translation t = sql::translateStatement(
        "SELECT DISTINCTROW TOP 3 [a&b].x & \"q'q\" FROM [Order Lines] WHERE d = #1/2/2003# AND s "
        "= "
        "'True & Yes' AND f = False ORDER BY 1;");
    EXPECT_EQ(t.sql,
              "SELECT   [a&b].x || 'q''q' FROM [Order Lines] WHERE d = '2003-01-02' AND s = "
              "'True & Yes' AND f = 0 ORDER BY 1 LIMIT 3;");
    EXPECT_NE(std::find(t.names.begin(), t.names.end(), "order lines"), t.names.end());
    EXPECT_NE(std::find(t.names.begin(), t.names.end(), "a&b"), t.names.end());
    // A column called Left or Date is left alone unless it is called as a function.
    EXPECT_EQ(sql::translateStatement("SELECT t.Left, Date, Left(x, 1), Date() FROM t").sql,
              "SELECT t.Left, Date, rq_left(x, 1), rq_today() FROM t");
}

TEST(StoredQuery, SelectWithNestedJoinsAndOptions) {
    using jet::QueryRow;
    std::vector<QueryRow> rows = {
        {1, "", "", "", 1, true},
        {3, "5", "", "", 2 | 16, true},
        {5, "Orders", "", "", 0, false},
        {5, "Order Details", "OD", "", 0, false},
        {5, "Customers", "", "", 0, false},
        {6, "", "", "Orders.OrderID", 0, true},
        {6, "Total", "", "Sum(OD.Qty)", 0, true},
        {6, "", "", "Count(*)", 0, true},
        {7, "Orders", "OD", "Orders.OrderID = OD.OrderID", 1, true},
        {7, "Customers", "Orders", "Customers.Id = Orders.CustId", 2, true},
        {8, "", "", "Orders.Year = 1995", 0, false},
        {9, "", "", "Orders.OrderID", 0, true},
        {10, "", "", "Sum(OD.Qty) > 1", 0, false},
        {11, "D", "", "Sum(OD.Qty)", 0, false},
        {11, "", "", "Orders.OrderID", 0, false},
    };
    EXPECT_EQ(
        jet::rebuildQuerySql(rows, 0),
        "SELECT DISTINCT TOP 5 Orders.OrderID, Sum(OD.Qty) AS [Total], Count(*) AS [Expr1000] "
        "FROM [Customers] LEFT JOIN ([Orders] INNER JOIN [Order Details] AS [OD] ON "
        "Orders.OrderID = OD.OrderID) ON Customers.Id = Orders.CustId WHERE Orders.Year = 1995 "
        "GROUP BY Orders.OrderID HAVING Sum(OD.Qty) > 1 ORDER BY Sum(OD.Qty) DESC, Orders.OrderID");
}

TEST(StoredQuery, UnionStarAndActionQueries) {
    using jet::QueryRow;
    std::vector<QueryRow> u = {{1, "", "", "", 9, true},
                               {3, "", "", "", 3, true},
                               {5, "", "X7YZ_____1", "SELECT a FROM t\r\n", 0, false},
                               {5, "", "X7YZ_____2", "SELECT b FROM s;", 0, false},
                               {11, "", "", "a", 0, false}};
    EXPECT_EQ(jet::rebuildQuerySql(u, 0), "SELECT a FROM t UNION SELECT b FROM s ORDER BY a");
    u[1].flag = 1;
    EXPECT_EQ(jet::rebuildQuerySql(u, 0), "SELECT a FROM t UNION ALL SELECT b FROM s ORDER BY a");
    // No type row: the object flags decide (ACE files); select-star flag without columns.
    std::vector<QueryRow> star = {{3, "", "", "", 9, true}, {5, "Asset Items", "", "", 0, false}};
    EXPECT_EQ(jet::rebuildQuerySql(star, 0), "SELECT DISTINCTROW * FROM [Asset Items]");
    EXPECT_EQ(jet::rebuildQuerySql(star, 48), "");  // an update query
    EXPECT_EQ(jet::queryKindFromObjectFlags(128), jet::QueryKind::Union);
}

TEST(JetFormat, DecimalAndGuidValues) {
    std::string v(17, '\0');
    v[13] = 0x39;
    v[14] = 0x30;  // 12345 = 0x3039: the least significant word is the fourth
    EXPECT_EQ(jet::decimalValue(v, 2), "123.45");
    v[0] = '\x80';
    EXPECT_EQ(jet::decimalValue(v, 0), "-12345");
    std::string high(17, '\0');
    high[1] = 1;  // 2^96
    EXPECT_EQ(jet::decimalValue(high, 0), "79228162514264337593543950336");
    std::string g("\x33\x22\x11\x00\x55\x44\x77\x66\x88\x99\xAA\xBB\xCC\xDD\xEE\xFF", 16);
    EXPECT_EQ(jet::guidValue(g), "{00112233-4455-6677-8899-AABBCCDDEEFF}");
}

}  // namespace
}  // namespace rq
