// Excel workbooks: the database is the file, each worksheet a table named by
// the sheet name followed by "$".
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>

#include "datasource/excel/biffworkbook.h"
#include "datasource/excel/celltable.h"
#include "datasource/excel/compoundfile.h"
#include "datasource/excel/exceldatabase.h"
#include "datasource/readers.h"
#include "datasource/readwarnings.h"

namespace rq {

namespace {

constexpr std::uintmax_t kMaxWorkbookBytes = std::uintmax_t{1} << 31;

class ExcelDatabase : public Database {
  public:
    ExcelDatabase(std::string file, excel::BiffWorkbook book)
        : file_(std::move(file)), book_(std::move(book)) {}

    std::string name() const override { return file_; }

    std::vector<CatalogEntry> catalog() override {
        std::vector<CatalogEntry> out;
        for (const auto& n : book_.sheetNames()) out.push_back({n + "$", 0});
        return out;
    }

    std::vector<Field> fields(const std::string& table) override { return sheet(table).fields(); }

    void read(const std::string& table, RecordSink& sink) override { sheet(table).emit(sink); }

  private:
    const excel::CellTable& sheet(const std::string& table) {
        const std::size_t index = sheetIndex(table);
        if (cached_ && cachedIndex_ == index) return *cached_;
        try {
            cached_.reset();
            std::vector<std::string> warnings;
            ReadWarnings warn(warnings, file_);
            std::vector<excel::SheetCell> cells = book_.readSheet(index, &warn);
            warn.finish();
            cached_ = std::make_unique<excel::CellTable>(std::move(cells), std::move(warnings));
            cachedIndex_ = index;
            return *cached_;
        } catch (const excel::WorkbookError& e) {
            throw DatabaseError("'" + file_ + "' cannot be read: " + e.what() + ".");
        }
    }

    std::size_t sheetIndex(const std::string& table) const {
        const auto& names = book_.sheetNames();
        auto lower = [](std::string s) {
            for (auto& c : s)
                if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
            return s;
        };
        for (std::size_t i = 0; i < names.size(); ++i)
            if (names[i] + "$" == table) return i;
        // Names are matched without regard to letter case, with or without the "$".
        const std::string want = lower(table);
        for (std::size_t i = 0; i < names.size(); ++i) {
            const std::string n = lower(names[i]);
            if (n + "$" == want || n == want) return i;
        }
        throw DatabaseError("The table '" + table + "' does not exist in '" + file_ + "'.");
    }

    std::string file_;
    excel::BiffWorkbook book_;
    std::unique_ptr<excel::CellTable> cached_;
    std::size_t cachedIndex_ = 0;
};

}  // namespace

std::unique_ptr<Database> openExcelWorkbookBytes(const std::string& file, std::string bytes,
                                                 const OpenOptions& options) {
    std::string stream;
    try {
        if (excel::isCompoundFile(bytes)) {
            auto s = excel::readCompoundStream(bytes, {"Workbook", "Book"});
            if (!s)
                throw DatabaseError("'" + file + "' holds no workbook.", kErrUnrecognisedFormat);
            stream = std::move(*s);
        } else {
            stream = std::move(bytes);
        }
    } catch (const std::runtime_error& e) {
        if (dynamic_cast<const DatabaseError*>(&e)) throw;
        throw DatabaseError("'" + file + "' cannot be read: " + e.what() + ".");
    }
    const std::string base = std::filesystem::path(file).stem().string();
    try {
        return std::make_unique<ExcelDatabase>(
            file, excel::BiffWorkbook(std::move(stream), base, options.codepage));
    } catch (const excel::WorkbookError& e) {
        switch (e.reason()) {
            case excel::WorkbookError::NotAWorkbook:
                throw DatabaseError(
                    "'" + file + "' is not a workbook this program can read (" + e.what() + ").",
                    kErrUnrecognisedFormat);
            case excel::WorkbookError::Protected:
                throw DatabaseError("'" + file +
                                    "' is protected with a password; open it in its spreadsheet "
                                    "program, remove the password and save it again.");
            default:
                throw DatabaseError("'" + file + "' cannot be read: " + e.what() + ".");
        }
    }
}

std::unique_ptr<Database> openExcelWorkbook(const std::string& file, const OpenOptions& options) {
    std::error_code ec;
    const auto size = std::filesystem::file_size(file, ec);
    if (ec) throw DatabaseError("Could not find file '" + file + "'.");
    if (size > kMaxWorkbookBytes)
        throw DatabaseError("'" + file + "' is too large to be a workbook.");
    std::ifstream in(file, std::ios::binary);
    if (!in) throw DatabaseError("'" + file + "' cannot be opened.");
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw DatabaseError("'" + file + "' cannot be read.");
    return openExcelWorkbookBytes(file, std::move(bytes), options);
}

}  // namespace rq
