// Access databases (.mdb of Jet 3 and Jet 4, .accdb of ACE) through libmdb.
// libmdb walks the pages, the catalog and the rows; the values are decoded here
// from the row bytes, because libmdb's own text forms lose dates outside
// 1900..9999, cut long values at its bind size and round numbers.
#include <glib.h>
// glib must come first.
#include <mdbtools.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <map>
#include <memory>
#include <set>

#include "datasource/access/jetformat.h"
#include "datasource/access/mdbmessages.h"
#include "datasource/access/storedquery.h"
#include "datasource/codepage.h"
#include "datasource/isolatedread.h"
#include "datasource/readers.h"
#include "datasource/sql/translate.h"
#include "datasource/sqlengine.h"
#include "datasource/valuetext.h"

namespace rq {

namespace {

constexpr int kMdbBigInt = 0x13;
constexpr std::size_t kMaxLongValue = 256u << 20;  // a memo or OLE value is cut here
constexpr std::uintmax_t kMaxFileSize = std::uintmax_t{4} << 30;

std::uint32_t le32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

template <typename T>
T loadLe(const unsigned char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

std::string lowerAscii(std::string s) {
    for (auto& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

[[noreturn]] void unrecognised(const std::string& path) {
    throw DatabaseError("Unrecognized database format '" + path + "'.", kErrUnrecognisedFormat);
}

int fieldTypeOf(int mdbType) {
    switch (mdbType) {
        case MDB_BOOL:
            return kBoolean;
        case MDB_BYTE:
            return kByte;
        case MDB_INT:
            return kInteger;
        case MDB_LONGINT:
            return kLong;
        case MDB_MONEY:
            return kCurrency;
        case MDB_FLOAT:
            return kSingle;
        case MDB_DOUBLE:
            return kDouble;
        case MDB_DATETIME:
            return kDateTime;
        case MDB_BINARY:
            return kBinary;
        case MDB_TEXT:
            return kText;
        case MDB_OLE:
            return kLongBinary;
        case MDB_MEMO:
            return kMemo;
        case MDB_REPID:
            return kGuid;
        case MDB_NUMERIC:
            return kDecimal;
        case MDB_COMPLEX:
            return kLong;
        case kMdbBigInt:
            return kBigInt;
        default:
            return kText;
    }
}

struct TableDefDeleter {
    void operator()(MdbTableDef* t) const { mdb_free_tabledef(t); }
};
using TableDefPtr = std::unique_ptr<MdbTableDef, TableDefDeleter>;

struct QueryEntry {
    std::string name;
    std::uint32_t id = 0;  // the low 24 bits of the object id
    int flags = 0;
};

class AccessDatabase : public Database {
  public:
    AccessDatabase(std::string path, MdbHandle* mdb, const jet::Header& header, int codePage,
                   std::uintmax_t pageCount)
        : path_(std::move(path)),
          mdb_(mdb),
          header_(header),
          codePage_(CodePage::get(codePage)),
          pageCount_(pageCount) {}
    ~AccessDatabase() override { mdb_close(mdb_); }

    void loadCatalog();

    std::string name() const override { return path_; }

    std::vector<CatalogEntry> catalog() override {
        std::vector<CatalogEntry> out;
        for (auto* e : tables_) out.push_back({e->object_name, 0});
        for (auto& q : queries_) out.push_back({q.name, 1});
        return out;
    }

    std::vector<Field> fields(const std::string& table) override {
        if (MdbCatalogEntry* e = findTable(table)) {
            std::vector<Field> out;
            scan(e, &out, nullptr);
            return out;
        }
        struct FieldsSink : RecordSink {
            std::vector<Field> fields;
            void begin(const std::vector<Field>& f) override { fields = f; }
            void row(const std::string_view*, std::size_t) override {}
        } sink;
        read(table, sink);
        return sink.fields;
    }

    void read(const std::string& table, RecordSink& sink) override {
        if (MdbCatalogEntry* e = findTable(table)) {
            scan(e, nullptr, &sink);
            return;
        }
        if (const QueryEntry* q = findQuery(table)) {
            std::string sql = storedQuerySql(q->name);
            if (sql.empty())
                throw DatabaseError("The stored query '" + q->name + "' of '" + path_ +
                                    "' changes data and cannot be loaded.");
            try {
                runSqlOverDatabase(*this, sql, sink);
            } catch (const DatabaseError& e) {
                throw DatabaseError("The stored query '" + q->name + "' of '" + path_ +
                                        "' cannot be run: " + e.what(),
                                    e.code());
            }
            return;
        }
        throw DatabaseError("Cannot find the table or query '" + table + "' in '" + path_ + "'.");
    }

    std::string storedQuerySql(const std::string& name) override {
        const QueryEntry* q = findQuery(name);
        if (!q) return {};
        loadQueryRows();
        auto it = queryRows_.find(q->id);
        if (it == queryRows_.end()) return {};
        const std::string sql = jet::rebuildQuerySql(it->second, q->flags);
        return jet::bindParameters(sql, jet::queryParameters(it->second, sql), parameterValues(),
                                   q->name);
    }

    std::vector<QueryParameter> storedQueryParameters(const std::string& name) override {
        std::vector<QueryParameter> out;
        std::set<std::string> seen;
        collectParameters(name, out, seen, 0);
        return out;
    }

  private:
    // The parameters of a stored query and of the stored queries it names.
    void collectParameters(const std::string& name, std::vector<QueryParameter>& out,
                           std::set<std::string>& seen, int depth) {
        const QueryEntry* q = findQuery(name);
        if (!q || depth > 32 || !seen.insert(lowerAscii(q->name)).second) return;
        loadQueryRows();
        auto it = queryRows_.find(q->id);
        if (it == queryRows_.end()) return;
        const std::string text = jet::rebuildQuerySql(it->second, q->flags);
        for (const QueryParameter& p : jet::queryParameters(it->second, text)) {
            auto same = [&p](const QueryParameter& o) {
                return lowerAscii(o.name) == lowerAscii(p.name);
            };
            if (std::none_of(out.begin(), out.end(), same)) out.push_back(p);
        }
        sql::Translation t;
        try {
            t = sql::translateStatement(text);
        } catch (const DatabaseError&) {
            return;
        }
        for (const std::string& used : t.names) collectParameters(used, out, seen, depth + 1);
    }

    MdbCatalogEntry* findTable(const std::string& name) const {
        for (auto* e : tables_)
            if (name == e->object_name) return e;
        std::string key = lowerAscii(name);
        for (auto* e : tables_)
            if (key == lowerAscii(e->object_name)) return e;
        return nullptr;
    }

    const QueryEntry* findQuery(const std::string& name) const {
        for (auto& q : queries_)
            if (name == q.name) return &q;
        std::string key = lowerAscii(name);
        for (auto& q : queries_)
            if (key == lowerAscii(q.name)) return &q;
        return nullptr;
    }

    // Reads the fields and (when sink is given) every record of a table.
    void scan(MdbCatalogEntry* entry, std::vector<Field>* fieldsOut, RecordSink* sink);
    std::string valueText(MdbColumn* col);
    std::string longValue(const unsigned char* p, int len);
    std::string text(std::string_view bytes) const {
        if (header_.version == jet::Version::Jet3) return codePage_.toUtf8(bytes);
        std::string s;
        jet::appendUcs2Text(s, bytes);
        return s;
    }
    void loadQueryRows();

    std::string path_;
    MdbHandle* mdb_;
    jet::Header header_;
    const CodePage& codePage_;
    std::uintmax_t pageCount_;
    std::deque<MdbCatalogEntry> entries_;  // stable addresses for libmdb
    std::vector<MdbCatalogEntry*> tables_;
    std::vector<QueryEntry> queries_;
    bool queryRowsLoaded_ = false;
    std::map<std::uint32_t, std::vector<jet::QueryRow>> queryRows_;
};

// The catalog is read from the system table of objects here rather than with
// libmdb's catalog reader, which also parses every object's property blob and
// loops for ever on some damaged ones.
void AccessDatabase::loadCatalog() {
    MdbCatalogEntry& objects = entries_.emplace_back();
    objects.mdb = mdb_;
    std::snprintf(objects.object_name, sizeof objects.object_name, "%s", "MSysObjects");
    objects.object_type = MDB_TABLE;
    objects.table_pg = 2;
    struct ObjectsSink : RecordSink {
        int iId = -1, iName = -1, iType = -1, iFlags = -1;
        struct Object {
            std::string name;
            long long id = 0, type = 0, flags = 0;
        };
        std::vector<Object> objects;
        void begin(const std::vector<Field>& f) override {
            for (std::size_t i = 0; i < f.size(); ++i) {
                int k = static_cast<int>(i);
                if (f[i].name == "Id") iId = k;
                if (f[i].name == "Name") iName = k;
                if (f[i].name == "Type") iType = k;
                if (f[i].name == "Flags") iFlags = k;
            }
        }
        void row(const std::string_view* c, std::size_t n) override {
            if (iId < 0 || iName < 0 || iType < 0 ||
                static_cast<std::size_t>(std::max({iId, iName, iType, iFlags})) >= n)
                return;
            auto num = [&](int i) -> long long {
                if (i < 0 || c[i].empty()) return 0;
                return std::strtoll(std::string(c[i]).c_str(), nullptr, 10);
            };
            objects.push_back({std::string(c[iName]), num(iId), num(iType), num(iFlags)});
        }
    } sink;
    try {
        scan(&objects, nullptr, &sink);
    } catch (const DatabaseError&) {
        unrecognised(path_);
    }
    if (sink.iId < 0 || sink.iName < 0 || sink.iType < 0) unrecognised(path_);
    for (auto& o : sink.objects) {
        const int type = static_cast<int>(o.type & 0x7FFF);
        const auto id = static_cast<std::uint32_t>(o.id) & 0xFFFFFF;
        const auto flags = static_cast<std::uint32_t>(o.flags);
        if (o.name.empty()) continue;
        if (type == MDB_QUERY) {
            queries_.push_back({o.name, id, static_cast<int>(flags)});
            continue;
        }
        if (type != MDB_TABLE && type != MDB_LINKED_TABLE) continue;
        const bool system = (flags & 0x80000002u) != 0;
        if (type == MDB_TABLE && system && lowerAscii(o.name.substr(0, 4)) != "msys") continue;
        MdbCatalogEntry& e = entries_.emplace_back();
        e.mdb = mdb_;
        std::snprintf(e.object_name, sizeof e.object_name, "%s", o.name.c_str());
        e.object_type = type;
        e.table_pg = id;
        e.flags = static_cast<int>(flags);
        tables_.push_back(&e);
    }
}

void AccessDatabase::scan(MdbCatalogEntry* entry, std::vector<Field>* fieldsOut, RecordSink* sink) {
    const std::string tableName = entry->object_name;
    auto fail = [&](const std::string& why) {
        throw DatabaseError("Cannot read the table '" + tableName + "' of '" + path_ + "': " + why);
    };
    if (entry->object_type == MDB_LINKED_TABLE)
        fail("it is linked from another database, which is not opened.");
    TableDefPtr table(mdb_read_table(entry));
    if (!table) fail("its definition is damaged.");
    // libmdb follows the page map without checking it.
    if (!jet::usageMapIsSound(table->usage_map, table->map_sz))
        fail("its map of pages is damaged.");
    if (!mdb_read_columns(table.get()) || !table->columns) fail("its columns are damaged.");
    const guint ncols = table->columns->len;
    std::vector<Field> fields;
    std::vector<MdbColumn*> cols;
    for (guint i = 0; i < ncols; ++i) {
        auto* col = static_cast<MdbColumn*>(g_ptr_array_index(table->columns, i));
        cols.push_back(col);
        fields.push_back({col->name, fieldTypeOf(col->col_type)});
    }
    if (fieldsOut) *fieldsOut = fields;
    if (!sink) return;

    // Booleans live in the null mask; libmdb reports them only through a bound
    // buffer. Everything else is decoded from the row bytes.
    std::vector<std::unique_ptr<char[]>> boolBuffers;
    for (guint i = 0; i < ncols; ++i) {
        if (cols[i]->col_type != MDB_BOOL) continue;
        boolBuffers.emplace_back(new char[mdb_->bind_size + 1]());
        mdb_bind_column(table.get(), static_cast<int>(i) + 1, boolBuffers.back().get(), nullptr);
    }
    sink->begin(fields);
    mdb_rewind_table(table.get());
    std::vector<std::string> cells(ncols);
    std::vector<std::string_view> views(ncols);
    // A row lives on one page, at most 256 rows a page: more means the page
    // chain loops.
    const std::uintmax_t maxRows = (pageCount_ + 1) * 256;
    std::uintmax_t rows = 0;
    while (ncols > 0 && mdb_fetch_row(table.get())) {
        if (++rows > maxRows) fail("its pages are damaged.");
        for (guint i = 0; i < ncols; ++i) {
            cells[i] = valueText(cols[i]);
            views[i] = cells[i];
        }
        sink->row(views.data(), views.size());
    }
    // The definition counts the table's records; a file cut short, or pages
    // that could not be read, give fewer.
    if (rows < table->num_rows)
        sink->warning(path_ + ": " + std::to_string(rows) + " of " +
                      std::to_string(table->num_rows) + " records read");
    sink->end();
}

std::string AccessDatabase::valueText(MdbColumn* col) {
    if (col->col_type == MDB_BOOL) return valuetext::boolean(col->cur_value_len == 0);
    const int start = col->cur_value_start;
    const int len = col->cur_value_len;
    const int pageSize = static_cast<int>(mdb_->fmt->pg_size);
    if (len <= 0 || start < 0 || start >= pageSize || len > pageSize - start) return {};
    const unsigned char* p = mdb_->pg_buf + start;
    auto bytes = [&](int n) { return std::string_view(reinterpret_cast<const char*>(p), n); };
    switch (col->col_type) {
        case MDB_BYTE:
            return valuetext::integer(p[0]);
        case MDB_INT:
            if (len < 2) return {};
            return valuetext::integer(loadLe<std::int16_t>(p));
        case MDB_LONGINT:
        case MDB_COMPLEX:
            if (len < 4) return {};
            return valuetext::integer(loadLe<std::int32_t>(p));
        case kMdbBigInt:
            if (len < 8) return {};
            return valuetext::integer(loadLe<std::int64_t>(p));
        case MDB_MONEY:
            if (len < 8) return {};
            return valuetext::decimalScaled(loadLe<std::int64_t>(p), 4);
        case MDB_FLOAT:
            if (len < 4) return {};
            return valuetext::singleFloat(loadLe<float>(p));
        case MDB_DOUBLE:
            if (len < 8) return {};
            return valuetext::floating(loadLe<double>(p));
        case MDB_DATETIME:
            if (len < 8) return {};
            return valuetext::serialDateTime(loadLe<double>(p));
        case MDB_BINARY:
            return valuetext::base64(bytes(len));
        case MDB_TEXT:
            return text(bytes(len));
        case MDB_MEMO:
            return text(longValue(p, len));
        case MDB_OLE:
            return valuetext::base64(longValue(p, len));
        case MDB_REPID:
            return len < 16 ? std::string() : jet::guidValue(bytes(16));
        case MDB_NUMERIC:
            return len < 17 ? std::string() : jet::decimalValue(bytes(17), col->col_scale);
        default:
            return valuetext::base64(bytes(len));
    }
}

// A memo or OLE value: a 12-byte reference in the row, the bytes either inline
// after it or in one or more long-value rows on other pages.
std::string AccessDatabase::longValue(const unsigned char* p, int len) {
    if (len < MDB_MEMO_OVERHEAD) return {};
    const std::uint32_t head = le32(p);
    std::uint32_t pgRow = le32(p + 4);
    const std::size_t size = std::min<std::size_t>(head & 0x3FFFFFFF, kMaxLongValue);
    const std::size_t pageSize = static_cast<std::size_t>(mdb_->fmt->pg_size);
    std::string out;
    if (head & 0x80000000u) {
        out.assign(reinterpret_cast<const char*>(p) + MDB_MEMO_OVERHEAD,
                   static_cast<std::size_t>(len - MDB_MEMO_OVERHEAD));
        if (out.size() > size) out.resize(size);
        return out;
    }
    const bool single = (head & 0x40000000u) != 0;
    std::uintmax_t hops = 0;
    while (pgRow != 0) {
        if (++hops > pageCount_ + 1) break;  // the chain loops
        void* buf = nullptr;
        int off = 0;
        size_t rowLen = 0;
        if (mdb_find_pg_row(mdb_, static_cast<int>(pgRow), &buf, &off, &rowLen) != 0) break;
        if (off < 0 || static_cast<std::size_t>(off) >= pageSize || rowLen > pageSize - off) break;
        const auto* row = static_cast<const unsigned char*>(buf) + off;
        if (single) {
            out.append(reinterpret_cast<const char*>(row), rowLen);
            break;
        }
        if (rowLen < 4) break;
        out.append(reinterpret_cast<const char*>(row) + 4, rowLen - 4);
        if (out.size() >= size) break;
        pgRow = le32(row);
    }
    if (out.size() > size) out.resize(size);
    return out;
}

void AccessDatabase::loadQueryRows() {
    if (queryRowsLoaded_) return;
    queryRowsLoaded_ = true;
    MdbCatalogEntry* entry = findTable("MSysQueries");
    if (!entry) return;
    struct RowsSink : RecordSink {
        std::map<std::uint32_t, std::vector<jet::QueryRow>>& out;
        int iObject = -1, iAttr = -1, iName1 = -1, iName2 = -1, iExpr = -1, iFlag = -1;
        explicit RowsSink(std::map<std::uint32_t, std::vector<jet::QueryRow>>& o) : out(o) {}
        void begin(const std::vector<Field>& f) override {
            for (std::size_t i = 0; i < f.size(); ++i) {
                int k = static_cast<int>(i);
                if (f[i].name == "ObjectId") iObject = k;
                if (f[i].name == "Attribute") iAttr = k;
                if (f[i].name == "Name1") iName1 = k;
                if (f[i].name == "Name2") iName2 = k;
                if (f[i].name == "Expression") iExpr = k;
                if (f[i].name == "Flag") iFlag = k;
            }
        }
        void row(const std::string_view* c, std::size_t n) override {
            auto get = [&](int i) {
                return i >= 0 && static_cast<std::size_t>(i) < n ? std::string(c[i])
                                                                 : std::string();
            };
            if (iObject < 0 || iAttr < 0) return;
            jet::QueryRow r;
            try {
                r.attribute = std::stoi(get(iAttr));
                std::string flag = get(iFlag);
                r.hasFlag = !flag.empty();
                if (r.hasFlag) r.flag = std::stoi(flag);
                auto id = static_cast<std::uint32_t>(std::stoll(get(iObject))) & 0xFFFFFF;
                r.name1 = get(iName1);
                r.name2 = get(iName2);
                r.expression = get(iExpr);
                out[id].push_back(std::move(r));
            } catch (const std::exception&) {
                // a damaged row is left out
            }
        }
    } sink(queryRows_);
    scan(entry, nullptr, &sink);
}

std::unique_ptr<Database> openInProcess(const std::string& file, const OpenOptions& options,
                                        const jet::Header& header, std::uintmax_t size) {
    MdbHandle* mdb = mdb_open(file.c_str(), MDB_NOFLAGS);
    if (!mdb) unrecognised(file);
    int codePage = options.codepage;
    if (codePage == 0) codePage = CodePage::isSupported(header.codePage) ? header.codePage : 1252;
    auto db = std::make_unique<AccessDatabase>(file, mdb, header, codePage,
                                               size / static_cast<std::uintmax_t>(header.pageSize));
    db->loadCatalog();
    return db;
}

}  // namespace

// The header, the size and the password are checked here, by this reader's
// own code; libmdb reads the rest in a child process (isolatedread.h).
std::unique_ptr<Database> openAccessDatabase(const std::string& file, const OpenOptions& options) {
    struct stat st {};
    if (::stat(file.c_str(), &st) != 0)
        throw DatabaseError("Could not find file '" + file + "': " + std::strerror(errno) + ".");
    if (!S_ISREG(st.st_mode)) unrecognised(file);
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw DatabaseError("Could not open file '" + file + "': " + std::strerror(errno) + ".");
    std::string page0(4096, '\0');
    in.read(page0.data(), static_cast<std::streamsize>(page0.size()));
    page0.resize(static_cast<std::size_t>(in.gcount()));
    jet::Header header;
    if (!jet::parseHeader(page0, header)) unrecognised(file);
    const auto size = static_cast<std::uintmax_t>(st.st_size);
    // The catalog lives on page 2; a shorter file, or one past the format's
    // limits, is not a database libmdb can be given.
    if (size < static_cast<std::uintmax_t>(header.pageSize) * 3 || size > kMaxFileSize)
        unrecognised(file);
    if (header.version == jet::Version::Ace) {
        // An ACE database with a password is encrypted as a whole.
        if (!header.password.empty()) unrecognised(file);
    } else if (!header.password.empty() && options.password != header.password) {
        throw DatabaseError("Not a valid password for '" + file + "'.", kErrPasswordRequired);
    }
    return isolatedDatabase(
        file, [=] { return openInProcess(file, options, header, size); },
        [file](std::string_view line) { return mdbMessageWarning(file, line); });
}

}  // namespace rq
