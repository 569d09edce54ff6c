#include "cli/terminal.h"

#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace rq::cli {

bool isTerminal(int fd) {
    return ::isatty(fd) == 1;
}

std::optional<std::string> readSecretFromTerminal(const std::string& prompt) {
    if (!isTerminal(0)) return std::nullopt;
    std::cerr << prompt << std::flush;
    termios saved{};
    const bool haveSaved = ::tcgetattr(0, &saved) == 0;
    if (haveSaved) {
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        quiet.c_lflag |= ECHONL;
        ::tcsetattr(0, TCSANOW, &quiet);
    }
    std::string line;
    const bool got = static_cast<bool>(std::getline(std::cin, line));
    if (haveSaved) ::tcsetattr(0, TCSANOW, &saved);
    if (!got) return std::nullopt;
    return line;
}

}  // namespace rq::cli
