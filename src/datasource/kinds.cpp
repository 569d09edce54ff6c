#include "datasource/kinds.h"

#include <stdlib.h>

#include <cctype>
#include <filesystem>
#include <fstream>

#include "datasource/kindcontent.h"
#include "datasource/readers.h"

namespace rq {

namespace {

namespace fs = std::filesystem;

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// ---- open functions -----------------------------------------------------------

std::unique_ptr<Database> openAccess(const Kind&, const std::string& db, const OpenOptions& o) {
    return openAccessDatabase(db, o);
}
std::unique_ptr<Database> openDbf(const Kind&, const std::string& db, const OpenOptions& o) {
    return openDbaseFolder(db, o);
}
std::unique_ptr<Database> openParadox(const Kind&, const std::string& db, const OpenOptions& o) {
    return openParadoxFolder(db, o);
}
std::unique_ptr<Database> openExcel(const Kind&, const std::string& db, const OpenOptions& o) {
    return openExcelWorkbook(db, o);
}
std::unique_ptr<Database> openLotus(const Kind& k, const std::string& db, const OpenOptions& o) {
    return openLotusFolder(db, k.extensions, o);
}
std::unique_ptr<Database> openBtrieve(const Kind&, const std::string& db, const OpenOptions& o) {
    return openBtrieveDictionary(db, o);
}
std::unique_ptr<Database> openText(const Kind&, const std::string& db, const OpenOptions& o) {
    return openTextFolder(db, o);
}

Kind dbaseKind(std::string connect, std::vector<std::string> names, std::string object,
               std::string caption, bool main) {
    return {std::move(connect),
            std::move(names),
            "dbf",
            "mnuDBOdBASE",
            "&Dbase",
            std::move(object),
            std::move(caption),
            "Open Dbase Database",
            "Dbase DBs (*.dbf)|*.dbf",
            {".dbf"},
            true,
            main,
            main ? &isDbaseTable : nullptr,
            &openDbf};
}

Kind foxProKind(std::string connect, std::vector<std::string> names, std::string object,
                std::string caption, bool main) {
    return {std::move(connect),
            std::move(names),
            "dbf",
            "mnuDBOFoxPro",
            "&FoxPro",
            std::move(object),
            std::move(caption),
            "Open FoxPro Database",
            "FoxPro DBs (*.dbf)|*.dbf",
            {".dbf"},
            true,
            main,
            main ? &isFoxProTable : nullptr,
            &openDbf};
}

Kind lotusKind(const std::string& n, std::vector<std::string> extensions,
               bool (*recognise)(const ContentProbe&)) {
    const std::string upper = "WK" + n;
    // Each release is a family of its own: the release decides which files
    // the folder lists.
    return {"Lotus " + upper + ";",
            {"lotus-wk" + n},
            "lotus-wk" + n,
            "mnulotwk",
            "&Lotus",
            "mnulotwk" + n,
            "Lotus " + upper,
            "Open Lotus Database",
            "Lotus " + upper + " (*.wk" + n + ")|*.wk" + n,
            std::move(extensions),
            true,
            true,
            recognise,
            &openLotus};
}

Kind paradoxKind(std::string connect, std::vector<std::string> names, std::string object,
                 std::string caption, bool main) {
    return {std::move(connect),
            std::move(names),
            "paradox",
            "mnuDBOParadox",
            "&Paradox",
            std::move(object),
            std::move(caption),
            "Open Paradox Database",
            "Paradox DBs (*.db)|*.db",
            {".db"},
            true,
            main,
            main ? &isParadoxTable : nullptr,
            &openParadox};
}

std::vector<Kind> buildKinds() {
    std::vector<Kind> k;
    k.push_back({"Microsoft Access",
                 {"access"},
                 "access",
                 "",
                 "",
                 "mnuDBOMDB",
                 "&Microsoft Access...",
                 "Open Microsoft Access Database",
                 "Microsoft Access MDBs (*.mdb)|*.mdb",
                 {".mdb", ".accdb"},
                 false,
                 true,
                 &isJetDatabase,
                 &openAccess});
    k.push_back(dbaseKind("Dbase 5.0;", {"dbase-5"}, "mnuDBOdBASE5", "&5.0...", false));
    k.push_back(dbaseKind("Dbase IV;", {"dbase", "dbase-4"}, "mnuDBOdBASE4", "I&V...", true));
    k.push_back(dbaseKind("Dbase III;", {"dbase-3"}, "mnuDBOdBASE3", "&III...", false));
    k.push_back(foxProKind("FoxPro 3.0;", {"foxpro", "foxpro-3"}, "mnuDBOFox30", "&3.0...", true));
    k.push_back(foxProKind("FoxPro 2.6;", {"foxpro-2.6"}, "mnuDBOFox26", "2.&6...", false));
    k.push_back(foxProKind("FoxPro 2.5;", {"foxpro-2.5"}, "mnuDBOFox25", "2.&5...", false));
    k.push_back(foxProKind("FoxPro 2.0;", {"foxpro-2.0"}, "mnuDBOFox20", "2.&0...", false));
    k.push_back(lotusKind("1", {".wk1", ".wks"}, &isLotusWk1));
    k.push_back(lotusKind("3", {".wk3"}, &isLotusWk3));
    k.push_back(lotusKind("4", {".wk4", ".123"}, &isLotusWk4));
    k.push_back(
        paradoxKind("Paradox 5.X;", {"paradox", "paradox-5"}, "mnuDBOParadox5", "&5.0...", true));
    k.push_back(paradoxKind("Paradox 4.X;", {"paradox-4"}, "mnuDBOParadox4", "&4.X...", false));
    k.push_back(paradoxKind("Paradox 3.X;", {"paradox-3"}, "mnuDBOParadox3", "&3.X...", false));
    // The dictionary FILE.DDF is the database; a name without a dot is a whole file name.
    k.push_back({"Btrieve;",
                 {"btrieve"},
                 "btrieve",
                 "",
                 "",
                 "mnuDBOBtrieve",
                 "&Btrieve...",
                 "Open Btrieve Database",
                 "Btrieve DBs (FILE.DDF)|FILE.DDF",
                 {"file.ddf"},
                 false,
                 true,
                 &isBtrieveDictionary,
                 &openBtrieve});
    k.push_back({"Excel 8.0;",
                 {"excel"},
                 "excel",
                 "",
                 "",
                 "mnuDBOExcel",
                 "&Excel...",
                 "Open Excel File",
                 "Excel Files (*.xls)|*.xls",
                 {".xls"},
                 false,
                 true,
                 &isCompoundFile,
                 &openExcel});
    k.push_back({"Text;",
                 {"text"},
                 "text",
                 "",
                 "",
                 "mnuDBOText",
                 "&Text Files...",
                 "Open Text Database",
                 "Text Files (*.txt)|*.txt",
                 {".txt", ".csv", ".tab", ".asc"},
                 true,
                 true,
                 nullptr,
                 &openText});
    return k;
}

// The text with each first string of the pairs replaced by the second.
std::string replaceAll(std::string text,
                       const std::vector<std::pair<std::string, std::string>>& pairs) {
    for (const auto& [from, to] : pairs)
        for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
            text.replace(at, from.size(), to);
    return text;
}

// A database read through a temporary folder, removed when it is closed.
// Messages name what the user gave, not the temporary paths.
class TemporaryFolderDatabase : public Database {
  public:
    TemporaryFolderDatabase(std::unique_ptr<Database> inner, std::string folder,
                            std::vector<std::pair<std::string, std::string>> shownAs)
        : inner_(std::move(inner)), folder_(std::move(folder)), shownAs_(std::move(shownAs)) {}
    ~TemporaryFolderDatabase() override {
        inner_.reset();
        std::error_code ec;
        fs::remove_all(folder_, ec);
    }
    std::string name() const override { return shown(inner_->name()); }
    std::vector<CatalogEntry> catalog() override {
        return guarded([&] { return inner_->catalog(); });
    }
    std::vector<Field> fields(const std::string& t) override {
        return guarded([&] { return inner_->fields(t); });
    }
    void read(const std::string& t, RecordSink& sink) override {
        ShownSink shownSink(*this, sink);
        guarded([&] { inner_->read(t, shownSink); });
    }
    void query(const std::string& statement, RecordSink& sink) override {
        ShownSink shownSink(*this, sink);
        guarded([&] { inner_->query(statement, shownSink); });
    }
    std::string storedQuerySql(const std::string& n) override { return inner_->storedQuerySql(n); }

  private:
    // Passes everything on, warnings with the paths the user knows.
    struct ShownSink : RecordSink {
        ShownSink(const TemporaryFolderDatabase& db, RecordSink& to) : db_(db), to_(to) {}
        void begin(const std::vector<Field>& fields) override { to_.begin(fields); }
        void row(const std::string_view* cells, std::size_t n) override { to_.row(cells, n); }
        void end() override { to_.end(); }
        void warning(const std::string& text) override { to_.warning(db_.shown(text)); }
        const TemporaryFolderDatabase& db_;
        RecordSink& to_;
    };

    std::string shown(const std::string& text) const { return replaceAll(text, shownAs_); }

    template <class F>
    auto guarded(F f) -> decltype(f()) {
        try {
            return f();
        } catch (const DatabaseError& e) {
            throw DatabaseError(shown(e.what()), e.code());
        }
    }

    std::unique_ptr<Database> inner_;
    std::string folder_;
    std::vector<std::pair<std::string, std::string>> shownAs_;
};

bool hasExtension(const Kind& kind, const fs::path& file) {
    const std::string ext = lower(file.extension().string());
    const std::string name = lower(file.filename().string());
    for (const auto& e : kind.extensions)
        if (e.front() == '.' ? e == ext : e == name) return true;
    return false;
}

// A file of a folder kind whose name does not say its kind: the file (and its
// companions, files of the same base name) is seen through links with the
// kind's extension in a private folder.
std::unique_ptr<Database> openRenamedFile(const Kind& kind, const fs::path& file,
                                          const OpenOptions& options) {
    const std::string folder = makeTemporaryFolder("rowquill-open-");
    std::error_code ec;
    const fs::path source = fs::absolute(file, ec);
    const std::string stem = source.stem().string();
    fs::create_symlink(source, fs::path(folder) / (stem + kind.extensions.front()), ec);
    std::error_code dirEc;
    for (fs::directory_iterator it(source.parent_path(), dirEc), end; !dirEc && it != end;
         it.increment(dirEc)) {
        const fs::path other = it->path();
        if (other.filename() == source.filename() || hasExtension(kind, other)) continue;
        if (lower(other.stem().string()) != lower(stem)) continue;
        std::error_code linkEc;
        fs::create_symlink(other, fs::path(folder) / (stem + lower(other.extension().string())),
                           linkEc);
    }
    if (ec) {
        fs::remove_all(folder, ec);
        throw DatabaseError("'" + file.string() + "' cannot be read: " + ec.message() + ".");
    }
    const std::vector<std::pair<std::string, std::string>> shownAs = {
        {folder + "/" + stem + kind.extensions.front(), file.string()},
        {folder, source.parent_path().string()}};
    try {
        return withTemporaryFolder(kind.open(kind, folder, options), folder, shownAs);
    } catch (const DatabaseError& e) {
        fs::remove_all(folder, ec);
        throw DatabaseError(replaceAll(e.what(), shownAs), e.code());
    } catch (...) {
        fs::remove_all(folder, ec);
        throw;
    }
}

}  // namespace

const std::vector<Kind>& fileKinds() {
    static const std::vector<Kind> kinds = buildKinds();
    return kinds;
}

const Kind* kindByConnect(const std::string& connect) {
    for (const auto& k : fileKinds())
        if (k.connect == connect) return &k;
    return nullptr;
}

const Kind* kindByName(const std::string& nameOrConnect) {
    if (const Kind* k = kindByConnect(nameOrConnect)) return k;
    const std::string wanted = lower(nameOrConnect);
    for (const auto& k : fileKinds())
        for (const auto& n : k.names)
            if (n == wanted) return &k;
    return nullptr;
}

const Kind* recogniseContent(const std::string& path) {
    std::error_code ec;
    if (!fs::is_regular_file(path, ec)) return nullptr;
    std::ifstream in(path, std::ios::binary);
    if (!in) return nullptr;
    std::string head(kProbeBytes, '\0');
    in.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    const ContentProbe probe{path, head, fs::file_size(path, ec)};
    for (const auto& k : fileKinds())
        if (k.recognisesContent && k.recognise && k.recognise(probe)) return &k;
    return nullptr;
}

const Kind* kindByExtension(const std::string& path) {
    const fs::path p(path);
    const Kind* found = nullptr;
    for (const auto& k : fileKinds())
        if (hasExtension(k, p) && (!found || (k.recognisesContent && !found->recognisesContent)))
            found = &k;
    return found;
}

std::string kindNameList() {
    std::string out;
    for (const auto& k : fileKinds())
        for (const auto& n : k.names) out += (out.empty() ? "" : ", ") + n;
    return out;
}

std::unique_ptr<Database> withTemporaryFolder(
    std::unique_ptr<Database> db, std::string folder,
    std::vector<std::pair<std::string, std::string>> shownAs) {
    return std::make_unique<TemporaryFolderDatabase>(std::move(db), std::move(folder),
                                                     std::move(shownAs));
}

std::string makeTemporaryFolder(const std::string& prefix) {
    std::error_code ec;
    fs::path base = fs::temp_directory_path(ec);
    if (ec) base = "/tmp";
    std::string templ = (base / (prefix + "XXXXXX")).string();
    if (!::mkdtemp(templ.data()))
        throw DatabaseError("A temporary folder cannot be made in " + base.string() + ".");
    return templ;
}

// ---- the entry points of database.h that read the registry ----------------------

bool isKnownConnectString(const std::string& c) {
    return kindByConnect(c) != nullptr;
}

std::string databaseNameFor(const std::string& connect, const std::string& chosenFile) {
    const Kind* kind = kindByConnect(connect);
    if (kind && !kind->folder) return chosenFile;
    // A folder chosen as the source is the database itself.
    std::error_code ec;
    if (fs::is_directory(chosenFile, ec)) return chosenFile;
    std::string parent = fs::path(chosenFile).parent_path().string();
    return parent.empty() ? std::string(".") : parent;
}

std::string connectStringForPath(const std::string& path) {
    std::error_code ec;
    if (fs::is_directory(path, ec)) return "Text;";
    const Kind* byName = kindByExtension(path);
    const Kind* byContent = recogniseContent(path);
    // The content decides when it contradicts the name; within one family the
    // name's kind stays (a .dbf is opened as "Dbase IV;" whatever its version).
    if (byContent && (!byName || byName->family != byContent->family)) return byContent->connect;
    return byName ? byName->connect : std::string();
}

std::unique_ptr<Database> openFileDatabase(const std::string& connect,
                                           const std::string& chosenFile,
                                           const OpenOptions& options) {
    const Kind* kind = kindByConnect(connect);
    if (!kind) throw DatabaseError("Unknown database kind \"" + connect + "\".");
    const std::string dbName = databaseNameFor(connect, chosenFile);
    std::error_code ec;
    if (!fs::exists(chosenFile, ec) && !fs::exists(dbName, ec))
        throw DatabaseError("Could not find file '" + chosenFile + "'.");
    if (kind->folder && fs::is_regular_file(chosenFile, ec) && !hasExtension(*kind, chosenFile))
        return openRenamedFile(*kind, chosenFile, options);
    return kind->open(*kind, dbName, options);
}

bool outputIsSourceFile(const std::string& connect, const std::string& chosenFile,
                        const std::string& output) {
    namespace fs = std::filesystem;
    std::error_code ec;
    if (output.empty() || output == "-" || !fs::exists(output, ec)) return false;
    const fs::path database = databaseNameFor(connect, chosenFile);
    if (fs::equivalent(database, output, ec)) return true;
    const Kind* kind = kindByConnect(connect);
    if (!kind) return false;
    // The folder whose files the source reads: the database folder, or the
    // folder of the Btrieve dictionary, whose data files stand beside it.
    fs::path folder;
    std::vector<std::string> read = kind->extensions;
    if (kind->folder) {
        folder = database;
        for (const char* companion : {".dbt", ".fpt", ".mb", ".ini", ".px"})
            read.emplace_back(companion);
    } else if (kind->family == "btrieve") {
        folder = database.parent_path();
        for (const char* data : {".ddf", ".dat", ".btr", ".idx"}) read.emplace_back(data);
    } else {
        return false;
    }
    const fs::path target = fs::weakly_canonical(output, ec);
    if (ec || !fs::equivalent(target.parent_path(), folder.empty() ? "." : folder, ec))
        return false;
    std::string name = target.filename().string(), ext = target.extension().string();
    for (auto* s : {&name, &ext})
        for (char& c : *s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const std::string& e : read)
        if (e == ext || e == name) return true;
    return false;
}

}  // namespace rq
