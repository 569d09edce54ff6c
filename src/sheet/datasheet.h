// The data sheet: Rows x Cols text cells, row 0 the header row of field names,
// rows 1 .. Rows-1 the records. Cells are stored compactly, one block per row,
// so a sheet stays near the size of its text.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace rq {

class DataSheet {
  public:
    DataSheet();
    DataSheet(int rows, int cols);
    DataSheet(const DataSheet& other);
    DataSheet& operator=(const DataSheet& other);
    DataSheet(DataSheet&&) noexcept = default;
    DataSheet& operator=(DataSheet&&) noexcept = default;
    ~DataSheet();

    // The start-up sheet: 20 rows by 5 columns named "Element 1" .. "Element 5".
    static DataSheet startup();

    int rows() const { return static_cast<int>(rows_.size()); }
    int cols() const { return cols_; }
    // A larger count appends empty records; a smaller one drops them from the end.
    // The header row always stays (a count below 1 is taken as 1).
    void setRows(int count);
    // A larger count appends empty columns; a smaller one drops them from the right.
    void setCols(int count);

    // One cell; out-of-range reads give empty text, out-of-range writes are ignored.
    std::string_view cell(int row, int col) const {
        if (row < 0 || row >= rows() || col < 0 || col >= cols_) return {};
        return rows_[static_cast<std::size_t>(row)].cell(col);
    }
    void setCell(int row, int col, std::string_view text);
    // A copy of one cell's text (TextMatrix).
    std::string cellText(int row, int col) const { return std::string(cell(row, col)); }

    // Inserts a row before index (1 .. Rows; Rows appends). The text is the cells
    // joined by tabs; an empty text gives an empty row. Out of range: ignored.
    void addItem(std::string_view text, int index);
    // Removes one record row; the header row and the last remaining record stay.
    void removeItem(int index);

    // Replaces the whole contents: a header row of names, no records.
    void reset(const std::vector<std::string>& header);
    // Appends one record (missing cells empty, extra cells dropped).
    void appendRecord(const std::string_view* cells, std::size_t count);
    void reserveRecords(std::size_t count) { rows_.reserve(count + 1); }

    // Selection: the current cell (Row, Col) and the opposite corner.
    int row() const { return row_; }
    int col() const { return col_; }
    int rowSel() const { return rowSel_; }
    int colSel() const { return colSel_; }
    int topRow() const { return topRow_; }
    // Setting Row or Col collapses the selection onto the new cell, as the grid does.
    void setRow(int r);
    void setCol(int c);
    void setRowSel(int r);
    void setColSel(int c);
    void setTopRow(int r);

    // Text of the selected rectangle: cells joined by tab, rows by carriage return.
    std::string clip() const;
    // Writes from the selection's top-left cell, cut off at the selection's edge.
    void setClip(std::string_view text);

    // 1 ascending, 2 descending: sorts rows Row .. RowSel (all records when they
    // are equal) by the key columns Col .. ColSel, numbers as numbers.
    void sort(int order);

    // One row: a single heap block holding the cell count, the end offset of
    // each cell and the characters.
    class RowData {
      public:
        RowData() = default;
        explicit RowData(const std::string_view* cells, std::size_t count);
        RowData(const RowData& o);
        RowData& operator=(const RowData& o);
        RowData(RowData&&) noexcept = default;
        RowData& operator=(RowData&&) noexcept = default;

        int size() const { return block_ ? static_cast<int>(header()[0]) : 0; }
        std::string_view cell(int c) const {
            if (!block_ || c >= size()) return {};
            const std::uint32_t* h = header();
            std::uint32_t start = c == 0 ? 0 : h[c];
            return {chars() + start, h[c + 1] - start};
        }
        std::size_t textBytes() const { return block_ ? header()[size()] : 0; }
        std::size_t blockBytes() const;

      private:
        const std::uint32_t* header() const {
            return reinterpret_cast<const std::uint32_t*>(block_.get());
        }
        const char* chars() const {
            return block_.get() + (static_cast<std::size_t>(size()) + 1) * 4;
        }
        std::unique_ptr<char[]> block_;
    };

    // Moves count record rows from index first out of the sheet (range clamped
    // to the records); Row and RowSel are kept inside the sheet.
    std::vector<RowData> takeRows(int first, int count);
    // Puts rows taken out back before index (1 .. Rows).
    void putRows(int index, std::vector<RowData>&& rows);
    // Reorders rows first .. first+n-1: new row first+i is old row first+from[i].
    void permuteRows(int first, const std::vector<int>& from);
    // The order sort() would give, without applying it: *first receives the
    // first row of the sorted range; empty when nothing would move.
    std::vector<int> sortPermutation(int order, int* first) const;

    // Bytes held by the cells' text (for the memory figures of the benchmarks).
    std::size_t textBytes() const;
    std::size_t allocatedBytes() const;

  private:
    std::vector<RowData> rows_;
    int cols_ = 0;
    int row_ = 1, col_ = 0, rowSel_ = 1, colSel_ = 0, topRow_ = 1;

    void setRowCells(int row, const std::vector<std::string_view>& cells);
    friend struct DataSheetTestAccess;
};

// The mouse-selection memory kept beside the selection: six values held as
// text and read back as numbers (an empty value reads as 0, except mdown,
// which counts as 1).
struct MouseSelection {
    std::string pressRow, pressCol;      // clkrow, clkcol: RowSel / ColSel at button down
    std::string releaseRow, releaseCol;  // exrow, excol: RowSel / ColSel at button up
    std::string sweepTop, sweepBottom;   // mdown, mup: first and last row swept, top <= bottom

    // Button pressed on the grid.
    void buttonPressed(const DataSheet& sheet);  // gridmusdown
    // Button released on the grid.
    void buttonReleased(const DataSheet& sheet);  // gridmusup

    static int number(const std::string& text);
    int sweepTopNumber() const { return sweepTop.empty() ? 1 : number(sweepTop); }
};

// Splits text on a single-character separator (an empty text gives one empty piece).
std::vector<std::string_view> splitOn(std::string_view text, char sep);

// True when text reads as a number in the generic comparison of the sort.
bool readsAsNumber(std::string_view text, double* value = nullptr);

// The status text of the current position: "Current Row:" RowSel " Column:" ColSel.
std::string positionText(const DataSheet& sheet);  // curntrowcol

// Column width for colwd (fitColumnWidths): the header text's width in twips plus 320.
inline int columnWidthTwips(int headerTextWidthTwips) {
    return headerTextWidthTwips + 320;
}

}  // namespace rq
