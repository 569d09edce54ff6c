// The commands that shape a layout: adding plain and data elements, deleting,
// moving a node up, down, out of its parent or into its previous sibling,
// dropping a node onto another, turning elements into attributes and back, and
// writing a typed name or value into a node.
//
// Among the children of a node, attributes (kinds 4 and 5) come before
// elements (kinds 2 and 3); the moves and kind changes restore that order.
//
// A moved node is re-created at its new place with its old key (and the old
// keys of its whole subtree), so functions that move nodes return the node as
// it is after the move; pointers to the moved subtree taken before are stale.
// Node 1 and node 2 are the document node and the root element.
#pragma once

#include <string>

#include "layout/layouttree.h"

namespace rq {

enum class MoveDirection { Up, Down, Left, Right };

// ---- moving --------------------------------------------------------------------

// Moves node with its subtree: Up before its previous sibling, Down after its
// next sibling, Left after its parent (not when the parent is node 1), Right
// as the last child of its previous sibling. Keys and tags are kept. Returns
// the moved node, or nullptr when there is nowhere to go.
LayoutNode* moveNode(LayoutTree& tree, LayoutNode* node, MoveDirection direction);  // MoveNode

// Moves node up until it is first or its previous sibling is an attribute.
LayoutNode* raiseToAttributes(LayoutTree& tree, LayoutNode* node);  // movenodup
// Moves node down while its next sibling is an attribute.
LayoutNode* sinkBelowAttributes(LayoutTree& tree, LayoutNode* node);  // movenodown
// Sinks an element below its attribute siblings, raises an attribute.
LayoutNode* restoreSiblingOrder(LayoutTree& tree, LayoutNode* node);  // moverender
// Moves node's children out one by one, last first, each to just after node
// and then raised like an attribute.
void releaseChildren(LayoutTree& tree, LayoutNode* node);  // removelastchild

// ---- commands on the selected node --------------------------------------------

// Adds "<element>" as the last child of selected (of node 2 when selected is
// node 1). Nothing for an attribute. Returns the new node.
LayoutNode* addElement(LayoutTree& tree, LayoutNode* selected);  // mnuelent_Click

// Adds a data element bound to the column-name list entry `column`, placed as
// addElement places its node. Nothing for an attribute or a column the list
// lacks. Returns the new node.
LayoutNode* addDataElement(LayoutTree& tree, LayoutNode* selected, int column);  // cmdlstokfunp

// Removes the node and its subtree; never node 1 or node 2. Node-table rows
// stay until the next tidy.
bool deleteNode(LayoutTree& tree, LayoutNode* selected);  // mnudelete_Click

// Whether a move command would be refused for this node (Up, Down: node 1 or
// 2; Left: also a child of node 2 or an attribute whose grandparent is node 2;
// Right: also no previous sibling, or an attribute as previous sibling).
bool moveRefused(const LayoutTree& tree, const LayoutNode* selected, MoveDirection direction);

// A move command: the refusals, moveNode, then the sibling order restored.
// Returns the moved node, nullptr when nothing moved.
// mnumovtagup_Click, mnumovetagdown_Click, mnumovetagleft_Click, mnumovtagrght_Click
LayoutNode* moveTag(LayoutTree& tree, LayoutNode* selected, MoveDirection direction);

// Whether dragged may be dropped onto target: not onto node 1, node 2 or an
// attribute, nor onto the dragged node or one of its descendants.
bool canDrop(const LayoutTree& tree, const LayoutNode* dragged, const LayoutNode* target);
// Makes dragged the last child of target (keys and subtree kept); an element
// then sinks below the attributes. Returns the dropped node, nullptr when refused.
LayoutNode* dropNode(LayoutTree& tree, LayoutNode* dragged, LayoutNode* target);

// ---- kinds ---------------------------------------------------------------------

// Turns a plain or data element into an attribute: its children become its
// following siblings, it rises among the attributes. Nothing for node 1, node 2
// or an attribute. Returns the node, nullptr when nothing changed.
LayoutNode* makeAttribute(LayoutTree& tree, LayoutNode* node);  // makatt_Click
// Turns an attribute into a plain or data element, shown as "<" name ">", and
// sinks it below the attributes. Returns the node, nullptr when nothing changed.
LayoutNode* makeElement(LayoutTree& tree, LayoutNode* node);  // makele_Click

// ---- names and values ------------------------------------------------------------

// Writes the name box (and for plain elements and attributes the value box)
// into the node's row and re-forms its display text; the root keeps its
// attribute text. Nothing for node 1. True when anything changed.
bool applyTagName(LayoutTree& tree, LayoutNode* node, const std::string& name,
                  const std::string& value);  // txtnam_Change, after the name rule
// The same for the value box: plain elements and attributes only.
bool applyTagValue(LayoutTree& tree, LayoutNode* node, const std::string& name,
                   const std::string& value);  // txtval_Change

}  // namespace rq
