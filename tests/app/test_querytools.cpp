// The SQL statement editor and the Visual SQL wizard in the window, driven by
// clicks and keys, over an Access file and over the SQLite ODBC driver. Each
// sheet after Execute or Finish is compared with the same statement run by the
// engine directly.
#include <memory>

#include "app/frmdata.h"
#include "app/helpwindow.h"
#include "app/sqleditordialog.h"
#include "app/statementrun.h"
#include "datasource/odbc/odbcsource.h"
#include "datasource/sheetloader.h"
#include "sqlitefiles.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;
using namespace rq::testing;

namespace {

const QString kNwind = QStringLiteral(ROWQUILL_FIXTURES "/access/mdbtestdata/nwind.mdb");

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

// Picks an entry of a drop-down list with the keyboard, as a user would.
void chooseByKeys(QComboBox* box, const QString& text) {
    const int index = box->findText(text);
    QVERIFY2(index >= 0, qPrintable(text));
    box->setFocus();
    QTest::keyClick(box, Qt::Key_Home);
    for (int i = 0; i < index; ++i) QTest::keyClick(box, Qt::Key_Down);
    QCOMPARE(box->currentText(), text);
}

// Adds a criterion on the wizard's second page: field, operator, value, And.
void addCriterion(QDialog& d, const QString& field, const QString& op, const QString& value,
                  const char* button = "cmdAnd") {
    chooseByKeys(child<QComboBox>(d, "cboField"), field);
    chooseByKeys(child<QComboBox>(d, "cboOperator"), op);
    typeInto(child<QComboBox>(d, "cboValue")->lineEdit(), value);
    click(d, button);
}

QStringList possibleValues(QDialog& d) {
    click(d, "cmdGetValues");
    auto* value = child<QComboBox>(d, "cboValue");
    QStringList out;
    for (int i = 0; i < value->count(); ++i) out << value->itemText(i);
    return out;
}

}  // namespace

class QueryToolsTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        Dialogs::setTestMode(true);
        setDesktopBrowserForTests(true);
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

    // A stored query with parameters asks for each value in turn before it
    // loads; cancelling a question loads nothing and keeps the sheet.
    // In the editor a failing statement (the prompt sent as it stands) keeps
    // the editor open and the sheet; an empty box does nothing; a good
    // statement loads the sheet and enters the history, which Alt+Up and
    // Alt+Down step through.
    void storedQueryAndEditorRunStatements() {
        Frmdata w(false);
        w.show();
        openNwind(w);
        QListWidget* list = w.tableList();
        const int row = items(list).indexOf(QStringLiteral("Employee Sales by Country"));
        QVERIFY(row >= 0);
        const DataSheet start = w.state().sheet;
        Dialogs::setNextInput(QStringLiteral("1995-01-01"));
        Dialogs::setNextInput(QString());
        doubleClickRow(list, row);
        QVERIFY(sameSheet(w.state().sheet, start));
        QCOMPARE(countShown("message"), 0);

        Dialogs::clear();
        Dialogs::setNextInput(QStringLiteral("1995-01-01"));
        Dialogs::setNextInput(QStringLiteral("1995-12-31"));
        doubleClickRow(list, row);
        QStringList asked;
        for (const auto& d : Dialogs::shown())
            if (d.kind == QLatin1String("input") && d.title == "Enter Parameter Value")
                asked << d.text;
        QCOMPARE(asked, QStringList({"Beginning Date", "Ending Date"}));
        const Expected count = engineResult(
            *engineDb_,
            "Select Count(*) From Orders Where ShippedDate Between #1995-01-01# And #1995-12-31#");
        QCOMPARE(QString::number(w.state().sheet.rows() - 1),
                 QString::fromStdString(count.sheet.cellText(1, 0)));

        Dialogs::clear();
        const DataSheet before = w.state().sheet;
        const QStringList sql = {
            "Select [Order Details].OrderID, Quantity From [Order Details] Where Quantity > 100",
            "Select CompanyName From Shippers"};
        bool openAfterFailure = false, openAfterEmpty = false;
        int messagesAfterEmpty = -1;
        DataSheet afterFailure;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            auto* text = child<QPlainTextEdit>(d, "richsqltxt");
            QCOMPARE(text->toPlainText(), QString("Enter SQL Statement here."));
            click(d, "cmdok");
            openAfterFailure = d.isVisible();
            afterFailure = w.state().sheet;
            text->selectAll();
            QTest::keyClick(text, Qt::Key_Delete);
            click(d, "cmdok");
            openAfterEmpty = d.isVisible();
            messagesAfterEmpty = countShown("message");
            QTest::keyClicks(text, sql[0]);
            click(d, "cmdok");
        });
        w.state().sheetchanged = false;
        w.action("mnusqlhand")->trigger();
        QVERIFY(openAfterFailure && openAfterEmpty);
        QCOMPARE(messagesAfterEmpty, 1);
        const Expected bad = engineResult(*engineDb_, "Enter SQL Statement here.");
        QVERIFY(!bad.error.isEmpty());
        QCOMPARE(lastShown()->text, bad.error);
        QCOMPARE(lastShown()->icon, QMessageBox::Warning);
        QVERIFY(sameSheet(afterFailure, before));
        const Expected e = engineResult(*engineDb_, sql[0]);
        QVERIFY(e.error.isEmpty() && e.sheet.rows() > 2);
        QVERIFY(sameSheet(w.state().sheet, e.sheet));
        QVERIFY(w.state().sheetchanged);
        QCOMPARE(countShown("message"), 1);

        Dialogs::setNextDialogAction([&](QDialog& d) {
            child<QPlainTextEdit>(d, "richsqltxt")->setPlainText(sql[1]);
            click(d, "cmdok");
        });
        w.action("mnusqlhand")->trigger();
        QCOMPARE(SqlEditorDialog::sessionHistory(), sql);
        QStringList seen;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            auto* text = child<QPlainTextEdit>(d, "richsqltxt");
            QCOMPARE(items(child<QListWidget>(d, "historyList")), sql);
            text->setFocus();
            for (Qt::Key key : {Qt::Key_Up, Qt::Key_Up, Qt::Key_Down}) {
                QTest::keyClick(text, key, Qt::AltModifier);
                seen << text->toPlainText();
            }
            d.reject();
        });
        w.action("mnusqlhand")->trigger();
        QCOMPARE(seen, QStringList({sql[1], sql[0], sql[1]}));
    }

    void wizardEnablesItsControlsThenFinishRunsTheBuiltStatement() {
        Frmdata w(false);
        openNwind(w);
        bool openAfterFailure = false;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            auto* tables = child<QListWidget>(d, "lstTables");
            auto* fields = child<QListWidget>(d, "lstShowFields");
            QCOMPARE(items(tables), items(w.tableList()));
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
            QVERIFY(fields->item(0)->text().startsWith("[Order Details Extended]."));

            // A criterion needs a value.
            QTest::mouseClick(next, Qt::LeftButton);
            auto* andButton = child<QPushButton>(d, "cmdAnd");
            QVERIFY(!andButton->isEnabled());
            typeInto(child<QComboBox>(d, "cboValue")->lineEdit(), "x");
            QVERIFY(andButton->isEnabled());
            QTest::mouseClick(back, Qt::LeftButton);
            QVERIFY(child<QGroupBox>(d, "fraFields")->isVisible());
            click(d, "cmdhelp");
            // A value with an embedded quote goes in as typed; the statement
            // fails, the source's message is shown and the wizard stays open.
            clickItem(tables, "Order Details Extended");
            clickItem(tables, "Shippers");
            clickItem(fields, "Shippers.CompanyName");
            click(d, "cmdNav1");
            typeInto(child<QComboBox>(d, "cboValue")->lineEdit(), "O'Brien");
            click(d, "cmdAnd");
            click(d, "cmdok");
            openAfterFailure = d.isVisible();
            click(d, "cmdcancel");
        });
        const DataSheet before = w.state().sheet;
        w.state().sheetchanged = false;
        w.action("mnuvissql")->trigger();
        // (That the source's own words are shown is checked with the editor.)
        QVERIFY(openAfterFailure);
        QCOMPARE(countShown("message"), 1);
        QCOMPARE(lastShown()->icon, QMessageBox::Warning);
        QVERIFY(sameSheet(w.state().sheet, before));
        QVERIFY(!w.state().sheetchanged);
        QCOMPARE(Dialogs::openedUrls().size(), 1);
        QVERIFY(Dialogs::openedUrls()[0].toLocalFile().endsWith(
            "/helpfiles/help_rowquill/how_to_use_visual_sql_wizard.htm"));

        // Finish runs the built statement on the file database.
        Dialogs::clear();
        QStringList possible;
        QString criteriaText;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            clickItem(child<QListWidget>(d, "lstTables"), "Order Details");
            clickItem(child<QListWidget>(d, "lstTables"), "Products");
            auto* fields = child<QListWidget>(d, "lstShowFields");
            clickItem(fields, "[Order Details].Quantity");
            clickItem(fields, "Products.ProductName");
            click(d, "cmdNav1");
            addCriterion(d, "[Order Details].ProductID", "equals", "Products.ProductID");
            addCriterion(d, "[Order Details].Quantity", "is greater than", "100");
            chooseByKeys(child<QComboBox>(d, "cboField"), "Products.ProductName");
            possible = possibleValues(d);
            addCriterion(d, "Products.ProductName", "equals", "Chai", "cmdOr");
            criteriaText = child<QPlainTextEdit>(d, "txtCriteria")->toPlainText();
            click(d, "cmdok");
        });
        w.action("mnuvissql")->trigger();
        QCOMPARE(criteriaText, QString("[Order Details].ProductID = Products.ProductID\n"
                                       "And [Order Details].Quantity > 100\n"
                                       " Or Products.ProductName = 'Chai'"));
        const Expected e = engineResult(
            *engineDb_,
            "Select [Order Details].Quantity,Products.ProductName From [Order Details],Products "
            "Where ([Order Details].ProductID = Products.ProductID ) And ([Order "
            "Details].Quantity > 100 Or Products.ProductName = 'Chai' )");
        QVERIFY2(e.error.isEmpty(), qPrintable(e.error));
        QVERIFY(e.sheet.rows() > 2);
        QVERIFY(sameSheet(w.state().sheet, e.sheet));
        QVERIFY(w.state().sheetchanged);
        QCOMPARE(countShown("message"), 0);
        // Possible values of a file database: each once.
        const Expected names =
            engineResult(*engineDb_, "select Distinct ProductName from Products");
        QCOMPARE(possible.size(), names.sheet.rows() - 1);
        QCOMPARE(possible.removeDuplicates(), 0);
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
            // The window answers while the statement runs; after a while its
            // Cancel is pressed, shown or not yet shown on a busy machine.
            if (++ticks < 6 || cancelled) return;
            for (QWidget* top : QApplication::topLevelWidgets()) {
                auto* box = qobject_cast<QProgressDialog*>(top);
                if (!box || box->objectName() != "statementProgress") continue;
                auto* button = box->findChild<QPushButton*>();
                if (box->isVisible())
                    QTest::mouseClick(button, Qt::LeftButton);
                else
                    button->click();
                cancelled = true;
            }
        });
        timer.start(50);
        const StatementResult r = runStatement(
            &parent, target,
            "Select a.OrderID, b.ProductID From [Order Details] a, [Order Details] b, Shippers c");
        timer.stop();
        QVERIFY2(cancelled, qPrintable(r.error));
        QVERIFY(!r.ok);
        QCOMPARE(r.error, QString("The statement was cancelled."));
        QCOMPARE(r.sheet.rows(), DataSheet().rows());
        QVERIFY(parent.isEnabled());
    }

    void wizardAndEditorOverOdbc() {
        if (!haveDriver_) QSKIP("the SQLite3 ODBC driver is not installed (odbcinst -q -d)");
        Frmdata w(false);
        const QString connection = "Driver=SQLite3;Database=" + sqliteFile_;
        answerSource(connection);
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
            click(d, "cmdNav1");
            chooseByKeys(child<QComboBox>(d, "cboField"), "[Order Lines].Item");
            possible = possibleValues(d);
            addCriterion(d, "[Order Lines].Item", "equals", "Bolt");
            addCriterion(d, "[Order Lines].Qty", "is greater than or equal to", "6");
            click(d, "cmdok");
        });
        w.action("mnuvissql")->trigger();
        // Per record, so Bolt twice; the blank value is left out.
        QCOMPARE(possible, QStringList({"Bolt", "Nut", "Bolt", "Washer"}));
        const Expected e = engineResult(
            *source,
            "Select [Order Lines].* From [Order Lines] Where ([Order Lines].Item = 'Bolt' ) And "
            "([Order Lines].Qty >= 6 )");
        QVERIFY2(e.error.isEmpty(), qPrintable(e.error));
        QCOMPARE(e.sheet.rows(), 2);
        QVERIFY(sameSheet(w.state().sheet, e.sheet));

        // The editor's statement goes to the driver. (A refused statement is
        // driven over the file database above.)
        Dialogs::clear();
        Dialogs::setNextDialogAction([&](QDialog& d) {
            child<QPlainTextEdit>(d, "richsqltxt")->setPlainText("select Name from Customers");
            click(d, "cmdok");
        });
        w.action("mnusqlhand")->trigger();
        QVERIFY2(lastShown() == nullptr, qPrintable(lastMessageText()));
        QCOMPARE(sheetRow(w.state().sheet, 0), QStringList{"Name"});
        QCOMPARE(sheetRow(w.state().sheet, 2), QStringList{"Bob"});
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
