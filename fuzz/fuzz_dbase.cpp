// Fuzzes the .dbf reader with an in-memory table and memo file: the input is
// the table, optionally followed by "MEMO" and the memo file's bytes.
#include <cstdint>
#include <string>
#include <string_view>

#include "datasource/database.h"
#include "datasource/dbase/dbftable.h"
#include "fuzzsink.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view all(reinterpret_cast<const char*>(data), size);
    std::string_view table = all, memoBytes;
    if (std::size_t cut = all.find("MEMO"); cut != std::string_view::npos) {
        table = all.substr(0, cut);
        memoBytes = all.substr(cut + 4);
    }
    try {
        rq::dbase::DbfTable t = rq::dbase::parseDbf(table, "fuzz.dbf");
        rq::dbase::MemoFile memo;
        if (t.memoKind != rq::dbase::MemoKind::None && !memoBytes.empty())
            memo = rq::dbase::MemoFile(std::string(memoBytes), t.memoKind, "fuzz.dbt");
        rq::fuzz::NullSink sink;
        rq::dbase::readDbf(t, table, memo, sink);
    } catch (const rq::DatabaseError&) {
    }
    return 0;
}
