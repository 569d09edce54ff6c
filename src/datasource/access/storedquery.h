// Rebuilding the SQL text of a stored query from its rows in the system table
// of query definitions (one row per select-list column, table, join, ...).
#pragma once

#include <string>
#include <vector>

#include "datasource/database.h"

namespace rq::jet {

struct QueryRow {
    int attribute = 0;
    std::string name1, name2, expression;
    int flag = 0;
    bool hasFlag = false;
};

// Kinds of stored queries, from the object flags of the catalog entry.
enum class QueryKind { Select, Union, CrossTab, Action };

QueryKind queryKindFromObjectFlags(int objectFlags);

// The SQL of a stored query in the desktop dialect; rows in stored order.
// CrossTab queries come back as TRANSFORM ... PIVOT text, action queries as
// an empty string.
std::string rebuildQuerySql(const std::vector<QueryRow>& rows, int objectFlags);

// The parameters a stored query declares (its PARAMETERS clause), in stored order.
std::vector<QueryParameter> declaredParameters(const std::vector<QueryRow>& rows);

// The parameters a stored query asks for: those it declares, then references
// to form controls ("[Forms]![Orders]![OrderID]") it uses without declaring.
std::vector<QueryParameter> queryParameters(const std::vector<QueryRow>& rows,
                                            const std::string& sql);

// The statement with every reference to a declared parameter outside quoted
// text ("[Beginning Date]", or the name as written when it is bracketed
// already) replaced by its value as a literal of the declared type: text
// quoted, dates as #...#, numbers and booleans checked. Throws DatabaseError
// (kErrParameterMissing) for a parameter without a value and for a value that
// is not of the parameter's type.
std::string bindParameters(const std::string& sql, const std::vector<QueryParameter>& declared,
                           const ParameterValues& values, const std::string& queryName);

}  // namespace rq::jet
