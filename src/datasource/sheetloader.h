// Filling the data sheet from a record set: header = field names, one record per row.
#pragma once

#include <string>
#include <vector>

#include "datasource/database.h"
#include "sheet/datasheet.h"

namespace rq {

class SheetSink : public RecordSink {
  public:
    explicit SheetSink(DataSheet& target) : sheet_(target) {}
    void begin(const std::vector<Field>& fields) override;
    void row(const std::string_view* cells, std::size_t count) override;
    const std::vector<Field>& fields() const { return fields_; }

  private:
    DataSheet& sheet_;
    std::vector<Field> fields_;
};

// Loads a table or stored query into sheet. The sheet is replaced only when the
// whole load succeeded; on error (DatabaseError) it keeps what it held.
// Returns the fields with their type codes.
std::vector<Field> loadTable(Database& db, const std::string& table, DataSheet& sheet);
// The same for a statement.
std::vector<Field> loadQuery(Database& db, const std::string& statement, DataSheet& sheet);

}  // namespace rq
