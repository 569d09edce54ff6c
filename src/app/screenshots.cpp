#include "app/screenshots.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPixmap>
#include <QScreen>
#include <QTabWidget>
#include <QTimer>
#include <QTreeView>
#include <QWebEngineView>
#include <cstdio>

#include "app/browserpane.h"
#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/generateview.h"
#include "app/layoutview.h"

namespace rq::ui {

namespace {

// Lets the window paint for `ms` milliseconds.
void settle(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

bool save(const Frmdata& window, const QString& path) {
    QScreen* screen = window.screen();
    if (!screen) return false;
    // The whole frame as the display shows it, browser content included.
    const QPixmap shot = screen->grabWindow(window.winId());
    if (shot.isNull() || !shot.save(path, "PNG")) {
        std::fprintf(stderr, "could not save %s\n", qPrintable(path));
        return false;
    }
    return true;
}

void reportDialogs() {
    for (const ShownDialog& d : Dialogs::shown())
        std::fprintf(stderr, "%s: %s %s\n", qPrintable(d.kind), qPrintable(d.title),
                     qPrintable(d.text));
}

}  // namespace

int takeScreenshots(const QString& folder, const QString& file) {
    // No dialog may wait for an answer nobody gives: each is recorded instead.
    Dialogs::setTestMode(true);
    if (!QDir().mkpath(folder)) {
        std::fprintf(stderr, "cannot make the folder %s\n", qPrintable(folder));
        return 1;
    }
    const QDir out(folder);

    Frmdata window;
    window.resize(1100, 700);
    window.show();
    settle(500);
    window.openAtStart(file);
    if (window.state().sheet.rows() < 2) {
        std::fprintf(stderr, "could not load a table from %s\n", qPrintable(file));
        reportDialogs();
        return 1;
    }

    bool ok = true;
    window.action(QStringLiteral("mnusheet"))->trigger();
    settle(400);
    ok = save(window, out.filePath(QStringLiteral("sheet.png"))) && ok;

    window.action(QStringLiteral("mnulayout"))->trigger();
    QTreeView* tree = window.layoutView()->treeView();
    tree->expandAll();
    // A field element selected, so the properties panel shows something.
    QModelIndex item = tree->model()->index(0, 0);
    while (tree->model()->rowCount(item) > 0) item = tree->model()->index(0, 0, item);
    if (item.isValid()) tree->setCurrentIndex(item);
    settle(400);
    ok = save(window, out.filePath(QStringLiteral("layout.png"))) && ok;

    window.action(QStringLiteral("mnugenerate"))->trigger();
    GenerateView* generate = window.generateView();
    if (auto* combo = generate->findChild<QComboBox*>(QStringLiteral("Combo1")))
        combo->setCurrentIndex(0);
    // UTF-8 files: the preview file declares no encoding, so the browser reads
    // it as UTF-8, and the example holds accented letters.
    if (auto* convert = generate->findChild<QCheckBox*>(QStringLiteral("Check2")))
        convert->setChecked(true);
    generate->singleAction(QStringLiteral("node"))->trigger();
    settle(400);
    ok = save(window, out.filePath(QStringLiteral("generate.png"))) && ok;

    // The Preview tab writes the preview file and shows it in the browser pane.
    QWebEngineView* view = generate->singleBrowser()->webView();
    auto* tabs = generate->findChild<QTabWidget*>(QStringLiteral("SSTab2"));
    bool loaded = false;
    if (view && tabs) {
        QObject::connect(view, &QWebEngineView::loadFinished, view, [&](bool) { loaded = true; });
        tabs->setCurrentIndex(1);
        QElapsedTimer waited;
        waited.start();
        while (!loaded && waited.elapsed() < 30000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 100);
    }
    if (!loaded) {
        std::fprintf(stderr, "the browser pane did not finish loading\n");
        ok = false;
    } else {
        settle(800);
        ok = save(window, out.filePath(QStringLiteral("preview.png"))) && ok;
    }
    if (!Dialogs::shown().isEmpty()) reportDialogs();
    window.close();
    return ok ? 0 : 1;
}

}  // namespace rq::ui
