// A database read through child processes: each call opens the database
// afresh in a child, does its work there and sends the results back.
#include <cstdlib>
#include <utility>

#include "datasource/isolatedread.h"

namespace rq {

namespace {

class IsolatedDatabase : public Database {
  public:
    IsolatedDatabase(std::string file, std::function<std::unique_ptr<Database>()> open,
                     ChatterFilter filter)
        : file_(std::move(file)), open_(std::move(open)), filter_(std::move(filter)) {
        struct CatalogSink : RecordSink {
            std::vector<CatalogEntry> entries;
            void begin(const std::vector<Field>&) override {}
            void row(const std::string_view* c, std::size_t n) override {
                if (n == 2) entries.push_back({std::string(c[0]), c[1] == "1" ? 1 : 0});
            }
        } sink;
        run(sink, [](Database& db, RecordSink& out) {
            out.begin({});
            for (const CatalogEntry& e : db.catalog()) {
                const std::string_view cells[2] = {e.name, e.marker == 1 ? "1" : "0"};
                out.row(cells, 2);
            }
        });
        catalog_ = std::move(sink.entries);
    }

    std::string name() const override { return file_; }
    std::vector<CatalogEntry> catalog() override { return catalog_; }

    std::vector<Field> fields(const std::string& table) override {
        struct FieldsSink : RecordSink {
            std::vector<Field> fields;
            void begin(const std::vector<Field>& f) override { fields = f; }
            void row(const std::string_view*, std::size_t) override {}
        } sink;
        run(sink, [&table](Database& db, RecordSink& out) { out.begin(db.fields(table)); });
        return sink.fields;
    }

    void read(const std::string& table, RecordSink& sink) override {
        run(sink, [&table](Database& db, RecordSink& out) { db.read(table, out); });
    }

    // The whole statement runs in the child, so that the tables it reads do
    // not have to cross the pipe.
    void query(const std::string& statement, RecordSink& sink) override {
        run(sink, [&statement](Database& db, RecordSink& out) { db.query(statement, out); });
    }

    std::string storedQuerySql(const std::string& name) override {
        struct TextSink : RecordSink {
            std::string text;
            void begin(const std::vector<Field>&) override {}
            void row(const std::string_view* c, std::size_t n) override {
                if (n == 1) text = std::string(c[0]);
            }
        } sink;
        run(sink, [&name](Database& db, RecordSink& out) {
            const std::string sql = db.storedQuerySql(name);
            const std::string_view cell = sql;
            out.row(&cell, 1);
        });
        return sink.text;
    }

    std::vector<QueryParameter> storedQueryParameters(const std::string& name) override {
        struct ParameterSink : RecordSink {
            std::vector<QueryParameter> parameters;
            void begin(const std::vector<Field>&) override {}
            void row(const std::string_view* c, std::size_t n) override {
                if (n == 2)
                    parameters.push_back({std::string(c[0]), std::atoi(std::string(c[1]).c_str())});
            }
        } sink;
        run(sink, [&name](Database& db, RecordSink& out) {
            for (const QueryParameter& p : db.storedQueryParameters(name)) {
                const std::string type = std::to_string(p.type);
                const std::string_view cells[2] = {p.name, type};
                out.row(cells, 2);
            }
        });
        return sink.parameters;
    }

  private:
    template <typename Work>
    void run(RecordSink& sink, Work work) {
        readIsolated(
            file_,
            [this, &work](RecordSink& out) {
                // A child ends with _exit(): there the database is left open
                // rather than closed through the library for nothing.
                struct Opened {
                    Database* db;
                    ~Opened() {
                        if (!isolatedReads()) delete db;
                    }
                } opened{open_().release()};
                opened.db->setParameterValues(parameterValues());
                work(*opened.db, out);
            },
            sink, filter_);
    }

    std::string file_;
    std::function<std::unique_ptr<Database>()> open_;
    ChatterFilter filter_;
    std::vector<CatalogEntry> catalog_;
};

}  // namespace

std::unique_ptr<Database> isolatedDatabase(const std::string& file,
                                           std::function<std::unique_ptr<Database>()> open,
                                           ChatterFilter filter) {
    if (!isolatedReads()) return open();
    return std::make_unique<IsolatedDatabase>(file, std::move(open), std::move(filter));
}

}  // namespace rq
