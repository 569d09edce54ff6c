// The one way output reaches the disk. A regular file is written under a
// temporary name in its own folder, synced and renamed into place, so no half
// file ever stands under the final name; a symbolic link is followed and its
// target replaced; a replaced file keeps its mode; what is not a regular file
// (a terminal, a pipe, /dev/stdout) is written straight. An interrupted process
// leaves no temporary file behind.
#pragma once

#include <string>
#include <string_view>

namespace rq {

class AtomicFile {
  public:
    AtomicFile() = default;
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Prepares the write; false (with error() set) on failure.
    bool open(const std::string& path);
    bool write(std::string_view bytes);
    // Makes the written bytes the file's content; false on failure.
    bool commit();
    // Drops what was written; the final path keeps what it held.
    void abort();
    bool isOpen() const { return fd_ >= 0; }
    // What went wrong, naming the file and the system's reason.
    const std::string& error() const { return error_; }
    // The file that receives the bytes (the target of a link).
    const std::string& target() const { return target_; }

  private:
    int fd_ = -1;
    int cleanupSlot_ = -1;
    bool direct_ = false;
    std::string path_, target_, temp_, error_;
    bool fail(const std::string& what);
};

// Writes bytes to path through an AtomicFile. On failure returns false and,
// when error is given, stores the message there.
bool writeFileAtomically(const std::string& path, std::string_view bytes,
                         std::string* error = nullptr);

// The file a path finally names after following symbolic links (relative
// links are read against the link's folder); the path itself when it is no
// link. Loops and overlong chains give the path unchanged.
std::string followLinks(const std::string& path);

}  // namespace rq
