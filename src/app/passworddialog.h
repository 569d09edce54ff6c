// The database password dialog (frmDBPWD): OK keeps the typed text as the
// password, Cancel leaves it empty; the caller treats empty as cancelled.
#pragma once

#include <QDialog>

class QLineEdit;

namespace rq::ui {

class PasswordDialog : public QDialog {
    Q_OBJECT
  public:
    explicit PasswordDialog(QWidget* parent = nullptr);
    QString password() const { return password_; }
    QLineEdit* passwordBox() const { return passwordEdit_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QLineEdit* passwordEdit_;
    QString password_;
};

// Shows the dialog through the dialog façade and returns the password (empty
// when cancelled).
QString askDatabasePassword(QWidget* parent);

}  // namespace rq::ui
