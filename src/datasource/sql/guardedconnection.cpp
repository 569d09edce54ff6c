#include "datasource/sql/guardedconnection.h"

#include <sqlite3.h>

#include <cstring>

#include "datasource/sql/functions.h"

namespace rq::sql {

namespace {

std::string quotedName(const std::string& name) {
    std::string q = "\"";
    for (char c : name) {
        if (c == '"') q += '"';
        q += c;
    }
    return q + '"';
}

std::string megabytes(std::int64_t bytes) {
    return std::to_string((bytes + (1 << 19)) >> 20) + " MB";
}

// What a statement tried that is not reading, for the message.
std::string actionName(int action, const char* a1, const char* a2) {
    switch (action) {
        case SQLITE_ATTACH:
            return "ATTACH";
        case SQLITE_DETACH:
            return "DETACH";
        case SQLITE_INSERT:
            return "INSERT";
        case SQLITE_UPDATE:
            return "UPDATE";
        case SQLITE_DELETE:
            return "DELETE";
        case SQLITE_PRAGMA:
            return std::string("PRAGMA ") + (a1 ? a1 : "");
        case SQLITE_TRANSACTION:
        case SQLITE_SAVEPOINT:
            return "a transaction";
        case SQLITE_ALTER_TABLE:
            return "ALTER TABLE";
        case SQLITE_ANALYZE:
            return "ANALYZE";
        case SQLITE_REINDEX:
            return "REINDEX";
        case SQLITE_FUNCTION:
            return std::string("the function ") + (a2 ? a2 : "");
        case SQLITE_CREATE_VTABLE:
        case SQLITE_DROP_VTABLE:
            return "a virtual table";
        default:
            return action >= SQLITE_CREATE_INDEX && action <= SQLITE_DROP_VIEW ? "CREATE or DROP"
                                                                               : "this statement";
    }
}

int authorizerCallback(void* self, int action, const char* a1, const char* a2, const char* db,
                       const char*) {
    return static_cast<GuardedConnection*>(self)->authorize(action, a1, a2, db);
}

int progressCallback(void* self) {
    return static_cast<const GuardedConnection*>(self)->cancelled() ? 1 : 0;
}

bool isSchemaTable(const char* name) {
    for (const char* schema :
         {"sqlite_master", "sqlite_schema", "sqlite_temp_master", "sqlite_temp_schema"})
        if (name && std::strcmp(name, schema) == 0) return true;
    return false;
}

// After one statement only blanks, semicolons and comments may follow.
bool onlyTrivia(const char* p) {
    while (*p) {
        if (std::strchr(" \t\r\n\f\v;", *p)) {
            ++p;
        } else if (p[0] == '-' && p[1] == '-') {
            while (*p && *p != '\n') ++p;
        } else if (p[0] == '/' && p[1] == '*') {
            const char* end = std::strstr(p + 2, "*/");
            if (!end) return true;
            p = end + 2;
        } else {
            return false;
        }
    }
    return true;
}

constexpr int kProgressSteps = 1000;

}  // namespace

Statement::~Statement() {
    sqlite3_finalize(st_);
}

GuardedConnection::GuardedConnection(const ResolvedLimits& limits, const std::atomic<bool>* cancel)
    : limits_(limits), cancel_(cancel) {
    if (sqlite3_open_v2(":memory:", &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
        SQLITE_OK) {
        std::string msg = db_ ? sqlite3_errmsg(db_) : "out of memory";
        sqlite3_close(db_);
        throw DatabaseError("The SQL engine could not be started: " + msg);
    }
    auto config = [&](int op, int on) { sqlite3_db_config(db_, op, on, nullptr); };
    config(SQLITE_DBCONFIG_DEFENSIVE, 1);
    config(SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0);
    config(SQLITE_DBCONFIG_ENABLE_FTS3_TOKENIZER, 0);
    config(SQLITE_DBCONFIG_ENABLE_TRIGGER, 0);
    config(SQLITE_DBCONFIG_WRITABLE_SCHEMA, 0);
    sqlite3_limit(db_, SQLITE_LIMIT_LENGTH, static_cast<int>(limits_.valueBytes));
    sqlite3_limit(db_, SQLITE_LIMIT_SQL_LENGTH, static_cast<int>(limits_.sqlBytes));
    sqlite3_limit(db_, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_limit(db_, SQLITE_LIMIT_WORKER_THREADS, 0);
    if (registerFunctions(db_) != SQLITE_OK) {
        std::string msg = sqlite3_errmsg(db_);
        sqlite3_close(db_);
        throw DatabaseError("The SQL engine could not be started: " + msg);
    }
    sqlite3_set_authorizer(db_, authorizerCallback, this);
    sqlite3_progress_handler(db_, kProgressSteps, progressCallback, this);
    // The heap limit counts every SQLite allocation of the process: the
    // statement may add memoryBytes to what is in use now.
    previousHeapLimit_ = sqlite3_hard_heap_limit64(sqlite3_memory_used() + limits_.memoryBytes);
}

GuardedConnection::~GuardedConnection() {
    sqlite3_close(db_);
    sqlite3_hard_heap_limit64(previousHeapLimit_);
}

int GuardedConnection::authorize(int action, const char* a1, const char* a2, const char* db) {
    switch (action) {
        case SQLITE_SELECT:
        case SQLITE_READ:
        case SQLITE_RECURSIVE:
            return SQLITE_OK;
        case SQLITE_FUNCTION:
            if (a2 && sqlite3_stricmp(a2, "load_extension") != 0 &&
                sqlite3_stricmp(a2, "fts3_tokenizer") != 0)
                return SQLITE_OK;
            break;
        case SQLITE_CREATE_VIEW:
            if (!viewBeingCreated_.empty() && a1 && viewBeingCreated_ == a1 && db &&
                std::strcmp(db, "main") == 0)
                return SQLITE_OK;
            break;
        case SQLITE_INSERT:
        case SQLITE_UPDATE:
            // Creating a view or offering a table records it in the schema table.
            if ((declaring_ || !viewBeingCreated_.empty()) && isSchemaTable(a1) && db &&
                std::strcmp(db, "main") == 0)
                return SQLITE_OK;
            break;
        default:
            break;
    }
    // Writes to the schema table come with the statement's own action, which
    // says more.
    const bool schemaWrite =
        (action == SQLITE_INSERT || action == SQLITE_UPDATE || action == SQLITE_DELETE) &&
        isSchemaTable(a1);
    if (denied_.empty() || (deniedSchemaWrite_ && !schemaWrite)) {
        denied_ = schemaWrite ? "a change to the schema" : actionName(action, a1, a2);
        deniedSchemaWrite_ = schemaWrite;
    }
    return SQLITE_DENY;
}

Statement GuardedConnection::prepareOne(const std::string& sql) {
    if (static_cast<std::int64_t>(sql.size()) > limits_.sqlBytes)
        throw DatabaseError("The statement is longer than allowed (" +
                            std::to_string(limits_.sqlBytes) + " characters).");
    denied_.clear();
    deniedSchemaWrite_ = false;
    sqlite3_stmt* raw = nullptr;
    const char* tail = nullptr;
    int rc = sqlite3_prepare_v2(db_, sql.c_str(), static_cast<int>(sql.size()), &raw, &tail);
    Statement st(raw);
    if (rc != SQLITE_OK) fail(rc);
    if (!st.get()) throw DatabaseError("The SQL statement is empty.");
    if (tail && !onlyTrivia(tail))
        throw DatabaseError(
            "Characters found after end of SQL statement: only one statement can be run.");
    return st;
}

Statement GuardedConnection::prepareQuery(const std::string& sql) {
    Statement st = prepareOne(sql);
    if (sqlite3_column_count(st.get()) == 0 || !sqlite3_stmt_readonly(st.get()))
        throw DatabaseError("Only statements that select records can be run here.");
    return st;
}

void GuardedConnection::createView(const std::string& name, const std::string& body) {
    try {
        prepareQuery(body);
    } catch (const DatabaseError& e) {
        throw DatabaseError("The stored query '" + name + "' cannot be used: " + e.what());
    }
    std::string select = body;
    while (!select.empty() && std::strchr(" \t\r\n\f\v;", select.back())) select.pop_back();
    viewBeingCreated_ = name;
    try {
        Statement st = prepareOne("CREATE VIEW " + quotedName(name) + " AS " + select);
        int rc = sqlite3_step(st.get());
        if (rc != SQLITE_DONE) fail(rc);
    } catch (const DatabaseError& e) {
        viewBeingCreated_.clear();
        throw DatabaseError("The stored query '" + name + "' cannot be used: " + e.what());
    }
    viewBeingCreated_.clear();
}

void GuardedConnection::checkCancelled() const {
    if (cancelled()) throw DatabaseError("The statement was cancelled.");
}

void GuardedConnection::fail(int rc) const {
    // A refusal may reach the caller as another code (a table-valued function
    // whose own statement was refused, a function that may not be called).
    if (!denied_.empty()) rc = SQLITE_AUTH;
    switch (rc & 0xFF) {
        case SQLITE_NOMEM:
            throw DatabaseError("The statement needs more memory than allowed (" +
                                megabytes(limits_.memoryBytes) + ").");
        case SQLITE_TOOBIG:
            throw DatabaseError("The statement builds a value larger than allowed (" +
                                megabytes(limits_.valueBytes) + ").");
        case SQLITE_INTERRUPT:
            throw DatabaseError("The statement was cancelled.");
        case SQLITE_AUTH:
            throw DatabaseError("Only statements that select records can be run here (" +
                                (denied_.empty() ? std::string("this statement") : denied_) +
                                " is not allowed).");
        default:
            throw DatabaseError(sqlite3_errmsg(db_));
    }
}

}  // namespace rq::sql
