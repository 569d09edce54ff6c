// ODBC data sources through the unixODBC driver manager: opening a source with
// a connection string, listing its tables and views, loading a table or the
// result of a statement as text values.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "datasource/database.h"

namespace rq {

// The start of every message about a source that could not be opened.
inline constexpr std::string_view kOdbcOpenErrorPrefix = "Error Opening DataSource: ";

// The longest connection string the driver manager takes (its lengths are 16-bit).
inline constexpr std::size_t kMaxOdbcConnectionStringBytes = 32767;

// Seconds a statement may run before it is stopped, unless set otherwise.
inline constexpr int kDefaultOdbcStatementTimeout = 60;

// The message shown when the user cancels choosing a data source.
std::string odbcCancelledMessage();

// ADO field type codes used for the fields of an ODBC source.
enum AdoType : int {
    kAdoSmallInt = 2,
    kAdoInteger = 3,
    kAdoSingle = 4,
    kAdoDouble = 5,
    kAdoBoolean = 11,
    kAdoTinyInt = 16,
    kAdoUnsignedTinyInt = 17,
    kAdoUnsignedSmallInt = 18,
    kAdoUnsignedInt = 19,
    kAdoBigInt = 20,
    kAdoUnsignedBigInt = 21,
    kAdoGuid = 72,
    kAdoBinary = 128,
    kAdoChar = 129,
    kAdoWChar = 130,
    kAdoNumeric = 131,
    kAdoDBDate = 133,
    kAdoDBTime = 134,
    kAdoDBTimeStamp = 135,
    kAdoVarChar = 200,
    kAdoLongVarChar = 201,
    kAdoVarWChar = 202,
    kAdoLongVarWChar = 203,
    kAdoVarBinary = 204,
    kAdoLongVarBinary = 205,
};

// The ADO type code for an ODBC SQL data type (SQL_INTEGER, SQL_WVARCHAR, ...).
// Types without an ADO counterpart are read as text and reported as 200.
int adoTypeForSqlType(int sqlType, bool isUnsigned);

// How the rows of a result are taken from the driver.
enum class OdbcFetchMode {
    Automatic,   // bound blocks of rows when the driver allows it, else cell by cell
    Bound,       // bound columns, long values completed cell by cell
    CellByCell,  // every value through SQLGetData
};

class OdbcSource : public Database {
  public:
    // The completed connection string the driver reported when the source was opened.
    std::string name() const override { return connectionString_; }
    const std::string& connectionString() const { return connectionString_; }

    // Tables (every kind the driver reports except views) then views, all marker 0,
    // each group in the driver's order.
    std::vector<CatalogEntry> catalog() override { return catalog_; }
    std::vector<Field> fields(const std::string& table) override;
    // "Select * from " and the table's name in the driver's quoting.
    void read(const std::string& table, RecordSink& sink) override;
    // The statement with its bracketed identifiers turned into the driver's
    // quoting. Statements only read: a second statement is refused, and each
    // runs in a transaction that is rolled back (read-only where the driver
    // allows it), so whatever it changed is undone.
    void query(const std::string& statement, RecordSink& sink) override;

    // The driver's identifier quote character (empty when it has none).
    const std::string& identifierQuote() const { return quote_; }
    // The statement the driver receives for a statement written with brackets.
    std::string driverStatement(const std::string& statement) const;

    void setFetchMode(OdbcFetchMode mode) { fetchMode_ = mode; }
    int loginTimeoutSeconds() const { return loginTimeout_; }
    // Seconds a statement may run before it is stopped; 0 for no limit.
    void setStatementTimeout(int seconds) { statementTimeout_ = seconds < 0 ? 0 : seconds; }
    int statementTimeoutSeconds() const { return statementTimeout_; }

  private:
    friend std::unique_ptr<OdbcSource> openOdbcSource(const std::string&, int);
    OdbcSource() = default;
    // Runs one statement in a rolled-back transaction under the time limit.
    void run(const std::string& sql, RecordSink& sink);

    std::string connectionString_;
    std::string quote_;
    std::vector<CatalogEntry> catalog_;
    int loginTimeout_ = 5;
    int statementTimeout_ = kDefaultOdbcStatementTimeout;
    bool sqlite_ = false;  // reached through one of the SQLite drivers
    OdbcFetchMode fetchMode_ = OdbcFetchMode::Automatic;
};

// Connects with the connection string (never prompting), keeps the completed
// connection string, lists the tables and views, and disconnects. Every later
// operation reconnects with the completed string. On failure throws
// DatabaseError with "Error Opening DataSource: " and the driver's diagnostic.
std::unique_ptr<OdbcSource> openOdbcSource(const std::string& connectionString,
                                           int loginTimeoutSeconds = 5);

// A data source name the driver manager knows.
struct OdbcDataSourceEntry {
    std::string name;
    std::string driver;  // the driver's description
    bool system = false;
    bool operator==(const OdbcDataSourceEntry&) const = default;
};

// User data sources, then system data sources, each in the driver manager's order.
std::vector<OdbcDataSourceEntry> odbcDataSources();

// An installed driver with its attributes ("Driver=...", "Setup=...").
struct OdbcDriverEntry {
    std::string name;
    std::vector<std::string> attributes;
};
std::vector<OdbcDriverEntry> odbcDrivers();

// The connection string for a data source name or a driver name.
std::string connectionStringForDataSource(const std::string& dsn);
std::string connectionStringForDriver(const std::string& driver);

// --- Text helpers (no driver involved) ---

// Turns each bracketed identifier "[name]" outside string literals, quoted
// identifiers and comments into quote + name + quote, doubling the quote
// character inside the name. An unmatched "[" and everything after it stay as
// they are. With an empty quote, a blank or "[" the statement is returned unchanged.
std::string translateBrackets(std::string_view statement, std::string_view quote);

// False when a ";" outside literals, quoted identifiers and comments is
// followed by more than blanks. Dialects disagree on backslashes in literals,
// comments and brackets; the statement must be one statement under each reading.
bool holdsOneStatement(std::string_view statement);

// The name between the quote characters, each quote inside it doubled. An
// empty quote or "[" gives "[name]" with "]" doubled.
std::string quoteIdentifier(std::string_view name, std::string_view quote);

// Throws DatabaseError for a connection string the driver manager cannot take
// whole: longer than kMaxOdbcConnectionStringBytes or holding a NUL.
void checkConnectionStringLength(std::string_view connectionString);

// False for statements that reach outside the database through the SQLite
// drivers: calls of load_extension, and ATTACH (which creates a missing file).
bool usesSqliteOnlyToRead(std::string_view statement);

// Whether a driver (its name or its library) is one of the SQLite drivers,
// which create a missing database file instead of failing.
bool isSqliteDriver(std::string_view driverName, std::string_view driverLibrary);
// The file the Database keyword names ("" for none or an in-memory database).
std::string sqliteDatabasePath(std::string_view connectionString);
// Throws DatabaseError "The SQLite database PATH does not exist." when it does not.
void checkSqliteDatabaseExists(const std::string& path);

// The value of a keyword of a connection string ("Driver", "DSN", ...), found
// without regard to case; braces around the value are removed. Empty when absent.
std::string connectionAttribute(std::string_view connectionString, std::string_view key);

// The string to reconnect with: the driver's completed string, given back the
// DRIVER or DSN keyword of the original when the driver left it out (some
// drivers report "DSN=;" and no driver), or the original when the driver
// reported nothing.
std::string reconnectionString(const std::string& original, const std::string& completed);

}  // namespace rq
