#include "base/io/interruptcleanup.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <mutex>

namespace rq {

namespace {

constexpr int kSlots = 64;

// Slots are written under a mutex by ordinary code and read by the signal
// handler, which only looks at slots whose state is kReady.
enum SlotState : int { kFree = 0, kFilling = 1, kReady = 2 };
struct Slot {
    std::atomic<int> state{kFree};
    bool folder = false;
    char path[PATH_MAX];
};
Slot g_slots[kSlots];
std::mutex g_mutex;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
struct sigaction g_previous[3];
std::atomic<bool> g_installed{false};

// Depth-first removal with fixed buffers: no allocation, bounded depth.
void removeTree(char* path, std::size_t len, int depth) {
    struct stat st;
    if (::lstat(path, &st) != 0) return;
    if (!S_ISDIR(st.st_mode)) {
        ::unlink(path);
        return;
    }
    if (depth < 16) {
        if (DIR* d = ::opendir(path)) {
            while (dirent* e = ::readdir(d)) {
                const char* n = e->d_name;
                if (std::strcmp(n, ".") == 0 || std::strcmp(n, "..") == 0) continue;
                std::size_t nl = std::strlen(n);
                if (len + 1 + nl >= PATH_MAX) continue;
                path[len] = '/';
                std::memcpy(path + len + 1, n, nl + 1);
                removeTree(path, len + 1 + nl, depth + 1);
                path[len] = '\0';
            }
            ::closedir(d);
        }
    }
    ::rmdir(path);
}

void removeSlots() {
    char buffer[PATH_MAX];
    for (Slot& s : g_slots) {
        if (s.state.load() != kReady) continue;
        std::size_t len = ::strnlen(s.path, PATH_MAX - 1);
        std::memcpy(buffer, s.path, len);
        buffer[len] = '\0';
        if (s.folder)
            removeTree(buffer, len, 0);
        else
            ::unlink(buffer);
    }
}

void onSignal(int sig) {
    removeSlots();
    for (int i = 0; i < 3; ++i) {
        if (kSignals[i] != sig) continue;
        ::sigaction(sig, &g_previous[i], nullptr);
    }
    ::raise(sig);
}

void install() {
    bool expected = false;
    if (!g_installed.compare_exchange_strong(expected, true)) return;
    for (int i = 0; i < 3; ++i) {
        struct sigaction sa {};
        sa.sa_handler = onSignal;
        sigemptyset(&sa.sa_mask);
        sa.sa_flags = SA_RESETHAND;
        ::sigaction(kSignals[i], nullptr, &g_previous[i]);
        // A signal the process ignores stays ignored.
        if (g_previous[i].sa_handler == SIG_IGN) continue;
        ::sigaction(kSignals[i], &sa, nullptr);
    }
}

}  // namespace

int registerForCleanup(const std::string& path, bool isFolder) {
    if (path.empty() || path.size() >= PATH_MAX) return -1;
    install();
    std::lock_guard<std::mutex> lock(g_mutex);
    for (int i = 0; i < kSlots; ++i) {
        Slot& s = g_slots[i];
        if (s.state.load() != kFree) continue;
        s.state.store(kFilling);
        s.folder = isFolder;
        std::memcpy(s.path, path.c_str(), path.size() + 1);
        s.state.store(kReady);
        return i;
    }
    return -1;
}

void unregisterCleanup(int slot) {
    if (slot < 0 || slot >= kSlots) return;
    std::lock_guard<std::mutex> lock(g_mutex);
    g_slots[slot].state.store(kFree);
}

void cleanUpRegisteredPaths() {
    std::lock_guard<std::mutex> lock(g_mutex);
    removeSlots();
    for (Slot& s : g_slots) s.state.store(kFree);
}

}  // namespace rq
