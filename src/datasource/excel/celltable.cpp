#include "datasource/excel/celltable.h"

#include <algorithm>
#include <string_view>

namespace rq::excel {

CellTable::CellTable(std::vector<SheetCell> cells, std::vector<std::string> warnings)
    : cells_(std::move(cells)), warnings_(std::move(warnings)) {
    std::stable_sort(cells_.begin(), cells_.end(), [](const SheetCell& a, const SheetCell& b) {
        return a.row != b.row ? a.row < b.row : a.col < b.col;
    });
    // Keep the last of several cells at one position.
    std::vector<SheetCell> unique;
    unique.reserve(cells_.size());
    for (auto& c : cells_) {
        if (!unique.empty() && unique.back().row == c.row && unique.back().col == c.col)
            unique.back() = std::move(c);
        else
            unique.push_back(std::move(c));
    }
    cells_ = std::move(unique);

    if (cells_.empty()) {
        fields_.push_back({"F1", kText});
        return;
    }
    std::uint32_t lastCol = 0;
    firstCol_ = cells_.front().col;
    for (const auto& c : cells_) {
        firstCol_ = std::min(firstCol_, c.col);
        lastCol = std::max(lastCol, c.col);
    }
    firstRow_ = cells_.front().row;
    recordCount_ = cells_.back().row - firstRow_;
    const std::size_t width = std::size_t{lastCol} - firstCol_ + 1;

    fields_.resize(width);
    for (std::size_t i = 0; i < width; ++i) fields_[i].name = "F" + std::to_string(i + 1);
    std::size_t i = 0;
    for (; i < cells_.size() && cells_[i].row == firstRow_; ++i)
        if (!cells_[i].text.empty()) fields_[cells_[i].col - firstCol_].name = cells_[i].text;
    dataStart_ = i;

    // Column kinds over the non-empty cells below the heading row.
    std::vector<CellKind> kind(width, CellKind::Blank);
    std::vector<bool> mixed(width, false);
    for (; i < cells_.size(); ++i) {
        const SheetCell& c = cells_[i];
        if (c.kind == CellKind::Blank || c.text.empty()) continue;
        const std::size_t k = c.col - firstCol_;
        if (kind[k] == CellKind::Blank)
            kind[k] = c.kind;
        else if (kind[k] != c.kind)
            mixed[k] = true;
    }
    for (std::size_t k = 0; k < width; ++k) {
        int type = kText;
        if (!mixed[k]) {
            if (kind[k] == CellKind::Number) type = kDouble;
            if (kind[k] == CellKind::Date) type = kDateTime;
            if (kind[k] == CellKind::Boolean) type = kBoolean;
        }
        fields_[k].type = type;
    }
}

void CellTable::emit(RecordSink& sink) const {
    sink.begin(fields_);
    for (const auto& w : warnings_) sink.warning(w);
    const std::size_t width = fields_.size();
    std::vector<std::string_view> row(width);
    std::size_t i = dataStart_;
    for (std::size_t r = 1; r <= recordCount_; ++r) {
        std::fill(row.begin(), row.end(), std::string_view{});
        const std::uint32_t at = firstRow_ + static_cast<std::uint32_t>(r);
        for (; i < cells_.size() && cells_[i].row == at; ++i)
            row[cells_[i].col - firstCol_] = cells_[i].text;
        sink.row(row.data(), width);
    }
    sink.end();
}

}  // namespace rq::excel
