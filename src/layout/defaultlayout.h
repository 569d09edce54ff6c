// The default layout built from the sheet's header row, and the tidying that
// renumbers the layout and fills the writer's working table before a run.
#pragma once

#include "layout/layouttree.h"
#include "layout/workingtable.h"
#include "sheet/datasheet.h"

namespace rq {

// Clears and rebuilds the layout from the sheet's header row: the document
// node, the root element "document", the record element "row" and one data
// element per column.
void buildDefaultLayout(LayoutTree& tree, const DataSheet& sheet);  // initree

// Renumbers the nodes in pre-order and reorders the node table to match.
void renumberLayout(LayoutTree& tree);  // sincroz

// sincroz, then fills the working table and binding list and prepares the end tags.
void tidyLayout(LayoutTree& tree, WorkingTable& work);  // clenzr

// Attaches the node's end tag to its deepest last descendant's row (prepended).
void attachEndTags(const LayoutTree& tree, WorkingTable& work,
                   const LayoutNode* node);  // closingtagsxlmdata

}  // namespace rq
