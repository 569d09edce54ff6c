#include "layout/layoutsnapshot.h"

#include <unordered_map>

namespace rq {

LayoutSnapshot takeSnapshot(const LayoutTree& tree) {
    LayoutSnapshot s;
    const std::vector<LayoutNode*> order = tree.preorder();
    std::unordered_map<const LayoutNode*, int> index;
    s.nodes.reserve(order.size());
    for (const LayoutNode* n : order) {
        const auto parent = n->parent ? index.find(n->parent) : index.end();
        s.nodes.push_back({n->key, n->text, n->previousKey, n->kind, n->expanded,
                           parent == index.end() ? -1 : parent->second});
        index.emplace(n, static_cast<int>(s.nodes.size()) - 1);
    }
    s.table = tree.table();
    s.keyCounter = tree.keyCounter;
    s.numberingCounter = tree.numberingCounter;
    s.columnNames = tree.columnNames;
    s.stylesheet = tree.stylesheet;
    s.doctype = tree.doctype;
    s.rootAttributes = tree.rootAttributes;
    return s;
}

void restoreSnapshot(LayoutTree& tree, const LayoutSnapshot& s) {
    tree.clear();
    std::vector<LayoutNode*> made;
    made.reserve(s.nodes.size());
    for (const LayoutSnapshot::Node& n : s.nodes) {
        LayoutNode* parent =
            n.parent >= 0 && n.parent < static_cast<int>(made.size()) ? made[n.parent] : nullptr;
        LayoutNode* node = tree.add(parent, Relation::LastChild, n.key, n.text, n.kind);
        if (node) {
            node->previousKey = n.tag;
            node->expanded = n.expanded;
        }
        made.push_back(node);
    }
    tree.table() = s.table;
    tree.keyCounter = s.keyCounter;
    tree.numberingCounter = s.numberingCounter;
    tree.columnNames = s.columnNames;
    tree.stylesheet = s.stylesheet;
    tree.doctype = s.doctype;
    tree.rootAttributes = s.rootAttributes;
}

}  // namespace rq
