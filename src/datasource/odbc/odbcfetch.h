// Reading the result of an executed statement as text values.
#pragma once

#include <string>
#include <vector>

#include "datasource/database.h"
#include "datasource/odbc/odbchandle.h"
#include "datasource/odbc/odbcsource.h"

namespace rq::odbc {

// The fields of the statement's result (ADO type codes); empty when the
// statement gives no result set.
std::vector<Field> describeResult(const Statement& statement);

// Sends the fields and every row of the executed statement's result to sink.
// getDataExtensions: the driver's SQL_GETDATA_EXTENSIONS mask.
void fetchResult(const Statement& statement, RecordSink& sink, OdbcFetchMode mode,
                 SQLUINTEGER getDataExtensions);

}  // namespace rq::odbc
