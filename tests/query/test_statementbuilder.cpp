// Statement building for the Visual SQL wizard: words, names, operators,
// criteria grouping and the whole statement, for both kinds of source.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "datasource/database.h"
#include "datasource/odbc/odbcsource.h"
#include "query/statementbuilder.h"

namespace rq {
namespace {

TEST(NextWord, SplitsTrimsAndKeepsQuotedStretchesWhole) {
    struct Case {
        std::string text;
        char delimiter;
        std::string word;
        std::string rest;
    };
    const std::vector<Case> cases = {
        {"alpha beta", ' ', "alpha", "beta"},
        {"  padded  ", ',', "padded", ""},
        {" a , b", ',', "a", " b"},
        {"\"Leeds Road\" rest", ' ', "Leeds Road", "rest"},
        {"x \"a b\" y", ' ', "x", "\"a b\" y"},  // the delimiter comes first
        {"\"open only", ' ', "open only", ""},   // no closing quote: runs to the end
        {"\"half\"tail x", ' ', "half\"tail", "x"},
        {" lead", ' ', "", "lead"},
    };
    for (const Case& c : cases) {
        std::string rest = c.text;
        EXPECT_EQ(nextWord(rest, c.delimiter), c.word) << c.text;
        EXPECT_EQ(rest, c.rest) << c.text;
    }
}

TEST(NamesAndOperators, BracketSplitAndLookup) {
    const std::vector<std::pair<std::string, std::string>> brackets = {
        {"Order Lines", "[Order Lines]"},
        {"Orders", "Orders"},
        {"[Order Lines]", "[Order Lines]"},
        {" lead", "[ lead]"},
        {"", ""},
    };
    for (const auto& [name, bracketed] : brackets) EXPECT_EQ(bracketName(name), bracketed);

    struct Split {
        std::string item, table, field;
    };
    const std::vector<Split> splits = {
        {"Customers.City", "Customers", "City"},
        {"[Order Lines].[Unit Price]", "[Order Lines]", "[Unit Price]"},
        {"a.b.c.d", "b", "c.d"},
        {"NoDot", "NoDot", ""},
    };
    for (const Split& s : splits) {
        EXPECT_EQ(splitQualified(s.item, false), s.table) << s.item;
        EXPECT_EQ(splitQualified(s.item, true), s.field) << s.item;
    }

    // Every phrase offered maps to an operator; the lookup is exact.
    for (const std::string& phrase : operatorPhrases()) EXPECT_FALSE(operatorSql(phrase).empty());
    EXPECT_EQ(operatorSql("is like"), "");
}

TEST(QuotedTypes, FileDatabaseAndOdbcCodes) {
    // Text and dates are quoted, numbers are not; the codes of one kind mean
    // nothing to the other.
    using K = QuerySourceKind;
    const std::tuple<K, int, bool> cases[] = {
        {K::FileDatabase, kText, true},  {K::FileDatabase, kDateTime, true},
        {K::FileDatabase, kLong, false}, {K::FileDatabase, kAdoVarChar, false},
        {K::FileDatabase, kMemo, true},  {K::Odbc, kAdoLongVarChar, true},
        {K::Odbc, kAdoVarChar, true},    {K::Odbc, kAdoDBTimeStamp, true},
        {K::Odbc, kAdoInteger, false},   {K::Odbc, kText, false},
    };
    for (const auto& [kind, type, quoted] : cases)
        EXPECT_EQ(isQuotedFieldType(kind, type), quoted) << type;
}

// Three clicks: And, And, Or.
std::string threeCriteria() {
    std::string c;
    c = appendCriterion(c, false, "[Order Lines].Qty", "is greater than", "5", false);
    c = appendCriterion(c, false, "[Order Lines].Item", "equals", "Bolt", true);
    return appendCriterion(c, true, "Customers.City", "equals", "Leeds", true);
}

// The lines the And and Or buttons make are window tests.
TEST(Criteria, AppendingLines) {
    // The first criterion takes no joining word, whichever button is used.
    EXPECT_EQ(appendCriterion("", true, "T.F", "equals", "1", false), "T.F = 1");
    // Values go in as typed; an unknown operator leaves an empty operator.
    EXPECT_EQ(appendCriterion("", false, "T.Name", "equals", "O'Brien", true),
              "T.Name = 'O'Brien'");
    EXPECT_EQ(appendCriterion("", false, "T.F", "resembles", "x", false), "T.F  x");
}

TEST(Criteria, WhereGroupsAndWords) {
    struct Case {
        std::string criteria, where;
    };
    const std::vector<Case> cases = {
        {"", ""},
        {threeCriteria(),
         " Where ([Order Lines].Qty > 5 ) And ([Order Lines].Item = 'Bolt' Or Customers.City = "
         "'Leeds' )"},
        {"   T.A = 1   ", " Where (T.A = 1 )"},
        // Lower-case "and" typed by hand still opens a group.
        {"T.A = 1 and T.B = 2", " Where (T.A = 1 ) and (T.B = 2 )"},
        // A double-quoted phrase stays one word and loses its quotes.
        {"T.City = \"New York\"", " Where (T.City = New York )"},
        // IN gets a blank in front of it; Or and Like do not.
        {"T.A IN (1,2)", " Where (T.A  IN (1,2) )"},
        {"T.A Like 'x%' or T.B = 1", " Where (T.A Like 'x%' or T.B = 1 )"},
        // Lines end in CR LF; the CR is the blank between them, a lone LF is dropped.
        {"T.A = 1\r\nAnd T.B = 2", " Where (T.A = 1 ) And (T.B = 2 )"},
        {"T.A = 1\nAnd T.B = 2", " Where (T.A = 1And T.B = 2 )"},
    };
    for (const Case& c : cases) EXPECT_EQ(whereClause(c.criteria), c.where) << c.criteria;
}

TEST(Statement, FieldAndTableLists) {
    struct Case {
        const char* what;
        QueryChoices choices;
        std::string statement;
    };
    const std::vector<std::string> items = {"[Order Lines].Qty", "[Order Lines].Item",
                                            "Customers.City"};
    const std::vector<Case> cases = {
        {"nothing listed", {{}, {}, {"Customers"}, ""}, ""},
        {"no field, no table", {items, {}, {}, ""}, "Select * From "},
        {"tables only",
         {items, {}, {"Order Lines", "Customers"}, ""},
         "Select [Order Lines].*,Customers.* From [Order Lines],Customers"},
        {"fields win over tables",
         {items, {"[Order Lines].Item", "Customers.City"}, {"Order Lines", "Customers"}, ""},
         "Select [Order Lines].Item,Customers.City From [Order Lines],Customers"},
        {"bracketed name stays",
         {{"[Orders].ID"}, {}, {"[Orders]"}, ""},
         "Select [Orders].* From [Orders]"},
        {"with criteria",
         {items, {"Customers.City"}, {"Customers"}, "Customers.City = 'Leeds'"},
         "Select Customers.City From Customers Where (Customers.City = 'Leeds' )"},
    };
    for (const Case& c : cases) EXPECT_EQ(buildStatement(c.choices), c.statement) << c.what;
}

}  // namespace
}  // namespace rq
