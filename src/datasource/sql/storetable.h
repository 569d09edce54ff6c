// A loaded table offered to SQLite as a read-only virtual table: the engine
// reads the records where they are held, without copying them into SQLite.
#pragma once

#include <string>

struct sqlite3;

namespace rq::sql {

class TableStore;

// Makes store usable under its name in statements on db (a table that needs no
// CREATE statement). The store must outlive the connection. SQLite records the
// table's columns in its schema when a statement first names it; *declaring is
// true meanwhile, so that the connection's authorizer can let that through.
// Returns SQLite's result code.
int offerTable(sqlite3* db, const std::string& name, TableStore& store, bool* declaring);

}  // namespace rq::sql
