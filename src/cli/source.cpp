#include "cli/source.h"

#include <cctype>
#include <filesystem>
#include <fstream>
#include <istream>
#include <iterator>
#include <ostream>

#include "datasource/kinds.h"
#include "datasource/odbc/odbcsource.h"
#include "datasource/sheetloader.h"

namespace rq::cli {

namespace fs = std::filesystem;

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// Fills the sheet, showing the count of records read now and then.
class CountingSink : public SheetSink {
  public:
    CountingSink(DataSheet& sheet, ProgressLine& line) : SheetSink(sheet), line_(line) {}
    void row(const std::string_view* cells, std::size_t count) override {
        SheetSink::row(cells, count);
        if (++rows_ % 100000 == 0) line_.show("Reading... " + std::to_string(rows_) + " records");
    }

  private:
    ProgressLine& line_;
    long long rows_ = 0;
};

// The connect string of the kind a source is read as.
std::string connectFor(const Settings& s) {
    if (!s.kind.empty()) return kindByName(s.kind)->connect;
    if (s.positional[0] == "-") return "Text;";
    const std::string connect = connectStringForPath(s.positional[0]);
    if (connect.empty())
        sourceError("cannot tell the kind of database of " + s.positional[0] +
                    " from its content or name; name it with --kind");
    return connect;
}

// Standard input saved as the one table of a private folder.
std::unique_ptr<Database> openStandardInput(const Settings& s, Io& io) {
    const std::string folder = makeTemporaryFolder("rowquill-stdin-");
    {
        std::ofstream file(fs::path(folder) / "stdin.txt", std::ios::binary);
        file << io.in.rdbuf();
        if (!file) {
            std::error_code ec;
            fs::remove_all(folder, ec);
            sourceError("cannot keep standard input in " + folder);
        }
    }
    OpenOptions options;
    options.codepage = s.codepage;
    try {
        return withTemporaryFolder(
            openFileDatabase("Text;", folder, options), folder,
            {{folder + "/stdin.txt", "standard input"}, {folder, "standard input"}});
    } catch (...) {
        std::error_code ec;
        fs::remove_all(folder, ec);
        throw;
    }
}

// The file a path names for its kind: FILE.DDF for a folder holding a Btrieve
// dictionary, the folder (ended by "/") for the folder kinds.
std::string chosenFile(const std::string& source, const std::string& connect) {
    std::error_code ec;
    if (!fs::is_directory(source, ec)) return source;
    const Kind* kind = kindByConnect(connect);
    if (connect == "Btrieve;") {
        for (const auto& e : fs::directory_iterator(source, ec))
            if (lower(e.path().filename().string()) == "file.ddf") return e.path().string();
        sourceError("no FILE.DDF in the folder " + source);
    }
    if (!kind->folder) sourceError(source + " is a folder; this kind of database is a single file");
    // A path ending in "/" names the folder itself as the database.
    return source.back() == '/' ? source : source + "/";
}

}  // namespace

void ProgressLine::show(const std::string& text) {
    if (!enabled()) return;
    io_.err << '\r' << text << "\033[K";
    io_.err.flush();
    shown_ = true;
}

void ProgressLine::clear() {
    if (shown_) io_.err << "\r\033[K";
    io_.err.flush();
    shown_ = false;
}

void checkSourceOptions(const Settings& s, const std::string& command) {
    if (s.odbc) {
        if (!s.positional.empty())
            usageError("give either SOURCE or --odbc, not both (\"" + s.positional[0] + "\")");
        if (s.odbc->empty()) usageError("--odbc needs a connection string");
        if (!s.kind.empty() || s.passwordGiven || s.codepage)
            usageError(
                "--kind, --password and --codepage belong to database files; with --odbc put "
                "what the driver needs in the connection string");
        return;
    }
    if (s.positional.empty()) usageError(command + " needs a SOURCE or --odbc CONNECTION");
    if (s.positional.size() > 1) usageError("unexpected argument \"" + s.positional[1] + "\"");
    if (s.timeout) usageError("--timeout belongs to --odbc");
    if (!s.kind.empty() && !kindByName(s.kind))
        usageError("unknown kind \"" + s.kind + "\" (one of " + kindNameList() + ")");
    if (s.positional[0] == "-" && !s.kind.empty() && kindByName(s.kind)->connect != "Text;")
        usageError("standard input is read as a delimited text table (--kind text)");
}

std::string sourceLabel(const Settings& s) {
    if (s.odbc) return "the ODBC source";
    return s.positional[0] == "-" ? std::string("standard input") : s.positional[0];
}

std::unique_ptr<Database> openSource(const Settings& s, Io& io) {
    if (s.odbc) {
        // The message already says "Error Opening DataSource: " and the driver's words.
        try {
            auto source = openOdbcSource(*s.odbc);
            if (s.timeout) source->setStatementTimeout(*s.timeout);
            return source;
        } catch (const DatabaseError& e) {
            sourceError(e.what());
        }
    }
    const std::string& source = s.positional[0];
    if (source == "-") return openStandardInput(s, io);
    std::error_code ec;
    if (!fs::exists(source, ec)) sourceError("cannot find the source " + source);
    const std::string connect = connectFor(s);
    const std::string chosen = chosenFile(source, connect);
    if (s.outputGiven && outputIsSourceFile(connect, chosen, s.output))
        sourceError(s.output + " is a file the source " + source +
                    " reads; nothing was written (choose another output)");
    OpenOptions options;
    options.codepage = s.codepage;
    options.password = s.password;
    bool fromEnvironment = false, asked = false;
    if (!s.passwordGiven && io.environment)
        if (auto p = io.environment("ROWQUILL_PASSWORD")) {
            options.password = *p;
            fromEnvironment = true;
        }
    for (;;) {
        try {
            return openFileDatabase(connect, chosen, options);
        } catch (const DatabaseError& e) {
            if (e.code() != kErrPasswordRequired) sourceError(e.what());
            const bool given = s.passwordGiven || fromEnvironment || asked;
            if (!given && io.stdinIsTerminal && io.askSecret)
                if (auto p = io.askSecret("Password for " + source + ": ")) {
                    options.password = *p;
                    asked = true;
                    continue;
                }
            if (!given)
                sourceError(source +
                            " needs a password (give it with --password, ROWQUILL_PASSWORD or on "
                            "a terminal)");
            sourceError(source + " needs a password, and this one is wrong");
        }
    }
}

namespace {

// The catalog's spelling of a table name typed by the user, or "".
std::string findTable(Database& db, const std::string& typed) {
    const std::vector<CatalogEntry> all = db.catalog();
    for (const auto& e : all)
        if (e.name == typed) return e.name;
    std::string alt = typed;
    if (std::size_t dot = alt.rfind('.'); dot != std::string::npos) alt[dot] = '#';
    for (const auto& e : all)
        if (lower(e.name) == lower(typed) || lower(e.name) == lower(alt)) return e.name;
    return {};
}

// The table --table names, or the only one of the source.
std::string tableToRead(Database& db, const Settings& s) {
    if (s.table.empty()) {
        const std::vector<CatalogEntry> listed = listedCatalog(db);
        if (listed.size() == 1) return listed.front().name;
        if (listed.empty()) sourceError(sourceLabel(s) + " holds no table");
        usageError(sourceLabel(s) + " holds " + std::to_string(listed.size()) +
                   " tables and queries; name one with --table or give --sql "
                   "(rowquill-cli tables lists them)");
    }
    std::string name = findTable(db, s.table);
    // A data source may know tables it does not list (system tables,
    // synonyms, other schemas): the name goes to the driver as typed.
    if (name.empty() && s.odbc) name = s.table;
    if (name.empty())
        sourceError("no table named \"" + s.table + "\" in " + sourceLabel(s) +
                    " (rowquill-cli tables lists them)");
    return name;
}

}  // namespace

DataSheet loadSource(Database& db, Settings& s, Io& io, ProgressLine& line, bool strict) {
    DataSheet sheet;
    CountingSink sink(sheet, line);
    db.setParameterValues(s.parameters);
    try {
        if (!s.sql.empty())
            db.query(s.sql, sink);
        else
            db.read(tableToRead(db, s), sink);
    } catch (const DatabaseError& e) {
        if (e.code() == kErrParameterMissing)
            sourceError(std::string(e.what()) + " Give it with --param NAME=VALUE.");
        sourceError(e.what());
    }
    line.clear();
    const auto& warnings = sink.warnings();
    if (!strict || warnings.empty()) return sheet;
    for (const auto& w : warnings) io.err << "rowquill-cli: warning: " << oneLine(w) << '\n';
    if (!s.allowDamaged)
        sourceError(sourceLabel(s) +
                    " is damaged; nothing was written (--allow-damaged writes what could be read)");
    return sheet;
}

}  // namespace rq::cli
