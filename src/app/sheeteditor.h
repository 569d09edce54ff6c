// The in-place cell editor of the Sheet view and the grid's mouse and key
// handling: one line editor laid over the edited cell, writing every change
// into the sheet at once; the mouse-selection memory kept on press and
// release; the selection of the view kept in step with the sheet's.
#pragma once

#include <QObject>
#include <QString>

#include "sheet/datasheet.h"

class QLineEdit;
class QTableView;
class QMouseEvent;
class QKeyEvent;

namespace rq::ui {

class SheetModel;

class SheetEditor : public QObject {
    Q_OBJECT
  public:
    SheetEditor(DataSheet& sheet, SheetModel* model, QTableView* grid);

    // Opens the editor on the current cell when it is a record cell (fgriddbclk).
    void openEditor();
    void hideEditor();
    QLineEdit* editor() const { return editor_; }
    bool editing() const;
    // Counts the openings of the editor: typing of one opening is one undo step.
    int session() const { return session_; }

    // The mouse-selection memory the editing commands read.
    MouseSelection& mouse() { return mouse_; }

    // Moves the current cell, collapsing the selection onto it.
    void goTo(int row, int col);
    // Shows the sheet's selection (Row/Col .. RowSel/ColSel) in the view.
    void showSelection();

    bool eventFilter(QObject* watched, QEvent* event) override;

  signals:
    // A cell was changed through the editor (for undo); text before and after.
    void cellEdited(int row, int col, const QString& before, const QString& after);
    // The Edit menu is wanted at this global position (right button released).
    void contextMenuWanted(const QPoint& globalPos);
    // A click on the grid ended: the move commands follow the selected row.
    void clicked();
    // The current position changed (for the status text).
    void positionChanged();

  private:
    bool editorKey(QKeyEvent* event);
    bool gridKey(QKeyEvent* event);
    void mouseReleased(QMouseEvent* event);
    void textEdited(const QString& text);
    void leaveEditor();
    void placeEditor();
    void selectWholeColumns();  // colonesel

    DataSheet& sheet_;
    SheetModel* model_;
    QTableView* grid_;
    QLineEdit* editor_;
    MouseSelection mouse_;
    int editRow_ = 0, editCol_ = 0;
    QString saved_;    // the cell's text when the editor opened (Esc)
    QString written_;  // the cell's text as last written by the editor
    bool syncing_ = false;
    int headerAnchor_ = -1;
    int session_ = 0;
};

}  // namespace rq::ui
