// Reading through a third-party library in a child process.
//
// Some readers hand the file to a library (libmdb, libwps) that trusts what it
// reads. A hostile or damaged file can make such a library crash; run in a
// child process, the crash ends only the child, and the caller gets a
// DatabaseError saying the file is damaged.
//
// The child is made with fork() and runs only the given work and then
// _exit(), without returning into the caller or running exit handlers. That
// is safe in a threaded program (the window) as long as the work uses only
// what is safe after fork: the C library's allocator and stdio are, because
// glibc resets their locks in the child; the readers use nothing else that
// another thread could hold locked.
//
// What the child's work sends to its RecordSink comes back through a pipe in
// length-prefixed frames written in large blocks, and is replayed on the
// caller's sink. Whatever the library prints on stdout or stderr is caught in
// a second pipe and never reaches the terminal; each line goes through a
// caller-given filter that may turn it into a warning.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "datasource/database.h"

namespace rq {

// Whether readers run their libraries in a child process. On unless turned
// off here or with the environment variable ROWQUILL_READ_IN_PROCESS=1; the
// fuzz targets turn it off so that the sanitizers see inside the reads.
bool isolatedReads();
void setIsolatedReads(bool on);

// Turns one line a library printed into the text of a warning, or "" to drop it.
using ChatterFilter = std::function<std::string(std::string_view line)>;

// Runs work(sink') in a child process and replays on `sink` what it sends to
// sink'. A DatabaseError thrown by the work reaches the caller with its code;
// any other exception becomes a DatabaseError with its text. A child that
// dies or stops without finishing gives a DatabaseError
// "<file> is damaged and cannot be read (the reader stopped: SIGSEGV)".
// Warnings made from the library's printed lines are passed to the sink
// before its end(); identical ones are given once. When isolation is off, the
// work runs here, directly on `sink`.
void readIsolated(const std::string& file, const std::function<void(RecordSink&)>& work,
                  RecordSink& sink, const ChatterFilter& filter = {});

// A database whose every call runs in a child process that opens it afresh
// with `open`: the catalog is read once, when this is made, and kept.
// Errors of the opening (an unrecognised file, a wrong password) reach the
// caller of this function with their codes.
std::unique_ptr<Database> isolatedDatabase(const std::string& file,
                                           std::function<std::unique_ptr<Database>()> open,
                                           ChatterFilter filter = {});

}  // namespace rq
