#include "cli/commands.h"

#include "layout/defaultlayout.h"
#include "layout/layoutfile.h"
#include "layout/namerules.h"
#include "layout/prolog.h"

namespace rq::cli {

std::vector<std::unique_ptr<Command>> makeCommands() {
    std::vector<std::unique_ptr<Command>> all;
    all.push_back(makeTablesCommand());
    all.push_back(makeConvertCommand());
    all.push_back(makeExportCommand());
    all.push_back(makeLayoutCommand());
    all.push_back(makeSourcesCommand());
    all.push_back(makeHelpCommand());
    return all;
}

void checkTableOptions(const Settings& s, const std::string& command) {
    if (!s.table.empty() && !s.sql.empty())
        usageError(command + " takes --table or --sql, not both");
    if (!s.xslt.empty() && !s.css.empty()) usageError("give --xslt or --css, not both");
}

void buildLayout(LayoutTree& tree, const DataSheet& sheet, const Settings& s) {
    if (!s.layout.empty()) {
        try {
            loadLayoutFile(s.layout, tree, &sheet);
        } catch (const LayoutFileError& e) {
            sourceError(std::string("bad layout file: ") + e.what());
        }
    } else {
        buildDefaultLayout(tree, sheet);
    }
    if (!s.xslt.empty()) assignProlog(tree, kAssignXslt, true, s.xslt);
    if (!s.css.empty()) assignProlog(tree, kAssignCss, true, s.css);
    if (!s.dtd.empty()) assignProlog(tree, kAssignDtd, true, s.dtd);
    std::vector<RootAttribute> rows;
    if (s.schemaNamespace) rows = schemaRows(*s.schemaNamespace, *s.schemaLocation);
    for (const auto& a : s.rootAttributes) {
        const std::size_t eq = a.find('=');
        if (eq == std::string::npos)
            usageError("--root-attribute needs NAME=VALUE, not \"" + a + "\"");
        const std::string name = cleanTagName(a.substr(0, eq));
        if (name.empty()) usageError("\"" + a.substr(0, eq) + "\" is not a usable attribute name");
        if (!isUniqueAttributeName(rows, name))
            usageError("the root attribute " + name + " is given twice");
        rows.push_back({name, a.substr(eq + 1)});
    }
    if (!rows.empty()) applyRootAttributes(tree, rows);
}

}  // namespace rq::cli
