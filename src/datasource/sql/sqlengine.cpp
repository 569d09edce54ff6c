#include "datasource/sqlengine.h"

#include <sqlite3.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <unordered_set>

#include "datasource/sql/functions.h"
#include "datasource/sql/translate.h"
#include "datasource/valuetext.h"

namespace rq {

namespace {

// Declared column types of the copies: they give SQLite the affinity that
// makes numbers compare as numbers, and give the field type back for result
// columns that are plain column references.
struct TypeName {
    int code;
    const char* decl;
};
constexpr TypeName kTypeNames[] = {
    {kBoolean, "BOOLEAN"}, {kByte, "BYTEINT"},       {kInteger, "SMALLINT"},
    {kLong, "INTEGER"},    {kCurrency, "CURRENCY"},  {kSingle, "SINGLEFLOAT"},
    {kDouble, "DOUBLE"},   {kDateTime, "DATETEXT"},  {kBinary, "BINBLOB"},
    {kText, "TEXT"},       {kLongBinary, "OLEBLOB"}, {kMemo, "MEMOTEXT"},
    {kGuid, "GUIDTEXT"},   {kBigInt, "BIGINT"},      {kDecimal, "DECIMAL"},
};

const char* declFor(int code) {
    for (const auto& t : kTypeNames)
        if (t.code == code) return t.decl;
    return "TEXT";
}

int codeForDecl(const char* decl) {
    if (!decl) return 0;
    std::string d(decl);
    for (auto& c : d) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    for (const auto& t : kTypeNames)
        if (d == t.decl) return t.code;
    return 0;
}

std::string quoteIdent(const std::string& name) {
    std::string q = "\"";
    for (char c : name) {
        if (c == '"') q += '"';
        q += c;
    }
    q += '"';
    return q;
}

// Statements run with an authorizer that lets them read and nothing else.
int readOnlyAuthorizer(void*, int action, const char*, const char*, const char*, const char*) {
    switch (action) {
        case SQLITE_SELECT:
        case SQLITE_READ:
        case SQLITE_FUNCTION:
        case SQLITE_RECURSIVE:
            return SQLITE_OK;
        default:
            return SQLITE_DENY;
    }
}

// Parenthesised joins reach SQLite as subqueries, whose duplicate column names
// it numbers "City:1"; the classic engine keeps the plain name.
std::string withoutDuplicateSuffix(std::string name) {
    std::size_t colon = name.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == name.size()) return name;
    for (std::size_t i = colon + 1; i < name.size(); ++i)
        if (!std::isdigit(static_cast<unsigned char>(name[i]))) return name;
    return name.substr(0, colon);
}

// A number computed by the statement (sums of currency, quotients): binary
// floating point leaves noise in the last digits (1552.6000000000001), so it is
// shown to the fifteen significant digits a double holds exactly.
std::string computedNumber(double v) {
    if (!std::isfinite(v)) return valuetext::floating(v);
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.15g", v);
    return valuetext::floating(std::strtod(buf, nullptr));
}

class Statement {
  public:
    Statement(sqlite3* db, const std::string& sql) {
        const char* tail = nullptr;
        rc_ = sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &st_, &tail);
        if (rc_ == SQLITE_OK && tail) {
            for (const char* p = tail; *p; ++p)
                if (!std::isspace(static_cast<unsigned char>(*p)) && *p != ';') {
                    sqlite3_finalize(st_);
                    st_ = nullptr;
                    rc_ = SQLITE_MISUSE;
                    break;
                }
        }
    }
    ~Statement() { sqlite3_finalize(st_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    sqlite3_stmt* get() const { return st_; }
    int rc() const { return rc_; }

  private:
    sqlite3_stmt* st_ = nullptr;
    int rc_ = SQLITE_OK;
};

class Session {
  public:
    explicit Session(Database& src) : src_(src) {
        if (sqlite3_open_v2(":memory:", &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                            nullptr) != SQLITE_OK)
            fail();
        if (sql::registerFunctions(db_) != SQLITE_OK) fail();
        exec("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF;");
    }
    ~Session() { sqlite3_close(db_); }

    void need(const std::vector<std::string>& names, int depth);
    void run(const std::string& sql, RecordSink& sink);

  private:
    [[noreturn]] void fail() const {
        throw DatabaseError(db_ ? sqlite3_errmsg(db_) : "The SQL engine could not be started.");
    }
    void exec(const std::string& sql) {
        char* err = nullptr;
        if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &err) != SQLITE_OK) {
            std::string msg = err ? err : sqlite3_errmsg(db_);
            sqlite3_free(err);
            throw DatabaseError(msg);
        }
    }
    void copyTable(const std::string& name);

    Database& src_;
    sqlite3* db_ = nullptr;
    bool haveCatalog_ = false;
    std::vector<CatalogEntry> catalog_;
    std::set<std::string> done_, inProgress_;
};

class InsertSink : public RecordSink {
  public:
    InsertSink(sqlite3* db, std::string table) : db_(db), table_(std::move(table)) {}
    ~InsertSink() override { sqlite3_finalize(insert_); }

    void begin(const std::vector<Field>& fields) override {
        types_.clear();
        std::string create = "CREATE TABLE " + quoteIdent(table_) + " (";
        std::string insert = "INSERT INTO " + quoteIdent(table_) + " VALUES (";
        std::unordered_set<std::string> seen;
        for (std::size_t i = 0; i < fields.size(); ++i) {
            std::string name =
                fields[i].name.empty() ? "F" + std::to_string(i + 1) : fields[i].name;
            std::string key = sql::lowerName(name);
            for (int k = 2; seen.count(key); ++k)
                key = sql::lowerName(name + "_" + std::to_string(k));
            if (key != sql::lowerName(name)) name = name + key.substr(name.size());
            seen.insert(key);
            if (i) {
                create += ", ";
                insert += ", ";
            }
            create += quoteIdent(name) + " " + declFor(fields[i].type);
            insert += "?";
            types_.push_back(fields[i].type);
        }
        if (fields.empty()) create += "\"F1\" TEXT";
        create += ")";
        insert += ")";
        check(sqlite3_exec(db_, create.c_str(), nullptr, nullptr, nullptr));
        if (!fields.empty()) check(sqlite3_prepare_v2(db_, insert.c_str(), -1, &insert_, nullptr));
    }

    void row(const std::string_view* cells, std::size_t count) override {
        if (!insert_) return;
        for (std::size_t i = 0; i < types_.size(); ++i) {
            int col = static_cast<int>(i) + 1;
            std::string_view v = i < count ? cells[i] : std::string_view();
            if (v.empty()) {
                sqlite3_bind_null(insert_, col);
            } else if (types_[i] == kBoolean && (v == "true" || v == "false")) {
                sqlite3_bind_int(insert_, col, v == "true" ? 1 : 0);
            } else {
                sqlite3_bind_text(insert_, col, v.data(), static_cast<int>(v.size()),
                                  SQLITE_TRANSIENT);
            }
        }
        int rc = sqlite3_step(insert_);
        sqlite3_reset(insert_);
        if (rc != SQLITE_DONE) check(rc);
    }

  private:
    void check(int rc) {
        if (rc != SQLITE_OK) throw DatabaseError(sqlite3_errmsg(db_));
    }
    sqlite3* db_;
    std::string table_;
    sqlite3_stmt* insert_ = nullptr;
    std::vector<int> types_;
};

void Session::copyTable(const std::string& name) {
    exec("BEGIN");
    InsertSink sink(db_, name);
    src_.read(name, sink);
    exec("COMMIT");
}

void Session::need(const std::vector<std::string>& names, int depth) {
    if (depth > 32) throw DatabaseError("Stored queries are nested too deeply.");
    if (!haveCatalog_) {
        catalog_ = src_.catalog();
        haveCatalog_ = true;
    }
    std::unordered_set<std::string> wanted(names.begin(), names.end());
    for (const auto& e : catalog_) {
        std::string key = sql::lowerName(e.name);
        if (!wanted.count(key) || done_.count(key)) continue;
        if (inProgress_.count(key))
            throw DatabaseError("The stored query '" + e.name + "' refers to itself.");
        std::string stored = e.marker == 1 ? src_.storedQuerySql(e.name) : std::string();
        if (stored.empty()) {
            copyTable(e.name);
        } else {
            inProgress_.insert(key);
            sql::Translation t = sql::translateStatement(stored);
            need(t.names, depth + 1);
            inProgress_.erase(key);
            exec("CREATE VIEW " + quoteIdent(e.name) + " AS " + t.sql);
        }
        done_.insert(key);
    }
}

void Session::run(const std::string& sqlText, RecordSink& sink) {
    sqlite3_set_authorizer(db_, readOnlyAuthorizer, nullptr);
    Statement st(db_, sqlText);
    if (st.rc() == SQLITE_AUTH)
        throw DatabaseError("Only statements that select records can be run here.");
    if (st.rc() == SQLITE_MISUSE)
        throw DatabaseError("Characters found after end of SQL statement.");
    if (st.rc() != SQLITE_OK) fail();
    if (!st.get()) throw DatabaseError("The SQL statement is empty.");
    const int ncols = sqlite3_column_count(st.get());
    if (ncols == 0) throw DatabaseError("Only statements that select records can be run here.");

    std::vector<Field> fields(static_cast<std::size_t>(ncols));
    std::vector<int> declared(static_cast<std::size_t>(ncols));
    for (int c = 0; c < ncols; ++c) {
        const char* n = sqlite3_column_name(st.get(), c);
        fields[static_cast<std::size_t>(c)].name = withoutDuplicateSuffix(n ? n : "");
        declared[static_cast<std::size_t>(c)] = codeForDecl(sqlite3_column_decltype(st.get(), c));
    }
    std::vector<int> seenType(static_cast<std::size_t>(ncols), SQLITE_NULL);
    std::vector<std::string> cells;
    int rc;
    while ((rc = sqlite3_step(st.get())) == SQLITE_ROW) {
        for (int c = 0; c < ncols; ++c) {
            auto ci = static_cast<std::size_t>(c);
            int t = sqlite3_column_type(st.get(), c);
            if (seenType[ci] == SQLITE_NULL) seenType[ci] = t;
            switch (t) {
                case SQLITE_INTEGER: {
                    sqlite3_int64 v = sqlite3_column_int64(st.get(), c);
                    cells.push_back(declared[ci] == kBoolean ? valuetext::boolean(v != 0)
                                                             : valuetext::integer(v));
                    break;
                }
                case SQLITE_FLOAT: {
                    double v = sqlite3_column_double(st.get(), c);
                    cells.push_back(declared[ci] == kDouble || declared[ci] == kSingle
                                        ? valuetext::floating(v)
                                        : computedNumber(v));
                    break;
                }
                case SQLITE_TEXT: {
                    const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(st.get(), c));
                    cells.emplace_back(p ? p : "",
                                       static_cast<std::size_t>(sqlite3_column_bytes(st.get(), c)));
                    break;
                }
                case SQLITE_BLOB: {
                    const auto* p = static_cast<const char*>(sqlite3_column_blob(st.get(), c));
                    int n = sqlite3_column_bytes(st.get(), c);
                    cells.push_back(valuetext::base64(
                        std::string_view(p ? p : "", p ? static_cast<std::size_t>(n) : 0)));
                    break;
                }
                default:
                    cells.emplace_back();
                    break;
            }
        }
    }
    if (rc != SQLITE_DONE) fail();
    for (int c = 0; c < ncols; ++c) {
        auto ci = static_cast<std::size_t>(c);
        int code = declared[ci];
        if (!code) {
            switch (seenType[ci]) {
                case SQLITE_INTEGER:
                    code = kLong;
                    break;
                case SQLITE_FLOAT:
                    code = kDouble;
                    break;
                case SQLITE_BLOB:
                    code = kLongBinary;
                    break;
                default:
                    code = kText;
                    break;
            }
        }
        fields[ci].type = code;
    }
    sink.begin(fields);
    std::vector<std::string_view> views(static_cast<std::size_t>(ncols));
    for (std::size_t r = 0; r + static_cast<std::size_t>(ncols) <= cells.size();
         r += static_cast<std::size_t>(ncols)) {
        for (std::size_t c = 0; c < views.size(); ++c) views[c] = cells[r + c];
        sink.row(views.data(), views.size());
    }
    sink.end();
}

}  // namespace

void runSqlOverDatabase(Database& db, const std::string& statement, RecordSink& sink) {
    sql::Translation t = sql::translateStatement(statement);
    Session session(db);
    session.need(t.names, 0);
    session.run(t.sql, sink);
}

}  // namespace rq
