#include <gtest/gtest.h>

#include "sheet/sheetedit.h"

namespace rq {
namespace {

// A sheet of n records of two columns: record r holds "a<r>" and "b<r>".
DataSheet numbered(int n) {
    DataSheet s(n + 1, 2);
    s.setCell(0, 0, "A");
    s.setCell(0, 1, "B");
    for (int r = 1; r <= n; ++r) {
        s.setCell(r, 0, "a" + std::to_string(r));
        s.setCell(r, 1, "b" + std::to_string(r));
    }
    return s;
}

std::string firstColumn(const DataSheet& s) {
    std::string out;
    for (int r = 1; r < s.rows(); ++r) out += s.cellText(r, 0) + " ";
    return out;
}

MouseSelection sweep(int pressRow, int releaseRow, int pressCol = 0, int releaseCol = 0) {
    MouseSelection m;
    m.pressRow = std::to_string(pressRow);
    m.releaseRow = std::to_string(releaseRow);
    m.pressCol = std::to_string(pressCol);
    m.releaseCol = std::to_string(releaseCol);
    m.sweepTop = std::to_string(pressRow);
    m.sweepBottom = std::to_string(releaseRow);
    return m;
}

TEST(SheetEdit, RemoveRowRangeKeepsOneRecordAndUndoes) {
    struct Case {
        int records, down, up;
        std::string left;
    } cases[] = {
        {5, 2, 3, "a1 a4 a5 "},    {5, 3, 2, "a1 a4 a5 "},  // swept upwards
        {5, 4, 4, "a1 a2 a3 a5 "}, {4, 1, 4, "a4 "},        // every record: the last one stays
        {1, 1, 1, "a1 "},                                   // a single record is never removed
        {5, 4, 9, "a1 a2 a3 "},
    };
    for (const auto& c : cases) {
        DataSheet s = numbered(c.records);
        const std::string before = firstColumn(s);
        TakenRows taken = removeRowRange(s, sweep(c.down, c.up));
        EXPECT_EQ(firstColumn(s), c.left) << c.down << ".." << c.up;
        s.putRows(taken.index, std::move(taken.rows));
        EXPECT_EQ(firstColumn(s), before);
        EXPECT_EQ(s.cellText(s.rows() - 1, 1), "b" + std::to_string(c.records));
    }
}

TEST(SheetEdit, CropKeepsTheRangeRenumberedAndUndoes) {
    DataSheet s = numbered(10);
    MouseSelection m = sweep(5, 3);
    CroppedRows cropped = cropRows(s, m);
    EXPECT_EQ(firstColumn(s), "a3 a4 a5 ");
    EXPECT_EQ(m.pressRow, "1");
    EXPECT_EQ(m.releaseRow, "1");
    EXPECT_EQ(s.row(), 1);
    uncropRows(s, std::move(cropped));
    EXPECT_EQ(firstColumn(s), firstColumn(numbered(10)));

    DataSheet one = numbered(3);
    MouseSelection all = sweep(1, 3);
    cropRows(one, all);
    EXPECT_EQ(firstColumn(one), "a1 a2 a3 ");
}

TEST(SheetEdit, IndexColumnNumbersRecordsEvenWithTheNameTaken) {
    DataSheet s = numbered(19);
    s.setCell(0, 1, "Index");
    appendIndexColumn(s);
    ASSERT_EQ(s.cols(), 3);
    EXPECT_EQ(s.cellText(0, 2), "Index");
    for (int r = 1; r <= 19; ++r) EXPECT_EQ(s.cellText(r, 2), std::to_string(r));
}

TEST(SheetEdit, MoveRecordStopsAtTheEnds) {
    DataSheet s = numbered(3);
    s.setRow(1);
    EXPECT_FALSE(moveRecord(s, -1));
    s.setRow(3);
    EXPECT_FALSE(moveRecord(s, +1));
    EXPECT_EQ(firstColumn(s), "a1 a2 a3 ");
    s.setRow(2);
    EXPECT_TRUE(moveRecord(s, -1));
    EXPECT_EQ(firstColumn(s), "a2 a1 a3 ");
    EXPECT_EQ(s.cellText(1, 1), "b2");
    EXPECT_EQ(s.row(), 1);
    EXPECT_EQ(s.rowSel(), 1);
    EXPECT_EQ(s.col(), 0);
    EXPECT_EQ(s.colSel(), 1);
}

TEST(SheetEdit, DeleteTextClearsTheSameCellsWhicheverWayDragged) {
    for (auto m : {sweep(2, 3, 0, 1), sweep(3, 2, 1, 0)}) {
        DataSheet s = numbered(4);
        RectSpan rect = mouseRect(m);
        s.setRow(rect.r1);
        s.setCol(rect.c1);
        s.setRowSel(rect.r2);
        s.setColSel(rect.c2);
        s.setClip(blankClipText(rect));
        EXPECT_EQ(firstColumn(s), "a1   a4 ");
        EXPECT_EQ(s.cellText(3, 1), "");
        EXPECT_EQ(s.cellText(4, 1), "b4");
    }
}

TEST(SheetEdit, SortPermutationUndoesThroughItsInverse) {
    DataSheet s(6, 1);
    const char* values[] = {"10", "9", "b", "A", "100"};
    for (int r = 1; r <= 5; ++r) s.setCell(r, 0, values[r - 1]);
    int first = 0;
    std::vector<int> from = s.sortPermutation(1, &first);
    ASSERT_EQ(first, 1);
    s.permuteRows(first, from);
    EXPECT_EQ(firstColumn(s), "9 10 100 A b ");
    s.permuteRows(first, invertPermutation(from));
    EXPECT_EQ(firstColumn(s), "10 9 b A 100 ");
}

TEST(SheetEdit, BlocksRestoreWhatAClipAssignmentCovered) {
    DataSheet s = numbered(3);
    CellBlock b = captureBlock(s, 2, 9, 1, 1);  // clamped to the sheet
    EXPECT_EQ(b.rows, 2);
    s.setCell(2, 1, "x");
    s.setCell(3, 1, "y");
    restoreBlock(s, b);
    EXPECT_EQ(s.cellText(2, 1), "b2");
    EXPECT_EQ(s.cellText(3, 1), "b3");
}

}  // namespace
}  // namespace rq
