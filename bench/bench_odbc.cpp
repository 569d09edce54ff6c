// Loading 200,000 rows of eight columns from a PostgreSQL server through its
// ODBC driver into the data sheet, beside the server's own client copying the
// same table to /dev/null. The server is a private one started for the run
// (needs the postgresql and odbc-postgresql packages).
#include <benchmark/benchmark.h>
#include <sql.h>
#include <sqlext.h>
#include <sys/resource.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "datasource/odbc/odbcsource.h"
#include "datasource/sheetloader.h"

namespace fs = std::filesystem;
using namespace rq;

namespace {

constexpr int kRows = 200'000;

std::string script() {
    // Found from the source tree, whatever folder the benchmark runs in.
    return (fs::path(ROWQUILL_SOURCE_DIR) / "tests" / "datasource" / "odbc_pg_server.sh").string();
}

int freePort() {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    socklen_t len = sizeof addr;
    getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    close(fd);
    return ntohs(addr.sin_port);
}

void run(const std::string& cs, const char* sql) {
    SQLHENV env;
    SQLHDBC dbc;
    SQLHSTMT st;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
    std::string c = cs;
    SQLDriverConnect(dbc, nullptr, reinterpret_cast<SQLCHAR*>(c.data()), SQL_NTS, nullptr, 0,
                     nullptr, SQL_DRIVER_NOPROMPT);
    SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
    SQLExecDirect(st, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql)), SQL_NTS);
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    SQLDisconnect(dbc);
    SQLFreeHandle(SQL_HANDLE_DBC, dbc);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
}

// The server with the table "bench" filled once for the whole run.
struct Server {
    std::string folder, connection;
    int port = 0;
    Server() {
        char pattern[] = "/tmp/rowquill-bench-pg-XXXXXX";
        if (!mkdtemp(pattern)) return;
        folder = pattern;
        port = freePort();
        std::string command = "'" + script() + "' start '" + folder + "' " + std::to_string(port);
        if (std::system(command.c_str()) != 0) return;
        std::string driver = "PostgreSQL Unicode";
        connection = "Driver={" + driver + "};Server=127.0.0.1;Port=" + std::to_string(port) +
                     ";Database=postgres;Uid=rowquill;";
        run(connection,
            "create table bench (id int4, name varchar(40), amount numeric(12,2), ratio float8, "
            "created timestamp, day date, flag boolean, note varchar(100))");
        std::string fill =
            "insert into bench select i, 'name ' || i, i * 0.01, i / 7.0, "
            "timestamp '2024-01-01' + i * interval '1 second', date '2000-01-01' + i % 10000, "
            "i % 2 = 0, repeat('n', i % 50) from generate_series(1, " +
            std::to_string(kRows) + ") i";
        run(connection, fill.c_str());
        run(connection, "vacuum analyze bench");
        std::printf("server: %s\n", connection.c_str());
    }
    ~Server() {
        if (folder.empty()) return;
        std::string command = "'" + script() + "' stop '" + folder + "'";
        if (std::system(command.c_str()) != 0) std::fprintf(stderr, "server did not stop\n");
        std::error_code ec;
        fs::remove_all(folder, ec);
    }
};

Server& server() {
    static Server s;
    return s;
}

long peakRssKiB() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_maxrss;
}

void load(benchmark::State& state, OdbcFetchMode mode, const char* extra) {
    if (server().connection.empty()) {
        state.SkipWithError("the PostgreSQL test server did not start");
        return;
    }
    auto source = openOdbcSource(server().connection + extra);
    source->setFetchMode(mode);
    std::size_t textBytes = 0, allocated = 0;
    for (auto _ : state) {
        DataSheet sheet;
        loadTable(*source, "bench", sheet);
        if (sheet.rows() != kRows + 1) state.SkipWithError("wrong row count");
        textBytes = sheet.textBytes();
        allocated = sheet.allocatedBytes();
        benchmark::DoNotOptimize(sheet);
    }
    state.SetItemsProcessed(state.iterations() * kRows);
    state.counters["sheet_text_MB"] = static_cast<double>(textBytes) / 1e6;
    state.counters["sheet_alloc_MB"] = static_cast<double>(allocated) / 1e6;
    state.counters["peak_rss_MB"] = static_cast<double>(peakRssKiB()) / 1024.0;
}

// The server's own client copying the table as text to /dev/null: the floor.
void BM_PsqlCopy(benchmark::State& state) {
    if (server().connection.empty()) {
        state.SkipWithError("the PostgreSQL test server did not start");
        return;
    }
    std::string command = "psql -h 127.0.0.1 -p " + std::to_string(server().port) +
                          " -U rowquill -d postgres -q -c '\\copy bench to /dev/null'";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0) state.SkipWithError("psql failed");
    state.SetItemsProcessed(state.iterations() * kRows);
}

// The driver alone: the same statement with every column bound in blocks of
// 1,024 rows as the reader binds it, the values left as they arrive. No
// reader can be faster than this through the driver.
void BM_OdbcDriverAlone(benchmark::State& state) {
    if (server().connection.empty()) {
        state.SkipWithError("the PostgreSQL test server did not start");
        return;
    }
    SQLHENV env;
    SQLHDBC dbc;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
    std::string c = server().connection;
    SQLDriverConnect(dbc, nullptr, reinterpret_cast<SQLCHAR*>(c.data()), SQL_NTS, nullptr, 0,
                     nullptr, SQL_DRIVER_NOPROMPT);
    constexpr std::size_t kBlock = 1024;
    const SQLSMALLINT types[8] = {SQL_C_SBIGINT,        SQL_C_CHAR,      SQL_C_CHAR, SQL_C_DOUBLE,
                                  SQL_C_TYPE_TIMESTAMP, SQL_C_TYPE_DATE, SQL_C_CHAR, SQL_C_CHAR};
    const SQLLEN widths[8] = {
        8, 161, 18, 8, sizeof(SQL_TIMESTAMP_STRUCT), sizeof(SQL_DATE_STRUCT), 512, 401};
    std::vector<std::vector<char>> data(8);
    std::vector<std::vector<SQLLEN>> indicators(8);
    std::size_t rows = 0;
    for (auto _ : state) {
        SQLHSTMT st;
        SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
        SQLExecDirect(st, reinterpret_cast<SQLCHAR*>(const_cast<char*>("Select * from bench")),
                      SQL_NTS);
        SQLSetStmtAttr(st, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(kBlock), 0);
        SQLULEN fetched = 0;
        SQLSetStmtAttr(st, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
        for (int k = 0; k < 8; ++k) {
            data[k].resize(kBlock * static_cast<std::size_t>(widths[k]));
            indicators[k].resize(kBlock);
            SQLBindCol(st, static_cast<SQLUSMALLINT>(k + 1), types[k], data[k].data(), widths[k],
                       indicators[k].data());
        }
        rows = 0;
        while (SQL_SUCCEEDED(SQLFetch(st))) rows += fetched;
        SQLFreeHandle(SQL_HANDLE_STMT, st);
    }
    if (rows != kRows) state.SkipWithError("wrong row count");
    SQLDisconnect(dbc);
    SQLFreeHandle(SQL_HANDLE_DBC, dbc);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
    state.SetItemsProcessed(state.iterations() * kRows);
}

// Whole result cached by the driver, then fetched in bound blocks.
void BM_OdbcLoadBound(benchmark::State& state) {
    load(state, OdbcFetchMode::Bound, "");
}
// The same with every value through SQLGetData.
void BM_OdbcLoadCellByCell(benchmark::State& state) {
    load(state, OdbcFetchMode::CellByCell, "");
}
// A server-side cursor: the driver holds 10,000 rows at a time, not the whole result.
void BM_OdbcLoadBoundDeclareFetch(benchmark::State& state) {
    load(state, OdbcFetchMode::Bound, "UseDeclareFetch=1;Fetch=10000;");
}

}  // namespace

// Peak memory is per process: run one benchmark per process for clean figures
// (--benchmark_filter=BM_OdbcLoadBoundDeclareFetch).
BENCHMARK(BM_PsqlCopy)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_OdbcDriverAlone)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_OdbcLoadBoundDeclareFetch)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_OdbcLoadBound)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_OdbcLoadCellByCell)->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
