#include <algorithm>
#include <cctype>
#include <filesystem>

#include "datasource/database.h"
#include "datasource/readers.h"
#include "datasource/sqlengine.h"

namespace rq {

namespace fs = std::filesystem;

void Database::query(const std::string& statement, RecordSink& sink) {
    runSqlOverDatabase(*this, statement, sink);
}

bool isListedName(std::string_view name) {
    if (!name.empty() && name.front() == '~') return false;
    if (name.size() >= 4) {
        std::string head;
        for (int i = 0; i < 4; ++i)
            head += static_cast<char>(std::toupper(static_cast<unsigned char>(name[i])));
        if (head == "MSYS") return false;
    }
    return true;
}

std::vector<CatalogEntry> listedCatalog(Database& db) {
    std::vector<CatalogEntry> all = db.catalog();
    std::vector<CatalogEntry> out;
    for (auto& e : all)
        if (isListedName(e.name)) out.push_back(std::move(e));
    // Tables before stored queries, each group in the database's own order.
    std::stable_partition(out.begin(), out.end(),
                          [](const CatalogEntry& e) { return e.marker == 0; });
    return out;
}

namespace {

bool startsWith(const std::string& s, std::string_view prefix) {
    return s.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

bool isKnownConnectString(const std::string& c) {
    static const char* const known[] = {
        "Microsoft Access", "Dbase 5.0;",   "Dbase IV;",    "Dbase III;",   "FoxPro 3.0;",
        "FoxPro 2.6;",      "FoxPro 2.5;",  "FoxPro 2.0;",  "Lotus WK1;",   "Lotus WK3;",
        "Lotus WK4;",       "Paradox 5.X;", "Paradox 4.X;", "Paradox 3.X;", "Btrieve;",
        "Excel 8.0;",       "Text;"};
    for (const char* k : known)
        if (c == k) return true;
    return false;
}

std::string databaseNameFor(const std::string& connect, const std::string& chosenFile) {
    if (connect == "Microsoft Access" || connect == "Excel 8.0;" || connect == "Btrieve;")
        return chosenFile;
    // A folder chosen as the source is the database itself.
    std::error_code ec;
    if (fs::is_directory(chosenFile, ec)) return chosenFile;
    fs::path p(chosenFile);
    std::string parent = p.parent_path().string();
    return parent.empty() ? std::string(".") : parent;
}

std::string connectStringForPath(const std::string& path) {
    fs::path p(path);
    std::error_code ec;
    std::string ext = p.extension().string();
    for (auto& ch : ext) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    std::string stem = p.filename().string();
    for (auto& ch : stem) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    if (ext == ".mdb" || ext == ".accdb") return "Microsoft Access";
    if (ext == ".dbf") return "Dbase IV;";
    if (ext == ".db") return "Paradox 5.X;";
    if (ext == ".xls") return "Excel 8.0;";
    if (ext == ".wk1") return "Lotus WK1;";
    if (ext == ".wk3") return "Lotus WK3;";
    if (ext == ".wk4") return "Lotus WK4;";
    if (stem == "FILE.DDF") return "Btrieve;";
    if (ext == ".txt" || ext == ".csv" || ext == ".tab" || ext == ".asc") return "Text;";
    if (fs::is_directory(p, ec)) return "Text;";
    return {};
}

std::unique_ptr<Database> openFileDatabase(const std::string& connect,
                                           const std::string& chosenFile,
                                           const OpenOptions& options) {
    if (!isKnownConnectString(connect))
        throw DatabaseError("Unknown database kind \"" + connect + "\".");
    const std::string dbName = databaseNameFor(connect, chosenFile);
    std::error_code ec;
    if (!fs::exists(chosenFile, ec) && !fs::exists(dbName, ec))
        throw DatabaseError("Could not find file '" + chosenFile + "'.");
    if (connect == "Microsoft Access") return openAccessDatabase(dbName, options);
    if (startsWith(connect, "Dbase") || startsWith(connect, "FoxPro"))
        return openDbaseFolder(dbName, options);
    if (startsWith(connect, "Paradox")) return openParadoxFolder(dbName, options);
    if (connect == "Excel 8.0;") return openExcelWorkbook(dbName, options);
    if (connect == "Lotus WK1;") return openLotusFolder(dbName, "wk1", options);
    if (connect == "Lotus WK3;") return openLotusFolder(dbName, "wk3", options);
    if (connect == "Lotus WK4;") return openLotusFolder(dbName, "wk4", options);
    if (connect == "Btrieve;") return openBtrieveDictionary(dbName, options);
    return openTextFolder(dbName, options);
}

}  // namespace rq
