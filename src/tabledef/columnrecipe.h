// The Insert Column dialog's logic: the recipe of parts that fills a column,
// and the edit its OK makes of the sheet in either mode, with what is needed
// to take the edit back.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "sheet/datasheet.h"
#include "tabledef/orderedlist.h"

namespace rq {

// One part of a recipe: a literal (column 0, the text is used) or the value
// of column number - 1 of the same record (the text is only shown).
struct RecipePart {
    std::string text;
    int column = 0;

    static RecipePart literal(std::string text) { return {std::move(text), 0}; }
    // A part naming a header field; it shows the name in double quotes.
    static RecipePart field(const std::string& name, int index) {
        return {"\"" + name + "\"", index + 1};
    }
};

// lstItems of the dialog's advanced section.
using ColumnRecipe = OrderedList<RecipePart>;

// The value a recipe gives one record: its parts joined in order; a column
// beyond the sheet gives empty text.
std::string recipeValue(const DataSheet& sheet, int row, const std::vector<RecipePart>& parts);

enum class ColumnMode { Add, Rename };  // Check1 ticked / unticked

struct ColumnEdit {
    ColumnMode mode = ColumnMode::Add;
    int renamed = 0;  // the selected column (ColSel), in rename mode
    std::string name;
    std::vector<RecipePart> recipe;
};

// What an applied edit changed.
struct ColumnEditUndo {
    ColumnMode mode = ColumnMode::Add;
    int colsBefore = 0;
    int headerColumn = 0;
    std::string headerBefore;
    int filledColumn = -1;                  // -1 when no record was filled
    std::vector<std::string> filledBefore;  // rename mode: the filled cells' old text
};

// Called after each record filled: records done, records in all.
using FillProgress = std::function<void(int done, int total)>;

// OK of the dialog (steps 3 and 4): add mode appends a column named name;
// rename mode writes name into the header of the renamed column. A recipe of
// at least one part then fills every record of the last column, in both
// modes. An empty name changes nothing.
ColumnEditUndo applyColumnEdit(DataSheet& sheet, const ColumnEdit& edit,
                               const FillProgress& progress = {});
// Puts the sheet back as it was before applyColumnEdit.
void undoColumnEdit(DataSheet& sheet, ColumnEditUndo& undo);

}  // namespace rq
