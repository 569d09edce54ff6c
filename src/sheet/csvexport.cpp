#include "sheet/csvexport.h"

#include "generate/generationrun.h"
#include "generate/stringbuilder.h"

namespace rq {

std::string exportingText(double percent) {
    return "Exporting... " + std::to_string(static_cast<long long>(percent)) + "% completed";
}

std::string csvExportText(const DataSheet& sheet, const ExportProgress& progress) {
    const int R = sheet.rows() - 1;
    const int C = sheet.cols() - 1;
    StringBuilder b;
    for (int c = 0; c <= C; ++c) {
        Concat(b, "\"");
        Concat(b, sheet.cell(0, c));
        Concat(b, "\"");
        if (c < C) Concat(b, ",");
    }
    Concat(b, "\r\n");
    for (int r = 1; r <= R; ++r) {
        for (int c = 0; c <= C; ++c) {
            std::string_view v = sheet.cell(r, c);
            if (c == C && v.empty()) continue;
            Concat(b, "\"");
            Concat(b, v);
            Concat(b, "\",");
        }
        Concat(b, "\r\n");
        if (progress) {
            double percent = static_cast<double>(r) / R * 100.0;
            progress(percent, exportingText(percent));
        }
    }
    return b.take();
}

bool cndsaveexptxt(const std::string& path, const std::string& text) {
    AtomicFile f;
    return f.open(path) && f.write(text) && f.write("\r\n") && f.commit();
}

}  // namespace rq
