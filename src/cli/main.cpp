// rowquill-cli: the batch converter. Opens a table of a file database or of an
// ODBC data source, and writes it as XML through a layout, as comma-separated
// text, or writes its default layout file.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "base/io/atomicfile.h"
#include "base/io/folders.h"
#include "datasource/database.h"
#include "datasource/odbc/odbcsource.h"
#include "datasource/sheetloader.h"
#include "generate/escape.h"
#include "generate/generationrun.h"
#include "generate/outputfiles.h"
#include "layout/defaultlayout.h"
#include "layout/layoutfile.h"
#include "layout/namerules.h"
#include "layout/prolog.h"
#include "sheet/csvexport.h"

namespace fs = std::filesystem;
using namespace rq;

namespace {

constexpr int kExitUsage = 1;
constexpr int kExitFailure = 2;

const char* const kHelp =
    R"HELP(Usage: rowquill-cli COMMAND SOURCE [OPTIONS]
       rowquill-cli COMMAND --odbc CONNECTION [OPTIONS]
       rowquill-cli sources

Turns a table of a desktop database file or of an ODBC data source into XML.

Commands:
  tables SOURCE                 list the tables, then the stored queries
                                (marked " (query)"), one a line; for an ODBC
                                source its tables, then its views
  convert SOURCE (--table NAME | --sql STATEMENT) -o OUTPUT [OPTIONS]
                                write the table as one XML document, or with
                                --split N as one document per N records into
                                the folder OUTPUT (absent or empty)
  export SOURCE (--table NAME | --sql STATEMENT) -o FILE
                                write the table as comma-separated text (UTF-8)
  layout SOURCE (--table NAME | --sql STATEMENT) -o FILE
                                write the table's default layout file (.rqlayout)
  sources                       list the ODBC data sources the driver manager
                                knows (user ones, then system ones, each with
                                its driver) and the installed ODBC drivers

In place of SOURCE every command but sources takes
  --odbc CONNECTION             an ODBC connection string, such as
                                "DSN=Sales;UID=me;PWD=secret" or
                                "Driver=SQLite3;Database=/data/shop.db"; it is
                                never prompted for what it lacks. --table NAME
                                reads "Select * from [NAME]"; in --sql
                                statements names may be written in [brackets]
  --timeout SECONDS             stop an ODBC statement that runs longer
                                (default 60; 0 for no limit)

Source options (file databases):
  --kind KIND                   the database kind, one of "Microsoft Access",
                                "Dbase 5.0;", "Dbase IV;", "Dbase III;",
                                "FoxPro 3.0;", "FoxPro 2.6;", "FoxPro 2.5;",
                                "FoxPro 2.0;", "Lotus WK1;", "Lotus WK3;",
                                "Lotus WK4;", "Paradox 5.X;", "Paradox 4.X;",
                                "Paradox 3.X;", "Btrieve;", "Excel 8.0;", "Text;"
                                (default: from the file's extension; a folder
                                is read as text files)
  --password P                  the database password
  --codepage N                  the code page of files that do not name one
                                (Btrieve; text files without a byte-order mark
                                or a CharacterSet in schema.ini), such as 866
                                or 1251; without it Btrieve is read as 437 and
                                text as UTF-8 when it is valid UTF-8, else 1252

Convert options:
  --layout FILE                 use a layout file instead of the default layout
  --split N                     one document per N records (N >= 1)
  --convert-symbols             write UTF-8; without it the files are written
                                in code page 1252 with "?" for what it lacks
  --xslt LOCATION | --css LOCATION
                                add a stylesheet instruction
  --dtd LOCATION                add a DOCTYPE naming the root element
  --schema NAMESPACE LOCATION   add xmlns, xmlns:xsi and xsi:schemaLocation to
                                the root element
  --root-attribute NAME=VALUE   add an attribute to the root element (may be
                                repeated; these and --schema replace the root
                                attributes of a layout file)
  -o, --output PATH             the output file (or folder with --split)

Convert and export options:
  --allow-damaged               write what could be read from a damaged source
                                (a file shorter than it says, a missing memo
                                file, values that cannot be read); without it
                                such a source is reported and nothing is written

  -h, --help                    show this help

Problems met while reading are written to standard error, one line each,
starting "rowquill-cli: warning: ".

Exit status: 0 success, 1 usage error, 2 source or output error (also a damaged
source without --allow-damaged).
)HELP";

struct Failure {
    int status;
    std::string message;
};

[[noreturn]] void usage(const std::string& message) {
    throw Failure{kExitUsage, message + " (see rowquill-cli --help)"};
}
[[noreturn]] void failure(const std::string& message) {
    throw Failure{kExitFailure, message};
}

struct Options {
    std::string command, source, kind, password, table, sql, layout, output, xslt, css, dtd;
    std::optional<std::string> odbc;  // a connection string given in place of SOURCE
    std::optional<std::string> schemaNamespace, schemaLocation;
    std::vector<std::string> rootAttributes;
    int codepage = 0;
    int split = 0;
    std::optional<int> timeout;  // seconds an ODBC statement may run
    bool convertSymbols = false;
    bool allowDamaged = false;
};

int parsePositive(const std::string& option, const std::string& text) {
    if (text.empty() || text.size() > 9 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        usage(option + " needs a whole number, not \"" + text + "\"");
    int n = std::stoi(text);
    if (n < 1) usage(option + " needs a number of at least 1");
    return n;
}

Options parseArguments(int argc, char** argv) {
    Options o;
    std::vector<std::string> args(argv + 1, argv + argc);
    std::vector<std::string> positional;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string a = args[i];
        std::optional<std::string> inlineValue;
        if (a.rfind("--", 0) == 0 && a.find('=') != std::string::npos && a != "--") {
            inlineValue = a.substr(a.find('=') + 1);
            a = a.substr(0, a.find('='));
        }
        auto value = [&]() -> std::string {
            if (inlineValue) return *inlineValue;
            if (i + 1 >= args.size()) usage(a + " needs a value");
            return args[++i];
        };
        if (a == "-h" || a == "--help") {
            o.command = "help";
            return o;
        } else if (a == "--odbc") {
            o.odbc = value();
        } else if (a == "--timeout") {
            std::string text = value();
            o.timeout = text == "0" ? 0 : parsePositive(a, text);
        } else if (a == "--kind") {
            o.kind = value();
        } else if (a == "--password") {
            o.password = value();
        } else if (a == "--codepage") {
            o.codepage = parsePositive(a, value());
        } else if (a == "--table") {
            o.table = value();
        } else if (a == "--sql") {
            o.sql = value();
        } else if (a == "--layout") {
            o.layout = value();
        } else if (a == "--split") {
            o.split = parsePositive(a, value());
        } else if (a == "--convert-symbols") {
            o.convertSymbols = true;
        } else if (a == "--allow-damaged") {
            o.allowDamaged = true;
        } else if (a == "--xslt") {
            o.xslt = value();
        } else if (a == "--css") {
            o.css = value();
        } else if (a == "--dtd") {
            o.dtd = value();
        } else if (a == "--schema") {
            if (inlineValue || i + 2 >= args.size()) usage("--schema needs NAMESPACE and LOCATION");
            o.schemaNamespace = args[++i];
            o.schemaLocation = args[++i];
        } else if (a == "--root-attribute") {
            o.rootAttributes.push_back(value());
        } else if (a == "-o" || a == "--output") {
            o.output = value();
        } else if (a.size() > 1 && a[0] == '-') {
            usage("unknown option " + a);
        } else {
            positional.push_back(a);
        }
    }
    if (positional.empty()) usage("no command given");
    o.command = positional[0];
    if (o.command != "tables" && o.command != "convert" && o.command != "export" &&
        o.command != "layout" && o.command != "sources")
        usage("unknown command \"" + o.command + "\"");
    if (o.command == "sources") {
        if (positional.size() > 1) usage("unexpected argument \"" + positional[1] + "\"");
        if (o.odbc) usage("sources takes no --odbc");
        return o;
    }
    if (o.odbc) {
        if (positional.size() > 1)
            usage("give either SOURCE or --odbc, not both (\"" + positional[1] + "\")");
        if (o.odbc->empty()) usage("--odbc needs a connection string");
        if (!o.kind.empty() || !o.password.empty() || o.codepage)
            usage(
                "--kind, --password and --codepage belong to database files; with --odbc put "
                "what the driver needs in the connection string");
    } else {
        if (positional.size() < 2) usage(o.command + " needs a SOURCE or --odbc CONNECTION");
        if (positional.size() > 2) usage("unexpected argument \"" + positional[2] + "\"");
        o.source = positional[1];
        if (o.timeout) usage("--timeout belongs to --odbc");
    }
    if (!o.kind.empty() && !isKnownConnectString(o.kind)) usage("unknown kind \"" + o.kind + "\"");
    if (o.command == "tables") return o;
    if (o.table.empty() == o.sql.empty()) usage(o.command + " needs either --table or --sql");
    if (o.output.empty()) usage(o.command + " needs -o OUTPUT");
    if (!o.xslt.empty() && !o.css.empty()) usage("give --xslt or --css, not both");
    if (o.command == "export" || o.command == "layout") {
        if (!o.layout.empty() || o.split || o.convertSymbols)
            usage("--layout, --split and --convert-symbols belong to convert");
    }
    if (o.command == "layout" && o.allowDamaged)
        usage("--allow-damaged belongs to convert and export");
    return o;
}

// ---- progress on a terminal -------------------------------------------------------

class ProgressLine {
  public:
    ProgressLine() : enabled_(::isatty(2) == 1) {}
    ~ProgressLine() { clear(); }
    bool enabled() const { return enabled_; }
    void show(const std::string& text) {
        if (!enabled_) return;
        std::fprintf(stderr, "\r%s\033[K", text.c_str());
        std::fflush(stderr);
        shown_ = true;
    }
    void clear() {
        if (shown_) std::fprintf(stderr, "\r\033[K");
        shown_ = false;
    }

  private:
    bool enabled_;
    bool shown_ = false;
};

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

// ---- the source --------------------------------------------------------------------

// How messages name the source.
std::string sourceLabel(const Options& o) {
    return o.odbc ? "the ODBC source" : o.source;
}

std::unique_ptr<Database> openSource(const Options& o) {
    if (o.odbc) {
        // The message already says "Error Opening DataSource: " and the driver's words.
        try {
            auto source = openOdbcSource(*o.odbc);
            if (o.timeout) source->setStatementTimeout(*o.timeout);
            return source;
        } catch (const DatabaseError& e) {
            failure(e.what());
        }
    }
    std::error_code ec;
    if (!fs::exists(o.source, ec)) failure("cannot find the source " + o.source);
    const bool folder = fs::is_directory(o.source, ec);
    std::string kind = o.kind.empty() ? connectStringForPath(o.source) : o.kind;
    if (kind.empty())
        failure("cannot tell the kind of database of " + o.source +
                " from its extension; name it with --kind");
    std::string chosen = o.source;
    if (folder) {
        if (kind == "Btrieve;") {
            chosen.clear();
            for (const auto& e : fs::directory_iterator(o.source, ec))
                if (e.path().filename().string().size() == 8) {
                    std::string n = e.path().filename().string();
                    for (char& c : n)
                        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
                    if (n == "FILE.DDF") chosen = e.path().string();
                }
            if (chosen.empty()) failure("no FILE.DDF in the folder " + o.source);
        } else if (kind == "Microsoft Access" || kind == "Excel 8.0;") {
            failure(o.source + " is a folder; this kind of database is a single file");
        } else {
            // A path ending in "/" names the folder itself as the database.
            if (chosen.back() != '/') chosen += '/';
        }
    }
    OpenOptions options;
    options.password = o.password;
    options.codepage = o.codepage;
    try {
        return openFileDatabase(kind, chosen, options);
    } catch (const DatabaseError& e) {
        if (e.code() == kErrPasswordRequired)
            failure(
                o.source + " needs a password" +
                (o.password.empty() ? " (give it with --password)" : ", and this one is wrong"));
        failure(e.what());
    }
}

// The catalog's spelling of a table name typed by the user, or "".
std::string findTable(Database& db, const std::string& typed) {
    auto lower = [](std::string s) {
        for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return s;
    };
    std::vector<CatalogEntry> all = db.catalog();
    for (const auto& e : all)
        if (e.name == typed) return e.name;
    std::string alt = typed;
    if (std::size_t dot = alt.rfind('.'); dot != std::string::npos) alt[dot] = '#';
    for (const auto& e : all)
        if (lower(e.name) == lower(typed) || lower(e.name) == lower(alt)) return e.name;
    return {};
}

std::string oneLine(std::string s) {
    for (char& c : s)
        if (c == '\n' || c == '\r') c = ' ';
    return s;
}

// The warnings of a read on standard error, one line each. Without
// --allow-damaged a source with warnings is a failure and nothing is written.
void reportWarnings(const std::vector<std::string>& warnings, const Options& o) {
    if (warnings.empty()) return;
    for (const auto& w : warnings) std::cerr << "rowquill-cli: warning: " << oneLine(w) << '\n';
    if (!o.allowDamaged)
        failure(sourceLabel(o) +
                " is damaged; nothing was written (--allow-damaged writes what could be read)");
}

DataSheet loadSheet(Database& db, const Options& o, ProgressLine& line,
                    std::vector<std::string>& warnings) {
    DataSheet sheet;
    CountingSink sink(sheet, line);
    try {
        if (!o.table.empty()) {
            std::string name = findTable(db, o.table);
            // A data source may know tables it does not list (system tables,
            // synonyms, other schemas): the name goes to the driver as typed.
            if (name.empty() && o.odbc) name = o.table;
            if (name.empty())
                failure("no table named \"" + o.table + "\" in " + sourceLabel(o) +
                        " (rowquill-cli tables lists them)");
            db.read(name, sink);
        } else {
            db.query(o.sql, sink);
        }
    } catch (const DatabaseError& e) {
        failure(e.what());
    }
    line.clear();
    warnings = sink.warnings();
    return sheet;
}

// The layout: a layout file or the sheet's default layout, then the prolog and
// root attributes the options ask for.
void buildLayout(LayoutTree& tree, const DataSheet& sheet, const Options& o) {
    if (!o.layout.empty()) {
        try {
            loadLayoutFile(o.layout, tree, &sheet);
        } catch (const LayoutFileError& e) {
            failure(std::string("bad layout file: ") + e.what());
        }
    } else {
        buildDefaultLayout(tree, sheet);
    }
    if (!o.xslt.empty()) assignProlog(tree, kAssignXslt, true, o.xslt);
    if (!o.css.empty()) assignProlog(tree, kAssignCss, true, o.css);
    if (!o.dtd.empty()) assignProlog(tree, kAssignDtd, true, o.dtd);
    std::vector<RootAttribute> rows;
    if (o.schemaNamespace) rows = schemaRows(*o.schemaNamespace, *o.schemaLocation);
    for (const auto& a : o.rootAttributes) {
        std::size_t eq = a.find('=');
        if (eq == std::string::npos) usage("--root-attribute needs NAME=VALUE, not \"" + a + "\"");
        std::string name = cleanTagName(a.substr(0, eq));
        if (name.empty()) usage("\"" + a.substr(0, eq) + "\" is not a usable attribute name");
        if (!isUniqueAttributeName(rows, name))
            usage("the root attribute " + name + " is given twice");
        rows.push_back({name, a.substr(eq + 1)});
    }
    if (!rows.empty()) applyRootAttributes(tree, rows);
}

// ---- commands ----------------------------------------------------------------------

int listTables(const Options& o) {
    auto db = openSource(o);
    std::vector<CatalogEntry> list;
    try {
        list = listedCatalog(*db);
    } catch (const DatabaseError& e) {
        failure(e.what());
    }
    for (const auto& e : list) std::cout << e.name << (e.marker == 1 ? " (query)" : "") << '\n';
    std::cout.flush();
    if (!std::cout) failure("cannot write the table list");
    return 0;
}

// A heading, then one "  NAME  TEXT" line per entry with the texts lined up,
// or "  (none)".
void writeSection(std::ostream& out, const std::string& heading,
                  const std::vector<std::pair<std::string, std::string>>& entries) {
    out << heading << ":\n";
    if (entries.empty()) out << "  (none)\n";
    std::size_t width = 0;
    for (const auto& e : entries) width = std::max(width, e.first.size());
    for (const auto& [name, text] : entries) {
        out << "  " << name;
        if (!text.empty()) out << std::string(width - name.size() + 2, ' ') << text;
        out << '\n';
    }
}

int listSources() {
    std::vector<std::pair<std::string, std::string>> user, system, drivers;
    for (const auto& s : odbcDataSources())
        (s.system ? system : user).push_back({s.name, s.driver});
    for (const auto& d : odbcDrivers()) {
        std::string description;
        for (const auto& a : d.attributes)
            if (a.size() > 12 &&
                std::equal(a.begin(), a.begin() + 12, "Description=", [](char x, char y) {
                    return std::tolower(static_cast<unsigned char>(x)) == std::tolower(y);
                }))
                description = a.substr(12);
        drivers.push_back({d.name, description});
    }
    writeSection(std::cout, "User data sources", user);
    writeSection(std::cout, "System data sources", system);
    writeSection(std::cout, "Drivers", drivers);
    std::cout.flush();
    if (!std::cout) failure("cannot write the list of data sources");
    return 0;
}

void convertSingle(LayoutTree& tree, const DataSheet& sheet, const Options& o, ProgressLine& line) {
    WorkingTable work;
    tidyLayout(tree, work);
    AtomicFile file;
    if (!file.open(o.output)) failure(file.error());
    bool ok = true;
    std::string bytes;
    ChunkSink sink = [&](std::string& chunk) {
        if (ok && o.convertSymbols) {
            ok = file.write(chunk);
        } else if (ok) {
            bytes.clear();
            appendDocumentBytes(bytes, chunk, false);
            ok = file.write(bytes);
        }
        chunk.clear();
    };
    RecordProgress progress;
    const int step = std::max(1, (sheet.rows() - 1) / 100);
    if (line.enabled())
        progress = [&](int i, int n) {
            if (i % step == 0 || i == n) line.show(completingRowText(i, n));
        };
    std::string out;
    out.reserve(1 << 21);
    writeDocument(tree, work, sheet, 1, sheet.rows() - 1, out, sink, progress);
    line.clear();
    if (!ok || !file.write("\r\n") || !file.commit()) failure(file.error());
}

void convertSplit(LayoutTree& tree, const DataSheet& sheet, const Options& o, ProgressLine& line) {
    if (!isFolderEmpty(o.output))
        failure("The Folder " + o.output +
                " is not empty. Please choose a different folder or name.");
    // The files are written into a hidden folder beside the output and renamed
    // into place at the end: an interrupted run leaves nothing that looks done.
    AtomicFolder folder;
    if (!folder.open(o.output)) failure(folder.error());
    WorkingTable work;
    tidyLayout(tree, work);
    SplitProgress progress;
    if (line.enabled())
        progress.file = [&](int k, int total, double, const std::string& status) {
            if (k % 100 == 0 || k == total) line.show(status);
        };
    try {
        writeSeparateFiles(tree, work, sheet, o.split, folder.path(), o.convertSymbols, progress);
    } catch (const std::runtime_error& e) {
        failure(e.what());
    }
    if (!folder.commit()) failure(folder.error());
    line.clear();
}

int run(const Options& o) {
    if (o.command == "sources") return listSources();
    if (o.command == "tables") return listTables(o);
    ProgressLine line;
    auto db = openSource(o);
    std::vector<std::string> warnings;
    DataSheet sheet = loadSheet(*db, o, line, warnings);
    db.reset();
    if (o.command != "layout") reportWarnings(warnings, o);
    if (o.command == "export") {
        ExportProgress progress;
        const int step = std::max(1, (sheet.rows() - 1) / 100);
        int r = 0;
        if (line.enabled())
            progress = [&](double, const std::string& status) {
                if (++r % step == 0) line.show(status);
            };
        AtomicFile f;
        if (!f.open(o.output)) failure(f.error());
        bool ok = true;
        csvExportChunks(
            sheet,
            [&](std::string& chunk) {
                ok = ok && f.write(chunk);
                chunk.clear();
            },
            progress);
        line.clear();
        if (!ok || !f.write("\r\n") || !f.commit()) failure(f.error());
        return 0;
    }
    LayoutTree tree;
    buildLayout(tree, sheet, o);
    if (o.command == "layout") {
        std::string error;
        if (!saveLayoutFile(o.output, tree, &error)) failure(error);
        return 0;
    }
    if (o.split)
        convertSplit(tree, sheet, o, line);
    else
        convertSingle(tree, sheet, o, line);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Options o = parseArguments(argc, argv);
        if (o.command == "help") {
            std::cout << kHelp;
            return 0;
        }
        return run(o);
    } catch (const Failure& f) {
        std::cerr << "rowquill-cli: " << oneLine(f.message) << '\n';
        return f.status;
    } catch (const std::exception& e) {
        std::cerr << "rowquill-cli: " << oneLine(e.what()) << '\n';
        return kExitFailure;
    }
}
