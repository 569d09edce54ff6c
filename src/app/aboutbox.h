// The About box (frmAbout).
#pragma once

#include <QDialog>

namespace rq::ui {

class AboutBox : public QDialog {
    Q_OBJECT
  public:
    explicit AboutBox(QWidget* parent = nullptr);
};

}  // namespace rq::ui
