#include "base/io/atomicfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "base/io/interruptcleanup.h"

namespace rq {

namespace {

std::string folderOf(const std::string& path) {
    auto slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

std::string nameOf(const std::string& path) {
    auto slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool startsWith(const std::string& s, std::string_view prefix) {
    return s.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

std::string followLinks(const std::string& path) {
    std::string current = path;
    for (int hops = 0; hops < 40; ++hops) {
        struct stat st;
        if (::lstat(current.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return current;
        char buffer[4096];
        ssize_t n = ::readlink(current.c_str(), buffer, sizeof buffer);
        if (n <= 0 || static_cast<std::size_t>(n) >= sizeof buffer) return path;
        std::string link(buffer, static_cast<std::size_t>(n));
        current = link[0] == '/' ? link : folderOf(current) + "/" + link;
    }
    return path;
}

AtomicFile::~AtomicFile() {
    abort();
}

bool AtomicFile::fail(const std::string& what) {
    error_ = what + " " + path_ + ": " + std::strerror(errno);
    int saved = errno;
    abort();
    errno = saved;
    return false;
}

bool AtomicFile::open(const std::string& path) {
    abort();
    path_ = path;
    error_.clear();
    direct_ = false;
    target_ = followLinks(path);

    // Special files and the process's own descriptors are written straight:
    // replacing them by a renamed file would cut the reader off.
    struct stat st;
    bool exists = ::stat(target_.c_str(), &st) == 0;
    if (startsWith(path, "/dev/") || startsWith(path, "/proc/") || startsWith(target_, "/proc/") ||
        (exists && !S_ISREG(st.st_mode))) {
        if (exists && S_ISDIR(st.st_mode)) {
            errno = EISDIR;
            return fail("Cannot write");
        }
        fd_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd_ < 0) return fail("Cannot write");
        direct_ = true;
        return true;
    }

    static std::atomic<unsigned> counter{0};
    const std::string dir = folderOf(target_);
    const std::string base = "." + nameOf(target_) + ".tmp" + std::to_string(::getpid()) + "-";
    for (int tries = 0; tries < 100; ++tries) {
        temp_ = dir + "/" + base + std::to_string(counter.fetch_add(1));
        // Registered before it exists, so a signal between the two steps
        // cannot leave it behind.
        cleanupSlot_ = registerForCleanup(temp_, false);
        fd_ = ::open(temp_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd_ >= 0) break;
        int saved = errno;
        unregisterCleanup(cleanupSlot_);
        cleanupSlot_ = -1;
        errno = saved;
        if (errno != EEXIST) break;
    }
    if (fd_ < 0) {
        temp_.clear();
        return fail("Cannot write");
    }
    // A replaced file keeps its permissions (and, where allowed, its owner).
    if (exists) {
        (void)::fchmod(fd_, st.st_mode & 07777);
        if (::geteuid() == 0) (void)::fchown(fd_, st.st_uid, st.st_gid);
    }
    return true;
}

bool AtomicFile::write(std::string_view bytes) {
    if (fd_ < 0) return false;
    while (!bytes.empty()) {
        ssize_t n = ::write(fd_, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return fail("Cannot write");
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

bool AtomicFile::commit() {
    if (fd_ < 0) return false;
    if (!direct_ && ::fsync(fd_) != 0) return fail("Cannot write");
    int fd = fd_;
    fd_ = -1;
    if (::close(fd) != 0 && !direct_) return fail("Cannot write");
    if (direct_) return true;
    // rename refuses (EISDIR) to put a file over a folder of the same name.
    if (::rename(temp_.c_str(), target_.c_str()) != 0) return fail("Cannot write");
    temp_.clear();
    unregisterCleanup(cleanupSlot_);
    cleanupSlot_ = -1;
    return true;
}

void AtomicFile::abort() {
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
    if (!temp_.empty()) {
        ::unlink(temp_.c_str());
        temp_.clear();
    }
    unregisterCleanup(cleanupSlot_);
    cleanupSlot_ = -1;
}

bool writeFileAtomically(const std::string& path, std::string_view bytes, std::string* error) {
    AtomicFile f;
    bool ok = f.open(path) && f.write(bytes) && f.commit();
    if (!ok && error) *error = f.error();
    return ok;
}

}  // namespace rq
