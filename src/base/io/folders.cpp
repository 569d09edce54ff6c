#include "base/io/folders.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "base/io/interruptcleanup.h"

namespace rq {

namespace fs = std::filesystem;

namespace {

std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::string temporaryFolder() {
    const char* env = std::getenv("TMPDIR");
    if (env && *env) {
        struct stat st;
        if (::stat(env, &st) == 0 && S_ISDIR(st.st_mode)) return withoutSlash(env);
    }
    return "/tmp";
}

// Working folders made by this process, by slot, so removal can forget them.
struct Registered {
    std::string path;
    int slot;
};
std::vector<Registered>& registered() {
    static std::vector<Registered> list;
    return list;
}

}  // namespace

std::string makeWorkingFolder(const std::string& prefix, std::string* error) {
    std::string pattern = temporaryFolder() + "/" + prefix + "XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (::mkdtemp(buffer.data()) == nullptr) {
        if (error)
            *error = "Cannot make a working folder in " + temporaryFolder() + ": " +
                     std::strerror(errno);
        return {};
    }
    std::string path(buffer.data());
    registered().push_back({path, registerForCleanup(path, true)});
    return path + "/";
}

void removeWorkingFolder(const std::string& path) {
    std::string p = withoutSlash(path);
    auto& list = registered();
    for (auto it = list.begin(); it != list.end(); ++it) {
        if (it->path != p) continue;
        unregisterCleanup(it->slot);
        list.erase(it);
        break;
    }
    removeFolder(p);
}

void removeFolder(const std::string& path) {
    if (path.empty() || withoutSlash(path) == "/") return;
    std::error_code ec;
    fs::remove_all(withoutSlash(path), ec);
}

bool isFolderEmpty(const std::string& folder) {
    std::error_code ec;
    if (!fs::exists(folder, ec)) return true;
    if (!fs::is_directory(folder, ec)) return false;
    return fs::directory_iterator(folder, ec) == fs::directory_iterator();
}

bool copyFolder(const std::string& from, const std::string& to, std::string* error) {
    std::error_code ec;
    auto failed = [&](const std::string& what, const fs::path& p) {
        if (error) *error = what + " " + p.string() + ": " + ec.message();
        return false;
    };
    fs::create_directories(to, ec);
    if (!fs::is_directory(to, ec)) return failed("Cannot make the folder", to);
    fs::directory_iterator it(from, ec), end;
    if (ec) return failed("Cannot read the folder", from);
    for (; it != end; it.increment(ec)) {
        if (ec) return failed("Cannot read the folder", from);
        const fs::path dest = fs::path(to) / it->path().filename();
        if (it->is_directory(ec)) {
            if (!copyFolder(it->path().string(), dest.string(), error)) return false;
            continue;
        }
        fs::copy_file(it->path(), dest, fs::copy_options::overwrite_existing, ec);
        if (ec) return failed("Cannot write", dest);
    }
    return true;
}

AtomicFolder::~AtomicFolder() {
    abort();
}

bool AtomicFolder::open(const std::string& finalPath) {
    abort();
    final_ = withoutSlash(finalPath);
    error_.clear();
    if (final_.empty()) {
        error_ = "No folder was named";
        return false;
    }
    if (!isFolderEmpty(final_)) {
        error_ = "The folder " + final_ + " is not empty";
        return false;
    }
    fs::path parent = fs::path(final_).parent_path();
    std::string dir = parent.empty() ? "." : parent.string();
    std::string pattern = dir + "/." + fs::path(final_).filename().string() + ".partXXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (::mkdtemp(buffer.data()) == nullptr) {
        error_ = "Cannot make a folder in " + dir + ": " + std::strerror(errno);
        return false;
    }
    temp_ = buffer.data();
    ::chmod(
        temp_.c_str(), 0755 & ~[] {
            mode_t m = ::umask(0);
            ::umask(m);
            return m;
        }());
    cleanupSlot_ = registerForCleanup(temp_, true);
    return true;
}

std::string setFolderAside(const std::string& folder) {
    struct stat st;
    if (::lstat(folder.c_str(), &st) != 0) return {};
    const std::filesystem::path p(folder);
    std::string aside = (p.parent_path() / ("." + p.filename().string() + ".oldXXXXXX")).string();
    if (::mkdtemp(aside.data()) == nullptr) return folder;
    // rename() replaces the empty folder just made.
    if (::rename(folder.c_str(), aside.c_str()) != 0) {
        ::rmdir(aside.c_str());
        return folder;
    }
    return aside;
}

bool AtomicFolder::writeFile(const std::string& name, std::string_view bytes) {
    const std::string file = path() + name;
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        error_ = "Cannot write " + file + ": " + std::strerror(errno);
        return false;
    }
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            error_ = "Cannot write " + file + ": " + std::strerror(n < 0 ? errno : ENOSPC);
            ::close(fd);
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    if (::close(fd) != 0) {
        error_ = "Cannot write " + file + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

bool AtomicFolder::commit() {
    if (temp_.empty()) return false;
    // One sync of the file system for every file written, before the folder
    // shows under its final name.
    if (const int dir = ::open(temp_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); dir >= 0) {
        const int rc = ::syncfs(dir);
        const int err = errno;
        ::close(dir);
        if (rc != 0) {
            error_ = "Cannot write the folder " + final_ + ": " + std::strerror(err);
            abort();
            return false;
        }
    }
    // Into an absent place without replacing anything that appeared meanwhile;
    // over an empty folder by rename, which refuses a non-empty one.
    int rc = ::renameat2(AT_FDCWD, temp_.c_str(), AT_FDCWD, final_.c_str(), RENAME_NOREPLACE);
    if (rc != 0 && errno == EEXIST) {
        struct stat st;
        if (::lstat(final_.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
            rc = ::rename(temp_.c_str(), final_.c_str());
    }
    if (rc != 0) {
        error_ = "Cannot put the folder " + final_ + " in place: " +
                 (errno == ENOTEMPTY || errno == EEXIST ? std::string("it is no longer empty")
                                                        : std::string(std::strerror(errno)));
        abort();
        return false;
    }
    unregisterCleanup(cleanupSlot_);
    cleanupSlot_ = -1;
    temp_.clear();
    return true;
}

void AtomicFolder::abort() {
    if (!temp_.empty()) removeFolder(temp_);
    temp_.clear();
    unregisterCleanup(cleanupSlot_);
    cleanupSlot_ = -1;
}

}  // namespace rq
