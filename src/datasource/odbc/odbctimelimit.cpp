#include "datasource/odbc/odbctimelimit.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "datasource/database.h"

namespace rq::odbc {

namespace {

using Clock = std::chrono::steady_clock;

// Time the driver gets to honour its own timeout before the watchdog cancels.
constexpr auto kWatchdogGrace = std::chrono::milliseconds(1500);

// Cancels the statement when the time is up and the call is still running.
class Watchdog {
  public:
    Watchdog(SQLHSTMT statement, Clock::duration limit)
        : statement_(statement), thread_([this, limit] { watch(limit); }) {}
    ~Watchdog() { finish(); }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    // Called as soon as the call returns: no cancel may reach a finished call,
    // which the driver manager would take as closing the cursor.
    void finish() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            done_ = true;
        }
        wake_.notify_all();
        if (thread_.joinable()) thread_.join();
    }
    bool fired() const { return fired_; }

  private:
    void watch(Clock::duration limit) {
        std::unique_lock<std::mutex> lock(mutex_);
        if (wake_.wait_for(lock, limit, [this] { return done_; })) return;
        fired_ = true;
        SQLCancel(statement_);
    }

    SQLHSTMT statement_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool done_ = false;
    bool fired_ = false;  // written by the watchdog before finish() joins it
    std::thread thread_;
};

bool isTimeoutState(const std::string& state) {
    // Timeout expired, operation cancelled, and the server's own cancel (PostgreSQL).
    return state == "HYT00" || state == "HYT01" || state == "HY008" || state == "57014";
}

}  // namespace

std::string timeLimitMessage(int seconds) {
    return "The statement did not finish within its time limit of " + std::to_string(seconds) +
           (seconds == 1 ? " second" : " seconds") + " and was stopped.";
}

SQLRETURN executeWithTimeLimit(const Statement& statement, const std::string& text, int seconds) {
    SQLHSTMT h = statement.get();
    auto run = [&] {
        if (text.empty()) return SQLExecute(h);
        std::string sql = text;
        return SQLExecDirect(h, reinterpret_cast<SQLCHAR*>(sql.data()),
                             static_cast<SQLINTEGER>(sql.size()));
    };
    if (seconds <= 0) return run();
    SQLSetStmtAttr(h, SQL_ATTR_QUERY_TIMEOUT,
                   reinterpret_cast<SQLPOINTER>(static_cast<std::intptr_t>(seconds)), 0);
    const auto limit = std::chrono::seconds(seconds);
    const auto started = Clock::now();
    Watchdog watchdog(h, limit + kWatchdogGrace);
    SQLRETURN rc = run();
    watchdog.finish();
    const bool failed = !SQL_SUCCEEDED(rc) && rc != SQL_NO_DATA;
    if (watchdog.fired() ||
        (failed && (isTimeoutState(statement.state()) || Clock::now() - started >= limit)))
        throw DatabaseError(timeLimitMessage(seconds));
    return rc;
}

}  // namespace rq::odbc
