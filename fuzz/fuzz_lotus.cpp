// Lotus reader over arbitrary bytes: the input is written into a private
// folder as a worksheet of each kind in turn, and every table of it read.
// libwps runs in this process, so that the sanitizers see into it.
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "datasource/database.h"
#include "datasource/isolatedread.h"
#include "datasource/readers.h"
#include "fuzzsink.h"

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    rq::setIsolatedReads(false);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fs::path dir = fs::temp_directory_path() / ("rq_fuzz_lotus_" + std::to_string(getpid()));
    fs::create_directories(dir);
    for (const char* ext : {"wk1", "wk3", "wk4"}) {
        const fs::path file = dir / (std::string("t.") + ext);
        std::ofstream(file, std::ios::binary | std::ios::trunc)
            .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
        try {
            auto db = rq::openLotusFolder(dir.string(), ext, {});
            for (auto& e : db->catalog()) {
                try {
                    rq::fuzz::NullSink sink;
                    db->read(e.name, sink);
                } catch (const rq::DatabaseError&) {
                }
            }
        } catch (const rq::DatabaseError&) {
        }
        fs::remove(file);
    }
    fs::remove(dir);
    return 0;
}
