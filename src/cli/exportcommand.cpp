#include <algorithm>

#include "cli/commands.h"
#include "cli/output.h"
#include "cli/source.h"
#include "sheet/csvexport.h"

namespace rq::cli {

namespace {

// Standard CSV: the header and every record with all columns; a field is
// quoted when it holds a comma, a quote or a line break, quotes doubled;
// records end with CR LF.
void writeStandardCsv(const DataSheet& sheet, Output& output) {
    std::string chunk;
    for (int r = 0; r < sheet.rows(); ++r) {
        for (int c = 0; c < sheet.cols(); ++c) {
            if (c > 0) chunk += ',';
            const std::string_view v = sheet.cell(r, c);
            if (v.find_first_of(",\"\r\n") == std::string_view::npos) {
                chunk += v;
                continue;
            }
            chunk += '"';
            for (char ch : v) chunk += ch == '"' ? std::string("\"\"") : std::string(1, ch);
            chunk += '"';
        }
        chunk += "\r\n";
        if (chunk.size() >= (1u << 20)) {
            output.write(chunk);
            chunk.clear();
        }
    }
    output.write(chunk);
}

class ExportCommand : public Command {
  public:
    std::string name() const override { return "export"; }
    std::string synopsis() const override {
        return "SOURCE [--table NAME | --sql STATEMENT] [-o FILE] [OPTIONS]";
    }
    std::string summary() const override {
        return "write a table as comma-separated text (UTF-8), --rfc4180 for standard CSV";
    }
    std::string description() const override {
        return "Writes the table (or the result of --sql) as comma-separated text in UTF-8, to "
               "standard output unless -o names a file: the program's own form (every value "
               "quoted, a comma after the last one, as the window's text export writes it), or "
               "with --rfc4180 standard CSV that other programs read.";
    }
    std::vector<Opt> options() const override {
        return {Opt::Odbc,     Opt::Timeout,      Opt::Kind,  Opt::Password,
                Opt::Codepage, Opt::Table,        Opt::Param, Opt::Sql,
                Opt::Rfc4180,  Opt::AllowDamaged, Opt::Output};
    }

    int execute(Settings& s, Io& io) override {
        checkSourceOptions(s, name());
        checkTableOptions(s, name());
        ProgressLine line(io);
        DataSheet sheet;
        {
            auto db = openSource(s, io);
            sheet = loadSource(*db, s, io, line, true);
        }
        Output output(s.output, io);
        if (s.rfc4180) {
            writeStandardCsv(sheet, output);
            output.commit();
            return kExitSuccess;
        }
        ExportProgress progress;
        const int step = std::max(1, (sheet.rows() - 1) / 100);
        int r = 0;
        if (line.enabled())
            progress = [&](double, const std::string& status) {
                if (++r % step == 0) line.show(status);
            };
        csvExportChunks(
            sheet,
            [&](std::string& chunk) {
                output.write(chunk);
                chunk.clear();
            },
            progress);
        line.clear();
        output.write("\r\n");
        output.commit();
        return kExitSuccess;
    }
};

}  // namespace

std::unique_ptr<Command> makeExportCommand() {
    return std::make_unique<ExportCommand>();
}

}  // namespace rq::cli
