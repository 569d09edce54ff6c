// The Btrieve data dictionary: FILE.DDF lists the tables, FIELD.DDF their
// fields. Both are themselves Btrieve data files; their records are
//
//   FILE.DDF (87 bytes; some versions add 10 reserved bytes)
//     0  Xf$Id     u16       table number
//     2  Xf$Name   char[20]  table name, blank padded
//    22  Xf$Loc    char[64]  data file location, blank padded (often a bare
//                            file name relative to the dictionary's folder)
//    86  Xf$Flags  u8        bit 4 set: the dictionary's own files
//
//   FIELD.DDF (32 bytes)
//     0  Xe$Id       u16       field number
//     2  Xe$File     u16       Xf$Id of the table
//     4  Xe$Name     char[20]  field name, blank padded
//    24  Xe$DataType u8        type (see btrievefields.h); 128 and above are
//                              index and constraint entries, not columns
//    25  Xe$Offset   u16       offset in the record
//    27  Xe$Size     u16       size in bytes
//    29  Xe$Dec      u8        decimal places (bit number for bit fields)
//    30  Xe$Flags    u16
//
//   INDEX.DDF (10 bytes: Xi$File, Xi$Field, Xi$Number, Xi$Part, Xi$Flags) is
//   not needed to read records.
//
// Names are in the dictionary's code page (the caller's choice; there is no
// code page stored in the files).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "datasource/btrieve/btrievefields.h"

namespace rq {
class CodePage;
}

namespace rq::btrieve {

class DataFile;

struct TableEntry {
    std::uint16_t id = 0;
    std::string name;      // UTF-8
    std::string location;  // UTF-8, as stored (trailing blanks removed)
    int flags = 0;
};

std::vector<TableEntry> readFileDictionary(const DataFile& file, const CodePage& codePage);

// Fields of every table by Xf$Id, each list ordered by Xe$Id; index and
// constraint entries are left out.
std::map<std::uint16_t, std::vector<FieldDef>> readFieldDictionary(const DataFile& file,
                                                                   const CodePage& codePage);

// Dictionary records, for building dictionaries (names are taken as bytes of
// the dictionary's code page).
std::string fileDictionaryRecord(std::uint16_t id, std::string_view name, std::string_view location,
                                 int flags = 0);
std::string fieldDictionaryRecord(std::uint16_t id, std::uint16_t file, std::string_view name,
                                  int dataType, std::uint16_t offset, std::uint16_t size,
                                  int decimals = 0, std::uint16_t flags = 0);

// Writes a data file in the 5.x layout (no indexes) holding the records given.
// Fixed-length files take records of exactly recordLength bytes; variable-length
// files take records of at least recordLength bytes, whose rest becomes the
// variable part (it must fit in one page). Used to make dictionaries and test
// files.
std::string writeDataFile5(std::uint32_t pageSize, std::uint32_t recordLength, bool variable,
                           const std::vector<std::string>& records);

}  // namespace rq::btrieve
