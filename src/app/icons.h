// Icons: those of commands come from the desktop's icon theme, with drawings
// of our own where the theme has none; the layout node kinds have small
// glyphs drawn at run time.
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace rq::ui {

// The icon of a layout node kind (1 document/root, 2 element, 3 data element,
// 4 attribute, 5 data attribute).
QIcon kindIcon(int kind);

// The theme's icon of the given freedesktop name, or our own drawing of it.
QIcon themeIcon(const char* name);

// The program's icon.
QIcon appIcon();

// A rounded square with a short text on it.
QIcon glyphIcon(const QString& glyph, const QColor& color);

}  // namespace rq::ui
