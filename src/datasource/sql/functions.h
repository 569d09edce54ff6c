// The dialect's functions, registered on an SQLite connection under the names
// the translation gives them (rq_left, rq_year, ...), and its Like.
#pragma once

struct sqlite3;

namespace rq::sql {

// Returns SQLite's result code.
int registerFunctions(sqlite3* db);

}  // namespace rq::sql
