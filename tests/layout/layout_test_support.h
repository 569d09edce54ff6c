// Adding a node to a layout as the window's commands do: the node table's
// last row belongs to the next key, so the row is filled and the table grown
// before the key is taken.
#pragma once

#include <string>

#include "layout/layouttree.h"

namespace rq::layouttest {

// A node holding `value` (column 2) or bound to `column` (column 3), as the
// last child of parent, or before `before` when that is given.
inline LayoutNode* addNode(LayoutTree& t, LayoutNode* parent, int kind, const std::string& name,
                           const std::string& value = "", int column = -1,
                           LayoutNode* before = nullptr) {
    NodeTable& table = t.table();
    const int row = table.rows() - 1;
    table.setCell(row, 1, name);
    if (!value.empty()) table.setCell(row, 2, value);
    if (column >= 0) table.setCell(row, 3, std::to_string(column));
    table.grow();
    const std::string text = kind == kKindAttribute       ? attributeText(name, value)
                             : kind == kKindDataAttribute ? dataAttributeText(name)
                             : kind == kKindDataElement   ? "<" + name + ">"
                                                          : elementText(name, value);
    return before ? t.add(before, Relation::Previous, t.newKey(), text, kind)
                  : t.add(parent, Relation::LastChild, t.newKey(), text, kind);
}

}  // namespace rq::layouttest
