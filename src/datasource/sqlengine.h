// SQL over file databases: the tables a statement names are read once into
// memory and offered to an in-memory SQLite database as read-only virtual
// tables; the statement, translated from the classic desktop dialect, runs
// there. The engine only reads: one statement per request, nothing that
// writes, attaches files or changes settings, and bounded memory.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "datasource/database.h"

namespace rq {

// Bounds of one statement; 0 takes the default.
struct SqlLimits {
    // SQLite's own working memory (sorting, grouping, values being built).
    // Default: an eighth of the machine's memory, between 256 MB and 1 GB.
    // SQLite's heap limit is process-wide: it is set while a statement runs and
    // put back afterwards.
    std::int64_t memoryBytes = 0;
    // The longest text or binary value a statement may build.
    // Default: a quarter of memoryBytes, at most 256 MB.
    std::int64_t valueBytes = 0;
    // The result handed to the sink: its text plus 4 bytes a cell and 32 a record.
    // Default: four times what the tables read take in memory, at least 512 MB,
    // at most half the machine's memory (but never below 512 MB).
    std::int64_t resultBytes = 0;
};

struct SqlOptions {
    SqlLimits limits;
    // When set, the statement stops soon after *cancel becomes true (it may be
    // set from any thread) with "The statement was cancelled.".
    const std::atomic<bool>* cancel = nullptr;
};

// Runs a statement over the tables and stored queries of db. Throws
// DatabaseError with a clear message for a statement that cannot run, that
// would do more than read, or that goes beyond the limits.
void runSqlOverDatabase(Database& db, const std::string& statement, RecordSink& sink,
                        const SqlOptions& options = {});

}  // namespace rq
