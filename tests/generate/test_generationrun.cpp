#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "generate/folderchoice.h"
#include "generate/generationrun.h"
#include "generate/outputfiles.h"
#include "layout/defaultlayout.h"

using namespace rq;
namespace fs = std::filesystem;

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

std::vector<std::string> listing(const fs::path& dir) {
    std::vector<std::string> names;
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
    // Overwrites and leaves no temporary files behind.
    ASSERT_TRUE(saveDocument((dir / "w.xml").string(), "x", false));
    EXPECT_EQ(slurp(dir / "w.xml"), "x\r\n");
    EXPECT_EQ(listing(dir / ""), (std::vector<std::string>{"u.xml", "w.xml"}));
}

TEST(SavedFiles, PreviewFileIsXmlTempWithTheExtension) {
    TempDir dir;
    std::string path = writePreviewFile(dir.str() + "/", "<a/>", ".xsd", false);
    EXPECT_EQ(path, dir.str() + "/xml_temp.xsd");
    EXPECT_EQ(slurp(path), "<a/>\r\n");
}

TEST(SingleFile, RunsOverEveryRecordWithProgress) {
    DataSheet s = numbered(3);
    LayoutTree t;
    buildDefaultLayout(t, s);
    WorkingTable w;
    std::vector<std::string> seen;
    std::string doc =
        runSingleFile(t, w, s, [&](int i, int n) { seen.push_back(completingRowText(i, n)); });
    EXPECT_NE(doc.find("<ID>3</ID>"), std::string::npos);
    EXPECT_EQ(seen, (std::vector<std::string>{"Completing Row:1 of 3", "Completing Row:2 of 3",
                                              "Completing Row:3 of 3"}));
}

TEST(SeparateFiles, FullBlocksThenOneShorterBlock) {
    TempDir dir;
    DataSheet s = numbered(25);
    LayoutTree t;
    buildDefaultLayout(t, s);
    WorkingTable w;
    std::vector<std::string> statuses;
    std::vector<double> percents;
    SplitProgress p;
    p.file = [&](int, int, double pc, const std::string& st) {
        statuses.push_back(st);
        percents.push_back(pc);
    };
    SplitResult r = runSeparateFiles(t, w, s, 10, dir.str() + "/", false, p);
    EXPECT_EQ(r.documents, 3);
    EXPECT_EQ(r.statusText, "3 XML Documents made, with Data taken form every 10 Rows (Records).");
    EXPECT_EQ(r.folder, dir.str() + "/Split/");
    const std::vector<std::string> names = {
        "form_row_1_to_row_10_.xml", "form_row_11_to_row_20_.xml", "form_row_21_to_row_25_.xml"};
    EXPECT_EQ(r.files, names);
    auto onDisk = listing(dir / "Split");
    std::sort(onDisk.begin(), onDisk.end());
    auto sortedNames = names;
    std::sort(sortedNames.begin(), sortedNames.end());
    EXPECT_EQ(onDisk, sortedNames);
    EXPECT_EQ(statuses, (std::vector<std::string>{"Completing Document:1 of 2",
                                                  "Completing Document:2 of 2"}));
    EXPECT_EQ(percents, (std::vector<double>{50.0, 100.0}));

    // Each file is the document over its block, as the writer makes it, plus a line end.
    WorkingTable w2;
    tidyLayout(t, w2);
    EXPECT_EQ(slurp(dir / "Split" / names[2]), buildDocumentRange(t, w2, s, 21, 25) + "\r\n");
    std::string last = slurp(dir / "Split" / names[2]);
    EXPECT_EQ(last.find("<ID>20</ID>"), std::string::npos);
    EXPECT_NE(last.find("<ID>25</ID>"), std::string::npos);
}

TEST(SeparateFiles, ExactMultipleWritesNoEmptyFileAndRebuildsTheFolder) {
    TempDir dir;
    fs::create_directories(dir / "Split");
    std::ofstream(dir / "Split" / "stale.xml") << "old";
    DataSheet s = numbered(20);
    LayoutTree t;
    buildDefaultLayout(t, s);
    WorkingTable w;
    SplitResult r = runSeparateFiles(t, w, s, 10, dir.str(), false);
    EXPECT_EQ(r.documents, 2);
    EXPECT_EQ(listing(dir / "Split"), (std::vector<std::string>{"form_row_11_to_row_20_.xml",
                                                                "form_row_1_to_row_10_.xml"}));
}

TEST(SeparateFiles, OneRecordPerFileAndFewerRecordsThanABlock) {
    TempDir dir;
    DataSheet s = numbered(3);
    LayoutTree t;
    buildDefaultLayout(t, s);
    WorkingTable w;
    SplitResult one = runSeparateFiles(t, w, s, 1, dir.str(), true);
    EXPECT_EQ(one.files,
              (std::vector<std::string>{"form_row_1_to_row_1_.xml", "form_row_2_to_row_2_.xml",
                                        "form_row_3_to_row_3_.xml"}));
    std::string second = slurp(dir / "Split" / "form_row_2_to_row_2_.xml");
    EXPECT_NE(second.find("<ID>2</ID>"), std::string::npos);
    EXPECT_EQ(second.find("<ID>1</ID>"), std::string::npos);

    SplitResult few = runSeparateFiles(t, w, s, 10, dir.str(), true);
    EXPECT_EQ(few.files, (std::vector<std::string>{"form_row_1_to_row_3_.xml"}));
    EXPECT_EQ(few.statusText,
              "1 XML Documents made, with Data taken form every 10 Rows (Records).");
}

TEST(SeparateFiles, NonPositiveBlockWritesNothing) {
    TempDir dir;
    DataSheet s = numbered(3);
    LayoutTree t;
    buildDefaultLayout(t, s);
    WorkingTable w;
    EXPECT_EQ(runSeparateFiles(t, w, s, 0, dir.str(), false).documents, 0);
    EXPECT_EQ(runSeparateFiles(t, w, s, -4, dir.str(), false).documents, 0);
    EXPECT_FALSE(fs::exists(dir / "Split"));
}

TEST(SeparateFiles, UnwritableFolderThrows) {
    TempDir dir;
    std::ofstream(dir / "file") << "x";
    DataSheet s = numbered(3);
    LayoutTree t;
    buildDefaultLayout(t, s);
    WorkingTable w;
    // The run's folder would have to live below a plain file.
    EXPECT_THROW(runSeparateFiles(t, w, s, 2, (dir / "file").string(), false), GenerationError);
    // Without a working folder no path is made up.
    EXPECT_THROW(runSeparateFiles(t, w, s, 2, "", false), GenerationError);
}

TEST(FolderChooser, RefusesEmptyNamesAndFoldersThatAreNotEmpty) {
    TempDir dir;
    FolderChoice none = checkSelectedFolder(dir.str(), "");
    EXPECT_FALSE(none.ok);
    EXPECT_EQ(none.error, "Please Enter the name of the Folder");
    EXPECT_FALSE(checkSelectedFolder(dir.str(), "\\/").ok);

    FolderChoice fresh = checkSelectedFolder(dir.str(), "out/put\\");
    EXPECT_TRUE(fresh.ok);
    EXPECT_EQ(fresh.target, dir.str() + "/output");
    EXPECT_FALSE(fs::exists(fresh.target));

    fs::create_directory(dir / "empty");
    EXPECT_TRUE(checkSelectedFolder(dir.str(), "empty").ok);

    fs::create_directory(dir / "full");
    std::ofstream(dir / "full" / "a.xml") << "x";
    FolderChoice full = checkSelectedFolder(dir.str() + "/", "full");
    EXPECT_FALSE(full.ok);
    EXPECT_EQ(full.error, "The Folder " + dir.str() +
                              "/full\n is not empty. Please choose a different folder or name.");
}

TEST(FolderChooser, SaveIntoAFolderAndNewFolder) {
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

    EXPECT_EQ(makeNewFolder(dir.str()), dir.str() + "/New Folder");
    EXPECT_EQ(makeNewFolder(dir.str()), dir.str() + "/New Folder (2)");
    EXPECT_EQ(makeNewFolder(dir.str()), dir.str() + "/New Folder (3)");
    EXPECT_TRUE(fs::is_directory(dir / "New Folder (3)"));
}

TEST(FolderChooser, OverwriteQuestionNamesTheFileOnly) {
    EXPECT_EQ(overwriteQuestion("/home/u/out/doc.xml"),
              "doc.xml already exits, would you like to overwrite it?");
}
