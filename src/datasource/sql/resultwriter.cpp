#include "datasource/sql/resultwriter.h"

#include <sqlite3.h>

#include <cctype>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "datasource/sql/tablestore.h"
#include "datasource/valuetext.h"

namespace rq::sql {

namespace {

// Parenthesised joins reach SQLite as subqueries, whose duplicate column names
// it numbers "City:1"; the classic engine keeps the plain name.
std::string withoutDuplicateSuffix(std::string name) {
    std::size_t colon = name.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == name.size()) return name;
    for (std::size_t i = colon + 1; i < name.size(); ++i)
        if (!std::isdigit(static_cast<unsigned char>(name[i]))) return name;
    return name.substr(0, colon);
}

// A number computed by the statement (sums of currency, quotients): binary
// floating point leaves noise in the last digits (1552.6000000000001), so it is
// shown to the fifteen significant digits a double holds exactly.
std::string computedNumber(double v) {
    if (!std::isfinite(v)) return valuetext::floating(v);
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.15g", v);
    return valuetext::floating(std::strtod(buf, nullptr));
}

void cellText(sqlite3_stmt* st, int c, int declared, std::string& out) {
    switch (sqlite3_column_type(st, c)) {
        case SQLITE_INTEGER: {
            sqlite3_int64 v = sqlite3_column_int64(st, c);
            out = declared == kBoolean ? valuetext::boolean(v != 0) : valuetext::integer(v);
            break;
        }
        case SQLITE_FLOAT: {
            double v = sqlite3_column_double(st, c);
            out = declared == kDouble || declared == kSingle ? valuetext::floating(v)
                                                             : computedNumber(v);
            break;
        }
        case SQLITE_TEXT: {
            const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(st, c));
            out.assign(p ? p : "", p ? static_cast<std::size_t>(sqlite3_column_bytes(st, c)) : 0);
            break;
        }
        case SQLITE_BLOB: {
            const auto* p = static_cast<const char*>(sqlite3_column_blob(st, c));
            int n = sqlite3_column_bytes(st, c);
            out = valuetext::base64(
                std::string_view(p ? p : "", p ? static_cast<std::size_t>(n) : 0));
            break;
        }
        default:
            out.clear();
            break;
    }
}

int fieldTypeOfValue(int sqliteType) {
    switch (sqliteType) {
        case SQLITE_INTEGER:
            return kLong;
        case SQLITE_FLOAT:
            return kDouble;
        case SQLITE_BLOB:
            return kLongBinary;
        default:
            return kText;
    }
}

std::string megabytes(std::int64_t bytes) {
    return std::to_string((bytes + (1 << 19)) >> 20) + " MB";
}

}  // namespace

ResultWriter::ResultWriter(sqlite3_stmt* st, RecordSink& sink, std::int64_t budgetBytes)
    : st_(st), sink_(sink), budget_(budgetBytes) {
    const int n = sqlite3_column_count(st);
    for (int c = 0; c < n; ++c) {
        const char* name = sqlite3_column_name(st, c);
        int declared = fieldTypeOfDeclared(sqlite3_column_decltype(st, c));
        fields_.push_back({withoutDuplicateSuffix(name ? name : ""), declared});
        declared_.push_back(declared);
        if (!declared) ++unknownTypes_;
    }
    cells_.resize(fields_.size());
    views_.resize(fields_.size());
    if (unknownTypes_) held_ = std::make_unique<TableStore>(std::vector<Field>(fields_.size()));
}

ResultWriter::~ResultWriter() = default;

void ResultWriter::addRow() {
    std::int64_t bytes = 32;
    for (std::size_t c = 0; c < fields_.size(); ++c) {
        const int col = static_cast<int>(c);
        if (!fields_[c].type && sqlite3_column_type(st_, col) != SQLITE_NULL) {
            fields_[c].type = fieldTypeOfValue(sqlite3_column_type(st_, col));
            --unknownTypes_;
        }
        cellText(st_, col, declared_[c], cells_[c]);
        views_[c] = cells_[c];
        bytes += 4 + static_cast<std::int64_t>(cells_[c].size());
    }
    used_ += bytes;
    if (used_ > budget_)
        throw DatabaseError("The result of the statement is larger than allowed (" +
                            megabytes(budget_) + "): select fewer records or fields.");
    if (++records_ >= INT_MAX)
        throw DatabaseError("The result of the statement has more records than a sheet holds.");
    if (!begun_ && unknownTypes_ == 0) begin();
    if (begun_)
        sink_.row(views_.data(), views_.size());
    else
        held_->append(views_.data(), views_.size());
}

void ResultWriter::begin() {
    for (auto& f : fields_)
        if (!f.type) f.type = kText;
    sink_.begin(fields_);
    begun_ = true;
    if (!held_) return;
    // The held records' views point into the store; the current record's
    // cells are kept apart in cells_ and views_ is rebuilt from them after.
    std::vector<Value> values;
    for (std::size_t r = 0; r < held_->rowCount(); ++r) {
        held_->decode(r, values);
        for (std::size_t c = 0; c < values.size(); ++c) views_[c] = values[c].text;
        sink_.row(views_.data(), views_.size());
    }
    held_.reset();
    for (std::size_t c = 0; c < cells_.size(); ++c) views_[c] = cells_[c];
}

void ResultWriter::finish() {
    if (!begun_) begin();
    sink_.end();
}

}  // namespace rq::sql
