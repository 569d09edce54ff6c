// The Define Table wizard's logic: the field-name list of its second page and
// the new table that Finish makes of the sheet.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sheet/datasheet.h"
#include "tabledef/orderedlist.h"

namespace rq {

// The default name of column i (from 1): "Element " followed by i.
std::string defaultColumnName(int i);

// lstItems of the wizard's second page, with the column count it was last
// built for (0 until the first Next).
class ColumnNameList : public OrderedList<std::string> {
  public:
    // Next with the column number given: a count other than the one the list
    // was built for rebuilds it as "Element 1" .. "Element <count>"; the same
    // count keeps the names already edited. True when the list was rebuilt.
    bool prepareFor(int columns);
    int builtFor() const { return builtFor_; }

    // "Submit Changes" (cmdAdd): the selected item takes text, and the
    // selection moves on to the next item unless it was the last one. False
    // when no item is selected (nothing changes).
    bool submit(std::string_view text);

  private:
    int builtFor_ = 0;
};

// What Finish reads from the wizard.
struct TableDefinition {
    int rows = 0;  // the whole row count, header row included
    int cols = 0;
    std::vector<std::string> names;  // one per column; missing names are empty
};

// Finish: the sheet becomes a new table of rows x cols cells, the header row
// holding the names and the rows - 1 records empty.
void defineTable(DataSheet& sheet, const TableDefinition& table);  // frmtablename cmdok

}  // namespace rq
