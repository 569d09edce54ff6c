// Fuzzes the Btrieve data-file reader and the decoding of every field type
// over the records it finds.
#include <cstddef>
#include <cstdint>
#include <string>

#include "datasource/btrieve/btrievefields.h"
#include "datasource/btrieve/btrievefile.h"
#include "datasource/codepage.h"
#include "datasource/database.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rq::btrieve;
    static const int types[] = {kString,    kInteger, kFloat,      kDate,      kTime,
                                kDecimal,   kMoney,   kLogical,    kNumeric,   kBfloat,
                                kLstring,   kZstring, kNote,       kLvar,      kUnsigned,
                                kAutoinc,   kBit,     kNumericSts, kNumericSa, kCurrency,
                                kTimestamp, kBlob,    kWstring,    kWzstring,  kGuid};
    const rq::CodePage& cp = rq::CodePage::get(437);
    try {
        DataFile f =
            DataFile::fromBytes(std::string(reinterpret_cast<const char*>(data), size), "fuzz");
        std::string out;
        f.forEachRecord([&](std::string_view record) {
            std::uint32_t offset = 0;
            for (int t : types) {
                for (std::uint32_t s : {1u, 2u, 4u, 8u, 16u}) {
                    FieldDef def;
                    def.dataType = t;
                    def.offset = offset % (static_cast<std::uint32_t>(record.size()) + 2);
                    def.size = s;
                    def.decimals = static_cast<int>(offset % 9);
                    out.clear();
                    appendFieldText(def, record, cp, out);
                    offset += 3;
                }
            }
        });
    } catch (const rq::DatabaseError&) {
    }
    return 0;
}
