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
    // A protected table's password checksum, whose low 16 bits are also the key
    // of its scrambling; 0 when the table is not protected.
    std::uint32_t encryption = 0;
    bool scrambled = false;  // blocks still to be unscrambled (see unlockParadox)
    bool hasBlobs = false;
    std::vector<PxColumn> columns;
};

// Parses the header. codepage: 0 to take the table's own. Throws DatabaseError
// naming path when the file is not a Paradox table this reader understands.
PxTable parseParadox(std::string_view data, const std::string& path, int codepage = 0);

std::vector<Field> fieldsOf(const PxTable& table);

// The blob file (.mb) of a table. path names it in messages (the name it
// should have when it is missing); missing: values kept there are then empty,
// with a warning.
struct PxBlobs {
    std::string_view bytes;
    std::string path;
    bool missing = false;
};

// Decodes every record and hands it to sink (fields first). Problems that do
// not stop the read (fewer records than the header declares, a missing blob
// file) go to sink.warning(). Throws DatabaseError for a table still scrambled.
void readParadox(const PxTable& table, std::string_view data, const PxBlobs& blobs,
                 RecordSink& sink);

// Opens a protected table for reading: checks password against the checksum
// its header records (DatabaseError kErrPasswordRequired naming the table when
// it does not match), then unscrambles data and blobs in place. Does nothing
// for a table that is not protected.
void unlockParadox(PxTable& table, std::string& data, std::string& blobs,
                   const std::string& password);

// Unscrambles a protected table's blocks and blob file in place without
// checking a password. A block cut short keeps only its whole 256-byte runs.
void unscrambleParadox(PxTable& table, std::string& data, std::string& blobs);

}  // namespace rq::paradox
