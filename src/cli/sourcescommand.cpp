#include <algorithm>
#include <cctype>
#include <ostream>

#include "cli/commands.h"
#include "datasource/odbc/odbcsource.h"

namespace rq::cli {

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

// A heading, then one "  NAME  TEXT" line per entry with the texts lined up,
// or "  (none)".
void writeSection(std::ostream& out, const std::string& heading, const Entries& entries) {
    out << heading << ":\n";
    if (entries.empty()) out << "  (none)\n";
    std::size_t width = 0;
    for (const auto& e : entries) width = std::max(width, e.first.size());
    for (const auto& [name, text] : entries) {
        out << "  " << name;
        if (!text.empty()) out << std::string(width - name.size() + 2, ' ') << text;
        out << '\n';
    }
}

bool startsWithIgnoringCase(const std::string& s, const std::string& prefix) {
    return s.size() > prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), s.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

class SourcesCommand : public Command {
  public:
    std::string name() const override { return "sources"; }
    std::string synopsis() const override { return ""; }
    std::string summary() const override {
        return "list the ODBC data sources and the installed ODBC drivers";
    }
    std::string description() const override {
        return "Lists the ODBC data sources the driver manager knows (user ones, then system "
               "ones, each with its driver) and the installed ODBC drivers.";
    }
    std::vector<Opt> options() const override { return {}; }
    int execute(Settings& s, Io& io) override {
        if (!s.positional.empty()) usageError("unexpected argument \"" + s.positional[0] + "\"");
        Entries user, system, drivers;
        for (const auto& d : odbcDataSources())
            (d.system ? system : user).push_back({d.name, d.driver});
        for (const auto& d : odbcDrivers()) {
            std::string description;
            for (const auto& a : d.attributes)
                if (startsWithIgnoringCase(a, "Description=")) description = a.substr(12);
            drivers.push_back({d.name, description});
        }
        writeSection(io.out, "User data sources", user);
        writeSection(io.out, "System data sources", system);
        writeSection(io.out, "Drivers", drivers);
        io.out.flush();
        if (!io.out) sourceError("cannot write the list of data sources");
        return kExitSuccess;
    }
};

}  // namespace

std::unique_ptr<Command> makeSourcesCommand() {
    return std::make_unique<SourcesCommand>();
}

}  // namespace rq::cli
