#include "app/statementrun.h"

#include <QEventLoop>
#include <QProgressDialog>
#include <QThread>
#include <QWidget>
#include <atomic>
#include <exception>

#include "datasource/odbc/odbcsource.h"
#include "datasource/sheetloader.h"
#include "datasource/sqlengine.h"

namespace rq::ui {

namespace {

constexpr const char* kCancelledText = "The statement was cancelled.";

// Stops a running statement between records once Cancel was pressed: the
// ODBC driver has no way to be interrupted from another thread.
class CancellableSink : public SheetSink {
  public:
    CancellableSink(DataSheet& sheet, const std::atomic<bool>& cancel)
        : SheetSink(sheet), cancel_(cancel) {}
    void row(const std::string_view* cells, std::size_t count) override {
        if (cancel_.load(std::memory_order_relaxed)) throw DatabaseError(kCancelledText);
        SheetSink::row(cells, count);
    }

  private:
    const std::atomic<bool>& cancel_;
};

void runOnSource(const StatementTarget& target, const std::string& statement,
                 const std::atomic<bool>& cancel, StatementResult& result) {
    try {
        CancellableSink sink(result.sheet, cancel);
        if (target.fileDatabase) {
            SqlOptions options;
            options.cancel = &cancel;
            runSqlOverDatabase(*target.fileDatabase, statement, sink, options);
        } else {
            std::unique_ptr<OdbcSource> source = openOdbcSource(target.odbcConnection);
            source->query(statement, sink);
        }
        result.ok = true;
    } catch (const std::exception& e) {
        result.error = QString::fromUtf8(e.what());
        result.sheet = DataSheet();  // a partial result is never handed back
    }
}

}  // namespace

StatementResult runStatement(QWidget* parent, const StatementTarget& target,
                             const std::string& statement) {
    StatementResult result;
    if (!target.fileDatabase && target.odbcConnection.empty()) {
        result.error = QObject::tr("No data source is open.");
        return result;
    }
    std::atomic<bool> cancel{false};
    QThread* worker = QThread::create([&target, &statement, &cancel, &result] {
        runOnSource(target, statement, cancel, result);
    });

    // The caller's window takes no input while the statement runs; the
    // progress box stands on its own so that its Cancel stays usable.
    QWidget* window = parent ? parent->window() : nullptr;
    if (window) window->setEnabled(false);
    QProgressDialog progress(QObject::tr("Running the statement..."), QObject::tr("Cancel"), 0, 0);
    progress.setObjectName(QStringLiteral("statementProgress"));
    progress.setAccessibleName(QObject::tr("Running the statement"));
    progress.setWindowTitle(QStringLiteral("Nubro Rowquill"));
    progress.setWindowModality(Qt::ApplicationModal);
    progress.setMinimumDuration(700);
    QObject::connect(&progress, &QProgressDialog::canceled,
                     [&cancel] { cancel.store(true, std::memory_order_relaxed); });

    QEventLoop loop;
    QObject::connect(worker, &QThread::finished, &loop, &QEventLoop::quit);
    worker->start();
    if (!worker->isFinished()) loop.exec();
    worker->wait();
    delete worker;
    progress.reset();
    if (window) window->setEnabled(true);
    if (!result.ok && cancel.load()) result.error = QObject::tr(kCancelledText);
    return result;
}

}  // namespace rq::ui
