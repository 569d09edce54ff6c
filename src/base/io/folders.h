// Folders: the private working folder, removal, emptiness, copying, and a
// folder that appears under its final name only when it is complete.
#pragma once

#include <string>
#include <string_view>

namespace rq {

// The working folder (makefold): a new folder made with mkdtemp in the system
// temporary folder, named prefix followed by six random characters, mode 0700,
// removed when the process is interrupted. Returns the path followed by "/";
// on failure returns "" and, when error is given, stores the reason there.
std::string makeWorkingFolder(const std::string& prefix, std::string* error = nullptr);
// Removes a folder made by makeWorkingFolder and forgets it for cleanup.
void removeWorkingFolder(const std::string& path);

// Removes the folder and its contents (DeleteAFolder); errors are ignored; an
// empty path is refused, so no path is ever derived from an empty name.
void removeFolder(const std::string& path);
// Moves a folder out of the way at once, under a hidden name beside it, so
// that removing it (which takes a while for many files) can happen later or
// on another thread. Returns the name to remove: "" when there was no folder,
// the folder itself when it could not be moved.
std::string setFolderAside(const std::string& folder);
// True when the folder is empty or absent (isfoldem).
bool isFolderEmpty(const std::string& folder);
// Copies the files of `from` into `to`, creating `to` (copyfold). False on any
// failure, with the reason in *error when given.
bool copyFolder(const std::string& from, const std::string& to, std::string* error = nullptr);

// A folder written under a temporary name beside its final place and renamed
// into place by commit(): an interrupted run leaves nothing that looks
// finished, and of two runs into the same new folder only one can succeed.
class AtomicFolder {
  public:
    AtomicFolder() = default;
    ~AtomicFolder();
    AtomicFolder(const AtomicFolder&) = delete;
    AtomicFolder& operator=(const AtomicFolder&) = delete;

    // Refuses a final folder that exists and is not empty; makes the temporary one.
    bool open(const std::string& finalPath);
    // The temporary folder to write into, ending in "/".
    std::string path() const { return temp_.empty() ? std::string() : temp_ + "/"; }
    // Writes a new file of the temporary folder straight: the folder as a
    // whole is what appears atomically, so its files need no temporary names
    // and no sync of their own. name is relative to path().
    bool writeFile(const std::string& name, std::string_view bytes);
    // Syncs what was written, then renames the temporary folder into place; refused when the final
    // folder has meanwhile become a non-empty folder or a file.
    bool commit();
    void abort();
    const std::string& error() const { return error_; }

  private:
    std::string final_, temp_, error_;
    int cleanupSlot_ = -1;
};

}  // namespace rq
