// Where a command's bytes go: standard output for "-" (the default), else a
// file written through the atomic file, so that no half file ever stands under
// the name, a link is followed, a replaced file keeps its mode and
// /dev/stdout or a pipe is written straight.
#pragma once

#include <string>
#include <string_view>

#include "base/io/atomicfile.h"
#include "cli/command.h"

namespace rq::cli {

class Output {
  public:
    // Opens the output; a failure ends the run with the system's reason.
    Output(const std::string& path, Io& io);
    bool toStandardOutput() const { return standard_; }
    // Writes bytes; a failure ends the run.
    void write(std::string_view bytes);
    // Makes the bytes the file's content; a failure ends the run.
    void commit();

  private:
    Io& io_;
    bool standard_;
    AtomicFile file_;
};

}  // namespace rq::cli
