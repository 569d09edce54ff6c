#include "base/text/cp1252.h"
#include "cli_test_support.h"

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

}  // namespace

// More in the conventions: an option another command owns, an unknown kind.
TEST_F(CliFiles, UsageErrorsExitWithOne) {
    const std::vector<std::vector<std::string>> bad = {
        {},
        {"frob", path("db/orders.csv")},
        {"--kind", "text", "tables", path("db")},
        {"help", "frob"},
        {"convert", path("db/orders.csv"), "-o", path("x.xml")},  // two tables: which?
        {"convert", path("db/orders.csv"), "--table", "t", "--sql", "s", "-o", path("x.xml")},
        {"convert", path("db/orders.csv"), "--table", "t", "--split", "0", "-o", path("x")},
        {"convert", path("db/orders.csv"), "--table", "t", "--bogus", "-o", path("x")},
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

// The writer's bytes are golden cases; here the options choose the encoding.
TEST_F(CliFiles, ConvertWritesUtf8OrCodePage1252) {
    // UTF-8 by default; --convert-symbols says so again.
    const std::string utf8 =
        written({"convert", path("db/orders.csv"), "--table", "orders#csv"}, "out.xml");
    EXPECT_TRUE(contains(utf8, "<City>K\xC3\xB6ln \xE2\x82\xAC</City>")) << utf8;
    EXPECT_EQ(
        run({"convert", path("db/orders.csv"), "--table", "orders#csv", "--convert-symbols"}).out,
        utf8);
    // Nothing but the output in the folder: the temporary file was renamed.
    EXPECT_EQ(rq::scratch::listing(dir), (std::vector<std::string>{"db", "out.xml"}));
    // The table typed as the window names it, "orders.csv".
    EXPECT_EQ(
        written({"convert", path("db/orders.csv"), "--table", "orders.csv", "--cp1252"}, "c.xml"),
        utf8ToCp1252(utf8));
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
    // The files' names and bytes are generation tests.
    EXPECT_EQ(rq::scratch::listing(dir / "split").size(), 3u);

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
