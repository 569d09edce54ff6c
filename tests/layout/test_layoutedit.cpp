// The layout editing commands the window tests do not reach: every refusal of
// the four moves and of drops, and kind changes, checked on the tree, the keys
// and the node table together. The moves and drops the designer's tests make
// through the mouse and keys are not repeated here.
#include <gtest/gtest.h>

#include "../sheet/sheet_test_support.h"
#include "layout/defaultlayout.h"
#include "layout/layoutedit.h"
#include "layout_test_support.h"

using namespace rq;
using rq::layouttest::addNode;

namespace {

// A node as "name:number", attributes marked "@", children in braces, names
// read from the node table.
std::string shape(const LayoutTree& t, const LayoutNode* n) {
    const int r = nodeNumber(n->key);
    std::string s =
        (isAttributeKind(n->kind) ? "@" : "") + t.table().cell(r, 1) + ":" + std::to_string(r);
    if (n->children.empty()) return s;
    s += "{";
    for (std::size_t i = 0; i < n->children.size(); ++i)
        s += (i ? "," : "") + shape(t, n->children[i]);
    return s + "}";
}

// root:2{row:3{@a:7,ID:4,Name:5{@b:9,inner:8},Qty:6}}: three data elements
// from the sheet, an attribute of the record, and below Name an attribute and
// a plain element.
void buildSample(LayoutTree& t) {
    buildDefaultLayout(t, rq::sheettest::sheetOf({{"ID", "Name", "Qty"}, {}}));
    addNode(t, nullptr, kKindAttribute, "a", "1", -1, t.find("4_"));
    LayoutNode* inner = addNode(t, t.find("5_"), kKindElement, "inner", "x");
    addNode(t, nullptr, kKindAttribute, "b", "2", -1, inner);
}

const char* kSample = "root:2{row:3{@a:7,ID:4,Name:5{@b:9,inner:8},Qty:6}}";

std::string rootShape(const LayoutTree& t) {
    std::string s = shape(t, t.rootElement());
    // The root's table name is "document"; shorten it for readable tables.
    return "root" + s.substr(s.find(':'));
}

}  // namespace

TEST(LayoutEdit, MoveCommandsWithTheirRefusals) {
    struct Case {
        const char* key;
        MoveDirection dir;
        const char* expected;  // nullptr: refused or nothing moved, the layout unchanged
    };
    using D = MoveDirection;
    const Case cases[] = {
        {"7_", D::Up, nullptr},     // first child
        {"4_", D::Up, nullptr},     // above the attribute, and at once back below it
        {"7_", D::Down, nullptr},   // an attribute stays above the elements
        {"6_", D::Down, nullptr},   // last child
        {"4_", D::Right, nullptr},  // previous sibling is an attribute
        {"7_", D::Right, nullptr},  // no previous sibling
        {"4_", D::Left, "root:2{row:3{@a:7,Name:5{@b:9,inner:8},Qty:6},ID:4}"},
        {"8_", D::Left, "root:2{row:3{@a:7,ID:4,Name:5{@b:9},inner:8,Qty:6}}"},
        // An attribute leaving its element rises to the attributes of its new parent.
        {"9_", D::Left, "root:2{row:3{@a:7,@b:9,ID:4,Name:5{inner:8},Qty:6}}"},
        {"3_", D::Left, nullptr},  // child of the root
        {"7_", D::Left, nullptr},  // would become an attribute of the root
        {"2_", D::Up, nullptr},
        {"1_", D::Right, nullptr},
    };
    for (const Case& c : cases) {
        LayoutTree t;
        buildSample(t);
        const NodeTable before = t.table();
        LayoutNode* moved = moveTag(t, t.find(c.key), c.dir);
        const std::string label = std::string(c.key) + " dir " + std::to_string(int(c.dir));
        EXPECT_EQ(rootShape(t), c.expected ? c.expected : kSample) << label;
        if (c.expected) {
            ASSERT_TRUE(moved) << label;
            EXPECT_EQ(moved->key, c.key) << label;
            EXPECT_EQ(t.find(c.key), moved) << label;
        }
        // Moves never touch the node table or the counters.
        EXPECT_EQ(t.table(), before) << label;
        EXPECT_EQ(t.keyCounter, 9) << label;
        EXPECT_EQ(t.count(), 9) << label;
    }
}

TEST(LayoutEdit, DropRules) {
    struct Case {
        const char* dragged;
        const char* target;
        const char* expected;  // nullptr: refused
    };
    const Case cases[] = {
        {"6_", "1_", nullptr},  // onto the document node
        {"5_", "8_", nullptr},  // onto its own descendant
        {"3_", "4_", nullptr},  // the record element onto its own child
        {"8_", "3_", "root:2{row:3{@a:7,ID:4,Name:5{@b:9},Qty:6,inner:8}}"},
        // An attribute dropped onto an element becomes its last child, after
        // its elements.
        {"7_", "5_", "root:2{row:3{ID:4,Name:5{@b:9,inner:8,@a:7},Qty:6}}"},
        {"9_", "4_", "root:2{row:3{@a:7,ID:4{@b:9},Name:5{inner:8},Qty:6}}"},
    };
    for (const Case& c : cases) {
        LayoutTree t;
        buildSample(t);
        LayoutNode* dropped = dropNode(t, t.find(c.dragged), t.find(c.target));
        EXPECT_EQ(rootShape(t), c.expected ? c.expected : kSample) << c.dragged << c.target;
        EXPECT_EQ(dropped != nullptr, c.expected != nullptr) << c.dragged << c.target;
        if (dropped) {
            EXPECT_EQ(dropped->key, c.dragged);
        }
    }

    // An element dropped onto an element whose attributes follow its elements
    // lands after those attributes.
    LayoutTree t;
    buildSample(t);
    dropNode(t, t.find("7_"), t.find("5_"));  // Name{@b,inner,@a}
    dropNode(t, t.find("6_"), t.find("5_"));
    EXPECT_EQ(rootShape(t), "root:2{row:3{ID:4,Name:5{@b:9,inner:8,@a:7,Qty:6}}}");
}

TEST(LayoutEdit, KindChanges) {
    LayoutTree t;
    buildSample(t);
    // Name has an attribute and an element below it: both come out, and the
    // new attribute rises above every element sibling.
    LayoutNode* name = makeAttribute(t, t.find("5_"));
    ASSERT_TRUE(name);
    EXPECT_EQ(rootShape(t), "root:2{row:3{@a:7,@b:9,@Name:5,inner:8,ID:4,Qty:6}}");
    EXPECT_EQ(name->text, "Name=\"\"");
    EXPECT_EQ(name->kind, kKindDataAttribute);

    // Back to a data element (child elements following as siblings, and the
    // binding kept, are window tests).
    EXPECT_EQ(makeElement(t, name)->kind, kKindDataElement);

    // A plain element keeps its value as the attribute's value.
    LayoutTree v;
    buildSample(v);
    LayoutNode* inner = makeAttribute(v, v.find("8_"));
    EXPECT_EQ(inner->text, "inner=\"x\"");
    EXPECT_EQ(rootShape(v), "root:2{row:3{@a:7,ID:4,Name:5{@b:9,@inner:8},Qty:6}}");

    // Back to elements: below every attribute sibling, shown without the value.
    LayoutNode* back = makeElement(v, v.find("9_"));
    EXPECT_EQ(rootShape(v), "root:2{row:3{@a:7,ID:4,Name:5{@inner:8,b:9},Qty:6}}");
    EXPECT_EQ(back->text, "<b>");
    EXPECT_EQ(back->kind, kKindElement);
    EXPECT_EQ(makeElement(v, v.find("4_")), nullptr);
    EXPECT_EQ(makeAttribute(v, v.find("7_")), nullptr);
    EXPECT_EQ(makeAttribute(v, v.find("2_")), nullptr);
}
