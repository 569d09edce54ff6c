// Helpers shared by the reader tests: a sink that keeps what it is sent, a
// table loaded into a sheet, the message of the error a call throws, and a
// scratch folder removed at the end.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "datasource/database.h"
#include "datasource/sheetloader.h"
#include "sheet/datasheet.h"

// Skips the test, with a message, when a sample folder or file is absent.
#define SKIP_WITHOUT(path) \
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no fixtures at " << (path)

namespace rq::testing {

inline const std::filesystem::path kFixtures = ROWQUILL_FIXTURES;

// The cells as one text, "a|b|c", for compact expected rows.
inline std::string joined(const std::vector<std::string>& cells) {
    std::string s;
    for (std::size_t i = 0; i < cells.size(); ++i) s += (i ? "|" : "") + cells[i];
    return s;
}

// Each row as "a|b|c".
inline std::vector<std::string> joinedRows(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::string> out;
    for (const auto& r : rows) out.push_back(joined(r));
    return out;
}

// The names and the type codes of a table's fields, in order.
inline std::vector<std::string> fieldNames(const std::vector<Field>& fields) {
    std::vector<std::string> out;
    for (const auto& f : fields) out.push_back(f.name);
    return out;
}
inline std::vector<int> fieldTypes(const std::vector<Field>& fields) {
    std::vector<int> out;
    for (const auto& f : fields) out.push_back(f.type);
    return out;
}

struct TableSink : RecordSink {
    std::vector<Field> fields;
    std::vector<std::vector<std::string>> rows;
    std::vector<std::string> warnings;
    bool ended = false;
    void begin(const std::vector<Field>& f) override { fields = f; }
    void warning(const std::string& text) override {
        EXPECT_FALSE(ended) << "warning after end(): " << text;
        warnings.push_back(text);
    }
    void row(const std::string_view* cells, std::size_t count) override {
        rows.emplace_back(cells, cells + count);
    }
    void end() override { ended = true; }
    std::vector<std::string> names() const { return fieldNames(fields); }
    std::vector<int> types() const { return fieldTypes(fields); }
    std::string line(std::size_t r) const { return joined(rows.at(r)); }
    std::vector<std::string> column(std::size_t col) const {
        std::vector<std::string> out;
        for (const auto& r : rows) out.push_back(col < r.size() ? r[col] : "<missing>");
        return out;
    }
    const std::string& at(std::size_t row, const std::string& field) const {
        for (std::size_t i = 0; i < fields.size(); ++i)
            if (fields[i].name == field) return rows.at(row).at(i);
        throw std::out_of_range(field);
    }
};

inline TableSink readTable(Database& db, const std::string& table) {
    TableSink sink;
    db.read(table, sink);
    return sink;
}

// A table loaded into a sheet as the window loads it; row 0 holds the names.
struct LoadedSheet {
    DataSheet sheet;
    std::vector<Field> fields;
    std::vector<std::string> warnings;
    int records() const { return sheet.rows() - 1; }
    std::string at(int r, int col) const { return std::string(sheet.cell(r, col)); }
    std::vector<std::string> row(int r) const {
        std::vector<std::string> cells;
        for (int c = 0; c < sheet.cols(); ++c) cells.push_back(at(r, c));
        return cells;
    }
    // Every row of the sheet, the names first, each as "a|b|c".
    std::vector<std::string> lines() const {
        std::vector<std::string> out;
        for (int r = 0; r < sheet.rows(); ++r) out.push_back(joined(row(r)));
        return out;
    }
    std::vector<std::string> names() const { return fieldNames(fields); }
    std::vector<int> types() const { return fieldTypes(fields); }
};

inline LoadedSheet loadSheet(Database& db, const std::string& table) {
    LoadedSheet l;
    l.fields = loadTable(db, table, l.sheet, &l.warnings);
    return l;
}

// A cell a sample table holds (row 0: the names), for tables of samples.
struct SampleCell {
    int row, col;
    const char* text;
};
// The record count (unless negative), the cells and the (column, type code)
// pairs of a loaded sample table.
inline void expectSample(const LoadedSheet& t, int records, const std::vector<SampleCell>& cells,
                         const std::vector<std::pair<int, int>>& types) {
    if (records >= 0) {
        ASSERT_EQ(t.records(), records);
    }
    for (const SampleCell& c : cells)
        EXPECT_EQ(t.at(c.row, c.col), c.text) << c.row << "," << c.col;
    for (auto [col, type] : types) EXPECT_EQ(t.fields.at(col).type, type) << col;
}

inline std::vector<std::string> catalogNames(const std::vector<CatalogEntry>& entries) {
    std::vector<std::string> out;
    for (const auto& e : entries) out.push_back(e.name);
    return out;
}

// The message of the DatabaseError the call throws, "no error" when it throws none.
template <typename Call>
std::string errorOf(Call call) {
    try {
        call();
    } catch (const DatabaseError& e) {
        return e.what();
    }
    return "no error";
}

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

inline std::string slurp(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The first column of every row a statement gives over an SQLite file, as
// bytes (numbers as their text); nothing when the file or statement fails.
inline std::vector<std::string> sqliteColumn(const std::filesystem::path& file,
                                             const std::string& sql) {
    std::vector<std::string> out;
    sqlite3* db = nullptr;
    sqlite3_stmt* st = nullptr;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) == SQLITE_OK)
        while (sqlite3_step(st) == SQLITE_ROW) {
            const auto* bytes = static_cast<const char*>(sqlite3_column_blob(st, 0));
            out.emplace_back(bytes ? bytes : "",
                             static_cast<std::size_t>(sqlite3_column_bytes(st, 0)));
        }
    sqlite3_finalize(st);
    sqlite3_close(db);
    return out;
}

// A fresh folder of its own, removed with everything in it at the end.
class ScratchFolder {
  public:
    ScratchFolder() {
        std::string templ = (std::filesystem::temp_directory_path() / "rqreaderXXXXXX").string();
        if (!::mkdtemp(templ.data())) throw std::runtime_error("no scratch folder");
        path_ = templ;
    }
    ~ScratchFolder() { std::filesystem::remove_all(path_); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    const std::filesystem::path& path() const { return path_; }
    std::string file(const std::string& name) const { return (path_ / name).string(); }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
    }

  private:
    std::filesystem::path path_;
};

}  // namespace rq::testing

namespace rq::testing {

// Little-endian bytes of a number, for files built in the tests.
inline std::string le16(unsigned v) {
    return {static_cast<char>(v & 0xFF), static_cast<char>((v >> 8) & 0xFF)};
}
inline std::string le32(std::uint32_t v) {
    return le16(v & 0xFFFF) + le16(v >> 16);
}

// The code and message of the DatabaseError the call throws; -1 and "no error" when none.
struct Thrown {
    int code = -1;
    std::string message = "no error";
};
template <typename Call>
Thrown thrownBy(Call call) {
    try {
        call();
    } catch (const DatabaseError& e) {
        return {e.code(), e.what()};
    }
    return {};
}

}  // namespace rq::testing
