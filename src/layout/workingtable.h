// The writer's working table: one row per node number, filled from the node
// table each time the layout is tidied.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace rq {

class WorkingTable {
  public:
    // Columns: 1 start-tag text, 2 value, 3 bound column, 4 end tags, 5 clean name.
    using Row = std::array<std::string, 6>;

    int rows() const { return static_cast<int>(rows_.size()); }
    void setRows(int n) {
        if (n >= 0) rows_.resize(static_cast<std::size_t>(n));
    }
    bool has(int row) const { return row >= 0 && row < rows(); }
    Row& row(int r) { return rows_[static_cast<std::size_t>(r)]; }
    const Row& row(int r) const { return rows_[static_cast<std::size_t>(r)]; }
    // Out-of-range reads give empty text.
    const std::string& cell(int r, int c) const {
        static const std::string empty;
        return has(r) && c >= 0 && c < 6
                   ? rows_[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)]
                   : empty;
    }
    void setCell(int r, int c, std::string text) {
        if (has(r) && c >= 0 && c < 6)
            rows_[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)] = std::move(text);
    }

    // datlstxt: the numbers of the bound nodes, in node order.
    std::vector<int> bindings;

  private:
    std::vector<Row> rows_;
};

}  // namespace rq
