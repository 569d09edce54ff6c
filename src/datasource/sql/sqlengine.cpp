#include "datasource/sqlengine.h"

namespace rq {

void runSqlOverDatabase(Database&, const std::string&, RecordSink&) {
    throw DatabaseError("SQL statements cannot be run on this database yet.", kErrNotBuilt);
}

}  // namespace rq
