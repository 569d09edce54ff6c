// Delimited and fixed-width text tables: the settings a schema.ini section
// gives a file, the record scanner, and the conversion of typed values.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace rq::text {

enum class Format { Delimited, FixedLength };

struct ColumnSpec {
    std::string name;
    int type = 10;  // engine field type code
    int width = 0;  // FixedLength: characters
};

struct TableSettings {
    bool fromSchema = false;  // a schema.ini section matched the file
    Format format = Format::Delimited;
    char delimiter = ',';
    char qualifier = '"';  // 0: none
    bool header = true;
    int charset = 0;  // 0: not given; else a code page number (65001 UTF-8, 1200 UTF-16LE)
    std::string dateTimeFormat;
    std::vector<ColumnSpec> columns;  // ColN entries, in column order
};

// A parsed schema.ini: one section per file.
class SchemaIni {
  public:
    SchemaIni() = default;
    explicit SchemaIni(std::string_view utf8Text);
    // The section for a file name: matched without regard to letter case, first
    // by the whole title, then by the title's last path component (a title
    // written as a full Windows path still names its file).
    TableSettings settingsFor(const std::string& fileName) const;
    bool empty() const { return sections_.empty(); }

  private:
    struct Section {
        std::string title;
        std::vector<std::pair<std::string, std::string>> entries;  // key lower-cased
    };
    std::vector<Section> sections_;
};

// The type code of a schema.ini type word ("Long", "Text", "DateTime", ...), or
// 10 (Text) for a word it does not know.
int typeFromSchemaWord(std::string_view word);

// Splits text into records. The text is UTF-8. Records end at CR, LF or CRLF
// outside qualifiers; empty lines are skipped.
class RecordScanner {
  public:
    RecordScanner(std::string_view text, const TableSettings& settings);
    // The next record's fields; false at the end. Views stay valid until the
    // next call.
    bool next(std::vector<std::string_view>& fields);
    std::size_t offset() const { return pos_; }
    // True once a qualifier was opened and never closed: its field took the
    // rest of the text.
    bool unclosedQualifier() const { return unclosed_; }

  private:
    std::string_view text_;
    const TableSettings& settings_;
    std::size_t pos_ = 0;
    bool unclosed_ = false;
    // A deque: growing it keeps the earlier fields' text in place.
    std::deque<std::string> scratch_;
    bool nextDelimited(std::vector<std::string_view>& fields);
    bool nextFixed(std::vector<std::string_view>& fields);
};

// Converts a value of a typed column to its text (values as text: integers in
// decimal, exact decimals, yyyy-mm-dd dates, true/false). Text and memo columns
// keep the value as written. A value that does not read as its type gives false
// (the cell is then empty, as a null).
bool convertTyped(std::string_view value, int type, const std::string& dateTimeFormat,
                  std::string& out);

// A date or date-time read with a schema.ini DateTimeFormat ("dd-mm-yyyy",
// "yyyy-mm-dd hh:nn:ss", ...); without a format, yyyy-mm-dd[ hh:mm[:ss]] and
// m/d/yyyy are read.
bool parseDateTime(std::string_view value, const std::string& format, std::string& out);

}  // namespace rq::text
