// The editing commands of the sheet as plain operations on a DataSheet and
// the mouse-selection memory. Each returns what it changed, so that an undo
// can put back exactly that and nothing more.
#pragma once

#include <string>
#include <vector>

#include "sheet/datasheet.h"

namespace rq {

// A rectangle of cell texts kept for undo (the cells a Clip assignment covered).
struct CellBlock {
    int row = 0, col = 0, rows = 0, cols = 0;
    std::vector<std::string> cells;  // row by row
};

// The cells r1..r2 x c1..c2 (clamped to the sheet).
CellBlock captureBlock(const DataSheet& sheet, int r1, int r2, int c1, int c2);
void restoreBlock(DataSheet& sheet, const CellBlock& block);

// The rectangle of the remembered mouse selection, ordered.
struct RectSpan {
    int r1 = 0, r2 = 0, c1 = 0, c2 = 0;
};
RectSpan mouseRect(const MouseSelection& mouse);

// The text that empties every cell of a rectangle through Clip: for each row
// one empty cell and a tab per column, then a carriage return.
std::string blankClipText(const RectSpan& rect);

// Selects every record cell and sets the memory to that block (mnuEditSelectAll).
void selectAllRecords(DataSheet& sheet, MouseSelection& mouse);

// Rows taken out of the sheet and where they stood.
struct TakenRows {
    int index = 0;
    std::vector<DataSheet::RowData> rows;
};

// Removes the remembered row range mdown .. mup; at least one record always
// stays. Only with two records or more (mnuEditDelRow).
TakenRows removeRowRange(DataSheet& sheet, const MouseSelection& mouse);

// Keeps only the records between clkrow and exrow (mnucroprow).
struct CroppedRows {
    TakenRows above, below;
};
CroppedRows cropRows(DataSheet& sheet, MouseSelection& mouse);
void uncropRows(DataSheet& sheet, CroppedRows&& cropped);

// Appends the column "Index" holding 1 .. Rows-1 (mnuinsrtcol).
void appendIndexColumn(DataSheet& sheet);

// Swaps record RowSel with the one above (delta -1) or below (+1) and selects
// the moved record across all columns; false when nothing moved (mnuup, mnudown).
bool moveRecord(DataSheet& sheet, int delta);

// Whether Move UP / Move DOWN can act on the selected record (updowngrid).
inline bool canMoveUp(const DataSheet& s) {
    return s.rowSel() > 1;
}
inline bool canMoveDown(const DataSheet& s) {
    return s.rowSel() != s.rows() - 1;
}

// The inverse of a row permutation: undoing a sort applies it.
std::vector<int> invertPermutation(const std::vector<int>& from);

}  // namespace rq
