#include <gtest/gtest.h>

#include "../sheet/sheet_test_support.h"
#include "tabledef/columnrecipe.h"
#include "tabledef/tabledefinition.h"

using namespace rq;

namespace {

std::vector<std::string> headerOf(const DataSheet& s) {
    std::vector<std::string> out;
    for (int c = 0; c < s.cols(); ++c) out.push_back(s.cellText(0, c));
    return out;
}

std::vector<std::string> columnOf(const DataSheet& s, int c) {
    std::vector<std::string> out;
    for (int r = 1; r < s.rows(); ++r) out.push_back(s.cellText(r, c));
    return out;
}

using Names = std::vector<std::string>;

// ID, Name / 1, Ann / 2, Bob / 3, (empty)
DataSheet people() {
    return rq::sheettest::sheetOf({{"ID", "Name"}, {"1", "Ann"}, {"2", "Bob"}, {"3", ""}});
}

}  // namespace

// Names kept over Back and Next with the count unchanged, and moves carrying
// the selection, are window tests.
TEST(ColumnNameList, RebuiltWhenTheColumnCountChanges) {
    ColumnNameList list;
    EXPECT_FALSE(list.prepareFor(0));  // built for 0 when the wizard opens
    list.prepareFor(3);
    list.select(1);
    EXPECT_TRUE(list.submit("Price"));
    EXPECT_TRUE(list.prepareFor(4));
    EXPECT_EQ(list.items(), Names({"Element 1", "Element 2", "Element 3", "Element 4"}));
    EXPECT_EQ(list.selected(), -1);
}

TEST(OrderedList, MovesCarryTheSelectionAndRespectTheEnds) {
    ColumnNameList list;
    list.prepareFor(3);
    const struct {
        int selected;
        bool up, down;
    } buttons[] = {{-1, false, false}, {0, false, true}, {1, true, true}, {2, true, false}};
    for (const auto& b : buttons) {
        list.select(b.selected);
        EXPECT_EQ(list.canMoveUp(), b.up) << b.selected;
        EXPECT_EQ(list.canMoveDown(), b.down) << b.selected;
    }
    list.select(0);
    EXPECT_FALSE(list.move(-1));
    EXPECT_TRUE(list.move(+1));
    EXPECT_TRUE(list.move(+1));
    EXPECT_FALSE(list.move(+1));
    EXPECT_EQ(list.items(), Names({"Element 2", "Element 3", "Element 1"}));
    EXPECT_EQ(list.selected(), 2);
    EXPECT_TRUE(list.removeSelected());
    EXPECT_EQ(list.selected(), -1);
    EXPECT_FALSE(list.removeSelected());
    EXPECT_EQ(list.count(), 2);
}

TEST(DefineTable, ResizesToAnEmptyTableWithTheNames) {
    const struct {
        int rows, cols;
        Names names;
        int records;
        Names header;
    } cases[] = {
        {5, 3, {"ID", "Name", "Price"}, 4, {"ID", "Name", "Price"}},
        {1, 2, {"A", "B"}, 0, {"A", "B"}},  // a header row and no records
        {0, 1, {"A"}, 0, {"A"}},            // the header row always stays
        {3, 3, {"A"}, 2, {"A", "", ""}},    // missing names stay empty
        {2, 0, {}, 1, {}},
    };
    for (const auto& c : cases) {
        DataSheet s = people();
        defineTable(s, {c.rows, c.cols, c.names});
        EXPECT_EQ(s.rows() - 1, c.records) << c.rows;
        EXPECT_EQ(headerOf(s), c.header) << c.rows;
        for (int r = 1; r < s.rows(); ++r)
            for (int col = 0; col < s.cols(); ++col) EXPECT_EQ(s.cell(r, col), "");
    }
}

TEST(ColumnRecipe, FillsTheLastColumnFromLiteralsAndColumns) {
    const struct {
        const char* what;
        std::vector<RecipePart> recipe;
        Names filled;
    } cases[] = {
        {"ID- then column 1",
         {RecipePart::literal("ID-"), RecipePart::field("ID", 0)},
         {"ID-1", "ID-2", "ID-3"}},
        {"columns and literals in list order",
         {RecipePart::field("Name", 1), RecipePart::literal("#"), RecipePart::field("ID", 0)},
         {"Ann#1", "Bob#2", "#3"}},
        {"a column beyond the sheet is empty",
         {RecipePart::literal("x"), RecipePart{"\"gone\"", 9}},
         {"x", "x", "x"}},
        {"empty recipe", {}, {"", "", ""}},
    };
    for (const auto& c : cases) {
        DataSheet s = people();
        std::vector<int> progress;
        applyColumnEdit(s, {ColumnMode::Add, 0, "Code", c.recipe},
                        [&](int done, int total) { progress.push_back(done * 10 + total); });
        EXPECT_EQ(headerOf(s), Names({"ID", "Name", "Code"})) << c.what;
        EXPECT_EQ(columnOf(s, 2), c.filled) << c.what;
        const std::vector<int> expected =
            c.recipe.empty() ? std::vector<int>{} : std::vector<int>{13, 23, 33};
        EXPECT_EQ(progress, expected) << c.what;
    }
}

TEST(ColumnRecipe, AddAndRenameAreUndoneExactly) {
    const DataSheet before = people();
    const struct {
        const char* what;
        ColumnEdit edit;
        Names header;
        Names last;
    } cases[] = {
        {"add", {ColumnMode::Add, 0, "Code", {}}, {"ID", "Name", "Code"}, {"", "", ""}},
        {"empty name changes nothing",
         {ColumnMode::Add, 0, "", {RecipePart::literal("x")}},
         {"ID", "Name"},
         {"Ann", "Bob", ""}},
        {"rename", {ColumnMode::Rename, 0, "Key", {}}, {"Key", "Name"}, {"Ann", "Bob", ""}},
        // A recipe used while renaming fills the last column, not the renamed one.
        {"rename with a recipe",
         {ColumnMode::Rename, 0, "Key", {RecipePart::literal("<"), RecipePart::field("Name", 1)}},
         {"Key", "Name"},
         {"<Ann", "<Bob", "<"}},
        {"rename beyond the sheet",
         {ColumnMode::Rename, 7, "Key", {}},
         {"ID", "Name"},
         {"Ann", "Bob", ""}},
    };
    for (const auto& c : cases) {
        DataSheet s = before;
        ColumnEditUndo undo = applyColumnEdit(s, c.edit);
        EXPECT_EQ(headerOf(s), c.header) << c.what;
        EXPECT_EQ(columnOf(s, s.cols() - 1), c.last) << c.what;
        undoColumnEdit(s, undo);
        EXPECT_EQ(headerOf(s), headerOf(before)) << c.what;
        for (int col = 0; col < before.cols(); ++col)
            EXPECT_EQ(columnOf(s, col), columnOf(before, col)) << c.what;
    }
}
