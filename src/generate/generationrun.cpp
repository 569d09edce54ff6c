#include "generate/generationrun.h"

#include <algorithm>

#include "base/io/atomicfile.h"
#include "base/io/folders.h"
#include "generate/outputfiles.h"

namespace rq {

std::string runSingleFile(LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                          const RecordProgress& progress) {
    return buildDocument(tree, work, sheet, sheet.rows() - 1, progress);
}

std::string splitFileName(int first, int last) {
    return "form_row_" + std::to_string(first) + "_to_row_" + std::to_string(last) + "_.xml";
}

std::string completingDocumentText(int k, int total) {
    return "Completing Document:" + std::to_string(k) + " of " + std::to_string(total);
}

std::string documentsMadeText(int documents, int rowsPerFile) {
    return std::to_string(documents) + " XML Documents made, with Data taken form every " +
           std::to_string(rowsPerFile) + " Rows (Records).";
}

SplitResult writeSeparateFiles(const LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                               int n, AtomicFolder& folderOut, bool convertSymbols,
                               const SplitProgress& progress) {
    SplitResult result;
    result.folder = folderOut.path();
    if (n < 1) return result;
    const int records = std::max(sheet.rows() - 1, 0);
    const int full = (records - records % n) / n;

    std::string doc, bytes;
    auto writeBlock = [&](int a, int b) {
        doc.clear();
        RecordProgress each;
        if (progress.document && a != b)
            each = [&](int done, int) {
                int r = a + done - 1;
                progress.document(static_cast<double>(r - a) / static_cast<double>(b - a) * 100.0);
            };
        writeDocument(tree, work, sheet, a, b, doc, {}, each);
        std::string name = splitFileName(a, b);
        bytes.clear();
        appendDocumentBytes(bytes, doc, convertSymbols);
        bytes += "\r\n";
        if (!folderOut.writeFile(name, bytes)) throw GenerationError(folderOut.error());
        result.files.push_back(std::move(name));
        ++result.documents;
    };

    for (int k = 1; k <= full; ++k) {
        writeBlock(k * n - n + 1, k * n);
        if (progress.file)
            progress.file(k, full, static_cast<double>(k) / full * 100.0,
                          completingDocumentText(k, full));
    }
    if (records % n != 0) writeBlock(full * n + 1, records);
    result.statusText = documentsMadeText(result.documents, n);
    return result;
}

bool saveSeparateFiles(const std::string& runFolder, const std::string& target,
                       std::string* error) {
    AtomicFolder out;
    bool ok = out.open(target) && copyFolder(runFolder, out.path(), error) && out.commit();
    if (!ok && error && error->empty()) *error = out.error();
    return ok;
}

}  // namespace rq
