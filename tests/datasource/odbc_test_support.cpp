#include "odbc_test_support.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sql.h>
#include <sqlext.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

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

}  // namespace

void execute(const std::string& connectionString, const std::vector<std::string>& statements) {
    Connection c(connectionString);
    ASSERT_TRUE(c.connected) << "cannot connect: " << connectionString;
    for (const auto& s : statements) {
        SQLHSTMT st = SQL_NULL_HSTMT;
        SQLAllocHandle(SQL_HANDLE_STMT, c.dbc, &st);
        std::string text = s;
        const SQLRETURN rc = SQLExecDirect(st, reinterpret_cast<SQLCHAR*>(text.data()),
                                           static_cast<SQLINTEGER>(text.size()));
        SQLCHAR state[8] = {}, message[1024] = {};
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        if (!SQL_SUCCEEDED(rc) && rc != SQL_NO_DATA)
            SQLGetDiagRec(SQL_HANDLE_STMT, st, 1, state, &native, message, sizeof message, &length);
        SQLFreeHandle(SQL_HANDLE_STMT, st);
        EXPECT_TRUE(SQL_SUCCEEDED(rc) || rc == SQL_NO_DATA) << s << ": " << message;
    }
}

std::string scalar(const std::string& connectionString, const std::string& statement) {
    Connection c(connectionString);
    if (!c.connected) {
        ADD_FAILURE() << "cannot connect: " << connectionString;
        return {};
    }
    SQLHSTMT st = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_STMT, c.dbc, &st);
    std::string text = statement, value;
    char buffer[4096] = {};
    SQLLEN indicator = 0;
    if (SQL_SUCCEEDED(SQLExecDirect(st, reinterpret_cast<SQLCHAR*>(text.data()),
                                    static_cast<SQLINTEGER>(text.size()))) &&
        SQL_SUCCEEDED(SQLFetch(st)) &&
        SQL_SUCCEEDED(SQLGetData(st, 1, SQL_C_CHAR, buffer, sizeof buffer, &indicator)) &&
        indicator != SQL_NULL_DATA)
        value = buffer;
    else
        ADD_FAILURE() << "cannot read " << statement;
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    return value;
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
    addr.sin_port = 0;
    bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    socklen_t len = sizeof addr;
    getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    close(fd);
    return ntohs(addr.sin_port);
}

namespace {

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

std::string serverScript() {
    fs::path script = fs::path(__FILE__).parent_path() / "odbc_pg_server.sh";
    std::error_code ec;
    if (script.is_relative() && !fs::exists(script, ec)) {
        // Compiled with a path relative to the build folder, which holds this program's folder.
        script = fs::read_symlink("/proc/self/exe", ec).parent_path().parent_path() / script;
    }
    return script.string();
}

bool postgresInstalled() {
    std::error_code ec;
    if (!fs::exists("/usr/lib/postgresql", ec)) return false;
    for (const auto& e : fs::directory_iterator("/usr/lib/postgresql", ec))
        if (fs::exists(e.path() / "bin" / "initdb")) return true;
    return false;
}

class Server {
  public:
    ~Server() { stop(); }
    void stop() {
        if (folder_.empty()) return;
        std::string command = "'" + serverScript() + "' stop '" + folder_ + "'";
        if (std::system(command.c_str()) != 0) {
            // Nothing more to do: the folder goes with the program's temporary folders.
        }
        folder_.clear();
    }
    std::string start(std::string* whyNot) {
        if (!connection_.empty() || failed_) {
            if (failed_ && whyNot) *whyNot = reason_;
            return connection_;
        }
        std::string driver = driverNamed("psqlodbcw");
        if (driver.empty()) driver = driverNamed("psqlodbca");
        if (driver.empty() || !postgresInstalled()) {
            failed_ = true;
            reason_ = "the PostgreSQL server or its ODBC driver is not installed";
            if (whyNot) *whyNot = reason_;
            return {};
        }
        folder_ = temporaryFolder();
        int port = unusedPort();
        // A cluster made once per build tree is copied for every later start.
        std::error_code ec;
        fs::path self = fs::read_symlink("/proc/self/exe", ec);
        std::string templateFolder = ec ? "" : (self.parent_path() / "odbc-pg-template").string();
        std::string command = "'" + serverScript() + "' start '" + folder_ + "' " +
                              std::to_string(port) + " '" + templateFolder + "'";
        if (std::system(command.c_str()) != 0) {
            failed_ = true;
            reason_ = "";
            folder_.clear();
            ADD_FAILURE() << "the PostgreSQL test server did not start";
            return {};
        }
        connection_ = "Driver={" + driver + "};Server=127.0.0.1;Port=" + std::to_string(port) +
                      ";Database=postgres;Uid=rowquill;Pwd=;";
        return connection_;
    }

  private:
    std::string folder_, connection_, reason_;
    bool failed_ = false;
};

// Stops the server before the folders are removed (destroyed in reverse order).
Server& server() {
    folders();
    static Server s;
    return s;
}

}  // namespace

std::string temporaryFolder() {
    std::string pattern = (fs::temp_directory_path() / "rowquill-odbc-XXXXXX").string();
    char* made = mkdtemp(pattern.data());
    if (!made) return {};
    folders().paths.push_back(made);
    return made;
}

std::string postgresConnectionString(std::string* whyNot) {
    return server().start(whyNot);
}

std::string postgresDatabase(const std::string& name) {
    std::string server = postgresConnectionString(nullptr);
    if (server.empty()) return {};
    execute(server, {"drop database if exists " + name, "create database " + name});
    std::string cs = server;
    cs.replace(cs.find("Database=postgres"), 17, "Database=" + name);
    return cs;
}

}  // namespace rq::odbctest
