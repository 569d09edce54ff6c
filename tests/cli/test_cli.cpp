#include <gtest/gtest.h>

#include <filesystem>

#include "cli_test_support.h"
#include "datasource/database.h"
#include "datasource/sheetloader.h"
#include "generate/generationrun.h"
#include "generate/outputfiles.h"
#include "layout/defaultlayout.h"

using namespace rq;
using namespace rq::clitest;
namespace fs = std::filesystem;

namespace {

// Two tables; one with non-ASCII text, markup and an empty last cell.
class CliFiles : public CliTest {
  protected:
    void SetUp() override {
        CliTest::SetUp();
        write("db/orders.csv",
              "ID,Name,City\r\n1,Zo\xC3\xAB,K\xC3\xB6ln \xE2\x82\xAC\r\n2,\"Smith, "
              "J\",a<b\r\n3,X,\r\n");
        write("db/people.txt", "n\nA\nB\nC\nD\nE\n");
    }
};

const std::string kOrdersBody =
    "\t<document>\r\n"
    "\t\t<row>\r\n\t\t\t<ID>1</ID>\r\n\t\t\t<Name>Zo\xC3\xAB</Name>\r\n"
    "\t\t\t<City>K\xC3\xB6ln \xE2\x82\xAC</City></row>\r\n"
    "\t\t<row>\r\n\t\t\t<ID>2</ID>\r\n\t\t\t<Name>Smith, J</Name>\r\n"
    "\t\t\t<City>a&lt;b</City></row>\r\n"
    "\t\t<row>\r\n\t\t\t<ID>3</ID>\r\n\t\t\t<Name>X</Name>\r\n\t\t\t<City></City></row>\r\n"
    "\t</document>\r\n";

}  // namespace

TEST_F(CliFiles, UsageErrorsExitWithOne) {
    const std::vector<std::vector<std::string>> bad = {
        {},
        {"frob", path("db/orders.csv")},
        {"--kind", "text", "tables", path("db")},
        {"help", "frob"},
        {"export", path("db/orders.csv"), "--table", "orders#csv", "--split", "2"},
        {"convert", path("db/orders.csv"), "-o", path("x.xml")},  // two tables: which?
        {"convert", path("db/orders.csv"), "--table", "t", "--sql", "s", "-o", path("x.xml")},
        {"convert", path("db/orders.csv"), "--table", "t", "--split", "0", "-o", path("x")},
        {"convert", path("db/orders.csv"), "--table", "t", "--bogus", "-o", path("x")},
        {"tables", path("db/orders.csv"), "--kind", "Dbase VII;"},
        {"convert", path("db/orders.csv"), "--table", "orders#csv", "--xslt", "a", "--css", "b",
         "-o", path("x.xml")},
        {"convert", path("db/orders.csv"), "--table", "orders#csv", "--root-attribute", "noequals",
         "-o", path("x.xml")},
    };
    for (const auto& args : bad) expectError(args, 1);
    EXPECT_FALSE(fs::exists(dir / "x.xml"));
}

TEST_F(CliFiles, SourceErrorsExitWithTwo) {
    write("notes.xyz", "x");
    const std::vector<std::pair<std::vector<std::string>, std::string>> bad = {
        {{"tables", path("missing.csv")}, "cannot find the source"},
        {{"tables", path("notes.xyz")}, "--kind"},
        {{"convert", path("db/orders.csv"), "--table", "nope", "-o", path("x.xml")},
         "no table named \"nope\""},
        {{"convert", path("db/orders.csv"), "--table", "orders#csv", "--layout", path("none"), "-o",
          path("x.xml")},
         "bad layout file"},
        {{"convert", path("db/orders.csv"), "--table", "orders#csv", "-o",
          path("no/such/folder/x.xml")},
         "no/such/folder"},
    };
    for (const auto& [args, needle] : bad) expectError(args, 2, needle);
    EXPECT_FALSE(fs::exists(dir / "x.xml"));

    // No output replaces a file the source reads: the table itself, another
    // table of the folder, either through a link; the folder's other files may.
    const std::string table = slurp(dir / "db/orders.csv");
    fs::create_symlink(dir / "db/orders.csv", dir / "link.xml");
    write("db/old.xml", "old");
    for (const char* out : {"db/orders.csv", "db/people.txt", "link.xml"}) {
        expectError({"convert", path("db/orders.csv"), "--table", "orders#csv", "-o", path(out)}, 2,
                    "is a file the source");
        expectError({"export", path("db/orders.csv"), "--table", "orders#csv", "-o", path(out)}, 2,
                    "is a file the source");
    }
    EXPECT_EQ(slurp(dir / "db/orders.csv"), table);
    EXPECT_EQ(
        run({"convert", path("db/orders.csv"), "--table", "orders#csv", "-o", path("db/old.xml")})
            .status,
        0);
}

TEST_F(CliFiles, TablesListsTheFolder) {
    Result r = run({"tables", path("db/orders.csv")});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "orders#csv\npeople#txt\n");
    EXPECT_EQ(run({"tables", path("db")}).out, r.out);
}

TEST_F(CliFiles, ConvertWritesUtf8OrTheBytesOfTheWindowsCodePage1252Save) {
    // UTF-8 by default; --convert-symbols says so again.
    EXPECT_EQ(written({"convert", path("db/orders.csv"), "--table", "orders#csv"}, "out.xml"),
              "<?xml version=\"1.0\"?>\r\n" + kOrdersBody + "\r\n");
    Result r =
        run({"convert", path("db/orders.csv"), "--table", "orders#csv", "--convert-symbols"});
    EXPECT_EQ(r.out, slurp(dir / "out.xml"));
    // Nothing but the output in the folder: the temporary file was renamed.
    int files = 0;
    for (auto& e : fs::directory_iterator(dir)) files += e.is_regular_file() ? 1 : 0;
    EXPECT_EQ(files, 1);

    const std::string cli =
        written({"convert", path("db/orders.csv"), "--table", "orders.csv", "--cp1252"}, "c.xml");
    auto db = openFileDatabase("Text;", path("db/orders.csv"));
    DataSheet sheet;
    loadTable(*db, "orders#csv", sheet);
    LayoutTree tree;
    buildDefaultLayout(tree, sheet);
    WorkingTable work;
    ASSERT_TRUE(saveDocument(path("window.xml"), runSingleFile(tree, work, sheet), false));
    EXPECT_EQ(cli, slurp(dir / "window.xml"));
    EXPECT_TRUE(contains(cli, "<City>K\xF6ln \x80</City>"));
}

TEST_F(CliFiles, PrologAndRootAttributeOptions) {
    const std::string doc =
        written({"convert", path("db/orders.csv"), "--table", "orders#csv", "--xslt", "s.xsl",
                 "--dtd", "d.dtd", "--schema", "urn:o", "o.xsd", "--root-attribute", "my lang=en"},
                "out.xml");
    EXPECT_EQ(doc.substr(0, doc.find("\t\t<row>")),
              "<?xml version=\"1.0\"?>\r\n"
              "<?xml:stylesheet type=\"text/xsl\" href=\"s.xsl\"?>\r\n"
              "<!DOCTYPE document SYSTEM \"d.dtd\">\r\n"
              "\t<document xmlns=\"urn:o\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
              "xsi:schemaLocation=\"o.xsd\" my_lang=\"en\" >\r\n");
}

TEST_F(CliFiles, SplitWritesBlocksIntoAnEmptyFolderOnly) {
    Result r = run({"convert", path("db/people.txt"), "--table", "people#txt", "--split", "2", "-o",
                    path("split")});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(rq::scratch::listing(dir / "split"),
              (std::vector<std::string>{"form_row_1_to_row_2_.xml", "form_row_3_to_row_4_.xml",
                                        "form_row_5_to_row_5_.xml"}));

    expectError({"convert", path("db/people.txt"), "--table", "people#txt", "--split", "2", "-o",
                 path("split")},
                2, "is not empty");

    fs::create_directory(dir / "empty");
    EXPECT_EQ(run({"convert", path("db/people.txt"), "--table", "people#txt", "--split", "10", "-o",
                   path("empty")})
                  .status,
              0);
    EXPECT_TRUE(fs::exists(dir / "empty" / "form_row_1_to_row_5_.xml"));
}

TEST_F(CliFiles, LayoutFileOutAndBackIn) {
    const std::string text =
        written({"layout", path("db/orders.csv"), "--table", "orders#csv"}, "o.rqlayout");
    // An edited layout drives the conversion.
    std::string edited = text;
    edited.replace(edited.find("<data-element name=\"ID\" column=\"0\"/>"), 36,
                   "<data-attribute name=\"id\" column=\"0\"/>");
    write("edited.rqlayout", edited);
    const std::string doc = written({"convert", path("db/orders.csv"), "--table", "orders#csv",
                                     "--layout", path("edited.rqlayout"), "--convert-symbols"},
                                    "out.xml");
    EXPECT_NE(doc.find("\t\t<row id=\"2\">\r\n\t\t\t<Name>Smith, J</Name>"), std::string::npos);
    EXPECT_EQ(doc.find("<ID>"), std::string::npos);

    write("broken.rqlayout",
          "<rowquill-layout>\n<root name=\"d\">\n<attribute name=\"a\" value=\"\"/>\n</root>\n"
          "</rowquill-layout>\n");
    expectError({"convert", path("db/orders.csv"), "--table", "orders#csv", "--layout",
                 path("broken.rqlayout"), "-o", path("bad.xml")},
                2, "line 3");
    EXPECT_FALSE(fs::exists(dir / "bad.xml"));
}

TEST_F(CliFiles, SqlStatementsGoThroughTheQueryEngine) {
    EXPECT_EQ(written({"export", path("db/orders.csv"), "--rfc4180", "--sql",
                       "SELECT Name FROM [orders#csv] WHERE ID <> '2' ORDER BY Name DESC"},
                      "q.csv"),
              "Name\r\nZo\xC3\xAB\r\nX\r\n");
    expectError({"convert", path("db/orders.csv"), "--sql", "SELEC x", "-o", path("b.xml")}, 2);
    EXPECT_FALSE(fs::exists(dir / "b.xml"));
}

// A stored query that asks for dates runs with --param and says which value it
// lacks without one (its records are a reader test).
TEST_F(CliTest, StoredQueryParametersComeFromParam) {
    const fs::path nwind = fs::path(ROWQUILL_FIXTURES) / "access/mdbtestdata/nwind.mdb";
    if (!fs::exists(nwind)) GTEST_SKIP() << "no fixture " << nwind;
    std::vector<std::string> args = {"export",  nwind.string(),
                                     "--table", "Employee Sales by Country",
                                     "--param", "Beginning Date=1995-01-01"};
    const Result missing = expectError(args, 2, "Ending Date");
    EXPECT_TRUE(contains(missing.err, "--param")) << missing.err;
    EXPECT_EQ(missing.out, "");
    args.insert(args.end(), {"--param", "[Ending Date]=1995-12-31"});
    EXPECT_GT(written(args, "a.csv").size(), 1000u);
    args.insert(args.end(), {"--param", "=x"});
    EXPECT_EQ(run(args).status, 1);
}
