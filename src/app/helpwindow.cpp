#include "app/helpwindow.h"

#include <QAction>
#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>
#include <QTextBrowser>
#include <QToolBar>

#include "app/dialogs.h"

namespace rq::ui {

namespace {

std::optional<bool>& testAnswer() {
    static std::optional<bool> answer;
    return answer;
}

}  // namespace

HelpWindow::HelpWindow(QWidget* parent) : QMainWindow(parent, Qt::Window) {
    setObjectName(QStringLiteral("helpWindow"));
    setWindowTitle(tr("Nubro Rowquill Help"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    browser_ = new QTextBrowser(this);
    browser_->setObjectName(QStringLiteral("helpBrowser"));
    browser_->setAccessibleName(tr("Help page"));
    browser_->setOpenExternalLinks(false);
    browser_->setOpenLinks(true);
    setCentralWidget(browser_);
    auto* bar = addToolBar(tr("Navigation"));
    bar->setObjectName(QStringLiteral("helpToolbar"));
    QAction* back = bar->addAction(QIcon::fromTheme(QStringLiteral("go-previous")), tr("Back"));
    back->setShortcut(QKeySequence::Back);
    QAction* forward = bar->addAction(QIcon::fromTheme(QStringLiteral("go-next")), tr("Forward"));
    forward->setShortcut(QKeySequence::Forward);
    connect(back, &QAction::triggered, browser_, &QTextBrowser::backward);
    connect(forward, &QAction::triggered, browser_, &QTextBrowser::forward);
    connect(browser_, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(browser_, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
    back->setEnabled(false);
    forward->setEnabled(false);
    resize(720, 560);
}

void HelpWindow::showPage(const QUrl& page) {
    browser_->setSource(page);
    show();
    raise();
    activateWindow();
}

void setDesktopBrowserForTests(std::optional<bool> answer) {
    testAnswer() = answer;
}

bool desktopHasBrowser() {
    if (testAnswer()) return *testAnswer();
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return false;
    if (!qEnvironmentVariableIsEmpty("BROWSER")) return true;
    if (QStandardPaths::findExecutable(QStringLiteral("xdg-open")).isEmpty()) return false;
    // xdg-open starts even when nothing is registered for web pages, and then
    // shows nothing: ask for the registered program first.
    QProcess query;
    query.start(QStringLiteral("xdg-mime"),
                {QStringLiteral("query"), QStringLiteral("default"), QStringLiteral("text/html")});
    if (!query.waitForFinished(3000)) {
        query.kill();
        query.waitForFinished(1000);
        return false;
    }
    return !query.readAllStandardOutput().trimmed().isEmpty();
}

void openHelpPage(QWidget* parent, const QUrl& page) {
    if (desktopHasBrowser()) {
        Dialogs::openUrl(page);
        return;
    }
    auto* window = parent ? parent->findChild<HelpWindow*>(QStringLiteral("helpWindow")) : nullptr;
    if (!window) window = new HelpWindow(parent);
    window->showPage(page);
}

}  // namespace rq::ui
