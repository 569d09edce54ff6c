#include "datasource/isolatedread.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdio_ext.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace rq {

namespace {

// -1: not yet decided (the environment is read on first use).
std::atomic<int> isolationState{-1};

constexpr std::size_t kBlock = 64 * 1024;        // the child writes in blocks of this size
constexpr std::size_t kPipeSize = 1024 * 1024;   // asked for; the system may give less
constexpr std::size_t kMaxChatterLine = 4096;    // a longer printed line is cut here
constexpr std::size_t kMaxChatterWarnings = 20;  // distinct warnings kept from printed lines
constexpr int kExitPipeFailed = 3;

// Frame tags. Every frame is a tag byte, a 32-bit little-endian payload
// length, then the payload.
enum Tag : char {
    kBegin = 'B',    // count, then per field: type, name
    kRow = 'R',      // count, then per cell: length, bytes
    kEnd = 'E',      // the sink's end()
    kWarning = 'W',  // text
    kError = 'X',    // code, message: the work threw
    kDone = 'D',     // the work returned
};

void putU32(std::string& out, std::uint32_t v) {
    const char b[4] = {static_cast<char>(v), static_cast<char>(v >> 8), static_cast<char>(v >> 16),
                       static_cast<char>(v >> 24)};
    out.append(b, 4);
}

std::uint32_t getU32(const char* p) {
    const auto* u = reinterpret_cast<const unsigned char*>(p);
    return static_cast<std::uint32_t>(u[0]) | static_cast<std::uint32_t>(u[1]) << 8 |
           static_cast<std::uint32_t>(u[2]) << 16 | static_cast<std::uint32_t>(u[3]) << 24;
}

// The child's sink: encodes every call into the buffer and writes it to the
// pipe a block at a time. Lives only in the child, so a failed write ends the
// child at once.
class FrameWriter final : public RecordSink {
  public:
    explicit FrameWriter(int fd) : fd_(fd) { buf_.reserve(2 * kBlock); }

    void begin(const std::vector<Field>& fields) override {
        const std::size_t at = open(kBegin);
        putU32(buf_, static_cast<std::uint32_t>(fields.size()));
        for (const Field& f : fields) {
            putU32(buf_, static_cast<std::uint32_t>(f.type));
            putText(f.name);
        }
        close(at);
    }
    void row(const std::string_view* cells, std::size_t count) override {
        const std::size_t at = open(kRow);
        putU32(buf_, static_cast<std::uint32_t>(count));
        for (std::size_t i = 0; i < count; ++i) putText(cells[i]);
        close(at);
    }
    void end() override { close(open(kEnd)); }
    void warning(const std::string& text) override {
        const std::size_t at = open(kWarning);
        buf_ += text;
        close(at);
    }
    void error(int code, std::string_view message) {
        const std::size_t at = open(kError);
        putU32(buf_, static_cast<std::uint32_t>(code));
        buf_ += message;
        close(at);
    }
    void done() { close(open(kDone)); }

    void flush() {
        std::size_t off = 0;
        while (off < buf_.size()) {
            const ssize_t n = ::write(fd_, buf_.data() + off, buf_.size() - off);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) _exit(kExitPipeFailed);
            off += static_cast<std::size_t>(n);
        }
        buf_.clear();
    }

  private:
    std::size_t open(char tag) {
        buf_ += tag;
        buf_.append(4, '\0');
        return buf_.size();
    }
    void close(std::size_t payloadStart) {
        const auto len = static_cast<std::uint32_t>(buf_.size() - payloadStart);
        std::string b;
        putU32(b, len);
        std::memcpy(&buf_[payloadStart - 4], b.data(), 4);
        if (buf_.size() >= kBlock) flush();
    }
    void putText(std::string_view s) {
        putU32(buf_, static_cast<std::uint32_t>(s.size()));
        buf_.append(s.data(), s.size());
    }

    int fd_;
    std::string buf_;
};

[[noreturn]] void runChild(int dataFd, int chatterFd,
                           const std::function<void(RecordSink&)>& work) {
    // Output the parent had buffered but not yet written belongs to the
    // parent; the child drops its copy instead of writing it into the pipe.
    __fpurge(stdout);
    __fpurge(stderr);
    ::dup2(chatterFd, STDOUT_FILENO);
    ::dup2(chatterFd, STDERR_FILENO);
    if (chatterFd > STDERR_FILENO) ::close(chatterFd);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    // The parent's descriptors (its files, sockets, the pipes of other
    // children) are not the child's business; holding another child's pipe
    // open would keep its reader waiting.
    if (dataFd > STDERR_FILENO + 1) ::close_range(STDERR_FILENO + 1, dataFd - 1, 0);
    ::close_range(dataFd + 1, ~0U, 0);
    // The caller's handlers (removing its working folder on an interrupt)
    // are not for the child to run.
    for (int sig : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGQUIT}) ::signal(sig, SIG_DFL);
    FrameWriter out(dataFd);
    try {
        work(out);
        out.done();
    } catch (const DatabaseError& e) {
        out.error(e.code(), e.what());
    } catch (const std::exception& e) {
        out.error(kErrGeneric, e.what());
    } catch (...) {
        out.error(kErrGeneric, "the reader failed");
    }
    std::fflush(stdout);
    out.flush();
    _exit(0);
}

// The parent's side of one child: its pipes and its process, which is killed
// and reaped if the caller leaves early (its sink threw).
class ChildProcess {
  public:
    ChildProcess(const std::string& file, const std::function<void(RecordSink&)>& work) {
        int data[2], chatter[2];
        if (::pipe2(data, O_CLOEXEC) != 0) fail(file, "pipe");
        if (::pipe2(chatter, O_CLOEXEC) != 0) {
            const int saved = errno;
            ::close(data[0]);
            ::close(data[1]);
            errno = saved;
            fail(file, "pipe");
        }
        // A larger pipe lets the child run further ahead of the caller.
        ::fcntl(data[1], F_SETPIPE_SZ, static_cast<int>(kPipeSize));
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(data[0]);
            ::close(chatter[0]);
            runChild(data[1], chatter[1], work);
        }
        const int saved = errno;
        ::close(data[1]);
        ::close(chatter[1]);
        dataFd_ = data[0];
        chatterFd_ = chatter[0];
        if (pid_ < 0) {
            closeFds();
            errno = saved;
            fail(file, "fork");
        }
    }
    ~ChildProcess() {
        closeFds();
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            reap();
        }
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    int dataFd() const { return dataFd_; }
    int chatterFd() const { return chatterFd_; }

    // Waits for the child to end; returns its wait status.
    int reap() {
        int status = 0;
        while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        pid_ = -1;
        return status;
    }
    void closeFds() {
        if (dataFd_ >= 0) ::close(dataFd_);
        if (chatterFd_ >= 0) ::close(chatterFd_);
        dataFd_ = chatterFd_ = -1;
    }

  private:
    [[noreturn]] static void fail(const std::string& file, const char* what) {
        throw DatabaseError("Cannot read '" + file + "': " + what +
                            " failed: " + std::strerror(errno) + ".");
    }

    pid_t pid_ = -1;
    int dataFd_ = -1, chatterFd_ = -1;
};

// Lines the library printed, turned into warnings: identical ones counted,
// at most kMaxChatterWarnings distinct ones kept.
class ChatterLog {
  public:
    ChatterLog(const std::string& file, const ChatterFilter& filter)
        : file_(file), filter_(filter) {}

    void add(const char* data, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) {
            if (data[i] == '\n' || partial_.size() >= kMaxChatterLine) {
                line(partial_);
                partial_.clear();
                if (data[i] == '\n') continue;
            }
            partial_ += data[i];
        }
    }
    void finish() {
        if (!partial_.empty()) line(partial_);
        partial_.clear();
    }
    void emit(RecordSink& sink) const {
        for (const auto& [text, count] : warnings_)
            sink.warning(count > 1 ? text + " (" + std::to_string(count) + " times)" : text);
        if (dropped_ > 0)
            sink.warning(file_ + ": " + std::to_string(dropped_) + " more messages of the reader");
    }

  private:
    void line(std::string_view l) {
        while (!l.empty() && (l.back() == '\r' || l.back() == ' ')) l.remove_suffix(1);
        if (l.empty()) return;
        std::string text = filter_ ? filter_(l) : file_ + ": " + std::string(l);
        if (text.empty()) return;
        for (auto& w : warnings_)
            if (w.first == text) {
                ++w.second;
                return;
            }
        if (warnings_.size() >= kMaxChatterWarnings) {
            ++dropped_;
            return;
        }
        warnings_.emplace_back(std::move(text), 1);
    }

    const std::string& file_;
    const ChatterFilter& filter_;
    std::string partial_;
    std::vector<std::pair<std::string, std::size_t>> warnings_;
    std::size_t dropped_ = 0;
};

// Decodes the frames of the data pipe and replays them on the sink.
class FrameReplay {
  public:
    explicit FrameReplay(RecordSink& sink) : sink_(sink) {}

    // Appends what was read and replays every complete frame. False when a
    // frame is malformed.
    bool feed(int fd, bool& eof) {
        const std::size_t old = buf_.size();
        buf_.resize(old + kBlock);
        ssize_t n;
        do {
            n = ::read(fd, buf_.data() + old, kBlock);
        } while (n < 0 && errno == EINTR);
        buf_.resize(old + static_cast<std::size_t>(n > 0 ? n : 0));
        eof = n <= 0;
        std::size_t pos = 0;
        while (buf_.size() - pos >= 5) {
            const std::uint32_t len = getU32(buf_.data() + pos + 1);
            if (buf_.size() - pos - 5 < len) break;
            if (!replay(buf_[pos], std::string_view(buf_.data() + pos + 5, len))) return false;
            pos += 5 + static_cast<std::size_t>(len);
        }
        buf_.erase(0, pos);
        return true;
    }
    bool sawEnd = false, sawDone = false, sawError = false;
    int errorCode = kErrGeneric;
    std::string errorText;

  private:
    bool replay(char tag, std::string_view p) {
        switch (tag) {
            case kBegin:
                return replayBegin(p);
            case kRow:
                return replayRow(p);
            case kEnd:
                sawEnd = true;
                return true;
            case kWarning:
                sink_.warning(std::string(p));
                return true;
            case kError:
                if (p.size() < 4) return false;
                sawError = true;
                errorCode = static_cast<int>(getU32(p.data()));
                errorText = std::string(p.substr(4));
                return true;
            case kDone:
                sawDone = true;
                return true;
            default:
                return false;
        }
    }
    // Reads a length-prefixed text at pos.
    static bool text(std::string_view p, std::size_t& pos, std::string_view& out) {
        if (p.size() - pos < 4) return false;
        const std::uint32_t len = getU32(p.data() + pos);
        pos += 4;
        if (p.size() - pos < len) return false;
        out = p.substr(pos, len);
        pos += len;
        return true;
    }
    bool replayBegin(std::string_view p) {
        if (p.size() < 4) return false;
        const std::uint32_t count = getU32(p.data());
        std::size_t pos = 4;
        std::vector<Field> fields;
        for (std::uint32_t i = 0; i < count; ++i) {
            if (p.size() - pos < 4) return false;
            const int type = static_cast<int>(getU32(p.data() + pos));
            pos += 4;
            std::string_view name;
            if (!text(p, pos, name)) return false;
            fields.push_back({std::string(name), type});
        }
        sink_.begin(fields);
        return true;
    }
    bool replayRow(std::string_view p) {
        if (p.size() < 4) return false;
        const std::uint32_t count = getU32(p.data());
        std::size_t pos = 4;
        if (count > p.size() / 4) return false;
        cells_.resize(count);
        for (std::uint32_t i = 0; i < count; ++i)
            if (!text(p, pos, cells_[i])) return false;
        sink_.row(cells_.data(), cells_.size());
        return true;
    }

    RecordSink& sink_;
    std::string buf_;
    std::vector<std::string_view> cells_;
};

std::string stopReason(int status, const FrameReplay& replay) {
    if (WIFSIGNALED(status)) {
        const int sig = WTERMSIG(status);
        const char* abbrev = ::sigabbrev_np(sig);
        return abbrev ? std::string("SIG") + abbrev : "signal " + std::to_string(sig);
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        return "exit status " + std::to_string(WEXITSTATUS(status));
    if (!replay.sawDone && !replay.sawError) return "it did not finish";
    return {};
}

}  // namespace

bool isolatedReads() {
    int state = isolationState.load();
    if (state < 0) {
        const char* env = std::getenv("ROWQUILL_READ_IN_PROCESS");
        state = env && std::strcmp(env, "1") == 0 ? 0 : 1;
        isolationState.store(state);
    }
    return state == 1;
}

void setIsolatedReads(bool on) {
    isolationState.store(on ? 1 : 0);
}

void readIsolated(const std::string& file, const std::function<void(RecordSink&)>& work,
                  RecordSink& sink, const ChatterFilter& filter) {
    if (!isolatedReads()) {
        work(sink);
        return;
    }
    ChildProcess child(file, work);
    FrameReplay replay(sink);
    ChatterLog chatter(file, filter);
    bool malformed = false;
    bool dataOpen = true, chatterOpen = true;
    while (dataOpen || chatterOpen) {
        pollfd fds[2] = {{dataOpen ? child.dataFd() : -1, POLLIN, 0},
                         {chatterOpen ? child.chatterFd() : -1, POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (dataOpen && fds[0].revents != 0) {
            bool eof = false;
            if (!replay.feed(child.dataFd(), eof)) {
                malformed = true;
                break;
            }
            dataOpen = !eof;
        }
        if (chatterOpen && fds[1].revents != 0) {
            char buf[4096];
            const ssize_t n = ::read(child.chatterFd(), buf, sizeof buf);
            if (n > 0)
                chatter.add(buf, static_cast<std::size_t>(n));
            else if (n == 0 || errno != EINTR)
                chatterOpen = false;
        }
    }
    chatter.finish();
    child.closeFds();
    if (malformed)
        throw DatabaseError(
            file + " is damaged and cannot be read (the reader stopped: its reply was garbled)");
    const int status = child.reap();
    chatter.emit(sink);
    const std::string reason = stopReason(status, replay);
    if (!reason.empty())
        throw DatabaseError(file + " is damaged and cannot be read (the reader stopped: " + reason +
                            ")");
    if (replay.sawError) throw DatabaseError(replay.errorText, replay.errorCode);
    if (replay.sawEnd) sink.end();
}

}  // namespace rq
