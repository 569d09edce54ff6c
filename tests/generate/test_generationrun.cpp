#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "generate/generationrun.h"
#include "generate/outputfiles.h"
#include "layout/defaultlayout.h"

using namespace rq;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

namespace {

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

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

class TempDir {
  public:
    TempDir() {
        std::string templ = (fs::temp_directory_path() / "rqrunXXXXXX").string();
        path_ = ::mkdtemp(templ.data());
    }
    ~TempDir() { fs::remove_all(path_); }
    std::string str() const { return path_.string(); }
    fs::path operator/(const std::string& s) const { return path_ / s; }

  private:
    fs::path path_;
};

Names listing(const fs::path& dir) {
    Names names;
    for (auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

TEST(SavedFiles, EncodingFollowsSymbolConversionAndALineEndIsAdded) {
    TempDir dir;
    const std::string text = "<a>caf\xC3\xA9 \xE2\x82\xAC \xD0\x96</a>";  // é € Ж
    ASSERT_TRUE(saveDocument((dir / "u.xml").string(), text, true));
    EXPECT_EQ(slurp(dir / "u.xml"), text + "\r\n");
    ASSERT_TRUE(saveDocument((dir / "w.xml").string(), text, false));
    EXPECT_EQ(slurp(dir / "w.xml"), "<a>caf\xE9 \x80 ?</a>\r\n");
    EXPECT_EQ(writePreviewFile(dir.str() + "/", "<a/>", ".xsd", false),
              dir.str() + "/xml_temp.xsd");
    EXPECT_EQ(listing(dir / ""), (Names{"u.xml", "w.xml", "xml_temp.xsd"}));
}

// Block sizes, exact multiples and the status text are covered by the window
// and CLI tests; here the progress, the bytes of each file and the refusals.
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
    SplitResult r = writeSeparateFiles(t, w, s, 10, dir.str(), false, p);
    EXPECT_EQ(r.files, (Names{"form_row_1_to_row_10_.xml", "form_row_11_to_row_20_.xml",
                              "form_row_21_to_row_25_.xml"}));
    // Not called for the shorter last block.
    EXPECT_EQ(statuses, (Names{"Completing Document:1 of 2", "Completing Document:2 of 2"}));
    // Each file is the document over its block, as the writer makes it, plus a line end.
    EXPECT_EQ(slurp(dir / r.files[2]), buildDocumentRange(t, w, s, 21, 25) + "\r\n");
    for (int n : {0, -4}) EXPECT_EQ(writeSeparateFiles(t, w, s, n, dir.str(), false).documents, 0);
    EXPECT_EQ(listing(dir / "").size(), 3u);
    EXPECT_THROW(writeSeparateFiles(t, w, s, 2, "/nonexistent/rowquill", false), GenerationError);
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
