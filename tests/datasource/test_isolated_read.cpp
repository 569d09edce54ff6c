// Reading in a child process: what the child's work sends arrives unchanged
// and in order, a child that crashes or stops becomes an error, what a
// library prints is caught, and a caller that gives up does not leave the
// child behind.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "datasource/isolatedread.h"
#include "reader_test_support.h"

namespace rq {
namespace {

// Records every call as one line of text, so that two runs can be compared.
struct Recorder : RecordSink {
    std::vector<std::string> calls;
    std::size_t rows = 0;
    void begin(const std::vector<Field>& f) override {
        std::string s = "begin";
        for (auto& x : f) s += " " + x.name + ":" + std::to_string(x.type);
        calls.push_back(s);
    }
    void row(const std::string_view* c, std::size_t n) override {
        std::string s = "row";
        for (std::size_t i = 0; i < n; ++i) s += "|" + std::string(c[i]);
        calls.push_back(s);
        ++rows;
    }
    void end() override { calls.push_back("end"); }
    void warning(const std::string& t) override { calls.push_back("warning " + t); }
};

// Restores the isolation switch after a test that turns it off.
struct IsolationOn {
    IsolationOn() { setIsolatedReads(true); }
    ~IsolationOn() { setIsolatedReads(true); }
};

TEST(IsolatedRead, ChildSendsTheSameCallsAsAnInProcessRead) {
    IsolationOn on;
    // Cells of every size around the block size, a NUL inside a cell, empty
    // cells and rows, many rows: the framing must pass all of it unchanged.
    const std::string big(200000, 'x');
    auto work = [&](RecordSink& s) {
        s.begin({{"a", kText}, {"b\xC3\xA9", kLong}, {"", kMemo}});
        s.warning("first");
        for (int i = 0; i < 5000; ++i) {
            const std::string n = std::to_string(i);
            const std::string_view cells[3] = {n, i % 7 == 0 ? std::string_view() : "v",
                                               std::string_view("a\0b", 3)};
            s.row(cells, 3);
        }
        const std::string_view wide[3] = {big, std::string_view(big).substr(0, 65531), ""};
        s.row(wide, 3);
        s.row(nullptr, 0);
        s.end();
    };
    Recorder inChild, here;
    readIsolated("/data/x.mdb", work, inChild);
    setIsolatedReads(false);
    readIsolated("/data/x.mdb", work, here);
    EXPECT_EQ(inChild.rows, 5002u);
    ASSERT_EQ(inChild.calls.size(), here.calls.size());
    for (std::size_t i = 0; i < here.calls.size(); ++i)
        ASSERT_EQ(inChild.calls[i], here.calls[i]) << "call " << i;
}

TEST(IsolatedRead, AChildThatStopsBecomesADamagedFileError) {
    IsolationOn on;
    const std::string damaged = "/data/x.mdb is damaged and cannot be read (the reader stopped: ";
    struct Case {
        std::function<void()> stop;
        std::string reason;
    } cases[] = {
        {[] { std::raise(SIGSEGV); }, "SIGSEGV"}, {[] { std::abort(); }, "SIGABRT"},
        {[] { std::raise(SIGBUS); }, "SIGBUS"},   {[] { _exit(7); }, "exit status 7"},
        {[] { _exit(0); }, "it did not finish"},
    };
    for (auto& c : cases) {
        Recorder sink;
        const auto work = [&](RecordSink& s) {
            s.begin({{"a", kText}});
            const std::string_view cell = "before";
            s.row(&cell, 1);
            c.stop();
        };
        const std::string error =
            testing::errorOf([&] { readIsolated("/data/x.mdb", work, sink); });
        EXPECT_EQ(error, damaged + c.reason + ")");
        // The child's last block may be lost with it; end() never arrives.
        EXPECT_LE(sink.calls.size(), 2u) << c.reason;
    }
}

TEST(IsolatedRead, PrintedLinesAreCaughtCappedAndBecomeWarningsBeforeTheEnd) {
    IsolationOn on;
    Recorder sink;
    auto filter = [](std::string_view line) {
        return line == "noise on stdout" ? std::string() : "x.mdb: " + std::string(line);
    };
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    // Buffered, not yet written when the child is made: the child must not
    // write its copy of it.
    std::printf("pending output of this process ");
    readIsolated(
        "x.mdb",
        [](RecordSink& s) {
            s.begin({});
            for (int i = 0; i < 3; ++i) std::fprintf(stderr, "offset 4096 is beyond EOF\n");
            std::printf("noise on stdout\n");
            const char raw[] = "written straight to fd 2\r\n";
            if (::write(2, raw, sizeof raw - 1) < 0) std::abort();
            std::fprintf(stderr, "no newline at the end\n");
            // Many distinct lines are capped with a count.
            for (int i = 0; i < 25000; ++i) std::fprintf(stderr, "page %d is odd\n", i);
            s.end();
        },
        sink, filter);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "pending output of this process ");
    ASSERT_EQ(sink.calls.size(), 23u);
    EXPECT_EQ(std::vector<std::string>(sink.calls.begin(), sink.calls.begin() + 5),
              (std::vector<std::string>{
                  "begin",
                  "warning x.mdb: offset 4096 is beyond EOF (3 times)",
                  "warning x.mdb: written straight to fd 2",
                  "warning x.mdb: no newline at the end",
                  "warning x.mdb: page 0 is odd",
              }));
    EXPECT_EQ(sink.calls[21], "warning x.mdb: 24983 more messages of the reader");
    EXPECT_EQ(sink.calls[22], "end");
}

TEST(IsolatedRead, ACallerThatGivesUpLeavesNoChildBehind) {
    IsolationOn on;
    struct Impatient : RecordSink {
        int rows = 0;
        void begin(const std::vector<Field>&) override {}
        void row(const std::string_view*, std::size_t) override {
            if (++rows == 1000) throw std::runtime_error("cancelled");
        }
    } sink;
    // The child would send rows for ever.
    auto endless = [](RecordSink& s) {
        const std::string_view cell = "row";
        for (;;) s.row(&cell, 1);
    };
    EXPECT_THROW(readIsolated("f", endless, sink), std::runtime_error);
    EXPECT_EQ(sink.rows, 1000);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);  // no child left, not even a zombie
    EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace rq
