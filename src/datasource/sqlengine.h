// SQL over file databases: the tables a statement names are copied into an
// in-memory SQLite database and the statement, translated from the classic
// desktop dialect, runs there.
#pragma once

#include <string>

#include "datasource/database.h"

namespace rq {

// Runs a statement over the tables and stored queries of db. Throws
// DatabaseError with the engine's message for a statement that cannot run.
void runSqlOverDatabase(Database& db, const std::string& statement, RecordSink& sink);

}  // namespace rq
