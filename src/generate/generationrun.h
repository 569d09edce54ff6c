// Generation runs and their output files: the working folder, the single-file
// and separate-files runs, saving a document, the preview file and the rules of
// the folder chooser. Every file is written under a temporary name in its own
// folder and renamed into place, so no half file ever stands under the final name.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "generate/documentwriter.h"
#include "layout/layouttree.h"
#include "layout/workingtable.h"
#include "sheet/datasheet.h"

namespace rq {

// The working folder: candidate = system temporary folder + "/" + name; while it
// exists, name + "1" is tried, and so on (sdat, sdat1, sdat11, ...). Created with
// mode 0700. Returns the path followed by "/", or "" when no folder could be made.
std::string makefold(const std::string& name);
// Deletes the folder and its contents; errors are ignored.
void DeleteAFolder(const std::string& path);

// Extension for the preview-type item index 0..4 (".xml", ".xsd", ".xsl",
// ".xslt", ".fo"); "" for any other index (-1: no selection).
std::string combotxt(int index);
// The five item captions in order.
const std::vector<std::string>& previewTypeItems();

// A file written through a temporary name in the same folder: bytes go to the
// temporary file, commit() renames it into place. Destroying an uncommitted
// writer removes the temporary file and leaves the final path untouched.
class AtomicFile {
  public:
    AtomicFile() = default;
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Creates the temporary file; false (with error() set) on failure.
    bool open(const std::string& path);
    bool write(std::string_view bytes);
    bool commit();
    void abort();
    bool isOpen() const { return fd_ >= 0; }
    // What went wrong, naming the file.
    const std::string& error() const { return error_; }

  private:
    int fd_ = -1;
    std::string path_, temp_, error_;
    bool fail(const std::string& what);
};

// Writes bytes to path through a temporary name in the same folder, renamed into
// place. Returns false (and leaves no half file under path) on failure.
bool writeFileAtomically(const std::string& path, std::string_view bytes);

// Appends encodeForFile(utf8, convertSymbols) to out, copying runs of ASCII
// text in one step (the fast form for large documents).
void appendFileBytes(std::string& out, std::string_view utf8, bool convertSymbols);

// The bytes a saved document is written as: encodeForFile(text, convertSymbols)
// followed by "\r\n".
std::string documentFileBytes(std::string_view documentText, bool convertSymbols);

// cndsavefunc: saves one document.
bool cndsavefunc(const std::string& path, std::string_view documentText, bool convertSymbols);

// showfinshxml: writes the preview text to tempFolder + "xml_temp" + extension
// (same encoding and trailing "\r\n" as a save); returns that file's path, or ""
// when it could not be written.
std::string showfinshxml(const std::string& tempFolder, std::string_view previewText,
                         const std::string& extension, bool convertSymbols);

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

// The Separate Files run: n < 1 gives documents = 0 and writes nothing. Tidies
// the layout once; the run's folder is tempFolder + "Split" (deleted and made
// afresh). Files hold n records each, full blocks first and one shorter last
// block, never an empty file. Throws std::runtime_error with a clear message
// when the folder cannot be made or a file cannot be written.
SplitResult runSeparateFiles(LayoutTree& tree, WorkingTable& work, const DataSheet& sheet, int n,
                             const std::string& tempFolder, bool convertSymbols,
                             const SplitProgress& progress = {});

// The same files written into an existing folder (which is neither emptied nor
// made); the layout must have been tidied. Used by runSeparateFiles and the batch
// converter.
SplitResult writeSeparateFiles(const LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                               int n, const std::string& folder, bool convertSymbols,
                               const SplitProgress& progress = {});

// isfoldem: true when the folder is empty or absent.
bool isfoldem(const std::string& folder);
// copyfold: copies the files of `from` into `to`, creating `to`. False on any failure.
bool copyfold(const std::string& from, const std::string& to);

struct FolderChoice {
    bool ok = false;
    std::string target;
    std::string error;
};
// The OK check of the folder chooser: "\" and "/" are removed from the typed
// name; an empty name gives "Please Enter the name of the Folder"; a target that
// exists and is not empty gives "The Folder " target "\n is not empty. Please
// choose a different folder or name.". Nothing is created here.
FolderChoice checkSelectedFolder(const std::string& currentFolder, const std::string& typedName);
// New Folder: currentFolder + "/New Folder", then "/New Folder (2)", (3), ...;
// creates it and returns it ("" when it could not be made).
std::string makeNewFolder(const std::string& currentFolder);

// "<file name> already exits, would you like to overwrite it?"
std::string overwriteQuestion(const std::string& path);

}  // namespace rq
