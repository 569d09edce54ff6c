#include "tabledef/tabledefinition.h"

namespace rq {

std::string defaultColumnName(int i) {
    return "Element " + std::to_string(i);
}

bool ColumnNameList::prepareFor(int columns) {
    if (columns == builtFor_) return false;
    builtFor_ = columns;
    clear();
    for (int i = 1; i <= columns; ++i) append(defaultColumnName(i));
    return true;
}

bool ColumnNameList::submit(std::string_view text) {
    if (!hasSelection()) return false;
    items_[static_cast<std::size_t>(selected_)] = std::string(text);
    if (selected_ < count() - 1) ++selected_;
    return true;
}

void defineTable(DataSheet& sheet, const TableDefinition& table) {
    DataSheet fresh(table.rows, table.cols);
    for (int c = 0; c < table.cols && c < static_cast<int>(table.names.size()); ++c)
        fresh.setCell(0, c, table.names[static_cast<std::size_t>(c)]);
    sheet = std::move(fresh);
}

}  // namespace rq
