#include "cli/commands.h"

namespace rq::cli {

namespace {

class HelpCommand : public Command {
  public:
    std::string name() const override { return "help"; }
    std::string synopsis() const override { return "[COMMAND]"; }
    std::string summary() const override { return "show the help of the program or of a command"; }
    std::string description() const override {
        return "Shows the help of the program, or with COMMAND the options of that command "
               "(the same as rowquill-cli COMMAND --help).";
    }
    std::vector<Opt> options() const override { return {}; }
    // The program answers "help" and "help COMMAND" itself; what is left is misuse.
    int execute(Settings& s, Io&) override {
        usageError("help takes one COMMAND, not " + std::to_string(s.positional.size()));
    }
};

}  // namespace

std::unique_ptr<Command> makeHelpCommand() {
    return std::make_unique<HelpCommand>();
}

}  // namespace rq::cli
