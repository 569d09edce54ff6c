#include "cli/output.h"

#include <ostream>

namespace rq::cli {

namespace {

// The names of the process's own standard output: written through the stream
// the process already holds, so that no user needs the right to open it again.
bool namesStandardOutput(const std::string& path) {
    return path.empty() || path == "-" || path == "/dev/stdout" || path == "/dev/fd/1" ||
           path == "/proc/self/fd/1";
}

}  // namespace

Output::Output(const std::string& path, Io& io) : io_(io), standard_(namesStandardOutput(path)) {
    if (!standard_ && !file_.open(path)) sourceError(file_.error());
}

void Output::write(std::string_view bytes) {
    if (!standard_) {
        if (!file_.write(bytes)) sourceError(file_.error());
        return;
    }
    io_.out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!io_.out) sourceError("cannot write to standard output");
}

void Output::commit() {
    if (!standard_) {
        if (!file_.commit()) sourceError(file_.error());
        return;
    }
    io_.out.flush();
    if (!io_.out) sourceError("cannot write to standard output");
}

}  // namespace rq::cli
