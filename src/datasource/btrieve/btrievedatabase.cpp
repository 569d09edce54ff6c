// A Btrieve dictionary as a database: the tables of FILE.DDF, the fields of
// FIELD.DDF, the records of each table's data file.
#include <algorithm>
#include <cctype>
#include <filesystem>

#include "datasource/btrieve/btrievedictionary.h"
#include "datasource/btrieve/btrievefile.h"
#include "datasource/codepage.h"
#include "datasource/readers.h"
#include "datasource/readwarnings.h"

namespace rq {

namespace fs = std::filesystem;

namespace {

constexpr int kDefaultCodePage = 437;

bool sameIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

// The entry of folder named name, whatever its letter case; empty when none.
fs::path findIgnoringCase(const fs::path& folder, const std::string& name) {
    std::error_code ec;
    fs::path exact = folder / name;
    if (fs::exists(exact, ec)) return exact;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
        if (sameIgnoringCase(it->path().filename().string(), name)) return it->path();
    return {};
}

// Where a table's data file is: its stored location taken relative to the
// dictionary's folder (backslashes as separators, a drive letter dropped),
// each part matched ignoring letter case.
fs::path resolveLocation(const fs::path& folder, std::string location) {
    std::replace(location.begin(), location.end(), '\\', '/');
    if (location.size() >= 2 && location[1] == ':') location.erase(0, 2);
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= location.size()) {
        std::size_t slash = location.find('/', start);
        if (slash == std::string::npos) slash = location.size();
        std::string part = location.substr(start, slash - start);
        if (!part.empty() && part != ".") parts.push_back(part);
        start = slash + 1;
    }
    // The stored path may be absolute on the machine that made it: try it, then
    // ever shorter tails of it, relative to the dictionary's folder.
    for (std::size_t first = 0; first < parts.size(); ++first) {
        fs::path here = folder;
        bool found = true;
        for (std::size_t i = first; i < parts.size() && found; ++i) {
            if (parts[i] == "..") {
                here = here.parent_path();
                continue;
            }
            fs::path next = findIgnoringCase(here, parts[i]);
            found = !next.empty();
            if (found) here = next;
        }
        std::error_code ec;
        if (found && fs::is_regular_file(here, ec)) return here;
    }
    return {};
}

class BtrieveDatabase : public Database {
  public:
    BtrieveDatabase(const std::string& file, const OpenOptions& options)
        : file_(file),
          codePage_(CodePage::get(options.codepage == 0 ? kDefaultCodePage : options.codepage)) {
        folder_ = fs::path(file).parent_path();
        if (folder_.empty()) folder_ = ".";
        btrieve::DataFile tables = btrieve::DataFile::open(file);
        tables_ = btrieve::readFileDictionary(tables, codePage_);
        fs::path fieldFile = findIgnoringCase(folder_, "FIELD.DDF");
        if (fieldFile.empty())
            throw DatabaseError("The field dictionary FIELD.DDF was not found beside '" + file +
                                "'.");
        fields_ =
            btrieve::readFieldDictionary(btrieve::DataFile::open(fieldFile.string()), codePage_);
    }

    std::string name() const override { return file_; }

    std::vector<CatalogEntry> catalog() override {
        std::vector<CatalogEntry> out;
        for (const auto& t : tables_) out.push_back({t.name, 0});
        return out;
    }

    std::vector<Field> fields(const std::string& table) override {
        std::vector<Field> out;
        for (const auto& f : definitions(find(table)))
            out.push_back({f.name, btrieve::engineType(f)});
        return out;
    }

    void read(const std::string& table, RecordSink& sink) override {
        const btrieve::TableEntry& t = find(table);
        const std::vector<btrieve::FieldDef>& defs = definitions(t);
        fs::path path = resolveLocation(folder_, t.location);
        if (path.empty())
            throw DatabaseError("The data file '" + t.location + "' of the table '" + t.name +
                                "' was not found beside '" + file_ + "'.");
        btrieve::DataFile data = btrieve::DataFile::open(path.string());
        std::vector<Field> fields;
        for (const auto& f : defs) fields.push_back({f.name, btrieve::engineType(f)});
        sink.begin(fields);
        ReadWarnings warn(sink, path.string());
        std::vector<std::string> cells(defs.size());
        std::vector<std::string_view> views(defs.size());
        std::uint64_t count = 0;
        data.forEachRecord(
            [&](std::string_view record) {
                ++count;
                for (std::size_t i = 0; i < defs.size(); ++i) {
                    cells[i].clear();
                    if (!btrieve::appendFieldText(defs[i], record, codePage_, cells[i]))
                        warn.value(count, defs[i].name, {},
                                   "holds no value of its type that can be read");
                    views[i] = cells[i];
                }
                sink.row(views.data(), views.size());
            },
            [&](std::uint64_t record, const std::string& why) {
                warn.limited("record " + std::to_string(record) + ": " + why +
                             "; the record's variable part is cut there");
            });
        // Pages missing from the end of a cut file take their records with them.
        warn.recordsShort(count, data.info().recordCount);
        warn.finish();
        sink.end();
    }

  private:
    const btrieve::TableEntry& find(const std::string& table) const {
        for (const auto& t : tables_)
            if (t.name == table) return t;
        for (const auto& t : tables_)
            if (sameIgnoringCase(t.name, table)) return t;
        throw DatabaseError("The table '" + table + "' is not in the dictionary '" + file_ + "'.");
    }

    const std::vector<btrieve::FieldDef>& definitions(const btrieve::TableEntry& t) const {
        static const std::vector<btrieve::FieldDef> none;
        auto it = fields_.find(t.id);
        return it == fields_.end() ? none : it->second;
    }

    std::string file_;
    fs::path folder_;
    const CodePage& codePage_;
    std::vector<btrieve::TableEntry> tables_;
    std::map<std::uint16_t, std::vector<btrieve::FieldDef>> fields_;
};

}  // namespace

std::unique_ptr<Database> openBtrieveDictionary(const std::string& file,
                                                const OpenOptions& options) {
    return std::make_unique<BtrieveDatabase>(file, options);
}

}  // namespace rq
