// Runs every folder under golden/ through the writer and compares bytes.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "../base/scratch_support.h"
#include "../sheet/sheet_test_support.h"
#include "generate/documentwriter.h"
#include "generate/outputfiles.h"
#include "layout/defaultlayout.h"
#include "layout/layoutfile.h"

using namespace rq;
namespace fs = std::filesystem;

namespace {

const fs::path kGolden = fs::path(ROWQUILL_SOURCE_DIR) / "tests/generate/golden";

// Comma-separated rows; a quoted field keeps commas, doubled quotes and line
// breaks exactly as written.
std::vector<std::vector<std::string>> parseCsv(const std::string& text) {
    std::vector<std::vector<std::string>> rows(1, std::vector<std::string>(1));
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        std::string& field = rows.back().back();
        if (quoted) {
            if (c != '"')
                field += c;
            else if (i + 1 < text.size() && text[i + 1] == '"')
                field += text[++i];
            else
                quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            rows.back().emplace_back();
        } else if (c == '\n') {
            rows.emplace_back(1);
        } else {
            field += c;
        }
    }
    if (rows.back().size() == 1 && rows.back()[0].empty()) rows.pop_back();
    return rows;
}

std::vector<fs::path> cases() {
    std::vector<fs::path> out;
    for (const auto& e : fs::directory_iterator(kGolden))
        if (e.is_directory()) out.push_back(e.path());
    std::sort(out.begin(), out.end());
    return out;
}

class GoldenCase : public testing::TestWithParam<fs::path> {};

TEST_P(GoldenCase, WriterGivesTheExpectedBytes) {
    const fs::path dir = GetParam();
    const DataSheet sheet = rq::sheettest::sheetOf(parseCsv(rq::scratch::slurp(dir / "sheet.csv")));
    LayoutTree tree;
    readLayoutText(rq::scratch::slurp(dir / "layout.rqlayout"), tree, &sheet);
    int first = 1, last = sheet.rows() - 1;
    const bool ranged = fs::exists(dir / "records");
    if (ranged) std::istringstream(rq::scratch::slurp(dir / "records")) >> first >> last;

    WorkingTable work;
    std::string doc;
    if (ranged) {
        tidyLayout(tree, work);
        doc = buildDocumentRange(tree, work, sheet, first, last);
    } else {
        doc = buildDocument(tree, work, sheet, last);
    }
    EXPECT_EQ(documentFileBytes(doc, true), rq::scratch::slurp(dir / "expected.xml"));
    if (fs::exists(dir / "expected-1252.xml")) {
        EXPECT_EQ(documentFileBytes(doc, false), rq::scratch::slurp(dir / "expected-1252.xml"));
    }

    // The streamed writer, in small chunks, gives the same text.
    std::string streamed, out;
    writeDocument(tree, work, sheet, first, last, out, [&](std::string& chunk) {
        streamed += chunk;
        chunk.clear();
    });
    EXPECT_EQ(streamed + out, doc);
    EXPECT_EQ(referenceDocument(tree, work, sheet, first, last), doc);
}

INSTANTIATE_TEST_SUITE_P(Writer, GoldenCase, testing::ValuesIn(cases()),
                         [](const testing::TestParamInfo<fs::path>& info) {
                             std::string name = info.param.filename().string();
                             std::erase(name, '-');
                             return name;
                         });

}  // namespace
