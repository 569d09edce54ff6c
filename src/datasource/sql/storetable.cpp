#include "datasource/sql/storetable.h"

#include <sqlite3.h>

#include <cmath>
#include <new>
#include <vector>

#include "datasource/sql/tablestore.h"

namespace rq::sql {

namespace {

struct Offered {
    TableStore* store;
    bool* declaring;
};

struct StoreTable : sqlite3_vtab {
    TableStore* store = nullptr;
};

struct StoreCursor : sqlite3_vtab_cursor {
    TableStore* store = nullptr;
    // A scan visits rows 0 .. rowCount-1; a lookup visits the rows listed.
    bool lookup = false;
    const std::uint32_t* list = nullptr;
    const std::uint32_t* listEnd = nullptr;
    std::vector<std::uint32_t> scratch;
    std::size_t pos = 0;
    std::vector<Value> row;
    bool decoded = false;

    std::size_t current() const { return lookup ? list[pos] : pos; }
    bool atEnd() const { return lookup ? list + pos >= listEnd : pos >= store->rowCount(); }
};

std::string quoted(const std::string& name) {
    std::string q = "\"";
    for (char c : name) {
        if (c == '"') q += '"';
        q += c;
    }
    return q + '"';
}

int connect(sqlite3* db, void* aux, int, const char* const*, sqlite3_vtab** out, char** err) {
    const auto* offered = static_cast<const Offered*>(aux);
    TableStore* store = offered->store;
    std::string decl = "CREATE TABLE x(";
    const auto& fields = store->fields();
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (i) decl += ", ";
        decl += quoted(fields[i].name) + " " + declaredType(fields[i].type);
    }
    decl += ")";
    *offered->declaring = true;
    int rc = sqlite3_declare_vtab(db, decl.c_str());
    *offered->declaring = false;
    if (rc != SQLITE_OK) {
        *err = sqlite3_mprintf("%s", sqlite3_errmsg(db));
        return rc;
    }
    sqlite3_vtab_config(db, SQLITE_VTAB_INNOCUOUS);
    auto* table = new (std::nothrow) StoreTable();
    if (!table) return SQLITE_NOMEM;
    table->store = store;
    *out = table;
    return SQLITE_OK;
}

int disconnect(sqlite3_vtab* vtab) {
    delete static_cast<StoreTable*>(vtab);
    return SQLITE_OK;
}

// One equality on a column is answered by a lookup; everything else by a scan.
// SQLite checks every constraint again on the rows it gets.
int bestIndex(sqlite3_vtab* vtab, sqlite3_index_info* info) {
    const double rows = static_cast<double>(static_cast<StoreTable*>(vtab)->store->rowCount());
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto& c = info->aConstraint[i];
        if (!c.usable || c.op != SQLITE_INDEX_CONSTRAINT_EQ || c.iColumn < 0) continue;
        info->aConstraintUsage[i].argvIndex = 1;
        info->idxNum = c.iColumn + 1;
        info->estimatedCost = 10 + std::log2(rows + 1);
        info->estimatedRows = 10;
        return SQLITE_OK;
    }
    info->idxNum = 0;
    info->estimatedCost = rows + 1;
    info->estimatedRows = static_cast<sqlite3_int64>(rows) + 1;
    return SQLITE_OK;
}

int openCursor(sqlite3_vtab* vtab, sqlite3_vtab_cursor** out) {
    auto* cursor = new (std::nothrow) StoreCursor();
    if (!cursor) return SQLITE_NOMEM;
    cursor->store = static_cast<StoreTable*>(vtab)->store;
    *out = cursor;
    return SQLITE_OK;
}

int closeCursor(sqlite3_vtab_cursor* cur) {
    delete static_cast<StoreCursor*>(cur);
    return SQLITE_OK;
}

Value argumentValue(sqlite3_value* a) {
    Value v;
    switch (sqlite3_value_type(a)) {
        case SQLITE_INTEGER:
            v.kind = Value::Integer;
            v.i = sqlite3_value_int64(a);
            break;
        case SQLITE_FLOAT:
            v.kind = Value::Real;
            v.r = sqlite3_value_double(a);
            break;
        case SQLITE_TEXT:
        case SQLITE_BLOB: {
            const void* p = sqlite3_value_blob(a);
            v.kind = Value::Text;
            v.text = {p ? static_cast<const char*>(p) : "",
                      static_cast<std::size_t>(sqlite3_value_bytes(a))};
            break;
        }
        default:
            break;
    }
    return v;
}

int filter(sqlite3_vtab_cursor* cur, int idxNum, const char*, int argc, sqlite3_value** argv) {
    auto* c = static_cast<StoreCursor*>(cur);
    c->pos = 0;
    c->decoded = false;
    c->lookup = idxNum > 0 && argc > 0;
    if (c->lookup) {
        try {
            auto range = c->store->candidates(static_cast<std::size_t>(idxNum - 1),
                                              argumentValue(argv[0]), c->scratch);
            c->list = range.first;
            c->listEnd = range.second;
        } catch (const std::bad_alloc&) {
            return SQLITE_NOMEM;
        }
    }
    return SQLITE_OK;
}

int next(sqlite3_vtab_cursor* cur) {
    auto* c = static_cast<StoreCursor*>(cur);
    ++c->pos;
    c->decoded = false;
    return SQLITE_OK;
}

int eof(sqlite3_vtab_cursor* cur) {
    return static_cast<StoreCursor*>(cur)->atEnd() ? 1 : 0;
}

int column(sqlite3_vtab_cursor* cur, sqlite3_context* ctx, int i) {
    auto* c = static_cast<StoreCursor*>(cur);
    if (!c->decoded) {
        c->store->decode(c->current(), c->row);
        c->decoded = true;
    }
    if (i < 0 || static_cast<std::size_t>(i) >= c->row.size()) {
        sqlite3_result_null(ctx);
        return SQLITE_OK;
    }
    const Value& v = c->row[static_cast<std::size_t>(i)];
    switch (v.kind) {
        case Value::Null:
            sqlite3_result_null(ctx);
            break;
        case Value::Integer:
            sqlite3_result_int64(ctx, v.i);
            break;
        case Value::Real:
            sqlite3_result_double(ctx, v.r);
            break;
        case Value::Text:
            // The store outlives every statement: SQLite may point into it.
            sqlite3_result_text64(ctx, v.text.data(), v.text.size(), SQLITE_STATIC, SQLITE_UTF8);
            break;
    }
    return SQLITE_OK;
}

int rowid(sqlite3_vtab_cursor* cur, sqlite3_int64* out) {
    *out = static_cast<sqlite3_int64>(static_cast<StoreCursor*>(cur)->current());
    return SQLITE_OK;
}

sqlite3_module makeModule() {
    sqlite3_module m{};
    m.iVersion = 0;
    m.xCreate = nullptr;  // no CREATE VIRTUAL TABLE: the table exists under the module's name
    m.xConnect = connect;
    m.xBestIndex = bestIndex;
    m.xDisconnect = disconnect;
    m.xDestroy = disconnect;
    m.xOpen = openCursor;
    m.xClose = closeCursor;
    m.xFilter = filter;
    m.xNext = next;
    m.xEof = eof;
    m.xColumn = column;
    m.xRowid = rowid;
    return m;
}

const sqlite3_module kModule = makeModule();

}  // namespace

int offerTable(sqlite3* db, const std::string& name, TableStore& store, bool* declaring) {
    auto* offered = new (std::nothrow) Offered{&store, declaring};
    if (!offered) return SQLITE_NOMEM;
    return sqlite3_create_module_v2(db, name.c_str(), &kModule, offered,
                                    [](void* p) { delete static_cast<Offered*>(p); });
}

}  // namespace rq::sql
