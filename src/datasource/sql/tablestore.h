// A table's records held for the SQL engine: read once from the database into
// a compact encoding, one block of bytes per record, with every value already
// converted the way its column's declared type asks (numbers as numbers), so
// that comparisons and sorting behave as over a stored table.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "datasource/database.h"

namespace rq::sql {

// How a column treats the text it is given (SQLite's column affinities).
enum class Affinity { None, Text, Numeric, Integer, Real };

struct Value {
    enum Kind : unsigned char { Null, Integer, Real, Text } kind = Null;
    std::int64_t i = 0;
    double r = 0;
    std::string_view text;
};

// The text as a column of affinity a keeps it: text that reads as a number
// becomes one in the numeric affinities, an empty text is null. Boolean
// columns take "true" and "false" as 1 and 0.
Value columnValue(std::string_view text, Affinity a, bool boolean = false);

// True when the whole text (blanks around it allowed) reads as a decimal
// number; *value then holds it.
bool readsAsDecimal(std::string_view text, double* value);

// The declared column type the engine gives a field type, and back (0 when
// the declaration is not one of them).
const char* declaredType(int fieldType);
int fieldTypeOfDeclared(const char* declared);
Affinity affinityOf(int fieldType);

class TableStore {
  public:
    // Field names become unique ignoring letter case ("a" after "A" is "a_2"),
    // empty names become F1, F2, ...
    explicit TableStore(const std::vector<Field>& fields);
    TableStore(const TableStore&) = delete;
    TableStore& operator=(const TableStore&) = delete;

    const std::vector<Field>& fields() const { return fields_; }
    std::size_t rowCount() const { return rows_.size(); }
    // Bytes held by the records and their index.
    std::size_t bytes() const;

    // Appends a record; missing cells are null, extra cells are dropped.
    void append(const std::string_view* cells, std::size_t count);
    // All values of a record; text views stay valid while the store lives.
    void decode(std::size_t row, std::vector<Value>& out) const;

    // Rows whose value in column col may equal v: every row that compares
    // equal under any collation and either side's affinity is among them, in
    // table order; the caller checks each. The first lookups of a column scan
    // it (their rows go to scratch); later ones build and use an index.
    std::pair<const std::uint32_t*, const std::uint32_t*> candidates(
        std::size_t col, const Value& v, std::vector<std::uint32_t>& scratch);

  private:
    std::vector<Field> fields_;
    std::vector<Affinity> affinity_;
    std::vector<bool> boolean_;
    std::vector<const char*> rows_;
    std::vector<std::unique_ptr<char[]>> chunks_, largeBlocks_;
    std::size_t chunkUsed_ = 0, bytes_ = 0;
    std::string scratch_;
    bool noFields_ = false;
    // Per column: the rows sorted by equality key, built on demand.
    std::vector<std::vector<std::uint32_t>> index_;
    std::vector<bool> indexed_;
    std::vector<int> lookups_;

    char* allocate(std::size_t n);
    Value valueAt(std::size_t row, std::size_t col) const;
    void buildIndex(std::size_t col);
};

}  // namespace rq::sql
