// The "&ODBC..." command: the data-source dialog, the error boxes, the table
// list of an ODBC source and loading a table from it (over the SQLite ODBC
// driver); and the code page asked for when a Btrieve dictionary is opened.

#include "app/frmdata.h"
#include "app/odbcsourcedialog.h"
#include "sqlitefiles.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;
using namespace rq::testing;

#define REQUIRE_SQLITE_DRIVER() \
    if (!haveDriver_) QSKIP("the SQLite3 ODBC driver is not installed (odbcinst -q -d)")

namespace {

const QString kCancelled =
    QStringLiteral("Error Opening DataSource: The choice of a data source was cancelled.");

// The sample source. The driver reports the objects in the order they were
// made, so a view made before the last table shows that tables come first.
const char* kSampleSql =
    "create table Orders(id integer, item text, price real, note text);"
    "insert into Orders values(1, 'Tea', 2.5, null), (2, 'Кофе', 12.25, 'decaf');"
    "create table [Order Details](line integer, qty integer, descr text);"
    "insert into [Order Details] values(1, 3, 'Blue pen'), (2, null, 'Red ink');"
    "create view [Big Orders] as select * from Orders where price > 5;"
    "create table MSysObjects(x); create table mSySaccess(x); create table msy(x);"
    "create table [~TMP](x);"
    "create view msysview as select 1 as one;"
    "create table Alpha(x);"
    "create view [Cheap] as select * from Orders where price < 5;";

void checkFreshOdbcWindow(Frmdata& w) {
    QCOMPARE(w.state().sourceKind, SourceKind::Odbc);
    QCOMPARE(w.odbcTableList()->count(), 0);
    QVERIFY(w.tableListPanel()->isHidden());
    QVERIFY(w.state().odbcConnection.empty());
    QCOMPARE(w.state().sheet.cellText(0, 0), std::string("Element 1"));
    // The query commands are on even though nothing was opened.
    QVERIFY(w.action("mnusqlhand")->isEnabled());
}

}  // namespace

class OdbcWindowTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        Dialogs::setTestMode(true);
        QVERIFY(dir_.isValid());
        file_ = dir_.filePath(QStringLiteral("sample.sqlite"));
        runSqlite(file_, kSampleSql);
        haveDriver_ = sqliteDriverInstalled();
    }
    void init() { Dialogs::clear(); }

    void sourceDialogFillsTheStringFromTheChoice() {
        OdbcSourceDialog d({{"Sales", "SQLite3", false}, {"Ledger", "PostgreSQL Unicode", true}},
                           {{"SQLite3", {}}, {"Odd}Name", {}}});
        QTreeWidget* sources = d.sourceList();
        QCOMPARE(sources->topLevelItem(0)->text(1), QString("User"));
        QCOMPARE(sources->topLevelItem(1)->text(1), QString("System"));
        QCOMPARE(items(d.driverList()), QStringList({"SQLite3", "Odd}Name"}));
        QVERIFY(!d.okButton()->isEnabled());  // nothing to connect with yet
        showDialog(d);
        const auto sourceAt = [sources](int i) {
            return sources->visualItemRect(sources->topLevelItem(i)).center();
        };
        QTest::mouseClick(sources->viewport(), Qt::LeftButton, {}, sourceAt(1));
        QCOMPARE(d.connectionBox()->text(), QString("DSN=Ledger;"));
        QVERIFY(d.okButton()->isEnabled());
        // A driver replaces the source, and the other list lets go of its choice.
        clickRow(d.driverList(), 1);
        QCOMPARE(d.connectionBox()->text(), QString("DRIVER={Odd}}Name};"));
        QVERIFY(sources->currentItem() == nullptr);
        // Blanks alone do not count as a string.
        QTest::keyClick(d.connectionBox(), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(d.connectionBox(), "   ");
        QVERIFY(!d.okButton()->isEnabled());
        // A double click on a source is its choice and OK.
        QTest::mouseClick(sources->viewport(), Qt::LeftButton, {}, sourceAt(0));
        QVERIFY(d.driverList()->currentItem() == nullptr);
        QTest::mouseDClick(sources->viewport(), Qt::LeftButton, {}, sourceAt(0));
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QCOMPARE(d.connectionString(), QString("DSN=Sales;"));
    }

    // Cancel, and OK on a string of blanks, end in the cancel message; a
    // driver's refusal is said once after the prefix, followed by the driver
    // manager's own words. The window stays fresh.
    void sourceErrorsAreShownAfterThePrefix_data() {
        QTest::addColumn<QString>("connection");  // null: Cancel
        QTest::addColumn<QString>("words");       // after the prefix, or among the driver's
        const QString cancelled = kCancelled.section(": ", 1);
        QTest::newRow("Cancel") << QString() << cancelled;
        QTest::newRow("OK on blanks") << "  " << cancelled;
        QTest::newRow("unknown driver") << "DRIVER={No Such Driver 42};"
                                        << "No Such Driver 42";
        QTest::newRow("unknown source") << "DSN=NoSuchSource42;"
                                        << "Data source name not found";
    }
    void sourceErrorsAreShownAfterThePrefix() {
        QFETCH(QString, connection);
        QFETCH(QString, words);
        Frmdata w(false);
        Dialogs::setNextDialogAction([connection](QDialog& d) {
            if (connection.isNull()) return child<QPushButton>(d, "cmdCancel")->click();
            child<QLineEdit>(d, "txtConnect")->setText(connection);
            if (connection.trimmed().isEmpty()) return d.accept();  // OK is off for blanks
            child<QPushButton>(d, "cmdOK")->click();
        });
        w.action("mnuDBOODBC")->trigger();
        QCOMPARE(Dialogs::shown().size(), 2);
        QCOMPARE(lastShown()->icon, QMessageBox::Warning);
        const QString text = lastMessageText();
        QCOMPARE(text.count("Error Opening DataSource: "), 1);
        if (connection.trimmed().isEmpty())
            QCOMPARE(text, "Error Opening DataSource: " + words);
        else
            QVERIFY2(text.startsWith("Error Opening DataSource: ") && text.contains("[unixODBC]") &&
                         text.contains(words),
                     qPrintable(text));
        checkFreshOdbcWindow(w);
        QVERIFY(w.database() == nullptr);
    }

    // Tables, then views, without the hidden names; a double click loads a
    // table with a blank in its name, and a view with text beyond ASCII; a
    // later open forgets the source.
    void listedTablesAndViewsLoadOnDoubleClick() {
        REQUIRE_SQLITE_DRIVER();
        Frmdata w(false);
        w.show();
        bool driverOffered = false;
        // As a user would: pick the driver, complete the string, OK.
        Dialogs::setNextDialogAction([&](QDialog& d) {
            auto* drivers = child<QListWidget>(d, "lstDrivers");
            const auto found = drivers->findItems("SQLite3", Qt::MatchExactly);
            driverOffered = !found.isEmpty();
            if (driverOffered) drivers->setCurrentItem(found.first());
            auto* box = child<QLineEdit>(d, "txtConnect");
            box->setText(box->text() + "Database=" + file_ + ";");
            child<QPushButton>(d, "cmdOK")->click();
        });
        w.action("mnuDBOODBC")->trigger();
        QVERIFY(driverOffered);
        QVERIFY2(lastShown() == nullptr, qPrintable(lastMessageText()));
        QListWidget* list = w.odbcTableList();
        QCOMPARE(items(list),
                 QStringList({"Orders", "Order Details", "msy", "Alpha", "Big Orders", "Cheap"}));
        QVERIFY(list->isVisible() && !w.tableList()->isVisible());
        QCOMPARE(list->currentRow(), 0);
        // Selection only: the start-up sheet is still there.
        QCOMPARE(w.state().sheet.cellText(0, 0), std::string("Element 1"));
        QVERIFY(QString::fromStdString(w.state().odbcConnection).contains(file_));

        w.state().sheetchanged = false;
        doubleClickRow(list, 1);
        QVERIFY2(lastShown() == nullptr, qPrintable(lastMessageText()));
        const DataSheet& sheet = w.state().sheet;
        QCOMPARE(sheet.rows(), 3);
        QCOMPARE(sheetRow(sheet, 0), split("line|qty|descr"));
        QCOMPARE(sheetRow(sheet, 2), split("2||Red ink"));
        QVERIFY(w.state().sheetchanged);
        doubleClickRow(list, 4);
        QCOMPARE(sheet.rows(), 2);
        QCOMPARE(sheetRow(sheet, 1), split("2|Кофе|12.25|decaf"));

        // Each open forgets the source before: a cancelled one, a file database.
        w.mnuDBOODBC();  // unanswered: cancelled
        QCOMPARE(lastMessageText(), kCancelled);
        checkFreshOdbcWindow(w);
        QVERIFY(!w.loadOdbcListEntry(0));
        answerSource("DRIVER=SQLite3;Database=" + file_ + ";");
        w.mnuDBOODBC();
        QVERIFY(w.odbcTableList()->count() > 0);
        w.action("mnuDBOText")->trigger();  // open dialog unanswered: cancelled
        QCOMPARE(w.state().sourceKind, SourceKind::FileDatabase);
        QCOMPARE(w.odbcTableList()->count(), 0);
        QVERIFY(w.state().odbcConnection.empty());
        QVERIFY(!w.odbcTableList()->isVisibleTo(w.tableListPanel()));
        QVERIFY(w.tableList()->isVisibleTo(w.tableListPanel()));
    }

    void aFailedLoadShowsTheErrorAndKeepsTheSheet() {
        REQUIRE_SQLITE_DRIVER();
        QTemporaryDir dir;
        const QString file = dir.filePath("shrinking.sqlite");
        runSqlite(file,
                  "create table Keep(a text); insert into Keep values('kept');"
                  "create table Gone(b text);");
        Frmdata w(false);
        w.show();
        answerSource("DRIVER=SQLite3;Database=" + file + ";");
        w.mnuDBOODBC();
        QCOMPARE(items(w.odbcTableList()), QStringList({"Keep", "Gone"}));
        QVERIFY(w.loadOdbcListEntry(0));
        runSqlite(file, "drop table Gone;");
        w.state().sheetchanged = false;
        doubleClickRow(w.odbcTableList(), 1);
        QVERIFY2(lastMessageText().contains("Gone"), qPrintable(lastMessageText()));
        QCOMPARE(sheetRow(w.state().sheet, 1), QStringList({"kept"}));
        QVERIFY(!w.state().sheetchanged);
    }

    // The Btrieve dictionary's names read in the chosen code page, in code
    // page 437 when OK is pressed on the first offer; Cancel opens nothing.
    void btrieveDictionaryReadInTheChosenCodePage() {
        const QString ddf = QStringLiteral(ROWQUILL_FIXTURES) + "/btrieve/doclife/FILE.DDF";
        if (!QFile::exists(ddf)) QSKIP("the fixtures are not present");
        Frmdata w(false);
        w.show();
        const auto open = [&](int codePage, const char* button) {
            Dialogs::clear();
            Dialogs::setNextFileName(ddf);
            Dialogs::setNextDialogAction([=](QDialog& d) {
                auto* box = child<QComboBox>(d, "cboCodePage");
                if (codePage) box->setCurrentIndex(box->findData(codePage));
                child<QPushButton>(d, button)->click();
            });
            w.action("mnuDBOBtrieve")->trigger();
            QVERIFY2(lastShown() == nullptr, qPrintable(lastMessageText()));
        };
        open(0, "cmdOK");
        // The bytes of "Статьи_расходов" read as code page 437.
        QVERIFY(items(w.tableList()).contains(QString::fromUtf8("æΓáΓ∞¿_αáßσ«ñ«ó")));
        open(866, "cmdOK");
        const QStringList names = items(w.tableList());
        QVERIFY(names.contains("Статьи_расходов"));
        doubleClickRow(w.tableList(), static_cast<int>(names.indexOf("Справочник_районов")));
        QCOMPARE(w.state().sheet.rows(), 25);
        QCOMPARE(w.state().sheet.cellText(0, 1), std::string("Наименование_района"));
        QCOMPARE(w.state().sheet.cellText(24, 1), std::string("Центральный"));
        open(866, "cmdCancel");
        QCOMPARE(w.tableList()->count(), 0);
        QVERIFY(w.database() == nullptr);
    }

  private:
    QTemporaryDir dir_;
    QString file_;
    bool haveDriver_ = false;
};

QTEST_MAIN(OdbcWindowTest)
#include "test_odbcwindow.moc"
