// The output file as the built program writes it: through links, keeping a
// replaced file's mode, straight into /dev/stdout, as an ordinary user, and
// with nothing left behind when interrupted.
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "cli_test_support.h"

extern char** environ;

using namespace rq::clitest;
namespace fs = std::filesystem;

namespace {

const std::string kDocument =
    "<?xml version=\"1.0\"?>\r\n\t<document>\r\n\t\t<row>\r\n\t\t\t<n>1</n></row>\r\n"
    "\t</document>\r\n\r\n";

class CliOutput : public CliTest {
  protected:
    void SetUp() override {
        CliTest::SetUp();
        write("db/t.csv", "n\n1\n");
    }
    // Files whose names begin with "." in the folder (temporary files).
    static long hiddenFiles(const fs::path& folder) {
        return std::count_if(fs::directory_iterator(folder), {}, [](const fs::directory_entry& e) {
            return e.path().filename().string().front() == '.';
        });
    }
};

}  // namespace

TEST_F(CliOutput, ALinkIsFollowedAndAReplacedFileKeepsItsMode) {
    fs::create_directory(dir / "real");
    write("real/target.xml", "old");
    fs::permissions(dir / "real/target.xml", fs::perms(0640));
    fs::create_symlink(dir / "real/target.xml", dir / "link.xml");
    const Result r = runProcess({"convert", path("db/t.csv"), "-o", path("link.xml")});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(fs::is_symlink(dir / "link.xml"));
    EXPECT_EQ(slurp(dir / "real/target.xml"), kDocument);
    EXPECT_EQ(fs::status(dir / "real/target.xml").permissions() & fs::perms::all, fs::perms(0640));
    EXPECT_EQ(hiddenFiles(dir / "real"), 0);
}

TEST_F(CliOutput, DevStdoutIsWrittenStraightAndStaysWhatItIs) {
    const bool wasLink = fs::is_symlink("/dev/stdout");
    const Result r = runProcess({"convert", path("db/t.csv"), "-o", "/dev/stdout"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, kDocument);
    EXPECT_EQ(fs::is_symlink("/dev/stdout"), wasLink);
}

TEST_F(CliOutput, DevStdoutAsAnOrdinaryUser) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to run the program as nobody";
    if (std::system("command -v setpriv >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "setpriv is not installed";
    // The source must be readable by nobody; the output is a file root opened.
    fs::permissions(dir, fs::perms(0755));
    fs::permissions(dir / "db", fs::perms(0755));
    const Result r = runProcess({"convert", path("db/t.csv"), "-o", "/dev/stdout"}, {},
                                "setpriv --reuid=nobody --regid=nogroup --clear-groups ");
    if (contains(r.err, "Permission denied") && !contains(r.err, "rowquill-cli"))
        GTEST_SKIP() << "nobody cannot run the program here: " << r.err;
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, kDocument);
}

TEST_F(CliOutput, AnInterruptedConvertLeavesNoTemporaryFile) {
    // Enough records that writing takes a while.
    std::string csv = "a,b,c,d\n";
    for (int i = 0; i < 300000; ++i)
        csv += std::to_string(i) + ",some text,more text here," + std::to_string(i * 7) + "\n";
    write("big/big.csv", csv);
    fs::create_directory(dir / "out");
    const std::string source = path("big/big.csv"), output = path("out/big.xml");
    std::vector<std::string> words = {ROWQUILL_CLI, "convert", source, "-o", output};
    std::vector<char*> argv;
    for (auto& w : words) argv.push_back(w.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    ASSERT_EQ(::posix_spawn(&pid, ROWQUILL_CLI, nullptr, nullptr, argv.data(), environ), 0);
    bool interrupted = false;
    int status = 0;
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < until) {
        if (::waitpid(pid, &status, WNOHANG) == pid) break;
        if (hiddenFiles(dir / "out") > 0) {
            ::kill(pid, SIGINT);
            interrupted = true;
            ::waitpid(pid, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    if (!interrupted) GTEST_SKIP() << "the run ended before it could be interrupted";
    EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(hiddenFiles(dir / "out"), 0);
    EXPECT_FALSE(fs::exists(output));
}
