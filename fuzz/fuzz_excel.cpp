// Workbook bytes straight into the workbook reader; every table is read.
#include <cstddef>
#include <cstdint>
#include <string>

#include "datasource/excel/exceldatabase.h"
#include "fuzzsink.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        auto db = rq::openExcelWorkbookBytes(
            "fuzz.xls", std::string(reinterpret_cast<const char*>(data), size));
        for (const auto& e : db->catalog()) {
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
