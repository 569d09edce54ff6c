// Small icons drawn at run time: one per layout node kind, and plain glyph
// icons for toolbar buttons that have no standard icon.
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace rq::ui {

// The icon of a layout node kind (1 document/root, 2 element, 3 data element,
// 4 attribute, 5 data attribute).
QIcon kindIcon(int kind);

// A rounded square with a short text on it.
QIcon glyphIcon(const QString& glyph, const QColor& color);

}  // namespace rq::ui
