// Lotus worksheets: the database is the folder; each file with the chosen
// extension is a table named by its base name. A file holding several sheets
// gives one table per sheet: the first sheet is named by the base name alone,
// each further one by the base name, "#" and the sheet's name.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>

#include "datasource/excel/celltable.h"
#include "datasource/isolatedread.h"
#include "datasource/lotus/lotusworkbook.h"
#include "datasource/readers.h"

namespace rq {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kMaxFileBytes = std::uintmax_t{256} << 20;

std::string lower(std::string s) {
    for (auto& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return s;
}

class LotusDatabase : public Database {
  public:
    LotusDatabase(std::string folder, const std::vector<std::string>& extensions,
                  const OpenOptions& options)
        : folder_(std::move(folder)) {
        if (options.codepage > 0) encoding_ = "CP" + std::to_string(options.codepage);
        std::error_code ec;
        // Files of each extension in turn, the first extension's first.
        std::vector<std::vector<fs::path>> files(extensions.size());
        for (fs::directory_iterator it(folder_, ec), end; !ec && it != end; it.increment(ec)) {
            std::error_code fe;
            if (!it->is_regular_file(fe)) continue;
            const std::string ext = lower(it->path().extension().string());
            for (std::size_t i = 0; i < extensions.size(); ++i)
                if (ext == lower(extensions[i])) files[i].push_back(it->path());
        }
        if (ec) throw DatabaseError("The folder '" + folder_ + "' cannot be read.");
        std::vector<std::string> taken;
        for (std::size_t i = 0; i < files.size(); ++i) {
            std::sort(files[i].begin(), files[i].end());
            for (const auto& f : files[i]) {
                std::string base = f.stem().string();
                if (i == 0) {
                    taken.push_back(lower(base));
                } else if (std::find(taken.begin(), taken.end(), lower(base)) != taken.end()) {
                    base += "#" + lower(f.extension().string().substr(1));
                }
                load(f, base);
            }
        }
    }

    std::string name() const override { return folder_; }

    std::vector<CatalogEntry> catalog() override {
        std::vector<CatalogEntry> out;
        for (const auto& t : tables_) out.push_back({t.name, 0});
        return out;
    }

    std::vector<Field> fields(const std::string& table) override { return find(table).fields(); }
    void read(const std::string& table, RecordSink& sink) override { find(table).emit(sink); }

  private:
    struct Table {
        std::string name;
        std::string file;
        std::string error;  // the message when the file could not be read
        std::shared_ptr<excel::CellTable> cells;
    };

    void load(const fs::path& file, const std::string& base) {
        const std::string path = file.string();
        std::vector<lotus::LotusSheet> sheets;
        std::string error;
        try {
            std::error_code ec;
            if (fs::file_size(file, ec) > kMaxFileBytes)
                throw std::runtime_error("the file is too large");
            std::ifstream in(file, std::ios::binary);
            if (!in) throw std::runtime_error("the file cannot be opened");
            std::string bytes((std::istreambuf_iterator<char>(in)),
                              std::istreambuf_iterator<char>());
            sheets = parseIsolated(path, bytes);
        } catch (const DatabaseError& e) {
            error = e.what();  // the file could not be parsed at all
        } catch (const std::exception& e) {
            error = "'" + path + "' cannot be read: " + e.what() + ".";
        }
        if (sheets.empty()) {
            if (error.empty()) error = "'" + path + "' cannot be read: the file holds no sheet.";
            tables_.push_back({base, path, error, {}});
            return;
        }
        for (std::size_t i = 0; i < sheets.size(); ++i) {
            std::string name = base;
            if (i > 0) {
                std::string sheet = sheets[i].name;
                if (sheet.empty()) sheet = "Sheet" + std::to_string(i + 1);
                name += "#" + sheet;
            }
            tables_.push_back(
                {name, path, {}, std::make_shared<excel::CellTable>(std::move(sheets[i].cells))});
        }
    }

    // libwps parses in a child process; each sheet comes back as its name
    // (the one field) and one record per cell: row, column, kind, text.
    std::vector<lotus::LotusSheet> parseIsolated(const std::string& path,
                                                 const std::string& bytes) {
        if (!isolatedReads()) return lotus::parseLotusWorkbook(bytes, encoding_);
        struct SheetsSink : RecordSink {
            std::vector<lotus::LotusSheet> sheets;
            void begin(const std::vector<Field>& f) override {
                sheets.push_back({f.empty() ? std::string() : f[0].name, {}, {}});
            }
            void row(const std::string_view* c, std::size_t n) override {
                if (n != 4 || sheets.empty() || c[2].size() != 1) return;
                excel::SheetCell cell;
                cell.row = static_cast<std::uint32_t>(std::stoul(std::string(c[0])));
                cell.col = static_cast<std::uint32_t>(std::stoul(std::string(c[1])));
                cell.kind = static_cast<excel::CellKind>(c[2][0] - '0');
                cell.text = std::string(c[3]);
                sheets.back().cells.push_back(std::move(cell));
            }
        } sink;
        readIsolated(
            path,
            [&](RecordSink& out) {
                std::vector<lotus::LotusSheet> parsed;
                try {
                    parsed = lotus::parseLotusWorkbook(bytes, encoding_);
                } catch (const std::exception& e) {
                    throw DatabaseError("'" + path + "' cannot be read: " + e.what() + ".");
                }
                for (const auto& sheet : parsed) {
                    out.begin({{sheet.name, kText}});
                    for (const auto& cell : sheet.cells) {
                        const std::string row = std::to_string(cell.row);
                        const std::string col = std::to_string(cell.col);
                        const char kind = static_cast<char>('0' + static_cast<int>(cell.kind));
                        const std::string_view cells[4] = {row, col, {&kind, 1}, cell.text};
                        out.row(cells, 4);
                    }
                }
            },
            sink);
        return std::move(sink.sheets);
    }

    const excel::CellTable& find(const std::string& table) const {
        const Table* hit = nullptr;
        for (const auto& t : tables_)
            if (t.name == table) hit = &t;
        if (!hit)
            for (const auto& t : tables_)
                if (lower(t.name) == lower(table)) hit = &t;
        if (!hit)
            throw DatabaseError("The table '" + table + "' does not exist in '" + folder_ + "'.");
        if (!hit->cells) throw DatabaseError(hit->error);
        return *hit->cells;
    }

    std::string folder_, encoding_;
    std::vector<Table> tables_;
};

}  // namespace

std::unique_ptr<Database> openLotusFolder(const std::string& folder,
                                          const std::vector<std::string>& extensions,
                                          const OpenOptions& options) {
    std::error_code ec;
    if (!fs::is_directory(folder, ec))
        throw DatabaseError("The folder '" + folder + "' does not exist.");
    return std::make_unique<LotusDatabase>(folder, extensions, options);
}

std::unique_ptr<Database> openLotusFolder(const std::string& folder, const std::string& extension,
                                          const OpenOptions& options) {
    return openLotusFolder(folder, std::vector<std::string>{"." + extension}, options);
}

}  // namespace rq
