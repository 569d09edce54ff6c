// The Assign dialog (frmasign) in one of its three modes: a DTD, an XSLT
// stylesheet or a CSS stylesheet for the generated documents. The check box
// switches the assignment on or off; the location is taken as typed.
#pragma once

#include <QDialog>

#include "layout/layouttree.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;

namespace rq::ui {

class AssignDialog : public QDialog {
    Q_OBJECT
  public:
    // mode: kAssignDtd, kAssignXslt or kAssignCss. The dialog opens with the
    // layout's current assignment of that mode, if it has one.
    AssignDialog(int mode, const LayoutTree& tree, QWidget* parent = nullptr);

    // "Assign DTD", "Assign XSLT Stylesheets", "Assign CSS Stylesheets".
    static QString modeText(int mode);
    // The browse button's file filter for the mode.
    static QString modeFilter(int mode);

    bool isTicked() const;
    QString location() const;

  private:
    void check1Click();  // Check1_Click: the location is usable only while ticked
    void browse();       // flnamasgn

    int mode_;
    QLabel* heading_;
    QCheckBox* check1_;
    QLabel* label1_;
    QLineEdit* location_;
    QToolButton* browse_;
    QPushButton* ok_;
    QPushButton* cancel_;
};

}  // namespace rq::ui
