#include "datasource/odbc/odbchandle.h"

#include <cstdint>
#include <vector>

#include "datasource/database.h"
#include "datasource/odbc/odbcsource.h"

namespace rq::odbc {

SQLHENV environment() {
    static SQLHENV env = [] {
        SQLHENV h = SQL_NULL_HENV;
        if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &h)))
            throw DatabaseError("The ODBC driver manager could not be started.");
        SQLSetEnvAttr(h, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        return h;
    }();
    return env;
}

std::string diagnosticText(SQLSMALLINT handleType, SQLHANDLE handle) {
    if (handle == SQL_NULL_HANDLE) return {};
    for (SQLSMALLINT record = 1; record <= 20; ++record) {
        SQLCHAR state[8] = {};
        SQLINTEGER nativeError = 0;
        std::vector<SQLCHAR> message(1024);
        SQLSMALLINT length = 0;
        SQLRETURN rc =
            SQLGetDiagRec(handleType, handle, record, state, &nativeError, message.data(),
                          static_cast<SQLSMALLINT>(message.size()), &length);
        if (rc == SQL_SUCCESS_WITH_INFO && length >= static_cast<SQLSMALLINT>(message.size())) {
            message.resize(static_cast<std::size_t>(length) + 1);
            rc = SQLGetDiagRec(handleType, handle, record, state, &nativeError, message.data(),
                               static_cast<SQLSMALLINT>(message.size()), &length);
        }
        if (!SQL_SUCCEEDED(rc)) break;
        std::string text(reinterpret_cast<const char*>(message.data()));
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
            text.pop_back();
        if (!text.empty()) return text;
    }
    return {};
}

std::string diagnosticState(SQLSMALLINT handleType, SQLHANDLE handle) {
    if (handle == SQL_NULL_HANDLE) return {};
    SQLCHAR state[8] = {};
    SQLINTEGER nativeError = 0;
    SQLCHAR message[8];
    SQLSMALLINT length = 0;
    SQLRETURN rc = SQLGetDiagRec(handleType, handle, 1, state, &nativeError, message,
                                 static_cast<SQLSMALLINT>(sizeof message), &length);
    if (!SQL_SUCCEEDED(rc)) return {};
    return std::string(reinterpret_cast<const char*>(state));
}

Handle::Handle(SQLSMALLINT type, SQLHANDLE parent) : type_(type) {
    SQLRETURN rc = SQLAllocHandle(type, parent, &handle_);
    if (!SQL_SUCCEEDED(rc)) {
        std::string text =
            diagnosticText(type == SQL_HANDLE_STMT ? SQL_HANDLE_DBC : SQL_HANDLE_ENV, parent);
        handle_ = SQL_NULL_HANDLE;
        throw DatabaseError(text.empty() ? "The ODBC driver manager refused a handle." : text);
    }
}

Handle::~Handle() {
    if (handle_ != SQL_NULL_HANDLE) SQLFreeHandle(type_, handle_);
}

Connection::Connection(const std::string& connectionString, int loginTimeoutSeconds,
                       std::string* completed)
    : dbc_(SQL_HANDLE_DBC, environment()) {
    checkConnectionStringLength(connectionString);
    if (loginTimeoutSeconds > 0) {
        SQLSetConnectAttr(
            dbc_.get(), SQL_ATTR_LOGIN_TIMEOUT,
            reinterpret_cast<SQLPOINTER>(static_cast<std::intptr_t>(loginTimeoutSeconds)), 0);
    }
    // Room for the longest completed string: the call cannot be repeated.
    std::vector<SQLCHAR> out(kMaxOdbcConnectionStringBytes + 1);
    SQLSMALLINT outLength = 0;
    std::string in = connectionString;
    SQLRETURN rc = SQLDriverConnect(dbc_.get(), nullptr, reinterpret_cast<SQLCHAR*>(in.data()),
                                    static_cast<SQLSMALLINT>(in.size()), out.data(),
                                    static_cast<SQLSMALLINT>(kMaxOdbcConnectionStringBytes),
                                    &outLength, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(rc)) {
        std::string text = dbc_.diagnostic();
        throw DatabaseError(text.empty() ? "The data source could not be connected." : text);
    }
    connected_ = true;
    if (completed) {
        // A cut completed string would reconnect elsewhere: report none instead.
        std::size_t len = outLength < 0 ? 0 : static_cast<std::size_t>(outLength);
        if (len >= kMaxOdbcConnectionStringBytes) len = 0;
        completed->assign(reinterpret_cast<const char*>(out.data()), len);
    }
}

Connection::~Connection() {
    if (!connected_) return;
    rollback();
    SQLDisconnect(dbc_.get());
}

void Connection::beginReadOnly() {
    SQLSetConnectAttr(dbc_.get(), SQL_ATTR_ACCESS_MODE,
                      reinterpret_cast<SQLPOINTER>(static_cast<std::intptr_t>(SQL_MODE_READ_ONLY)),
                      0);
    if (infoText(SQL_DBMS_NAME) == "PostgreSQL") {
        // Its driver accepts the access mode and ignores it; the session setting
        // also stops what a rollback cannot undo (sequences, for one).
        Statement statement(*this);
        std::string sql = "SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY";
        SQLExecDirect(statement.get(), reinterpret_cast<SQLCHAR*>(sql.data()),
                      static_cast<SQLINTEGER>(sql.size()));
    }
    SQLRETURN rc = SQLSetConnectAttr(
        dbc_.get(), SQL_ATTR_AUTOCOMMIT,
        reinterpret_cast<SQLPOINTER>(static_cast<std::intptr_t>(SQL_AUTOCOMMIT_OFF)), 0);
    transactional_ = SQL_SUCCEEDED(rc);
}

void Connection::rollback() {
    if (transactional_) SQLEndTran(SQL_HANDLE_DBC, dbc_.get(), SQL_ROLLBACK);
}

std::string Connection::infoText(SQLUSMALLINT infoType) const {
    char buffer[256] = {};
    SQLSMALLINT length = 0;
    if (!SQL_SUCCEEDED(SQLGetInfo(dbc_.get(), infoType, buffer, sizeof buffer, &length))) return {};
    return std::string(buffer);
}

SQLUINTEGER Connection::infoMask(SQLUSMALLINT infoType) const {
    SQLUINTEGER value = 0;
    if (!SQL_SUCCEEDED(SQLGetInfo(dbc_.get(), infoType, &value, sizeof value, nullptr))) return 0;
    return value;
}

void Statement::check(SQLRETURN rc, const char* what) const {
    if (SQL_SUCCEEDED(rc) || rc == SQL_NO_DATA) return;
    std::string text = diagnostic();
    if (text.empty()) text = std::string("The driver failed to ") + what + ".";
    throw DatabaseError(text);
}

}  // namespace rq::odbc
