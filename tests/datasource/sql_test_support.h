// A database held in memory for the SQL engine's tests: tables given as text,
// stored queries given as SQL; results land in the readers' TableSink.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "datasource/database.h"
#include "datasource/sqlengine.h"
#include "reader_test_support.h"

namespace rq {

struct MemTable {
    std::vector<Field> fields;
    std::vector<std::vector<std::string>> rows;
};

class MemoryDatabase : public Database {
  public:
    std::vector<std::pair<std::string, MemTable>> tables;
    std::map<std::string, std::string> queries;  // name -> SQL
    int reads = 0;
    std::string readWarning;  // passed to the sink by every table read when set

    std::string name() const override { return "memory"; }
    std::vector<CatalogEntry> catalog() override {
        std::vector<CatalogEntry> out;
        for (auto& t : tables) out.push_back({t.first, 0});
        for (auto& q : queries) out.push_back({q.first, 1});
        return out;
    }
    std::vector<Field> fields(const std::string& t) override { return find(t).fields; }
    void read(const std::string& t, RecordSink& sink) override {
        ++reads;
        if (queries.count(t)) {
            runSqlOverDatabase(*this, queries[t], sink);
            return;
        }
        const MemTable& m = find(t);
        if (!readWarning.empty()) sink.warning(readWarning);
        sink.begin(m.fields);
        for (auto& r : m.rows) {
            std::vector<std::string_view> v(r.begin(), r.end());
            sink.row(v.data(), v.size());
        }
        sink.end();
    }
    std::string storedQuerySql(const std::string& n) override {
        auto it = queries.find(n);
        return it == queries.end() ? std::string() : it->second;
    }

  private:
    const MemTable& find(const std::string& t) {
        for (auto& x : tables)
            if (x.first == t) return x.second;
        throw DatabaseError("no table " + t);
    }
};

using Result = rq::testing::TableSink;

}  // namespace rq
