// rowquill-cli over ODBC data sources, through the SQLite 3 ODBC driver.
#include <sqlite3.h>

#include "cli_test_support.h"
#include "datasource/odbc/odbcsource.h"

using namespace rq;
using namespace rq::clitest;
namespace fs = std::filesystem;

namespace {

// The installed driver whose library is the SQLite 3 one: its name, and its
// "Driver=" attribute (empty when there is none).
struct SqliteDriver {
    std::string name, library;
};

SqliteDriver findSqliteDriver() {
    for (const auto& d : odbcDrivers())
        for (const auto& a : d.attributes)
            if (a.rfind("Driver=", 0) == 0 && a.find("sqlite3odbc") != std::string::npos)
                return {d.name, a.substr(7)};
    return {};
}

class CliOdbc : public CliTest {
  protected:
    SqliteDriver driver;
    std::string connection;  // to the file made by SetUp

    void SetUp() override {
        CliTest::SetUp();
        driver = findSqliteDriver();
        if (driver.name.empty()) GTEST_SKIP() << "the SQLite 3 ODBC driver is not installed";
        std::string file = path("shop.db");
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
        for (const char* s : {
                 "create table [Order Lines] (id integer, item varchar(20), price real)",
                 "insert into [Order Lines] values (1, 'Bolt', 2.5), "
                 "(2, 'Zo\xC3\xAB & <Co>', NULL), (3, NULL, 0.25)",
                 "create table MSysObjects (a)",
                 "create table Alpha (a)",
                 "create view [b view] as select item from [Order Lines] where id = 1",
             }) {
            char* error = nullptr;
            EXPECT_EQ(sqlite3_exec(db, s, nullptr, nullptr, &error), SQLITE_OK)
                << s << ": " << (error ? error : "");
            sqlite3_free(error);
        }
        sqlite3_close(db);
        connection = "Driver=" + driver.name + ";Database=" + file + ";";
    }
};

}  // namespace

// The values' text is a reader test; here the options reach the driver.
TEST_F(CliOdbc, ConvertExportAndLayoutOfATableWithABlankInItsName) {
    const std::string doc =
        written({"convert", "--odbc", connection, "--table", "Order Lines"}, "o");
    EXPECT_TRUE(contains(doc, "<item>Zo\xC3\xAB &amp; &lt;Co&gt;</item>")) << doc;
    // The typed name is matched to the listed one regardless of letter case.
    EXPECT_EQ(written({"convert", "--odbc=" + connection, "--table", "order lines"}, "w"), doc);
    EXPECT_TRUE(contains(written({"layout", "--odbc", connection, "--table", "Order Lines"}, "l"),
                         "<data-element name=\"price\" column=\"2\"/>"));
    // A view, and a table the list hides.
    EXPECT_EQ(written({"export", "--odbc", connection, "--table", "b view"}, "v.txt"),
              "\"item\"\r\n\"Bolt\",\r\n\r\n");
    EXPECT_EQ(written({"export", "--odbc", connection, "--table", "MSysObjects"}, "m.txt"),
              "\"a\"\r\n\r\n");
    // A table the driver does not list at all goes to it as typed.
    EXPECT_TRUE(contains(written({"export", "--odbc", connection, "--table", "sqlite_master"}, "s"),
                         "\r\n\"view\",\"b view\",\"b view\",\"0\","));
}

TEST_F(CliOdbc, SqlStatementsGoToTheDriverWithBracketedNames) {
    EXPECT_EQ(written({"export", "--odbc", connection, "--rfc4180", "--sql",
                       "SELECT id, [item] FROM [Order Lines] WHERE price > 1 OR id = 2 "
                       "ORDER BY id DESC"},
                      "q.csv"),
              "id,item\r\n2,Zo\xC3\xAB & <Co>\r\n1,Bolt\r\n");
}

TEST_F(CliOdbc, SourceErrorsAreOneLineWithExitTwo) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> bad = {
        {{"tables", "--odbc", "Driver=No Such Driver Here;Database=x"},
         "rowquill-cli: Error Opening DataSource: "},
        {{"convert", "--odbc", connection, "--table", "No Such Table", "-o", path("x.xml")},
         "No Such Table"},
        {{"convert", "--odbc", connection, "--sql", "SELEC id FROM Alpha", "-o", path("x.xml")},
         "rowquill-cli: "},
    };
    for (const auto& [args, needle] : bad) EXPECT_EQ(expectError(args, 2, needle).out, "");
    EXPECT_FALSE(fs::exists(dir / "x.xml"));
}

TEST_F(CliOdbc, UsageErrorsAroundTheConnectionString) {
    const std::vector<std::vector<std::string>> bad = {
        {"tables", path("shop.db"), "--odbc", connection},
        {"tables", "--odbc", ""},
        {"tables", "--odbc"},
        {"convert", "--odbc", connection, "--table", "Alpha", "--kind", "Text;", "-o", path("x")},
        {"convert", "--odbc", connection, "--table", "Alpha", "--codepage", "866", "-o", path("x")},
        {"convert", "--odbc", connection, "--table", "Alpha", "--password", "p", "-o", path("x")},
        {"convert", "--odbc", connection, "-o", path("x")},
        {"sources", "extra"},
        {"sources", "--odbc", connection},
        {"tables"},
    };
    for (const auto& args : bad) expectError(args, 1);
    EXPECT_FALSE(fs::exists(dir / "x"));
    EXPECT_TRUE(contains(run({"--help"}).out, "--odbc CONNECTION"));
}

TEST_F(CliOdbc, SourcesAndDataSourceNamesFromTheDriverManagerFiles) {
    // A private driver list and private user and system data sources.
    fs::create_directory(dir / "etc");
    write("etc/odbcinst.ini", "[Lite Three]\nDescription=SQLite for the tests\nDriver=" +
                                  driver.library + "\n\n[Bare]\nDriver=/nonexistent/libbare.so\n");
    write("etc/odbc.ini", "[Archive]\nDriver=Lite Three\nDatabase=" + path("archive.db") + "\n");
    write("user.ini", "[Shop Sales]\nDriver=Lite Three\nDatabase=" + path("shop.db") + "\n");
    const std::vector<std::string> env = {"ODBCSYSINI=" + path("etc"),
                                          "ODBCINI=" + path("user.ini")};
    Result r = runProcess({"sources"}, env);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out,
              "User data sources:\n"
              "  Shop Sales  Lite Three\n"
              "System data sources:\n"
              "  Archive  Lite Three\n"
              "Drivers:\n"
              "  Lite Three  SQLite for the tests\n"
              "  Bare\n");

    // Tables, then views, without the system names.
    r = runProcess({"tables", "--odbc", "DSN=Shop Sales"}, env);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "Order Lines\nAlpha\nb view\n");
    // The completed connection string the driver reports is enough to reconnect.
    r = runProcess({"export", "--odbc", "DSN=Shop Sales", "--table", "Alpha", "-o", path("a.txt")},
                   env);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(slurp(dir / "a.txt"), "\"a\"\r\n\r\n");
}
