#include "generate/outputfiles.h"

#include "base/io/atomicfile.h"
#include "base/text/cp1252.h"

namespace rq {

const std::vector<std::string>& previewTypeItems() {
    static const std::vector<std::string> items = {
        "Preview as XML Documents(.xml)", "Preview as XML Schema Files (.xsd)",
        "Preview as XSLT Stylesheets(.xsl)", "Preview as XSLT Stylesheets(.XSLT)",
        "Preview as XSLT Stylesheets(.fo)"};
    return items;
}

std::string previewTypeExtension(int index) {
    static const char* const ext[] = {".xml", ".xsd", ".xsl", ".xslt", ".fo"};
    if (index < 0 || index > 4) return {};
    return ext[index];
}

void appendDocumentBytes(std::string& out, std::string_view utf8, bool convertSymbols) {
    if (convertSymbols)
        out.append(utf8);
    else
        appendCp1252(out, utf8);
}

std::string documentFileBytes(std::string_view documentText, bool convertSymbols) {
    std::string bytes;
    appendDocumentBytes(bytes, documentText, convertSymbols);
    bytes += "\r\n";
    return bytes;
}

bool saveDocument(const std::string& path, std::string_view documentText, bool convertSymbols,
                  std::string* error) {
    return writeFileAtomically(path, documentFileBytes(documentText, convertSymbols), error);
}

std::string writePreviewFile(const std::string& workingFolder, std::string_view previewText,
                             const std::string& extension, bool convertSymbols) {
    if (workingFolder.empty()) return {};
    std::string folder = workingFolder;
    if (folder.back() != '/') folder += '/';
    std::string path = folder + "xml_temp" + extension;
    return saveDocument(path, previewText, convertSymbols) ? path : std::string();
}

}  // namespace rq
