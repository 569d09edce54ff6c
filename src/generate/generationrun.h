// Generation runs: one document over every record, or one file per block of
// records written into a folder that appears only when the run is complete.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/io/folders.h"
#include "generate/documentwriter.h"
#include "layout/layouttree.h"
#include "layout/workingtable.h"
#include "sheet/datasheet.h"

namespace rq {

// A run that could not write its files; the message names the file and the
// system's reason.
class GenerationError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The Single File run: clenzr, then the document over every record; progress is
// called after each record with (i, n).
std::string runSingleFile(LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                          const RecordProgress& progress = {});

struct SplitProgress {
    // The separate-files bar, after each record of the document being written.
    std::function<void(double percent)> document;
    // After each full document k of total: k / total * 100 and
    // "Completing Document:" k " of " total. Not called for the shorter last block.
    std::function<void(int k, int total, double percent, const std::string& status)> file;
};

struct SplitResult {
    int documents = 0;  // number of files written
    std::string
        statusText;      // "<D> XML Documents made, with Data taken form every <N> Rows (Records)."
    std::string folder;  // the run's folder, ending in "/"
    std::vector<std::string> files;  // file names in order
};

// "form_row_" a "_to_row_" b "_.xml"
std::string splitFileName(int first, int last);
// "Completing Document:" k " of " total
std::string completingDocumentText(int k, int total);
// The closing status of a separate-files run.
std::string documentsMadeText(int documents, int rowsPerFile);

// Copies the files of a finished run into target, which must be absent or
// empty; the files appear there together or not at all. False on failure, with
// the reason in *error.
bool saveSeparateFiles(const std::string& runFolder, const std::string& target, std::string* error);

// The Separate Files run: files of n records each, full blocks first and one
// shorter last block, never an empty file; n < 1 writes nothing. The files are
// written into an existing folder (which is neither emptied nor made); the
// layout must have been tidied. Throws GenerationError when a file cannot be
// written. The files go into the folder's temporary folder; the caller commits it.
SplitResult writeSeparateFiles(const LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                               int n, AtomicFolder& folderOut, bool convertSymbols,
                               const SplitProgress& progress = {});

}  // namespace rq
