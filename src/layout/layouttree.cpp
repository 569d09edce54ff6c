#include "layout/layouttree.h"

#include <algorithm>

namespace rq {

int LayoutNode::indexInParent() const {
    if (!parent) return -1;
    auto& s = parent->children;
    return static_cast<int>(std::find(s.begin(), s.end(), this) - s.begin());
}

LayoutNode* LayoutNode::previousSibling() const {
    if (!parent) return nullptr;
    int i = indexInParent();
    return i > 0 ? parent->children[static_cast<std::size_t>(i - 1)] : nullptr;
}

LayoutNode* LayoutNode::nextSibling() const {
    if (!parent) return nullptr;
    auto i = static_cast<std::size_t>(indexInParent());
    return i + 1 < parent->children.size() ? parent->children[i + 1] : nullptr;
}

const std::string& NodeTable::cell(int row, int col) const {
    static const std::string empty;
    if (row < 0 || row >= rows() || col < 0 || col > 3) return empty;
    return rows_[static_cast<std::size_t>(row)][static_cast<std::size_t>(col)];
}

void NodeTable::setCell(int row, int col, std::string text) {
    if (row < 0 || row >= rows() || col < 0 || col > 3) return;
    rows_[static_cast<std::size_t>(row)][static_cast<std::size_t>(col)] = std::move(text);
}

std::vector<LayoutNode*>& LayoutTree::siblingsOf(LayoutNode* node) {
    return node->parent ? node->parent->children : top_;
}

LayoutNode* LayoutTree::add(LayoutNode* relative, Relation relation, std::string key,
                            std::string text, int kind) {
    if (key.empty() || byKey_.count(key)) return nullptr;
    auto owned = std::make_unique<LayoutNode>();
    LayoutNode* n = owned.get();
    n->key = std::move(key);
    n->text = std::move(text);
    n->kind = kind;
    if (!relative) {
        top_.push_back(n);
    } else if (relation == Relation::LastChild) {
        n->parent = relative;
        relative->children.push_back(n);
    } else {
        n->parent = relative->parent;
        auto& sib = siblingsOf(relative);
        auto it = std::find(sib.begin(), sib.end(), relative);
        if (relation == Relation::Next) ++it;
        sib.insert(it, n);
    }
    byKey_[n->key] = n;
    order_.push_back(n);
    owned_.push_back(std::move(owned));
    return n;
}

void LayoutTree::remove(LayoutNode* node) {
    if (!node) return;
    auto& sib = siblingsOf(node);
    sib.erase(std::remove(sib.begin(), sib.end(), node), sib.end());
    std::vector<LayoutNode*> doomed{node};
    for (std::size_t i = 0; i < doomed.size(); ++i)
        for (LayoutNode* c : doomed[i]->children) doomed.push_back(c);
    for (LayoutNode* d : doomed) {
        byKey_.erase(d->key);
        order_.erase(std::remove(order_.begin(), order_.end(), d), order_.end());
    }
    owned_.erase(std::remove_if(owned_.begin(), owned_.end(),
                                [&](const std::unique_ptr<LayoutNode>& p) {
                                    return std::find(doomed.begin(), doomed.end(), p.get()) !=
                                           doomed.end();
                                }),
                 owned_.end());
}

bool LayoutTree::reparent(LayoutNode* node, LayoutNode* newParent) {
    if (!node || !newParent) return false;
    for (LayoutNode* a = newParent; a; a = a->parent)
        if (a == node) return false;
    auto& sib = siblingsOf(node);
    sib.erase(std::remove(sib.begin(), sib.end(), node), sib.end());
    node->parent = newParent;
    newParent->children.push_back(node);
    return true;
}

bool LayoutTree::setKey(LayoutNode* node, const std::string& key) {
    if (!node || key.empty()) return false;
    if (key == node->key) return true;
    if (byKey_.count(key)) return false;
    byKey_.erase(node->key);
    node->key = key;
    byKey_[key] = node;
    return true;
}

void LayoutTree::clear() {
    owned_.clear();
    order_.clear();
    top_.clear();
    byKey_.clear();
}

LayoutNode* LayoutTree::find(std::string_view key) const {
    auto it = byKey_.find(std::string(key));
    return it == byKey_.end() ? nullptr : it->second;
}

LayoutNode* LayoutTree::numbered(int n) const {
    return find(std::to_string(n) + "__");
}

LayoutNode* LayoutTree::node(int index) const {
    if (index < 1 || index > count()) return nullptr;
    return order_[static_cast<std::size_t>(index - 1)];
}

std::vector<LayoutNode*> LayoutTree::preorder() const {
    std::vector<LayoutNode*> out;
    std::vector<LayoutNode*> stack(top_.rbegin(), top_.rend());
    while (!stack.empty()) {
        LayoutNode* n = stack.back();
        stack.pop_back();
        out.push_back(n);
        for (auto it = n->children.rbegin(); it != n->children.rend(); ++it) stack.push_back(*it);
    }
    return out;
}

std::string LayoutTree::newKey() {
    ++keyCounter;
    return std::to_string(keyCounter) + "_";
}

void LayoutTree::renumber() {
    // Tags keep the old keys; throw-away keys first so that no final key can
    // collide with one still in use.
    byKey_.clear();
    for (std::size_t i = 0; i < order_.size(); ++i) {
        LayoutNode* n = order_[i];
        n->previousKey = n->key;
        n->key = std::to_string(i + 1) + "___";
    }
    LayoutNode* doc = documentNode();
    if (doc) {
        // Pre-order walk from the document node: its subtree, then what follows
        // it and each of its ancestors among their siblings. The stack holds the
        // nodes still to visit, the next one on top.
        std::vector<LayoutNode*> stack;
        std::vector<LayoutNode*> path;
        for (LayoutNode* a = doc; a; a = a->parent) path.push_back(a);
        for (auto a = path.rbegin(); a != path.rend(); ++a) {
            auto& sib = siblingsOf(*a);
            auto at = std::find(sib.begin(), sib.end(), *a);
            if (at == sib.end()) continue;
            for (auto it = sib.end(); it != at + 1;) stack.push_back(*--it);
        }
        stack.push_back(doc);
        while (!stack.empty()) {
            LayoutNode* n = stack.back();
            stack.pop_back();
            n->key = std::to_string(numberingCounter) + "__";
            ++numberingCounter;
            for (auto it = n->children.rbegin(); it != n->children.rend(); ++it)
                stack.push_back(*it);
        }
    }
    numberingCounter = 1;
    for (LayoutNode* n : order_) byKey_[n->key] = n;
}

int nodeNumber(std::string_view key) {
    long long v = 0;
    bool any = false;
    for (char c : key) {
        if (c == '_') continue;
        if (c < '0' || c > '9') return 0;
        v = v * 10 + (c - '0');
        if (v > 2147483647LL) return 0;
        any = true;
    }
    return any ? static_cast<int>(v) : 0;
}

int nodeLevel(const LayoutNode* node) {
    int level = 0;
    if (!node) return 0;
    for (const LayoutNode* p = node->parent; p; p = p->parent) ++level;
    return level;
}

std::string elementText(std::string_view name, std::string_view value) {
    std::string s = "<";
    s += name;
    s += '>';
    s += value;
    return s;
}

std::string attributeText(std::string_view name, std::string_view value) {
    std::string s(name);
    s += "=\"";
    s += value;
    s += '"';
    return s;
}

std::string dataAttributeText(std::string_view name) {
    return std::string(name) + "=\"\"";
}

std::string documentNodeText(const LayoutTree& tree) {
    return std::string(kXmlDeclaration) + tree.stylesheet + tree.doctype;
}

}  // namespace rq
