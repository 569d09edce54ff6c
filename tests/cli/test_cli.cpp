#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "cli_test_support.h"
#include "datasource/database.h"
#include "datasource/sheetloader.h"
#include "generate/generationrun.h"
#include "generate/outputfiles.h"
#include "layout/defaultlayout.h"
#include "layout/layoutfile.h"

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

TEST_F(CliFiles, HelpAndUsageErrors) {
    Result help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("Usage: rowquill-cli"), std::string::npos);
    EXPECT_NE(run({"convert", "--help"}).out.find("\n  --split N "), std::string::npos);

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
    EXPECT_EQ(run({"tables", path("db"), "--kind", "Text;"}).out, r.out);
    EXPECT_EQ(run({"tables", path("db")}).out, r.out);
}

TEST_F(CliFiles, ConvertWritesUtf8OrCodePage1252) {
    std::string cp1252Body = kOrdersBody;
    cp1252Body.replace(cp1252Body.find("Zo\xC3\xAB"), 4, "Zo\xEB");
    cp1252Body.replace(cp1252Body.find("K\xC3\xB6ln \xE2\x82\xAC"), 9, "K\xF6ln \x80");
    EXPECT_EQ(
        written({"convert", path("db/orders.csv"), "--table", "orders.csv", "--cp1252"}, "out.xml"),
        "<?xml version=\"1.0\"?>\r\n" + cp1252Body + "\r\n");

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
    std::vector<std::string> names;
    for (auto& e : fs::directory_iterator(dir / "split")) names.push_back(e.path().filename());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names,
              (std::vector<std::string>{"form_row_1_to_row_2_.xml", "form_row_3_to_row_4_.xml",
                                        "form_row_5_to_row_5_.xml"}));
    EXPECT_EQ(slurp(dir / "split" / "form_row_5_to_row_5_.xml"),
              "<?xml version=\"1.0\"?>\r\n\t<document>\r\n\t\t<row>\r\n\t\t\t<n>E</n></row>\r\n"
              "\t</document>\r\n\r\n");

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

TEST_F(CliFiles, ExportWritesTheCsvText) {
    EXPECT_EQ(written({"export", path("db/orders.csv"), "--table", "orders#csv"}, "o.txt"),
              "\"ID\",\"Name\",\"City\"\r\n"
              "\"1\",\"Zo\xC3\xAB\",\"K\xC3\xB6ln \xE2\x82\xAC\",\r\n"
              "\"2\",\"Smith, J\",\"a<b\",\r\n"
              "\"3\",\"X\",\r\n"
              "\r\n");
}

TEST_F(CliFiles, LayoutFileOutAndBackIn) {
    const std::string text =
        written({"layout", path("db/orders.csv"), "--table", "orders#csv"}, "o.rqlayout");
    EXPECT_NE(text.find("<root name=\"document\">"), std::string::npos);
    EXPECT_NE(text.find("<data-element name=\"City\" column=\"2\"/>"), std::string::npos);

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

TEST_F(CliFiles, ConvertGivesTheBytesOfTheWindowsSave) {
    const fs::path fixture = fs::path(ROWQUILL_FIXTURES) / "text" / "temperature_qaqc";
    if (!fs::exists(fixture)) GTEST_SKIP() << "fixtures folder absent: " << fixture;
    const std::string source = (fixture / "ARD_to_WRS.csv").string();
    Result r =
        run({"convert", source, "--table", "ARD_to_WRS#csv", "--cp1252", "-o", path("cli.xml")});
    ASSERT_EQ(r.status, 0) << r.err;

    auto db = openFileDatabase("Text;", source);
    DataSheet sheet;
    loadTable(*db, "ARD_to_WRS#csv", sheet);
    LayoutTree tree;
    buildDefaultLayout(tree, sheet);
    WorkingTable work;
    ASSERT_TRUE(saveDocument(path("window.xml"), runSingleFile(tree, work, sheet), false));
    const std::string cli = slurp(dir / "cli.xml");
    EXPECT_EQ(cli, slurp(dir / "window.xml"));
    EXPECT_NE(cli.find("\t\t\t<PR>038046</PR>\r\n\t\t\t<h>1</h>\r\n\t\t\t<v>21</v></row>\r\n"
                       "\t</document>\r\n\r\n"),
              std::string::npos);
}

TEST_F(CliFiles, SqlStatementsGoThroughTheQueryEngine) {
    EXPECT_EQ(written({"convert", path("db/orders.csv"), "--sql",
                       "SELECT Name FROM [orders#csv] WHERE ID <> '2' ORDER BY Name DESC",
                       "--convert-symbols"},
                      "q.xml"),
              "<?xml version=\"1.0\"?>\r\n\t<document>\r\n"
              "\t\t<row>\r\n\t\t\t<Name>Zo\xC3\xAB</Name></row>\r\n"
              "\t\t<row>\r\n\t\t\t<Name>X</Name></row>\r\n"
              "\t</document>\r\n\r\n");
    expectError({"convert", path("db/orders.csv"), "--sql", "SELEC x", "-o", path("b.xml")}, 2);
    EXPECT_FALSE(fs::exists(dir / "b.xml"));
}

// A stored query that asks for dates runs with --param and says which value it
// lacks without one.
TEST_F(CliTest, StoredQueryParametersComeFromParam) {
    const fs::path nwind = fs::path(ROWQUILL_FIXTURES) / "access/mdbtestdata/nwind.mdb";
    if (!fs::exists(nwind)) GTEST_SKIP() << "no fixture " << nwind;
    const std::string query = "Employee Sales by Country";
    const Result missing = expectError({"export", nwind.string(), "--table", query, "--param",
                                        "Beginning Date=1995-01-01", "-o", path("a.csv")},
                                       2, "Ending Date");
    EXPECT_NE(missing.err.find("--param"), std::string::npos) << missing.err;
    EXPECT_FALSE(fs::exists(dir / "a.csv"));

    Result ok =
        run({"export", nwind.string(), "--table", query, "--param", "Beginning Date=1995-01-01",
             "--param", "[Ending Date]=1995-12-31", "--rfc4180", "-o", path("a.csv")});
    ASSERT_EQ(ok.status, 0) << ok.err;
    Result count = run({"export", nwind.string(), "--rfc4180", "--sql",
                        "Select Count(*) As N From Orders Where ShippedDate Between #1995-01-01# "
                        "And #1995-12-31#"});
    ASSERT_EQ(count.status, 0) << count.err;
    const std::string csv = slurp(dir / "a.csv");
    const long lines = std::count(csv.begin(), csv.end(), '\n');
    EXPECT_EQ("N\r\n" + std::to_string(lines - 1) + "\r\n", count.out);

    EXPECT_EQ(run({"export", nwind.string(), "--table", query, "--param", "=x"}).status, 1);
}
