// The main window's layout commands: the Edit/Insert and Assign menus, Undo
// and Redo of layout edits, and opening and saving layout files.
#include <QAction>
#include <QFileInfo>
#include <QMenu>
#include <cerrno>
#include <cstring>

#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/generateview.h"
#include "app/layoutview.h"
#include "layout/defaultlayout.h"
#include "layout/layoutfile.h"
#include "layout/prolog.h"

namespace rq::ui {

namespace {

const QString kLayoutFilter = QStringLiteral("Layout Files (*.rqlayout)|*.rqlayout");

}  // namespace

void Frmdata::connectLayoutCommands() {
    LayoutView* v = layoutView_;
    connect(v, &LayoutView::edited, generateView_, &GenerateView::refreshQuickPreview);

    const struct {
        const char* name;
        std::function<void()> run;
    } commands[] = {
        {"mnuelent", [v] { v->newElement(); }},
        {"mnudatelem", [v] { v->newDataElement(); }},
        {"mnudelete", [v] { v->deleteTag(); }},
        {"mnumovtagup", [v] { v->moveTag(MoveDirection::Up); }},
        {"mnumovetagdown", [v] { v->moveTag(MoveDirection::Down); }},
        {"mnumovetagleft", [v] { v->moveTag(MoveDirection::Left); }},
        {"mnumovtagrght", [v] { v->moveTag(MoveDirection::Right); }},
        {"mnudefnxmlprop", [v] { v->defineXmlDocument(); }},
        {"mnudtd", [v] { v->assign(kAssignDtd); }},
        {"mnuxslt", [v] { v->assign(kAssignXslt); }},
        {"mnucss", [v] { v->assign(kAssignCss); }},
        {"mnushema", [v] { v->schemaProperties(); }},
        {"mnuopenlayout", [this] { openLayout(); }},
        {"mnusavelayout", [this] { saveLayout(); }},
    };
    for (const auto& c : commands)
        connect(action(QString::fromUtf8(c.name)), &QAction::triggered, this, c.run);

    QMenu* editw = menu(QStringLiteral("mnueditw"));
    addSeparator(editw, "mnuBarUndo");
    for (QAction* a : {v->undoAction(), v->redoAction()}) {
        editw->addAction(a);
        actions_.insert(a->objectName(), a);
    }
}

void Frmdata::openLayout(const QString& path) {
    QString file = path;
    if (file.isEmpty()) {
        file = Dialogs::openFileName(this, QStringLiteral("Open Layout"), kLayoutFilter);
        if (file.isEmpty()) return;
    }
    QString error;
    if (!layoutView_->openLayoutFile(file, &error)) {
        Dialogs::exclamation(this, error);
        return;
    }
    // The layout opened is the one to use: no default layout replaces it
    // until the sheet's columns change.
    state_.sheetchanged = false;
    showLayoutView();
}

void Frmdata::saveLayout() {
    // The layout a generation would use now.
    if (state_.sheetchanged) {
        buildDefaultLayout(state_.tree, state_.sheet);
        layoutView_->rebuild();
        state_.sheetchanged = false;
    }
    for (;;) {
        QString file = Dialogs::saveFileName(this, QStringLiteral("Save Layout"), kLayoutFilter);
        if (file.isEmpty()) return;
        if (QFileInfo(file).suffix().isEmpty()) file += QStringLiteral(".rqlayout");
        if (QFileInfo::exists(file) &&
            !Dialogs::askYesNo(this, QFileInfo(file).fileName() +
                                         QStringLiteral(" already exists, would you like to "
                                                        "overwrite it?")))
            continue;
        errno = 0;
        if (!saveLayoutFile(file.toStdString(), state_.tree)) {
            const int err = errno;
            QString text = QStringLiteral("Could not write the layout file ") + file;
            if (err) text += QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(err));
            Dialogs::exclamation(this, text + QLatin1Char('.'));
        }
        return;
    }
}

}  // namespace rq::ui
