#include <ostream>

#include "cli/commands.h"
#include "cli/source.h"

namespace rq::cli {

namespace {

class TablesCommand : public Command {
  public:
    std::string name() const override { return "tables"; }
    std::string synopsis() const override { return "SOURCE [OPTIONS]"; }
    std::string summary() const override {
        return "list the tables, then the stored queries (marked \" (query)\"), one a line";
    }
    std::string description() const override {
        return "Lists the tables of SOURCE, then its stored queries marked \" (query)\", one a "
               "line; for an ODBC source its tables, then its views.";
    }
    std::vector<Opt> options() const override {
        return {Opt::Odbc, Opt::Timeout, Opt::Kind, Opt::Password, Opt::Codepage};
    }
    int execute(Settings& s, Io& io) override {
        checkSourceOptions(s, name());
        auto db = openSource(s, io);
        std::vector<CatalogEntry> list;
        try {
            list = listedCatalog(*db);
        } catch (const DatabaseError& e) {
            sourceError(e.what());
        }
        for (const auto& e : list) io.out << e.name << (e.marker == 1 ? " (query)" : "") << '\n';
        io.out.flush();
        if (!io.out) sourceError("cannot write the table list");
        return kExitSuccess;
    }
};

}  // namespace

std::unique_ptr<Command> makeTablesCommand() {
    return std::make_unique<TablesCommand>();
}

}  // namespace rq::cli
