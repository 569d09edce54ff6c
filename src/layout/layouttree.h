// The XML layout: a tree of nodes (key, display text, kind, tag), the node
// table holding each node's name, fixed value and bound column, and the two
// counters that hand out and renumber keys.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace rq {

// A node's kind is its image index.
enum NodeKind : int {
    kKindDocument = 1,  // the document node and the root element
    kKindElement = 2,
    kKindDataElement = 3,
    kKindAttribute = 4,
    kKindDataAttribute = 5,
};

inline bool isAttributeKind(int kind) {
    return kind == kKindAttribute || kind == kKindDataAttribute;
}
inline bool isElementKind(int kind) {
    return kind == kKindElement || kind == kKindDataElement;
}
inline bool isDataKind(int kind) {
    return kind == kKindDataElement || kind == kKindDataAttribute;
}

struct LayoutNode {
    std::string key;
    std::string text;
    std::string previousKey;  // tag: the key before the last renumbering
    int kind = kKindElement;
    bool expanded = false;
    LayoutNode* parent = nullptr;
    std::vector<LayoutNode*> children;

    int indexInParent() const;
    LayoutNode* previousSibling() const;
    LayoutNode* nextSibling() const;
};

// Where a new node goes relative to an existing one.
enum class Relation { LastChild, Next, Previous };

// Rows addressed by node number from 0; four text columns: 0 unused, 1 name,
// 2 fixed value, 3 bound sheet column.
class NodeTable {
  public:
    int rows() const { return static_cast<int>(rows_.size()); }
    void setRows(int n) {
        if (n >= 0) rows_.resize(static_cast<std::size_t>(n));
    }
    void grow() { rows_.emplace_back(); }
    const std::string& cell(int row, int col) const;
    void setCell(int row, int col, std::string text);
    bool operator==(const NodeTable&) const = default;

  private:
    std::vector<std::array<std::string, 4>> rows_;
};

class LayoutTree {
  public:
    LayoutTree() = default;
    LayoutTree(const LayoutTree&) = delete;
    LayoutTree& operator=(const LayoutTree&) = delete;

    // ---- the tree -----------------------------------------------------------
    // Adds a node. relative == nullptr adds it at the top level. Returns nullptr
    // when the key is empty or already used.
    LayoutNode* add(LayoutNode* relative, Relation relation, std::string key, std::string text,
                    int kind);
    // Removes the node with its whole subtree.
    void remove(LayoutNode* node);
    // Makes node the last child of newParent, carrying its subtree and keys.
    // Refused (false) when newParent is node itself or one of its descendants.
    bool reparent(LayoutNode* node, LayoutNode* newParent);
    bool setKey(LayoutNode* node, const std::string& key);
    void clear();

    LayoutNode* find(std::string_view key) const;
    // The node whose number is n in the renumbered form (n followed by "__").
    LayoutNode* numbered(int n) const;
    // Number of nodes.
    int count() const { return static_cast<int>(order_.size()); }
    // The tree view's own ordering, 1-based: the order in which nodes were added.
    LayoutNode* node(int index) const;
    const std::vector<LayoutNode*>& topLevel() const { return top_; }
    LayoutNode* documentNode() const { return node(1); }
    LayoutNode* rootElement() const { return node(2); }
    // Nodes in pre-order from the top level.
    std::vector<LayoutNode*> preorder() const;

    // ---- node table and counters -------------------------------------------
    NodeTable& table() { return table_; }
    const NodeTable& table() const { return table_; }
    int keyCounter = 0;        // txtkey: highest node number handed out
    int numberingCounter = 1;  // keycntr: used while nodes are renumbered
    // colnam1: the sheet's field names with blanks turned into "_".
    std::vector<std::string> columnNames;

    // ---- document settings ----------------------------------------------------
    std::string stylesheet;      // the stylesheet instruction, or empty
    std::string doctype;         // the DOCTYPE, or empty
    std::string rootAttributes;  // written inside the root's start tag

    // Raises the key counter and returns the new number followed by "_".
    std::string newKey();  // maktre
    // Gives the k-th node in pre-order the key k followed by "__" and keeps the
    // key it had before in its tag.
    void renumber();

  private:
    std::vector<std::unique_ptr<LayoutNode>> owned_;
    std::vector<LayoutNode*> order_;
    std::vector<LayoutNode*> top_;
    std::unordered_map<std::string, LayoutNode*> byKey_;
    NodeTable table_;

    std::vector<LayoutNode*>& siblingsOf(LayoutNode* node);
};

// The node number of a key: every "_" removed, the rest read as a whole
// number; 0 when that is not a number.
int nodeNumber(std::string_view key);  // ketmapr, makekey

// Number of ancestors: 0 for the document node, 1 for the root element.
int nodeLevel(const LayoutNode* node);  // GetNodeLevel

// The XML declaration the document node starts with.
inline constexpr std::string_view kXmlDeclaration = "<?xml version=\"1.0\"?>";

// Display texts by kind.
std::string elementText(std::string_view name, std::string_view value);
std::string attributeText(std::string_view name, std::string_view value);
std::string dataAttributeText(std::string_view name);
std::string documentNodeText(const LayoutTree& tree);

}  // namespace rq
