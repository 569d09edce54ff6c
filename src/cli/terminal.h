// The program's own terminal: whether a stream is one, and a secret read from
// it without echo.
#pragma once

#include <optional>
#include <string>

namespace rq::cli {

bool isTerminal(int fd);

// Writes the prompt to standard error and reads one line from standard input
// with echo off; nullopt when standard input is not a terminal or is at its end.
std::optional<std::string> readSecretFromTerminal(const std::string& prompt);

}  // namespace rq::cli
