// The delimited-text reader over arbitrary bytes: the input up to the first
// "\n====\n" is the folder's schema.ini, the rest the table file t.csv.
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "datasource/database.h"
#include "datasource/sheetloader.h"

namespace fs = std::filesystem;

namespace {

const fs::path& folder() {
    static const fs::path dir = [] {
        std::string templ = (fs::temp_directory_path() / "rqfuzztextXXXXXX").string();
        return fs::path(::mkdtemp(templ.data()));
    }();
    return dir;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string input(reinterpret_cast<const char*>(data), size);
    std::string schema, table = input;
    if (std::size_t cut = input.find("\n====\n"); cut != std::string::npos) {
        schema = input.substr(0, cut);
        table = input.substr(cut + 6);
    }
    std::ofstream(folder() / "schema.ini", std::ios::binary | std::ios::trunc) << schema;
    std::ofstream(folder() / "t.csv", std::ios::binary | std::ios::trunc) << table;
    try {
        auto db = rq::openFileDatabase("Text;", (folder() / "t.csv").string());
        rq::DataSheet sheet;
        rq::loadTable(*db, "t#csv", sheet);
    } catch (const rq::DatabaseError&) {
    }
    return 0;
}
