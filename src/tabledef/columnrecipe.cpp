#include "tabledef/columnrecipe.h"

namespace rq {

std::string recipeValue(const DataSheet& sheet, int row, const std::vector<RecipePart>& parts) {
    std::string value;
    for (const RecipePart& part : parts) {
        if (part.column == 0)
            value += part.text;
        else
            value += sheet.cell(row, part.column - 1);
    }
    return value;
}

ColumnEditUndo applyColumnEdit(DataSheet& sheet, const ColumnEdit& edit,
                               const FillProgress& progress) {
    ColumnEditUndo undo;
    undo.mode = edit.mode;
    undo.colsBefore = sheet.cols();
    if (edit.name.empty()) {
        undo.headerColumn = -1;
        return undo;
    }
    if (edit.mode == ColumnMode::Add) {
        sheet.setCols(sheet.cols() + 1);
        undo.headerColumn = sheet.cols() - 1;
    } else {
        undo.headerColumn = edit.renamed;
        undo.headerBefore = sheet.cellText(0, edit.renamed);
    }
    sheet.setCell(0, undo.headerColumn, edit.name);

    if (edit.recipe.empty() || sheet.cols() == 0) return undo;
    const int last = sheet.cols() - 1;
    const int records = sheet.rows() - 1;
    undo.filledColumn = last;
    if (edit.mode == ColumnMode::Rename)
        undo.filledBefore.reserve(static_cast<std::size_t>(records));
    for (int r = 1; r <= records; ++r) {
        std::string value = recipeValue(sheet, r, edit.recipe);
        if (edit.mode == ColumnMode::Rename) undo.filledBefore.emplace_back(sheet.cell(r, last));
        sheet.setCell(r, last, value);
        if (progress) progress(r, records);
    }
    return undo;
}

void undoColumnEdit(DataSheet& sheet, ColumnEditUndo& undo) {
    if (undo.headerColumn < 0) return;
    if (undo.mode == ColumnMode::Add) {
        sheet.setCols(undo.colsBefore);
        return;
    }
    for (std::size_t i = 0; i < undo.filledBefore.size(); ++i)
        sheet.setCell(static_cast<int>(i) + 1, undo.filledColumn, undo.filledBefore[i]);
    undo.filledBefore.clear();
    sheet.setCell(0, undo.headerColumn, undo.headerBefore);
}

}  // namespace rq
