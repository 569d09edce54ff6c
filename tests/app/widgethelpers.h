// Small helpers the window tests share: reading a list or a sheet row as
// text, and clicking tabs, tool buttons and list rows as a user would.
#pragma once

#include <QApplication>
#include <QListWidget>
#include <QStringList>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>
#include <QtTest>

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

inline void clickRow(QListWidget* list, int row) {
    QCoreApplication::processEvents();
    const QRect rect = list->visualItemRect(list->item(row));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
}

inline void doubleClickRow(QListWidget* list, int row) {
    QCoreApplication::processEvents();  // lets the freshly shown list lay itself out
    const QRect rect = list->visualItemRect(list->item(row));
    // A double click as the platform delivers it: press, release, double click.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, rect.center());
}

}  // namespace rq::testing
