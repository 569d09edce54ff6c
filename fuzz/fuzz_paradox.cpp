// Fuzzes the Paradox reader with an in-memory table and blob file: the input is
// the table, optionally followed by "BLOB" and the .mb file's bytes.
#include <cstdint>
#include <string>
#include <string_view>

#include "datasource/database.h"
#include "datasource/paradox/pxtable.h"
#include "fuzzsink.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view all(reinterpret_cast<const char*>(data), size);
    std::string_view tablePart = all, blobPart;
    if (std::size_t cut = all.find("BLOB"); cut != std::string_view::npos) {
        tablePart = all.substr(0, cut);
        blobPart = all.substr(cut + 4);
    }
    try {
        std::string table(tablePart), blobs(blobPart);
        rq::paradox::PxTable t = rq::paradox::parseParadox(table, "fuzz.db");
        // Scrambled tables are unscrambled without a password to reach their records.
        rq::paradox::unscrambleParadox(t, table, blobs);
        rq::paradox::PxBlobs blobFile{blobs, "fuzz.mb", blobs.empty()};
        rq::fuzz::NullSink sink;
        rq::paradox::readParadox(t, table, blobFile, sink);
    } catch (const rq::DatabaseError&) {
    }
    return 0;
}
