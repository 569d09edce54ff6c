// The commands of the Edit menu that change the sheet in place: clipboard
// exchange, clearing, row insertion, removal and cropping, sorting, moving a
// record, the index column. Every change is pushed on the sheet's undo stack.
#pragma once

#include <QObject>

#include "app/appstate.h"
#include "tabledef/columnrecipe.h"
#include "tabledef/tabledefinition.h"

class QTableView;
class QUndoStack;
class QWidget;

namespace rq::ui {

class SheetEditor;
class SheetModel;

class SheetCommands : public QObject {
    Q_OBJECT
  public:
    SheetCommands(AppState& state, SheetModel* model, QTableView* grid, SheetEditor* editor,
                  QWidget* window);

    QUndoStack* undoStack() const { return undo_; }

    void cut();               // mnuEditcut
    void copy();              // mnuEditCopy
    void paste();             // mnuEditPaste
    void deleteCells();       // mnuEditDelete
    void selectAll();         // mnuEditSelectAll
    void insertRow();         // mnuEditInsertRow
    void removeRow();         // mnuEditDelRow
    void cropRow();           // mnucroprow
    void insertIndex();       // mnuinsrtcol
    void sort(int order);     // mnusortasc (1), mnusortdes (2)
    void moveRow(int delta);  // mnuup (-1), mnudown (+1)
    // Renames header cell (0, col) as one undoable edit.
    void renameColumn(int col, const QString& name);

    // Define Table's Finish (frmtablename): the sheet becomes the new table and
    // its columns take the given pixel widths; undo puts the previous sheet and
    // widths back. A table too large to be made leaves the sheet as it is.
    void defineTable(const TableDefinition& table, const std::vector<int>& widths);
    // The OK of the Insert Column dialog (frmclmn) in either mode; sets
    // sheetchanged. Undo takes an added column away, or puts back the old
    // name and the cells the recipe filled.
    void applyColumnEdit(const ColumnEdit& edit, const FillProgress& progress = {});

    // The whole sheet was replaced (a load, New): earlier edits cannot be undone.
    void contentsReplaced();

  signals:
    // The rows changed shape or the selected record moved (updowngrid).
    void selectionMoved();

  private:
    void recordCellEdit(int row, int col, const QString& before, const QString& after);
    void setClipUndoable(const QString& text, const QString& label);
    void structureChanged();
    std::vector<int> columnWidths() const;
    void setColumnWidths(const std::vector<int>& widths);
    void push(const QString& text, std::function<void()> redo, std::function<void()> undo);

    AppState& state_;
    SheetModel* model_;
    QTableView* grid_;
    SheetEditor* editor_;
    QWidget* window_;
    QUndoStack* undo_;
};

}  // namespace rq::ui
