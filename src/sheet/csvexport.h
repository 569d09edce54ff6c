// The sheet written as comma-separated text: every cell quoted, quotes inside
// values left as they are, "\r\n" after each line. The header line has no
// trailing comma; each record cell is followed by a comma, except a last cell
// that is empty, which is left out entirely.
#pragma once

#include <functional>
#include <string>

#include "sheet/datasheet.h"

namespace rq {

// Called after each record with (r / R) * 100 and "Exporting... " N "% completed".
using ExportProgress = std::function<void(double percent, const std::string& status)>;

// "Exporting... " followed by the whole-number part of percent and "% completed".
std::string exportingText(double percent);

// The text of the export: the header line, "\r\n", then the record lines.
std::string csvExportText(const DataSheet& sheet, const ExportProgress& progress = {});

// The same text handed over in pieces of about a megabyte, whole lines each:
// sink receives the text and must leave the string empty.
void csvExportChunks(const DataSheet& sheet, const std::function<void(std::string&)>& sink,
                     const ExportProgress& progress = {});

}  // namespace rq
