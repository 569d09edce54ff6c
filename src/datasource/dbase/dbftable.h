// The .dbf table file of dBase II to 7, FoxPro and Visual FoxPro: header,
// field descriptors and the decoding of records into text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "datasource/database.h"

namespace rq::dbase {

enum class MemoKind { None, Dbt, Fpt };

struct DbfColumn {
    std::string name;  // UTF-8
    char type = 'C';
    std::uint32_t offset = 0;  // within the record (byte 0 is the deletion flag)
    std::uint32_t length = 0;
    int decimals = 0;
    int nullBit = -1;  // bit in _NullFlags telling the value is null
    int varBit = -1;   // bit in _NullFlags telling a V/Q value is shorter than the field
    int engineType = kText;
};

struct DbfTable {
    std::string path;
    unsigned version = 0;
    std::uint32_t headerLength = 0;
    std::uint32_t recordLength = 0;
    std::uint64_t recordCount = 0;    // records present in the file (never more than fit)
    std::uint64_t declaredCount = 0;  // records the header says the file holds
    int languageDriver = 0;
    int codepage = 1252;
    bool visualFoxPro = false;
    bool dbase7 = false;
    std::vector<DbfColumn> columns;  // visible columns, in field order
    std::uint32_t nullFlagsOffset = 0;
    std::uint32_t nullFlagsLength = 0;
    MemoKind memoKind = MemoKind::None;
};

// Parses the header of a .dbf held in data. codepage: 0 to take the one the file
// names (or a guess from its bytes), else the code page to use. Throws
// DatabaseError naming path when the file is not a table this reader understands.
DbfTable parseDbf(std::string_view data, const std::string& path, int codepage = 0);

// The code page of a language-driver byte, 0 when the byte names none.
int codepageOfLanguageDriver(int ldid);

// A memo file (.dbt or .fpt) held in memory. An empty memo gives empty values.
class MemoFile {
  public:
    MemoFile() = default;
    MemoFile(std::string bytes, MemoKind kind, std::string path);
    // The memo file a table needs but that is not there, by the name it would have.
    static MemoFile absent(std::string expectedPath);
    bool present() const { return kind_ != MemoKind::None; }
    const std::string& path() const { return path_; }
    std::string fileName() const;  // the path's last part
    // The data of the memo starting at block number: empty when the block lies
    // outside the file, what there is when the file ends inside it. In both cases
    // problem says so, naming the memo file.
    std::string_view block(std::uint64_t number, std::string& problem) const;

  private:
    std::string bytes_;
    MemoKind kind_ = MemoKind::None;
    std::string path_;
    std::uint32_t blockSize_ = 512;
};

// Decodes every record that is not deleted and hands it to sink (fields first).
// Values that cannot be read are left empty; they, memos that cannot be found
// and records missing from the end of the file are reported as sink warnings.
void readDbf(const DbfTable& table, std::string_view data, const MemoFile& memo, RecordSink& sink);

std::vector<Field> fieldsOf(const DbfTable& table);

}  // namespace rq::dbase
