// Owning wrappers of driver manager handles, and the text of their diagnostics.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <string>

namespace rq::odbc {

// The process-wide environment handle (ODBC 3 behaviour), made on first use.
SQLHENV environment();

// The message of the first diagnostic record of a handle ("" when none).
std::string diagnosticText(SQLSMALLINT handleType, SQLHANDLE handle);

class Handle {
  public:
    Handle(SQLSMALLINT type, SQLHANDLE parent);
    ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    SQLHANDLE get() const { return handle_; }
    SQLSMALLINT type() const { return type_; }
    std::string diagnostic() const { return diagnosticText(type_, handle_); }

  private:
    SQLSMALLINT type_;
    SQLHANDLE handle_ = SQL_NULL_HANDLE;
};

// A connection that disconnects when it goes out of scope.
class Connection {
  public:
    // Connects without prompting; throws DatabaseError with the diagnostic text.
    // completed receives the connection string the driver reports, when given.
    Connection(const std::string& connectionString, int loginTimeoutSeconds,
               std::string* completed = nullptr);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    SQLHDBC get() const { return dbc_.get(); }
    std::string diagnostic() const { return dbc_.diagnostic(); }
    std::string infoText(SQLUSMALLINT infoType) const;
    SQLUINTEGER infoMask(SQLUSMALLINT infoType) const;

  private:
    Handle dbc_;
    bool connected_ = false;
};

class Statement {
  public:
    explicit Statement(const Connection& connection) : stmt_(SQL_HANDLE_STMT, connection.get()) {}
    SQLHSTMT get() const { return stmt_.get(); }
    std::string diagnostic() const { return stmt_.diagnostic(); }
    // Throws DatabaseError with the statement's diagnostic when rc is an error.
    void check(SQLRETURN rc, const char* what) const;

  private:
    Handle stmt_;
};

}  // namespace rq::odbc
