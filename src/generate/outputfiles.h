// The bytes of a saved document and the files a run writes: saving one
// document, the preview file, and the preview types of the Generate view.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace rq {

// The extension of preview-type item 0..4 (".xml", ".xsd", ".xsl", ".xslt",
// ".fo"); "" for any other index (-1: no selection). (combotxt)
std::string previewTypeExtension(int index);
// The five item captions in order.
const std::vector<std::string>& previewTypeItems();

// Appends the file bytes of UTF-8 document text: the UTF-8 itself with symbol
// conversion, code page 1252 with "?" for what it lacks without.
void appendDocumentBytes(std::string& out, std::string_view utf8, bool convertSymbols);
// The bytes a saved document is written as: its text's bytes, then "\r\n".
std::string documentFileBytes(std::string_view documentText, bool convertSymbols);

// Saves one document atomically (cndsavefunc). On failure returns false and
// stores the reason, naming the file, in *error when given.
bool saveDocument(const std::string& path, std::string_view documentText, bool convertSymbols,
                  std::string* error = nullptr);

// Writes the preview text to workingFolder + "xml_temp" + extension, the same
// bytes as a save (showfinshxml). Returns that file's path, or "" when the
// working folder is missing or the file could not be written.
std::string writePreviewFile(const std::string& workingFolder, std::string_view previewText,
                             const std::string& extension, bool convertSymbols);

}  // namespace rq
