// Access reader over arbitrary bytes: the input is written to a temporary file,
// opened, and every table and stored query of it read. libmdb runs in this
// process, so that the sanitizers see into it.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "datasource/database.h"
#include "datasource/isolatedread.h"
#include "datasource/readers.h"
#include "fuzzsink.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    rq::setIsolatedReads(false);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = (std::filesystem::temp_directory_path() /
                              ("rq_fuzz_access_" + std::to_string(getpid()) + ".mdb"))
                                 .string();
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
    std::remove(path.c_str());
    return 0;
}
