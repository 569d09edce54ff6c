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
        : FolderDatabase(std::move(folder), ".db", options), password_(options.password) {}

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
        paradox::PxBlobs blobFile;
        if (t.hasBlobs) {
            blobFile.path = folder_.companion(table, ".mb");
            if (blobFile.path.empty()) {
                blobFile.missing = true;
                blobFile.path = missingBlobName(path);
            } else {
                blobs = bytes::readWholeFile(blobFile.path);
            }
        }
        paradox::unlockParadox(t, data, blobs, password_);
        blobFile.bytes = blobs;
        paradox::readParadox(t, data, blobFile, sink);
    }

  private:
    // The blob file a table would have: its own name with the extension in the
    // same letter case.
    static std::string missingBlobName(const std::string& tablePath) {
        const std::size_t dot = tablePath.rfind('.');
        const bool upper = dot != std::string::npos && tablePath.compare(dot, 3, ".DB") == 0;
        return tablePath.substr(0, dot) + (upper ? ".MB" : ".mb");
    }

    std::string password_;
};

}  // namespace

std::unique_ptr<Database> openParadoxFolder(const std::string& folder, const OpenOptions& options) {
    return std::make_unique<ParadoxDatabase>(folder, options);
}

}  // namespace rq
