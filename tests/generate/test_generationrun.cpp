#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "../base/scratch_support.h"
#include "generate/generationrun.h"
#include "generate/outputfiles.h"
#include "layout/defaultlayout.h"

using namespace rq;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using namespace rq::scratch;

namespace {

DataSheet numbered(int records) {
    DataSheet s(records + 1, 2);
    s.setCell(0, 0, "ID");
    s.setCell(0, 1, "Name");
    for (int r = 1; r <= records; ++r) {
        s.setCell(r, 0, std::to_string(r));
        s.setCell(r, 1, "n" + std::to_string(r));
    }
    return s;
}

}  // namespace

TEST(SavedFiles, EncodingFollowsSymbolConversionAndALineEndIsAdded) {
    TempDir dir;
    const std::string text = "<a>caf\xC3\xA9 \xE2\x82\xAC \xD0\x96</a>";  // é € Ж
    ASSERT_TRUE(saveDocument((dir / "u.xml").string(), text, true));
    EXPECT_EQ(slurp(dir / "u.xml"), text + "\r\n");
    ASSERT_TRUE(saveDocument((dir / "w.xml").string(), text, false));
    EXPECT_EQ(slurp(dir / "w.xml"), "<a>caf\xE9 \x80 ?</a>\r\n");
}

// Block sizes, exact multiples, the status text and N = 0 are covered by the
// window and CLI tests; here the progress, the bytes of each file and the
// refusals. The preview file is a window test.
TEST(SeparateFiles, ProgressPerFullBlockAndTheBytesOfEachFile) {
    TempDir dir;
    DataSheet s = numbered(25);
    LayoutTree t;
    buildDefaultLayout(t, s);
    WorkingTable w;
    tidyLayout(t, w);
    Names statuses;
    SplitProgress p;
    p.file = [&](int, int, double, const std::string& st) { statuses.push_back(st); };
    AtomicFolder out;
    ASSERT_TRUE(out.open((dir / "split").string()));
    SplitResult r = writeSeparateFiles(t, w, s, 10, out, false, p);
    EXPECT_EQ(r.files, (Names{"form_row_1_to_row_10_.xml", "form_row_11_to_row_20_.xml",
                              "form_row_21_to_row_25_.xml"}));
    // Not called for the shorter last block.
    EXPECT_EQ(statuses, (Names{"Completing Document:1 of 2", "Completing Document:2 of 2"}));
    // Each file is the document over its block, as the writer makes it, plus a line end.
    // Nothing shows under the final name before the folder is committed.
    EXPECT_FALSE(fs::exists(dir / "split"));
    ASSERT_TRUE(out.commit()) << out.error();
    EXPECT_EQ(slurp(dir / "split" / r.files[2]), buildDocumentRange(t, w, s, 21, 25) + "\r\n");
    EXPECT_EQ(listing(dir / "split/").size(), 3u);
    // A file that cannot be made (it exists already) stops the run with its name.
    AtomicFolder again;
    ASSERT_TRUE(again.open((dir / "again").string()));
    std::ofstream(again.path() + r.files[0]) << "x";
    try {
        writeSeparateFiles(t, w, s, 10, again, false);
        ADD_FAILURE() << "an existing file was overwritten";
    } catch (const GenerationError& e) {
        EXPECT_NE(std::string(e.what()).find(r.files[0]), std::string::npos) << e.what();
    }
}

TEST(SeparateFiles, SavedIntoAnAbsentOrEmptyFolderOnly) {
    TempDir dir;
    fs::create_directory(dir / "from");
    std::ofstream(dir / "from" / "a.xml") << "A";
    std::ofstream(dir / "from" / "b.xml") << "B";
    std::string error;
    ASSERT_TRUE(saveSeparateFiles((dir / "from").string(), (dir / "to").string(), &error)) << error;
    EXPECT_EQ(slurp(dir / "to" / "b.xml"), "B");
    // A folder that is no longer empty is refused, and nothing is left beside it.
    EXPECT_FALSE(saveSeparateFiles((dir / "from").string(), (dir / "to").string(), &error));
    EXPECT_FALSE(saveSeparateFiles((dir / "nowhere").string(), (dir / "to2").string(), &error));
    EXPECT_FALSE(fs::exists(dir / "to2"));
    fs::create_directory(dir / "empty");  // an empty folder takes them too
    EXPECT_TRUE(saveSeparateFiles((dir / "from").string(), (dir / "empty").string(), &error));
    EXPECT_EQ(listing(dir / "empty"), (Names{"a.xml", "b.xml"}));
}
