// Paradox: a folder of .db tables, each with an optional .mb blob file of the
// same base name (in any letter case).
#include <algorithm>
#include <filesystem>

#include "datasource/dbase/bytefile.h"
#include "datasource/paradox/pxtable.h"
#include "datasource/readers.h"

namespace rq {

namespace fs = std::filesystem;

namespace {

class ParadoxDatabase : public Database {
  public:
    ParadoxDatabase(std::string folder, const OpenOptions& options)
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
            std::error_code fec;
            if (it->is_regular_file(fec)) files_.push_back(it->path().filename().string());
        }
        std::sort(files_.begin(), files_.end());
        for (const auto& f : files_) {
            fs::path p(f);
            if (bytes::equalsIgnoreCase(p.extension().string(), ".db"))
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
        return paradox::fieldsOf(paradox::parseParadox(data, path, codepage_));
    }

    void read(const std::string& table, RecordSink& sink) override {
        std::string path = tablePath(table);
        std::string data = bytes::readWholeFile(path);
        paradox::PxTable t = paradox::parseParadox(data, path, codepage_);
        std::string blobs;
        std::string blobPath;
        if (t.hasBlobs) {
            // A missing blob file leaves the values kept there empty.
            blobPath = companion(table, ".mb");
            if (!blobPath.empty()) blobs = bytes::readWholeFile(blobPath);
        }
        paradox::readParadox(t, data, blobs, blobPath, sink);
    }

  private:
    std::string tablePath(const std::string& table) const {
        std::string p = companion(table, ".db");
        if (p.empty())
            throw DatabaseError("The table '" + table + "' does not exist in the folder '" +
                                folder_ + "'.");
        return p;
    }

    std::string companion(const std::string& table, const std::string& extension) const {
        for (int pass = 0; pass < 2; ++pass) {
            for (const auto& f : files_) {
                fs::path p(f);
                bool sameStem = pass == 0 ? p.stem().string() == table
                                          : bytes::equalsIgnoreCase(p.stem().string(), table);
                if (sameStem && bytes::equalsIgnoreCase(p.extension().string(), extension))
                    return (fs::path(folder_) / f).string();
            }
        }
        return {};
    }

    std::string folder_;
    int codepage_ = 0;
    std::vector<std::string> files_;
    std::vector<std::string> tables_;
};

}  // namespace

std::unique_ptr<Database> openParadoxFolder(const std::string& folder, const OpenOptions& options) {
    return std::make_unique<ParadoxDatabase>(folder, options);
}

}  // namespace rq
