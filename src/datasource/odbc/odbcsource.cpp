#include "datasource/odbc/odbcsource.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "datasource/odbc/odbcfetch.h"
#include "datasource/odbc/odbchandle.h"
#include "datasource/odbc/odbctimelimit.h"

namespace rq {

namespace {

// One text column of the current row of a catalog result.
std::string columnText(const odbc::Statement& statement, SQLUSMALLINT column) {
    std::vector<char> buffer(512);
    std::string text;
    for (;;) {
        SQLLEN indicator = 0;
        SQLRETURN rc = SQLGetData(statement.get(), column, SQL_C_CHAR, buffer.data(),
                                  static_cast<SQLLEN>(buffer.size()), &indicator);
        if (rc == SQL_NO_DATA || !SQL_SUCCEEDED(rc) || indicator == SQL_NULL_DATA) break;
        std::size_t room = buffer.size() - 1;
        if (indicator != SQL_NO_TOTAL && static_cast<std::size_t>(indicator) <= room) {
            text.append(buffer.data(), static_cast<std::size_t>(indicator));
            break;
        }
        text.append(buffer.data(), room);
        if (text.size() > 65536) break;
    }
    return text;
}

bool isViewType(const std::string& type) {
    if (type.size() != 4) return false;
    return (type[0] | 0x20) == 'v' && (type[1] | 0x20) == 'i' && (type[2] | 0x20) == 'e' &&
           (type[3] | 0x20) == 'w';
}

// Tables of every kind but views, then views, each in the driver's order.
std::vector<CatalogEntry> listTablesAndViews(const odbc::Connection& connection) {
    std::vector<CatalogEntry> tables, views;
    try {
        odbc::Statement statement(connection);
        SQLHSTMT h = statement.get();
        statement.check(SQLTables(h, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0),
                        "list the tables");
        constexpr std::size_t kMaxEntries = 1'000'000;
        while (tables.size() + views.size() < kMaxEntries) {
            SQLRETURN rc = SQLFetch(h);
            if (rc == SQL_NO_DATA || !SQL_SUCCEEDED(rc)) break;
            std::string name = columnText(statement, 3);
            std::string type = columnText(statement, 4);
            if (name.empty()) continue;
            (isViewType(type) ? views : tables).push_back({name, 0});
        }
    } catch (const DatabaseError&) {
        // A source that cannot list its tables still opens, with what was listed.
    }
    tables.insert(tables.end(), views.begin(), views.end());
    return tables;
}

bool sameIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

// Whether the connection string reaches one of the SQLite drivers, named
// directly or through a data source name.
bool usesSqliteDriver(const std::string& connectionString) {
    std::string driver = connectionAttribute(connectionString, "DRIVER");
    if (driver.empty()) {
        std::string dsn = connectionAttribute(connectionString, "DSN");
        if (dsn.empty()) return false;
        for (const auto& source : odbcDataSources())
            if (sameIgnoringCase(source.name, dsn)) {
                driver = source.driver;
                break;
            }
    }
    if (driver.empty()) return false;
    if (isSqliteDriver(driver, "")) return true;
    for (const auto& installed : odbcDrivers()) {
        if (!sameIgnoringCase(installed.name, driver)) continue;
        for (const auto& attribute : installed.attributes)
            if (attribute.rfind("Driver", 0) == 0 && isSqliteDriver("", attribute)) return true;
    }
    return false;
}

// Refuses what must not reach the driver manager: a string it would cut, and a
// SQLite database file that does not exist (the driver would create it empty).
void checkBeforeConnecting(const std::string& connectionString) {
    checkConnectionStringLength(connectionString);
    std::string path = sqliteDatabasePath(connectionString);
    if (!path.empty() && usesSqliteDriver(connectionString)) checkSqliteDatabaseExists(path);
}

const char* const kOneStatementMessage =
    "Only one statement can be run at a time: remove the \";\" and what follows it.";

std::string noRecordsMessage(const odbc::Connection& connection) {
    if (!connection.transactional()) return "The statement returned no records.";
    return "The statement returned no records; it was rolled back, so nothing in the source "
           "was changed.";
}

std::string quoteOf(const odbc::Connection& connection) {
    std::string quote = connection.infoText(SQL_IDENTIFIER_QUOTE_CHAR);
    return quote == " " ? std::string() : quote;
}

}  // namespace

std::unique_ptr<OdbcSource> openOdbcSource(const std::string& connectionString,
                                           int loginTimeoutSeconds) {
    std::unique_ptr<OdbcSource> source(new OdbcSource());
    source->loginTimeout_ = loginTimeoutSeconds;
    try {
        checkBeforeConnecting(connectionString);
        std::string completed;
        odbc::Connection connection(connectionString, loginTimeoutSeconds, &completed);
        source->connectionString_ = reconnectionString(connectionString, completed);
        source->sqlite_ = usesSqliteDriver(source->connectionString_);
        source->quote_ = quoteOf(connection);
        source->catalog_ = listTablesAndViews(connection);
    } catch (const DatabaseError& e) {
        throw DatabaseError(std::string(kOdbcOpenErrorPrefix) + e.what(), e.code());
    }
    return source;
}

std::string OdbcSource::driverStatement(const std::string& statement) const {
    return translateBrackets(statement, quote_);
}

std::vector<Field> OdbcSource::fields(const std::string& table) {
    std::string sql = "Select * from " + quoteIdentifier(table, quote_);
    if (!holdsOneStatement(sql)) throw DatabaseError(kOneStatementMessage);
    checkBeforeConnecting(connectionString_);
    odbc::Connection connection(connectionString_, loginTimeout_);
    connection.beginReadOnly();
    odbc::Statement statement(connection);
    SQLRETURN rc = SQLPrepare(statement.get(), reinterpret_cast<SQLCHAR*>(sql.data()),
                              static_cast<SQLINTEGER>(sql.size()));
    statement.check(rc, "prepare the statement");
    SQLSMALLINT count = 0;
    if (!SQL_SUCCEEDED(SQLNumResultCols(statement.get(), &count)) || count == 0) {
        // Drivers that describe a result only once it exists.
        statement.check(odbc::executeWithTimeLimit(statement, "", statementTimeout_),
                        "run the statement");
    }
    return odbc::describeResult(statement);
}

void OdbcSource::read(const std::string& table, RecordSink& sink) {
    run("Select * from " + quoteIdentifier(table, quote_), sink);
}

void OdbcSource::query(const std::string& statementText, RecordSink& sink) {
    run(driverStatement(statementText), sink);
}

void OdbcSource::run(const std::string& sql, RecordSink& sink) {
    if (!holdsOneStatement(sql)) throw DatabaseError(kOneStatementMessage);
    if (sqlite_ && !usesSqliteOnlyToRead(sql))
        throw DatabaseError("The statement loads a library or attaches a file; it is not run.");
    checkBeforeConnecting(connectionString_);
    odbc::Connection connection(connectionString_, loginTimeout_);
    SQLUINTEGER extensions = connection.infoMask(SQL_GETDATA_EXTENSIONS);
    connection.beginReadOnly();
    odbc::Statement statement(connection);
    SQLRETURN rc = odbc::executeWithTimeLimit(statement, sql, statementTimeout_);
    statement.check(rc, "run the statement");
    SQLSMALLINT columns = 0;
    if (rc == SQL_NO_DATA || !SQL_SUCCEEDED(SQLNumResultCols(statement.get(), &columns)) ||
        columns <= 0)
        throw DatabaseError(noRecordsMessage(connection));
    odbc::fetchResult(statement, sink, fetchMode_, extensions);
    // The connection rolls back whatever the statement did as it closes.
}

std::vector<OdbcDataSourceEntry> odbcDataSources() {
    std::vector<OdbcDataSourceEntry> result;
    SQLHENV env = odbc::environment();
    for (bool system : {false, true}) {
        SQLUSMALLINT direction = system ? SQL_FETCH_FIRST_SYSTEM : SQL_FETCH_FIRST_USER;
        for (int guard = 0; guard < 100000; ++guard) {
            SQLCHAR name[SQL_MAX_DSN_LENGTH * 4 + 1] = {};
            SQLCHAR description[1024] = {};
            SQLSMALLINT nameLength = 0, descriptionLength = 0;
            SQLRETURN rc = SQLDataSources(env, direction, name, sizeof name, &nameLength,
                                          description, sizeof description, &descriptionLength);
            if (!SQL_SUCCEEDED(rc)) break;
            result.push_back({reinterpret_cast<const char*>(name),
                              reinterpret_cast<const char*>(description), system});
            direction = SQL_FETCH_NEXT;
        }
    }
    return result;
}

std::vector<OdbcDriverEntry> odbcDrivers() {
    std::vector<OdbcDriverEntry> result;
    SQLHENV env = odbc::environment();
    SQLUSMALLINT direction = SQL_FETCH_FIRST;
    for (int guard = 0; guard < 100000; ++guard) {
        SQLCHAR name[1024] = {};
        SQLCHAR attributes[8192] = {};
        SQLSMALLINT nameLength = 0, attributesLength = 0;
        SQLRETURN rc = SQLDrivers(env, direction, name, sizeof name, &nameLength, attributes,
                                  sizeof attributes, &attributesLength);
        if (!SQL_SUCCEEDED(rc)) break;
        OdbcDriverEntry entry;
        entry.name = reinterpret_cast<const char*>(name);
        // The attributes are NUL-separated pairs, ended by an empty one.
        std::size_t limit = std::min<std::size_t>(
            sizeof attributes - 1,
            attributesLength < 0 ? 0 : static_cast<std::size_t>(attributesLength));
        const char* p = reinterpret_cast<const char*>(attributes);
        std::size_t i = 0;
        while (i < limit && p[i] != '\0') {
            std::string pair(p + i);
            i += pair.size() + 1;
            entry.attributes.push_back(std::move(pair));
        }
        result.push_back(std::move(entry));
        direction = SQL_FETCH_NEXT;
    }
    return result;
}

}  // namespace rq
