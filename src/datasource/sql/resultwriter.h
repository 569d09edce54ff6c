// Hands the records of a running statement to a sink as they come, as text,
// with a field type for every column: the declared type of a column reference,
// else the type of the column's first value that is not null. Records are held
// back only until every column's type is known. The result is bounded.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "datasource/database.h"

struct sqlite3_stmt;

namespace rq::sql {

class TableStore;

class ResultWriter {
  public:
    // budgetBytes bounds the text handed on plus 4 bytes a cell and 32 a record.
    ResultWriter(sqlite3_stmt* st, RecordSink& sink, std::int64_t budgetBytes);
    ~ResultWriter();
    ResultWriter(const ResultWriter&) = delete;
    ResultWriter& operator=(const ResultWriter&) = delete;

    // The record the statement stands on.
    void addRow();
    // After the last record.
    void finish();

  private:
    void begin();

    sqlite3_stmt* st_;
    RecordSink& sink_;
    std::int64_t budget_, used_ = 0, records_ = 0;
    std::vector<Field> fields_;
    std::vector<int> declared_;
    std::size_t unknownTypes_ = 0;
    bool begun_ = false;
    std::vector<std::string> cells_;
    std::vector<std::string_view> views_;
    std::unique_ptr<TableStore> held_;  // records held back while types are unknown
};

}  // namespace rq::sql
