#include "sheet/sheetedit.h"

#include <algorithm>

namespace rq {

CellBlock captureBlock(const DataSheet& sheet, int r1, int r2, int c1, int c2) {
    CellBlock b;
    r1 = std::max(r1, 0);
    c1 = std::max(c1, 0);
    r2 = std::min(r2, sheet.rows() - 1);
    c2 = std::min(c2, sheet.cols() - 1);
    if (r2 < r1 || c2 < c1) return b;
    b.row = r1;
    b.col = c1;
    b.rows = r2 - r1 + 1;
    b.cols = c2 - c1 + 1;
    b.cells.reserve(static_cast<std::size_t>(b.rows) * static_cast<std::size_t>(b.cols));
    for (int r = r1; r <= r2; ++r)
        for (int c = c1; c <= c2; ++c) b.cells.emplace_back(sheet.cell(r, c));
    return b;
}

void restoreBlock(DataSheet& sheet, const CellBlock& block) {
    std::size_t i = 0;
    for (int r = 0; r < block.rows; ++r)
        for (int c = 0; c < block.cols; ++c)
            sheet.setCell(block.row + r, block.col + c, block.cells[i++]);
}

RectSpan mouseRect(const MouseSelection& mouse) {
    RectSpan s;
    s.r1 = MouseSelection::number(mouse.pressRow);
    s.r2 = MouseSelection::number(mouse.releaseRow);
    s.c1 = MouseSelection::number(mouse.pressCol);
    s.c2 = MouseSelection::number(mouse.releaseCol);
    if (s.r1 > s.r2) std::swap(s.r1, s.r2);
    if (s.c1 > s.c2) std::swap(s.c1, s.c2);
    return s;
}

std::string blankClipText(const RectSpan& rect) {
    std::string text;
    const int cols = rect.c2 - rect.c1 + 1;
    for (int r = rect.r1; r <= rect.r2; ++r) {
        text.append(static_cast<std::size_t>(std::max(cols, 0)), '\t');
        text += '\r';
    }
    return text;
}

void selectAllRecords(DataSheet& sheet, MouseSelection& mouse) {
    sheet.setRow(1);
    sheet.setCol(0);
    sheet.setRowSel(sheet.rows() - 1);
    sheet.setColSel(sheet.cols() - 1);
    mouse.pressRow = "1";
    mouse.pressCol = "0";
    mouse.releaseRow = std::to_string(sheet.rows() - 1);
    mouse.releaseCol = std::to_string(sheet.cols() - 1);
    sheet.setTopRow(1);
}

namespace {

// How many times removeItem(first) succeeds when called count times: it stops
// when the index runs past the sheet or one record is left.
int removableCount(const DataSheet& sheet, int first, int count) {
    if (first < 1) return 0;
    return std::max(0, std::min({count, sheet.rows() - first, sheet.rows() - 2}));
}

}  // namespace

TakenRows removeRowRange(DataSheet& sheet, const MouseSelection& mouse) {
    TakenRows taken;
    const int up = MouseSelection::number(mouse.sweepBottom);
    const int down = mouse.sweepTopNumber();
    if (sheet.rows() <= 2) return taken;
    const int first = std::min(up, down);
    const int count = removableCount(sheet, first, std::abs(up - down) + 1);
    taken.index = first;
    taken.rows = sheet.takeRows(first, count);
    sheet.setRow(1);
    return taken;
}

CroppedRows cropRows(DataSheet& sheet, MouseSelection& mouse) {
    CroppedRows out;
    const int a = MouseSelection::number(mouse.pressRow);
    const int b = MouseSelection::number(mouse.releaseRow);
    const int hi = std::max(a, b), lo = std::min(a, b);
    if (hi + 1 >= 1 && hi + 1 < sheet.rows()) {
        out.below.index = hi + 1;
        out.below.rows = sheet.takeRows(hi + 1, sheet.rows() - hi - 1);
    }
    out.above.index = 1;
    out.above.rows = sheet.takeRows(1, removableCount(sheet, 1, lo - 1));
    sheet.setRow(1);
    mouse.pressRow = "1";
    mouse.releaseRow = "1";
    return out;
}

void uncropRows(DataSheet& sheet, CroppedRows&& cropped) {
    if (!cropped.above.rows.empty()) sheet.putRows(1, std::move(cropped.above.rows));
    if (!cropped.below.rows.empty()) sheet.putRows(sheet.rows(), std::move(cropped.below.rows));
}

void appendIndexColumn(DataSheet& sheet) {
    const int c = sheet.cols();
    sheet.setCols(c + 1);
    sheet.setCell(0, c, "Index");
    for (int r = 1; r < sheet.rows(); ++r) sheet.setCell(r, c, std::to_string(r));
}

bool moveRecord(DataSheet& sheet, int delta) {
    const int r = sheet.rowSel();
    const int to = r + delta;
    if (r < 1 || to < 1 || to >= sheet.rows()) return false;
    for (int c = 0; c < sheet.cols(); ++c) {
        std::string here = sheet.cellText(r, c);
        sheet.setCell(r, c, sheet.cell(to, c));
        sheet.setCell(to, c, here);
    }
    sheet.setRow(to);
    sheet.setCol(0);
    sheet.setColSel(sheet.cols() - 1);
    return true;
}

std::vector<int> invertPermutation(const std::vector<int>& from) {
    std::vector<int> inv(from.size());
    for (std::size_t i = 0; i < from.size(); ++i)
        inv[static_cast<std::size_t>(from[i])] = static_cast<int>(i);
    return inv;
}

}  // namespace rq
