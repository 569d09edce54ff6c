// Text checks that keep a statement or a connection string from doing more
// than reading: one statement per request, names that cannot close their
// quoting, connection strings the driver manager takes whole, and SQLite files
// that must exist before a driver would create them.
#include <sys/stat.h>

#include <cctype>
#include <cerrno>
#include <cstring>

#include "datasource/database.h"
#include "datasource/odbc/odbcsource.h"

namespace rq {

namespace {

// How one dialect of SQL might read the text. The servers differ on these
// points, so a statement is taken as one statement only when every reading agrees.
struct Reading {
    bool backslashEscapes;  // "\'" inside a literal does not end it
    bool comments;          // "--" and "/* */" start comments
    bool brackets;          // "[...]" is a quoted identifier
};

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}

// True when a ";" outside literals, quoted identifiers and comments is
// followed by anything but blanks.
bool hasSecondStatement(std::string_view s, Reading reading) {
    const std::size_t n = s.size();
    std::size_t i = 0;
    while (i < n) {
        const char c = s[i];
        if (c == '\'' || c == '"' || c == '`' || (reading.brackets && c == '[')) {
            const char close = c == '[' ? ']' : c;
            std::size_t j = i + 1;
            while (j < n && s[j] != close) {
                if (reading.backslashEscapes && c != '[' && s[j] == '\\') ++j;
                ++j;
            }
            // A doubled quote closes one literal and opens the next: same result.
            i = j + 1;
        } else if (reading.comments && c == '-' && i + 1 < n && s[i + 1] == '-') {
            std::size_t end = s.find('\n', i + 2);
            if (end == std::string_view::npos) return false;
            i = end + 1;
        } else if (reading.comments && c == '/' && i + 1 < n && s[i + 1] == '*') {
            std::size_t end = s.find("*/", i + 2);
            if (end == std::string_view::npos) return false;
            i = end + 2;
        } else if (c == ';') {
            for (std::size_t k = i + 1; k < n; ++k)
                if (!isBlank(s[k])) return true;
            return false;
        } else {
            ++i;
        }
    }
    return false;
}

bool containsIgnoringCase(std::string_view text, std::string_view part) {
    if (part.size() > text.size()) return false;
    for (std::size_t i = 0; i + part.size() <= text.size(); ++i) {
        std::size_t k = 0;
        while (k < part.size() && std::tolower(static_cast<unsigned char>(text[i + k])) ==
                                      std::tolower(static_cast<unsigned char>(part[k])))
            ++k;
        if (k == part.size()) return true;
    }
    return false;
}

}  // namespace

bool holdsOneStatement(std::string_view statement) {
    for (int variant = 0; variant < 8; ++variant) {
        Reading reading{(variant & 1) != 0, (variant & 2) != 0, (variant & 4) != 0};
        if (hasSecondStatement(statement, reading)) return false;
    }
    return true;
}

std::string quoteIdentifier(std::string_view name, std::string_view quote) {
    std::string open(quote.empty() || quote == "[" ? "[" : quote);
    std::string close(open == "[" ? "]" : open);
    std::string out = open;
    for (std::size_t k = 0; k < name.size();) {
        if (name.compare(k, close.size(), close) == 0) {
            out += close;
            out += close;
            k += close.size();
        } else {
            out += name[k++];
        }
    }
    return out + close;
}

bool usesSqliteOnlyToRead(std::string_view statement) {
    // Words outside string literals, compared without regard to case. Quoted
    // names are words too: SQLite calls a function named "load_extension".
    const std::size_t n = statement.size();
    std::size_t i = 0;
    while (i < n) {
        const char c = statement[i];
        if (c == '\'') {
            std::size_t end = statement.find('\'', i + 1);
            i = end == std::string_view::npos ? n : end + 1;
            continue;
        }
        auto isWordChar = [](char ch) {
            return std::isalnum(static_cast<unsigned char>(ch)) || ch == '_' || ch == '$' ||
                   (static_cast<unsigned char>(ch) & 0x80);
        };
        if (!isWordChar(c)) {
            ++i;
            continue;
        }
        std::size_t end = i;
        while (end < n && isWordChar(statement[end])) ++end;
        std::string_view word = statement.substr(i, end - i);
        // Loading a library runs its code; attaching a file creates it when missing.
        if (containsIgnoringCase(word, "load_extension") ||
            (word.size() == 6 && containsIgnoringCase(word, "attach")))
            return false;
        i = end;
    }
    return true;
}

void checkConnectionStringLength(std::string_view connectionString) {
    if (connectionString.size() > kMaxOdbcConnectionStringBytes)
        throw DatabaseError("The connection string is " + std::to_string(connectionString.size()) +
                            " bytes long; the ODBC driver manager takes at most " +
                            std::to_string(kMaxOdbcConnectionStringBytes) + ".");
    if (connectionString.find('\0') != std::string_view::npos)
        throw DatabaseError("The connection string contains a NUL character.");
}

bool isSqliteDriver(std::string_view driverName, std::string_view driverLibrary) {
    return containsIgnoringCase(driverName, "sqlite") ||
           containsIgnoringCase(driverLibrary, "sqlite");
}

std::string sqliteDatabasePath(std::string_view connectionString) {
    std::string path = connectionAttribute(connectionString, "Database");
    if (path.empty() || path == ":memory:") return {};
    if (path.rfind("file:", 0) == 0) {
        // A URI: the path ends where its query begins; an authority is skipped.
        path = path.substr(5, path.find_first_of("?#", 5) - 5);
        if (path.rfind("//", 0) == 0) {
            std::size_t slash = path.find('/', 2);
            path = slash == std::string::npos ? std::string() : path.substr(slash);
        }
        if (path.empty() || path == ":memory:") return {};
    }
    return path;
}

void checkSqliteDatabaseExists(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) return;
    const int error = errno;
    if (error == ENOENT || error == ENOTDIR)
        throw DatabaseError("The SQLite database " + path + " does not exist.");
    throw DatabaseError("Cannot reach the SQLite database " + path + ": " + std::strerror(error));
}

}  // namespace rq
