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
    // Unclosed literals keep the rest as written; drivers without quoting get the text unchanged.
    EXPECT_EQ(translateBrackets("select 'open [a]", "\""), "select 'open [a]");
    EXPECT_EQ(translateBrackets("select [a b]", " "), "select [a b]");
}

TEST(OdbcText, ConnectionStringAttributes) {
    std::string cs = "DRIVER={PostgreSQL Unicode};SERVER=db; port = 5432 ;PWD={a;b}}c};Database=x";
    EXPECT_EQ(connectionAttribute(cs, "driver"), "PostgreSQL Unicode");
    EXPECT_EQ(connectionAttribute(cs, "Port"), "5432");
    EXPECT_EQ(connectionAttribute(cs, "pwd"), "a;b}c");
    EXPECT_EQ(connectionAttribute("junk;;=;Driver=SQLite3", "Driver"), "SQLite3");

    EXPECT_EQ(connectionStringForDataSource("My Source"), "DSN=My Source;");
    EXPECT_EQ(connectionStringForDataSource("a;b"), "DSN={a;b};");
    EXPECT_EQ(connectionAttribute(connectionStringForDriver("Odd}Driver"), "DRIVER"), "Odd}Driver");
}

TEST(OdbcText, ReconnectionKeepsTheWayTheDriverWasNamed) {
    // A complete report is kept as it is.
    EXPECT_EQ(reconnectionString("DSN=a", "DSN=a;UID=me;"), "DSN=a;UID=me;");
    // A report with an empty DSN and no driver gets the original's driver back.
    std::string r =
        reconnectionString("Driver={SQLite3};Database=/x/y.db;", "DSN=;Database=/x/y.db;Timeout=;");
    EXPECT_EQ(connectionAttribute(r, "Driver"), "SQLite3");
    EXPECT_EQ(connectionAttribute(r, "Database"), "/x/y.db");
    EXPECT_EQ(r.find("DSN="), std::string::npos);
    // Nothing reported: the original is used.
    EXPECT_EQ(reconnectionString("DSN=a;", ""), "DSN=a;");
}

TEST(OdbcText, OneStatementUnderEveryReadingOfTheText) {
    struct Case {
        const char* sql;
        bool one;
    };
    const Case cases[] = {
        {"Select * From t", true},
        {"Select * From t;", true},
        {"Select * From t ; \r\n\t ", true},
        {"Select ';' As a, \"b;c\", `d;e` From t", true},
        {"Select 'it''s; fine' From t", true},
        {"Select * From t; Delete From t Where id=2", false},
        {"Select 1;;", false},
        {"Select 1; -- a comment after the end", false},
        // A backslash ends the literal for some servers and escapes the quote for others.
        {"Select 'x\\'; Delete From t; Select ''", false},
        {"Select E'x\\''; Delete From t; --'", false},
        // A comment for one server is text for another ("--1" is minus minus one).
        {"Select 1--1; Delete From t\n", false},
        {"Select 1 /*! ; Delete From t */", false},
        // Brackets are a quoted name for some servers only.
        {"Select a[1] ; Delete From t", false},
        {"Select [f;g] From t", false},
        {"Select x [ ; Delete From t ; ]", false},
    };
    for (const auto& c : cases) EXPECT_EQ(holdsOneStatement(c.sql), c.one) << c.sql;
}

TEST(OdbcText, NamesCannotLeaveTheirQuotes) {
    EXPECT_EQ(quoteIdentifier("Order Lines", "\""), "\"Order Lines\"");
    EXPECT_EQ(quoteIdentifier("t]; Delete From t; Select * From [t", "\""),
              "\"t]; Delete From t; Select * From [t\"");
    EXPECT_EQ(quoteIdentifier("t\"; Delete From t; --", "\""), "\"t\"\"; Delete From t; --\"");
    EXPECT_EQ(quoteIdentifier("a`b", "`"), "`a``b`");
    // No quote of the driver's own, or brackets: "]" is doubled inside brackets.
    EXPECT_EQ(quoteIdentifier("t]; Delete From t; Select * From [t", ""),
              "[t]]; Delete From t; Select * From [t]");
    EXPECT_EQ(quoteIdentifier("a]b", "["), "[a]]b]");
    // Ordinary names read as the bracketed statement did.
    EXPECT_EQ("Select * from " + quoteIdentifier("Order Lines", "\""),
              translateBrackets("Select * from [Order Lines]", "\""));
    // Whatever the name, the statement stays one statement.
    EXPECT_TRUE(holdsOneStatement("Select * from " + quoteIdentifier("x\"; Drop Table t", "\"")));
}

TEST(OdbcText, ConnectionStringsTheDriverManagerCannotTakeWhole) {
    EXPECT_NO_THROW(checkConnectionStringLength(std::string(32767, 'a')));
    EXPECT_THROW(checkConnectionStringLength(std::string(32768, 'a')), DatabaseError);
    EXPECT_THROW(checkConnectionStringLength(std::string("DSN=a\0b", 7)), DatabaseError);
}

TEST(OdbcText, SqliteDatabaseFiles) {
    EXPECT_TRUE(isSqliteDriver("SQLite3", ""));
    EXPECT_TRUE(isSqliteDriver("My Driver", "Driver=/usr/lib/odbc/libsqlite3odbc.so"));
    EXPECT_FALSE(isSqliteDriver("PostgreSQL Unicode", "Driver=psqlodbcw.so"));

    EXPECT_EQ(sqliteDatabasePath("Driver=SQLite3;Database=/data/shop.db;"), "/data/shop.db");
    EXPECT_EQ(sqliteDatabasePath("Driver=SQLite3;DATABASE={/data/a;b.db}"), "/data/a;b.db");
    EXPECT_EQ(sqliteDatabasePath("Driver=SQLite3;Database=file://host/data/u.db"), "/data/u.db");
    EXPECT_EQ(sqliteDatabasePath("Driver=SQLite3;Database=:memory:"), "");
}

TEST(OdbcText, SqliteStatementsThatReachOutsideTheDatabase) {
    EXPECT_TRUE(usesSqliteOnlyToRead("Select * From t Where note = 'attach load_extension'"));
    EXPECT_TRUE(usesSqliteOnlyToRead("Select attachment, reattach From attached"));
    EXPECT_FALSE(usesSqliteOnlyToRead("ATTACH '/tmp/new.db' AS x"));
    EXPECT_FALSE(usesSqliteOnlyToRead("/* c */ attach database '/tmp/new.db' as x"));
    EXPECT_FALSE(usesSqliteOnlyToRead("Select Load_Extension('/tmp/evil.so')"));
    EXPECT_FALSE(usesSqliteOnlyToRead("Select \"load_extension\"('/tmp/evil.so')"));
}
