// Warnings a reader passes to its record sink while it reads one table: each
// starts with the file it is about, and warnings about single values stop after
// a limit, the rest counted in one closing line, so that a column of bad values
// in a large file does not bury the user in messages.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "datasource/database.h"

namespace rq {

class ReadWarnings {
  public:
    static constexpr std::size_t kValueLimit = 20;

    ReadWarnings(RecordSink& sink, std::string file, std::size_t valueLimit = kValueLimit)
        : out_([&sink](const std::string& w) { sink.warning(w); }),
          file_(std::move(file)),
          limit_(valueLimit) {}
    // Keeps the warnings in list, for a reader that reads before it has a sink.
    ReadWarnings(std::vector<std::string>& list, std::string file,
                 std::size_t valueLimit = kValueLimit)
        : out_([&list](const std::string& w) { list.push_back(w); }),
          file_(std::move(file)),
          limit_(valueLimit) {}

    // A warning about the table as a whole, always passed on.
    void table(const std::string& text);
    // A value that could not be read: record is counted from 1. raw is the
    // stored text (or empty), quoted in the message; what says what it is not.
    void value(std::uint64_t record, std::string_view field, std::string_view raw,
               const std::string& what);
    // Any other warning about a single value: counted with those of value().
    void limited(const std::string& text);
    // "N of M records read", when fewer records were found than the file says.
    void recordsShort(std::uint64_t read, std::uint64_t declared);
    // The closing line for the value warnings held back.
    void finish();

    std::size_t valueCount() const { return values_; }

  private:
    std::function<void(const std::string&)> out_;
    std::string file_;
    std::size_t limit_;
    std::size_t values_ = 0;
};

// The text of a value for a message: control characters as spaces, cut after
// 40 characters (never inside a UTF-8 sequence).
std::string quotedForMessage(std::string_view raw);

}  // namespace rq
