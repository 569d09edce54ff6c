// dBase and FoxPro: a folder of .dbf tables, each with an optional memo file of
// the same base name (.dbt for dBase, .fpt for FoxPro, in any letter case).
#include "datasource/bytes.h"
#include "datasource/dbase/dbftable.h"
#include "datasource/readers.h"

namespace rq {

namespace {

// The path of a table's companion file that is not there: the table's path with
// the extension replaced, in the letter case of the table's own extension.
std::string expectedCompanion(const std::string& tablePath, std::string extension) {
    const std::size_t dot = tablePath.rfind('.');
    const bool upper = dot != std::string::npos && dot + 1 < tablePath.size() &&
                       tablePath[dot + 1] >= 'A' && tablePath[dot + 1] <= 'Z';
    if (upper)
        for (char& c : extension) c = static_cast<char>(c - 'a' + 'A');
    return tablePath.substr(0, dot) + "." + extension;
}

class DbaseDatabase : public FolderDatabase {
  public:
    DbaseDatabase(std::string folder, const OpenOptions& options)
        : FolderDatabase(std::move(folder), ".dbf", options) {}

    std::vector<Field> fields(const std::string& table) override {
        std::string path = folder_.tablePath(table);
        std::string data = bytes::readWholeFile(path);
        return dbase::fieldsOf(dbase::parseDbf(data, path, codepage_));
    }

    void read(const std::string& table, RecordSink& sink) override {
        std::string path = folder_.tablePath(table);
        std::string data = bytes::readWholeFile(path);
        dbase::DbfTable t = dbase::parseDbf(data, path, codepage_);
        dbase::MemoFile memo;
        if (t.memoKind != dbase::MemoKind::None) {
            // A missing memo file leaves the memo cells empty; the rest of the
            // table still loads, and the reader names the file it looked for.
            const bool fpt = t.memoKind == dbase::MemoKind::Fpt;
            std::string memoPath = folder_.companion(table, fpt ? ".fpt" : ".dbt");
            if (!memoPath.empty())
                memo = dbase::MemoFile(bytes::readWholeFile(memoPath), t.memoKind, memoPath);
            else
                memo = dbase::MemoFile::absent(expectedCompanion(path, fpt ? "fpt" : "dbt"));
        }
        dbase::readDbf(t, data, memo, sink);
    }
};

}  // namespace

std::unique_ptr<Database> openDbaseFolder(const std::string& folder, const OpenOptions& options) {
    return std::make_unique<DbaseDatabase>(folder, options);
}

}  // namespace rq
