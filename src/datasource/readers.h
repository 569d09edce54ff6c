// Entry points of the individual readers; the registry of kinds (kinds.cpp) opens through them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "datasource/database.h"

namespace rq {

std::unique_ptr<Database> openAccessDatabase(const std::string& file, const OpenOptions& options);
// dBase and FoxPro: every .dbf of the folder is a table.
std::unique_ptr<Database> openDbaseFolder(const std::string& folder, const OpenOptions& options);
std::unique_ptr<Database> openParadoxFolder(const std::string& folder, const OpenOptions& options);
std::unique_ptr<Database> openExcelWorkbook(const std::string& file, const OpenOptions& options);
// Every file of the folder with one of the extensions (".wk1", ".wks") is a
// table; the first extension's files are named by their base name, the others
// too unless that name is taken, then by base name, "#" and extension.
std::unique_ptr<Database> openLotusFolder(const std::string& folder,
                                          const std::vector<std::string>& extensions,
                                          const OpenOptions& options);
// extension: "wk1", "wk3" or "wk4" alone.
std::unique_ptr<Database> openLotusFolder(const std::string& folder, const std::string& extension,
                                          const OpenOptions& options);
// file: the FILE.DDF dictionary.
std::unique_ptr<Database> openBtrieveDictionary(const std::string& file,
                                                const OpenOptions& options);
std::unique_ptr<Database> openTextFolder(const std::string& folder, const OpenOptions& options);

}  // namespace rq
