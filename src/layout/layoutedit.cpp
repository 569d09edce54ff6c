#include "layout/layoutedit.h"

#include <utility>
#include <vector>

namespace rq {

namespace {

// A key no node has: keys of the tree are numbers followed by underscores.
std::string unusedKey(const LayoutTree& tree, int& counter) {
    std::string key;
    do key = "~" + std::to_string(++counter);
    while (tree.find(key));
    return key;
}

// The node-table row of the next key; the table then reaches one row past it,
// so that its last row again belongs to the key after.
int claimNextRow(LayoutTree& tree) {
    NodeTable& t = tree.table();
    const int row = tree.keyCounter + 1;
    if (t.rows() < row + 1) t.setRows(row + 1);
    return row;
}

void closeClaimedRow(LayoutTree& tree, int row) {
    NodeTable& t = tree.table();
    if (t.rows() < row + 2) t.setRows(row + 2);
}

// Where a new element goes for the selected node.
LayoutNode* newChildParent(const LayoutTree& tree, LayoutNode* selected) {
    if (!selected || isAttributeKind(selected->kind)) return nullptr;
    return selected == tree.node(1) ? tree.node(2) : selected;
}

bool isFixed(const LayoutTree& tree, const LayoutNode* node) {
    return node == tree.node(1) || node == tree.node(2);
}

bool setIfDifferent(std::string& target, const std::string& value) {
    if (target == value) return false;
    target = value;
    return true;
}

bool setCellIfDifferent(NodeTable& t, int row, int col, const std::string& value) {
    if (row < 0 || row >= t.rows() || t.cell(row, col) == value) return false;
    t.setCell(row, col, value);
    return true;
}

}  // namespace

LayoutNode* moveNode(LayoutTree& tree, LayoutNode* node, MoveDirection direction) {
    if (!node) return nullptr;
    LayoutNode* anchor = nullptr;
    Relation relation = Relation::Next;
    switch (direction) {
        case MoveDirection::Up:
            anchor = node->previousSibling();
            relation = Relation::Previous;
            break;
        case MoveDirection::Down:
            anchor = node->nextSibling();
            relation = Relation::Next;
            break;
        case MoveDirection::Left:
            anchor = node->parent;
            relation = Relation::Next;
            if (anchor && anchor == tree.node(1)) return nullptr;
            break;
        case MoveDirection::Right:
            anchor = node->previousSibling();
            relation = Relation::LastChild;
            break;
    }
    if (!anchor) return nullptr;

    // The copy and its subtree are added under keys no node uses, the old
    // subtree is removed, then every copy takes its original's key.
    int counter = 0;
    LayoutNode* copy = tree.add(anchor, relation, unusedKey(tree, counter), node->text, node->kind);
    if (!copy) return nullptr;
    copy->previousKey = node->previousKey;
    copy->expanded = node->expanded;
    std::vector<std::pair<LayoutNode*, std::string>> keys{{copy, node->key}};
    std::vector<std::pair<const LayoutNode*, LayoutNode*>> pending;
    for (auto it = node->children.rbegin(); it != node->children.rend(); ++it)
        pending.emplace_back(*it, copy);
    while (!pending.empty()) {
        auto [source, parent] = pending.back();
        pending.pop_back();
        LayoutNode* c = tree.add(parent, Relation::LastChild, unusedKey(tree, counter),
                                 source->text, source->kind);
        c->previousKey = source->previousKey;
        c->expanded = source->expanded;
        keys.emplace_back(c, source->key);
        for (auto it = source->children.rbegin(); it != source->children.rend(); ++it)
            pending.emplace_back(*it, c);
    }
    tree.remove(node);
    for (auto& [n, key] : keys) tree.setKey(n, key);
    return copy;
}

LayoutNode* raiseToAttributes(LayoutTree& tree, LayoutNode* node) {
    while (node) {
        LayoutNode* previous = node->previousSibling();
        if (!previous || isAttributeKind(previous->kind)) break;
        node = moveNode(tree, node, MoveDirection::Up);
    }
    return node;
}

LayoutNode* sinkBelowAttributes(LayoutTree& tree, LayoutNode* node) {
    while (node) {
        LayoutNode* next = node->nextSibling();
        if (!next || !isAttributeKind(next->kind)) break;
        node = moveNode(tree, node, MoveDirection::Down);
    }
    return node;
}

LayoutNode* restoreSiblingOrder(LayoutTree& tree, LayoutNode* node) {
    if (!node) return nullptr;
    if (isElementKind(node->kind)) return sinkBelowAttributes(tree, node);
    if (isAttributeKind(node->kind)) return raiseToAttributes(tree, node);
    return node;
}

void releaseChildren(LayoutTree& tree, LayoutNode* node) {
    while (node && !node->children.empty()) {
        LayoutNode* moved = moveNode(tree, node->children.back(), MoveDirection::Left);
        if (!moved) break;
        raiseToAttributes(tree, moved);
    }
}

LayoutNode* addElement(LayoutTree& tree, LayoutNode* selected) {
    LayoutNode* parent = newChildParent(tree, selected);
    if (!parent) return nullptr;
    const int row = claimNextRow(tree);
    tree.table().setCell(row, 1, "element");
    closeClaimedRow(tree, row);
    LayoutNode* node =
        tree.add(parent, Relation::LastChild, tree.newKey(), "<element>", kKindElement);
    parent->expanded = true;
    return node;
}

LayoutNode* addDataElement(LayoutTree& tree, LayoutNode* selected, int column) {
    LayoutNode* parent = newChildParent(tree, selected);
    if (!parent || column < 0 || column >= static_cast<int>(tree.columnNames.size()))
        return nullptr;
    const std::string name = tree.columnNames[static_cast<std::size_t>(column)];
    const int row = claimNextRow(tree);
    tree.table().setCell(row, 1, name);
    tree.table().setCell(row, 3, std::to_string(column));
    closeClaimedRow(tree, row);
    LayoutNode* node =
        tree.add(parent, Relation::LastChild, tree.newKey(), "<" + name + ">", kKindDataElement);
    parent->expanded = true;
    return node;
}

bool deleteNode(LayoutTree& tree, LayoutNode* selected) {
    if (!selected || isFixed(tree, selected)) return false;
    tree.remove(selected);
    return true;
}

bool moveRefused(const LayoutTree& tree, const LayoutNode* selected, MoveDirection direction) {
    if (!selected || isFixed(tree, selected)) return true;
    const LayoutNode* root = tree.node(2);
    if (direction == MoveDirection::Left) {
        if (selected->parent == root) return true;
        if (isAttributeKind(selected->kind) && selected->parent && selected->parent->parent == root)
            return true;
    }
    if (direction == MoveDirection::Right) {
        const LayoutNode* previous = selected->previousSibling();
        if (!previous || isAttributeKind(previous->kind)) return true;
    }
    return false;
}

LayoutNode* moveTag(LayoutTree& tree, LayoutNode* selected, MoveDirection direction) {
    if (moveRefused(tree, selected, direction)) return nullptr;
    LayoutNode* moved = moveNode(tree, selected, direction);
    return moved ? restoreSiblingOrder(tree, moved) : nullptr;
}

bool canDrop(const LayoutTree& tree, const LayoutNode* dragged, const LayoutNode* target) {
    if (!dragged || !target || isFixed(tree, target) || isAttributeKind(target->kind)) return false;
    for (const LayoutNode* a = target; a; a = a->parent)
        if (a == dragged) return false;
    return true;
}

LayoutNode* dropNode(LayoutTree& tree, LayoutNode* dragged, LayoutNode* target) {
    if (!canDrop(tree, dragged, target) || !tree.reparent(dragged, target)) return nullptr;
    return isElementKind(dragged->kind) ? restoreSiblingOrder(tree, dragged) : dragged;
}

LayoutNode* makeAttribute(LayoutTree& tree, LayoutNode* node) {
    if (!node || isFixed(tree, node) || !isElementKind(node->kind)) return nullptr;
    const NodeTable& t = tree.table();
    const int r = nodeNumber(node->key);
    const bool data = node->kind == kKindDataElement;
    node->text = data ? dataAttributeText(t.cell(r, 1)) : attributeText(t.cell(r, 1), t.cell(r, 2));
    releaseChildren(tree, node);
    node->kind = data ? kKindDataAttribute : kKindAttribute;
    return raiseToAttributes(tree, node);
}

LayoutNode* makeElement(LayoutTree& tree, LayoutNode* node) {
    if (!node || !isAttributeKind(node->kind)) return nullptr;
    node->text = "<" + tree.table().cell(nodeNumber(node->key), 1) + ">";
    node->kind = node->kind == kKindDataAttribute ? kKindDataElement : kKindElement;
    return sinkBelowAttributes(tree, node);
}

bool applyTagName(LayoutTree& tree, LayoutNode* node, const std::string& name,
                  const std::string& value) {
    if (!node || node == tree.node(1)) return false;
    NodeTable& t = tree.table();
    const int r = nodeNumber(node->key);
    bool changed = setCellIfDifferent(t, r, 1, name);
    if (node == tree.node(2))
        return setIfDifferent(node->text, "<" + name + tree.rootAttributes + ">") || changed;
    switch (node->kind) {
        case kKindElement:
            changed = setCellIfDifferent(t, r, 2, value) || changed;
            return setIfDifferent(node->text, elementText(name, value)) || changed;
        case kKindDataElement:
            return setIfDifferent(node->text, "<" + name + ">") || changed;
        case kKindAttribute:
            changed = setCellIfDifferent(t, r, 2, value) || changed;
            return setIfDifferent(node->text, attributeText(name, value)) || changed;
        case kKindDataAttribute:
            return setIfDifferent(node->text, dataAttributeText(name)) || changed;
        default:
            return changed;
    }
}

bool applyTagValue(LayoutTree& tree, LayoutNode* node, const std::string& name,
                   const std::string& value) {
    if (!node || node == tree.node(1) || node == tree.node(2)) return false;
    if (node->kind != kKindElement && node->kind != kKindAttribute) return false;
    return applyTagName(tree, node, name, value);
}

}  // namespace rq
