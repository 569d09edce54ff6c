// A document or export is never written over a file the open database reads.
#pragma once

#include <QString>
#include <QWidget>

#include "app/appstate.h"
#include "app/dialogs.h"
#include "datasource/kinds.h"

namespace rq::ui {

// True (after saying so) when path names a file the open file database reads.
inline bool refuseOutputOverSource(QWidget* parent, const AppState& state, const QString& path) {
    if (state.sourceConnect.empty() ||
        !outputIsSourceFile(state.sourceConnect, state.sourceFile, path.toStdString()))
        return false;
    Dialogs::exclamation(parent,
                         path + QStringLiteral(" is a file the open database reads. "
                                               "Nothing was written; choose another name."));
    return true;
}

}  // namespace rq::ui
