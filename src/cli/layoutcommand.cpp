#include "cli/commands.h"
#include "cli/output.h"
#include "cli/source.h"
#include "layout/layoutfile.h"

namespace rq::cli {

namespace {

class LayoutCommand : public Command {
  public:
    std::string name() const override { return "layout"; }
    std::string synopsis() const override {
        return "SOURCE [--table NAME | --sql STATEMENT] [-o FILE] [OPTIONS]";
    }
    std::string summary() const override {
        return "write the table's default layout file (.rqlayout), to edit and give to convert "
               "--layout";
    }
    std::string description() const override {
        return "Writes the default layout of the table (or of the result of --sql) as a layout "
               "file (.rqlayout, UTF-8 XML), to standard output unless -o names a file. Edited, "
               "it is given to convert --layout.";
    }
    std::vector<Opt> options() const override {
        return {Opt::Odbc,  Opt::Timeout, Opt::Kind,          Opt::Password, Opt::Codepage,
                Opt::Table, Opt::Param,   Opt::Sql,           Opt::Xslt,     Opt::Css,
                Opt::Dtd,   Opt::Schema,  Opt::RootAttribute, Opt::Output};
    }

    int execute(Settings& s, Io& io) override {
        checkSourceOptions(s, name());
        checkTableOptions(s, name());
        ProgressLine line(io);
        DataSheet sheet;
        {
            auto db = openSource(s, io);
            // The layout does not depend on the values: a damaged source does not stop it.
            sheet = loadSource(*db, s, io, line, false);
        }
        LayoutTree tree;
        buildLayout(tree, sheet, s);
        std::string text;
        try {
            text = layoutFileText(tree);
        } catch (const LayoutFileError& e) {
            sourceError("cannot write the layout: " + std::string(e.what()));
        }
        Output output(s.output, io);
        output.write(text);
        output.commit();
        return kExitSuccess;
    }
};

}  // namespace

std::unique_ptr<Command> makeLayoutCommand() {
    return std::make_unique<LayoutCommand>();
}

}  // namespace rq::cli
