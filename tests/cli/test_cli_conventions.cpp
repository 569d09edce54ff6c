// The conventions scripts rely on: help and version, "--", "-" for standard
// input and output, plain kind names, one-table sources, passwords, standard
// CSV, the progress line.

#include "cli_test_support.h"

using namespace rq::clitest;
namespace fs = std::filesystem;

namespace {

const fs::path kFixtures = fs::path(ROWQUILL_FIXTURES);

class CliConventions : public CliTest {
  protected:
    void SetUp() override {
        CliTest::SetUp();
        write("one/orders.csv", "ID,Name\r\n1,Zo\xC3\xAB\r\n2,\"Smith, J\"\r\n");
        write("two/a.csv", "x\n1\n");
        write("two/b.csv", "y\n2\n");
    }
};

const std::string kOrdersXml =
    "<?xml version=\"1.0\"?>\r\n\t<document>\r\n"
    "\t\t<row>\r\n\t\t\t<ID>1</ID>\r\n\t\t\t<Name>Zo\xC3\xAB</Name></row>\r\n"
    "\t\t<row>\r\n\t\t\t<ID>2</ID>\r\n\t\t\t<Name>Smith, J</Name></row>\r\n"
    "\t</document>\r\n\r\n";

}  // namespace

TEST_F(CliConventions, HelpAndVersion) {
    const Result version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.rfind("rowquill-cli ", 0), 0u);
    EXPECT_TRUE(oneLine(version.out));

    const Result global = run({"--help"});
    EXPECT_EQ(run({"help"}).out, global.out);
    for (const char* command : {"tables", "convert", "export", "layout", "sources"}) {
        SCOPED_TRACE(command);
        const Result help = run({"help", command});
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.out.rfind(std::string("Usage: rowquill-cli ") + command, 0), 0u);
        EXPECT_EQ(run({command, "--help"}).out, help.out);
        EXPECT_EQ(run({command, "-h"}).out, help.out);
        EXPECT_NE(global.out.find(std::string("\n  ") + command + " "), std::string::npos);
    }
    EXPECT_TRUE(contains(run({"export", "--help"}).out, "--rfc4180"));
    EXPECT_EQ(run({"export", "--help"}).out.find("--split"), std::string::npos);
    // A usage error points at the command's own help.
    expectError({"export", path("one"), "--split", "2"}, 1, "(see rowquill-cli export --help)");
}

TEST_F(CliConventions, StandardOutputIsTheDefaultAndDashNamesIt) {
    const Result r = run({"convert", path("one/orders.csv")});  // one table: no --table
    EXPECT_EQ(r.out, kOrdersXml) << r.err;
    EXPECT_EQ(run({"convert", path("one/orders.csv"), "-o", "-"}).out, kOrdersXml);
    EXPECT_FALSE(fs::exists("-"));
    EXPECT_NE(run({"layout", path("one")}).out.find("<data-element name=\"Name\" column=\"1\"/>"),
              std::string::npos);
    // With more than one table the name is needed, and the message says so.
    expectError({"convert", path("two")}, 1, "--table");
    EXPECT_EQ(run({"convert", path("two"), "--table", "b.csv"}).status, 0);
}

TEST_F(CliConventions, DashReadsATextTableFromStandardInput) {
    input = "ID,Name\r\n1,Zo\xC3\xAB\r\n2,\"Smith, J\"\r\n";
    EXPECT_EQ(run({"tables", "-"}).out, "stdin#txt\n");
    EXPECT_EQ(run({"convert", "--kind", "text", "-"}).out, kOrdersXml);
    EXPECT_EQ(run({"export", "-", "--rfc4180"}).out,
              "ID,Name\r\n1,Zo\xC3\xAB\r\n2,\"Smith, J\"\r\n");
    EXPECT_EQ(run({"convert", "--kind", "dbase", "-"}).status, 1);
}

TEST_F(CliConventions, DoubleDashEndsTheOptions) {
    EXPECT_EQ(run({"convert", "--", path("one/orders.csv")}).out, kOrdersXml);
    expectError({"tables", "--", "--kind"}, 2, "cannot find the source --kind");
}

TEST_F(CliConventions, PlainKindNamesBesideConnectStrings) {
    for (const char* kind : {"text", "TEXT", "Text;"}) {
        const Result r = run({"tables", path("two"), "--kind", kind});
        EXPECT_EQ(r.out + r.err, "a#csv\nb#csv\n") << kind;
    }
    expectError({"tables", path("two"), "--kind", "text;"}, 1, "lotus-wk1");  // the names listed
}

TEST_F(CliConventions, ARenamedFileIsReadByItsContent) {
    const fs::path people = kFixtures / "dbase" / "dbfread" / "people.dbf";
    if (!fs::exists(people)) GTEST_SKIP() << "fixtures folder absent: " << people;
    fs::create_directory(dir / "renamed");
    fs::copy_file(people, dir / "renamed" / "people.data");
    const std::string out = written({"export", path("renamed/people.data"), "--rfc4180"}, "o");
    EXPECT_EQ(out.substr(0, out.find("\r\n")), "NAME,BIRTHDATE");
}

TEST_F(CliConventions, PasswordFromOptionEnvironmentOrTerminal) {
    const fs::path locked = kFixtures / "access" / "jettoobjects" / "password-database.mdb";
    if (!fs::exists(locked)) GTEST_SKIP() << "fixtures folder absent: " << locked;
    const std::string db = locked.string();
    expectError({"tables", db}, 2, "ROWQUILL_PASSWORD");
    EXPECT_TRUE(prompts.empty());  // no terminal, no question

    EXPECT_EQ(run({"tables", db, "--password", "abcd1234"}).out, "Products\n");
    EXPECT_EQ(run({"tables", db}, {"ROWQUILL_PASSWORD=abcd1234"}).out, "Products\n");
    // The option wins over the environment.
    expectError({"tables", db, "--password", "nope"}, 2, "wrong", {"ROWQUILL_PASSWORD=abcd1234"});

    terminal = true;
    secret = "abcd1234";
    EXPECT_EQ(run({"tables", db}).out, "Products\n");
    ASSERT_EQ(prompts.size(), 1u);
    EXPECT_EQ(prompts[0], "Password for " + db + ": ");
    secret = "wrong";
    expectError({"tables", db}, 2, "wrong");
}

// The program's own form is a sheet test.
TEST_F(CliConventions, StandardCsvOnRequest) {
    write("q/q.csv", "a,b,c\r\n\"say \"\"hi\"\"\",\"two\nlines\",\r\nplain, x ,\r\n");
    EXPECT_EQ(written({"export", path("q/q.csv"), "--rfc4180"}, "o"),
              "a,b,c\r\n\"say \"\"hi\"\"\",\"two\nlines\",\r\nplain, x ,\r\n");
}

TEST_F(CliConventions, ProgressOnlyOnATerminal) {
    written({"convert", path("one/orders.csv")}, "o.xml");  // no progress: nothing on stderr
    terminal = true;
    Result shown = run({"convert", path("one/orders.csv"), "-o", path("o.xml")});
    EXPECT_EQ(shown.status, 0);
    EXPECT_NE(shown.err.find("\r"), std::string::npos);
    EXPECT_EQ(shown.err.substr(shown.err.size() - 4), "\r\033[K");  // the line is cleared
}
