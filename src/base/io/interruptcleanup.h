// Files and folders that must not outlive an interrupted process: temporary
// files of unfinished writes, temporary folders of unfinished runs, the working
// folder. On SIGINT, SIGTERM or SIGHUP every registered path is removed, then
// the signal takes its former course.
#pragma once

#include <string>

namespace rq {

// Registers a path; returns its slot, or -1 when every slot is taken (the path
// is then simply not cleaned up on a signal). Installs the signal handlers the
// first time it is called, chaining to any handler already installed.
int registerForCleanup(const std::string& path, bool isFolder);
// Forgets a slot (after the path was renamed into place or removed normally).
void unregisterCleanup(int slot);
// Removes every registered path now (used at normal exit as well).
void cleanUpRegisteredPaths();

}  // namespace rq
