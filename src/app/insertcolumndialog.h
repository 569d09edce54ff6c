// The Insert Column dialog (frmclmn): a column name and, in the advanced
// section, a recipe of texts and other columns' values that fills every
// record of the last column. Opened to add a column or to rename the selected
// one; OK hands the edit to the caller's apply function while the dialog, with
// its progress bar, is still open. The recipe applies whether or not the
// advanced section is shown at the time of OK: hiding it only makes the
// dialog smaller.
#pragma once

#include <QDialog>
#include <functional>

#include "sheet/datasheet.h"
#include "tabledef/columnrecipe.h"

class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QGroupBox;

namespace rq::ui {

class InsertColumnDialog : public QDialog {
    Q_OBJECT
  public:
    using Apply = std::function<void(const ColumnEdit& edit, const FillProgress& progress)>;
    // renamed is the column whose name is changed in rename mode (ColSel);
    // its header text starts in the name box.
    InsertColumnDialog(const DataSheet& sheet, ColumnMode mode, int renamed, Apply apply,
                       QWidget* parent = nullptr);

    QLineEdit* nameBox() const { return name_; }
    QProgressBar* progressBar() const { return progress_; }
    const ColumnRecipe& recipe() const { return recipe_; }

  private:
    QPushButton* button(const char* name, const char* caption);
    void nameChanged();          // Text1_Change
    void toggleAdvanced();       // cmdadvc_Click
    void insertString();         // cmdAdd_Click
    void removeString();         // cmdDelete_Click
    void moveString(int delta);  // cmdUp_Click, cmdDown_Click
    void listClicked();          // lstItems_Click
    void setListButtons();       // SetListButtons
    void showList();
    void ok();  // OKButton_Click

    const DataSheet& sheet_;
    ColumnMode mode_;
    int renamed_;
    Apply apply_;
    ColumnRecipe recipe_;
    bool guard_ = false;

    QLineEdit* name_;        // Text1
    QPushButton* advanced_;  // cmdadvc
    QGroupBox* advancedFrame_;
    QListWidget* list_;       // lstItems
    QPushButton* insert_;     // cmdAdd
    QPushButton* remove_;     // cmdDelete
    QPushButton* up_;         // cmdUp
    QPushButton* down_;       // cmdDown
    QProgressBar* progress_;  // ProgressBar1
};

}  // namespace rq::ui
