// Paradox: a folder of .db tables, each with an optional .mb blob file of the
// same base name (in any letter case).
#include "datasource/bytes.h"
#include "datasource/paradox/pxtable.h"
#include "datasource/readers.h"

namespace rq {

namespace {

class ParadoxDatabase : public Database {
  public:
    ParadoxDatabase(std::string folder, const OpenOptions& options)
        : folder_(std::move(folder), ".db"), codepage_(options.codepage) {}

    std::string name() const override { return folder_.path(); }

    std::vector<CatalogEntry> catalog() override {
        std::vector<CatalogEntry> out;
        for (const auto& t : folder_.tables()) out.push_back({t, 0});
        return out;
    }

    std::vector<Field> fields(const std::string& table) override {
        std::string path = folder_.tablePath(table);
        std::string data = bytes::readWholeFile(path);
        return paradox::fieldsOf(paradox::parseParadox(data, path, codepage_));
    }

    void read(const std::string& table, RecordSink& sink) override {
        std::string path = folder_.tablePath(table);
        std::string data = bytes::readWholeFile(path);
        paradox::PxTable t = paradox::parseParadox(data, path, codepage_);
        std::string blobs;
        std::string blobPath;
        if (t.hasBlobs) {
            // A missing blob file leaves the values kept there empty.
            blobPath = folder_.companion(table, ".mb");
            if (!blobPath.empty()) blobs = bytes::readWholeFile(blobPath);
        }
        paradox::readParadox(t, data, blobs, blobPath, sink);
    }

  private:
    bytes::TableFolder folder_;
    int codepage_ = 0;
};

}  // namespace

std::unique_ptr<Database> openParadoxFolder(const std::string& folder, const OpenOptions& options) {
    return std::make_unique<ParadoxDatabase>(folder, options);
}

}  // namespace rq
