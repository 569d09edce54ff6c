// The ODBC source against a real PostgreSQL server through its ODBC driver.
// Bracketed names, listing and reconnecting by the completed connection string
// are covered by the CLI tests, the driver's messages by the text tests.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "datasource/odbc/odbcsource.h"
#include "datasource/sheetloader.h"
#include "odbc_test_support.h"

using namespace rq;
using rq::odbctest::Collected;

namespace {

const OdbcFetchMode kAllModes[] = {OdbcFetchMode::Automatic, OdbcFetchMode::Bound,
                                   OdbcFetchMode::CellByCell};

}  // namespace

TEST(OdbcPostgres, ValuesBecomeTheirTextInEveryFetchMode) {
    PG_DATABASE(cs, "rq_values");
    std::string longText;
    for (int i = 0; i < 20000; ++i) longText += "abcd" + std::to_string(i % 10);
    odbctest::execute(
        cs, {
                R"(create table "Mixed Values" (id int4, small int2, big int8, r float4, d float8,
                 n numeric(12,4), flag boolean, day date, tm time, ts timestamp, u uuid,
                 raw bytea, fixed char(6), name varchar(20), note text, loose varchar))",
                "insert into \"Mixed Values\" values (1, -32768, 9223372036854775807, 0.15, 0.1, "
                "12.5000, true, '2024-01-15', '13:45:00.25', '2024-01-15 13:45:00', "
                "'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11', '\\x00ff41', 'ab', 'Zoë 日本 😀', '" +
                    longText + "', repeat('y', 300))",
                "insert into \"Mixed Values\" values (2, null, null, null, null, null, null, null, "
                "null, null, null, null, null, null, null, null)",
                "insert into \"Mixed Values\" values (3, 7, -1, -2.5, 1e300, -0.0005, false, "
                "'0001-01-01', '00:00:00', '1999-12-31 23:59:59.123', null, '\\x', '', '', '', '')",
            });
    auto source = openOdbcSource(cs);
    for (OdbcFetchMode mode : kAllModes) {
        SCOPED_TRACE(static_cast<int>(mode));
        source->setFetchMode(mode);
        Collected got;
        source->read("Mixed Values", got);
        ASSERT_TRUE(got.ended);
        EXPECT_EQ(got.names(), (std::vector<std::string>{"id", "small", "big", "r", "d", "n",
                                                         "flag", "day", "tm", "ts", "u", "raw",
                                                         "fixed", "name", "note", "loose"}));
        // int4, int2, int8, float4, float8, numeric, bool, date, time, timestamp, uuid,
        // bytea (long binary), char, varchar, text (long varchar), varchar.
        EXPECT_EQ(got.types(), (std::vector<int>{3, 2, 20, 4, 5, 131, 11, 133, 134, 135, 72, 205,
                                                 129, 200, 201, 200}));
        ASSERT_EQ(got.rows.size(), 3u);
        EXPECT_EQ(got.rows[0], (std::vector<std::string>{
                                   "1", "-32768", "9223372036854775807", "0.15", "0.1", "12.5",
                                   "true", "2024-01-15", "13:45:00.25", "2024-01-15T13:45:00",
                                   "A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11", "AP9B", "ab",
                                   "Zoë 日本 😀", longText, std::string(300, 'y')}));
        EXPECT_EQ(got.line(1), "2|||||||||||||||");
        EXPECT_EQ(
            got.line(2),
            "3|7|-1|-2.5|1e+300|-0.0005|false|0001-01-01|00:00:00|1999-12-31T23:59:59.123||||||");
    }
}

TEST(OdbcPostgres, BlocksOfRowsWithLongValuesAmongThem) {
    PG_DATABASE(cs, "rq_blocks");
    odbctest::execute(cs, {"create table t (id int, label text, amount numeric(10,2))",
                           "insert into t select i, case when i % 700 = 0 then repeat('L', 5000 "
                           "+ i) else 'row ' || i end, i * 0.25 from generate_series(1, 2500) i"});
    auto source = openOdbcSource(cs);
    for (OdbcFetchMode mode : kAllModes) {
        SCOPED_TRACE(static_cast<int>(mode));
        source->setFetchMode(mode);
        DataSheet sheet;
        loadQuery(*source, "select * from t order by id", sheet);
        ASSERT_EQ(sheet.rows(), 2501);
        ASSERT_EQ(sheet.cols(), 3);
        int wrong = 0;
        for (int i = 1; i <= 2500; ++i) {
            const std::string label =
                i % 700 == 0 ? std::string(5000 + i, 'L') : "row " + std::to_string(i);
            wrong += sheet.cell(i, 0) != std::to_string(i) || sheet.cell(i, 1) != label;
        }
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(sheet.cell(2, 2), "0.5");
        EXPECT_EQ(sheet.cell(2500, 2), "625");
    }
}

TEST(OdbcPostgres, ServerThatIsDownGivesAClearErrorWithoutHanging) {
    PG_DATABASE(server, "rq_down");
    // The test server's connection string with another port.
    const auto atPort = [&](int port) {
        return server.substr(0, server.find("Port=")) + "Port=" + std::to_string(port) +
               ";Database=postgres;Uid=rowquill;";
    };

    // Nothing listens on the port.
    const std::string text =
        rq::testing::errorOf([&] { openOdbcSource(atPort(odbctest::unusedPort())); });
    EXPECT_EQ(text.rfind("Error Opening DataSource: ", 0), 0u) << text;
    EXPECT_GT(text.size(), std::string("Error Opening DataSource: ").size() + 5) << text;

    // A server that accepts the connection and never answers: the login timeout ends it.
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    ASSERT_EQ(listen(fd, 4), 0);
    socklen_t len = sizeof addr;
    getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    auto started = std::chrono::steady_clock::now();
    EXPECT_THROW(openOdbcSource(atPort(ntohs(addr.sin_port)), 2), DatabaseError);
    auto waited = std::chrono::steady_clock::now() - started;
    close(fd);
    // Not a timing measurement: a hang would otherwise only show as the test run stalling.
    EXPECT_LT(waited, std::chrono::seconds(60));
}
