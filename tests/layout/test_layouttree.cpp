#include <gtest/gtest.h>

#include "../sheet/sheet_test_support.h"
#include "layout/defaultlayout.h"
#include "layout/layouttree.h"
#include "layout_test_support.h"

using namespace rq;
using rq::layouttest::addNode;
using rq::sheettest::sheetOf;

namespace {

std::vector<std::string> keysInPreorder(const LayoutTree& t) {
    std::vector<std::string> keys;
    for (auto* n : t.preorder()) keys.push_back(n->key);
    return keys;
}

}  // namespace

TEST(LayoutKeys, NumberOfEitherKeyForm) {
    const std::pair<const char*, int> keys[] = {{"12__", 12}, {"12_", 12}, {"7___", 7},
                                                {"", 0},      {"__", 0},   {"x1_", 0}};
    for (auto [key, number] : keys) EXPECT_EQ(nodeNumber(key), number) << key;
}

TEST(DefaultLayout, DocumentRootRecordAndOneDataElementPerColumnReplacingWhatWasThere) {
    LayoutTree t;
    buildDefaultLayout(t, sheetOf({{"A"}, {}, {}}));
    addNode(t, t.find("3_"), kKindElement, "extra", "v");
    buildDefaultLayout(t, sheetOf({{"Order ID", "Qty"}, {}, {}}));
    // The texts of the nodes show in every batch converter document.
    ASSERT_EQ(t.count(), 5);
    LayoutNode* row = t.find("3_");
    ASSERT_EQ(row->children.size(), 2u);
    EXPECT_EQ(row->children[0]->key, "4_");
    EXPECT_EQ(row->children[0]->kind, kKindDataElement);
    EXPECT_EQ(t.table().cell(4, 1), "Order_ID");
    EXPECT_EQ(t.table().cell(5, 3), "1");
    EXPECT_EQ(t.keyCounter, 5);
    EXPECT_EQ(t.table().rows(), t.keyCounter + 2);  // the last row belongs to the next key
    EXPECT_EQ(t.columnNames, (std::vector<std::string>{"Order_ID", "Qty"}));
    EXPECT_EQ(nodeLevel(row->children[1]), 3);
    buildDefaultLayout(t, DataSheet(1, 0));
    EXPECT_EQ(t.count(), 3);
}

TEST(Renumbering, CarriesNodeTableRowsToPreorderNumbers) {
    LayoutTree t;
    buildDefaultLayout(t, sheetOf({{"ID", "Name"}, {}, {}}));
    // Move the second data element above the first.
    LayoutNode* row = t.find("3_");
    std::swap(row->children[0], row->children[1]);
    // A node added below the record element takes the next number, then is
    // deleted: its row must disappear.
    t.remove(addNode(t, row, kKindElement, "gone"));
    addNode(t, t.find("4_"), kKindAttribute, "unit", "pcs");  // under ID
    renumberLayout(t);
    EXPECT_EQ(keysInPreorder(t),
              (std::vector<std::string>{"1__", "2__", "3__", "4__", "5__", "6__"}));
    EXPECT_EQ(t.find("5__")->previousKey, "4_");
    EXPECT_EQ(t.find("4__")->text, "<Name>");
    const std::vector<std::vector<std::string>> rows = {
        {"Name", "", "1"}, {"ID", "", "0"}, {"unit", "pcs", ""}, {"", "", ""}};
    for (int r = 4; r < 8; ++r)
        for (int c = 1; c < 4; ++c) EXPECT_EQ(t.table().cell(r, c), rows[r - 4][c - 1]) << r;
    EXPECT_EQ(t.table().rows(), 8);
    // A node added afterwards takes the next number; both key forms live side
    // by side until the next tidy.
    EXPECT_EQ(addNode(t, t.find("3__"), kKindElement, "element")->key, "7_");
}

TEST(TidyLayout, TwoRunsInARowGiveTheSameKeysAndTables) {
    LayoutTree t;
    buildDefaultLayout(t, sheetOf({{"a", "b", "c"}, {}, {}}));
    addNode(t, t.find("3_"), kKindDataAttribute, "id", "", 2);
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
