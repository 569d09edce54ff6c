// The SQL statement editor and the Visual SQL wizard in the window, driven by
// clicks and keys, over an Access file and over the SQLite ODBC driver. Each
// sheet after Execute or Finish is compared with the same statement run by the
// engine directly.
#include <sqlite3.h>
#include <QAction>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProcess>
#include <QProgressDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <memory>

#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/sqleditordialog.h"
#include "app/statementrun.h"
#include "datasource/odbc/odbcsource.h"
#include "datasource/sheetloader.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;
using rq::testing::items;

namespace {

const QString kNwind = QStringLiteral(ROWQUILL_FIXTURES "/access/mdbtestdata/nwind.mdb");

bool sqliteDriverInstalled() {
    QProcess p;
    p.start(QStringLiteral("odbcinst"), {QStringLiteral("-q"), QStringLiteral("-d")});
    if (!p.waitForFinished(10000)) return false;
    return QString::fromUtf8(p.readAllStandardOutput())
        .split(QLatin1Char('\n'))
        .contains(QStringLiteral("[SQLite3]"));
}

void runSqlite(const QString& file, const char* sql) {
    sqlite3* db = nullptr;
    QCOMPARE(sqlite3_open(file.toUtf8().constData(), &db), SQLITE_OK);
    char* message = nullptr;
    const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
    const QString error = message ? QString::fromUtf8(message) : QString();
    sqlite3_free(message);
    sqlite3_close(db);
    QVERIFY2(rc == SQLITE_OK, qPrintable(error));
}

// The statement run on a source of its own, or the error it gives.
struct Expected {
    DataSheet sheet;
    QString error;
};
Expected engineResult(Database& db, const QString& statement) {
    Expected e;
    try {
        loadQuery(db, statement.toStdString(), e.sheet);
    } catch (const std::exception& ex) {
        e.error = QString::fromUtf8(ex.what());
    }
    return e;
}

bool sameSheet(const DataSheet& a, const DataSheet& b) {
    if (a.rows() != b.rows() || a.cols() != b.cols()) return false;
    for (int r = 0; r < a.rows(); ++r)
        for (int c = 0; c < a.cols(); ++c)
            if (a.cell(r, c) != b.cell(r, c)) return false;
    return true;
}

template <typename T>
T* child(QDialog& d, const char* name) {
    T* w = d.findChild<T*>(QString::fromUtf8(name));
    if (!w) qWarning("no child %s", name);
    return w;
}

void clickItem(QListWidget* list, const QString& text) {
    const auto found = list->findItems(text, Qt::MatchExactly);
    QVERIFY2(!found.isEmpty(), qPrintable(text));
    list->scrollToItem(found.first());
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualItemRect(found.first()).center());
}

// Picks an entry of a drop-down list with the keyboard, as a user would.
void chooseByKeys(QComboBox* box, const QString& text) {
    const int index = box->findText(text);
    QVERIFY2(index >= 0, qPrintable(text));
    box->setFocus();
    QTest::keyClick(box, Qt::Key_Home);
    for (int i = 0; i < index; ++i) QTest::keyClick(box, Qt::Key_Down);
    QCOMPARE(box->currentText(), text);
}

void typeValue(QComboBox* value, const QString& text) {
    value->lineEdit()->selectAll();
    QTest::keyClick(value->lineEdit(), Qt::Key_Delete);
    QTest::keyClicks(value->lineEdit(), text);
}

void showDialog(QDialog& d) {
    d.show();
    QVERIFY(QTest::qWaitForWindowExposed(&d));
}

int messageCount() {
    int n = 0;
    for (const ShownDialog& s : Dialogs::shown()) n += s.kind == QLatin1String("message");
    return n;
}

const ShownDialog* lastMessage() {
    const auto& shown = Dialogs::shown();
    for (auto it = shown.rbegin(); it != shown.rend(); ++it)
        if (it->kind == QLatin1String("message")) return &*it;
    return nullptr;
}

}  // namespace

class QueryToolsTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        Dialogs::setTestMode(true);
        QVERIFY(dir_.isValid());
        sqliteFile_ = dir_.filePath(QStringLiteral("shop.sqlite"));
        runSqlite(sqliteFile_,
                  "create table [Order Lines](Qty integer, Item varchar(20), Price real);"
                  "insert into [Order Lines] values(5, 'Bolt', 0.5), (12, 'Nut', 0.1),"
                  " (7, 'Bolt', 0.5), (20, 'Washer', 0.05), (1, '  ', 0);"
                  "create table Customers(Name varchar(30), City varchar(30));"
                  "insert into Customers values('Ann', 'Leeds'), ('Bob', 'York');");
        haveDriver_ = sqliteDriverInstalled();
        engineDb_ = openFileDatabase("Microsoft Access", kNwind.toStdString());
    }
    void init() {
        Dialogs::clear();
        SqlEditorDialog::clearSessionHistory();
    }

    // ---- the SQL editor ---------------------------------------------------

    void editorRunsTheTypedStatementOnAFileDatabase() {
        Frmdata w(false);
        openNwind(w);
        const QString sql = QStringLiteral(
            "Select [Order Details].OrderID, Quantity From [Order Details] "
            "Where Quantity > 100");
        w.state().sheetchanged = false;
        int result = -1;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            QCOMPARE(d.windowTitle(), QString("SQL"));
            auto* text = child<QPlainTextEdit>(d, "richsqltxt");
            QCOMPARE(text->toPlainText(), QString("Enter SQL Statement here."));
            QCOMPARE(child<QPushButton>(d, "cmdok")->text(), QString("Execute"));
            QCOMPARE(child<QPushButton>(d, "cmdcancel")->text(), QString("Cancel"));
            text->selectAll();
            QTest::keyClicks(text, sql);
            QTest::mouseClick(child<QPushButton>(d, "cmdok"), Qt::LeftButton);
            result = d.result();
        });
        w.action("mnusqlhand")->trigger();
        QCOMPARE(result, int(QDialog::Accepted));
        const Expected e = engineResult(*engineDb_, sql);
        QVERIFY(e.error.isEmpty());
        QVERIFY(e.sheet.rows() > 2);
        QVERIFY(sameSheet(w.state().sheet, e.sheet));
        QVERIFY(w.state().sheetchanged);
        QCOMPARE(messageCount(), 0);
        QCOMPARE(SqlEditorDialog::sessionHistory(), QStringList{sql});
    }

    // The prompt sent as it stands, and an empty box.
    void editorFailureKeepsTheSheetAndEmptyTextDoesNothing() {
        Frmdata w(false);
        openNwind(w);
        const auto shippers = w.tableList()->findItems("Shippers", Qt::MatchExactly);
        QVERIFY(!shippers.isEmpty());
        QVERIFY(w.loadListEntry(w.tableList()->row(shippers.first())));
        const DataSheet before = w.state().sheet;
        int afterPrompt = -1, afterEmpty = -1;
        int messagesAfterEmpty = -1;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            auto* execute = child<QPushButton>(d, "cmdok");
            QTest::mouseClick(execute, Qt::LeftButton);
            afterPrompt = d.isVisible() ? 1 : 0;
            auto* text = child<QPlainTextEdit>(d, "richsqltxt");
            text->selectAll();
            QTest::keyClick(text, Qt::Key_Delete);
            QTest::mouseClick(execute, Qt::LeftButton);
            afterEmpty = d.isVisible() ? 1 : 0;
            messagesAfterEmpty = messageCount();
            QTest::mouseClick(child<QPushButton>(d, "cmdcancel"), Qt::LeftButton);
        });
        w.action("mnusqlhand")->trigger();
        QCOMPARE(afterPrompt, 1);  // the editor stays open after a failure
        QCOMPARE(afterEmpty, 1);
        QCOMPARE(messagesAfterEmpty, 1);
        const Expected e = engineResult(*engineDb_, QStringLiteral("Enter SQL Statement here."));
        QVERIFY(!e.error.isEmpty());
        const ShownDialog* m = lastMessage();
        QVERIFY(m);
        QCOMPARE(m->title, QString("Nubro Rowquill"));
        QCOMPARE(m->text, e.error);
        QCOMPARE(m->icon, QMessageBox::Warning);
        QVERIFY(sameSheet(w.state().sheet, before));
        QVERIFY(SqlEditorDialog::sessionHistory().isEmpty());
    }

    void editorHistoryStepsWithAltUpAndDown() {
        Frmdata w(false);
        openNwind(w);
        const QStringList statements = {"Select * From Shippers",
                                        "Select CompanyName From Shippers"};
        for (const QString& s : statements) {
            Dialogs::setNextDialogAction([&](QDialog& d) {
                auto* text = child<QPlainTextEdit>(d, "richsqltxt");
                text->setPlainText(s);
                child<QPushButton>(d, "cmdok")->click();
            });
            w.action("mnusqlhand")->trigger();
        }
        QCOMPARE(SqlEditorDialog::sessionHistory(), statements);
        QStringList seen;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            auto* text = child<QPlainTextEdit>(d, "richsqltxt");
            QCOMPARE(items(child<QListWidget>(d, "historyList")), statements);
            text->setFocus();
            QTest::keyClick(text, Qt::Key_Up, Qt::AltModifier);
            seen << text->toPlainText();
            QTest::keyClick(text, Qt::Key_Up, Qt::AltModifier);
            seen << text->toPlainText();
            QTest::keyClick(text, Qt::Key_Down, Qt::AltModifier);
            seen << text->toPlainText();
            d.reject();
        });
        w.action("mnusqlhand")->trigger();
        QCOMPARE(seen, QStringList({statements[1], statements[0], statements[1]}));
    }

    // ---- the wizard ---------------------------------------------------------

    void wizardShowsItsControlsAndEnablesThemByTheRules() {
        Frmdata w(false);
        openNwind(w);
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            QCOMPARE(d.windowTitle(), QString("Visual SQL"));
            QCOMPARE(child<QGroupBox>(d, "fraFields")->title(),
                     QString("Select the Fields (Columns) you wish to show, in the Table."));
            QCOMPARE(child<QGroupBox>(d, "fraCriteria")->title(),
                     QString("Filter out any Records (Rows) from the Table."));
            const QList<std::pair<const char*, QString>> buttons = {
                {"cmdNav0", "< &Back"},
                {"cmdNav1", "&Next >"},
                {"cmdok", "&Finish"},
                {"cmdcancel", "Cancel"},
                {"cmdhelp", "Help"},
                {"cmdAnd", "\"And\" into Criteria"},
                {"cmdOr", "\"Or\" into Criteria"},
                {"cmdGetValues", "List &Possible Values"}};
            for (const auto& [name, text] : buttons) {
                auto* b = child<QPushButton>(d, name);
                QVERIFY(b);
                QCOMPARE(b->text(), text);
                QVERIFY(!b->accessibleName().isEmpty());
            }
            auto* tables = child<QListWidget>(d, "lstTables");
            auto* fields = child<QListWidget>(d, "lstShowFields");
            QCOMPARE(tables->toolTip(), QString("Select Table(s)."));
            QCOMPARE(fields->toolTip(), QString("Select Field(s)."));
            QCOMPARE(items(tables), items(w.tableList()));
            QCOMPARE(tables->item(tables->count() - 1)->data(Qt::UserRole).toInt(), 1);
            QCOMPARE(tables->item(0)->data(Qt::UserRole).toInt(), 0);
            auto* ops = child<QComboBox>(d, "cboOperator");
            QCOMPARE(ops->count(), 7);
            QCOMPARE(ops->currentText(), QString("equals"));

            auto* back = child<QPushButton>(d, "cmdNav0");
            auto* next = child<QPushButton>(d, "cmdNav1");
            auto* finish = child<QPushButton>(d, "cmdok");
            QVERIFY(!back->isEnabled() && !next->isEnabled() && !finish->isEnabled());
            clickItem(tables, "Order Details");
            QCOMPARE(items(fields),
                     QStringList({"[Order Details].OrderID", "[Order Details].ProductID",
                                  "[Order Details].UnitPrice", "[Order Details].Quantity",
                                  "[Order Details].Discount"}));
            QVERIFY(next->isEnabled() && finish->isEnabled());
            // A second table adds its fields after the first's; a query lists its own.
            clickItem(tables, "Shippers");
            QCOMPARE(fields->count(), 8);
            QCOMPARE(fields->item(5)->text(), QString("Shippers.ShipperID"));
            clickItem(tables, "Shippers");
            clickItem(tables, "Order Details");
            QCOMPARE(fields->count(), 0);
            QVERIFY(!next->isEnabled() && !finish->isEnabled());
            clickItem(tables, "Order Details Extended");
            QVERIFY(fields->count() > 0);
            QVERIFY(fields->item(0)->text().startsWith("[Order Details Extended]."));

            QTest::mouseClick(next, Qt::LeftButton);
            QVERIFY(child<QGroupBox>(d, "fraCriteria")->isVisible());
            QVERIFY(!child<QGroupBox>(d, "fraFields")->isVisible());
            QVERIFY(back->isEnabled() && !next->isEnabled());
            auto* andButton = child<QPushButton>(d, "cmdAnd");
            auto* criteria = child<QPlainTextEdit>(d, "txtCriteria");
            QVERIFY(!andButton->isEnabled() && !criteria->isEnabled());
            auto* value = child<QComboBox>(d, "cboValue");
            typeValue(value, "x");
            QVERIFY(andButton->isEnabled() && child<QPushButton>(d, "cmdOr")->isEnabled() &&
                    criteria->isEnabled());
            typeValue(value, "");
            QVERIFY(!andButton->isEnabled() && !criteria->isEnabled());
            QTest::mouseClick(back, Qt::LeftButton);
            QVERIFY(child<QGroupBox>(d, "fraFields")->isVisible());
            QVERIFY(!back->isEnabled() && next->isEnabled());

            QTest::mouseClick(child<QPushButton>(d, "cmdhelp"), Qt::LeftButton);
            QTest::mouseClick(child<QPushButton>(d, "cmdcancel"), Qt::LeftButton);
        });
        const DataSheet before = w.state().sheet;
        w.state().sheetchanged = false;
        w.action("mnuvissql")->trigger();
        QVERIFY(sameSheet(w.state().sheet, before));
        QVERIFY(!w.state().sheetchanged);
        const QList<QUrl> urls = Dialogs::openedUrls();
        QCOMPARE(urls.size(), 1);
        QVERIFY(urls[0].toLocalFile().endsWith(
            "/helpfiles/help_rowquill/how_to_use_visual_sql_wizard.htm"));
        QVERIFY(QFile::exists(QStringLiteral(ROWQUILL_SOURCE_DIR) +
                              "/help/helpfiles/help_rowquill/how_to_use_visual_sql_wizard.htm"));
    }

    void wizardFinishRunsTheBuiltStatementOnAFileDatabase() {
        Frmdata w(false);
        openNwind(w);
        QStringList possible;
        QString criteriaText;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            clickItem(child<QListWidget>(d, "lstTables"), "Order Details");
            clickItem(child<QListWidget>(d, "lstTables"), "Products");
            auto* fields = child<QListWidget>(d, "lstShowFields");
            clickItem(fields, "[Order Details].Quantity");
            clickItem(fields, "Products.ProductName");
            QTest::mouseClick(child<QPushButton>(d, "cmdNav1"), Qt::LeftButton);

            auto* field = child<QComboBox>(d, "cboField");
            auto* op = child<QComboBox>(d, "cboOperator");
            auto* value = child<QComboBox>(d, "cboValue");
            chooseByKeys(field, "[Order Details].ProductID");
            chooseByKeys(op, "equals");
            typeValue(value, "Products.ProductID");
            QTest::mouseClick(child<QPushButton>(d, "cmdAnd"), Qt::LeftButton);
            chooseByKeys(field, "[Order Details].Quantity");
            chooseByKeys(op, "is greater than");
            typeValue(value, "100");
            QTest::mouseClick(child<QPushButton>(d, "cmdAnd"), Qt::LeftButton);
            chooseByKeys(field, "Products.ProductName");
            QTest::mouseClick(child<QPushButton>(d, "cmdGetValues"), Qt::LeftButton);
            for (int i = 0; i < value->count(); ++i) possible << value->itemText(i);
            chooseByKeys(op, "equals");
            typeValue(value, "Chai");
            QTest::mouseClick(child<QPushButton>(d, "cmdOr"), Qt::LeftButton);
            criteriaText = child<QPlainTextEdit>(d, "txtCriteria")->toPlainText();
            QTest::mouseClick(child<QPushButton>(d, "cmdok"), Qt::LeftButton);
        });
        w.state().sheetchanged = false;
        w.action("mnuvissql")->trigger();

        QCOMPARE(criteriaText, QString("[Order Details].ProductID = Products.ProductID\n"
                                       "And [Order Details].Quantity > 100\n"
                                       " Or Products.ProductName = 'Chai'"));
        const QString sql = QStringLiteral(
            "Select [Order Details].Quantity,Products.ProductName From [Order Details],Products "
            "Where ([Order Details].ProductID = Products.ProductID ) And ([Order "
            "Details].Quantity > 100 Or Products.ProductName = 'Chai' )");
        const Expected e = engineResult(*engineDb_, sql);
        QVERIFY2(e.error.isEmpty(), qPrintable(e.error));
        QVERIFY(e.sheet.rows() > 2);
        QVERIFY(sameSheet(w.state().sheet, e.sheet));
        QVERIFY(w.state().sheetchanged);
        QCOMPARE(messageCount(), 0);

        // Possible values of a file database: each once.
        const Expected names =
            engineResult(*engineDb_, "select Distinct ProductName from Products");
        QCOMPARE(possible.size(), names.sheet.rows() - 1);
        QCOMPARE(possible.removeDuplicates(), 0);
    }

    // A stored query with parameters asks for each value in turn before it
    // loads; cancelling a question loads nothing and keeps the sheet.
    void storedQueryAsksForItsParameters() {
        Frmdata w(false);
        w.show();
        openNwind(w);
        QListWidget* list = w.tableList();
        const int row = items(list).indexOf(QStringLiteral("Employee Sales by Country"));
        QVERIFY(row >= 0);
        const DataSheet before = w.state().sheet;
        Dialogs::setNextInput(QStringLiteral("1995-01-01"));
        Dialogs::setNextInput(QString());
        rq::testing::doubleClickRow(list, row);
        QVERIFY(sameSheet(w.state().sheet, before));
        QCOMPARE(messageCount(), 0);

        Dialogs::clear();
        Dialogs::setNextInput(QStringLiteral("1995-01-01"));
        Dialogs::setNextInput(QStringLiteral("1995-12-31"));
        rq::testing::doubleClickRow(list, row);
        QStringList asked;
        for (const auto& d : Dialogs::shown())
            if (d.kind == QLatin1String("input")) asked << d.text;
        QCOMPARE(asked, QStringList({"Beginning Date", "Ending Date"}));
        const Expected e = engineResult(
            *engineDb_,
            "Select Count(*) From Orders Where ShippedDate Between #1995-01-01# And #1995-12-31#");
        QCOMPARE(QString::number(w.state().sheet.rows() - 1),
                 QString::fromStdString(e.sheet.cellText(1, 0)));
    }

    // A value with an embedded quote goes in as typed; the statement fails, the
    // source's message is shown once and the sheet is kept.
    void wizardFailureKeepsTheSheet() {
        Frmdata w(false);
        openNwind(w);
        const DataSheet before = w.state().sheet;
        bool open = false;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            auto* tables = child<QListWidget>(d, "lstTables");
            clickItem(tables, "Shippers");
            clickItem(child<QListWidget>(d, "lstShowFields"), "Shippers.CompanyName");
            QTest::mouseClick(child<QPushButton>(d, "cmdNav1"), Qt::LeftButton);
            typeValue(child<QComboBox>(d, "cboValue"), "O'Brien");
            QTest::mouseClick(child<QPushButton>(d, "cmdAnd"), Qt::LeftButton);
            QTest::mouseClick(child<QPushButton>(d, "cmdok"), Qt::LeftButton);
            open = d.isVisible();
            d.reject();
        });
        w.action("mnuvissql")->trigger();
        QVERIFY(open);
        const Expected e =
            engineResult(*engineDb_,
                         "Select Shippers.CompanyName From Shippers Where (Shippers.ShipperID = "
                         "O'Brien )");
        QVERIFY(!e.error.isEmpty());
        QCOMPARE(messageCount(), 1);
        QCOMPARE(lastMessage()->text, e.error);
        QVERIFY(sameSheet(w.state().sheet, before));
    }

    // A statement over millions of rows: the window keeps handling events while
    // it runs, the progress box's Cancel stops it, and nothing is handed back.
    void longStatementRunsOffTheUiThreadAndCancels() {
        QWidget parent;
        parent.show();
        StatementTarget target;
        target.fileDatabase = engineDb_.get();
        int ticks = 0;
        bool cancelled = false;
        QTimer timer;
        connect(&timer, &QTimer::timeout, [&] {
            ++ticks;
            if (cancelled) return;
            for (QWidget* top : QApplication::topLevelWidgets()) {
                auto* box = qobject_cast<QProgressDialog*>(top);
                if (!box || box->objectName() != "statementProgress" || !box->isVisible()) continue;
                QCOMPARE(box->windowTitle(), QString("Nubro Rowquill"));
                auto* cancel = box->findChild<QPushButton*>();
                QVERIFY(cancel);
                QTest::mouseClick(cancel, Qt::LeftButton);
                cancelled = true;
            }
        });
        timer.start(50);
        const StatementResult r = runStatement(
            &parent, target,
            "Select a.OrderID, b.ProductID From [Order Details] a, [Order Details] b, Shippers c");
        timer.stop();
        QVERIFY(cancelled);
        QVERIFY(ticks > 5);
        QVERIFY(!r.ok);
        QCOMPARE(r.error, QString("The statement was cancelled."));
        QCOMPARE(r.sheet.rows(), DataSheet().rows());
        QVERIFY(parent.isEnabled());
    }

    // ---- over ODBC ----------------------------------------------------------

    void wizardAndEditorOverOdbc() {
        if (!haveDriver_) QSKIP("the SQLite3 ODBC driver is not installed (odbcinst -q -d)");
        Frmdata w(false);
        const QString connection = "Driver=SQLite3;Database=" + sqliteFile_;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            d.findChild<QLineEdit*>("txtConnect")->setText(connection);
            d.findChild<QPushButton*>("cmdOK")->click();
        });
        w.action("mnuDBOODBC")->trigger();
        QCOMPARE(items(w.odbcTableList()), QStringList({"Order Lines", "Customers"}));
        auto source = openOdbcSource(connection.toStdString());

        QStringList possible;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            clickItem(child<QListWidget>(d, "lstTables"), "Order Lines");
            QCOMPARE(
                items(child<QListWidget>(d, "lstShowFields")),
                QStringList({"[Order Lines].Qty", "[Order Lines].Item", "[Order Lines].Price"}));
            QTest::mouseClick(child<QPushButton>(d, "cmdNav1"), Qt::LeftButton);
            auto* field = child<QComboBox>(d, "cboField");
            auto* value = child<QComboBox>(d, "cboValue");
            chooseByKeys(field, "[Order Lines].Item");
            QTest::mouseClick(child<QPushButton>(d, "cmdGetValues"), Qt::LeftButton);
            for (int i = 0; i < value->count(); ++i) possible << value->itemText(i);
            typeValue(value, "Bolt");
            QTest::mouseClick(child<QPushButton>(d, "cmdAnd"), Qt::LeftButton);
            chooseByKeys(field, "[Order Lines].Qty");
            chooseByKeys(child<QComboBox>(d, "cboOperator"), "is greater than or equal to");
            typeValue(value, "6");
            QTest::mouseClick(child<QPushButton>(d, "cmdAnd"), Qt::LeftButton);
            QTest::mouseClick(child<QPushButton>(d, "cmdok"), Qt::LeftButton);
        });
        w.action("mnuvissql")->trigger();
        // Per record, so Bolt twice; the blank value is left out.
        QCOMPARE(possible, QStringList({"Bolt", "Nut", "Bolt", "Washer"}));
        const QString sql = QStringLiteral(
            "Select [Order Lines].* From [Order Lines] Where ([Order Lines].Item = 'Bolt' ) And "
            "([Order Lines].Qty >= 6 )");
        const Expected e = engineResult(*source, sql);
        QVERIFY2(e.error.isEmpty(), qPrintable(e.error));
        QCOMPARE(e.sheet.rows(), 2);
        QVERIFY(sameSheet(w.state().sheet, e.sheet));
        QCOMPARE(QString::fromStdString(w.state().sheet.cellText(1, 0)), QString("7"));

        // The editor: a statement the driver refuses keeps the sheet.
        const DataSheet before = w.state().sheet;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            child<QPlainTextEdit>(d, "richsqltxt")->setPlainText("Select nothing From nowhere");
            child<QPushButton>(d, "cmdok")->click();
            d.reject();
        });
        w.action("mnusqlhand")->trigger();
        const Expected bad = engineResult(*source, "Select nothing From nowhere");
        QVERIFY(!bad.error.isEmpty());
        QCOMPARE(messageCount(), 1);
        QCOMPARE(lastMessage()->text, bad.error);
        QVERIFY(sameSheet(w.state().sheet, before));

        Dialogs::setNextDialogAction([&](QDialog& d) {
            child<QPlainTextEdit>(d, "richsqltxt")->setPlainText("select Name from Customers");
            child<QPushButton>(d, "cmdok")->click();
        });
        w.action("mnusqlhand")->trigger();
        QCOMPARE(rq::testing::sheetRow(w.state().sheet, 0), QStringList{"Name"});
        QCOMPARE(rq::testing::sheetRow(w.state().sheet, 2), QStringList{"Bob"});
    }

  private:
    void openNwind(Frmdata& w) {
        Dialogs::setNextFileName(kNwind);
        w.action("mnuDBOMDB")->trigger();
        QVERIFY(w.database());
        Dialogs::clear();
    }

    QTemporaryDir dir_;
    QString sqliteFile_;
    bool haveDriver_ = false;
    std::unique_ptr<Database> engineDb_;
};

QTEST_MAIN(QueryToolsTest)
#include "test_querytools.moc"
