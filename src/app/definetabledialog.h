// The Define Table wizard (frmtablename): the row and column numbers on the
// first page, the field names on the second; Finish hands back the new
// table's shape, names and column widths for the caller to apply.
#pragma once

#include <QDialog>
#include <vector>

#include "tabledef/tabledefinition.h"

class QGroupBox;
class QLineEdit;
class QListWidget;
class QPushButton;
class QToolButton;

namespace rq::ui {

class DefineTableDialog : public QDialog {
    Q_OBJECT
  public:
    explicit DefineTableDialog(QWidget* parent = nullptr);

    // After Finish: the table to make and the width of each column in pixels
    // (the name's width in the dialog's font plus 320 twips).
    const TableDefinition& definition() const { return definition_; }
    const std::vector<int>& columnWidths() const { return widths_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QLineEdit* numberField(const char* name, const char* label);
    QToolButton* iconButton(const char* name, const char* icon, const char* tip);
    void next();               // cmdnext
    void back();               // cmdback
    void finish();             // cmdok
    void listClicked();        // lstItems_Click
    void submit();             // cmdAdd
    void moveItem(int delta);  // cmdUp, cmdDown
    void setListButtons();     // SetListButtons
    void showList();           // the list widget from the name list
    void stepField(QLineEdit* field, bool up);

    ColumnNameList names_;
    TableDefinition definition_;
    std::vector<int> widths_;
    bool showingList_ = false;

    QGroupBox* page1_;
    QGroupBox* page2_;
    QLineEdit* rowsField_;  // updwntxt
    QLineEdit* colsField_;  // Text1
    QListWidget* list_;     // lstItems
    QLineEdit* nameField_;  // Text2
    QToolButton* submit_;   // cmdAdd
    QToolButton* up_;       // cmdUp
    QToolButton* down_;     // cmdDown
    QPushButton* back_;
    QPushButton* next_;
    QPushButton* finish_;
    QPushButton* cancel_;
};

}  // namespace rq::ui
