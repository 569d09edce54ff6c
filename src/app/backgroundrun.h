// Long work off the UI thread: the work runs in a thread of its own while a
// small window-modal progress window with a Cancel button keeps the rest of the
// window from being edited underneath it. The UI thread keeps handling events
// (painting, the Cancel button) and shows the progress the work posts.
#pragma once

#include <QString>
#include <atomic>
#include <functional>
#include <stdexcept>

class QObject;
class QWidget;

namespace rq::ui {

// Thrown by the work (from its progress callbacks) when Cancel was pressed.
class RunCancelled : public std::exception {
  public:
    const char* what() const noexcept override { return "cancelled"; }
};

// Shared between the work and the UI thread.
class RunControl {
  public:
    explicit RunControl(QObject* uiContext) : ui_(uiContext) {}
    bool cancelRequested() const { return cancel_.load(std::memory_order_relaxed); }
    void requestCancel() { cancel_.store(true, std::memory_order_relaxed); }
    // Throws RunCancelled once Cancel was pressed.
    void checkpoint() const {
        if (cancelRequested()) throw RunCancelled();
    }
    // Runs f on the UI thread, in order; everything posted has run when
    // runInBackground returns. Callers post only when what is shown changes.
    void post(std::function<void()> f) const;

  private:
    QObject* ui_;
    std::atomic<bool> cancel_{false};
};

enum class RunOutcome { Finished, Cancelled, Failed };

struct RunResult {
    RunOutcome outcome = RunOutcome::Finished;
    QString error;  // the exception's text when Failed
};

// Runs work in a thread and returns when it has ended; meanwhile events are
// handled. The progress window is named "runProgress" with the button
// "cmdcancel".
RunResult runInBackground(QWidget* parent, const QString& title,
                          const std::function<void(RunControl&)>& work);

}  // namespace rq::ui
