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
    void warning(const std::string& text) override { warnings_.push_back(text); }
    const std::vector<Field>& fields() const { return fields_; }
    const std::vector<std::string>& warnings() const { return warnings_; }

  private:
    DataSheet& sheet_;
    std::vector<Field> fields_;
    std::vector<std::string> warnings_;
};

// Loads a table or stored query into sheet. The sheet is replaced only when the
// whole load succeeded; on error (DatabaseError) it keeps what it held.
// Returns the fields with their type codes; the reader's warnings, when asked
// for, are appended to *warnings.
std::vector<Field> loadTable(Database& db, const std::string& table, DataSheet& sheet,
                             std::vector<std::string>* warnings = nullptr);
// The same for a statement.
std::vector<Field> loadQuery(Database& db, const std::string& statement, DataSheet& sheet,
                             std::vector<std::string>* warnings = nullptr);

}  // namespace rq
