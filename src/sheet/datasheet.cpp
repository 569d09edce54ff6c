#include "sheet/datasheet.h"

#include <malloc.h>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <cstring>

namespace rq {

// ---- RowData ---------------------------------------------------------------

DataSheet::RowData::RowData(const std::string_view* cells, std::size_t count) {
    std::size_t text = 0;
    for (std::size_t i = 0; i < count; ++i) text += cells[i].size();
    // Trailing empty cells need not be stored: a missing cell reads as empty.
    while (count > 0 && cells[count - 1].empty()) --count;
    if (count == 0) return;
    std::size_t headerBytes = (count + 1) * 4;
    block_.reset(new char[headerBytes + text]);
    auto* h = reinterpret_cast<std::uint32_t*>(block_.get());
    h[0] = static_cast<std::uint32_t>(count);
    char* out = block_.get() + headerBytes;
    std::uint32_t end = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (!cells[i].empty()) std::memcpy(out + end, cells[i].data(), cells[i].size());
        end += static_cast<std::uint32_t>(cells[i].size());
        h[i + 1] = end;
    }
}

DataSheet::RowData::RowData(const RowData& o) {
    if (!o.block_) return;
    std::size_t bytes = (static_cast<std::size_t>(o.size()) + 1) * 4 + o.textBytes();
    block_.reset(new char[bytes]);
    std::memcpy(block_.get(), o.block_.get(), bytes);
}

DataSheet::RowData& DataSheet::RowData::operator=(const RowData& o) {
    if (this != &o) {
        RowData copy(o);
        block_ = std::move(copy.block_);
    }
    return *this;
}

std::size_t DataSheet::RowData::blockBytes() const {
    return block_ ? malloc_usable_size(block_.get()) : 0;
}

// ---- DataSheet ---------------------------------------------------------------

DataSheet::DataSheet() : DataSheet(1, 0) {}

DataSheet::DataSheet(int rows, int cols) : rows_(static_cast<std::size_t>(std::max(rows, 1))) {
    cols_ = std::max(cols, 0);
}

DataSheet::DataSheet(const DataSheet& other) = default;
DataSheet& DataSheet::operator=(const DataSheet& other) = default;
DataSheet::~DataSheet() = default;

DataSheet DataSheet::startup() {
    DataSheet s(20, 5);
    for (int c = 0; c < 5; ++c) s.setCell(0, c, "Element " + std::to_string(c + 1));
    return s;
}

void DataSheet::setRows(int count) {
    if (count < 1) return;
    rows_.resize(static_cast<std::size_t>(count));
    int last = count - 1;
    row_ = std::min(row_, last);
    rowSel_ = std::min(rowSel_, last);
    topRow_ = std::min(topRow_, std::max(last, 1));
}

void DataSheet::setCols(int count) {
    if (count < 0) return;
    if (count < cols_) {
        for (std::size_t r = 0; r < rows_.size(); ++r) {
            if (rows_[r].size() <= count) continue;
            std::vector<std::string_view> cells;
            for (int c = 0; c < count; ++c) cells.push_back(rows_[r].cell(c));
            rows_[r] = RowData(cells.data(), cells.size());
        }
    }
    cols_ = count;
    if (cols_ > 0) {
        col_ = std::min(col_, cols_ - 1);
        colSel_ = std::min(colSel_, cols_ - 1);
    }
}

void DataSheet::setRowCells(int row, const std::vector<std::string_view>& cells) {
    rows_[static_cast<std::size_t>(row)] = RowData(cells.data(), cells.size());
}

void DataSheet::setCell(int row, int col, std::string_view text) {
    if (row < 0 || row >= rows() || col < 0 || col >= cols_) return;
    const RowData& r = rows_[static_cast<std::size_t>(row)];
    int n = std::max(r.size(), col + 1);
    std::string keep(text);  // text may point into this row
    std::vector<std::string_view> cells(static_cast<std::size_t>(n));
    for (int c = 0; c < n; ++c) cells[static_cast<std::size_t>(c)] = r.cell(c);
    cells[static_cast<std::size_t>(col)] = keep;
    setRowCells(row, cells);
}

std::vector<std::string_view> splitOn(std::string_view text, char sep) {
    std::vector<std::string_view> out;
    std::size_t start = 0;
    for (;;) {
        std::size_t p = text.find(sep, start);
        if (p == std::string_view::npos) {
            out.push_back(text.substr(start));
            return out;
        }
        out.push_back(text.substr(start, p - start));
        start = p + 1;
    }
}

void DataSheet::addItem(std::string_view text, int index) {
    if (index < 1 || index > rows()) return;
    std::vector<std::string_view> cells;
    if (!text.empty()) cells = splitOn(text, '\t');
    if (cells.size() > static_cast<std::size_t>(cols_))
        cells.resize(static_cast<std::size_t>(cols_));
    rows_.insert(rows_.begin() + index, RowData(cells.data(), cells.size()));
}

void DataSheet::removeItem(int index) {
    if (index < 1 || index >= rows() || rows() <= 2) return;
    rows_.erase(rows_.begin() + index);
    int last = rows() - 1;
    row_ = std::min(row_, last);
    rowSel_ = std::min(rowSel_, last);
}

void DataSheet::reset(const std::vector<std::string>& header) {
    rows_.clear();
    cols_ = static_cast<int>(header.size());
    std::vector<std::string_view> cells(header.begin(), header.end());
    rows_.emplace_back(cells.data(), cells.size());
    row_ = rowSel_ = topRow_ = 1;
    col_ = colSel_ = 0;
}

void DataSheet::appendRecord(const std::string_view* cells, std::size_t count) {
    count = std::min(count, static_cast<std::size_t>(cols_));
    rows_.emplace_back(cells, count);
}

void DataSheet::setRow(int r) {
    if (r < 0 || r >= rows()) return;
    row_ = rowSel_ = r;
}
void DataSheet::setCol(int c) {
    if (c < 0 || c >= cols_) return;
    col_ = colSel_ = c;
}
void DataSheet::setRowSel(int r) {
    if (r < 0 || r >= rows()) return;
    rowSel_ = r;
}
void DataSheet::setColSel(int c) {
    if (c < 0 || c >= cols_) return;
    colSel_ = c;
}
void DataSheet::setTopRow(int r) {
    if (r < 1 || r >= rows()) return;
    topRow_ = r;
}

std::string DataSheet::clip() const {
    int r1 = std::min(row_, rowSel_), r2 = std::max(row_, rowSel_);
    int c1 = std::min(col_, colSel_), c2 = std::max(col_, colSel_);
    std::string out;
    for (int r = r1; r <= r2; ++r) {
        if (r > r1) out += '\r';
        for (int c = c1; c <= c2; ++c) {
            if (c > c1) out += '\t';
            out += cell(r, c);
        }
    }
    return out;
}

void DataSheet::setClip(std::string_view text) {
    int r1 = std::min(row_, rowSel_), r2 = std::max(row_, rowSel_);
    int c1 = std::min(col_, colSel_), c2 = std::max(col_, colSel_);
    std::string copy(text);
    auto lines = splitOn(copy, '\r');
    for (std::size_t i = 0; i < lines.size(); ++i) {
        int r = r1 + static_cast<int>(i);
        if (r > r2) break;
        auto cells = splitOn(lines[i], '\t');
        for (std::size_t j = 0; j < cells.size(); ++j) {
            int c = c1 + static_cast<int>(j);
            if (c > c2) break;
            setCell(r, c, cells[j]);
        }
    }
}

bool readsAsNumber(std::string_view t, double* value) {
    std::size_t b = 0, e = t.size();
    while (b < e && (t[b] == ' ' || t[b] == '\t')) ++b;
    while (e > b && (t[e - 1] == ' ' || t[e - 1] == '\t')) --e;
    std::size_t i = b;
    if (i < e && (t[i] == '+' || t[i] == '-')) ++i;
    bool digits = false;
    while (i < e && std::isdigit(static_cast<unsigned char>(t[i]))) ++i, digits = true;
    if (i < e && t[i] == '.') {
        ++i;
        while (i < e && std::isdigit(static_cast<unsigned char>(t[i]))) ++i, digits = true;
    }
    if (!digits) return false;
    if (i < e && (t[i] == 'e' || t[i] == 'E')) {
        std::size_t j = i + 1;
        if (j < e && (t[j] == '+' || t[j] == '-')) ++j;
        bool expDigits = false;
        while (j < e && std::isdigit(static_cast<unsigned char>(t[j]))) ++j, expDigits = true;
        if (!expDigits) return false;
        i = j;
    }
    if (i != e) return false;
    if (value) {
        // The text is a plain decimal number here; from_chars reads it as strtod
        // would, without a copy.
        if (t[b] == '+') ++b;
        std::from_chars(t.data() + b, t.data() + e, *value);
    }
    return true;
}

namespace {

// A cell as the sort compares it: numbers as numbers, other text ignoring
// case. Worked out once per cell rather than once per comparison.
struct SortKey {
    std::string_view text;
    double number = 0;
    bool isNumber = false;
};

// Keys' texts are already lower-cased (see sortPermutation), so comparing
// their bytes is comparing the texts ignoring case.
int compareKeys(const SortKey& a, const SortKey& b) {
    if (a.isNumber && b.isNumber) return a.number < b.number ? -1 : (a.number > b.number ? 1 : 0);
    const std::size_t n = std::min(a.text.size(), b.text.size());
    if (const int k = n ? std::memcmp(a.text.data(), b.text.data(), n) : 0) return k < 0 ? -1 : 1;
    if (a.text.size() != b.text.size()) return a.text.size() < b.text.size() ? -1 : 1;
    return 0;
}

}  // namespace

std::vector<int> DataSheet::sortPermutation(int order, int* first) const {
    if (order != 1 && order != 2) return {};
    int r1 = std::min(row_, rowSel_), r2 = std::max(row_, rowSel_);
    if (row_ == rowSel_) r1 = 1, r2 = rows() - 1;
    r1 = std::max(r1, 1);
    r2 = std::min(r2, rows() - 1);
    if (r2 <= r1) return {};
    int c1 = std::min(col_, colSel_), c2 = std::max(col_, colSel_);
    std::vector<int> from(static_cast<std::size_t>(r2 - r1 + 1));
    for (std::size_t i = 0; i < from.size(); ++i) from[i] = static_cast<int>(i);
    const RowData* base = rows_.data() + r1;
    const std::size_t width = static_cast<std::size_t>(c2 - c1 + 1);
    std::vector<SortKey> keys(from.size() * width);
    std::size_t textBytes = 0;
    for (std::size_t i = 0; i < from.size(); ++i)
        for (std::size_t c = 0; c < width; ++c) {
            SortKey& k = keys[i * width + c];
            k.text = base[i].cell(c1 + static_cast<int>(c));
            k.isNumber = readsAsNumber(k.text, &k.number);
            textBytes += k.text.size();
        }
    // The texts lower-cased once, into one buffer the keys then point into.
    std::string folded;
    folded.reserve(textBytes);
    for (SortKey& k : keys) {
        const std::size_t at = folded.size();
        for (char ch : k.text)
            folded += static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
        k.text = std::string_view(folded.data() + at, k.text.size());
    }
    if (width == 1) {
        // One column: the keys themselves are sorted, next to each other in
        // memory; equal keys keep their order through the record number.
        struct Entry {
            SortKey key;
            int index;
        };
        std::vector<Entry> entries(from.size());
        for (std::size_t i = 0; i < from.size(); ++i) entries[i] = {keys[i], static_cast<int>(i)};
        keys = {};
        std::sort(entries.begin(), entries.end(), [order](const Entry& a, const Entry& b) {
            const int k = compareKeys(a.key, b.key);
            if (k != 0) return order == 1 ? k < 0 : k > 0;
            return a.index < b.index;
        });
        for (std::size_t i = 0; i < from.size(); ++i) from[i] = entries[i].index;
        *first = r1;
        return from;
    }
    auto less = [&](int a, int b) {
        const SortKey* ka = &keys[static_cast<std::size_t>(a) * width];
        const SortKey* kb = &keys[static_cast<std::size_t>(b) * width];
        for (std::size_t c = 0; c < width; ++c) {
            int k = compareKeys(ka[c], kb[c]);
            if (k != 0) return order == 1 ? k < 0 : k > 0;
        }
        return false;
    };
    std::stable_sort(from.begin(), from.end(), less);
    *first = r1;
    return from;
}

void DataSheet::permuteRows(int first, const std::vector<int>& from) {
    if (first < 1 || first + static_cast<int>(from.size()) > rows()) return;
    std::vector<RowData> moved(from.size());
    for (std::size_t i = 0; i < from.size(); ++i)
        moved[i] = std::move(rows_[static_cast<std::size_t>(first + from[i])]);
    std::move(moved.begin(), moved.end(), rows_.begin() + first);
}

void DataSheet::sort(int order) {
    int first = 0;
    std::vector<int> from = sortPermutation(order, &first);
    if (!from.empty()) permuteRows(first, from);
}

std::vector<DataSheet::RowData> DataSheet::takeRows(int first, int count) {
    if (first < 1 || first >= rows() || count <= 0) return {};
    count = std::min(count, rows() - first);
    auto b = rows_.begin() + first, e = b + count;
    std::vector<RowData> out(std::make_move_iterator(b), std::make_move_iterator(e));
    rows_.erase(b, e);
    int last = rows() - 1;
    row_ = std::min(row_, last);
    rowSel_ = std::min(rowSel_, last);
    topRow_ = std::min(topRow_, std::max(last, 1));
    return out;
}

void DataSheet::putRows(int index, std::vector<RowData>&& rows) {
    if (index < 1 || index > this->rows()) return;
    rows_.insert(rows_.begin() + index, std::make_move_iterator(rows.begin()),
                 std::make_move_iterator(rows.end()));
    rows.clear();
}

std::size_t DataSheet::textBytes() const {
    std::size_t n = 0;
    for (const auto& r : rows_) n += r.textBytes();
    return n;
}

std::size_t DataSheet::allocatedBytes() const {
    std::size_t n = rows_.capacity() * sizeof(RowData);
    for (const auto& r : rows_) n += r.blockBytes();
    return n;
}

int MouseSelection::number(const std::string& text) {
    double v = 0;
    if (!readsAsNumber(text, &v)) return 0;
    return static_cast<int>(v);
}

void MouseSelection::buttonPressed(const DataSheet& sheet) {
    sweepTop = std::to_string(sheet.rowSel());
    pressRow = std::to_string(sheet.rowSel());
    pressCol = std::to_string(sheet.colSel());
}

void MouseSelection::buttonReleased(const DataSheet& sheet) {
    releaseRow = std::to_string(sheet.rowSel());
    releaseCol = std::to_string(sheet.colSel());
    sweepBottom = std::to_string(sheet.rowSel());
    int down = sweepTopNumber();
    int up = number(sweepBottom);
    if (up < down) {
        sweepBottom = std::to_string(down);
        sweepTop = std::to_string(up);
    }
}

std::string positionText(const DataSheet& sheet) {
    return "Current Row:" + std::to_string(sheet.rowSel()) +
           " Column:" + std::to_string(sheet.colSel());
}

}  // namespace rq
