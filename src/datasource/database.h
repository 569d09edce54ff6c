// The opened database: the one interface every reader and the ODBC source implement.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace rq {

// Field type codes of the classic desktop engine (file databases).
enum FieldType : int {
    kBoolean = 1,
    kByte = 2,
    kInteger = 3,
    kLong = 4,
    kCurrency = 5,
    kSingle = 6,
    kDouble = 7,
    kDateTime = 8,
    kBinary = 9,
    kText = 10,
    kLongBinary = 11,
    kMemo = 12,
    kGuid = 15,
    kBigInt = 16,
    kDecimal = 20,
};

struct Field {
    std::string name;
    int type = kText;  // engine code (file databases) or ADO code (ODBC)
};

// One entry of the table list: marker 0 for a table, 1 for a stored query.
struct CatalogEntry {
    std::string name;
    int marker = 0;
    bool operator==(const CatalogEntry&) const = default;
};

// A value a stored query asks for when it runs ("[Beginning Date]"), with the
// field type code it is declared with (kText when it is not declared).
struct QueryParameter {
    std::string name;
    int type = kText;
    bool operator==(const QueryParameter&) const = default;
};

// Values for the parameters of stored queries: name (as declared, matched
// without regard to case) and the value as the user typed it.
using ParameterValues = std::vector<std::pair<std::string, std::string>>;

// Error codes the callers treat specially.
enum DatabaseErrorCode : int {
    kErrGeneric = 0,
    kErrPasswordRequired = 3031,  // wrong or missing database password
    kErrUnrecognisedFormat = 3343,
    kErrParameterMissing = 3061,  // a stored query's parameter has no value
    kErrNotBuilt = 1,             // a kind whose reader does not exist
};

class DatabaseError : public std::runtime_error {
  public:
    explicit DatabaseError(const std::string& message, int code = kErrGeneric)
        : std::runtime_error(message), code_(code) {}
    int code() const { return code_; }

  private:
    int code_;
};

// Receives a record set: the fields once, then one call per record. The views
// passed to row() are valid only during the call. An empty view is a null or
// empty value; both become an empty cell.
class RecordSink {
  public:
    virtual ~RecordSink() = default;
    virtual void begin(const std::vector<Field>& fields) = 0;
    virtual void row(const std::string_view* cells, std::size_t count) = 0;
    virtual void end() {}
    // A problem met while reading that did not stop the read: a file shorter
    // than its header says ("8 of 16 records read"), a missing memo or blob
    // file (named), a value that could not be decoded. Readers call it as many
    // times as they find problems; the read goes on.
    virtual void warning(const std::string& /*text*/) {}
};

class Database {
  public:
    virtual ~Database() = default;

    // The database name handed to the engine: the file (Access, Excel, Btrieve)
    // or the folder (dBase, FoxPro, Paradox, Lotus, text).
    virtual std::string name() const = 0;

    // Tables (marker 0) then stored queries (marker 1), each group in the
    // database's own order. Readers return every name; the caller filters with
    // isListedName().
    virtual std::vector<CatalogEntry> catalog() = 0;

    // Fields of a table or stored query.
    virtual std::vector<Field> fields(const std::string& table) = 0;

    // All records of a table or stored query, values as text.
    virtual void read(const std::string& table, RecordSink& sink) = 0;

    // Runs a statement. File databases run it through the SQL engine over
    // their tables; ODBC sources hand it to the driver.
    virtual void query(const std::string& statement, RecordSink& sink);

    // The SQL text of a stored query, empty when the database has none by that name.
    // With the parameters replaced by the values given with
    // setParameterValues(); throws DatabaseError(kErrParameterMissing) when one
    // has none.
    virtual std::string storedQuerySql(const std::string& /*name*/) { return {}; }

    // The parameters a stored query asks for, its own and those of the stored
    // queries it uses, each once, in the order they are met.
    virtual std::vector<QueryParameter> storedQueryParameters(const std::string& /*name*/) {
        return {};
    }

    // Values for stored query parameters, used by every later read and statement.
    void setParameterValues(ParameterValues values) { parameterValues_ = std::move(values); }
    const ParameterValues& parameterValues() const { return parameterValues_; }

  private:
    ParameterValues parameterValues_;
};

// The table-list filter: names whose first four characters upper-cased are
// "MSYS", and names beginning with "~", are not listed.
bool isListedName(std::string_view name);

// catalog() filtered with isListedName().
std::vector<CatalogEntry> listedCatalog(Database& db);

// Options a caller may pass when opening a file database.
struct OpenOptions {
    std::string password;
    int codepage = 0;  // 0: the reader's default (Btrieve: 437)
};

// Opens a file database given the connect string of the open menu ("Microsoft
// Access", "Dbase IV;", "Text;", ...) and the file the user chose. Throws
// DatabaseError: kErrPasswordRequired when a password is needed or wrong,
// kErrUnrecognisedFormat when the file is not a database the reader understands.
std::unique_ptr<Database> openFileDatabase(const std::string& connect,
                                           const std::string& chosenFile,
                                           const OpenOptions& options = {});

// The database name for a connect string and chosen file: the file itself for
// Access, Excel and Btrieve, the folder holding it for every other kind.
std::string databaseNameFor(const std::string& connect, const std::string& chosenFile);

// True for the connect strings of the open menu.
bool isKnownConnectString(const std::string& connect);

// The connect string for a file, guessed from its extension ("" when unknown).
std::string connectStringForPath(const std::string& path);

}  // namespace rq
