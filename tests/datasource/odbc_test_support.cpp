#include "odbc_test_support.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sql.h>
#include <sqlext.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "datasource/odbc/odbcsource.h"

namespace fs = std::filesystem;

namespace rq::odbctest {

namespace {

// A connection made with the driver manager alone, without the code under test.
struct Connection {
    SQLHENV env = SQL_NULL_HENV;
    SQLHDBC dbc = SQL_NULL_HDBC;
    bool connected = false;
    explicit Connection(std::string cs) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
        SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
        connected = SQL_SUCCEEDED(SQLDriverConnect(
            dbc, nullptr, reinterpret_cast<SQLCHAR*>(cs.data()),
            static_cast<SQLSMALLINT>(cs.size()), nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT));
    }
    ~Connection() {
        if (connected) SQLDisconnect(dbc);
        SQLFreeHandle(SQL_HANDLE_DBC, dbc);
        SQLFreeHandle(SQL_HANDLE_ENV, env);
    }
};

// Runs the statements in order, failing the test on the first error; with
// fetch, the first value of the last statement's first row ("" for a null).
std::string run(const std::string& connectionString, std::vector<std::string> statements,
                bool fetch) {
    Connection c(connectionString);
    if (!c.connected) {
        ADD_FAILURE() << "cannot connect: " << connectionString;
        return {};
    }
    std::string value;
    for (auto& s : statements) {
        SQLHSTMT st = SQL_NULL_HSTMT;
        SQLAllocHandle(SQL_HANDLE_STMT, c.dbc, &st);
        SQLRETURN rc = SQLExecDirect(st, reinterpret_cast<SQLCHAR*>(s.data()),
                                     static_cast<SQLINTEGER>(s.size()));
        char buffer[4096] = {};
        SQLLEN indicator = SQL_NULL_DATA;
        if (fetch && SQL_SUCCEEDED(rc) && SQL_SUCCEEDED(rc = SQLFetch(st)))
            rc = SQLGetData(st, 1, SQL_C_CHAR, buffer, sizeof buffer, &indicator);
        SQLCHAR state[8] = {}, message[1024] = {};
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        if (!SQL_SUCCEEDED(rc))
            SQLGetDiagRec(SQL_HANDLE_STMT, st, 1, state, &native, message, sizeof message, &length);
        SQLFreeHandle(SQL_HANDLE_STMT, st);
        EXPECT_TRUE(SQL_SUCCEEDED(rc) || (!fetch && rc == SQL_NO_DATA)) << s << ": " << message;
        if (indicator != SQL_NULL_DATA) value = buffer;
    }
    return value;
}

struct Folders {
    std::vector<fs::path> paths;
    ~Folders() {
        std::error_code ec;
        for (const auto& p : paths) fs::remove_all(p, ec);
    }
};
Folders& folders() {
    static Folders f;
    return f;
}

const std::string kServerScript = ROWQUILL_SOURCE_DIR "/tests/datasource/odbc_pg_server.sh";

// The test server, started on first use: its connection string, or why there is none.
struct Server {
    std::string folder, connection, whyNot;
    Server() {
        std::string driver = driverNamed("psqlodbcw");
        if (driver.empty()) driver = driverNamed("psqlodbca");
        const int port = unusedPort();
        // A cluster made once per build tree is copied for every later start.
        std::error_code ec;
        const fs::path self = fs::read_symlink("/proc/self/exe", ec);
        const std::string cluster = ec ? "" : (self.parent_path() / "odbc-pg-template").string();
        if (!driver.empty()) folder = temporaryFolder();
        const int status = driver.empty()
                               ? 3 << 8
                               : std::system(("'" + kServerScript + "' start '" + folder + "' " +
                                              std::to_string(port) + " '" + cluster + "'")
                                                 .c_str());
        if (status == 0)
            connection = "Driver={" + driver + "};Server=127.0.0.1;Port=" + std::to_string(port) +
                         ";Database=postgres;Uid=rowquill;Pwd=;";
        else if (WIFEXITED(status) && WEXITSTATUS(status) == 3)  // no server programs
            whyNot = "the PostgreSQL server or its ODBC driver is not installed";
        else
            ADD_FAILURE() << "the PostgreSQL test server did not start";
    }
    ~Server() {
        // When it cannot be stopped, its folder still goes with the program's temporary folders.
        if (!connection.empty() &&
            std::system(("'" + kServerScript + "' stop '" + folder + "'").c_str()) != 0) {
        }
    }
};

// Stops the server before the folders are removed (destroyed in reverse order).
Server& server() {
    folders();
    static Server s;
    return s;
}

}  // namespace

void execute(const std::string& connectionString, const std::vector<std::string>& statements) {
    run(connectionString, statements, false);
}

std::string scalar(const std::string& connectionString, const std::string& statement) {
    return run(connectionString, {statement}, true);
}

std::string driverNamed(const std::string& text) {
    for (const auto& d : odbcDrivers()) {
        if (d.name.find(text) != std::string::npos) return d.name;
        for (const auto& a : d.attributes)
            if (a.find(text) != std::string::npos) return d.name;
    }
    return {};
}

std::string sqliteDriver() {
    return driverNamed("sqlite3odbc");
}

int unusedPort() {
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

std::string temporaryFolder() {
    std::string pattern = (fs::temp_directory_path() / "rowquill-odbc-XXXXXX").string();
    if (!mkdtemp(pattern.data())) return {};
    folders().paths.push_back(pattern);
    return pattern;
}

std::string postgresConnectionString(std::string* whyNot) {
    if (whyNot) *whyNot = server().whyNot;
    return server().connection;
}

std::string postgresDatabase(const std::string& name) {
    std::string cs = postgresConnectionString(nullptr);
    if (cs.empty()) return {};
    execute(cs, {"drop database if exists " + name, "create database " + name});
    return cs.replace(cs.find("Database=postgres"), 17, "Database=" + name);
}

}  // namespace rq::odbctest
