// Runs a statement against the open source on a worker thread, so that the
// window stays responsive; a progress box offers Cancel once the statement
// takes longer than a moment. The result is built in a sheet of its own and
// handed back only when the whole statement succeeded.
#pragma once

#include <QString>
#include <string>

#include "sheet/datasheet.h"

class QWidget;

namespace rq {
class Database;
}

namespace rq::ui {

struct StatementTarget {
    // A file database runs the statement through the SQL engine over its tables.
    Database* fileDatabase = nullptr;
    // Otherwise the ODBC source is reached again with this connection string.
    std::string odbcConnection;
};

struct StatementResult {
    bool ok = false;
    DataSheet sheet;
    QString error;  // the data source's own text when !ok
};

// Waits for the statement in a local event loop. parent owns the progress box.
StatementResult runStatement(QWidget* parent, const StatementTarget& target,
                             const std::string& statement);

}  // namespace rq::ui
