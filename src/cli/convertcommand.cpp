#include <algorithm>
#include <stdexcept>

#include "base/io/folders.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/source.h"
#include "generate/documentwriter.h"
#include "generate/generationrun.h"
#include "generate/outputfiles.h"
#include "layout/defaultlayout.h"

namespace rq::cli {

namespace {

class ConvertCommand : public Command {
  public:
    std::string name() const override { return "convert"; }
    std::string synopsis() const override {
        return "SOURCE [--table NAME | --sql STATEMENT] [-o OUTPUT] [OPTIONS]";
    }
    std::string summary() const override {
        return "write a table as one XML document, or with --split N as one document per N "
               "records into a folder";
    }
    std::string description() const override {
        return "Writes the table (or the result of --sql) as one XML document through the "
               "default layout or a layout file, to standard output unless -o names a file. "
               "With --split N it writes one document per N records into the folder -o names, "
               "which must be absent or empty.";
    }
    std::vector<Opt> options() const override {
        return {Opt::Odbc,
                Opt::Timeout,
                Opt::Kind,
                Opt::Password,
                Opt::Codepage,
                Opt::Table,
                Opt::Param,
                Opt::Sql,
                Opt::Layout,
                Opt::Split,
                Opt::ConvertSymbols,
                Opt::Cp1252,
                Opt::Xslt,
                Opt::Css,
                Opt::Dtd,
                Opt::Schema,
                Opt::RootAttribute,
                Opt::AllowDamaged,
                Opt::Output};
    }

    int execute(Settings& s, Io& io) override {
        checkSourceOptions(s, name());
        checkTableOptions(s, name());
        if (s.split && (s.output.empty() || s.output == "-")) usageError("--split needs -o FOLDER");
        ProgressLine line(io);
        DataSheet sheet;
        {
            auto db = openSource(s, io);
            sheet = loadSource(*db, s, io, line, true);
        }
        LayoutTree tree;
        buildLayout(tree, sheet, s);
        if (s.split)
            writeSplit(tree, sheet, s, line);
        else
            writeSingle(tree, sheet, s, io, line);
        return kExitSuccess;
    }

  private:
    static void writeSingle(LayoutTree& tree, const DataSheet& sheet, const Settings& s, Io& io,
                            ProgressLine& line) {
        WorkingTable work;
        tidyLayout(tree, work);
        Output output(s.output, io);
        std::string bytes;
        ChunkSink sink = [&](std::string& chunk) {
            if (s.cp1252) {
                bytes.clear();
                appendDocumentBytes(bytes, chunk, false);
                output.write(bytes);
            } else {
                output.write(chunk);
            }
            chunk.clear();
        };
        RecordProgress progress;
        const int step = std::max(1, (sheet.rows() - 1) / 100);
        if (line.enabled())
            progress = [&](int i, int n) {
                if (i % step == 0 || i == n) line.show(completingRowText(i, n));
            };
        std::string out;
        out.reserve(1 << 21);
        writeDocument(tree, work, sheet, 1, sheet.rows() - 1, out, sink, progress);
        line.clear();
        output.write("\r\n");
        output.commit();
    }

    static void writeSplit(LayoutTree& tree, const DataSheet& sheet, const Settings& s,
                           ProgressLine& line) {
        if (!isFolderEmpty(s.output))
            sourceError("The Folder " + s.output +
                        " is not empty. Please choose a different folder or name.");
        // The files are written into a hidden folder beside the output and renamed
        // into place at the end: an interrupted run leaves nothing that looks done.
        AtomicFolder folder;
        if (!folder.open(s.output)) sourceError(folder.error());
        WorkingTable work;
        tidyLayout(tree, work);
        SplitProgress progress;
        if (line.enabled())
            progress.file = [&](int k, int total, double, const std::string& status) {
                if (k % 100 == 0 || k == total) line.show(status);
            };
        try {
            writeSeparateFiles(tree, work, sheet, s.split, folder, !s.cp1252, progress);
        } catch (const std::runtime_error& e) {
            sourceError(e.what());
        }
        if (!folder.commit()) sourceError(folder.error());
        line.clear();
    }
};

}  // namespace

std::unique_ptr<Command> makeConvertCommand() {
    return std::make_unique<ConvertCommand>();
}

}  // namespace rq::cli
