// The source of a command: a database file or folder, standard input, or an
// ODBC data source; its table read into a sheet.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/command.h"
#include "datasource/database.h"
#include "sheet/datasheet.h"

namespace rq::cli {

// A line on standard error that is rewritten in place, shown only when
// standard error is a terminal.
class ProgressLine {
  public:
    explicit ProgressLine(Io& io) : io_(io) {}
    ~ProgressLine() { clear(); }
    bool enabled() const { return io_.stderrIsTerminal; }
    void show(const std::string& text);
    void clear();

  private:
    Io& io_;
    bool shown_ = false;
};

// Checks that the source options fit together: SOURCE or --odbc, and the
// options of each. `needsSource`: false for commands without one.
void checkSourceOptions(const Settings& s, const std::string& command);

// How messages name the source.
std::string sourceLabel(const Settings& s);

// Opens the source; a password is taken from --password, ROWQUILL_PASSWORD or
// the terminal, in that order, when the database asks for one.
std::unique_ptr<Database> openSource(const Settings& s, Io& io);

// Reads the table (--table, or the only one of the source) or the statement
// into a sheet; the read's warnings are written to standard error and, without
// --allow-damaged (`strict`), stop the run.
DataSheet loadSource(Database& db, Settings& s, Io& io, ProgressLine& line, bool strict);

}  // namespace rq::cli
