// A damaged source: its warnings on standard error, exit status 2 and nothing
// written, unless --allow-damaged asks for what could be read.

#include "cli_test_support.h"

using namespace rq::clitest;
namespace fs = std::filesystem;

namespace {

const fs::path kSample = fs::path(ROWQUILL_FIXTURES) / "dbase" / "infused_dbf";

class DamagedSource : public CliTest {
  protected:
    void SetUp() override {
        CliTest::SetUp();
        if (!fs::exists(kSample / "dbase_83.dbf")) GTEST_SKIP() << "fixtures absent: " << kSample;
        const std::string dbf = slurp(kSample / "dbase_83.dbf");
        const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(dbf[i]); };
        const std::size_t header = byte(8) | byte(9) << 8, record = byte(10) | byte(11) << 8;
        // The sample cut after 8 of its 67 records, with its memo file.
        write("db/cut.dbf", dbf.substr(0, header + 8 * record));
        write("db/cut.dbt", slurp(kSample / "dbase_83.dbt"));
    }
};

}  // namespace

// The check is shared; each command that reads the values asks for it.
TEST_F(DamagedSource, WarningsFailTheRunUnlessDamageIsAllowed) {
    const std::string warning =
        "rowquill-cli: warning: " + path("db/cut.dbf") + ": 8 of 67 records read";
    Result r = run({"convert", path("db/cut.dbf"), "--table", "cut", "-o", path("out")});
    EXPECT_EQ(r.status, 2);
    // The warning, then one line that names the option.
    EXPECT_EQ(r.err.rfind(warning + "\n", 0), 0u) << r.err;
    EXPECT_TRUE(oneLine(r.err.substr(warning.size() + 1))) << r.err;
    EXPECT_TRUE(contains(r.err.substr(warning.size()), "--allow-damaged")) << r.err;
    EXPECT_EQ(run({"export", path("db/cut.dbf"), "--table", "cut", "-o", path("out")}).status, 2);
    EXPECT_FALSE(fs::exists(dir / "out"));

    r = run(
        {"convert", path("db/cut.dbf"), "--table", "cut", "--allow-damaged", "-o", path("out")});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, warning + "\n");
    // The eight records present are written.
    const std::string out = slurp(dir / "out");
    std::size_t rows = 0;
    for (std::size_t at = 0; (at = out.find("<row>", at)) != std::string::npos; ++at) ++rows;
    EXPECT_EQ(rows, 8u);
}

TEST_F(DamagedSource, TheLayoutCommandIgnoresDamage) {
    // The layout does not depend on the values: no warning stops it, and the
    // option is refused there.
    written({"layout", path("db/cut.dbf"), "--table", "cut"}, "l");
    expectError({"layout", path("db/cut.dbf"), "--table", "cut", "--allow-damaged"}, 1);
}
