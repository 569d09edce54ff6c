#include "layout/defaultlayout.h"

#include <algorithm>

namespace rq {

void buildDefaultLayout(LayoutTree& tree, const DataSheet& sheet) {
    tree.columnNames.clear();
    tree.keyCounter = 0;
    tree.numberingCounter = 1;
    tree.clear();

    NodeTable& t = tree.table();
    t.setRows(0);
    t.setRows(4);

    for (int c = 0; c < sheet.cols(); ++c) tree.columnNames.emplace_back(sheet.cell(0, c));

    LayoutNode* doc = tree.add(nullptr, Relation::LastChild, tree.newKey(), documentNodeText(tree),
                               kKindDocument);
    LayoutNode* root =
        tree.add(doc, Relation::LastChild, tree.newKey(), "<document>", kKindDocument);
    doc->expanded = true;
    t.setCell(2, 1, "document");
    t.setCell(3, 1, "row");

    t.grow();
    LayoutNode* record = tree.add(root, Relation::LastChild, tree.newKey(), "<row>", kKindElement);
    root->expanded = true;

    for (std::size_t c = 0; c < tree.columnNames.size(); ++c) {
        std::string& name = tree.columnNames[c];
        std::replace(name.begin(), name.end(), ' ', '_');
        int r = static_cast<int>(c) + 4;
        t.setCell(r, 1, name);
        t.setCell(r, 3, std::to_string(c));
        t.grow();
        tree.add(record, Relation::LastChild, tree.newKey(), "<" + name + ">", kKindDataElement);
    }
    record->expanded = true;
}

void renumberLayout(LayoutTree& tree) {
    tree.renumber();
    const int n = tree.count();
    NodeTable scratch;
    scratch.setRows(n + 1);
    const NodeTable& t = tree.table();
    for (int k = 1; k <= n; ++k) {
        const LayoutNode* node = tree.numbered(k);
        if (!node) continue;
        int r = nodeNumber(node->previousKey);
        for (int c = 0; c < 4; ++c) scratch.setCell(k, c, t.cell(r, c));
    }
    tree.table() = scratch;
    tree.table().grow();
    tree.keyCounter = n;
}

void attachEndTags(const LayoutTree& tree, WorkingTable& work, const LayoutNode* node) {
    (void)tree;
    if (!node) return;
    std::string t = "</" + work.cell(nodeNumber(node->key), 1) + ">";
    const LayoutNode* deepest = node;
    while (!deepest->children.empty()) deepest = deepest->children.back();
    int r = nodeNumber(deepest->key);
    if (!work.has(r)) return;
    work.setCell(r, 4, t + work.cell(r, 4));
}

void tidyLayout(LayoutTree& tree, WorkingTable& work) {
    renumberLayout(tree);
    work.setRows(0);
    work.setRows(2);
    work.bindings.clear();
    const NodeTable& t = tree.table();
    const int n = tree.count();

    for (int i = 2; i <= n; ++i) {
        if (!work.has(i)) work.setRows(i + 1);
        const LayoutNode* node = tree.numbered(i);
        if (!node) continue;
        if (node->kind == kKindElement || node->kind == kKindAttribute)
            work.setCell(i, 2, t.cell(i, 2));
        if (isDataKind(node->kind)) {
            work.setCell(i, 3, t.cell(i, 3));
            work.bindings.push_back(i);
        }
        work.setCell(i, 1, t.cell(i, 1));
        work.setCell(i, 5, t.cell(i, 1));
    }

    for (int i = 3; i <= n; ++i) {
        const LayoutNode* node = tree.numbered(i);
        if (node && node->kind >= kKindDocument && node->kind <= kKindDataElement)
            attachEndTags(tree, work, node);
    }

    // An attribute that is the deepest last descendant of elements carries their
    // end tags; its parent element's row takes them over as well.
    for (int i = 3; i <= n; ++i) {
        const LayoutNode* node = tree.numbered(i);
        if (!node || !isAttributeKind(node->kind) || !node->parent) continue;
        int p = nodeNumber(node->parent->key);
        if (!work.cell(i, 4).empty() && work.has(p)) work.setCell(p, 4, work.cell(i, 4));
    }
}

}  // namespace rq
