#include "base/xml/xmlreader.h"

#include <expat.h>

#include <algorithm>
#include <climits>
#include <memory>

namespace rq {

const std::string* XmlElement::attribute(std::string_view attributeName) const {
    for (const XmlAttribute& a : attributes)
        if (a.name == attributeName) return &a.value;
    return nullptr;
}

namespace {

struct ParserDeleter {
    void operator()(XML_ParserStruct* p) const { XML_ParserFree(p); }
};

// State shared with the expat callbacks.
struct Builder {
    XML_Parser parser = nullptr;
    XmlDocument doc;
    std::vector<std::size_t> open;  // indices of the elements not yet ended
    std::string refusal;            // set by a callback that stops the parser
    int refusalLine = 0;

    int currentLine() const {
        XML_Size line = XML_GetCurrentLineNumber(parser);
        return line > INT_MAX ? INT_MAX : static_cast<int>(line);
    }
    void refuse(const std::string& what) {
        if (refusal.empty()) {
            refusal = what;
            refusalLine = currentLine();
        }
        XML_StopParser(parser, XML_FALSE);
    }
};

void XMLCALL onStart(void* data, const XML_Char* name, const XML_Char** atts) {
    auto* b = static_cast<Builder*>(data);
    const std::size_t index = b->doc.elements.size();
    if (!b->open.empty()) b->doc.elements[b->open.back()].children.push_back(index);
    XmlElement& e = b->doc.elements.emplace_back();
    e.name = name;
    e.line = b->currentLine();
    std::size_t n = 0;
    while (atts[n]) n += 2;
    e.attributes.reserve(n / 2);
    for (; atts[0]; atts += 2) e.attributes.push_back({atts[0], atts[1]});
    b->open.push_back(index);
}

void XMLCALL onEnd(void* data, const XML_Char*) {
    static_cast<Builder*>(data)->open.pop_back();
}

void XMLCALL onText(void* data, const XML_Char* s, int len) {
    auto* b = static_cast<Builder*>(data);
    if (!b->open.empty())
        b->doc.elements[b->open.back()].text.append(s, static_cast<std::size_t>(len));
}

void XMLCALL onDoctype(void* data, const XML_Char*, const XML_Char*, const XML_Char*, int) {
    static_cast<Builder*>(data)->refuse("a DOCTYPE is not accepted here");
}

}  // namespace

XmlDocument readXml(std::string_view bytes) {
    std::unique_ptr<XML_ParserStruct, ParserDeleter> parser(XML_ParserCreate(nullptr));
    if (!parser) throw std::bad_alloc();
    Builder b;
    b.parser = parser.get();
    XML_SetUserData(b.parser, &b);
    XML_SetElementHandler(b.parser, onStart, onEnd);
    XML_SetCharacterDataHandler(b.parser, onText);
    XML_SetStartDoctypeDeclHandler(b.parser, onDoctype);

    // expat takes an int length: feed larger inputs in pieces.
    constexpr std::size_t kPiece = std::size_t{1} << 30;
    XML_Status status = XML_STATUS_OK;
    do {
        const std::size_t n = std::min(bytes.size(), kPiece);
        const bool last = n == bytes.size();
        status =
            XML_Parse(b.parser, bytes.data(), static_cast<int>(n), last ? XML_TRUE : XML_FALSE);
        bytes.remove_prefix(n);
    } while (status == XML_STATUS_OK && !bytes.empty());

    if (status != XML_STATUS_OK) {
        if (!b.refusal.empty())
            throw XmlError("line " + std::to_string(b.refusalLine) + ": " + b.refusal,
                           b.refusalLine);
        XML_Size at = XML_GetErrorLineNumber(b.parser);
        int line = at > INT_MAX ? INT_MAX : static_cast<int>(at);
        throw XmlError(
            "line " + std::to_string(line) + ": " + XML_ErrorString(XML_GetErrorCode(b.parser)),
            line);
    }
    return std::move(b.doc);
}

}  // namespace rq
