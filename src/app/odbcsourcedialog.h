// Choosing an ODBC data source: the data sources the driver manager knows
// (user, then system), the installed drivers, and a connection string the user
// may complete or write from scratch. Choosing a source or a driver fills the
// string with the matching start.
#pragma once

#include <QDialog>
#include <vector>

#include "datasource/odbc/odbcsource.h"

class QLineEdit;
class QListWidget;
class QPushButton;
class QTreeWidget;

namespace rq::ui {

class OdbcSourceDialog : public QDialog {
    Q_OBJECT
  public:
    OdbcSourceDialog(const std::vector<OdbcDataSourceEntry>& sources,
                     const std::vector<OdbcDriverEntry>& drivers, QWidget* parent = nullptr);

    // The string the dialog was accepted with; empty until then and after Cancel.
    QString connectionString() const { return chosen_; }

    QTreeWidget* sourceList() const { return sourceList_; }
    QListWidget* driverList() const { return driverList_; }
    QLineEdit* connectionBox() const { return connectionEdit_; }
    QPushButton* okButton() const { return ok_; }

    void done(int result) override;

  private:
    void chooseSource();
    void chooseDriver();

    QTreeWidget* sourceList_;
    QListWidget* driverList_;
    QLineEdit* connectionEdit_;
    QPushButton* ok_;
    QString chosen_;
};

// Shows the dialog through the dialog façade with the driver manager's data
// sources and drivers; the connection string, empty when cancelled.
QString askOdbcConnectionString(QWidget* parent);

}  // namespace rq::ui
