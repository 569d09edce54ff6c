// Opening a file database, listing its tables and loading one into the sheet.
#include <QFileInfo>
#include <QListWidget>
#include <QSplitter>
#include <algorithm>
#include <exception>

#include "app/busycursor.h"
#include "app/codepagedialog.h"
#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/opensettings.h"
#include "app/passworddialog.h"
#include "app/warningsbox.h"
#include "datasource/sheetloader.h"

namespace rq::ui {

namespace {

constexpr int kMarkerRole = Qt::UserRole;

QString fromUtf8(const std::string& s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

}  // namespace

void Frmdata::openDaoDb(const QString& connect, const QString& presetFile) {
    // 1. Back to the start-up state, as a file-database window.
    resetToStartup();
    state_.sourceKind = SourceKind::FileDatabase;
    state_.sourceConnect.clear();
    state_.sourceFile.clear();
    showTableListOfSource();
    enableSqlCommands(true);
    db_.reset();

    // 2. The file.
    QString file = presetFile;
    if (file.isEmpty()) {
        const OpenDialogSettings settings = openDialogSettings(connect);
        file = Dialogs::openFileName(this, settings.title, settings.filter);
        if (file.isEmpty()) return;
    }

    // A Btrieve dictionary does not say which code page its text is in.
    OpenOptions options;
    if (connect == QLatin1String("Btrieve;")) {
        options.codepage = askBtrieveCodePage(this);
        if (options.codepage == 0) return;
    }

    // 3.-6. Open it, asking for a password as often as one is needed, and
    // list its tables and stored queries.
    std::vector<CatalogEntry> entries;
    for (;;) {
        try {
            db_ = opener_(connect.toStdString(), file.toStdString(), options);
            entries = listedCatalog(*db_);
            break;
        } catch (const DatabaseError& e) {
            if (e.code() == kErrPasswordRequired) {
                const QString password = askDatabasePassword(this);
                if (password.isEmpty()) return;
                options.password = password.toStdString();
                continue;
            }
            reportOpenError(QString::fromUtf8(e.what()), e.code());
            return;
        } catch (const std::exception& e) {
            reportOpenError(QString::fromUtf8(e.what()), kErrGeneric);
            return;
        }
    }
    state_.sourceConnect = connect.toStdString();
    state_.sourceFile = file.toStdString();
    for (const CatalogEntry& entry : entries) {
        auto* item = new QListWidgetItem(fromUtf8(entry.name), fileTableList_);
        item->setData(kMarkerRole, entry.marker);
    }
    showTableList();

    // 7. Select the first entry (nothing is loaded yet) and size the columns.
    if (fileTableList_->count() > 0) fileTableList_->setCurrentRow(0);
    fitColumnWidths();
}

void Frmdata::showTableList() {
    listPanel_->show();
    if (splitter_->sizes().value(0) < 60) {
        const int total = splitter_->width();
        splitter_->setSizes({std::min(220, total / 3), total - std::min(220, total / 3)});
    }
}

void Frmdata::reportOpenError(const QString& description, int code) {
    Dialogs::exclamation(this, description);
    if (code == kErrUnrecognisedFormat &&
        Dialogs::askYesNo(this, QStringLiteral("You can still access this database, by using "
                                               "ODBC.\r\nWould you like any help on this topic?")))
        openHelp(kHelpOdbc);
}

bool Frmdata::loadListEntry(int row) {
    QListWidgetItem* item = fileTableList_->item(row);
    if (!item || !db_) return false;
    if (item->data(kMarkerRole).toInt() == 1 && !askQueryParameters(item->text().toStdString()))
        return false;
    QString error;
    std::vector<std::string> warnings;
    {
        BusyCursor busy;
        try {
            loadTable(*db_, item->text().toStdString(), state_.sheet, &warnings);
        } catch (const std::exception& e) {
            error = QString::fromUtf8(e.what());
        }
    }
    if (!error.isEmpty()) {
        // The sheet keeps what it held.
        Dialogs::exclamation(this, error);
        return false;
    }
    reloadSheet();
    state_.sheetchanged = true;
    showPosition();
    showReadWarnings(this, QStringLiteral("The table ") + item->text(), warnings);
    return true;
}

bool Frmdata::askQueryParameters(const std::string& query) {
    std::vector<QueryParameter> parameters;
    try {
        parameters = db_->storedQueryParameters(query);
    } catch (const std::exception&) {
        // The load that follows reports what is wrong with the query.
    }
    ParameterValues values;
    for (const QueryParameter& p : parameters) {
        const QString name = QString::fromStdString(p.name);
        const QString value =
            Dialogs::inputText(this, QStringLiteral("Enter Parameter Value"), name);
        if (value.isEmpty()) return false;  // cancelled: nothing is loaded
        values.emplace_back(p.name, value.toStdString());
    }
    db_->setParameterValues(std::move(values));
    return true;
}

void Frmdata::openAtStart(const QString& path) {
    const std::string connect = connectStringForPath(path.toStdString());
    if (connect.empty()) {
        Dialogs::exclamation(this, QStringLiteral("'") + path +
                                       QStringLiteral("' is not a database file this program "
                                                      "can open."));
        return;
    }
    openDaoDb(fromUtf8(connect), QFileInfo(path).absoluteFilePath());
    if (!db_ || fileTableList_->count() == 0) return;
    // The table of the file itself, by its name with "." read as "#".
    const QString wanted = QFileInfo(path).fileName().replace(QLatin1Char('.'), QLatin1Char('#'));
    const QString base = QFileInfo(path).completeBaseName();
    int row = 0;
    for (int i = 0; i < fileTableList_->count(); ++i) {
        const QString name = fileTableList_->item(i)->text();
        if (name.compare(wanted, Qt::CaseInsensitive) == 0 ||
            name.compare(base, Qt::CaseInsensitive) == 0) {
            row = i;
            break;
        }
    }
    fileTableList_->setCurrentRow(row);
    loadListEntry(row);
}

}  // namespace rq::ui
