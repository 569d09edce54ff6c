#include "sheet/csvexport.h"

namespace rq {

std::string exportingText(double percent) {
    return "Exporting... " + std::to_string(static_cast<long long>(percent)) + "% completed";
}

namespace {

// Appends the header line, then each record line; afterRecord(r) runs after
// record r has been appended.
template <class Append, class After>
void exportLines(const DataSheet& sheet, Append&& append, After&& afterRecord) {
    const int R = sheet.rows() - 1;
    const int C = sheet.cols() - 1;
    for (int c = 0; c <= C; ++c) {
        append("\"");
        append(sheet.cell(0, c));
        append("\"");
        if (c < C) append(",");
    }
    append("\r\n");
    for (int r = 1; r <= R; ++r) {
        for (int c = 0; c <= C; ++c) {
            std::string_view v = sheet.cell(r, c);
            if (c == C && v.empty()) continue;
            append("\"");
            append(v);
            append("\",");
        }
        append("\r\n");
        afterRecord(r);
    }
}

void reportProgress(const ExportProgress& progress, int r, int R) {
    if (!progress) return;
    double percent = static_cast<double>(r) / R * 100.0;
    progress(percent, exportingText(percent));
}

}  // namespace

std::string csvExportText(const DataSheet& sheet, const ExportProgress& progress) {
    std::string text;
    const int R = sheet.rows() - 1;
    exportLines(
        sheet, [&](std::string_view piece) { text.append(piece); },
        [&](int r) { reportProgress(progress, r, R); });
    return text;
}

void csvExportChunks(const DataSheet& sheet, const std::function<void(std::string&)>& sink,
                     const ExportProgress& progress) {
    constexpr std::size_t kChunk = 1 << 20;
    std::string out;
    out.reserve(kChunk + (kChunk >> 2));
    const int R = sheet.rows() - 1;
    exportLines(
        sheet, [&](std::string_view piece) { out.append(piece); },
        [&](int r) {
            if (out.size() >= kChunk) sink(out);
            reportProgress(progress, r, R);
        });
    sink(out);
}

}  // namespace rq
