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
// The SQLSTATE of the first diagnostic record ("" when none).
std::string diagnosticState(SQLSMALLINT handleType, SQLHANDLE handle);

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

// A connection that disconnects when it goes out of scope, rolling back first
// what its statements did.
class Connection {
  public:
    // Connects without prompting; throws DatabaseError with the diagnostic text,
    // or when the string is too long for the driver manager to take whole.
    // completed receives the connection string the driver reports, when given
    // ("" when it did not fit).
    Connection(const std::string& connectionString, int loginTimeoutSeconds,
               std::string* completed = nullptr);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    SQLHDBC get() const { return dbc_.get(); }
    std::string diagnostic() const { return dbc_.diagnostic(); }
    std::string infoText(SQLUSMALLINT infoType) const;
    SQLUINTEGER infoMask(SQLUSMALLINT infoType) const;

    // Asks for read-only access (drivers that cannot honour it ignore it) and
    // turns autocommit off, so that everything later statements do stays in a
    // transaction that rollback() or the destructor undoes.
    void beginReadOnly();
    // True when autocommit is off, so that a rollback undoes the statements.
    bool transactional() const { return transactional_; }
    void rollback();

  private:
    Handle dbc_;
    bool connected_ = false;
    bool transactional_ = false;
};

class Statement {
  public:
    explicit Statement(const Connection& connection) : stmt_(SQL_HANDLE_STMT, connection.get()) {}
    SQLHSTMT get() const { return stmt_.get(); }
    std::string diagnostic() const { return stmt_.diagnostic(); }
    std::string state() const { return diagnosticState(SQL_HANDLE_STMT, stmt_.get()); }
    // Throws DatabaseError with the statement's diagnostic when rc is an error.
    void check(SQLRETURN rc, const char* what) const;

  private:
    Handle stmt_;
};

}  // namespace rq::odbc
