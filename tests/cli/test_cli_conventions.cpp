// The conventions scripts rely on: help and version, "--", "-" for standard
// input and output, plain kind names, one-table sources, passwords, standard
// CSV, the progress line.
#include <gtest/gtest.h>

#include <filesystem>

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
    EXPECT_NE(run({"export", "--help"}).out.find("--rfc4180"), std::string::npos);
    EXPECT_EQ(run({"export", "--help"}).out.find("--split"), std::string::npos);
    // A usage error points at the command's own help.
    const Result bad = run({"export", path("one"), "--split", "2"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.err.find("(see rowquill-cli export --help)"), std::string::npos) << bad.err;
}

TEST_F(CliConventions, StandardOutputIsTheDefaultAndDashNamesIt) {
    const Result r = run({"convert", path("one/orders.csv")});  // one table: no --table
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, kOrdersXml);
    EXPECT_EQ(run({"convert", path("one/orders.csv"), "-o", "-"}).out, kOrdersXml);
    EXPECT_FALSE(fs::exists("-"));
    EXPECT_NE(run({"layout", path("one")}).out.find("<data-element name=\"Name\" column=\"1\"/>"),
              std::string::npos);
    // With more than one table the name is needed, and the message says so.
    const Result two = run({"convert", path("two")});
    EXPECT_EQ(two.status, 1);
    EXPECT_NE(two.err.find("--table"), std::string::npos) << two.err;
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
    const Result r = run({"tables", "--", "--kind"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("cannot find the source --kind"), std::string::npos) << r.err;
}

TEST_F(CliConventions, PlainKindNamesBesideConnectStrings) {
    const std::string expected = "a#csv\nb#csv\n";
    for (const char* kind : {"text", "TEXT", "Text;"}) {
        SCOPED_TRACE(kind);
        const Result r = run({"tables", path("two"), "--kind", kind});
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, expected);
    }
    const Result bad = run({"tables", path("two"), "--kind", "text;"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.err.find("lotus-wk1"), std::string::npos) << bad.err;  // the names are listed
}

TEST_F(CliConventions, ARenamedFileIsReadByItsContent) {
    const fs::path people = kFixtures / "dbase" / "dbfread" / "people.dbf";
    if (!fs::exists(people)) GTEST_SKIP() << "fixtures folder absent: " << people;
    fs::create_directory(dir / "renamed");
    fs::copy_file(people, dir / "renamed" / "people.data");
    const Result r = run({"export", path("renamed/people.data"), "--rfc4180"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.substr(0, r.out.find("\r\n")), "NAME,BIRTHDATE");
}

TEST_F(CliConventions, PasswordFromOptionEnvironmentOrTerminal) {
    const fs::path locked = kFixtures / "access" / "jettoobjects" / "password-database.mdb";
    if (!fs::exists(locked)) GTEST_SKIP() << "fixtures folder absent: " << locked;
    const std::string db = locked.string();
    Result r = run({"tables", db});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("ROWQUILL_PASSWORD"), std::string::npos) << r.err;
    EXPECT_TRUE(prompts.empty());  // no terminal, no question

    EXPECT_EQ(run({"tables", db, "--password", "abcd1234"}).out, "Products\n");
    EXPECT_EQ(run({"tables", db}, {"ROWQUILL_PASSWORD=abcd1234"}).out, "Products\n");
    r = run({"tables", db, "--password", "nope"}, {"ROWQUILL_PASSWORD=abcd1234"});
    EXPECT_EQ(r.status, 2);  // the option wins over the environment
    EXPECT_NE(r.err.find("wrong"), std::string::npos) << r.err;

    terminal = true;
    secret = "abcd1234";
    EXPECT_EQ(run({"tables", db}).out, "Products\n");
    ASSERT_EQ(prompts.size(), 1u);
    EXPECT_EQ(prompts[0], "Password for " + db + ": ");
    secret = "wrong";
    r = run({"tables", db});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("wrong"), std::string::npos) << r.err;
}

TEST_F(CliConventions, StandardCsvBesideTheProgramsOwnForm) {
    write("q/q.csv", "a,b,c\r\n\"say \"\"hi\"\"\",\"two\nlines\",\r\nplain, x ,\r\n");
    const Result standard = run({"export", path("q/q.csv"), "--rfc4180"});
    ASSERT_EQ(standard.status, 0) << standard.err;
    EXPECT_EQ(standard.out, "a,b,c\r\n\"say \"\"hi\"\"\",\"two\nlines\",\r\nplain, x ,\r\n");
    const Result own = run({"export", path("q/q.csv")});
    EXPECT_EQ(own.out.substr(0, 17), "\"a\",\"b\",\"c\"\r\n\"say");
}

TEST_F(CliConventions, ProgressOnlyOnATerminal) {
    Result quiet = run({"convert", path("one/orders.csv"), "-o", path("o.xml")});
    EXPECT_EQ(quiet.err, "");
    terminal = true;
    Result shown = run({"convert", path("one/orders.csv"), "-o", path("o.xml")});
    EXPECT_EQ(shown.status, 0);
    EXPECT_NE(shown.err.find("\r"), std::string::npos);
    EXPECT_EQ(shown.err.substr(shown.err.size() - 4), "\r\033[K");  // the line is cleared
}
