#include "layout/layoutfile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "base/text/cp1252.h"
#include "base/xml/xmlreader.h"
#include "base/xml/xmltext.h"
#include "base/io/atomicfile.h"
#include "layout/namerules.h"

namespace rq {

namespace {

// Levels of nodes below the root element. Deeper layouts cannot be made in any
// sensible editing session, and their indented text would grow with the square
// of the depth.
constexpr int kMaxDepth = 1000;
// A bound column has at most this many decimal digits.
constexpr std::size_t kMaxColumnDigits = 6;

constexpr std::string_view kTopTag = "rowquill-layout";

[[noreturn]] void refuse(int line, const std::string& what) {
    throw LayoutFileError(line > 0 ? "line " + std::to_string(line) + ": " + what : what, line);
}

// A string quoted for a message: at most 40 bytes (whole characters), control
// characters shown as "?", so that the message stays on one line.
std::string quoted(std::string_view s) {
    std::string out = "\"";
    std::size_t i = 0;
    while (i < s.size() && i < 40) {
        char32_t c;
        std::size_t len = decodeUtf8(s, i, c);
        if (c < 0x20 || (c >= 0x7F && c <= 0x9F))
            out += '?';
        else
            out.append(s, i, len);
        i += len;
    }
    if (i < s.size()) out += "...";
    return out + "\"";
}

int kindOfTag(std::string_view tag) {
    if (tag == "element") return kKindElement;
    if (tag == "data-element") return kKindDataElement;
    if (tag == "attribute") return kKindAttribute;
    if (tag == "data-attribute") return kKindDataAttribute;
    return 0;
}

const char* tagOfKind(int kind) {
    switch (kind) {
        case kKindElement:
            return "element";
        case kKindDataElement:
            return "data-element";
        case kKindAttribute:
            return "attribute";
        case kKindDataAttribute:
            return "data-attribute";
        default:
            return nullptr;
    }
}

// Why a node's name cannot be used, or "" when it can. No name may be empty or
// hold a blank, a line break or another control character. Plain elements,
// attributes and the root are only ever named through the name
// rule, so their names must hold nothing the rule removes; data nodes may carry
// a sheet column's name, which only has its blanks replaced.
std::string nameProblem(int kind, std::string_view name) {
    if (name.empty()) return "needs a name";
    const bool cleanedByRule = !isDataKind(kind);
    for (std::size_t i = 0; i < name.size();) {
        char32_t c;
        const std::size_t len = decodeUtf8(name, i, c);
        const std::string_view ch = name.substr(i, len);
        if (c <= 0x20 || (c >= 0x7F && c <= 0x9F))
            return "has the name " + quoted(name) + ", which cannot hold " +
                   (c == ' ' ? std::string("a blank") : describeChar(c));
        if (cleanedByRule && !isCleanName(ch))
            return "has the name " + quoted(name) + ", which cannot hold \"" + std::string(ch) +
                   "\"";
        i += len;
    }
    return {};
}

bool isColumnNumber(std::string_view column) {
    return !column.empty() && column.size() <= kMaxColumnDigits &&
           column.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isBlank(std::string_view s) {
    return s.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// ---- writing -------------------------------------------------------------------------

// Where a node stands in messages about writing it.
std::string describeNode(const char* tag, std::string_view name) {
    return std::string("<") + tag + " name=" + quoted(name) + ">";
}

// Checks one string before it is written; throws when XML cannot carry it.
void checkWritable(std::string_view text, const std::string& what) {
    XmlCharProblem p;
    if (findNonXmlChar(text, p))
        refuse(0, what + " holds " + describeChar(p.code) + ", which a layout file cannot hold");
}

void checkName(int kind, const char* tag, std::string_view name) {
    checkWritable(name, "the name of <" + std::string(tag) + ">");
    const std::string problem = nameProblem(kind, name);
    if (!problem.empty()) refuse(0, "<" + std::string(tag) + "> " + problem);
}

void appendAttribute(std::string& out, const char* key, std::string_view value) {
    out += ' ';
    out += key;
    out += "=\"";
    appendXmlAttribute(out, value);
    out += '"';
}

// Appends one node's start tag (self-closing when it has no children).
void appendNode(std::string& out, const NodeTable& t, const LayoutNode& n, int depth) {
    const char* tag = tagOfKind(n.kind);
    if (!tag)
        refuse(0, "a node of kind " + std::to_string(n.kind) + " cannot stand below the root");
    const int r = nodeNumber(n.key);
    const std::string& name = t.cell(r, 1);
    checkName(n.kind, tag, name);
    if (isAttributeKind(n.kind) && !n.children.empty())
        refuse(0, "the attribute " + describeNode(tag, name) + " has children");
    if (isAttributeKind(n.kind) && depth == 1)
        refuse(0, "the attribute " + describeNode(tag, name) + " stands directly under the root");
    if (depth > kMaxDepth) refuse(0, "the layout nests deeper than " + std::to_string(kMaxDepth));
    out.append(static_cast<std::size_t>(depth + 1) * 2, ' ');
    out += '<';
    out += tag;
    appendAttribute(out, "name", name);
    if (isDataKind(n.kind)) {
        const std::string& column = t.cell(r, 3);
        if (!isColumnNumber(column))
            refuse(0, describeNode(tag, name) + " is bound to the column " + quoted(column) +
                          ", which is not a column number");
        appendAttribute(out, "column", column);
    } else {
        const std::string& value = t.cell(r, 2);
        checkWritable(value, "the value of " + describeNode(tag, name));
        appendAttribute(out, "value", value);
    }
    out += n.children.empty() ? "/>\n" : ">\n";
}

// Appends the nodes below the root in document order, depth-first without
// recursion: a stack entry with close set writes the end tag of its node.
void appendNodesBelow(std::string& out, const NodeTable& t, const LayoutNode& root) {
    struct Item {
        const LayoutNode* node;
        int depth;
        bool close;
    };
    std::vector<Item> stack;
    for (auto it = root.children.rbegin(); it != root.children.rend(); ++it)
        stack.push_back({*it, 1, false});
    while (!stack.empty()) {
        const Item item = stack.back();
        stack.pop_back();
        if (item.close) {
            out.append(static_cast<std::size_t>(item.depth + 1) * 2, ' ');
            out += "</";
            out += tagOfKind(item.node->kind);
            out += ">\n";
            continue;
        }
        appendNode(out, t, *item.node, item.depth);
        if (item.node->children.empty()) continue;
        stack.push_back({item.node, item.depth, true});
        for (auto it = item.node->children.rbegin(); it != item.node->children.rend(); ++it)
            stack.push_back({*it, item.depth + 1, false});
    }
}

}  // namespace

std::string layoutFileText(const LayoutTree& tree) {
    const NodeTable& t = tree.table();
    const LayoutNode* doc = tree.documentNode();
    const LayoutNode* root = doc && !doc->children.empty() ? doc->children.front() : nullptr;
    if (!root) refuse(0, "the layout has no root element");

    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rowquill-layout version=\"1\">\n";
    checkWritable(tree.stylesheet, "the stylesheet instruction");
    checkWritable(tree.doctype, "the DOCTYPE");
    checkWritable(doc->text, "the prolog");
    out += "  <prolog";
    if (!tree.stylesheet.empty()) appendAttribute(out, "stylesheet", tree.stylesheet);
    if (!tree.doctype.empty()) appendAttribute(out, "doctype", tree.doctype);
    out += '>';
    appendXmlText(out, doc->text);
    out += "</prolog>\n";

    const std::string& rootName = t.cell(nodeNumber(root->key), 1);
    checkName(kKindDocument, "root", rootName);
    checkWritable(tree.rootAttributes, "the root's attribute text");
    out += "  <root";
    appendAttribute(out, "name", rootName);
    if (!tree.rootAttributes.empty()) appendAttribute(out, "attributes", tree.rootAttributes);
    if (root->children.empty()) {
        out += "/>\n";
    } else {
        out += ">\n";
        appendNodesBelow(out, t, *root);
        out += "  </root>\n";
    }
    out += "</rowquill-layout>\n";
    return out;
}

bool saveLayoutFile(const std::string& path, const LayoutTree& tree, std::string* error) {
    std::string text;
    try {
        text = layoutFileText(tree);
    } catch (const LayoutFileError& e) {
        if (error) *error = "Cannot write the layout file " + path + ": " + e.what();
        return false;
    }
    AtomicFile f;
    if (f.open(path) && f.write(text) && f.commit()) return true;
    if (error) *error = f.error();
    return false;
}

// ---- reading -------------------------------------------------------------------------

namespace {

// Refuses every XML attribute of e other than the two allowed ones.
void checkKeys(const XmlElement& e, std::string_view a, std::string_view b = {}) {
    for (const XmlAttribute& x : e.attributes)
        if (x.name != a && x.name != b)
            refuse(e.line, "<" + e.name + "> cannot have the attribute " + quoted(x.name));
}

void checkNoText(const XmlElement& e) {
    if (!isBlank(e.text)) refuse(e.line, "<" + e.name + "> cannot hold text");
}

// Checks one layout node below the root; depth 1 is a child of the root.
void checkNode(const XmlElement& e, int depth) {
    const int kind = kindOfTag(e.name);
    if (!kind) refuse(e.line, "unknown tag <" + e.name + ">");
    if (depth > kMaxDepth)
        refuse(e.line, "the layout nests deeper than " + std::to_string(kMaxDepth));
    checkKeys(e, "name", isDataKind(kind) ? "column" : "value");
    const std::string* name = e.attribute("name");
    const std::string problem = nameProblem(kind, name ? *name : std::string());
    if (!problem.empty()) refuse(e.line, "<" + e.name + "> " + problem);
    if (isDataKind(kind)) {
        const std::string* column = e.attribute("column");
        if (!column) refuse(e.line, "<" + e.name + "> needs a column");
        if (!isColumnNumber(*column))
            refuse(e.line, "the column " + quoted(*column) + " is not a column number (0 to " +
                               std::string(kMaxColumnDigits, '9') + ")");
    }
    if (isAttributeKind(kind) && depth == 1)
        refuse(e.line, "an attribute cannot be placed directly under the root element");
    if (isAttributeKind(kind) && !e.children.empty())
        refuse(e.line, "an attribute cannot have children");
    checkNoText(e);
}

// Checks every node below the root before anything is built.
void checkNodesBelow(const XmlDocument& doc, std::size_t root) {
    std::vector<std::pair<std::size_t, int>> todo;
    for (std::size_t c : doc.at(root).children) todo.emplace_back(c, 1);
    while (!todo.empty()) {
        const auto [index, depth] = todo.back();
        todo.pop_back();
        checkNode(doc.at(index), depth);
        for (std::size_t c : doc.at(index).children) todo.emplace_back(c, depth + 1);
    }
}

struct Parts {
    const XmlElement* prolog = nullptr;
    std::size_t root = 0;
};

// Checks the document element, the prolog and the root; returns them.
Parts checkFrame(const XmlDocument& doc) {
    const XmlElement& top = doc.root();
    if (top.name != kTopTag)
        refuse(top.line, "this is not a layout file (the document element is <" + top.name + ">)");
    checkKeys(top, "version");
    if (const std::string* v = top.attribute("version"); v && *v != "1")
        refuse(top.line, "layout file version " + quoted(*v) + " is not supported");
    checkNoText(top);
    Parts parts;
    bool haveRoot = false;
    for (std::size_t ci : top.children) {
        const XmlElement& c = doc.at(ci);
        if (c.name == "prolog" && !parts.prolog) {
            checkKeys(c, "stylesheet", "doctype");
            if (!c.children.empty()) refuse(c.line, "<prolog> holds text only");
            parts.prolog = &c;
        } else if (c.name == "root" && !haveRoot) {
            checkKeys(c, "name", "attributes");
            const std::string* name = c.attribute("name");
            const std::string problem = nameProblem(kKindDocument, name ? *name : std::string());
            if (!problem.empty()) refuse(c.line, "<root> " + problem);
            checkNoText(c);
            parts.root = ci;
            haveRoot = true;
        } else {
            refuse(c.line, c.name == "prolog" || c.name == "root" ? "a second <" + c.name + ">"
                                                                  : "unknown tag <" + c.name + ">");
        }
    }
    if (!haveRoot) refuse(top.line, "the layout has no <root>");
    return parts;
}

std::string displayText(int kind, const std::string& name, const std::string& value) {
    switch (kind) {
        case kKindElement:
            return elementText(name, value);
        case kKindDataElement:
            return "<" + name + ">";
        case kKindAttribute:
            return attributeText(name, value);
        default:
            return dataAttributeText(name);
    }
}

// Adds the nodes below the root in document order, so that keys follow it.
void buildNodesBelow(const XmlDocument& doc, std::size_t root, LayoutTree& tree,
                     LayoutNode* rootNode) {
    NodeTable& t = tree.table();
    std::vector<std::pair<std::size_t, LayoutNode*>> todo;
    const auto& top = doc.at(root).children;
    for (auto it = top.rbegin(); it != top.rend(); ++it) todo.emplace_back(*it, rootNode);
    while (!todo.empty()) {
        auto [index, parent] = todo.back();
        todo.pop_back();
        const XmlElement& e = doc.at(index);
        const int kind = kindOfTag(e.name);
        const std::string& name = *e.attribute("name");
        const std::string* v = e.attribute(isDataKind(kind) ? "column" : "value");
        const std::string value = v ? *v : std::string();
        const int row = t.rows() - 1;
        t.setCell(row, 1, name);
        t.setCell(row, isDataKind(kind) ? 3 : 2, value);
        t.grow();
        LayoutNode* node = tree.add(parent, Relation::LastChild, tree.newKey(),
                                    displayText(kind, name, value), kind);
        node->expanded = !e.children.empty();
        for (auto it = e.children.rbegin(); it != e.children.rend(); ++it)
            todo.emplace_back(*it, node);
    }
}

}  // namespace

void readLayoutText(std::string_view text, LayoutTree& tree, const DataSheet* sheet) {
    XmlDocument doc;
    try {
        doc = readXml(text);
    } catch (const XmlError& e) {
        throw LayoutFileError(e.what(), e.line());
    }
    const Parts parts = checkFrame(doc);
    checkNodesBelow(doc, parts.root);

    // Nothing can fail from here on: the tree is replaced.
    tree.clear();
    tree.keyCounter = 0;
    tree.numberingCounter = 1;
    tree.columnNames.clear();
    if (sheet)
        for (int c = 0; c < sheet->cols(); ++c) {
            std::string name(sheet->cell(0, c));
            std::replace(name.begin(), name.end(), ' ', '_');
            tree.columnNames.push_back(std::move(name));
        }
    NodeTable& t = tree.table();
    t.setRows(0);
    t.setRows(3);  // rows 0 and 1 stay empty; row 2 is the root's

    const XmlElement* pe = parts.prolog;
    const XmlElement& r = doc.at(parts.root);
    const std::string* stylesheet = pe ? pe->attribute("stylesheet") : nullptr;
    const std::string* doctype = pe ? pe->attribute("doctype") : nullptr;
    const std::string* attrs = r.attribute("attributes");
    tree.stylesheet = stylesheet ? *stylesheet : std::string();
    tree.doctype = doctype ? *doctype : std::string();
    tree.rootAttributes = attrs ? *attrs : std::string();

    const std::string& rootName = *r.attribute("name");
    LayoutNode* docNode = tree.add(nullptr, Relation::LastChild, tree.newKey(),
                                   pe ? pe->text : documentNodeText(tree), kKindDocument);
    docNode->expanded = true;
    t.setCell(2, 1, rootName);
    t.grow();
    LayoutNode* rootNode = tree.add(docNode, Relation::LastChild, tree.newKey(),
                                    "<" + rootName + tree.rootAttributes + ">", kKindDocument);
    rootNode->expanded = true;
    buildNodesBelow(doc, parts.root, tree, rootNode);
}

void loadLayoutFile(const std::string& path, LayoutTree& tree, const DataSheet* sheet) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!f)
        throw LayoutFileError("Cannot open the layout file " + path + ": " + std::strerror(errno),
                              0);
    std::string text;
    char buf[1 << 16];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f.get())) > 0) text.append(buf, n);
    if (std::ferror(f.get()))
        throw LayoutFileError("Cannot read the layout file " + path + ": " + std::strerror(errno),
                              0);
    try {
        readLayoutText(text, tree, sheet);
    } catch (const LayoutFileError& e) {
        throw LayoutFileError(path + ", " + e.what(), e.line());
    }
}

}  // namespace rq
