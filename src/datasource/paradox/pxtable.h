// The Paradox table file (.db, versions 3.0 to 7) and its blob file (.mb).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "datasource/database.h"

namespace rq::paradox {

struct PxColumn {
    std::string name;          // UTF-8
    unsigned type = 1;         // the table's own field type code
    std::uint32_t size = 0;    // bytes in the record (BCD: its decimal places)
    std::uint32_t offset = 0;  // within the record
    int engineType = kText;
};

struct PxTable {
    std::string path;
    std::uint32_t recordSize = 0;
    std::uint32_t headerSize = 0;
    std::uint32_t blockSize = 0;
    std::uint64_t declaredRecords = 0;
    std::uint32_t fileBlocks = 0;
    std::uint32_t firstBlock = 0;
    int version = 0;  // the file-version byte: 3 = 3.0, 4 = 3.5, 5..9 = 4.x, 10..11 = 5.x, 12 = 7
    int codepage = 437;
    std::uint32_t encryption = 0;  // 0: not scrambled
    bool hasBlobs = false;
    std::vector<PxColumn> columns;
};

// Parses the header. codepage: 0 to take the table's own. Throws DatabaseError
// naming path when the file is not a Paradox table this reader understands.
PxTable parseParadox(std::string_view data, const std::string& path, int codepage = 0);

std::vector<Field> fieldsOf(const PxTable& table);

// Decodes every record and hands it to sink (fields first). blobs: the bytes of
// the .mb file, empty when the table has none or it is missing (blob values
// that live there are then empty). blobPath names it in messages.
void readParadox(const PxTable& table, std::string_view data, std::string_view blobs,
                 const std::string& blobPath, RecordSink& sink);

}  // namespace rq::paradox
