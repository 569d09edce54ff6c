#include <gtest/gtest.h>

#include "sheet/datasheet.h"

// Copying, pasting, mouse selections and the startup sheet are window tests.

using namespace rq;

namespace {

DataSheet numbered(int records, int cols) {
    DataSheet s(records + 1, cols);
    for (int c = 0; c < cols; ++c) s.setCell(0, c, "H" + std::to_string(c));
    for (int r = 1; r <= records; ++r)
        for (int c = 0; c < cols; ++c) s.setCell(r, c, std::to_string(r) + "," + std::to_string(c));
    return s;
}

}  // namespace

TEST(DataSheet, CellsAndResizing) {
    DataSheet s = numbered(3, 3);
    s.setCell(2, 1, "changed");
    EXPECT_EQ(s.cell(2, 1), "changed");
    EXPECT_EQ(s.cell(2, 2), "2,2");
    // Out of range: empty reads, ignored writes.
    EXPECT_EQ(s.cell(9, 0), "");
    s.setCell(9, 0, "x");
    s.setCell(1, 3, "x");
    EXPECT_EQ(s.rows(), 4);
    // Lowering Cols loses the dropped names; raising gives empty cells again.
    s.setCols(1);
    s.setCols(3);
    EXPECT_EQ(s.cell(0, 1), "");
    EXPECT_EQ(s.cell(1, 2), "");
    EXPECT_EQ(s.cell(1, 0), "1,0");
    s.setRows(2);
    s.setRows(4);
    EXPECT_EQ(s.cell(3, 0), "");
    EXPECT_EQ(s.cell(1, 0), "1,0");
    // A cell may be set from a view into the sheet itself.
    s.setCell(1, 1, s.cell(1, 0));
    EXPECT_EQ(s.cell(1, 1), "1,0");
}

TEST(DataSheet, AddItemAndRemoveItem) {
    DataSheet s = numbered(3, 2);
    s.addItem("a\tb\tdropped", 2);
    EXPECT_EQ(s.rows(), 5);
    EXPECT_EQ(s.cell(2, 0), "a");
    EXPECT_EQ(s.cell(2, 1), "b");
    EXPECT_EQ(s.cell(3, 0), "2,0");
    s.addItem("", 5);  // append
    EXPECT_EQ(s.rows(), 6);
    EXPECT_EQ(s.cell(5, 0), "");
    s.removeItem(2);
    EXPECT_EQ(s.cell(2, 0), "2,0");
    s.removeItem(0);  // the header row stays
    EXPECT_EQ(s.cell(0, 0), "H0");
    DataSheet one = numbered(1, 1);
    one.removeItem(1);  // the last record cannot go
    EXPECT_EQ(one.rows(), 2);
}

TEST(DataSheet, SortComparesNumbersAsNumbersAndTextOtherwise) {
    DataSheet s(6, 2);
    const char* vals[] = {"10", "9", "apple", "-2.5", "Banana"};
    for (int r = 1; r <= 5; ++r) {
        s.setCell(r, 0, vals[r - 1]);
        s.setCell(r, 1, std::to_string(r));
    }
    s.setRow(2);  // a single selected row sorts every record
    s.setCol(0);
    s.sort(1);
    std::string order;
    for (int r = 1; r <= 5; ++r) order += std::string(s.cell(r, 0)) + " ";
    EXPECT_EQ(order, "-2.5 9 10 apple Banana ");
    EXPECT_EQ(s.cell(3, 1), "1");  // whole rows move
    s.sort(2);
    EXPECT_EQ(s.cell(1, 0), "Banana");
    EXPECT_EQ(s.cell(5, 0), "-2.5");
    // A range sorts only its rows; the header never moves.
    s.setRow(4);
    s.setRowSel(5);
    s.sort(1);
    EXPECT_EQ(s.cell(4, 0), "-2.5");
    EXPECT_EQ(s.cell(5, 0), "9");
    EXPECT_EQ(s.cell(1, 0), "Banana");
    EXPECT_EQ(s.cell(0, 0), "");
    // Equal keys ("a" and "A", 2 and 2.0) keep the order they had, both ways.
    DataSheet t(5, 2);
    const char* keys[] = {"a", "2", "A", "2.0"};
    for (int r = 1; r <= 4; ++r) {
        t.setCell(r, 0, keys[r - 1]);
        t.setCell(r, 1, std::to_string(r));
    }
    for (int order : {1, 2}) {
        t.sort(order);
        std::string seen;
        for (int r = 1; r <= 4; ++r) seen += std::string(t.cell(r, 1));
        EXPECT_EQ(seen, order == 1 ? "2413" : "1324");
    }
}
