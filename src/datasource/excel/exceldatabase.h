// Opening a workbook already in memory (the fuzz target and tests use it).
#pragma once

#include <memory>
#include <string>

#include "datasource/database.h"

namespace rq {

// file names the workbook in messages and, for single-sheet files, its sheet.
std::unique_ptr<Database> openExcelWorkbookBytes(const std::string& file, std::string bytes,
                                                 const OpenOptions& options = {});

}  // namespace rq
