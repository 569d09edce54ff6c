#include "app/backgroundrun.h"

#include <QCoreApplication>
#include <QDialog>
#include <QEventLoop>
#include <QLabel>
#include <QPushButton>
#include <QThread>
#include <QVBoxLayout>
#include <memory>

namespace rq::ui {

namespace {

QDialog* makeProgressWindow(QWidget* parent, const QString& title, RunControl& control) {
    auto* dialog = new QDialog(parent);
    dialog->setObjectName(QStringLiteral("runProgress"));
    dialog->setWindowTitle(title);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setAccessibleName(title);
    auto* label = new QLabel(title, dialog);
    label->setObjectName(QStringLiteral("runText"));
    auto* cancel = new QPushButton(QObject::tr("Cancel"), dialog);
    cancel->setObjectName(QStringLiteral("cmdcancel"));
    cancel->setAccessibleName(QObject::tr("Cancel"));
    auto* layout = new QVBoxLayout(dialog);
    layout->addWidget(label);
    layout->addWidget(cancel, 0, Qt::AlignRight);
    // Escape and the window's close button cancel as well.
    QObject::connect(cancel, &QPushButton::clicked, dialog, &QDialog::reject);
    QObject::connect(dialog, &QDialog::rejected, dialog, [&control, cancel] {
        control.requestCancel();
        cancel->setEnabled(false);
    });
    return dialog;
}

}  // namespace

void RunControl::post(std::function<void()> f) const {
    QMetaObject::invokeMethod(ui_, std::move(f), Qt::QueuedConnection);
}

RunResult runInBackground(QWidget* parent, const QString& title,
                          const std::function<void(RunControl&)>& work) {
    QObject context;
    RunControl control(&context);
    RunResult result;
    std::unique_ptr<QThread> thread(QThread::create([&] {
        try {
            work(control);
        } catch (const RunCancelled&) {
            result.outcome = RunOutcome::Cancelled;
        } catch (const std::exception& e) {
            result.outcome = RunOutcome::Failed;
            result.error = QString::fromUtf8(e.what());
        }
    }));
    std::unique_ptr<QDialog> dialog(makeProgressWindow(parent, title, control));
    QEventLoop loop;
    QObject::connect(thread.get(), &QThread::finished, &loop, &QEventLoop::quit);
    dialog->show();
    thread->start();
    if (!thread->isFinished()) loop.exec();
    thread->wait();
    // What the work posted last is shown before the run's end is.
    QCoreApplication::sendPostedEvents(&context, QEvent::MetaCall);
    dialog->hide();
    return result;
}

}  // namespace rq::ui
