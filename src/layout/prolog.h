// What precedes the root element (the declaration, one stylesheet instruction,
// one DOCTYPE) and the attributes written into the root's start tag.
#pragma once

#include <string>
#include <vector>

#include "layout/layouttree.h"

namespace rq {

// Modes of the assign dialog.
enum AssignMode : int { kAssignDtd = 0, kAssignXslt = 1, kAssignCss = 2 };

// "<?xml:stylesheet type=\"text/xsl\" href=\"" location "\"?>" (text/css when !xslt).
std::string stylesheetInstruction(bool xslt, const std::string& location);
// "<!DOCTYPE " root " SYSTEM \"" location "\">"
std::string doctypeDeclaration(const std::string& rootName, const std::string& location);

// The assign dialog's OK: a ticked box fills the slot of the mode (the DOCTYPE
// naming the root as it is named now, or the one stylesheet slot), an unticked
// one empties it; then the document node's text is rebuilt from the declaration
// and the two slots, replacing a declaration edited by hand. The location is
// taken as typed.
void assignProlog(LayoutTree& tree, int mode, bool ticked, const std::string& location);

// "Define XML Document": a non-empty answer replaces the document node's text as
// typed; an empty one changes nothing.
void defineXmlDocument(LayoutTree& tree, const std::string& answer);

struct RootAttribute {
    std::string name, value;
    bool operator==(const RootAttribute&) const = default;
};

// One blank, then name="value" and a blank per row; an empty list gives " ".
std::string rootAttributeText(const std::vector<RootAttribute>& rows);
// Stores the text as the tree's root attributes and re-forms the root's display text.
void applyRootAttributes(LayoutTree& tree, const std::vector<RootAttribute>& rows);
// The three rows that bind a document to an XML Schema.
std::vector<RootAttribute> schemaRows(const std::string& ns, const std::string& schemaFile);
// True when no row other than skipRow (0-based) has this name (exact comparison).
// Attribute names are cleaned by the tag-name rule (cleanTagName).
bool isUniqueAttributeName(const std::vector<RootAttribute>& rows, const std::string& name,
                           int skipRow = -1);

// The namespace proposed by the schema dialog's input box.
inline constexpr const char* kPlaceholderNamespace = "http://www.example.com/namespace";
inline constexpr const char* kSchemaInstanceNamespace = "http://www.w3.org/2001/XMLSchema-instance";

}  // namespace rq
