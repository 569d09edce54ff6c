#include "app/textexport.h"

#include <QFileInfo>
#include <QLabel>
#include <QProgressBar>
#include <QProgressDialog>
#include <QThread>

#include "app/dialogs.h"
#include "base/io/atomicfile.h"
#include "sheet/csvexport.h"

namespace rq::ui {

namespace {

struct ExportCancelled {};

}  // namespace

TextExport::TextExport(const DataSheet& sheet, StatusTargets status, QWidget* window)
    : QObject(window), sheet_(sheet), status_(status), window_(window) {
    setObjectName(QStringLiteral("textExport"));
}

TextExport::~TextExport() {
    if (thread_) {
        cancelled_ = true;
        thread_->wait();
    }
}

void TextExport::chooseFile() {
    for (;;) {
        const QString path = Dialogs::saveFileName(window_, QStringLiteral("Save as"),
                                                   QStringLiteral("Text File (*.txt)|*.txt"));
        if (path.isEmpty()) return;
        if (outputCheck_ && outputCheck_(path)) continue;
        if (!QFileInfo::exists(path) ||
            Dialogs::askYesNo(window_, path + QStringLiteral(" already exits, would you like to "
                                                             "overwrite it?"))) {
            exportTo(path);
            return;
        }
    }
}

void TextExport::exportTo(const QString& path) {
    if (thread_) return;
    cancelled_ = false;
    shownPercent_ = -1;
    frame_ = new QProgressDialog(QStringLiteral("Exporting..."), QStringLiteral("Cancel"), 0, 100,
                                 window_);
    frame_->setObjectName(QStringLiteral("fraexport"));
    frame_->setWindowTitle(appTitle());
    frame_->setAccessibleName(QStringLiteral("Exporting..."));
    frame_->setWindowModality(Qt::WindowModal);
    frame_->setAutoClose(false);
    frame_->setAutoReset(false);
    frame_->setMinimumDuration(0);
    frame_->setValue(0);
    connect(frame_, &QProgressDialog::canceled, this, &TextExport::cancel);
    frame_->show();

    const std::string file = path.toStdString();
    thread_ = QThread::create([this, file] {
        AtomicFile out;
        std::string error;
        bool ok = out.open(file);
        try {
            csvExportChunks(
                sheet_,
                [&](std::string& chunk) {
                    if (ok) ok = out.write(chunk);
                    chunk.clear();
                },
                [&](double percent, const std::string&) {
                    if (cancelled_) throw ExportCancelled{};
                    const int whole = static_cast<int>(percent);
                    if (whole == shownPercent_.exchange(whole)) return;
                    QMetaObject::invokeMethod(
                        this, [this, whole] { showProgress(whole); }, Qt::QueuedConnection);
                });
            ok = ok && out.write("\r\n") && out.commit();
            if (!ok) error = out.error();
        } catch (const ExportCancelled&) {
            out.abort();
            ok = false;
        }
        QMetaObject::invokeMethod(
            this, [this, ok, error] { done(ok, QString::fromStdString(error)); },
            Qt::QueuedConnection);
    });
    thread_->setObjectName(QStringLiteral("textExportThread"));
    thread_->start();
}

void TextExport::showProgress(int percent) {
    if (frame_) frame_->setValue(percent);
    if (status_.bar) status_.bar->setValue(percent);
    if (status_.text) status_.text->setText(QString::fromStdString(exportingText(percent)));
}

void TextExport::done(bool ok, const QString& error) {
    thread_->wait();
    delete thread_;
    thread_ = nullptr;
    if (frame_) frame_->deleteLater();
    if (!ok && !error.isEmpty() && status_.text) status_.text->setText(error);
    emit finished(ok, error);
}

}  // namespace rq::ui
