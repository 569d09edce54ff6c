// The commands of rowquill-cli, one class each, and what several share.
#pragma once

#include <memory>

#include "cli/command.h"
#include "layout/layouttree.h"
#include "sheet/datasheet.h"

namespace rq::cli {

std::unique_ptr<Command> makeTablesCommand();
std::unique_ptr<Command> makeConvertCommand();
std::unique_ptr<Command> makeExportCommand();
std::unique_ptr<Command> makeLayoutCommand();
std::unique_ptr<Command> makeSourcesCommand();
std::unique_ptr<Command> makeHelpCommand();

// --table and --sql exclude each other; --xslt and --css too.
void checkTableOptions(const Settings& s, const std::string& command);

// The layout: --layout's file or the sheet's default layout, then the prolog
// and root attributes the options ask for.
void buildLayout(LayoutTree& tree, const DataSheet& sheet, const Settings& s);

}  // namespace rq::cli
