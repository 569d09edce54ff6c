#include "generate/generationrun.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "generate/cp1252.h"
#include "generate/escape.h"
#include "layout/defaultlayout.h"

namespace rq {

namespace fs = std::filesystem;

namespace {

std::string withSlash(std::string path) {
    if (path.empty() || path.back() != '/') path += '/';
    return path;
}

std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

}  // namespace

// ---- working folder ------------------------------------------------------------

std::string makefold(const std::string& name) {
    std::error_code ec;
    fs::path temp = fs::temp_directory_path(ec);
    if (ec) temp = "/tmp";
    std::string candidate = name;
    // mkdir fails with EEXIST when a folder of that name is there, which makes
    // the test and the creation one step; the name grows by "1" per try.
    for (int tries = 0; tries < 200; ++tries) {
        std::string path = (temp / candidate).string();
        if (::mkdir(path.c_str(), 0700) == 0) return path + "/";
        if (errno != EEXIST) return {};
        candidate += "1";
    }
    return {};
}

void DeleteAFolder(const std::string& path) {
    if (path.empty()) return;
    std::error_code ec;
    fs::remove_all(withoutSlash(path), ec);
}

const std::vector<std::string>& previewTypeItems() {
    static const std::vector<std::string> items = {
        "Preview as XML Documents(.xml)", "Preview as XML Schema Files (.xsd)",
        "Preview as XSLT Stylesheets(.xsl)", "Preview as XSLT Stylesheets(.XSLT)",
        "Preview as XSLT Stylesheets(.fo)"};
    return items;
}

std::string combotxt(int index) {
    static const char* const ext[] = {".xml", ".xsd", ".xsl", ".xslt", ".fo"};
    if (index < 0 || index > 4) return {};
    return ext[index];
}

// ---- atomic files ----------------------------------------------------------------

AtomicFile::~AtomicFile() {
    abort();
}

bool AtomicFile::fail(const std::string& what) {
    error_ = what + " " + path_ + ": " + std::strerror(errno);
    abort();
    return false;
}

bool AtomicFile::open(const std::string& path) {
    abort();
    path_ = path;
    error_.clear();
    static std::atomic<unsigned> counter{0};
    fs::path p(path);
    std::string dir = p.parent_path().string();
    if (dir.empty()) dir = ".";
    // O_EXCL with a name of our own: the mode follows the umask like any new file.
    for (int tries = 0; tries < 100; ++tries) {
        temp_ = dir + "/." + p.filename().string() + ".tmp" + std::to_string(::getpid()) + "-" +
                std::to_string(counter.fetch_add(1));
        fd_ = ::open(temp_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd_ >= 0) return true;
        if (errno != EEXIST) break;
    }
    temp_.clear();
    error_ = "Cannot write " + path + ": " + std::strerror(errno);
    return false;
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
    if (::close(fd_) != 0) {
        fd_ = -1;
        return fail("Cannot write");
    }
    fd_ = -1;
    // rename refuses (EISDIR) to put a file over a folder of the same name.
    if (::rename(temp_.c_str(), path_.c_str()) != 0) return fail("Cannot write");
    temp_.clear();
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
}

bool writeFileAtomically(const std::string& path, std::string_view bytes) {
    AtomicFile f;
    return f.open(path) && f.write(bytes) && f.commit();
}

void appendFileBytes(std::string& out, std::string_view utf8, bool convertSymbols) {
    if (convertSymbols) {
        out.append(utf8);
        return;
    }
    out.reserve(out.size() + utf8.size());
    const char* s = utf8.data();
    const std::size_t n = utf8.size();
    std::size_t i = 0;
    while (i < n) {
        std::size_t start = i;
        // Whole words of ASCII first, then single bytes.
        while (i + 8 <= n) {
            std::uint64_t w;
            std::memcpy(&w, s + i, 8);
            if (w & 0x8080808080808080ULL) break;
            i += 8;
        }
        while (i < n && !(static_cast<unsigned char>(s[i]) & 0x80)) ++i;
        out.append(s + start, i - start);
        if (i >= n) break;
        char32_t c;
        i += decodeUtf8(utf8, i, c);
        int code = unicodeToCp1252(c);
        out += code < 0 ? '?' : static_cast<char>(code);
    }
}

std::string documentFileBytes(std::string_view documentText, bool convertSymbols) {
    std::string bytes;
    appendFileBytes(bytes, documentText, convertSymbols);
    bytes += "\r\n";
    return bytes;
}

bool cndsavefunc(const std::string& path, std::string_view documentText, bool convertSymbols) {
    return writeFileAtomically(path, documentFileBytes(documentText, convertSymbols));
}

std::string showfinshxml(const std::string& tempFolder, std::string_view previewText,
                         const std::string& extension, bool convertSymbols) {
    std::string path = withSlash(tempFolder) + "xml_temp" + extension;
    return cndsavefunc(path, previewText, convertSymbols) ? path : std::string();
}

// ---- runs ------------------------------------------------------------------------

std::string runSingleFile(LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                          const RecordProgress& progress) {
    return cmdsedfinfunc(tree, work, sheet, sheet.rows() - 1, progress);
}

std::string splitFileName(int first, int last) {
    return "form_row_" + std::to_string(first) + "_to_row_" + std::to_string(last) + "_.xml";
}

std::string completingDocumentText(int k, int total) {
    return "Completing Document:" + std::to_string(k) + " of " + std::to_string(total);
}

std::string documentsMadeText(int documents, int rowsPerFile) {
    return std::to_string(documents) + " XML Documents made, with Data taken form every " +
           std::to_string(rowsPerFile) + " Rows (Records).";
}

SplitResult writeSeparateFiles(const LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                               int n, const std::string& folder, bool convertSymbols,
                               const SplitProgress& progress) {
    SplitResult result;
    result.folder = withSlash(folder);
    if (n < 1) return result;
    const int records = std::max(sheet.rows() - 1, 0);
    const int full = (records - records % n) / n;

    std::string doc, bytes;
    auto writeBlock = [&](int a, int b) {
        doc.clear();
        RecordProgress each;
        if (progress.document && a != b)
            each = [&](int done, int) {
                int r = a + done - 1;
                progress.document(static_cast<double>(r - a) / static_cast<double>(b - a) * 100.0);
            };
        writeDocument(tree, work, sheet, a, b, doc, {}, each);
        std::string name = splitFileName(a, b);
        bytes.clear();
        appendFileBytes(bytes, doc, convertSymbols);
        bytes += "\r\n";
        AtomicFile f;
        if (!f.open(result.folder + name) || !f.write(bytes) || !f.commit())
            throw std::runtime_error(f.error());
        result.files.push_back(std::move(name));
        ++result.documents;
    };

    for (int k = 1; k <= full; ++k) {
        writeBlock(k * n - n + 1, k * n);
        if (progress.file)
            progress.file(k, full, static_cast<double>(k) / full * 100.0,
                          completingDocumentText(k, full));
    }
    if (records % n != 0) writeBlock(full * n + 1, records);
    result.statusText = documentsMadeText(result.documents, n);
    return result;
}

SplitResult runSeparateFiles(LayoutTree& tree, WorkingTable& work, const DataSheet& sheet, int n,
                             const std::string& tempFolder, bool convertSymbols,
                             const SplitProgress& progress) {
    if (n < 1) {
        SplitResult none;
        none.folder = withSlash(tempFolder) + "Split/";
        return none;
    }
    clenzr(tree, work);
    std::string folder = withSlash(tempFolder) + "Split";
    DeleteAFolder(folder);
    std::error_code ec;
    if (!fs::create_directories(folder, ec) && !fs::is_directory(folder))
        throw std::runtime_error("Cannot make the folder " + folder + ": " + ec.message());
    return writeSeparateFiles(tree, work, sheet, n, folder, convertSymbols, progress);
}

// ---- folder chooser --------------------------------------------------------------

bool isfoldem(const std::string& folder) {
    std::error_code ec;
    if (!fs::exists(folder, ec)) return true;
    if (!fs::is_directory(folder, ec)) return false;
    return fs::directory_iterator(folder, ec) == fs::directory_iterator();
}

bool copyfold(const std::string& from, const std::string& to) {
    std::error_code ec;
    fs::create_directories(to, ec);
    if (!fs::is_directory(to, ec)) return false;
    fs::directory_iterator it(from, ec), end;
    if (ec) return false;
    bool ok = true;
    for (; it != end; it.increment(ec)) {
        if (ec) return false;
        const fs::path dest = fs::path(to) / it->path().filename();
        if (it->is_directory(ec)) {
            ok = copyfold(it->path().string(), dest.string()) && ok;
            continue;
        }
        fs::copy_file(it->path(), dest, fs::copy_options::overwrite_existing, ec);
        if (ec) ok = false;
    }
    return ok;
}

FolderChoice checkSelectedFolder(const std::string& currentFolder, const std::string& typedName) {
    FolderChoice choice;
    std::string name;
    for (char c : typedName)
        if (c != '\\' && c != '/') name += c;
    if (name.empty()) {
        choice.error = "Please Enter the name of the Folder";
        return choice;
    }
    choice.target = withSlash(currentFolder) + name;
    if (!isfoldem(choice.target)) {
        choice.error = "The Folder " + choice.target +
                       "\n is not empty. Please choose a different folder or name.";
        return choice;
    }
    choice.ok = true;
    return choice;
}

std::string makeNewFolder(const std::string& currentFolder) {
    const std::string base = withSlash(currentFolder) + "New Folder";
    std::string candidate = base;
    std::error_code ec;
    for (int counter = 2; fs::exists(candidate, ec); ++counter) {
        if (counter > 100000) return {};
        candidate = base + " (" + std::to_string(counter) + ")";
    }
    if (!fs::create_directory(candidate, ec)) return {};
    return candidate;
}

std::string overwriteQuestion(const std::string& path) {
    return fs::path(path).filename().string() + " already exits, would you like to overwrite it?";
}

}  // namespace rq
