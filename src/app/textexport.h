// File → Export → Text Files...: asks for the file (asking again while an
// existing file is not to be overwritten), then writes the sheet as
// comma-separated text on a worker thread with a progress frame that can
// cancel it. The file appears whole under its name or not at all.
#pragma once

#include <functional>

#include <QObject>
#include <QPointer>
#include <atomic>

#include "app/appstate.h"

#include <QProgressDialog>
class QThread;

namespace rq::ui {

class TextExport : public QObject {
    Q_OBJECT
  public:
    TextExport(const DataSheet& sheet, StatusTargets status, QWidget* window);
    ~TextExport() override;

    void chooseFile();                   // mnuexporttxt
    void exportTo(const QString& path);  // expttxt
    bool running() const { return thread_ != nullptr; }
    // Asked for each chosen path; true refuses it (the dialog opens again).
    void setOutputCheck(std::function<bool(const QString&)> check) {
        outputCheck_ = std::move(check);
    }
    void cancel() { cancelled_ = true; }
    QProgressDialog* progressFrame() const { return frame_.data(); }

  signals:
    // ok false with an empty error: cancelled.
    void finished(bool ok, const QString& error);

  private:
    void showProgress(int percent);
    void done(bool ok, const QString& error);

    const DataSheet& sheet_;
    std::function<bool(const QString&)> outputCheck_;
    StatusTargets status_;
    QWidget* window_;
    QPointer<QProgressDialog> frame_;
    QThread* thread_ = nullptr;
    std::atomic<bool> cancelled_{false};
    std::atomic<int> shownPercent_{-1};
};

}  // namespace rq::ui
