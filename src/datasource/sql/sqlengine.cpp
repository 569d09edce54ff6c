#include "datasource/sqlengine.h"

#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <set>
#include <unordered_set>

#include "datasource/sql/guardedconnection.h"
#include "datasource/sql/resultwriter.h"
#include "datasource/sql/storetable.h"
#include "datasource/sql/tablestore.h"
#include "datasource/sql/translate.h"

namespace rq {

namespace {

constexpr std::int64_t kMB = 1 << 20;

std::int64_t physicalMemory() {
    long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGE_SIZE);
    if (pages <= 0 || size <= 0) return 4096 * kMB;
    return static_cast<std::int64_t>(pages) * size;
}

sql::ResolvedLimits resolve(const SqlLimits& l) {
    sql::ResolvedLimits r;
    r.memoryBytes =
        l.memoryBytes > 0 ? l.memoryBytes : std::clamp(physicalMemory() / 8, 256 * kMB, 1024 * kMB);
    r.valueBytes = l.valueBytes > 0 ? l.valueBytes : std::min(r.memoryBytes / 4, 256 * kMB);
    r.valueBytes = std::clamp<std::int64_t>(r.valueBytes, 1024, 1000000000);
    return r;
}

// The result may be several times the tables it reads (a statement that
// returns every record of a big table must work), within the machine's means.
std::int64_t resultBudget(const SqlLimits& l, std::size_t tableBytes) {
    if (l.resultBytes > 0) return l.resultBytes;
    const std::int64_t floor = 512 * kMB;
    const std::int64_t ceiling = std::max(floor, physicalMemory() / 2);
    return std::clamp(4 * static_cast<std::int64_t>(tableBytes), floor, ceiling);
}

// Reads a table into a store, passing the reader's warnings on.
class StoreSink : public RecordSink {
  public:
    StoreSink(RecordSink& warningsTo, const sql::GuardedConnection& conn)
        : warningsTo_(warningsTo), conn_(conn) {}
    void begin(const std::vector<Field>& fields) override {
        store = std::make_unique<sql::TableStore>(fields);
    }
    void row(const std::string_view* cells, std::size_t count) override {
        if ((++rows_ & 0xFFF) == 0) conn_.checkCancelled();
        if (store) store->append(cells, count);
    }
    void warning(const std::string& text) override { warningsTo_.warning(text); }
    std::unique_ptr<sql::TableStore> store;

  private:
    RecordSink& warningsTo_;
    const sql::GuardedConnection& conn_;
    std::size_t rows_ = 0;
};

class Session {
  public:
    Session(Database& src, const SqlOptions& options, RecordSink& sink)
        : src_(src),
          options_(options),
          sink_(sink),
          conn_(resolve(options.limits), options.cancel) {}

    void need(const std::vector<std::string>& names, int depth);
    void run(const std::string& sql);

  private:
    void loadTable(const std::string& name);
    void makeView(const std::string& name, const std::string& stored, int depth);

    Database& src_;
    const SqlOptions& options_;
    RecordSink& sink_;
    // The tables outlive the connection that reads them.
    std::vector<std::unique_ptr<sql::TableStore>> stores_;
    sql::GuardedConnection conn_;
    bool haveCatalog_ = false;
    std::vector<CatalogEntry> catalog_;
    std::set<std::string> done_, inProgress_;
    std::size_t tableBytes_ = 0;
};

void Session::loadTable(const std::string& name) {
    conn_.checkCancelled();
    StoreSink sink(sink_, conn_);
    src_.read(name, sink);
    if (!sink.store) sink.store = std::make_unique<sql::TableStore>(std::vector<Field>());
    if (sql::offerTable(conn_.handle(), name, *sink.store, conn_.declaringFlag()) != SQLITE_OK)
        conn_.fail(sqlite3_errcode(conn_.handle()));
    tableBytes_ += sink.store->bytes();
    stores_.push_back(std::move(sink.store));
}

void Session::makeView(const std::string& name, const std::string& stored, int depth) {
    std::string key = sql::lowerName(name);
    inProgress_.insert(key);
    sql::Translation t;
    try {
        t = sql::translateStatement(stored);
    } catch (const DatabaseError& e) {
        throw DatabaseError("The stored query '" + name + "' cannot be used: " + e.what());
    }
    need(t.names, depth + 1);
    inProgress_.erase(key);
    conn_.createView(name, t.sql);
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
        if (!stored.empty())
            makeView(e.name, stored, depth);
        else
            loadTable(e.name);
        done_.insert(key);
    }
}

void Session::run(const std::string& sqlText) {
    conn_.checkCancelled();
    sql::Statement st = conn_.prepareQuery(sqlText);
    sql::ResultWriter writer(st.get(), sink_, resultBudget(options_.limits, tableBytes_));
    int rc;
    while ((rc = sqlite3_step(st.get())) == SQLITE_ROW) writer.addRow();
    if (rc != SQLITE_DONE) conn_.fail(rc);
    writer.finish();
}

}  // namespace

void runSqlOverDatabase(Database& db, const std::string& statement, RecordSink& sink,
                        const SqlOptions& options) {
    sql::Translation t = sql::translateStatement(statement);
    Session session(db, options, sink);
    session.need(t.names, 0);
    session.run(t.sql);
}

}  // namespace rq
