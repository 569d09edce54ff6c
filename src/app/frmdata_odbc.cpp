// Opening an ODBC source, listing its tables and views and loading one into
// the sheet.
#include <QListWidget>
#include <exception>

#include "app/busycursor.h"
#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/odbcsourcedialog.h"
#include "app/warningsbox.h"
#include "datasource/odbc/odbcsource.h"
#include "datasource/sheetloader.h"

namespace rq::ui {

namespace {

QString fromUtf8(const std::string& s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

// Every failure to open a source is reported with the same start.
QString openErrorText(const std::string& description) {
    const QString prefix = fromUtf8(std::string(kOdbcOpenErrorPrefix));
    const QString text = fromUtf8(description);
    return text.startsWith(prefix) ? text : prefix + text;
}

}  // namespace

void Frmdata::mnuDBOODBC() {
    resetToStartup();
    state_.sourceKind = SourceKind::Odbc;
    showTableListOfSource();
    enableSqlCommands(true);
    openAdoDb(QString());
    fitColumnWidths();
}

void Frmdata::openAdoDb(const QString& connectionString) {
    QString wanted = connectionString.trimmed();
    if (wanted.isEmpty()) {
        wanted = askOdbcConnectionString(this);
        if (wanted.isEmpty()) {
            Dialogs::exclamation(this, fromUtf8(odbcCancelledMessage()));
            return;
        }
    }

    std::unique_ptr<OdbcSource> source;
    std::vector<CatalogEntry> entries;
    QString error;
    {
        BusyCursor busy;
        try {
            source = openOdbcSource(wanted.toStdString());
            entries = listedCatalog(*source);
        } catch (const std::exception& e) {
            error = openErrorText(e.what());
        }
    }
    if (!source || !error.isEmpty()) {
        Dialogs::exclamation(this, error);
        return;
    }

    // The completed string is kept; the source itself is disconnected and
    // every later use reconnects with it.
    state_.odbcConnection = source->connectionString();
    odbcTableList_->clear();
    for (const CatalogEntry& entry : entries) odbcTableList_->addItem(fromUtf8(entry.name));
    showTableList();
    if (odbcTableList_->count() > 0) odbcTableList_->setCurrentRow(0);
    db_ = std::move(source);
    enableSqlCommands(true);
}

bool Frmdata::loadOdbcListEntry(int row) {
    QListWidgetItem* item = odbcTableList_->item(row);
    if (!item || state_.odbcConnection.empty()) return false;
    std::unique_ptr<OdbcSource> source;
    QString error;
    std::vector<std::string> warnings;
    {
        BusyCursor busy;
        try {
            source = openOdbcSource(state_.odbcConnection);
            loadTable(*source, item->text().toStdString(), state_.sheet, &warnings);
        } catch (const std::exception& e) {
            error = fromUtf8(e.what());
        }
    }
    if (!error.isEmpty()) {
        // The sheet keeps what it held.
        Dialogs::exclamation(this, error);
        return false;
    }
    db_ = std::move(source);
    reloadSheet();
    state_.sheetchanged = true;
    showPosition();
    showReadWarnings(this, QStringLiteral("The table ") + item->text(), warnings);
    return true;
}

}  // namespace rq::ui
