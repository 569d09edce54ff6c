// A small XML reader over expat: the whole document as a flat list of elements
// (name, attributes in written order, character data, children, line), so that
// a caller can check everything before it changes anything of its own.
//
// The input may be UTF-8 or any encoding expat decodes by itself (UTF-16 with a
// byte order mark, ISO-8859-1, US-ASCII, as declared); every string handed out
// is UTF-8. Attribute values arrive normalised as XML prescribes (line breaks
// and tabs written raw become blanks, references are replaced). Comments and
// processing instructions are skipped. A DOCTYPE is refused, so no entity of
// the document's own can grow its text. Reading is linear in the input's size.
#pragma once

#include <cstddef>
#include <deque>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace rq {

class XmlError : public std::runtime_error {
  public:
    XmlError(const std::string& message, int line) : std::runtime_error(message), line_(line) {}
    // 1-based line the reader stopped on.
    int line() const { return line_; }

  private:
    int line_;
};

struct XmlAttribute {
    std::string name;
    std::string value;
};

struct XmlElement {
    std::string name;
    std::vector<XmlAttribute> attributes;  // in written order
    std::string text;                      // all character data directly inside, joined
    std::vector<std::size_t> children;     // indices into XmlDocument::elements
    int line = 0;                          // line of the start tag

    // The attribute's value, or nullptr when it is absent.
    const std::string* attribute(std::string_view attributeName) const;
};

struct XmlDocument {
    // Elements in document order; elements[0] is the document element. A deque,
    // so that growing never moves the elements already read.
    std::deque<XmlElement> elements;
    const XmlElement& root() const { return elements.front(); }
    const XmlElement& at(std::size_t index) const { return elements[index]; }
};

// Reads a whole document. Throws XmlError ("line N: what") when the bytes are
// not well-formed XML in a known encoding or hold a DOCTYPE.
XmlDocument readXml(std::string_view bytes);

}  // namespace rq
