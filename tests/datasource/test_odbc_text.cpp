// The driver-independent text helpers of the ODBC source.
#include <gtest/gtest.h>

#include "datasource/odbc/odbcsource.h"

using namespace rq;

TEST(OdbcText, BracketsBecomeTheDriversQuotesOutsideLiterals) {
    EXPECT_EQ(translateBrackets("Select * from [Order Lines]", "\""),
              "Select * from \"Order Lines\"");
    EXPECT_EQ(
        translateBrackets("Select [a].[b c] From [a] Where [b c] = '[x]' Or x = 'it''s [y]'", "`"),
        "Select `a`.`b c` From `a` Where `b c` = '[x]' Or x = 'it''s [y]'");
    // Quoted identifiers and comments are left as they are.
    EXPECT_EQ(translateBrackets("select \"[q]\" -- [c]\n, [d] /* [e] */", "\""),
              "select \"[q]\" -- [c]\n, \"d\" /* [e] */");
    // The quote character inside a name is doubled.
    EXPECT_EQ(translateBrackets("select * from [say \"hi\"]", "\""),
              "select * from \"say \"\"hi\"\"\"");
    // A name holding "]" is not escaped: the bracket ends at the first "]".
    EXPECT_EQ(translateBrackets("select * from [a]b]", "\""), "select * from \"a\"b]");
    // Unclosed brackets and literals keep the rest as written.
    EXPECT_EQ(translateBrackets("select [a from t", "\""), "select [a from t");
    EXPECT_EQ(translateBrackets("select 'open [a]", "\""), "select 'open [a]");
    // Drivers that take brackets themselves, or have no quoting, get the text unchanged.
    EXPECT_EQ(translateBrackets("select [a b]", "["), "select [a b]");
    EXPECT_EQ(translateBrackets("select [a b]", ""), "select [a b]");
    EXPECT_EQ(translateBrackets("select [a b]", " "), "select [a b]");
}

TEST(OdbcText, ConnectionStringAttributes) {
    std::string cs = "DRIVER={PostgreSQL Unicode};SERVER=db; port = 5432 ;PWD={a;b}}c};Database=x";
    EXPECT_EQ(connectionAttribute(cs, "driver"), "PostgreSQL Unicode");
    EXPECT_EQ(connectionAttribute(cs, "Port"), "5432");
    EXPECT_EQ(connectionAttribute(cs, "pwd"), "a;b}c");
    EXPECT_EQ(connectionAttribute(cs, "database"), "x");
    EXPECT_EQ(connectionAttribute(cs, "uid"), "");
    EXPECT_EQ(connectionAttribute("junk;;=;Driver=SQLite3", "Driver"), "SQLite3");

    EXPECT_EQ(connectionStringForDataSource("My Source"), "DSN=My Source;");
    EXPECT_EQ(connectionStringForDataSource("a;b"), "DSN={a;b};");
    EXPECT_EQ(connectionAttribute(connectionStringForDriver("Odd}Driver"), "DRIVER"), "Odd}Driver");
}

TEST(OdbcText, ReconnectionKeepsTheWayTheDriverWasNamed) {
    // A complete report is kept as it is.
    EXPECT_EQ(reconnectionString("DSN=a", "DSN=a;UID=me;"), "DSN=a;UID=me;");
    EXPECT_EQ(reconnectionString("Driver=X;Database=f", "DRIVER=X;DATABASE=f;PWD=;"),
              "DRIVER=X;DATABASE=f;PWD=;");
    // A report with an empty DSN and no driver gets the original's driver back.
    std::string r =
        reconnectionString("Driver={SQLite3};Database=/x/y.db;", "DSN=;Database=/x/y.db;Timeout=;");
    EXPECT_EQ(connectionAttribute(r, "Driver"), "SQLite3");
    EXPECT_EQ(connectionAttribute(r, "Database"), "/x/y.db");
    EXPECT_EQ(r.find("DSN="), std::string::npos);
    // Nothing reported: the original is used.
    EXPECT_EQ(reconnectionString("DSN=a;", ""), "DSN=a;");
}

TEST(OdbcText, CancellingIsAnOpeningError) {
    std::string text = odbcCancelledMessage();
    EXPECT_EQ(text.rfind("Error Opening DataSource: ", 0), 0u);
    EXPECT_GT(text.size(), std::string("Error Opening DataSource: ").size());
}
