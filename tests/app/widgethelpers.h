// Small helpers the window tests share: reading a list or a sheet row as
// text, and double-clicking a list row as a user would.
#pragma once

#include <QListWidget>
#include <QStringList>
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

// Captions split at '|', for comparing long lists of menu texts.
inline QStringList split(const char* captions) {
    return QString(captions).split('|');
}

inline void doubleClickRow(QListWidget* list, int row) {
    QCoreApplication::processEvents();  // lets the freshly shown list lay itself out
    const QRect rect = list->visualItemRect(list->item(row));
    // A double click as the platform delivers it: press, release, double click.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, rect.center());
}

}  // namespace rq::testing
