#include "layout/layoutfile.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <vector>

#include "base/io/atomicfile.h"
#include "base/text/cp1252.h"

namespace rq {

// ---- a small XML reader ----------------------------------------------------------
//
// Elements, attributes, character data, CDATA sections, comments, processing
// instructions and the declaration; the five predefined entities and character
// references. No recursion: open elements are kept on a stack.

namespace {

struct XmlElement {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<int> children;
    std::string text;
    int line = 0;

    const std::string* attribute(std::string_view key) const {
        for (const auto& [k, v] : attributes)
            if (k == key) return &v;
        return nullptr;
    }
};

constexpr int kMaxDepth = 256;
constexpr std::size_t kMaxElements = 1000000;

class XmlReader {
  public:
    explicit XmlReader(std::string_view text) : s_(text) {}

    // Returns the elements; element 0 is the document element.
    std::vector<XmlElement> parse() {
        if (s_.substr(0, 3) == "\xEF\xBB\xBF") advance(3);
        std::vector<int> open;
        while (pos_ < s_.size()) {
            if (startsWith("<?")) {
                skipPast("?>", "an unterminated processing instruction");
            } else if (startsWith("<!--")) {
                skipPast("-->", "an unterminated comment");
            } else if (startsWith("<![CDATA[")) {
                if (open.empty()) fail("character data outside the document element");
                advance(9);
                std::size_t end = s_.find("]]>", pos_);
                if (end == std::string_view::npos) fail("an unterminated CDATA section");
                elements_[static_cast<std::size_t>(open.back())].text +=
                    s_.substr(pos_, end - pos_);
                advance(end + 3 - pos_);
            } else if (startsWith("<!DOCTYPE")) {
                std::size_t end = s_.find('>', pos_);
                if (end == std::string_view::npos) fail("an unterminated DOCTYPE");
                if (s_.substr(pos_, end - pos_).find('[') != std::string_view::npos)
                    fail("a DOCTYPE with an internal subset is not supported");
                advance(end + 1 - pos_);
            } else if (startsWith("</")) {
                advance(2);
                std::string name = readName();
                skipSpace();
                expect('>');
                if (open.empty() || elements_[static_cast<std::size_t>(open.back())].name != name)
                    fail("the end tag </" + name + "> does not match " +
                         (open.empty()
                              ? std::string("any start tag")
                              : "<" + elements_[static_cast<std::size_t>(open.back())].name + ">"));
                open.pop_back();
                if (open.empty()) closedRoot_ = true;
            } else if (startsWith("<")) {
                advance(1);
                if (closedRoot_ || (open.empty() && !elements_.empty()))
                    fail("more than one document element");
                if (elements_.size() >= kMaxElements) fail("too many elements");
                XmlElement e;
                e.line = line_;
                e.name = readName();
                bool selfClosing = readAttributes(e);
                int index = static_cast<int>(elements_.size());
                if (!open.empty())
                    elements_[static_cast<std::size_t>(open.back())].children.push_back(index);
                elements_.push_back(std::move(e));
                if (selfClosing) {
                    if (open.empty()) closedRoot_ = true;
                } else {
                    if (static_cast<int>(open.size()) >= kMaxDepth) fail("elements nest too deep");
                    open.push_back(index);
                }
            } else {
                std::size_t end = s_.find('<', pos_);
                if (end == std::string_view::npos) end = s_.size();
                int startLine = line_;
                std::string text = decode(s_.substr(pos_, end - pos_));
                advance(end - pos_);
                if (open.empty()) {
                    if (text.find_first_not_of(" \t\r\n") != std::string::npos) {
                        line_ = startLine;
                        fail("text outside the document element");
                    }
                } else {
                    elements_[static_cast<std::size_t>(open.back())].text += text;
                }
            }
        }
        if (!open.empty())
            fail("the element <" + elements_[static_cast<std::size_t>(open.back())].name +
                 "> is not closed");
        if (elements_.empty()) fail("no document element");
        return std::move(elements_);
    }

  private:
    std::string_view s_;
    std::size_t pos_ = 0;
    int line_ = 1;
    bool closedRoot_ = false;
    std::vector<XmlElement> elements_;

    [[noreturn]] void fail(const std::string& what) const {
        throw LayoutFileError("line " + std::to_string(line_) + ": " + what, line_);
    }
    bool startsWith(std::string_view p) const { return s_.compare(pos_, p.size(), p) == 0; }
    void advance(std::size_t n) {
        n = std::min(n, s_.size() - pos_);
        line_ +=
            static_cast<int>(std::count(s_.begin() + static_cast<std::ptrdiff_t>(pos_),
                                        s_.begin() + static_cast<std::ptrdiff_t>(pos_ + n), '\n'));
        pos_ += n;
    }
    void skipPast(std::string_view end, const char* what) {
        std::size_t at = s_.find(end, pos_);
        if (at == std::string_view::npos) fail(what);
        advance(at + end.size() - pos_);
    }
    void skipSpace() {
        std::size_t start = pos_;
        while (pos_ < s_.size() &&
               (s_[pos_] == ' ' || s_[pos_] == '\t' || s_[pos_] == '\r' || s_[pos_] == '\n'))
            ++pos_;
        std::size_t end = pos_;
        pos_ = start;
        advance(end - start);
    }
    void expect(char c) {
        if (pos_ >= s_.size() || s_[pos_] != c)
            fail(std::string("expected \"") + c + "\"" +
                 (pos_ >= s_.size() ? " before the end of the file" : ""));
        advance(1);
    }
    static bool nameChar(unsigned char c, bool first) {
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || c >= 0x80)
            return true;
        return !first && ((c >= '0' && c <= '9') || c == '-' || c == '.');
    }
    std::string readName() {
        std::size_t start = pos_;
        while (pos_ < s_.size() && nameChar(static_cast<unsigned char>(s_[pos_]), pos_ == start))
            ++pos_;
        if (pos_ == start) fail("a tag or attribute name was expected");
        return std::string(s_.substr(start, pos_ - start));
    }
    // Reads the attributes and the end of the start tag; true for "/>".
    bool readAttributes(XmlElement& e) {
        for (;;) {
            skipSpace();
            if (startsWith("/>")) {
                advance(2);
                return true;
            }
            if (startsWith(">")) {
                advance(1);
                return false;
            }
            if (pos_ >= s_.size()) fail("the start tag <" + e.name + "> is not closed");
            std::string key = readName();
            skipSpace();
            expect('=');
            skipSpace();
            if (pos_ >= s_.size() || (s_[pos_] != '"' && s_[pos_] != '\''))
                fail("the value of " + key + " must be quoted");
            char q = s_[pos_];
            std::size_t end = s_.find(q, pos_ + 1);
            if (end == std::string_view::npos) fail("the value of " + key + " is not closed");
            std::string_view raw = s_.substr(pos_ + 1, end - pos_ - 1);
            if (raw.find('<') != std::string_view::npos)
                fail("\"<\" in the value of " + key + " must be written &lt;");
            std::string value = decode(raw);
            advance(end + 1 - pos_);
            if (e.attribute(key)) fail("the attribute " + key + " is given twice");
            e.attributes.emplace_back(std::move(key), std::move(value));
        }
    }
    std::string decode(std::string_view raw) const {
        std::string out;
        out.reserve(raw.size());
        for (std::size_t i = 0; i < raw.size(); ++i) {
            if (raw[i] != '&') {
                out += raw[i];
                continue;
            }
            std::size_t semi = raw.find(';', i);
            if (semi == std::string_view::npos || semi - i > 12) fail("a bare \"&\"; write &amp;");
            std::string_view ent = raw.substr(i + 1, semi - i - 1);
            i = semi;
            if (ent == "lt")
                out += '<';
            else if (ent == "gt")
                out += '>';
            else if (ent == "amp")
                out += '&';
            else if (ent == "quot")
                out += '"';
            else if (ent == "apos")
                out += '\'';
            else if (ent.size() > 1 && ent[0] == '#') {
                bool hex = ent[1] == 'x';
                std::string_view digits = ent.substr(hex ? 2 : 1);
                unsigned long code = 0;
                bool ok = !digits.empty();
                for (char c : digits) {
                    int d = c >= '0' && c <= '9'          ? c - '0'
                            : hex && c >= 'a' && c <= 'f' ? c - 'a' + 10
                            : hex && c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                          : -1;
                    if (d < 0) ok = false;
                    code = code * (hex ? 16 : 10) + static_cast<unsigned long>(std::max(d, 0));
                    if (code > 0x10FFFF) ok = false;
                }
                if (!ok || code == 0 || (code >= 0xD800 && code <= 0xDFFF))
                    fail("the character reference &" + std::string(ent) + "; is not valid");
                appendUtf8(out, static_cast<char32_t>(code));
            } else {
                fail("unknown entity &" + std::string(ent) + ";");
            }
        }
        return out;
    }
};

// ---- writing -----------------------------------------------------------------------

std::string escaped(std::string_view s, bool attribute) {
    std::string out;
    for (char c : s) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += attribute ? "&quot;" : "\"";
                break;
            case '\r':
                out += "&#13;";
                break;
            case '\n':
                out += attribute ? "&#10;" : "\n";
                break;
            case '\t':
                out += attribute ? "&#9;" : "\t";
                break;
            default:
                out += c;
        }
    }
    return out;
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
            return "element";
    }
}

}  // namespace

std::string layoutFileText(const LayoutTree& tree) {
    const NodeTable& t = tree.table();
    const LayoutNode* doc = tree.documentNode();
    const LayoutNode* root = doc && !doc->children.empty() ? doc->children.front() : nullptr;
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rowquill-layout version=\"1\">\n";
    out += "  <prolog";
    if (!tree.stylesheet.empty()) out += " stylesheet=\"" + escaped(tree.stylesheet, true) + "\"";
    if (!tree.doctype.empty()) out += " doctype=\"" + escaped(tree.doctype, true) + "\"";
    out += ">" + escaped(doc ? doc->text : std::string(kXmlDeclaration), false) + "</prolog>\n";
    if (!root) {
        out += "</rowquill-layout>\n";
        return out;
    }
    const int rootRow = nodeNumber(root->key);
    out += "  <root name=\"" + escaped(t.rows() > rootRow ? t.cell(rootRow, 1) : "", true) + "\"";
    if (!tree.rootAttributes.empty())
        out += " attributes=\"" + escaped(tree.rootAttributes, true) + "\"";
    out += root->children.empty() ? "/>\n" : ">\n";

    // Pre-order walk with an explicit stack; a null entry closes the element
    // below it on the stack.
    struct Item {
        const LayoutNode* node;
        bool close;
    };
    std::vector<Item> stack;
    for (auto it = root->children.rbegin(); it != root->children.rend(); ++it)
        stack.push_back({*it, false});
    int depth = 2;
    while (!stack.empty()) {
        Item item = stack.back();
        stack.pop_back();
        const LayoutNode* n = item.node;
        if (item.close) {
            --depth;
            out += std::string(static_cast<std::size_t>(depth) * 2, ' ') + "</" +
                   tagOfKind(n->kind) + ">\n";
            continue;
        }
        const int r = nodeNumber(n->key);
        const std::string name = r < t.rows() ? t.cell(r, 1) : std::string();
        out += std::string(static_cast<std::size_t>(depth) * 2, ' ') + "<" + tagOfKind(n->kind) +
               " name=\"" + escaped(name, true) + "\"";
        if (isDataKind(n->kind))
            out += " column=\"" + escaped(r < t.rows() ? t.cell(r, 3) : "", true) + "\"";
        else
            out += " value=\"" + escaped(r < t.rows() ? t.cell(r, 2) : "", true) + "\"";
        if (n->children.empty() || isAttributeKind(n->kind)) {
            out += "/>\n";
            continue;
        }
        out += ">\n";
        ++depth;
        stack.push_back({n, true});
        for (auto it = n->children.rbegin(); it != n->children.rend(); ++it)
            stack.push_back({*it, false});
    }
    out += "  </root>\n</rowquill-layout>\n";
    return out;
}

bool saveLayoutFile(const std::string& path, const LayoutTree& tree) {
    return writeFileAtomically(path, layoutFileText(tree));
}

// ---- reading -----------------------------------------------------------------------

namespace {

[[noreturn]] void refuse(const XmlElement& e, const std::string& what) {
    throw LayoutFileError("line " + std::to_string(e.line) + ": " + what, e.line);
}

bool isBlankText(const std::string& s) {
    return s.find_first_not_of(" \t\r\n") == std::string::npos;
}

int kindOfTag(const std::string& tag) {
    if (tag == "element") return kKindElement;
    if (tag == "data-element") return kKindDataElement;
    if (tag == "attribute") return kKindAttribute;
    if (tag == "data-attribute") return kKindDataAttribute;
    return 0;
}

// Checks every layout element below root before anything is built.
void validate(const std::vector<XmlElement>& els, int root) {
    std::vector<int> todo = {root};
    while (!todo.empty()) {
        const XmlElement& parent = els[static_cast<std::size_t>(todo.back())];
        const bool parentIsRoot = todo.back() == root;
        todo.pop_back();
        if (!isBlankText(parent.text)) refuse(parent, "unexpected text in <" + parent.name + ">");
        for (int ci : parent.children) {
            const XmlElement& c = els[static_cast<std::size_t>(ci)];
            const int kind = kindOfTag(c.name);
            if (!kind) refuse(c, "unknown tag <" + c.name + ">");
            if (isAttributeKind(kind) && parentIsRoot)
                refuse(c, "an attribute cannot be placed directly under the root element");
            if (isAttributeKind(kind) && (!c.children.empty() || !isBlankText(c.text)))
                refuse(c, "an attribute cannot have children");
            const std::string* name = c.attribute("name");
            if (!name || name->empty()) refuse(c, "<" + c.name + "> needs a name");
            if (isDataKind(kind)) {
                const std::string* col = c.attribute("column");
                if (!col) refuse(c, "<" + c.name + "> needs a column");
                if (col->size() > 9 || col->find_first_not_of("0123456789") != std::string::npos)
                    refuse(c, "the column \"" + *col + "\" is not a column number");
            }
            todo.push_back(ci);
        }
    }
}

}  // namespace

void readLayoutText(std::string_view text, LayoutTree& tree, const DataSheet* sheet) {
    std::vector<XmlElement> els = XmlReader(text).parse();
    const XmlElement& top = els[0];
    if (top.name != "rowquill-layout")
        refuse(top, "this is not a layout file (the document element is <" + top.name + ">)");
    if (const std::string* v = top.attribute("version"); v && *v != "1")
        refuse(top, "layout file version " + *v + " is not supported");
    int prolog = -1, root = -1;
    for (int ci : top.children) {
        const XmlElement& c = els[static_cast<std::size_t>(ci)];
        if (c.name == "prolog" && prolog < 0) {
            if (!c.children.empty()) refuse(c, "<prolog> holds text only");
            prolog = ci;
        } else if (c.name == "root" && root < 0) {
            root = ci;
        } else {
            refuse(c, c.name == "prolog" || c.name == "root" ? "a second <" + c.name + ">"
                                                             : "unknown tag <" + c.name + ">");
        }
    }
    if (!isBlankText(top.text)) refuse(top, "unexpected text in <rowquill-layout>");
    if (root < 0) refuse(top, "the layout has no <root>");
    const XmlElement& r = els[static_cast<std::size_t>(root)];
    const std::string* rootName = r.attribute("name");
    if (!rootName || rootName->empty()) refuse(r, "<root> needs a name");
    validate(els, root);

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
    t.setRows(2);

    const XmlElement* pe = prolog >= 0 ? &els[static_cast<std::size_t>(prolog)] : nullptr;
    tree.stylesheet = pe && pe->attribute("stylesheet") ? *pe->attribute("stylesheet") : "";
    tree.doctype = pe && pe->attribute("doctype") ? *pe->attribute("doctype") : "";
    const std::string* attrs = r.attribute("attributes");
    tree.rootAttributes = attrs ? *attrs : "";

    t.grow();
    LayoutNode* doc = tree.add(nullptr, Relation::LastChild, tree.newKey(),
                               pe ? pe->text : documentNodeText(tree), kKindDocument);
    doc->expanded = true;
    t.setCell(t.rows() - 1, 1, *rootName);
    t.grow();
    LayoutNode* rootNode = tree.add(doc, Relation::LastChild, tree.newKey(),
                                    "<" + *rootName + tree.rootAttributes + ">", kKindDocument);
    rootNode->expanded = true;

    // Pre-order, so that keys follow document order.
    std::vector<std::pair<int, LayoutNode*>> todo;
    for (auto it = r.children.rbegin(); it != r.children.rend(); ++it)
        todo.emplace_back(*it, rootNode);
    while (!todo.empty()) {
        auto [ei, parent] = todo.back();
        todo.pop_back();
        const XmlElement& e = els[static_cast<std::size_t>(ei)];
        const int kind = kindOfTag(e.name);
        const std::string& name = *e.attribute("name");
        const std::string* v = e.attribute(isDataKind(kind) ? "column" : "value");
        const std::string value = v ? *v : "";
        const int row = t.rows() - 1;
        t.setCell(row, 1, name);
        t.setCell(row, isDataKind(kind) ? 3 : 2, value);
        t.grow();
        std::string display = kind == kKindElement       ? elementText(name, value)
                              : kind == kKindDataElement ? "<" + name + ">"
                              : kind == kKindAttribute   ? attributeText(name, value)
                                                         : dataAttributeText(name);
        LayoutNode* node = nullptr;
        if (isAttributeKind(kind)) {
            // Attributes go before the first element among their siblings.
            auto firstElement =
                std::find_if(parent->children.begin(), parent->children.end(),
                             [](const LayoutNode* n) { return !isAttributeKind(n->kind); });
            if (firstElement != parent->children.end())
                node = tree.add(*firstElement, Relation::Previous, tree.newKey(), display, kind);
        }
        if (!node) node = tree.add(parent, Relation::LastChild, tree.newKey(), display, kind);
        node->expanded = !e.children.empty();
        for (auto it = e.children.rbegin(); it != e.children.rend(); ++it)
            todo.emplace_back(*it, node);
    }
}

void loadLayoutFile(const std::string& path, LayoutTree& tree, const DataSheet* sheet) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw LayoutFileError("Cannot open the layout file " + path, 0);
    std::ostringstream s;
    s << in.rdbuf();
    try {
        readLayoutText(s.str(), tree, sheet);
    } catch (const LayoutFileError& e) {
        throw LayoutFileError(path + ", " + e.what(), e.line());
    }
}

}  // namespace rq
