// Shared pieces of the ODBC tests: a collecting sink, raw statement execution
// for setting up data, the installed drivers, and a throw-away PostgreSQL server.
#pragma once

#include <string>
#include <vector>

#include "datasource/database.h"

namespace rq::odbctest {

struct Collected : RecordSink {
    std::vector<Field> fields;
    std::vector<std::vector<std::string>> rows;
    bool ended = false;
    void begin(const std::vector<Field>& f) override { fields = f; }
    void row(const std::string_view* cells, std::size_t count) override {
        rows.emplace_back(cells, cells + count);
    }
    void end() override { ended = true; }
    std::vector<std::string> names() const {
        std::vector<std::string> n;
        for (const auto& f : fields) n.push_back(f.name);
        return n;
    }
};

// Runs statements on a fresh connection, failing the test on the first error.
void execute(const std::string& connectionString, const std::vector<std::string>& statements);

// The name of an installed driver whose attributes or name contain the text ("" when none).
std::string driverNamed(const std::string& text);

// The SQLite 3 driver, or "" when it is not installed.
std::string sqliteDriver();

// A connection string for a private PostgreSQL server started on first use and
// stopped when the test program ends; "" with a reason when the packages are absent.
std::string postgresConnectionString(std::string* whyNot);

// A loopback port where nothing listens.
int unusedPort();

// A temporary folder removed at the end of the program.
std::string temporaryFolder();

}  // namespace rq::odbctest
