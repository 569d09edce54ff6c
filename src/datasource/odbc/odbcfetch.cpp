#include "datasource/odbc/odbcfetch.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <deque>
#include <exception>
#include <mutex>
#include <string_view>
#include <thread>

#include "datasource/codepage.h"
#include "datasource/valuetext.h"

namespace rq::odbc {

namespace vt = rq::valuetext;

namespace {

// How a column's value is fetched and written as text.
enum class Kind {
    Signed,
    Unsigned,
    Double,
    Single,
    Bit,
    BoolText,  // a boolean the driver reports as characters ("1"/"0")
    Date,
    Timestamp,
    TimeText,
    DecimalText,
    Text,
    PaddedText,  // fixed-width characters: trailing blanks dropped
    Binary,
};

struct Column {
    Field field;
    Kind kind = Kind::Text;
    SQLSMALLINT cType = SQL_C_CHAR;
    SQLLEN width = 0;       // bytes of one cell in a bound buffer
    bool variable = false;  // characters or bytes whose length varies
};

// Largest cell kept in a bound buffer; longer values are read cell by cell.
constexpr SQLLEN kMaxBoundWidth = 8192;
// Bound width for long or unsized columns: most values fit, the rest are completed.
constexpr SQLLEN kLongBoundWidth = 512;
// Bytes of bound buffers per block of rows, and the rows of a block.
constexpr std::size_t kBlockBytes = 4u << 20;
constexpr std::size_t kMaxBlockRows = 1024;
// A single value larger than this is refused rather than exhausting memory.
constexpr std::size_t kMaxValueBytes = std::size_t{1} << 30;

bool isLongType(SQLSMALLINT t) {
    return t == SQL_LONGVARCHAR || t == SQL_WLONGVARCHAR || t == SQL_LONGVARBINARY;
}

SQLLEN charWidth(SQLULEN size, SQLSMALLINT sqlType) {
    // Column sizes count characters; UTF-8 takes up to four bytes for one.
    if (isLongType(sqlType) || size == 0 || size > static_cast<SQLULEN>(kMaxBoundWidth / 4))
        return kLongBoundWidth;
    return static_cast<SQLLEN>(size) * 4 + 1;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return (x | 0x20) == (y | 0x20);
           });
}

std::vector<Column> describeColumns(const Statement& statement) {
    SQLHSTMT h = statement.get();
    SQLSMALLINT count = 0;
    statement.check(SQLNumResultCols(h, &count), "describe the result");
    std::vector<Column> columns;
    columns.reserve(static_cast<std::size_t>(std::max<SQLSMALLINT>(count, 0)));
    for (SQLUSMALLINT c = 1; c <= static_cast<SQLUSMALLINT>(std::max<SQLSMALLINT>(count, 0)); ++c) {
        std::vector<SQLCHAR> name(256);
        SQLSMALLINT nameLength = 0, sqlType = 0, digits = 0, nullable = 0;
        SQLULEN size = 0;
        SQLRETURN rc = SQLDescribeCol(h, c, name.data(), static_cast<SQLSMALLINT>(name.size()),
                                      &nameLength, &sqlType, &size, &digits, &nullable);
        if (SQL_SUCCEEDED(rc) && nameLength >= static_cast<SQLSMALLINT>(name.size())) {
            name.resize(static_cast<std::size_t>(nameLength) + 1);
            rc = SQLDescribeCol(h, c, name.data(), static_cast<SQLSMALLINT>(name.size()),
                                &nameLength, &sqlType, &size, &digits, &nullable);
        }
        statement.check(rc, "describe the result");
        SQLLEN isUnsigned = SQL_FALSE;
        SQLColAttribute(h, c, SQL_DESC_UNSIGNED, nullptr, 0, nullptr, &isUnsigned);

        Column col;
        col.field.name = reinterpret_cast<const char*>(name.data());
        col.field.type = adoTypeForSqlType(sqlType, isUnsigned == SQL_TRUE);
        switch (sqlType) {
            case SQL_BIT:
                col.kind = Kind::Bit;
                col.cType = SQL_C_BIT;
                col.width = 1;
                break;
            case SQL_TINYINT:
            case SQL_SMALLINT:
            case SQL_INTEGER:
            case SQL_BIGINT:
                col.kind = isUnsigned == SQL_TRUE ? Kind::Unsigned : Kind::Signed;
                col.cType = isUnsigned == SQL_TRUE ? SQL_C_UBIGINT : SQL_C_SBIGINT;
                col.width = sizeof(SQLBIGINT);
                break;
            case SQL_REAL:
                col.kind = Kind::Single;
                col.cType = SQL_C_FLOAT;
                col.width = sizeof(SQLREAL);
                break;
            case SQL_FLOAT:
            case SQL_DOUBLE:
                col.kind = Kind::Double;
                col.cType = SQL_C_DOUBLE;
                col.width = sizeof(SQLDOUBLE);
                break;
            case SQL_TYPE_DATE:
            case SQL_DATE:
                col.kind = Kind::Date;
                col.cType = SQL_C_TYPE_DATE;
                col.width = sizeof(SQL_DATE_STRUCT);
                break;
            case SQL_TYPE_TIMESTAMP:
            case SQL_TIMESTAMP:
                col.kind = Kind::Timestamp;
                col.cType = SQL_C_TYPE_TIMESTAMP;
                col.width = sizeof(SQL_TIMESTAMP_STRUCT);
                break;
            case SQL_TYPE_TIME:
            case SQL_TIME:
                // As characters: the time structure has no fractions of a second.
                col.kind = Kind::TimeText;
                col.width = 64;
                col.variable = true;
                break;
            case SQL_DECIMAL:
            case SQL_NUMERIC:
                col.kind = Kind::DecimalText;
                col.width = size > 0 && size < 1000 ? static_cast<SQLLEN>(size) + 4 : 128;
                col.variable = true;
                break;
            case SQL_BINARY:
            case SQL_VARBINARY:
            case SQL_LONGVARBINARY:
                col.kind = Kind::Binary;
                col.cType = SQL_C_BINARY;
                col.width =
                    isLongType(sqlType) || size == 0 || size > static_cast<SQLULEN>(kMaxBoundWidth)
                        ? kLongBoundWidth
                        : static_cast<SQLLEN>(size);
                col.variable = true;
                break;
            case SQL_CHAR:
            case SQL_WCHAR:
                col.kind = Kind::PaddedText;
                col.width = charWidth(size, sqlType);
                col.variable = true;
                break;
            default:
                col.kind = Kind::Text;
                col.width = charWidth(size, sqlType);
                col.variable = true;
                break;
        }
        if (col.kind == Kind::Text || col.kind == Kind::PaddedText) {
            // Some drivers report booleans as characters; their type name gives them away.
            char typeName[64] = {};
            SQLSMALLINT typeNameLength = 0;
            if (SQL_SUCCEEDED(SQLColAttribute(h, c, SQL_DESC_TYPE_NAME, typeName, sizeof typeName,
                                              &typeNameLength, nullptr)) &&
                (equalsIgnoringCase(typeName, "bool") || equalsIgnoringCase(typeName, "boolean"))) {
                col.kind = Kind::BoolText;
                col.field.type = kAdoBoolean;
            }
        }
        columns.push_back(std::move(col));
    }
    return columns;
}

bool parseDigits(std::string_view s, std::size_t& i, int& value, std::size_t count) {
    if (i + count > s.size()) return false;
    int v = 0;
    for (std::size_t k = 0; k < count; ++k) {
        char ch = s[i + k];
        if (ch < '0' || ch > '9') return false;
        v = v * 10 + (ch - '0');
    }
    value = v;
    i += count;
    return true;
}

// "HH:MM:SS" with an optional fraction; false when the text has another form.
bool formatTime(std::string_view s, std::string& out) {
    std::size_t i = 0;
    int h = 0, m = 0, sec = 0;
    if (!parseDigits(s, i, h, 2) || i >= s.size() || s[i++] != ':' || !parseDigits(s, i, m, 2) ||
        i >= s.size() || s[i++] != ':' || !parseDigits(s, i, sec, 2))
        return false;
    int nanos = 0;
    if (i < s.size()) {
        if (s[i++] != '.') return false;
        int scale = 100000000;
        if (i >= s.size()) return false;
        for (; i < s.size(); ++i) {
            char ch = s[i];
            if (ch < '0' || ch > '9') return false;
            nanos += (ch - '0') * scale;
            scale /= 10;
        }
    }
    if (h > 23 || m > 59 || sec > 60) return false;
    out = vt::time(h, m, sec, nanos);
    return true;
}

// A plain decimal ("-12.500", ".5") in its exact short form; false for any other text.
bool formatDecimal(std::string_view s, std::string& out) {
    bool negative = false;
    std::size_t i = 0;
    if (i < s.size() && (s[i] == '-' || s[i] == '+')) negative = s[i++] == '-';
    std::string digits;
    digits.reserve(s.size());
    int scale = 0;
    bool seenPoint = false, seenDigit = false;
    for (; i < s.size(); ++i) {
        char ch = s[i];
        if (ch >= '0' && ch <= '9') {
            digits += ch;
            seenDigit = true;
            if (seenPoint) ++scale;
        } else if (ch == '.' && !seenPoint) {
            seenPoint = true;
        } else {
            return false;
        }
    }
    if (!seenDigit) return false;
    out = vt::decimalDigits(negative, digits, scale);
    return true;
}

// Valid UTF-8, checking eight bytes at a time while they are plain ASCII.
bool isUtf8(std::string_view text) {
    std::size_t i = 0;
    for (; i + 8 <= text.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + i, sizeof word);
        if (word & 0x8080808080808080ull) break;
    }
    for (; i < text.size(); ++i)
        if (static_cast<unsigned char>(text[i]) & 0x80) return vt::isValidUtf8(text.substr(i));
    return true;
}

// The text of one non-null value. data/length: the fetched bytes (characters
// without their terminator). The result points into data or into scratch.
std::string_view cellText(const Column& col, const char* data, std::size_t length,
                          std::string& scratch) {
    switch (col.kind) {
        case Kind::Signed: {
            SQLBIGINT v;
            std::memcpy(&v, data, sizeof v);
            return scratch = vt::integer(v);
        }
        case Kind::Unsigned: {
            SQLUBIGINT v;
            std::memcpy(&v, data, sizeof v);
            return scratch = vt::unsignedInteger(v);
        }
        case Kind::Double: {
            SQLDOUBLE v;
            std::memcpy(&v, data, sizeof v);
            return scratch = vt::floating(v);
        }
        case Kind::Single: {
            SQLREAL v;
            std::memcpy(&v, data, sizeof v);
            return scratch = vt::singleFloat(v);
        }
        case Kind::Bit:
            return scratch = vt::boolean(data[0] != 0);
        case Kind::Date: {
            SQL_DATE_STRUCT d;
            std::memcpy(&d, data, sizeof d);
            return scratch = vt::date(d.year, d.month, d.day);
        }
        case Kind::Timestamp: {
            SQL_TIMESTAMP_STRUCT t;
            std::memcpy(&t, data, sizeof t);
            int nanos = t.fraction <= 999'999'999u ? static_cast<int>(t.fraction) : 0;
            return scratch =
                       vt::dateTime(t.year, t.month, t.day, t.hour, t.minute, t.second, nanos);
        }
        case Kind::Binary:
            return scratch = vt::base64(std::string_view(data, length));
        default:
            break;
    }
    std::string_view text(data, length);
    if (col.kind == Kind::PaddedText) {
        while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    }
    if (!isUtf8(text)) {
        // A driver that hands out another encoding: read it as the Western code page.
        scratch = CodePage::get(1252).toUtf8(text);
        return scratch;
    }
    switch (col.kind) {
        case Kind::TimeText:
            if (formatTime(text, scratch)) return scratch;
            return text;
        case Kind::DecimalText:
            if (formatDecimal(text, scratch)) return scratch;
            return text;
        case Kind::BoolText:
            if (text == "1" || equalsIgnoringCase(text, "t") || equalsIgnoringCase(text, "true"))
                return scratch = vt::boolean(true);
            if (text == "0" || equalsIgnoringCase(text, "f") || equalsIgnoringCase(text, "false"))
                return scratch = vt::boolean(false);
            return text;
        default:
            return text;
    }
}

// Reads a whole variable-length value with SQLGetData, in pieces as long as it
// takes. Returns false for a null value.
bool readWhole(const Statement& statement, SQLUSMALLINT column, SQLSMALLINT cType,
               std::string& buffer) {
    const std::size_t terminator = cType == SQL_C_CHAR ? 1 : 0;
    if (buffer.capacity() < 4096) buffer.reserve(4096);
    buffer.resize(buffer.capacity());
    std::size_t got = 0;
    for (;;) {
        std::size_t avail = buffer.size() - got;
        SQLLEN indicator = 0;
        SQLRETURN rc = SQLGetData(statement.get(), column, cType, buffer.data() + got,
                                  static_cast<SQLLEN>(avail), &indicator);
        if (rc == SQL_NO_DATA) break;
        statement.check(rc, "read a value");
        if (indicator == SQL_NULL_DATA) {
            buffer.clear();
            return false;
        }
        if (indicator != SQL_NO_TOTAL &&
            static_cast<std::size_t>(indicator) + terminator <= avail) {
            got += static_cast<std::size_t>(indicator);
            break;
        }
        // Truncated: the buffer is full apart from the terminator.
        std::size_t taken = avail - terminator;
        got += taken;
        std::size_t needed = indicator == SQL_NO_TOTAL
                                 ? buffer.size() * 2
                                 : got + (static_cast<std::size_t>(indicator) - taken) + terminator;
        if (needed > kMaxValueBytes)
            throw DatabaseError("A value of the result is too long to load.");
        buffer.resize(std::max(needed, got + terminator + 1));
    }
    buffer.resize(got);
    return true;
}

void setRowArraySize(const Statement& statement, std::size_t rows) {
    statement.check(SQLSetStmtAttr(statement.get(), SQL_ATTR_ROW_ARRAY_SIZE,
                                   reinterpret_cast<SQLPOINTER>(rows), 0),
                    "set the row array size");
}

// A value longer than its bound buffer, read whole while its row was current.
struct LongValue {
    bool isNull = false;
    std::string bytes;
};

// One block of fetched rows: the bound buffers and what completes them.
struct Block {
    SQLULEN fetched = 0;
    std::vector<SQLUSMALLINT> status;
    std::vector<std::vector<char>> data;
    std::vector<std::vector<SQLLEN>> indicators;
    std::vector<LongValue> longValues;  // in the order of their rows, then columns
    std::size_t errorRow = SIZE_MAX;    // first row the driver could not read
    std::string errorText;

    Block(const std::vector<Column>& columns, std::size_t rows) : status(rows) {
        data.resize(columns.size());
        indicators.resize(columns.size());
        for (std::size_t c = 0; c < columns.size(); ++c) {
            data[c].resize(rows * static_cast<std::size_t>(columns[c].width));
            indicators[c].resize(rows);
        }
    }
};

SQLLEN boundRoom(const Column& col) {
    return col.width - (col.cType == SQL_C_CHAR ? 1 : 0);
}

bool fitsBound(const Column& col, SQLLEN indicator) {
    return !col.variable ||
           (indicator != SQL_NO_TOTAL && indicator >= 0 && indicator <= boundRoom(col));
}

// Fetches the next block of rows into block, reading whole the values that do
// not fit their buffers. False when there are no more rows.
bool fetchBlock(const Statement& statement, const std::vector<Column>& columns, Block& block) {
    SQLHSTMT h = statement.get();
    const std::size_t rows = block.status.size();
    for (std::size_t c = 0; c < columns.size(); ++c)
        statement.check(
            SQLBindCol(h, static_cast<SQLUSMALLINT>(c + 1), columns[c].cType, block.data[c].data(),
                       columns[c].width, block.indicators[c].data()),
            "bind a column");
    statement.check(SQLSetStmtAttr(h, SQL_ATTR_ROWS_FETCHED_PTR, &block.fetched, 0),
                    "prepare fetching");
    statement.check(SQLSetStmtAttr(h, SQL_ATTR_ROW_STATUS_PTR, block.status.data(), 0),
                    "prepare fetching");
    block.fetched = 0;
    block.longValues.clear();
    block.errorRow = SIZE_MAX;
    SQLRETURN rc = SQLFetch(h);
    if (rc == SQL_NO_DATA) return false;
    statement.check(rc, "fetch rows");
    block.fetched = std::min<SQLULEN>(block.fetched, rows);
    for (std::size_t r = 0; r < block.fetched; ++r) {
        if (block.status[r] == SQL_ROW_ERROR) {
            block.errorRow = r;
            block.errorText = statement.diagnostic();
            break;
        }
        if (block.status[r] == SQL_ROW_NOROW || block.status[r] == SQL_ROW_DELETED) continue;
        bool positioned = rows == 1;
        for (std::size_t c = 0; c < columns.size(); ++c) {
            SQLLEN indicator = block.indicators[c][r];
            if (indicator == SQL_NULL_DATA || fitsBound(columns[c], indicator)) continue;
            if (!positioned) {
                statement.check(SQLSetPos(h, static_cast<SQLSETPOSIROW>(r + 1), SQL_POSITION,
                                          SQL_LOCK_NO_CHANGE),
                                "position on a row");
                positioned = true;
            }
            LongValue value;
            value.isNull = !readWhole(statement, static_cast<SQLUSMALLINT>(c + 1), columns[c].cType,
                                      value.bytes);
            block.longValues.push_back(std::move(value));
        }
    }
    return true;
}

// Converts the rows of a fetched block to text and sends them to sink.
class BlockWriter {
  public:
    BlockWriter(const std::vector<Column>& columns, RecordSink& sink)
        : columns_(columns), sink_(sink), cells_(columns.size()), scratch_(columns.size()) {}

    void write(const Block& block) {
        const std::size_t n = columns_.size();
        auto longValue = block.longValues.begin();
        for (std::size_t r = 0; r < block.fetched; ++r) {
            if (r == block.errorRow)
                throw DatabaseError(block.errorText.empty()
                                        ? "A row of the result could not be read."
                                        : block.errorText);
            if (block.status[r] == SQL_ROW_NOROW || block.status[r] == SQL_ROW_DELETED) continue;
            for (std::size_t c = 0; c < n; ++c) {
                const Column& col = columns_[c];
                SQLLEN indicator = block.indicators[c][r];
                if (indicator == SQL_NULL_DATA) {
                    cells_[c] = {};
                } else if (fitsBound(col, indicator)) {
                    const char* cell =
                        block.data[c].data() + r * static_cast<std::size_t>(col.width);
                    std::size_t length =
                        static_cast<std::size_t>(col.variable ? indicator : col.width);
                    cells_[c] = cellText(col, cell, length, scratch_[c]);
                } else {
                    const LongValue& v = *longValue++;
                    cells_[c] = v.isNull
                                    ? std::string_view{}
                                    : cellText(col, v.bytes.data(), v.bytes.size(), scratch_[c]);
                }
            }
            sink_.row(cells_.data(), n);
        }
    }

  private:
    const std::vector<Column>& columns_;
    RecordSink& sink_;
    std::vector<std::string_view> cells_;
    std::vector<std::string> scratch_;
};

// Blocks handed from the thread that fetches to the thread that writes.
class BlockQueue {
  public:
    explicit BlockQueue(std::vector<Block>& blocks) {
        for (auto& b : blocks) free_.push_back(&b);
    }
    // The fetching side: a free block, or null once the writer has stopped.
    Block* takeFree() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return stopped_ || !free_.empty(); });
        if (stopped_) return nullptr;
        Block* b = free_.front();
        free_.pop_front();
        return b;
    }
    void putFull(Block* b) {
        std::lock_guard lock(mutex_);
        full_.push_back(b);
        changed_.notify_all();
    }
    void finish(std::exception_ptr error) {
        std::lock_guard lock(mutex_);
        finished_ = true;
        error_ = error;
        changed_.notify_all();
    }
    // The writing side: the next full block, or null at the end.
    Block* takeFull() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return finished_ || !full_.empty(); });
        if (full_.empty()) return nullptr;
        Block* b = full_.front();
        full_.pop_front();
        return b;
    }
    void putFree(Block* b) {
        std::lock_guard lock(mutex_);
        free_.push_back(b);
        changed_.notify_all();
    }
    void stop() {
        std::lock_guard lock(mutex_);
        stopped_ = true;
        changed_.notify_all();
    }
    std::exception_ptr error() {
        std::lock_guard lock(mutex_);
        return error_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Block*> free_, full_;
    bool stopped_ = false, finished_ = false;
    std::exception_ptr error_;
};

// Fetching and converting overlap: the driver fills one block on a thread of
// its own while the rows of the block before are converted and sent to the
// sink on the caller's thread (the sink is only ever called from there).
void fetchOverlapped(const Statement& statement, const std::vector<Column>& columns,
                     RecordSink& sink, std::vector<Block>& blocks) {
    BlockQueue queue(blocks);
    std::thread fetcher([&] {
        std::exception_ptr error;
        try {
            while (Block* b = queue.takeFree()) {
                if (!fetchBlock(statement, columns, *b)) break;
                queue.putFull(b);
            }
        } catch (...) {
            error = std::current_exception();
        }
        queue.finish(error);
    });
    BlockWriter writer(columns, sink);
    try {
        while (Block* b = queue.takeFull()) {
            writer.write(*b);
            queue.putFree(b);
        }
    } catch (...) {
        queue.stop();
        fetcher.join();
        throw;
    }
    fetcher.join();
    if (auto error = queue.error()) std::rethrow_exception(error);
}

// Takes the driver's pointers to the blocks' buffers away before they go.
struct Unbind {
    SQLHSTMT h;
    ~Unbind() {
        SQLFreeStmt(h, SQL_UNBIND);
        SQLSetStmtAttr(h, SQL_ATTR_ROWS_FETCHED_PTR, nullptr, 0);
        SQLSetStmtAttr(h, SQL_ATTR_ROW_STATUS_PTR, nullptr, 0);
    }
};

void fetchBound(const Statement& statement, const std::vector<Column>& columns, RecordSink& sink,
                bool blocks) {
    std::size_t rowBytes = 0;
    for (const auto& c : columns) rowBytes += static_cast<std::size_t>(c.width) + sizeof(SQLLEN);
    std::size_t rows = blocks
                           ? std::clamp<std::size_t>(
                                 kBlockBytes / std::max<std::size_t>(rowBytes, 1), 1, kMaxBlockRows)
                           : 1;
    setRowArraySize(statement, rows);
    // Three blocks let the driver fill one while another is converted.
    const bool overlap = rows > 1 && std::thread::hardware_concurrency() > 1;
    std::vector<Block> buffers;
    for (int i = 0; i < (overlap ? 3 : 1); ++i) buffers.emplace_back(columns, rows);
    Unbind unbind{statement.get()};
    if (overlap) {
        fetchOverlapped(statement, columns, sink, buffers);
    } else {
        BlockWriter writer(columns, sink);
        while (fetchBlock(statement, columns, buffers[0])) writer.write(buffers[0]);
    }
}

void fetchCellByCell(const Statement& statement, const std::vector<Column>& columns,
                     RecordSink& sink) {
    SQLHSTMT h = statement.get();
    const std::size_t n = columns.size();
    setRowArraySize(statement, 1);
    std::vector<std::string_view> cells(n);
    std::vector<std::string> scratch(n);
    std::vector<std::string> whole(n);
    for (;;) {
        SQLRETURN rc = SQLFetch(h);
        if (rc == SQL_NO_DATA) break;
        statement.check(rc, "fetch rows");
        for (std::size_t c = 0; c < n; ++c) {
            const Column& col = columns[c];
            const auto number = static_cast<SQLUSMALLINT>(c + 1);
            if (col.variable) {
                if (readWhole(statement, number, col.cType, whole[c]))
                    cells[c] = cellText(col, whole[c].data(), whole[c].size(), scratch[c]);
                else
                    cells[c] = {};
                continue;
            }
            alignas(8) char fixed[64] = {};
            SQLLEN indicator = 0;
            rc = SQLGetData(h, number, col.cType, fixed, col.width, &indicator);
            statement.check(rc, "read a value");
            if (rc == SQL_NO_DATA || indicator == SQL_NULL_DATA)
                cells[c] = {};
            else
                cells[c] = cellText(col, fixed, static_cast<std::size_t>(col.width), scratch[c]);
        }
        sink.row(cells.data(), n);
    }
}

std::vector<Field> fieldsOf(const std::vector<Column>& columns) {
    std::vector<Field> fields;
    fields.reserve(columns.size());
    for (const auto& c : columns) fields.push_back(c.field);
    return fields;
}

}  // namespace

std::vector<Field> describeResult(const Statement& statement) {
    return fieldsOf(describeColumns(statement));
}

void fetchResult(const Statement& statement, RecordSink& sink, OdbcFetchMode mode,
                 SQLUINTEGER getDataExtensions) {
    std::vector<Column> columns = describeColumns(statement);
    if (columns.empty()) throw DatabaseError("The statement returned no records.");
    sink.begin(fieldsOf(columns));
    const bool canCompleteBound = (getDataExtensions & SQL_GD_BOUND) != 0;
    const bool canUseBlocks = canCompleteBound && (getDataExtensions & SQL_GD_BLOCK) != 0;
    switch (mode) {
        case OdbcFetchMode::CellByCell:
            fetchCellByCell(statement, columns, sink);
            break;
        case OdbcFetchMode::Bound:
        case OdbcFetchMode::Automatic:
            if (canCompleteBound)
                fetchBound(statement, columns, sink, canUseBlocks);
            else
                fetchCellByCell(statement, columns, sink);
            break;
    }
    sink.end();
}

}  // namespace rq::odbc
