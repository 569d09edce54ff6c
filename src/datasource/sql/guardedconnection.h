// The engine's SQLite connection: an in-memory database that statements can
// only read. Every statement is prepared alone (text after it is refused) under
// an authorizer that allows reading and nothing else; extensions, triggers and
// attached files are off, lengths and memory are bounded, and a running
// statement can be cancelled.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "datasource/database.h"

struct sqlite3;
struct sqlite3_stmt;

namespace rq::sql {

struct ResolvedLimits {
    std::int64_t memoryBytes = 0;
    std::int64_t valueBytes = 0;
    std::int64_t sqlBytes = 1000000;
};

// A prepared statement, finalized on destruction.
class Statement {
  public:
    Statement() = default;
    explicit Statement(sqlite3_stmt* st) : st_(st) {}
    Statement(Statement&& o) noexcept : st_(o.st_) { o.st_ = nullptr; }
    Statement& operator=(Statement&&) = delete;
    Statement(const Statement&) = delete;
    ~Statement();
    sqlite3_stmt* get() const { return st_; }

  private:
    sqlite3_stmt* st_ = nullptr;
};

class GuardedConnection {
  public:
    GuardedConnection(const ResolvedLimits& limits, const std::atomic<bool>* cancel);
    ~GuardedConnection();
    GuardedConnection(const GuardedConnection&) = delete;
    GuardedConnection& operator=(const GuardedConnection&) = delete;

    sqlite3* handle() const { return db_; }

    // Prepares sql, which must be exactly one statement that reads records.
    Statement prepareQuery(const std::string& sql);

    // Makes a view named name of body, which must be exactly one statement that
    // reads records; only then is the view itself created. Errors name the view.
    void createView(const std::string& name, const std::string& body);

    // Set while SQLite records the columns of an offered table.
    bool* declaringFlag() { return &declaring_; }

    // Throws the DatabaseError for an SQLite result code of this connection.
    [[noreturn]] void fail(int rc) const;

    // Throws when the caller asked to cancel.
    void checkCancelled() const;

    // For the authorizer and the progress handler.
    int authorize(int action, const char* a1, const char* a2, const char* db);
    bool cancelled() const { return cancel_ && cancel_->load(std::memory_order_relaxed); }

  private:
    Statement prepareOne(const std::string& sql);

    sqlite3* db_ = nullptr;
    ResolvedLimits limits_;
    const std::atomic<bool>* cancel_;
    std::int64_t previousHeapLimit_ = 0;
    std::string viewBeingCreated_;  // empty: nothing but reading is allowed
    bool declaring_ = false;
    std::string denied_;  // what the authorizer refused, for the message
    bool deniedSchemaWrite_ = false;
};

}  // namespace rq::sql
