// A sheet written out in a test: rows of cells, the first row the header.
#pragma once

#include <string>
#include <vector>

#include "sheet/datasheet.h"

namespace rq::sheettest {

inline DataSheet sheetOf(const std::vector<std::vector<std::string>>& rows) {
    DataSheet s(static_cast<int>(rows.size()), static_cast<int>(rows.at(0).size()));
    for (std::size_t r = 0; r < rows.size(); ++r)
        for (std::size_t c = 0; c < rows[r].size(); ++c)
            s.setCell(static_cast<int>(r), static_cast<int>(c), rows[r][c]);
    return s;
}

}  // namespace rq::sheettest
