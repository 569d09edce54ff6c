// The query commands of the window: the SQL statement editor, the Visual SQL
// wizard, and running a statement so that its result becomes the sheet.
#include <QAction>

#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/opensettings.h"
#include "app/querywizarddialog.h"
#include "app/sqleditordialog.h"
#include "app/statementrun.h"

namespace rq::ui {

void Frmdata::connectQueryCommands() {
    connect(action("mnusqlhand"), &QAction::triggered, this, &Frmdata::openSqlEditor);
    connect(action("mnuvissql"), &QAction::triggered, this, &Frmdata::openVisualSql);
}

bool Frmdata::runSqlStatement(const QString& statement) {
    StatementTarget target;
    if (state_.sourceKind == SourceKind::FileDatabase)
        target.fileDatabase = db_.get();
    else
        target.odbcConnection = state_.odbcConnection;
    StatementResult result = runStatement(this, target, statement.toStdString());
    if (!result.ok) {
        // The sheet keeps what it held.
        Dialogs::exclamation(this, result.error);
        return false;
    }
    state_.sheet = std::move(result.sheet);
    state_.sheetchanged = true;
    fitColumnWidths();
    showPosition();
    return true;
}

void Frmdata::openSqlEditor() {
    SqlEditorDialog dialog([this](const QString& s) { return runSqlStatement(s); }, this);
    Dialogs::exec(dialog);
}

void Frmdata::openVisualSql() {
    const QuerySourceKind kind = state_.sourceKind == SourceKind::FileDatabase
                                     ? QuerySourceKind::FileDatabase
                                     : QuerySourceKind::Odbc;
    QueryWizardDialog wizard(db_.get(), kind, this);
    wizard.setRunner([this](const QString& s) { return runSqlStatement(s); });
    wizard.loadTables(state_.sourceKind == SourceKind::FileDatabase ? fileTableList_
                                                                    : odbcTableList_);
    wizard.setHelpOpener([this] { openHelp(kHelpVisualSql); });
    Dialogs::exec(wizard);
}

}  // namespace rq::ui
