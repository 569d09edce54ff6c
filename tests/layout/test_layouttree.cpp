#include <gtest/gtest.h>

#include "layout/defaultlayout.h"
#include "layout/layouttree.h"

using namespace rq;

namespace {

DataSheet sheetWithHeader(std::vector<std::string> names) {
    DataSheet s(3, static_cast<int>(names.size()));
    for (std::size_t c = 0; c < names.size(); ++c) s.setCell(0, static_cast<int>(c), names[c]);
    return s;
}

// Adds a node the way the editing commands do: the node table's last row
// belongs to the next key.
LayoutNode* addNode(LayoutTree& t, LayoutNode* parent, int kind, const std::string& name,
                    const std::string& value = "", int column = -1) {
    int row = t.table().rows() - 1;
    t.table().setCell(row, 1, name);
    if (!value.empty()) t.table().setCell(row, 2, value);
    if (column >= 0) t.table().setCell(row, 3, std::to_string(column));
    t.table().grow();
    std::string text = kind == kKindAttribute       ? attributeText(name, value)
                       : kind == kKindDataAttribute ? dataAttributeText(name)
                                                    : elementText(name, value);
    return t.add(parent, Relation::LastChild, t.newKey(), text, kind);
}

std::vector<std::string> keysInPreorder(const LayoutTree& t) {
    std::vector<std::string> keys;
    for (auto* n : t.preorder()) keys.push_back(n->key);
    return keys;
}

}  // namespace

TEST(LayoutKeys, KetmaprReadsTheNumberOfEitherKeyForm) {
    EXPECT_EQ(nodeNumber("12__"), 12);
    EXPECT_EQ(nodeNumber("12_"), 12);
    EXPECT_EQ(nodeNumber("7___"), 7);
    EXPECT_EQ(nodeNumber(""), 0);
    EXPECT_EQ(nodeNumber("__"), 0);
    EXPECT_EQ(nodeNumber("x1_"), 0);
    EXPECT_EQ(nodeNumber("4__"), 4);
}

TEST(DefaultLayout, BuildsDocumentRootRecordAndOneDataElementPerColumn) {
    LayoutTree t;
    buildDefaultLayout(t, sheetWithHeader({"Order ID", "Qty"}));
    ASSERT_EQ(t.count(), 5);
    EXPECT_EQ(t.documentNode()->text, "<?xml version=\"1.0\"?>");
    EXPECT_EQ(t.documentNode()->key, "1_");
    EXPECT_EQ(t.rootElement()->text, "<document>");
    EXPECT_EQ(t.rootElement()->key, "2_");
    LayoutNode* row = t.find("3_");
    ASSERT_TRUE(row);
    EXPECT_EQ(row->text, "<row>");
    EXPECT_EQ(row->kind, kKindElement);
    ASSERT_EQ(row->children.size(), 2u);
    EXPECT_EQ(row->children[0]->key, "4_");
    EXPECT_EQ(row->children[0]->text, "<Order_ID>");
    EXPECT_EQ(row->children[0]->kind, kKindDataElement);
    EXPECT_EQ(row->children[1]->text, "<Qty>");
    EXPECT_EQ(t.table().cell(2, 1), "document");
    EXPECT_EQ(t.table().cell(3, 1), "row");
    EXPECT_EQ(t.table().cell(4, 1), "Order_ID");
    EXPECT_EQ(t.table().cell(4, 3), "0");
    EXPECT_EQ(t.table().cell(5, 3), "1");
    EXPECT_EQ(t.keyCounter, 5);
    // The table's last row belongs to the next key.
    EXPECT_EQ(t.table().rows(), t.keyCounter + 2);
    EXPECT_EQ(t.columnNames, (std::vector<std::string>{"Order_ID", "Qty"}));
    EXPECT_TRUE(t.documentNode()->expanded && t.rootElement()->expanded && row->expanded);
    EXPECT_EQ(nodeLevel(t.documentNode()), 0);
    EXPECT_EQ(nodeLevel(row->children[1]), 3);
}

TEST(DefaultLayout, SheetWithoutColumnsGivesTheThreeFixedNodes) {
    LayoutTree t;
    buildDefaultLayout(t, DataSheet(1, 0));
    EXPECT_EQ(t.count(), 3);
    EXPECT_TRUE(t.find("3_")->children.empty());
}

TEST(DefaultLayout, InitreeDiscardsEarlierCustomisation) {
    LayoutTree t;
    DataSheet s = sheetWithHeader({"A"});
    buildDefaultLayout(t, s);
    addNode(t, t.find("3_"), kKindElement, "extra", "v");
    buildDefaultLayout(t, s);
    EXPECT_EQ(t.count(), 4);
    EXPECT_EQ(t.keyCounter, 4);
    EXPECT_FALSE(t.find("5_"));
}

TEST(Renumbering, GivesPreorderKeysAndKeepsOldKeysInTags) {
    LayoutTree t;
    buildDefaultLayout(t, sheetWithHeader({"ID", "Name"}));
    t.renumber();
    EXPECT_EQ(keysInPreorder(t), (std::vector<std::string>{"1__", "2__", "3__", "4__", "5__"}));
    EXPECT_EQ(t.find("4__")->previousKey, "4_");
    EXPECT_EQ(t.find("1__")->previousKey, "1_");
    EXPECT_EQ(t.numberingCounter, 1);
}

TEST(Renumbering, NodeAddedAfterSincrozOfFiveNodesGetsSix) {
    LayoutTree t;
    buildDefaultLayout(t, sheetWithHeader({"ID", "Name"}));
    renumberLayout(t);
    EXPECT_EQ(t.keyCounter, 5);
    LayoutNode* n = addNode(t, t.find("3__"), kKindElement, "element");
    EXPECT_EQ(n->key, "6_");
    // Both key forms live side by side until the next tidy.
    EXPECT_TRUE(t.find("5__"));
}

TEST(Sincroz, CarriesNodeTableRowsToTheNewNumbers) {
    LayoutTree t;
    buildDefaultLayout(t, sheetWithHeader({"ID", "Name"}));
    // Move the second data element above the first.
    LayoutNode* row = t.find("3_");
    std::swap(row->children[0], row->children[1]);
    // A node added below the record element takes the next number, then is
    // deleted: its row must disappear.
    LayoutNode* gone = addNode(t, row, kKindElement, "gone");
    t.remove(gone);
    addNode(t, t.find("4_"), kKindAttribute, "unit", "pcs");  // under ID
    renumberLayout(t);
    EXPECT_EQ(t.find("4__")->text, "<Name>");
    EXPECT_EQ(t.table().cell(4, 1), "Name");
    EXPECT_EQ(t.table().cell(4, 3), "1");
    EXPECT_EQ(t.table().cell(5, 1), "ID");
    EXPECT_EQ(t.table().cell(5, 3), "0");
    EXPECT_EQ(t.table().cell(6, 1), "unit");
    EXPECT_EQ(t.table().cell(6, 2), "pcs");
    EXPECT_EQ(t.keyCounter, 6);
    EXPECT_EQ(t.table().rows(), 8);
    EXPECT_EQ(t.table().cell(7, 1), "");
}

TEST(Clenzr, TwoRunsInARowGiveTheSameKeysAndTables) {
    LayoutTree t;
    buildDefaultLayout(t, sheetWithHeader({"a", "b", "c"}));
    LayoutNode* rec = t.find("3_");
    addNode(t, rec, kKindDataAttribute, "id", "", 2);
    addNode(t, t.find("4_"), kKindElement, "inner", "x");
    WorkingTable w1, w2;
    tidyLayout(t, w1);
    auto keys1 = keysInPreorder(t);
    NodeTable table1 = t.table();
    tidyLayout(t, w2);
    EXPECT_EQ(keysInPreorder(t), keys1);
    EXPECT_EQ(t.table(), table1);
    ASSERT_EQ(w1.rows(), w2.rows());
    for (int r = 0; r < w1.rows(); ++r) EXPECT_EQ(w1.row(r), w2.row(r)) << "row " << r;
    EXPECT_EQ(w1.bindings, w2.bindings);
}
