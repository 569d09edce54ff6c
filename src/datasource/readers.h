// Entry points of the individual readers; openFileDatabase() dispatches to them.
#pragma once

#include <memory>
#include <string>

#include "datasource/database.h"

namespace rq {

std::unique_ptr<Database> openAccessDatabase(const std::string& file, const OpenOptions& options);
// dBase and FoxPro: every .dbf of the folder is a table.
std::unique_ptr<Database> openDbaseFolder(const std::string& folder, const OpenOptions& options);
std::unique_ptr<Database> openParadoxFolder(const std::string& folder, const OpenOptions& options);
std::unique_ptr<Database> openExcelWorkbook(const std::string& file, const OpenOptions& options);
// extension: "wk1", "wk3" or "wk4".
std::unique_ptr<Database> openLotusFolder(const std::string& folder, const std::string& extension,
                                          const OpenOptions& options);
// file: the FILE.DDF dictionary.
std::unique_ptr<Database> openBtrieveDictionary(const std::string& file,
                                                const OpenOptions& options);
std::unique_ptr<Database> openTextFolder(const std::string& folder, const OpenOptions& options);

}  // namespace rq
