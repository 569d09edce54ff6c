#include "layout/prolog.h"

namespace rq {

namespace {

// The root's name: column 1 of the node table's row 2 (a tidy keeps the root at 2).
std::string rootName(const LayoutTree& tree) {
    return tree.table().rows() > 2 ? tree.table().cell(2, 1) : std::string();
}

}  // namespace

std::string stylesheetInstruction(bool xslt, const std::string& location) {
    return std::string("<?xml:stylesheet type=\"") + (xslt ? "text/xsl" : "text/css") +
           "\" href=\"" + location + "\"?>";
}

std::string doctypeDeclaration(const std::string& root, const std::string& location) {
    return "<!DOCTYPE " + root + " SYSTEM \"" + location + "\">";
}

void assignProlog(LayoutTree& tree, int mode, bool ticked, const std::string& location) {
    if (mode == kAssignDtd)
        tree.doctype = ticked ? doctypeDeclaration(rootName(tree), location) : std::string();
    else if (mode == kAssignXslt || mode == kAssignCss)
        tree.stylesheet =
            ticked ? stylesheetInstruction(mode == kAssignXslt, location) : std::string();
    else
        return;
    if (LayoutNode* doc = tree.documentNode()) doc->text = documentNodeText(tree);
}

void defineXmlDocument(LayoutTree& tree, const std::string& answer) {
    if (answer.empty()) return;
    if (LayoutNode* doc = tree.documentNode()) doc->text = answer;
}

std::string rootAttributeText(const std::vector<RootAttribute>& rows) {
    std::string text = " ";
    for (const auto& r : rows) {
        text += r.name;
        text += "=\"";
        text += r.value;
        text += "\" ";
    }
    return text;
}

void applyRootAttributes(LayoutTree& tree, const std::vector<RootAttribute>& rows) {
    tree.rootAttributes = rootAttributeText(rows);
    if (LayoutNode* root = tree.rootElement())
        root->text = "<" + rootName(tree) + tree.rootAttributes + ">";
}

std::vector<RootAttribute> schemaRows(const std::string& ns, const std::string& schemaFile) {
    return {
        {"xmlns", ns}, {"xmlns:xsi", kSchemaInstanceNamespace}, {"xsi:schemaLocation", schemaFile}};
}

bool isUniqueAttributeName(const std::vector<RootAttribute>& rows, const std::string& name,
                           int skipRow) {
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (static_cast<int>(i) != skipRow && rows[i].name == name) return false;
    return true;
}

}  // namespace rq
