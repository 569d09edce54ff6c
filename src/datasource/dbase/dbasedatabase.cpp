// dBase and FoxPro: a folder of .dbf tables, each with an optional memo file of
// the same base name (.dbt for dBase, .fpt for FoxPro, in any letter case).
#include <algorithm>
#include <filesystem>

#include "datasource/dbase/bytefile.h"
#include "datasource/dbase/dbftable.h"
#include "datasource/readers.h"

namespace rq {

namespace fs = std::filesystem;

namespace {

class DbaseDatabase : public Database {
  public:
    DbaseDatabase(std::string folder, const OpenOptions& options)
        : folder_(std::move(folder)), codepage_(options.codepage) {
        std::error_code ec;
        if (!fs::is_directory(folder_, ec))
            throw DatabaseError("Could not find the folder '" + folder_ + "'.");
        fs::directory_iterator it(folder_, ec);
        if (ec)
            throw DatabaseError("Could not read the folder '" + folder_ + "': " + ec.message() +
                                ".");
        for (; it != fs::directory_iterator(); it.increment(ec)) {
            if (ec) break;
            const fs::path& p = it->path();
            std::error_code fec;
            if (!it->is_regular_file(fec)) continue;
            files_.push_back(p.filename().string());
        }
        std::sort(files_.begin(), files_.end());
        for (const auto& f : files_) {
            fs::path p(f);
            if (bytes::equalsIgnoreCase(p.extension().string(), ".dbf"))
                tables_.push_back(p.stem().string());
        }
        std::sort(tables_.begin(), tables_.end(), [](const std::string& a, const std::string& b) {
            return bytes::lessIgnoreCase(a, b);
        });
    }

    std::string name() const override { return folder_; }

    std::vector<CatalogEntry> catalog() override {
        std::vector<CatalogEntry> out;
        for (const auto& t : tables_) out.push_back({t, 0});
        return out;
    }

    std::vector<Field> fields(const std::string& table) override {
        std::string path = tablePath(table);
        std::string data = bytes::readWholeFile(path);
        return dbase::fieldsOf(dbase::parseDbf(data, path, codepage_));
    }

    void read(const std::string& table, RecordSink& sink) override {
        std::string path = tablePath(table);
        std::string data = bytes::readWholeFile(path);
        dbase::DbfTable t = dbase::parseDbf(data, path, codepage_);
        dbase::MemoFile memo;
        if (t.memoKind != dbase::MemoKind::None) {
            // A missing memo file leaves the memo cells empty; the rest of the
            // table still loads.
            std::string memoPath =
                companion(table, t.memoKind == dbase::MemoKind::Fpt ? ".fpt" : ".dbt");
            if (!memoPath.empty())
                memo = dbase::MemoFile(bytes::readWholeFile(memoPath), t.memoKind, memoPath);
        }
        dbase::readDbf(t, data, memo, sink);
    }

  private:
    // The file of a table: base name + .dbf in any case.
    std::string tablePath(const std::string& table) const {
        std::string p = companion(table, ".dbf");
        if (p.empty())
            throw DatabaseError("The table '" + table + "' does not exist in the folder '" +
                                folder_ + "'.");
        return p;
    }

    std::string companion(const std::string& table, const std::string& extension) const {
        for (const auto& f : files_) {
            fs::path p(f);
            if (p.stem().string() == table &&
                bytes::equalsIgnoreCase(p.extension().string(), extension))
                return (fs::path(folder_) / f).string();
        }
        for (const auto& f : files_) {
            fs::path p(f);
            if (bytes::equalsIgnoreCase(p.stem().string(), table) &&
                bytes::equalsIgnoreCase(p.extension().string(), extension))
                return (fs::path(folder_) / f).string();
        }
        return {};
    }

    std::string folder_;
    int codepage_ = 0;
    std::vector<std::string> files_;
    std::vector<std::string> tables_;
};

}  // namespace

std::unique_ptr<Database> openDbaseFolder(const std::string& folder, const OpenOptions& options) {
    return std::make_unique<DbaseDatabase>(folder, options);
}

}  // namespace rq
