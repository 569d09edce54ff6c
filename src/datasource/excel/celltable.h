// A worksheet as a table: the used range of its cells, the first row giving the
// field names and the rows after it the records. Shared by the spreadsheet
// readers, which collect typed cells with their text already formed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "datasource/database.h"

namespace rq::excel {

enum class CellKind : std::uint8_t { Blank, Number, Date, Boolean, Text, Error };

struct SheetCell {
    std::uint32_t row = 0;
    std::uint32_t col = 0;
    CellKind kind = CellKind::Blank;
    std::string text;
};

class CellTable {
  public:
    // Cells in any order; a later cell at the same position replaces an earlier one.
    // warnings: what the reader met while collecting them, passed on by emit().
    explicit CellTable(std::vector<SheetCell> cells, std::vector<std::string> warnings = {});

    // Field names from the first row of the used range ("F" and the column
    // number within the range for an empty heading); types from the cells
    // below: all numbers Double, all dates Date/Time, all booleans Boolean,
    // anything else (or nothing) Text. An empty sheet has one field, F1.
    const std::vector<Field>& fields() const { return fields_; }
    std::size_t recordCount() const { return recordCount_; }

    // Sends the fields, the warnings, then one row per record of the used range.
    void emit(RecordSink& sink) const;

  private:
    std::vector<SheetCell> cells_;  // sorted by row, then column; no duplicates
    std::vector<std::string> warnings_;
    std::vector<Field> fields_;
    std::uint32_t firstRow_ = 0, firstCol_ = 0;
    std::size_t recordCount_ = 0;
    std::size_t dataStart_ = 0;  // index of the first cell below the heading row
};

}  // namespace rq::excel
