#include <set>

#include "datasource/kinds.h"
#include "reader_test_support.h"

using namespace rq;
using rq::testing::TableSink;
namespace fs = std::filesystem;

namespace {

const fs::path kFixtures = fs::path(ROWQUILL_FIXTURES);

class KindsTest : public ::testing::Test {
  protected:
    rq::testing::ScratchFolder scratch;
    const fs::path dir = scratch.path();
};

std::vector<std::string> names(Database& db) {
    return rq::testing::catalogNames(listedCatalog(db));
}

}  // namespace

// Each sample copied under a name that says nothing (or the wrong thing) is
// recognised from its content and opens, companions (memo, blob files) included.
TEST_F(KindsTest, RenamedFilesAreRecognisedAndOpen) {
    if (!fs::exists(kFixtures)) GTEST_SKIP() << "fixtures folder absent: " << kFixtures;
    struct Case {
        const char* fixture;
        const char* renamed;
        const char* connect;
        const char* companion;  // copied beside it under the renamed base name
    };
    const Case cases[] = {
        {"access/mdbtestdata/nwind.mdb", "a.bin", "Microsoft Access", nullptr},
        {"access/mdbtestdata/ASampleDatabase.accdb", "b.xls", "Microsoft Access", nullptr},
        {"excel/sheetjs/biff8/1900.xls", "c.dat", "Excel 8.0;", nullptr},
        {"dbase/infused_dbf/dbase_83.dbf", "d.bin", "Dbase IV;", "dbase_83.dbt"},
        {"dbase/infused_dbf/dbase_8c.dbf", "d7", "Dbase IV;", nullptr},
        {"foxpro/infused_dbf/dbase_30.dbf", "e.txt", "FoxPro 3.0;", "dbase_30.fpt"},
        {"foxpro/infused_dbf/dbase_f5.dbf", "f.bin", "FoxPro 3.0;", "dbase_f5.fpt"},
        {"paradox/db/CUSTOMER.DB", "g.bin", "Paradox 5.X;", "CUSTOMER.MB"},
        {"paradox/areas/STATES.DB", "h.csv", "Paradox 5.X;", nullptr},
        {"lotus/sheetjs/quattro_export/write_L2.wk1", "i.bin", "Lotus WK1;", nullptr},
        {"lotus/sheetjs/quattro_export/write_L1.wks", "j.bin", "Lotus WK1;", nullptr},
        {"lotus/sheetjs/quattro_export/write_L3.wk3", "k.wk1", "Lotus WK3;", nullptr},
        {"lotus/sheetjs/quattro_export/write_L45.wk4", "l.bin", "Lotus WK4;", nullptr},
        {"lotus/sheetjs/quattro_export/write_L9.123", "m.bin", "Lotus WK4;", nullptr},
        {"dbase/infused_dbf/dbase_83_missing_memo.dbf", "n.bin", "Dbase IV;", nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fixture);
        const fs::path copy = dir / (std::string(c.renamed) + ".d") / c.renamed;
        fs::create_directory(copy.parent_path());
        fs::copy_file(kFixtures / c.fixture, copy);
        if (c.companion) {
            const fs::path from = (kFixtures / c.fixture).parent_path() / c.companion;
            fs::copy_file(from, copy.parent_path() / (copy.stem().string() +
                                                      fs::path(c.companion).extension().string()));
        }
        ASSERT_EQ(connectStringForPath(copy.string()), c.connect);
        std::unique_ptr<Database> db;
        ASSERT_NO_THROW(db = openFileDatabase(c.connect, copy.string()));
        const auto tables = names(*db);
        ASSERT_FALSE(tables.empty());
        TableSink sink;
        ASSERT_NO_THROW(db->read(tables.front(), sink));
        // The companion was found: no missing memo or blob file.
        EXPECT_TRUE(!c.companion || sink.warnings.empty()) << sink.warnings.front();
        // Problems name the file the user gave.
        for (const auto& w : sink.warnings) {
            EXPECT_EQ(w.find("rowquill-open-"), std::string::npos) << w;
            EXPECT_NE(w.find(copy.string()), std::string::npos) << w;
        }
    }
    // The private folders of renamed files are gone once the databases are.
    for (auto& e : fs::directory_iterator(fs::temp_directory_path()))
        EXPECT_EQ(e.path().filename().string().rfind("rowquill-open-", 0), std::string::npos)
            << e.path();
}

TEST_F(KindsTest, BtrieveDictionaryByNameOrByContentBesideItsFields) {
    const fs::path doclife = kFixtures / "btrieve" / "doclife";
    if (!fs::exists(doclife)) GTEST_SKIP() << "fixtures folder absent: " << doclife;
    fs::copy_file(doclife / "FILE.DDF", dir / "file.ddf");
    EXPECT_EQ(connectStringForPath((dir / "file.ddf").string()), "Btrieve;");
    fs::rename(dir / "file.ddf", dir / "tables.dic");
    EXPECT_EQ(connectStringForPath((dir / "tables.dic").string()), "");  // no FIELD.DDF beside
    fs::copy_file(doclife / "FIELD.DDF", dir / "Field.ddf");
    EXPECT_EQ(connectStringForPath((dir / "tables.dic").string()), "Btrieve;");
}

TEST_F(KindsTest, NameDecidesWhenTheContentSaysNothingElse) {
    const std::tuple<const char*, const char*, const char*> files[] = {
        {"orders.csv", "a,b\n1,2\n", "Text;"},
        {"notes.xyz", "a,b\n1,2\n", ""},
        {"empty.dbf", "", "Dbase IV;"},
        {"fake.xls", "not a workbook", "Excel 8.0;"}};
    for (const auto& [name, bytes, connect] : files) {
        scratch.write(name, bytes);
        EXPECT_EQ(connectStringForPath(scratch.file(name)), connect) << name;
    }
    EXPECT_EQ(connectStringForPath(dir.string()), "Text;");
    EXPECT_EQ(connectStringForPath((dir / "missing.ACCDB").string()), "Microsoft Access");
    // A file a folder kind would not list opens under the kind it is named for.
    auto db = openFileDatabase("Text;", (dir / "notes.xyz").string());
    EXPECT_EQ(names(*db), std::vector<std::string>{"notes#txt"});
    EXPECT_EQ(rq::testing::readTable(*db, "notes#txt").rows,
              (std::vector<std::vector<std::string>>{{"1", "2"}}));
}

TEST(Kinds, PlainNamesAreUniqueAndFindTheirKind) {
    std::set<std::string> seen;
    for (const Kind& k : fileKinds()) {
        EXPECT_EQ(kindByName(k.connect), &k);
        for (const auto& n : k.names) {
            EXPECT_TRUE(seen.insert(n).second) << n;
            EXPECT_EQ(kindByName(n), &k) << n;
        }
        EXPECT_NE(k.open, nullptr) << k.connect;
    }
    EXPECT_EQ(kindByName("TEXT"), kindByConnect("Text;"));
    EXPECT_EQ(kindByName("Dbase VII;"), nullptr);
    EXPECT_EQ(kindByName("text;"), nullptr);  // connect strings are exact
}
