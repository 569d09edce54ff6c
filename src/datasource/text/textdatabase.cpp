// A folder of delimited or fixed-width text files read as a database: every
// .txt, .csv, .tab and .asc file is a table named file#ext, shaped by the
// folder's schema.ini when it has a section for the file.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "datasource/codepage.h"
#include "datasource/readers.h"
#include "datasource/readwarnings.h"
#include "datasource/text/textformat.h"
#include "datasource/valuetext.h"

namespace rq {

namespace fs = std::filesystem;
using text::Format;
using text::RecordScanner;
using text::TableSettings;

namespace {

std::string lower(std::string s) {
    for (char& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

bool isTableExtension(const std::string& ext) {
    std::string e = lower(ext);
    return e == ".txt" || e == ".csv" || e == ".tab" || e == ".asc";
}

// data.csv -> data#csv
std::string tableNameOf(const std::string& fileName) {
    std::string name = fileName;
    std::size_t dot = name.rfind('.');
    if (dot != std::string::npos) name[dot] = '#';
    return name;
}

// The bytes of a file, mapped read-only.
class MappedFile {
  public:
    explicit MappedFile(const std::string& path) {
        int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) throw DatabaseError("Cannot open " + path + ": " + std::strerror(errno));
        struct stat st {};
        if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
            ::close(fd);
            throw DatabaseError("Cannot read " + path + ": not a regular file.");
        }
        size_ = static_cast<std::size_t>(st.st_size);
        if (size_ > 0) {
            void* p = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd, 0);
            if (p == MAP_FAILED) {
                ::close(fd);
                throw DatabaseError("Cannot read " + path + ": " + std::strerror(errno));
            }
            ::madvise(p, size_, MADV_SEQUENTIAL);
            data_ = static_cast<const char*>(p);
        }
        ::close(fd);
    }
    ~MappedFile() {
        if (data_) ::munmap(const_cast<char*>(data_), size_);
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    std::string_view bytes() const { return {data_ ? data_ : "", size_}; }
    // Gives back the pages wholly before `upTo` (text already read); they are
    // read again from the file should they be touched.
    void release(const char* upTo) {
        if (!data_ || upTo < data_ || upTo > data_ + size_) return;
        static const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        std::size_t len = static_cast<std::size_t>(upTo - data_) / page * page;
        if (len > released_) {
            ::madvise(const_cast<char*>(data_) + released_, len - released_, MADV_DONTNEED);
            released_ = len;
        }
    }

  private:
    const char* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t released_ = 0;
};

bool allAscii(std::string_view s) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(s.data());
    std::size_t n = s.size(), i = 0;
    for (; i + 8 <= n; i += 8) {
        std::uint64_t w;
        std::memcpy(&w, p + i, 8);
        if (w & 0x8080808080808080ULL) return false;
    }
    for (; i < n; ++i)
        if (p[i] & 0x80) return false;
    return true;
}

// Valid UTF-8, checked a word at a time through ASCII text.
bool validUtf8(std::string_view s) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(s.data());
    const std::size_t n = s.size();
    std::size_t i = 0;
    while (i < n) {
        while (i + 8 <= n) {
            std::uint64_t w;
            std::memcpy(&w, p + i, 8);
            if (w & 0x8080808080808080ULL) break;
            i += 8;
        }
        if (i >= n) break;
        unsigned c = p[i];
        if (c < 0x80) {
            ++i;
            continue;
        }
        std::size_t len = (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
        if (len == 0 || i + len > n || (len == 2 && c < 0xC2)) return false;
        for (std::size_t k = 1; k < len; ++k)
            if ((p[i + k] & 0xC0) != 0x80) return false;
        i += len;
    }
    return true;
}

// How many records are looked at to find the number of columns of a file
// without a schema.
constexpr int kScanRows = 25;
// How much read text is given back to the system at a time.
constexpr std::size_t kReleaseStep = 8u << 20;

// One table, opened: its text as UTF-8, its settings and its fields.
struct OpenedTable {
    std::string path;
    std::optional<MappedFile> file;
    std::string decoded;  // the text when it had to be converted
    std::string_view text;
    TableSettings settings;
    std::vector<Field> fields;
    std::vector<int> types;
    bool replacedBytes = false;  // bytes that were not of the encoding became U+FFFD
};

// What a typed value that does not read as its type is not.
const char* kindOf(int type) {
    switch (type) {
        case kBoolean:
            return "true or false";
        case kByte:
        case kInteger:
        case kLong:
            return "a whole number";
        case kDateTime:
            return "a date";
        default:
            return "a number";
    }
}

}  // namespace

class TextDatabase : public Database {
  public:
    TextDatabase(std::string folder, OpenOptions options)
        : folder_(std::move(folder)), options_(std::move(options)) {
        std::error_code ec;
        if (!fs::is_directory(folder_, ec))
            throw DatabaseError("Cannot open " + folder_ + ": not a folder.");
        for (fs::directory_iterator it(folder_, ec), end; !ec && it != end; it.increment(ec)) {
            const std::string name = it->path().filename().string();
            if (lower(name) == "schema.ini") {
                schemaPath_ = it->path().string();
                continue;
            }
            std::error_code fe;
            if (it->is_regular_file(fe) && isTableExtension(it->path().extension().string()))
                files_.push_back(name);
        }
        if (ec) throw DatabaseError("Cannot read the folder " + folder_ + ": " + ec.message());
        std::sort(files_.begin(), files_.end());
        if (!schemaPath_.empty()) {
            MappedFile ini(schemaPath_);
            std::string_view bytes = ini.bytes();
            if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
            if (validUtf8(bytes))
                schema_ = text::SchemaIni(bytes);
            else
                schema_ = text::SchemaIni(CodePage::get(1252).toUtf8(bytes));
        }
    }

    std::string name() const override { return folder_; }

    std::vector<CatalogEntry> catalog() override {
        std::vector<CatalogEntry> out;
        for (const auto& f : files_) out.push_back({tableNameOf(f), 0});
        return out;
    }

    std::vector<Field> fields(const std::string& table) override {
        OpenedTable t;
        open(table, t);
        return t.fields;
    }

    void read(const std::string& table, RecordSink& sink) override {
        OpenedTable t;
        open(table, t);
        sink.begin(t.fields);
        ReadWarnings warn(sink, t.path);
        if (t.replacedBytes)
            warn.table("the file holds bytes that are not UTF-8 as it says; they read as U+FFFD");
        std::uint64_t record = 0;
        try {
            RecordScanner scanner(t.text, t.settings);
            std::vector<std::string_view> raw;
            if (t.settings.header) scanner.next(raw);
            const std::size_t ncols = t.fields.size();
            std::vector<std::string_view> cells(ncols);
            std::vector<std::string> converted(ncols);
            bool typed = false;
            for (int ty : t.types) typed = typed || (ty != kText && ty != kMemo);
            const bool mapped = t.decoded.empty();
            std::size_t nextRelease = kReleaseStep;
            while (scanner.next(raw)) {
                ++record;
                if (mapped && scanner.offset() >= nextRelease) {
                    t.file->release(t.text.data() + scanner.offset());
                    nextRelease = scanner.offset() + kReleaseStep;
                }
                const std::size_t have = std::min(raw.size(), ncols);
                if (!typed) {
                    if (have == ncols) {
                        sink.row(raw.data(), ncols);
                        continue;
                    }
                    for (std::size_t c = 0; c < ncols; ++c)
                        cells[c] = c < have ? raw[c] : std::string_view();
                } else {
                    for (std::size_t c = 0; c < ncols; ++c) {
                        std::string_view v = c < have ? raw[c] : std::string_view();
                        const int ty = t.types[c];
                        if (v.empty() || ty == kText || ty == kMemo)
                            cells[c] = v;
                        else if (text::convertTyped(v, ty, t.settings.dateTimeFormat, converted[c]))
                            cells[c] = converted[c];
                        else
                            badValue(warn, t, record, c, v, cells[c]);
                    }
                }
                sink.row(cells.data(), ncols);
            }
            if (scanner.unclosedQualifier())
                warn.table("a quoted value in record " + std::to_string(record) +
                           " is never closed: it takes the rest of the file");
        } catch (const std::length_error& e) {
            throw DatabaseError("Cannot read " + t.path + ": " + e.what() + ".");
        }
        warn.finish();
        sink.end();
    }

  private:
    // A value of a typed column that does not read as its type: an empty cell.
    static void badValue(ReadWarnings& warn, const OpenedTable& t, std::uint64_t record,
                         std::size_t col, std::string_view raw, std::string_view& cell) {
        cell = {};
        warn.value(record, t.fields[col].name, raw, std::string("is not ") + kindOf(t.types[col]));
    }

    std::string folder_;
    OpenOptions options_;
    std::vector<std::string> files_;
    std::string schemaPath_;
    text::SchemaIni schema_;

    std::string fileFor(const std::string& table) const {
        for (const auto& f : files_)
            if (lower(tableNameOf(f)) == lower(table) || lower(f) == lower(table)) return f;
        throw DatabaseError("The table '" + table + "' does not exist in " + folder_ + ".");
    }

    void open(const std::string& table, OpenedTable& t) const {
        const std::string file = fileFor(table);
        t.path = (fs::path(folder_) / file).string();
        t.settings = schema_.settingsFor(file);
        t.file.emplace(t.path);
        decode(t);
        try {
            shape(t);
        } catch (const std::length_error& e) {
            throw DatabaseError("Cannot read " + t.path + ": " + e.what() + ".");
        }
    }

    // The text as UTF-8: a byte-order mark decides first, then the schema's
    // CharacterSet, then the code page the caller chose; without any of them the
    // bytes are UTF-8 when they are valid UTF-8, else code page 1252.
    void decode(OpenedTable& t) const {
        std::string_view bytes = t.file->bytes();
        int charset = 0;
        if (bytes.substr(0, 3) == "\xEF\xBB\xBF") {
            bytes.remove_prefix(3);
            charset = 65001;
        } else if (bytes.substr(0, 2) == "\xFF\xFE") {
            bytes.remove_prefix(2);
            charset = 1200;
        } else if (bytes.substr(0, 2) == "\xFE\xFF") {
            bytes.remove_prefix(2);
            charset = 1201;
        }
        if (!charset) charset = t.settings.charset;
        if (!charset) charset = options_.codepage;
        const bool wide = charset == 1200 || charset == 1201;
        if (!wide && allAscii(bytes)) {
            t.text = bytes;
            return;
        }
        const bool valid = (!charset || charset == 65001) && validUtf8(bytes);
        if (!charset) charset = valid ? 65001 : 1252;
        if (charset == 65001 && valid) {
            t.text = bytes;
            return;
        }
        t.decoded = CodePage::get(charset).toUtf8(bytes);
        t.text = t.decoded;
        t.replacedBytes = charset == 65001;  // valid UTF-8 was taken as it stands
    }

    // The fields: the schema's columns when it describes the file, else the
    // header's names (an empty one becomes F and the column number), widened to
    // the most fields found in the first records.
    void shape(OpenedTable& t) const {
        TableSettings& s = t.settings;
        RecordScanner scanner(t.text, s);
        std::vector<std::string_view> raw;
        std::vector<std::string> header;
        bool haveHeader = false;
        if (s.header && scanner.next(raw)) {
            haveHeader = true;
            header.assign(raw.begin(), raw.end());
        }
        // A schema whose column count disagrees with the file's header describes
        // another file: its columns are not used.
        bool useSchemaColumns =
            !s.columns.empty() &&
            (s.format == Format::FixedLength || !haveHeader || s.columns.size() == header.size());
        if (useSchemaColumns) {
            for (const auto& c : s.columns) {
                t.fields.push_back({c.name, c.type});
                t.types.push_back(c.type);
            }
            return;
        }
        s.columns.clear();
        std::size_t count = header.size();
        for (int i = 0; i < kScanRows && scanner.next(raw); ++i)
            count = std::max(count, raw.size());
        for (std::size_t c = 0; c < count; ++c) {
            std::string name = c < header.size() ? header[c] : std::string();
            if (name.empty()) name = "F" + std::to_string(c + 1);
            t.fields.push_back({std::move(name), kText});
            t.types.push_back(kText);
        }
    }
};

std::unique_ptr<Database> openTextFolder(const std::string& folder, const OpenOptions& options) {
    return std::make_unique<TextDatabase>(folder, options);
}

}  // namespace rq
