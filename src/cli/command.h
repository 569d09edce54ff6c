// The commands of rowquill-cli on one small base: each names itself, describes
// itself for the help texts, takes a set of the program's options and runs.
#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace rq::cli {

inline constexpr int kExitSuccess = 0;
inline constexpr int kExitUsage = 1;
inline constexpr int kExitFailure = 2;

// A run that stops: the exit status and the one-line message for standard error.
struct CliError {
    int status;
    std::string message;
};

[[noreturn]] void usageError(const std::string& message);
[[noreturn]] void sourceError(const std::string& message);

// What a run talks to. The program passes its own streams and terminal; the
// tests pass strings.
struct Io {
    Io(std::istream& input, std::ostream& output, std::ostream& errors)
        : in(input), out(output), err(errors) {}
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    bool stdinIsTerminal = false;
    bool stderrIsTerminal = false;
    // Asks for a secret on the terminal without echo; nullopt when there is none.
    std::function<std::optional<std::string>(const std::string& prompt)> askSecret;
    // The environment (getenv by default).
    std::function<std::optional<std::string>(const std::string& name)> environment;
};

// The options of the program. Each command takes some of them.
enum class Opt : int {
    Odbc = 1000,
    Timeout,
    Kind,
    Password,
    Codepage,
    Table,
    Sql,
    Output,
    AllowDamaged,
    Layout,
    Split,
    ConvertSymbols,
    Cp1252,
    Xslt,
    Css,
    Dtd,
    Schema,
    RootAttribute,
    Rfc4180,
    Param,
    Help,
};

// Everything the options can say; a command reads what it takes.
struct Settings {
    std::vector<std::string> positional;
    std::optional<std::string> odbc;
    std::optional<int> timeout;
    std::string kind, password, table, sql, output, layout, xslt, css, dtd;
    bool passwordGiven = false;
    bool outputGiven = false;
    int codepage = 0;
    int split = 0;
    bool cp1252 = false;
    bool allowDamaged = false;
    bool rfc4180 = false;
    bool help = false;
    std::optional<std::string> schemaNamespace, schemaLocation;
    std::vector<std::string> rootAttributes;
    // --param NAME=VALUE: values for the parameters of stored queries.
    std::vector<std::pair<std::string, std::string>> parameters;
};

class Command {
  public:
    virtual ~Command() = default;
    virtual std::string name() const = 0;
    // "SOURCE [--table NAME | --sql STATEMENT] [-o OUTPUT] [OPTIONS]"
    virtual std::string synopsis() const = 0;
    // One line for the list of commands.
    virtual std::string summary() const = 0;
    // What the command does, a paragraph or two, for COMMAND --help.
    virtual std::string description() const = 0;
    virtual std::vector<Opt> options() const = 0;
    // Runs with the options already read.
    virtual int execute(Settings& settings, Io& io) = 0;

    // Reads the arguments after the command's name and runs; COMMAND --help
    // prints the command's help instead.
    int run(const std::vector<std::string>& args, Io& io);
    // The text of COMMAND --help and help COMMAND.
    std::string helpText() const;

  protected:
    Settings parse(const std::vector<std::string>& args) const;
};

// Every command in the order of the help text.
std::vector<std::unique_ptr<Command>> makeCommands();

// The program: arguments without the program name. Errors are reported on
// io.err as one line, the exit status returned.
int runCli(const std::vector<std::string>& args, Io& io);

// The one-line text of an error, line breaks made blanks.
std::string oneLine(std::string text);

}  // namespace rq::cli
