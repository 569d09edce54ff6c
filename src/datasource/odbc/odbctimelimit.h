// Running a statement with a limit on how long it may take.
#pragma once

#include <string>

#include "datasource/odbc/odbchandle.h"

namespace rq::odbc {

// The message for a statement stopped by its time limit.
std::string timeLimitMessage(int seconds);

// Runs the statement text (SQLExecDirect) or, with an empty text, the prepared
// statement (SQLExecute), giving the driver the time limit as its query
// timeout. Drivers that ignore the timeout are cancelled from a watchdog
// thread shortly after it. A statement stopped either way throws DatabaseError
// with timeLimitMessage; other failures are returned for the caller to check.
// seconds <= 0: no limit.
SQLRETURN executeWithTimeLimit(const Statement& statement, const std::string& text, int seconds);

}  // namespace rq::odbc
