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

// The order itself is a DataSheet test.
TEST(SheetEdit, SortPermutationUndoesThroughItsInverse) {
    DataSheet s(6, 1);
    const char* values[] = {"10", "9", "b", "A", "100"};
    for (int r = 1; r <= 5; ++r) s.setCell(r, 0, values[r - 1]);
    int first = 0;
    std::vector<int> from = s.sortPermutation(1, &first);
    s.permuteRows(first, from);
    s.permuteRows(first, invertPermutation(from));
    EXPECT_EQ(firstColumn(s), "10 9 b A 100 ");
}

}  // namespace
}  // namespace rq
