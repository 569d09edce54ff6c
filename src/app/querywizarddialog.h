// The Visual SQL wizard: on its first page the user picks tables and the
// fields to show, on its second builds criteria from a field, an operator and
// a value. Finish runs the Select statement built from the choices.
#pragma once

#include <QDialog>
#include <QHash>
#include <functional>

#include "query/statementbuilder.h"

class QComboBox;
class QGroupBox;
class QListWidget;
class QPlainTextEdit;
class QPushButton;

namespace rq {
class Database;
}

namespace rq::ui {

class QueryWizardDialog : public QDialog {  // frmqueryb
    Q_OBJECT
  public:
    using Runner = std::function<bool(const QString& statement)>;
    QueryWizardDialog(Database* db, QuerySourceKind kind, QWidget* parent = nullptr);

    void setRunner(Runner run) { run_ = std::move(run); }
    void setHelpOpener(std::function<void()> open) { openHelp_ = std::move(open); }
    // Copies the names of the window's table list, with their item numbers.
    void loadTables(const QListWidget* source);  // lodtabs

    // The statement for the current choices; empty when no field is listed.
    QString statement() const;  // querystrymakr
    void showPage(int page);    // cmdNav: 0 the tables page, 1 the criteria page
    int currentPage() const;

  private:
    void buildFieldsPage();
    void buildCriteriaPage();
    void listFields();                    // lstTabledao, lstTableado
    void listPossibleValues();            // gtvalslstdao, gtvalslstado
    void addCriterion(bool orJoin);       // cmdAnddao, cmdAndado, cmdordao, cmdorado
    void enableCriteriaButtons(bool on);  // frambutenab
    void finish();                        // cmdok, cmdoksubg
    QString criteriaText() const;

    Database* db_;
    QuerySourceKind kind_;
    Runner run_;
    std::function<void()> openHelp_;
    QHash<QString, int> fieldTypes_;  // "table.field" item -> type code

    QGroupBox* fieldsPage_ = nullptr;
    QGroupBox* criteriaPage_ = nullptr;
    QListWidget* tables_ = nullptr;
    QListWidget* showFields_ = nullptr;
    QComboBox* field_ = nullptr;
    QComboBox* operator_ = nullptr;
    QComboBox* value_ = nullptr;
    QPlainTextEdit* criteria_ = nullptr;
    QPushButton* and_ = nullptr;
    QPushButton* or_ = nullptr;
    QPushButton* getValues_ = nullptr;
    QPushButton* back_ = nullptr;
    QPushButton* next_ = nullptr;
    QPushButton* finish_ = nullptr;
    QPushButton* cancel_ = nullptr;
    QPushButton* help_ = nullptr;
};

}  // namespace rq::ui
