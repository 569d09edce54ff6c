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
    std::string_view table = all, blobs;
    if (std::size_t cut = all.find("BLOB"); cut != std::string_view::npos) {
        table = all.substr(0, cut);
        blobs = all.substr(cut + 4);
    }
    try {
        rq::paradox::PxTable t = rq::paradox::parseParadox(table, "fuzz.db");
        t.encryption = 0;  // reach the record decoding of scrambled tables too
        rq::fuzz::NullSink sink;
        rq::paradox::readParadox(t, table, blobs, "fuzz.mb", sink);
    } catch (const rq::DatabaseError&) {
    }
    return 0;
}
