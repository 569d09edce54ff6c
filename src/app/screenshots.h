// Pictures of the window for the documentation: the window opens a database
// file, shows each view in turn and saves a PNG of it.
#pragma once

#include <QString>

namespace rq::ui {

// Opens `file` in a new window of about 1100 x 700 pixels and saves
// sheet.png, layout.png, generate.png (a generated document in the code pane)
// and preview.png (the same document in the browser pane) into `folder`.
// Needs a real display (the browser pane is drawn by the window system, not by
// the widgets). Returns 0 when all four were saved; otherwise writes what went
// wrong to standard error and returns 1.
int takeScreenshots(const QString& folder, const QString& file);

}  // namespace rq::ui
