// The registry of file database kinds: one row per kind, read by the window's
// Open menu and open dialogs, by openFileDatabase() and by the command line.
// Adding a kind means its reader folder and one row in kinds.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "datasource/database.h"

namespace rq {

struct Kind;

// What a recogniser sees of a file: its path, its first bytes and its size.
struct ContentProbe {
    std::string path;
    std::string_view head;  // up to kProbeBytes
    std::uintmax_t size = 0;
};

inline constexpr std::size_t kProbeBytes = 4096;

struct Kind {
    std::string connect;             // connect string of the Open menu: "Dbase IV;"
    std::vector<std::string> names;  // plain names for the command line; the first is the main one
    // Kinds of one family read the same files alike ("dbf": every dBase and FoxPro
    // version); a file whose content names another family is opened as that one.
    std::string family;
    // The Open menu: the submenu holding the item (empty: the Open menu itself),
    // and the item. Object names stay stable for tests.
    std::string menuGroupObject, menuGroupCaption;
    std::string menuObject, menuCaption;
    // The open dialog.
    std::string dialogTitle;
    std::string dialogFilter;  // "Description|pattern"
    // Extensions of the files that are tables (lower case, with the dot); the
    // first is the one a renamed file is given when it is opened.
    std::vector<std::string> extensions;
    // True when the database is the folder holding the chosen file.
    bool folder = true;
    // True when the kind is the one chosen for a file recognised by content
    // (among the kinds of one family, only one answers).
    bool recognisesContent = false;
    bool (*recognise)(const ContentProbe&) = nullptr;
    // Opens the database: the file itself, or the folder for folder kinds.
    std::unique_ptr<Database> (*open)(const Kind&, const std::string& database,
                                      const OpenOptions&) = nullptr;
};

// Every kind, in the order of the Open menu.
const std::vector<Kind>& fileKinds();

// The kind of a connect string (exact comparison) or of a plain name (any
// letter case); nullptr when there is none.
const Kind* kindByConnect(const std::string& connect);
const Kind* kindByName(const std::string& nameOrConnect);

// The kind a file's content shows, nullptr when no recogniser knows it. Reads
// at most kProbeBytes of the file.
const Kind* recogniseContent(const std::string& path);

// The kind its extension (or the name FILE.DDF) suggests, nullptr when unknown.
const Kind* kindByExtension(const std::string& path);

// True when writing output would replace a file the source reads: the
// database file itself, or a table, memo, blob, schema or data file of the
// folder the source reads. Links and hard links are followed on both sides;
// an output that does not exist yet replaces nothing.
bool outputIsSourceFile(const std::string& connect, const std::string& chosenFile,
                        const std::string& output);

// The main plain names of every kind, "a, b, c", for help texts and messages.
std::string kindNameList();

// Wraps a database so that the given temporary folder is removed when it is
// closed. Each first text of shownAs (a temporary path) is shown as the
// second in its name, errors and warnings.
std::unique_ptr<Database> withTemporaryFolder(
    std::unique_ptr<Database> db, std::string folder,
    std::vector<std::pair<std::string, std::string>> shownAs = {});

// A new private folder under the system's temporary folder; throws
// DatabaseError when none can be made.
std::string makeTemporaryFolder(const std::string& prefix);

}  // namespace rq
