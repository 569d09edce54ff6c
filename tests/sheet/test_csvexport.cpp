#include <gtest/gtest.h>

#include "sheet/csvexport.h"
#include "sheet_test_support.h"

using namespace rq;

using rq::sheettest::sheetOf;

TEST(CsvExport, HeaderInnerCellsAndLastCellFollowTheirOwnRules) {
    DataSheet s = sheetOf({{"ID", "Name", "Note"},
                           {"1", "Ann", "x"},
                           {"2", "", ""},
                           {"", "say \"hi\", ok", " padded "}});
    EXPECT_EQ(csvExportText(s),
              "\"ID\",\"Name\",\"Note\"\r\n"
              "\"1\",\"Ann\",\"x\",\r\n"
              "\"2\",\"\",\r\n"
              "\"\",\"say \"hi\", ok\",\" padded \",\r\n");
    EXPECT_EQ(csvExportText(sheetOf({{"A", "B"}})), "\"A\",\"B\"\r\n");
    EXPECT_EQ(csvExportText(sheetOf({{"A"}, {""}, {"v"}})), "\"A\"\r\n\r\n\"v\",\r\n");
}

TEST(CsvExport, ProgressPerRecord) {
    DataSheet s = sheetOf({{"A"}, {"1"}, {"2"}, {"3"}});
    std::vector<std::string> seen;
    std::vector<double> percents;
    csvExportText(s, [&](double p, const std::string& t) {
        percents.push_back(p);
        seen.push_back(t);
    });
    EXPECT_EQ(seen,
              (std::vector<std::string>{"Exporting... 33% completed", "Exporting... 66% completed",
                                        "Exporting... 100% completed"}));
    EXPECT_DOUBLE_EQ(percents.at(0), 100.0 / 3);
    bool called = false;
    csvExportText(sheetOf({{"A"}}), [&](double, const std::string&) { called = true; });
    EXPECT_FALSE(called);
}

TEST(CsvExport, ChunkedExportGivesTheSameText) {
    DataSheet s(30001, 3);
    for (int c = 0; c < 3; ++c) s.setCell(0, c, "H" + std::to_string(c));
    for (int r = 1; r < s.rows(); ++r)
        for (int c = 0; c < 3; ++c)
            if ((r + c) % 5) s.setCell(r, c, std::string(static_cast<std::size_t>(r % 40), 'x'));
    std::string joined;
    int pieces = 0;
    csvExportChunks(s, [&](std::string& chunk) {
        joined += chunk;
        chunk.clear();
        ++pieces;
    });
    EXPECT_GT(pieces, 1);
    EXPECT_EQ(joined, csvExportText(s));
}
