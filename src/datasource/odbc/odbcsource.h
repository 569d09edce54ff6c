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
    // "Select * from [" + table + "]", the brackets turned into the driver's quoting.
    void read(const std::string& table, RecordSink& sink) override;
    // The statement with its bracketed identifiers turned into the driver's quoting.
    void query(const std::string& statement, RecordSink& sink) override;

    // The driver's identifier quote character (empty when it has none).
    const std::string& identifierQuote() const { return quote_; }
    // The statement the driver receives for a statement written with brackets.
    std::string driverStatement(const std::string& statement) const;

    void setFetchMode(OdbcFetchMode mode) { fetchMode_ = mode; }
    int loginTimeoutSeconds() const { return loginTimeout_; }

  private:
    friend std::unique_ptr<OdbcSource> openOdbcSource(const std::string&, int);
    OdbcSource() = default;

    std::string connectionString_;
    std::string quote_;
    std::vector<CatalogEntry> catalog_;
    int loginTimeout_ = 5;
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

// The value of a keyword of a connection string ("Driver", "DSN", ...), found
// without regard to case; braces around the value are removed. Empty when absent.
std::string connectionAttribute(std::string_view connectionString, std::string_view key);

// The string to reconnect with: the driver's completed string, given back the
// DRIVER or DSN keyword of the original when the driver left it out (some
// drivers report "DSN=;" and no driver), or the original when the driver
// reported nothing.
std::string reconnectionString(const std::string& original, const std::string& completed);

}  // namespace rq
