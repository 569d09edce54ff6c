// The Attribute Name and Value dialog (formxmledt2): one root attribute's
// name and value, for a new row of the schema grid or for the selected one.
// Names follow the attribute-name rule and must differ from the other rows'.
#pragma once

#include <QDialog>
#include <vector>

#include "layout/prolog.h"

class QLineEdit;
class QPushButton;

namespace rq::ui {

class AttributeDialog : public QDialog {
    Q_OBJECT
  public:
    // rows are the grid's attributes; modifyRow is the row being modified,
    // -1 when a new attribute is added (the hidden Check1 of the dialog).
    AttributeDialog(std::vector<RootAttribute> rows, int modifyRow, QWidget* parent = nullptr);

    RootAttribute attribute() const;
    QLineEdit* nameBox() const { return txtname_; }
    QLineEdit* valueBox() const { return txtvalue_; }

  private:
    void nameChanged();  // the attribute-name rule while typing
    void okClicked();    // cmdok_Click with sameornot
    bool askName();

    std::vector<RootAttribute> rows_;
    int modifyRow_;
    QLineEdit* txtname_;
    QLineEdit* txtvalue_;
    QPushButton* ok_;
    QPushButton* cancel_;
    bool guard_ = false;
};

}  // namespace rq::ui
