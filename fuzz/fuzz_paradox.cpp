// Fuzzes the Paradox reader with an in-memory table and blob file: the input is
// the table, optionally followed by "BLOB" and the .mb file's bytes.
#include <cstdint>
#include <string>
#include <string_view>

#include "datasource/database.h"
#include "datasource/paradox/pxtable.h"

namespace {

struct NullSink : rq::RecordSink {
    void begin(const std::vector<rq::Field>&) override {}
    void row(const std::string_view* cells, std::size_t count) override {
        for (std::size_t i = 0; i < count; ++i) total += cells[i].size();
    }
    std::size_t total = 0;
};

}  // namespace

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
        NullSink sink;
        rq::paradox::readParadox(t, table, blobs, "fuzz.mb", sink);
    } catch (const rq::DatabaseError&) {
    }
    return 0;
}
