// Paradox: a folder of .db tables, each with an optional .mb blob file of the
// same base name (in any letter case).
#include "datasource/bytes.h"
#include "datasource/paradox/pxtable.h"
#include "datasource/readers.h"

namespace rq {

namespace {

class ParadoxDatabase : public FolderDatabase {
  public:
    ParadoxDatabase(std::string folder, const OpenOptions& options)
        : FolderDatabase(std::move(folder), ".db", options) {}

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
};

}  // namespace

std::unique_ptr<Database> openParadoxFolder(const std::string& folder, const OpenOptions& options) {
    return std::make_unique<ParadoxDatabase>(folder, options);
}

}  // namespace rq
