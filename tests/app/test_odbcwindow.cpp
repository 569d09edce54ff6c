// The "&ODBC..." command: the data-source dialog, the error boxes, the table
// list of an ODBC source and loading a table from it (over the SQLite ODBC
// driver); and the code page asked for when a Btrieve dictionary is opened.
#include <sqlite3.h>
#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QtTest>

#include "app/codepagedialog.h"
#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/odbcsourcedialog.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;
using rq::testing::clickRow;
using rq::testing::doubleClickRow;
using rq::testing::items;
using rq::testing::sheetRow;

#define REQUIRE_SQLITE_DRIVER() \
    if (!haveDriver_) QSKIP("the SQLite3 ODBC driver is not installed (odbcinst -q -d)")

namespace {

const QString kCancelled =
    QStringLiteral("Error Opening DataSource: The choice of a data source was cancelled.");

bool sqliteDriverInstalled() {
    QProcess p;
    p.start(QStringLiteral("odbcinst"), {QStringLiteral("-q"), QStringLiteral("-d")});
    if (!p.waitForFinished(10000)) return false;
    return QString::fromUtf8(p.readAllStandardOutput())
        .split(QLatin1Char('\n'))
        .contains(QStringLiteral("[SQLite3]"));
}

// Runs SQL on a SQLite file directly, without the driver under test.
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

// Answers the next data-source dialog by writing the connection string and
// pressing a button.
void answerSource(const QString& connection, const char* button = "cmdOK") {
    Dialogs::setNextDialogAction([connection, button](QDialog& d) {
        d.findChild<QLineEdit*>("txtConnect")->setText(connection);
        d.findChild<QPushButton*>(button)->click();
    });
}

// Answers the next code page dialog with the given code page (0: Cancel).
void answerCodePage(int codePage) {
    Dialogs::setNextDialogAction([codePage](QDialog& d) {
        if (codePage == 0) {
            d.findChild<QPushButton*>("cmdCancel")->click();
            return;
        }
        auto* box = d.findChild<QComboBox*>("cboCodePage");
        box->setCurrentIndex(box->findData(codePage));
        d.findChild<QPushButton*>("cmdOK")->click();
    });
}

const ShownDialog* lastMessage() {
    const auto& shown = Dialogs::shown();
    for (auto it = shown.rbegin(); it != shown.rend(); ++it)
        if (it->kind == QLatin1String("message")) return &*it;
    return nullptr;
}

QString lastMessageText() {
    const ShownDialog* m = lastMessage();
    return m ? m->text : QString();
}

void checkFreshOdbcWindow(Frmdata& w) {
    QCOMPARE(w.state().sourceKind, SourceKind::Odbc);
    QCOMPARE(w.odbcTableList()->count(), 0);
    QVERIFY(w.tableListPanel()->isHidden());
    QVERIFY(w.state().odbcConnection.empty());
    QCOMPARE(w.state().sheet.cols(), 5);
    QCOMPARE(w.state().sheet.cellText(0, 0), std::string("Element 1"));
    // The query commands are on even though nothing was opened.
    QVERIFY(w.action("mnusqlhand")->isEnabled());
    QVERIFY(w.action("mnuvissql")->isEnabled());
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

    // ---- the data-source dialog itself ----------------------------------

    void sourceDialogFillsTheStringFromTheChoice() {
        OdbcSourceDialog d({{"Sales", "SQLite3", false}, {"Ledger", "PostgreSQL Unicode", true}},
                           {{"SQLite3", {}}, {"Odd}Name", {}}});
        QTreeWidget* sources = d.sourceList();
        QCOMPARE(sources->topLevelItemCount(), 2);
        QCOMPARE(sources->topLevelItem(0)->text(0), QString("Sales"));
        QCOMPARE(sources->topLevelItem(0)->text(1), QString("User"));
        QCOMPARE(sources->topLevelItem(1)->text(1), QString("System"));
        QCOMPARE(sources->topLevelItem(1)->text(2), QString("PostgreSQL Unicode"));
        QCOMPARE(items(d.driverList()), QStringList({"SQLite3", "Odd}Name"}));
        // Nothing to connect with yet.
        QVERIFY(!d.okButton()->isEnabled());

        d.show();
        QVERIFY(QTest::qWaitForWindowExposed(&d));
        const auto clickSource = [sources](int i) {
            const QRect rect = sources->visualItemRect(sources->topLevelItem(i));
            QTest::mouseClick(sources->viewport(), Qt::LeftButton, {}, rect.center());
        };
        clickSource(1);
        QCOMPARE(d.connectionBox()->text(), QString("DSN=Ledger;"));
        QVERIFY(d.okButton()->isEnabled());

        // A driver replaces the source, and the other list lets go of its choice.
        clickRow(d.driverList(), 1);
        QCOMPARE(d.connectionBox()->text(), QString("DRIVER={Odd}}Name};"));
        QVERIFY(sources->currentItem() == nullptr);
        clickSource(0);
        QCOMPARE(d.connectionBox()->text(), QString("DSN=Sales;"));
        QVERIFY(d.driverList()->currentItem() == nullptr);

        // Blanks alone do not count as a string.
        QLineEdit* box = d.connectionBox();
        QTest::keyClick(box, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(box, "   ");
        QCOMPARE(box->text(), QString("   "));
        QVERIFY(!d.okButton()->isEnabled());
    }

    void sourceDialogOkKeepsTheEditedStringCancelForgetsIt() {
        {
            OdbcSourceDialog d({}, {{"SQLite3", {}}});
            d.driverList()->setCurrentRow(0);
            d.connectionBox()->setText(d.connectionBox()->text() + "Database=/tmp/a b.db; ");
            d.okButton()->click();
            QCOMPARE(d.result(), int(QDialog::Accepted));
            QCOMPARE(d.connectionString(), QString("DRIVER={SQLite3};Database=/tmp/a b.db;"));
        }
        {
            OdbcSourceDialog d({}, {{"SQLite3", {}}});
            d.connectionBox()->setText("DSN=x;");
            d.findChild<QPushButton*>("cmdCancel")->click();
            QCOMPARE(d.result(), int(QDialog::Rejected));
            QVERIFY(d.connectionString().isEmpty());
        }
        {
            // A double click on a source is its choice and OK.
            OdbcSourceDialog d({{"Sales", "SQLite3", false}}, {});
            QTreeWidget* sources = d.sourceList();
            d.show();
            QVERIFY(QTest::qWaitForWindowExposed(&d));
            const QRect rect = sources->visualItemRect(sources->topLevelItem(0));
            QTest::mouseClick(sources->viewport(), Qt::LeftButton, {}, rect.center());
            QTest::mouseDClick(sources->viewport(), Qt::LeftButton, {}, rect.center());
            QCOMPARE(d.result(), int(QDialog::Accepted));
            QCOMPARE(d.connectionString(), QString("DSN=Sales;"));
        }
    }

    // ---- opening through the window -------------------------------------

    // Cancel, and OK on a string of blanks, both end in the same message.
    void cancellingTheSourceDialogGivesTheCancelMessage_data() {
        QTest::addColumn<bool>("blankOk");
        QTest::newRow("Cancel") << false;
        QTest::newRow("OK on blanks") << true;
    }
    void cancellingTheSourceDialogGivesTheCancelMessage() {
        QFETCH(bool, blankOk);
        Frmdata w(false);
        Dialogs::setNextDialogAction([blankOk](QDialog& d) {
            if (!blankOk) {
                d.findChild<QPushButton*>("cmdCancel")->click();
                return;
            }
            d.findChild<QLineEdit*>("txtConnect")->setText("  ");
            d.accept();
        });
        w.action("mnuDBOODBC")->trigger();
        const auto& shown = Dialogs::shown();
        QCOMPARE(shown.size(), 2);
        QCOMPARE(shown[0].kind, QString("dialog"));
        QCOMPARE(shown[0].text, QString("frmOdbcSource"));
        QCOMPARE(shown[1].kind, QString("message"));
        QCOMPARE(shown[1].title, QString("Nubro Rowquill"));
        QCOMPARE(shown[1].icon, QMessageBox::Warning);
        QCOMPARE(shown[1].text, kCancelled);
        checkFreshOdbcWindow(w);
        QVERIFY(w.database() == nullptr);
    }

    void driverErrorsAreShownAfterThePrefix_data() {
        QTest::addColumn<QString>("connection");
        QTest::addColumn<QString>("diagnostic");
        QTest::newRow("unknown driver") << "DRIVER={No Such Driver 42};"
                                        << "No Such Driver 42";
        QTest::newRow("unknown source") << "DSN=NoSuchSource42;"
                                        << "Data source name not found";
    }
    void driverErrorsAreShownAfterThePrefix() {
        QFETCH(QString, connection);
        QFETCH(QString, diagnostic);
        Frmdata w(false);
        answerSource(connection);
        w.mnuDBOODBC();
        const ShownDialog* m = lastMessage();
        QVERIFY(m);
        QCOMPARE(m->icon, QMessageBox::Warning);
        QCOMPARE(m->title, QString("Nubro Rowquill"));
        QVERIFY2(m->text.startsWith("Error Opening DataSource: "), qPrintable(m->text));
        // Said once, followed by the driver manager's own words.
        QCOMPARE(m->text.count("Error Opening DataSource: "), 1);
        QVERIFY2(m->text.contains("[unixODBC]"), qPrintable(m->text));
        QVERIFY2(m->text.contains(diagnostic), qPrintable(m->text));
        checkFreshOdbcWindow(w);
    }

    void tablesThenViewsAreListedWithoutHiddenNames() {
        REQUIRE_SQLITE_DRIVER();
        Frmdata w(false);
        w.show();
        bool driverOffered = false;
        // As a user would: pick the driver, complete the string, OK.
        Dialogs::setNextDialogAction([&](QDialog& d) {
            auto* drivers = d.findChild<QListWidget*>("lstDrivers");
            const auto found = drivers->findItems("SQLite3", Qt::MatchExactly);
            driverOffered = !found.isEmpty();
            if (driverOffered) drivers->setCurrentItem(found.first());
            auto* box = d.findChild<QLineEdit*>("txtConnect");
            box->setText(box->text() + "Database=" + file_ + ";");
            d.findChild<QPushButton*>("cmdOK")->click();
        });
        w.action("mnuDBOODBC")->trigger();
        QVERIFY(driverOffered);
        QVERIFY2(lastMessage() == nullptr, qPrintable(lastMessageText()));

        QListWidget* list = w.odbcTableList();
        QCOMPARE(items(list),
                 QStringList({"Orders", "Order Details", "msy", "Alpha", "Big Orders", "Cheap"}));
        QVERIFY(list->isVisible());
        QVERIFY(!w.tableList()->isVisible());
        QVERIFY(w.tableListPanel()->isVisible());
        QCOMPARE(list->currentRow(), 0);
        // Selection only: the start-up sheet is still there, sized by colwd.
        QCOMPARE(w.state().sheet.cellText(0, 0), std::string("Element 1"));
        QCOMPARE(w.grid()->columnWidth(0), w.columnWidthFor("Element 1"));
        // The completed string names the file, and the query commands are on.
        const QString saved = QString::fromStdString(w.state().odbcConnection);
        QVERIFY2(saved.contains(file_), qPrintable(saved));
        QVERIFY(w.action("mnusqlhand")->isEnabled());
        QVERIFY(w.database() != nullptr);
    }

    void doubleClickLoadsATableWithABlankInItsName() {
        REQUIRE_SQLITE_DRIVER();
        Frmdata w(false);
        w.show();
        answerSource("DRIVER=SQLite3;Database=" + file_ + ";");
        w.mnuDBOODBC();
        QListWidget* list = w.odbcTableList();
        QCOMPARE(list->item(1)->text(), QString("Order Details"));
        w.state().sheetchanged = false;
        doubleClickRow(list, 1);
        QVERIFY2(lastMessage() == nullptr, qPrintable(lastMessageText()));
        const DataSheet& sheet = w.state().sheet;
        QCOMPARE(sheet.rows(), 3);
        QCOMPARE(sheetRow(sheet, 0), QStringList({"line", "qty", "descr"}));
        QCOMPARE(sheetRow(sheet, 1), QStringList({"1", "3", "Blue pen"}));
        QCOMPARE(sheetRow(sheet, 2), QStringList({"2", "", "Red ink"}));
        QVERIFY(w.state().sheetchanged);

        // A view loads the same way; text outside ASCII arrives whole.
        doubleClickRow(list, 4);
        QCOMPARE(items(list).at(4), QString("Big Orders"));
        QCOMPARE(sheet.rows(), 2);
        QCOMPARE(sheetRow(sheet, 0), QStringList({"id", "item", "price", "note"}));
        QCOMPARE(sheetRow(sheet, 1), QStringList({"2", "Кофе", "12.25", "decaf"}));
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
        Dialogs::clear();
        doubleClickRow(w.odbcTableList(), 1);
        const ShownDialog* m = lastMessage();
        QVERIFY(m);
        QCOMPARE(m->icon, QMessageBox::Warning);
        QVERIFY2(m->text.contains("Gone"), qPrintable(m->text));
        QCOMPARE(sheetRow(w.state().sheet, 0), QStringList({"a"}));
        QCOMPARE(sheetRow(w.state().sheet, 1), QStringList({"kept"}));
        QVERIFY(!w.state().sheetchanged);
    }

    void reopeningAndCancellingForgetsThePreviousSource() {
        REQUIRE_SQLITE_DRIVER();
        Frmdata w(false);
        answerSource("DRIVER=SQLite3;Database=" + file_ + ";");
        w.mnuDBOODBC();
        QVERIFY(w.loadOdbcListEntry(0));
        QCOMPARE(w.state().sheet.cellText(0, 1), std::string("item"));
        Dialogs::clear();
        w.mnuDBOODBC();  // unanswered: cancelled
        QVERIFY(lastMessage());
        QCOMPARE(lastMessage()->text, kCancelled);
        checkFreshOdbcWindow(w);
        QVERIFY(!w.loadOdbcListEntry(0));
    }

    void aSourceWithNothingInItGivesAnEmptyList() {
        REQUIRE_SQLITE_DRIVER();
        QTemporaryDir dir;
        const QString file = dir.filePath("empty.sqlite");
        runSqlite(file, "create table MSysOnly(x); create view [~view] as select 1 as one;");
        Frmdata w(false);
        answerSource("DRIVER=SQLite3;Database=" + file + ";");
        w.mnuDBOODBC();
        QVERIFY(lastMessage() == nullptr);
        QCOMPARE(w.odbcTableList()->count(), 0);
        QCOMPARE(w.odbcTableList()->currentRow(), -1);
        QVERIFY(!w.state().odbcConnection.empty());
    }

    void openingAFileDatabaseAfterwardsSwitchesTheList() {
        REQUIRE_SQLITE_DRIVER();
        Frmdata w(false);
        w.show();
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

    // ---- the Btrieve code page ------------------------------------------

    void codePageDialogStartsOnTheUsDosPageAndCancelChoosesNone() {
        CodePageDialog d;
        QComboBox* box = d.choiceBox();
        QCOMPARE(box->currentData().toInt(), 437);
        QCOMPARE(d.codePage(), 0);
        box->setCurrentIndex(3);
        d.findChild<QPushButton*>("cmdCancel")->click();
        QCOMPARE(d.codePage(), 0);
    }

    void btrieveDictionaryReadInTheChosenCodePage() {
        const QString ddf = QStringLiteral(ROWQUILL_FIXTURES) + "/btrieve/doclife/FILE.DDF";
        if (!QFile::exists(ddf)) QSKIP("the fixtures are not present");
        Frmdata w(false);
        w.show();
        Dialogs::setNextFileName(ddf);
        answerCodePage(866);
        w.action("mnuDBOBtrieve")->trigger();
        QVERIFY2(lastMessage() == nullptr, qPrintable(lastMessageText()));
        const QStringList names = items(w.tableList());
        QVERIFY(names.contains("Статьи_расходов"));
        const int row = static_cast<int>(names.indexOf("Справочник_районов"));
        QVERIFY(row >= 0);
        doubleClickRow(w.tableList(), row);
        const DataSheet& sheet = w.state().sheet;
        QCOMPARE(sheet.rows(), 25);
        QCOMPARE(sheet.cellText(0, 1), std::string("Наименование_района"));
        QCOMPARE(sheet.cellText(24, 1), std::string("Центральный"));
    }

    void btrieveDefaultsToTheUsDosPageAndCancelOpensNothing() {
        const QString ddf = QStringLiteral(ROWQUILL_FIXTURES) + "/btrieve/doclife/FILE.DDF";
        if (!QFile::exists(ddf)) QSKIP("the fixtures are not present");
        Frmdata w(false);
        Dialogs::setNextFileName(ddf);
        Dialogs::setNextDialogAction(
            [](QDialog& d) { d.findChild<QPushButton*>("cmdOK")->click(); });
        w.action("mnuDBOBtrieve")->trigger();
        // The bytes of "Статьи_расходов" read as code page 437.
        QVERIFY(items(w.tableList()).contains(QString::fromUtf8("æΓáΓ∞¿_αáßσ«ñ«ó")));

        Dialogs::clear();
        Dialogs::setNextFileName(ddf);
        answerCodePage(0);
        w.action("mnuDBOBtrieve")->trigger();
        QCOMPARE(w.tableList()->count(), 0);
        QVERIFY(w.database() == nullptr);
        QVERIFY(lastMessage() == nullptr);
        QCOMPARE(Dialogs::shown().size(), 2);  // the file, the code page
        QCOMPARE(Dialogs::shown()[1].text, QString("frmCodePage"));
    }

  private:
    QTemporaryDir dir_;
    QString file_;
    bool haveDriver_ = false;
};

QTEST_MAIN(OdbcWindowTest)
#include "test_odbcwindow.moc"
