// Shared pieces of the ODBC tests: raw statement execution
// for setting up data, the installed drivers, and a throw-away PostgreSQL server.
#pragma once

#include <string>
#include <vector>

#include "datasource/database.h"
#include "reader_test_support.h"

namespace rq::odbctest {

using Collected = rq::testing::TableSink;

// Runs statements on a fresh connection, failing the test on the first error.
void execute(const std::string& connectionString, const std::vector<std::string>& statements);

// The name of an installed driver whose attributes or name contain the text ("" when none).
std::string driverNamed(const std::string& text);

// The SQLite 3 driver, or "" when it is not installed.
std::string sqliteDriver();

// A connection string for a private PostgreSQL server started on first use and
// stopped when the test program ends; "" with a reason when the packages are absent.
std::string postgresConnectionString(std::string* whyNot);

// A fresh database on the test server ("" when there is no server).
std::string postgresDatabase(const std::string& name);

// The first value of the first row of a statement, read on a fresh connection
// without the code under test ("" for none or a null value).
std::string scalar(const std::string& connectionString, const std::string& statement);

// A loopback port where nothing listens.
int unusedPort();

// A temporary folder removed at the end of the program.
std::string temporaryFolder();

}  // namespace rq::odbctest

// Declares var as the connection string of a fresh database on the test
// server, skipping the test when PostgreSQL is not installed.
#define PG_DATABASE(var, name)                              \
    std::string var = rq::odbctest::postgresDatabase(name); \
    if (var.empty()) {                                      \
        std::string why;                                    \
        rq::odbctest::postgresConnectionString(&why);       \
        if (!why.empty()) GTEST_SKIP() << why;              \
        FAIL() << "no test server";                         \
    }
