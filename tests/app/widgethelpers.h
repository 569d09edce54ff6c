// Small helpers the window tests share: reading a list, a sheet row or a file
// as text, finding a dialog's controls and what the Dialogs façade showed, and
// clicking tabs, tool buttons, buttons and list rows as a user would.
#pragma once

#include <QtTest>
#include <QtWidgets>

#include "app/dialogs.h"
#include "sheet/datasheet.h"

namespace rq::testing {

inline QStringList items(const QListWidget* list) {
    QStringList out;
    for (int i = 0; i < list->count(); ++i) out << list->item(i)->text();
    return out;
}

inline QStringList sheetRow(const DataSheet& sheet, int row) {
    QStringList out;
    for (int c = 0; c < sheet.cols(); ++c) out << QString::fromStdString(sheet.cellText(row, c));
    return out;
}

// "a|b|c" as the list of its parts.
inline QStringList split(const char* parts) {
    return QString::fromUtf8(parts).split(QLatin1Char('|'));
}

inline QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll()
                                       : QByteArray("<missing " + path.toUtf8() + ">");
}

inline bool writeFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

#ifdef ROWQUILL_CLI
// Runs the batch converter; false, with its error output, when it fails.
inline bool runCli(const QStringList& args) {
    QProcess cli;
    cli.start(QStringLiteral(ROWQUILL_CLI), args);
    if (cli.waitForFinished(120000) && cli.exitStatus() == QProcess::NormalExit &&
        cli.exitCode() == 0)
        return true;
    qWarning("rowquill-cli %s failed: %s", qPrintable(args.join(' ')),
             cli.readAllStandardError().constData());
    return false;
}
#endif

// The last dialog of a kind the window showed through the Dialogs façade.
inline const ui::ShownDialog* lastShown(const char* kind = "message") {
    const auto& shown = ui::Dialogs::shown();
    for (auto it = shown.rbegin(); it != shown.rend(); ++it)
        if (it->kind == QLatin1String(kind)) return &*it;
    return nullptr;
}

inline int countShown(const char* kind) {
    int n = 0;
    for (const ui::ShownDialog& d : ui::Dialogs::shown()) n += d.kind == QLatin1String(kind);
    return n;
}

inline QString lastMessageText() {
    const ui::ShownDialog* m = lastShown();
    return m ? m->text : QString();
}

template <typename T>
T* child(QWidget& parent, const char* name) {
    T* w = parent.findChild<T*>(QString::fromUtf8(name));
    if (!w) qWarning("no child %s", name);
    return w;
}

// Answers the next ODBC data-source dialog by writing the connection string
// and pressing OK.
inline void answerSource(const QString& connection) {
    ui::Dialogs::setNextDialogAction([connection](QDialog& d) {
        child<QLineEdit>(d, "txtConnect")->setText(connection);
        child<QPushButton>(d, "cmdOK")->click();
    });
}

// Dialogs answered in tests are not run; shown, they lay out their controls
// and take clicks as on the screen.
inline void showDialog(QDialog& d) {
    d.show();
    if (!QTest::qWaitForWindowExposed(&d)) qWarning("dialog not exposed");
}

// Clicks a dialog's button by name; it must be there and enabled.
inline void click(QWidget& d, const char* name) {
    auto* b = d.findChild<QWidget*>(QString::fromUtf8(name));
    QVERIFY2(b && b->isEnabled(), name);
    QTest::mouseClick(b, Qt::LeftButton);
}

// Clicks the tab of a shown tab widget.
inline void clickTab(QTabWidget* tabs, int index) {
    QCoreApplication::processEvents();
    QTabBar* bar = tabs->tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(index).center());
}

// Clicks the button a toolbar shows for an action.
inline void clickTool(QToolBar* bar, QAction* action) {
    QCoreApplication::processEvents();
    QTest::mouseClick(bar->widgetForAction(action), Qt::LeftButton);
}

// Chooses a command through the menus by keyboard, as a user would: Alt and
// the menu's mnemonic, then the mnemonic of each item down the submenus.
inline void chooseByKeys(QWidget* window, Qt::Key menu, std::initializer_list<Qt::Key> items) {
    QApplication::setActiveWindow(window);
    QVERIFY(QTest::qWaitForWindowActive(window));
    QTest::keyClick(window, menu, Qt::AltModifier);
    for (Qt::Key key : items) {
        QWidget* popup = QApplication::activePopupWidget();
        QVERIFY(popup);
        QTest::keyClick(popup, key);
    }
}

// Replaces a line edit's text by typing, as a user selecting all and typing.
inline void typeInto(QLineEdit* box, const QString& text) {
    box->setFocus();
    QTest::keyClick(box, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(box, text);
}

inline void clickRow(QListWidget* list, int row) {
    QCoreApplication::processEvents();
    list->scrollToItem(list->item(row));
    const QRect rect = list->visualItemRect(list->item(row));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
}

inline void clickItem(QListWidget* list, const QString& text) {
    const auto found = list->findItems(text, Qt::MatchExactly);
    QVERIFY2(!found.isEmpty(), qPrintable(text));
    clickRow(list, list->row(found.first()));
}

inline void doubleClickRow(QListWidget* list, int row) {
    QCoreApplication::processEvents();  // lets the freshly shown list lay itself out
    const QRect rect = list->visualItemRect(list->item(row));
    // A double click as the platform delivers it: press, release, double click.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, rect.center());
}

}  // namespace rq::testing
