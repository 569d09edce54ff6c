// Running rowquill-cli from tests, in process or as the built program: a
// fixture with a private folder, and the exit status, standard output and
// standard error of one run.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "../base/scratch_support.h"
#include "cli/command.h"

namespace rq::clitest {

struct Result {
    int status = -1;
    std::string out, err;
};

using rq::scratch::slurp;

// The text as one word of a shell command.
inline std::string quoted(const std::string& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// True when the text is exactly one line ended by a line feed.
inline bool oneLine(const std::string& s) {
    return !s.empty() && s.find('\n') == s.size() - 1;
}

class CliTest : public ::testing::Test {
  protected:
    rq::scratch::TempDir scratch;
    const std::filesystem::path dir = scratch.path;
    void write(const std::string& rel, const std::string& bytes) {
        std::filesystem::create_directories((dir / rel).parent_path());
        std::ofstream(dir / rel, std::ios::binary) << bytes;
    }
    std::string path(const std::string& rel) const { return (dir / rel).string(); }

    // What the next in-process run reads: standard input, the terminal.
    std::string input;
    bool terminal = false;  // standard input and standard error are terminals
    std::vector<std::string> prompts;
    std::optional<std::string> secret;  // the terminal's answer to a prompt

    // Runs the commands in process; each of `environment` is NAME=VALUE.
    Result run(const std::vector<std::string>& args,
               const std::vector<std::string>& environment = {}) {
        std::istringstream in(input);
        std::ostringstream out, err;
        rq::cli::Io io{in, out, err};
        io.stdinIsTerminal = io.stderrIsTerminal = terminal;
        io.askSecret = [this](const std::string& prompt) {
            prompts.push_back(prompt);
            return secret;
        };
        io.environment = [&](const std::string& name) -> std::optional<std::string> {
            for (const auto& e : environment)
                if (e.rfind(name + "=", 0) == 0) return e.substr(name.size() + 1);
            return std::nullopt;
        };
        Result r;
        r.status = rq::cli::runCli(args, io);
        r.out = out.str();
        r.err = err.str();
        return r;
    }

    // Runs the commands with "-o FILE" added, expecting success; what FILE then holds.
    std::string written(std::vector<std::string> args, const std::string& file) {
        args.insert(args.end(), {"-o", path(file)});
        const Result r = run(args);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        return slurp(dir / file);
    }

    // The run fails with the status and one line on standard error that holds the text.
    Result expectError(const std::vector<std::string>& args, int status,
                       const std::string& part = "",
                       const std::vector<std::string>& environment = {}) {
        const Result r = run(args, environment);
        EXPECT_EQ(r.status, status) << r.err;
        EXPECT_TRUE(oneLine(r.err)) << r.err;
        EXPECT_EQ(r.err.rfind("rowquill-cli: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find(part), std::string::npos) << r.err;
        return r;
    }

    // Runs the built program with the arguments; each of `environment` is NAME=VALUE,
    // and `prefix` a command that runs the program.
    Result runProcess(const std::vector<std::string>& args,
                      const std::vector<std::string>& environment = {},
                      const std::string& prefix = "") {
        std::string cmd;
        for (const auto& e : environment) cmd += quoted(e) + " ";
        cmd = prefix + (cmd.empty() ? "" : "env " + cmd) + quoted(ROWQUILL_CLI);
        for (const auto& a : args) cmd += " " + quoted(a);
        cmd += " >" + quoted(path("stdout")) + " 2>" + quoted(path("stderr")) + " </dev/null";
        Result r;
        int raw = std::system(cmd.c_str());
        r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        r.out = slurp(dir / "stdout");
        r.err = slurp(dir / "stderr");
        return r;
    }
};

}  // namespace rq::clitest
