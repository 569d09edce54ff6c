#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "datasource/codepage.h"
#include "datasource/lotus/lmbcs.h"
#include "datasource/lotus/lotusworkbook.h"
#include "datasource/readers.h"
#include "reader_test_support.h"

using namespace rq;
using rq::testing::readTable;
using rq::testing::TableSink;
namespace fs = std::filesystem;

namespace {

const fs::path kLotus = fs::path(ROWQUILL_FIXTURES) / "lotus" / "sheetjs";

#define REQUIRE_FIXTURES() SKIP_WITHOUT(kLotus)

std::vector<std::string> catalogNames(Database& db) {
    return rq::testing::catalogNames(db.catalog());
}

}  // namespace

TEST(LotusFixtures, EveryReleaseGivesTheSameTable) {
    REQUIRE_FIXTURES();
    // The same sheet saved as release 2, 3 and 4 files, and under the other names
    // of those releases that their kinds read too: numbers, the formulas TRUE and
    // FALSE (1 and 0), text and a date.
    const fs::path folder = kLotus / "quattro_export";
    const std::pair<const char*, const char*> files[] = {
        {"Lotus WK1;", "write_L2.wk1"}, {"Lotus WK1;", "write_L1.wks"},
        {"Lotus WK3;", "write_L3.wk3"}, {"Lotus WK4;", "write_L45.wk4"},
        {"Lotus WK4;", "write_L9.123"}, {"Lotus WK4;", "write_L97.123"}};
    for (const auto& [kind, file] : files) {
        SCOPED_TRACE(file);
        auto db = openFileDatabase(kind, (folder / file).string());
        TableSink t = readTable(*db, fs::path(file).stem().string());
        EXPECT_EQ(t.names(), (std::vector<std::string>{"1", "2", "3", "F4"}));
        EXPECT_EQ(t.types(), (std::vector<int>{kText, kText, kText, kText}));
        // The files hold 0x3FD3333333333334 (release 2) and its extended
        // precision equal; one step above 0.3.
        EXPECT_EQ(t.line(0) + "/" + t.line(1) + "/" + t.line(2),
                  "1|0||sheetjs/foo|bar|2014-02-19|0.30000000000000004/baz||qux|");
        EXPECT_EQ(t.rows.size(), 3u);
    }
    EXPECT_EQ(catalogNames(*openFileDatabase("Lotus WK1;", (folder / "write_L1.wks").string())),
              (std::vector<std::string>{"write_L2", "write_L1"}));
    EXPECT_EQ(catalogNames(*openFileDatabase("Lotus WK4;", (folder / "write_L9.123").string())),
              (std::vector<std::string>{"write_L45", "write_L9", "write_L97"}));
    EXPECT_EQ(catalogNames(*openLotusFolder(folder.string(), "wk3", {})),
              std::vector<std::string>{"write_L3"});
}

TEST(LotusFixtures, FolderListsFilesOfTheChosenExtensionInAnyCase) {
    REQUIRE_FIXTURES();
    auto db = openFileDatabase("Lotus WK1;", (kLotus / "crlf" / "crlfq9.wk1").string());
    EXPECT_EQ(db->name(), (kLotus / "crlf").string());
    // CRLFR9.WK1 and crlfq9.wk1, then the .wks files (the one whose base name
    // a .wk1 file has with its extension); not the .WK3, .123 or .FM3 files.
    EXPECT_EQ(catalogNames(*db), (std::vector<std::string>{"CRLFR9", "crlfq9", "crlfq9#wks",
                                                           "crlfw4_2", "crlfw4_3", "crlfw4_4"}));

    // Formula cells give their cached text, read from the file's own string
    // record where the library leaves it out.
    EXPECT_EQ(readTable(*db, "CRLFR9").rows,
              (std::vector<std::vector<std::string>>{{"Formula", "abcdef"}}));
    TableSink b = readTable(*db, "crlfq9");
    ASSERT_EQ(b.rows.size(), 2u);  // cells with formatting only do not count
    EXPECT_EQ(b.rows[0][1], "abc\r\ndef");
    EXPECT_EQ(b.rows[1][0], "Test");

    auto wk4 = openLotusFolder((kLotus / "crlf").string(), "wk4", {});
    EXPECT_EQ(catalogNames(*wk4), (std::vector<std::string>{"CRLFR9", "crlfq9"}));
}

TEST(LotusFixtures, LineBreaksWrittenWithGroupBytes) {
    REQUIRE_FIXTURES();
    // Release 9 writes the label and the formula's text as "abc" 0F 2D 0F 2A
    // "def"; Quattro Pro writes the formula's text as "abc" 01 0D 01 0A "def"
    // (its label holds "abcdef").
    const std::pair<const char*, std::vector<std::string>> files[] = {
        {"CRLFR9.WK3", {"abc\r\ndef", "abc\r\ndef"}},
        {"CRLFR9.123", {"abc\r\ndef", "abc\r\ndef"}},
        {"crlfq9.wk4", {"abcdef", "abc\r\ndef"}},
    };
    for (const auto& [file, texts] : files) {
        SCOPED_TRACE(file);
        std::ifstream in(kLotus / "crlf" / file, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(in), {}};
        const auto sheets = lotus::parseLotusWorkbook(bytes, "");
        ASSERT_FALSE(sheets.empty());
        std::vector<std::string> got;
        for (const auto& c : sheets[0].cells)
            if (c.col == 1 && c.row <= 1) got.push_back(c.text);
        EXPECT_EQ(got, texts);
    }
}

TEST(Lmbcs, GroupBytesAndWhatFollowsThem) {
    const CodePage& cp850 = CodePage::get(850);
    const std::pair<std::string, std::string> cases[] = {
        {"\x0F\x29\x0F\x20x", "\tx"},                      // tab; a zero character is left out
        {"\x01\x82t\x82", "\xC3\xA9t\xC3\xA9"},            // é, with and without group 1
        {"\x06\xA5\x05\xC0", "\xC4\x85\xD0\x90"},          // ą (852), А (1251)
        {"\x10\x82\xA0", "\xE3\x81\x82"},                  // あ (932)
        {"\x14\xD8\x3D\x14\xDE\x01", "\xF0\x9F\x98\x81"},  // a surrogate pair
        {std::string("ab\0cd", 5), "ab"},                  // a zero byte ends the text
        {"ab\x01", "ab\xEF\xBF\xBD"},                      // a group byte cut off
        {"\x0F\x41", "\xEF\xBF\xBD"},                      // no control character
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(lotus::decodeLmbcs(bytes, cp850), text);
}

TEST(LotusFolder, UnreadableFilesAreListedButFailWhenRead) {
    std::optional<rq::testing::ScratchFolder> scratch(std::in_place);
    const fs::path dir = scratch->path();
    scratch->write("junk.WK3", "not a worksheet at all");
    scratch->write("other.txt", "ignored");
    auto db = openLotusFolder(dir.string(), "wk3", {});
    EXPECT_EQ(catalogNames(*db), std::vector<std::string>{"junk"});
    TableSink t;
    const std::string error = rq::testing::errorOf([&] { db->read("junk", t); });
    EXPECT_TRUE(rq::testing::contains(error, "junk.WK3")) << error;
    EXPECT_THROW(db->fields("missing"), DatabaseError);
    EXPECT_TRUE(catalogNames(*openLotusFolder(dir.string(), "wk1", {})).empty());
    scratch.reset();
    EXPECT_THROW(openLotusFolder(dir.string(), "wk1", {}), DatabaseError);
}
