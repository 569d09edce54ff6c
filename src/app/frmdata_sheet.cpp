// The main window's sheet commands: the Edit menu and the sheet toolbar, the
// cell editor and its pop-up menu, Undo and Redo of sheet edits, and the
// text export; the Define Table wizard and the Insert Column dialog.
#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <QTableView>
#include <QToolBar>
#include <QUndoStack>
#include <functional>

#include "app/definetabledialog.h"
#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/insertcolumndialog.h"
#include "app/sheetcommands.h"
#include "app/sheeteditor.h"
#include "app/sourceguard.h"
#include "app/textexport.h"
#include "sheet/sheetedit.h"

namespace rq::ui {

namespace {

// "&New Table": the Define Table wizard, modal; Finish makes the new table.
void defineNewTable(SheetCommands* commands, QWidget* window) {
    DefineTableDialog wizard(window);
    if (Dialogs::exec(wizard) != QDialog::Accepted) return;
    commands->defineTable(wizard.definition(), wizard.columnWidths());
}

// "Insert Column..." (add) and "Modify Column Name" (rename the column at
// the selection's ColSel end): the Insert Column dialog, modal.
void openColumnDialog(SheetCommands* commands, const DataSheet& sheet, ColumnMode mode,
                      QWidget* window) {
    InsertColumnDialog dialog(
        sheet, mode, sheet.colSel(),
        [commands](const ColumnEdit& edit, const FillProgress& progress) {
            commands->applyColumnEdit(edit, progress);
        },
        window);
    Dialogs::exec(dialog);
}

}  // namespace

void Frmdata::connectSheetCommands() {
    sheetEditor_ = new SheetEditor(state_.sheet, sheetModel_, grid_);
    sheetCommands_ = new SheetCommands(state_, sheetModel_, grid_, sheetEditor_, this);
    textExport_ = new TextExport(state_.sheet, StatusTargets{textStatus_, mainProgress_}, this);
    textExport_->setOutputCheck(
        [this](const QString& path) { return refuseOutputOverSource(this, state_, path); });
    SheetCommands* s = sheetCommands_;

    const struct {
        const char* name;
        std::function<void()> run;
    } commands[] = {
        {"mnuEditcut", [s] { s->cut(); }},
        {"mnuEditCopy", [s] { s->copy(); }},
        {"mnuEditPaste", [s] { s->paste(); }},
        {"mnuEditDelete", [s] { s->deleteCells(); }},
        {"mnuEditSelectAll", [s] { s->selectAll(); }},
        {"mnuEditInsertRow", [s] { s->insertRow(); }},
        {"mnuEditDelRow", [s] { s->removeRow(); }},
        {"mnucroprow", [s] { s->cropRow(); }},
        {"mnuinsrtcol", [s] { s->insertIndex(); }},
        {"mnusortasc", [s] { s->sort(1); }},
        {"mnusortdes", [s] { s->sort(2); }},
        {"mnuup", [s] { s->moveRow(-1); }},
        {"mnudown", [s] { s->moveRow(+1); }},
        {"mnuexporttxt", [this] { textExport_->chooseFile(); }},
        {"mnunewtabledef", [this, s] { defineNewTable(s, this); }},
        {"mnuColumn", [this, s] { openColumnDialog(s, state_.sheet, ColumnMode::Add, this); }},
        {"mnucolmname", [this, s] { openColumnDialog(s, state_.sheet, ColumnMode::Rename, this); }},
    };
    for (const auto& c : commands)
        connect(action(QString::fromUtf8(c.name)), &QAction::triggered, this, c.run);

    connect(sheetEditor_, &SheetEditor::positionChanged, this, &Frmdata::showPosition);
    connect(sheetEditor_, &SheetEditor::clicked, this, &Frmdata::updateMoveCommands);
    connect(sheetCommands_, &SheetCommands::selectionMoved, this, [this] {
        updateMoveCommands();
        showPosition();
    });
    connect(sheetEditor_, &SheetEditor::contextMenuWanted, this,
            [this](const QPoint& at) { menu(QStringLiteral("mnuedit"))->popup(at); });

    // The toolbar buttons close the cell editor.
    for (QAction* button : sheetToolbar_->actions())
        connect(button, &QAction::triggered, sheetEditor_, &SheetEditor::hideEditor,
                Qt::DirectConnection);

    // Undo and Redo of sheet edits; the keys work while the grid has the focus.
    QUndoStack* undo = sheetCommands_->undoStack();
    QAction* undoAction = undo->createUndoAction(this, QStringLiteral("Undo"));
    undoAction->setObjectName(QStringLiteral("mnusheetundo"));
    undoAction->setShortcuts({QKeySequence::Undo});
    QAction* redoAction = undo->createRedoAction(this, QStringLiteral("Redo"));
    redoAction->setObjectName(QStringLiteral("mnusheetredo"));
    redoAction->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence::Redo});
    QMenu* edit = menu(QStringLiteral("mnuedit"));
    addSeparator(edit, "mnuBarSheetUndo");
    edit->addAction(undoAction);
    edit->addAction(redoAction);
    for (QAction* a : {undoAction, redoAction}) {
        a->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        grid_->addAction(a);
        actions_.insert(a->objectName(), a);
    }
}

void Frmdata::updateMoveCommands() {
    const bool up = canMoveUp(state_.sheet), down = canMoveDown(state_.sheet);
    action(QStringLiteral("mnuup"))->setEnabled(up);
    action(QStringLiteral("mnudown"))->setEnabled(down);
    sheetToolAction(QStringLiteral("Moveup"))->setEnabled(up);
    sheetToolAction(QStringLiteral("movedown"))->setEnabled(down);
}

}  // namespace rq::ui
