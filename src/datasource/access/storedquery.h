// Rebuilding the SQL text of a stored query from its rows in the system table
// of query definitions (one row per select-list column, table, join, ...).
#pragma once

#include <string>
#include <vector>

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

}  // namespace rq::jet
