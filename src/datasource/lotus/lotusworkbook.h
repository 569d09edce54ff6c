// Reading a Lotus worksheet file through libwps: the sheets of the file with
// their cells, values as text (formula cells give their cached values, cells
// formatted as dates give dates).
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "datasource/excel/celltable.h"

namespace rq::lotus {

struct LotusSheet {
    std::string name;  // as the file names it; may be empty
    std::vector<excel::SheetCell> cells;
    std::vector<std::size_t> textFormulas;  // cells of formulas whose text result is missing
};

// Parses the bytes of a worksheet file. encoding: a code page such as "CP437",
// or empty for the library's own choice. Throws std::runtime_error when the
// bytes are not a worksheet the library can read.
std::vector<LotusSheet> parseLotusWorkbook(std::string_view bytes, const std::string& encoding);

}  // namespace rq::lotus
