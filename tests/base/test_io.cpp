#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "base/io/atomicfile.h"
#include "base/io/folders.h"
#include "scratch_support.h"

using namespace rq;
namespace fs = std::filesystem;

using namespace rq::scratch;

TEST(AtomicFile, FailureOrAbortLeavesNothingUnderTheName) {
    TempDir dir;
    std::string error;
    EXPECT_FALSE(writeFileAtomically(dir / "missing/x.xml", "abc", &error));
    EXPECT_NE(error.find("No such file or directory"), std::string::npos) << error;
    fs::create_directory(dir / "taken");
    EXPECT_FALSE(writeFileAtomically(dir / "taken", "abc"));
    EXPECT_TRUE(fs::is_directory(dir / "taken"));
    AtomicFile f;
    ASSERT_TRUE(f.open(dir / "half.xml"));
    ASSERT_TRUE(f.write("partial"));
    f.abort();
    EXPECT_EQ(listing(dir.path), std::vector<std::string>{"taken"});
}

// Links and the mode of a replaced file: the batch converter's output tests.
TEST(AtomicFile, WritesStraightIntoWhatIsNotARegularFile) {
    TempDir dir;
    const std::string fifo = dir / "pipe";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::string received;
    std::thread reader([&] { received = slurp(fifo); });
    std::string error;
    EXPECT_TRUE(writeFileAtomically(fifo, "through the pipe", &error)) << error;
    reader.join();
    EXPECT_EQ(received, "through the pipe");
    EXPECT_EQ(listing(dir.path), std::vector<std::string>{"pipe"});
}

// Either signal removes a half-written file's temporary and the working folders.
TEST(AtomicFile, AnInterruptedProcessLeavesNoTemporaryFileNorWorkingFolder) {
    for (int sig : {SIGTERM, SIGINT}) {
        TempDir dir;
        int fds[2];
        ASSERT_EQ(::pipe(fds), 0);
        pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const std::string work = makeWorkingFolder("rqterm");
            std::ofstream(work + "Split.xml") << "x";
            (void)!::write(fds[1], work.data(), work.size());
            ::close(fds[1]);
            AtomicFile f;
            if (!f.open(dir / "out.xml") || !f.write(std::string(1 << 20, 'x'))) ::_exit(3);
            ::raise(sig);
            ::_exit(4);  // not reached: the signal ends the process
        }
        ::close(fds[1]);
        char buffer[4096];
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        ::close(fds[0]);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << status;
        EXPECT_EQ(WTERMSIG(status), sig);
        EXPECT_TRUE(listing(dir.path).empty());
        ASSERT_GT(n, 0);
        EXPECT_FALSE(fs::exists(std::string(buffer, static_cast<std::size_t>(n))));
    }
}

TEST(WorkingFolder, PrivateFreshAndRemoved) {
    std::string error;
    const std::string a = makeWorkingFolder("rqtest", &error);
    const std::string b = makeWorkingFolder("rqtest", &error);
    ASSERT_FALSE(a.empty()) << error;
    EXPECT_NE(a, b);
    EXPECT_EQ(a.back(), '/');
    struct stat st {};
    ASSERT_EQ(::stat(a.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);
    std::ofstream(a + "inside.txt") << "x";
    removeWorkingFolder(a);
    removeWorkingFolder(b);
    EXPECT_FALSE(fs::exists(a));
    EXPECT_FALSE(fs::exists(b));
    // An empty name never turns into the file-system root.
    removeFolder("");
    removeFolder("/");
    EXPECT_TRUE(fs::exists("/tmp"));
}

TEST(AtomicFolder, AppearsWhenCompleteAndOnlyOnce) {
    TempDir dir;
    {
        AtomicFolder abandoned;
        ASSERT_TRUE(abandoned.open(dir / "out"));
        std::ofstream(abandoned.path() + "a.xml") << "A";
    }
    EXPECT_TRUE(listing(dir.path).empty());
    AtomicFolder first, second;
    ASSERT_TRUE(first.open(dir / "out"));
    ASSERT_TRUE(second.open(dir / "out"));
    std::ofstream(first.path() + "a.xml") << "A";
    std::ofstream(second.path() + "b.xml") << "B";
    EXPECT_FALSE(fs::exists(dir / "out"));  // nothing under the final name yet
    ASSERT_TRUE(first.commit()) << first.error();
    EXPECT_FALSE(second.commit());  // the folder is no longer absent or empty
    EXPECT_EQ(listing(dir.path), std::vector<std::string>{"out"});
    EXPECT_EQ(listing(dir.path / "out"), std::vector<std::string>{"a.xml"});

    AtomicFolder third;  // refused for a folder that is not empty
    EXPECT_FALSE(third.open(dir / "out"));
}

TEST(AtomicFolder, AFolderSetAsideKeepsItsFilesOutOfTheWay) {
    TempDir dir;
    const std::string split = (dir.path / "Split").string();
    EXPECT_EQ(setFolderAside(split), "");
    fs::create_directory(split);
    std::ofstream(split + "/a.xml") << "x";
    const std::string aside = setFolderAside(split);
    EXPECT_FALSE(fs::exists(split));
    EXPECT_EQ(fs::path(aside).parent_path(), dir.path);
    EXPECT_TRUE(fs::exists(aside + "/a.xml"));
    // The name is free again at once for the next run.
    AtomicFolder next;
    EXPECT_TRUE(next.open(split)) << next.error();
}
