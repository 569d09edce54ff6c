// A copy of everything a layout holds (the tree with keys, tags and kinds, the
// node table, the counters, the column-name list and the document settings),
// taken before and after an edit so that the edit can be undone and redone.
#pragma once

#include <string>
#include <vector>

#include "layout/layouttree.h"

namespace rq {

struct LayoutSnapshot {
    struct Node {
        std::string key, text, tag;
        int kind = kKindElement;
        bool expanded = false;
        int parent = -1;  // index into nodes, -1 at the top level
        bool operator==(const Node&) const = default;
    };
    std::vector<Node> nodes;  // in pre-order, so every parent precedes its children
    NodeTable table;
    int keyCounter = 0;
    int numberingCounter = 1;
    std::vector<std::string> columnNames;
    std::string stylesheet, doctype, rootAttributes;

    bool operator==(const LayoutSnapshot&) const = default;
};

LayoutSnapshot takeSnapshot(const LayoutTree& tree);

// Replaces the tree's whole content with the snapshot. The tree view's own
// ordering becomes pre-order, which keeps the document node and the root
// element first and second.
void restoreSnapshot(LayoutTree& tree, const LayoutSnapshot& snapshot);

}  // namespace rq
