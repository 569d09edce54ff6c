// Text helpers of the ODBC source that need no driver: identifier quoting,
// connection strings and the type vocabulary.
#include <sql.h>
#include <sqlext.h>

#include <cctype>

#include "datasource/odbc/odbcsource.h"

namespace rq {

std::string odbcCancelledMessage() {
    return std::string(kOdbcOpenErrorPrefix) + "The choice of a data source was cancelled.";
}

int adoTypeForSqlType(int sqlType, bool isUnsigned) {
    switch (sqlType) {
        case SQL_CHAR:
            return kAdoChar;
        case SQL_VARCHAR:
            return kAdoVarChar;
        case SQL_LONGVARCHAR:
            return kAdoLongVarChar;
        case SQL_WCHAR:
            return kAdoWChar;
        case SQL_WVARCHAR:
            return kAdoVarWChar;
        case SQL_WLONGVARCHAR:
            return kAdoLongVarWChar;
        case SQL_TYPE_TIMESTAMP:
        case SQL_TIMESTAMP:
            return kAdoDBTimeStamp;
        case SQL_TYPE_DATE:
        case SQL_DATE:
            return kAdoDBDate;
        case SQL_TYPE_TIME:
        case SQL_TIME:
            return kAdoDBTime;
        case SQL_INTEGER:
            return isUnsigned ? kAdoUnsignedInt : kAdoInteger;
        case SQL_SMALLINT:
            return isUnsigned ? kAdoUnsignedSmallInt : kAdoSmallInt;
        case SQL_BIGINT:
            return isUnsigned ? kAdoUnsignedBigInt : kAdoBigInt;
        case SQL_TINYINT:
            return isUnsigned ? kAdoUnsignedTinyInt : kAdoTinyInt;
        case SQL_REAL:
            return kAdoSingle;
        case SQL_FLOAT:
        case SQL_DOUBLE:
            return kAdoDouble;
        case SQL_DECIMAL:
        case SQL_NUMERIC:
            return kAdoNumeric;
        case SQL_BIT:
            return kAdoBoolean;
        case SQL_BINARY:
            return kAdoBinary;
        case SQL_VARBINARY:
            return kAdoVarBinary;
        case SQL_LONGVARBINARY:
            return kAdoLongVarBinary;
        case SQL_GUID:
            return kAdoGuid;
        default:
            return kAdoVarChar;
    }
}

std::string translateBrackets(std::string_view statement, std::string_view quote) {
    std::string out(statement);
    if (quote.empty() || quote == " " || quote == "[") return out;
    out.clear();
    out.reserve(statement.size() + 8);
    std::size_t i = 0;
    const std::size_t n = statement.size();
    // Copies a run that ends at the first `close` after position i + 1 (or the end).
    auto copyUntil = [&](char close) {
        std::size_t end = statement.find(close, i + 1);
        end = end == std::string_view::npos ? n : end + 1;
        out.append(statement.substr(i, end - i));
        i = end;
    };
    while (i < n) {
        char c = statement[i];
        if (c == '\'' || c == '"' || c == '`') {
            // A doubled quote inside a literal ends one run and starts the next,
            // which copies the same text.
            copyUntil(c);
        } else if (c == '-' && i + 1 < n && statement[i + 1] == '-') {
            copyUntil('\n');
        } else if (c == '/' && i + 1 < n && statement[i + 1] == '*') {
            std::size_t end = statement.find("*/", i + 2);
            end = end == std::string_view::npos ? n : end + 2;
            out.append(statement.substr(i, end - i));
            i = end;
        } else if (c == '[') {
            std::size_t close = statement.find(']', i + 1);
            if (close == std::string_view::npos) {
                out.append(statement.substr(i));
                break;
            }
            out.append(quote);
            std::string_view name = statement.substr(i + 1, close - i - 1);
            for (std::size_t k = 0; k < name.size();) {
                if (name.compare(k, quote.size(), quote) == 0) {
                    out.append(quote);
                    out.append(quote);
                    k += quote.size();
                } else {
                    out += name[k++];
                }
            }
            out.append(quote);
            i = close + 1;
        } else {
            out += c;
            ++i;
        }
    }
    return out;
}

namespace {

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

std::string_view trimBlanks(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

// Calls visit(key, rawValue, wholePair) for each "key=value" pair; a value in
// braces may hold ";". Stops when visit returns false.
template <typename Visit>
void forEachAttribute(std::string_view s, Visit visit) {
    std::size_t i = 0;
    while (i < s.size()) {
        std::size_t start = i;
        std::size_t eq = s.find('=', i);
        std::size_t semi = s.find(';', i);
        if (eq == std::string_view::npos || (semi != std::string_view::npos && semi < eq)) {
            // A piece without "=": skip it.
            if (semi == std::string_view::npos) return;
            i = semi + 1;
            continue;
        }
        std::string_view key = trimBlanks(s.substr(i, eq - i));
        std::size_t v = eq + 1;
        while (v < s.size() && s[v] == ' ') ++v;
        std::size_t end;
        if (v < s.size() && s[v] == '{') {
            std::size_t close = s.find('}', v + 1);
            // "}}" inside braces is an escaped brace.
            while (close != std::string_view::npos && close + 1 < s.size() && s[close + 1] == '}')
                close = s.find('}', close + 2);
            end = close == std::string_view::npos ? s.size() : close + 1;
            std::size_t after = s.find(';', end);
            std::string_view value = s.substr(v, end - v);
            std::size_t pairEnd = after == std::string_view::npos ? s.size() : after;
            if (!visit(key, value, s.substr(start, pairEnd - start))) return;
            i = after == std::string_view::npos ? s.size() : after + 1;
        } else {
            end = s.find(';', v);
            if (end == std::string_view::npos) end = s.size();
            if (!visit(key, trimBlanks(s.substr(v, end - v)), s.substr(start, end - start))) return;
            i = end + 1;
        }
    }
}

std::string unbrace(std::string_view value) {
    if (value.size() >= 2 && value.front() == '{' && value.back() == '}') {
        std::string out;
        std::string_view inner = value.substr(1, value.size() - 2);
        for (std::size_t k = 0; k < inner.size(); ++k) {
            out += inner[k];
            if (inner[k] == '}' && k + 1 < inner.size() && inner[k + 1] == '}') ++k;
        }
        return out;
    }
    return std::string(value);
}

}  // namespace

std::string connectionAttribute(std::string_view connectionString, std::string_view key) {
    std::string result;
    forEachAttribute(connectionString, [&](std::string_view k, std::string_view v, auto) {
        if (!equalsIgnoringCase(k, key)) return true;
        result = unbrace(v);
        return false;
    });
    return result;
}

std::string reconnectionString(const std::string& original, const std::string& completed) {
    if (trimBlanks(completed).empty()) return original;
    if (!connectionAttribute(completed, "DRIVER").empty() ||
        !connectionAttribute(completed, "DSN").empty() ||
        !connectionAttribute(completed, "FILEDSN").empty())
        return completed;
    // Put back the original's way of naming the driver, in place of an empty DSN.
    std::string head;
    forEachAttribute(original, [&](std::string_view k, std::string_view v, std::string_view pair) {
        if ((equalsIgnoringCase(k, "DRIVER") || equalsIgnoringCase(k, "DSN") ||
             equalsIgnoringCase(k, "FILEDSN")) &&
            !trimBlanks(v).empty()) {
            head = std::string(pair);
            return false;
        }
        return true;
    });
    if (head.empty()) return completed;
    std::string rest;
    forEachAttribute(completed, [&](std::string_view k, std::string_view, std::string_view pair) {
        if (!equalsIgnoringCase(k, "DSN") && !equalsIgnoringCase(k, "DRIVER")) {
            rest += pair;
            rest += ';';
        }
        return true;
    });
    return head + ";" + rest;
}

namespace {

bool needsBraces(std::string_view value) {
    return value.find_first_of(";{}=") != std::string_view::npos ||
           (!value.empty() && (value.front() == ' ' || value.back() == ' '));
}

std::string braced(std::string_view value) {
    if (!needsBraces(value)) return std::string(value);
    std::string out = "{";
    for (char c : value) {
        out += c;
        if (c == '}') out += '}';
    }
    out += '}';
    return out;
}

}  // namespace

std::string connectionStringForDataSource(const std::string& dsn) {
    return "DSN=" + braced(dsn) + ";";
}

std::string connectionStringForDriver(const std::string& driver) {
    std::string out = "DRIVER={";
    for (char c : driver) {
        out += c;
        if (c == '}') out += '}';
    }
    return out + "};";
}

}  // namespace rq
