// rowquill-cli: the batch converter. The commands live in their own classes;
// this gives them the process's streams, terminal and environment.
#include <cstdlib>
#include <iostream>

#include "cli/command.h"
#include "cli/terminal.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    rq::cli::Io io{std::cin, std::cout, std::cerr};
    io.stdinIsTerminal = rq::cli::isTerminal(0);
    io.stderrIsTerminal = rq::cli::isTerminal(2);
    io.askSecret = rq::cli::readSecretFromTerminal;
    io.environment = [](const std::string& name) -> std::optional<std::string> {
        const char* value = std::getenv(name.c_str());
        if (!value) return std::nullopt;
        return std::string(value);
    };
    return rq::cli::runCli(std::vector<std::string>(argv + 1, argv + argc), io);
}
