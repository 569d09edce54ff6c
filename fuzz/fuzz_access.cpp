// Access reader over arbitrary bytes: the input is written to a temporary file,
// opened, and every table and stored query of it read.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "datasource/database.h"
#include "datasource/readers.h"
#include "fuzzsink.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = "/tmp/rq_fuzz_access_" + std::to_string(getpid()) + ".mdb";
    if (std::FILE* f = std::fopen(path.c_str(), "wb")) {
        std::fwrite(data, 1, size, f);
        std::fclose(f);
    } else {
        return 0;
    }
    try {
        rq::OpenOptions o;
        o.password = "abcd1234";
        auto db = rq::openAccessDatabase(path, o);
        for (auto& e : db->catalog()) {
            try {
                rq::fuzz::NullSink sink;
                db->read(e.name, sink);
            } catch (const rq::DatabaseError&) {
            }
        }
    } catch (const rq::DatabaseError&) {
    }
    return 0;
}
