// The layout file (.rqlayout): a layout saved as UTF-8 XML so that a layout
// designed in the window can be run in batch.
//
//   <rowquill-layout version="1">
//     <prolog>&lt;?xml version="1.0"?&gt;</prolog>
//     <root name="document" attributes=" xmlns=&quot;urn:x&quot; ">
//       <element name="row" value="">
//         <data-attribute name="id" column="0"/>
//         <attribute name="source" value="orders"/>
//         <data-element name="ID" column="0"/>
//         <element name="note" value="fixed text"/>
//       </element>
//     </root>
//   </rowquill-layout>
//
// The prolog element holds the document node's text; its optional attributes
// "stylesheet" and "doctype" keep the two prolog slots, so that a later
// assignment rebuilds the text from them. Children stand in the order of the
// tree, so the file is the tree: writing a layout and reading it back gives the
// same nodes, names, values, columns and order.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "layout/layouttree.h"
#include "sheet/datasheet.h"

namespace rq {

class LayoutFileError : public std::runtime_error {
  public:
    LayoutFileError(const std::string& message, int line)
        : std::runtime_error(message), line_(line) {}
    // The line the error was found on (1-based), 0 when it concerns no line.
    int line() const { return line_; }

  private:
    int line_;
};

// The layout as the text of a layout file. Throws LayoutFileError (line 0) for
// a layout the reader would refuse: no root element, a name a tag cannot have,
// a bad column, an attribute with children or directly under the root, or text
// XML cannot carry (bytes that are not UTF-8, control characters other than
// tab and line breaks).
std::string layoutFileText(const LayoutTree& tree);
// Writes the layout file through a temporary name renamed into place. On
// failure returns false and, when error is given, sets it to a message naming
// the file and the cause.
bool saveLayoutFile(const std::string& path, const LayoutTree& tree, std::string* error = nullptr);

// Replaces the layout with the one the text describes, built as the editing
// commands would build it: keys handed out by maktre in document order, one
// node-table row per node, display texts by kind, children in the order
// written. When sheet is given, the column-name list is filled from its header
// row. The text must be well-formed XML in UTF-8 or an encoding declared in
// it that the XML reader knows; anything else, and any tag, attribute, name
// or column a layout cannot have, is refused with LayoutFileError ("line N:
// ...") and the tree is left as it was. Linear in the text's size.
void readLayoutText(std::string_view text, LayoutTree& tree, const DataSheet* sheet = nullptr);
// The same for a file; the message names the file and the line.
void loadLayoutFile(const std::string& path, LayoutTree& tree, const DataSheet* sheet = nullptr);

}  // namespace rq
