// Workbook bytes straight into the workbook reader; every table is read.
#include <cstddef>
#include <cstdint>
#include <string>

#include "datasource/excel/exceldatabase.h"

namespace {

struct NullSink : rq::RecordSink {
    void begin(const std::vector<rq::Field>&) override {}
    void row(const std::string_view*, std::size_t) override {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        auto db = rq::openExcelWorkbookBytes(
            "fuzz.xls", std::string(reinterpret_cast<const char*>(data), size));
        for (const auto& e : db->catalog()) {
            try {
                NullSink sink;
                db->read(e.name, sink);
            } catch (const rq::DatabaseError&) {
            }
        }
    } catch (const rq::DatabaseError&) {
    }
    return 0;
}
