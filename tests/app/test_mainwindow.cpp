// The main window: start-up state, menus and toolbars, the view switch,
// opening databases (through the file dialog, the password loop, the error
// boxes, the program's argument), loading a table, no output over the file
// the open database reads, help and About.

#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/helpwindow.h"
#include "app/layouttreemodel.h"
#include "app/layoutview.h"
#include "app/sheetmodel.h"
#include "fakedatabase.h"
#include "layouthelpers.h"

using namespace rq;
using namespace rq::ui;
using namespace rq::testing;

namespace {

// Answers the next password dialog by typing text and pressing a button.
void answerPassword(const QString& text, const char* button) {
    Dialogs::setNextDialogAction([text, button](QDialog& d) {
        QCOMPARE(d.findChild<QLineEdit*>("txtPassword")->echoMode(), QLineEdit::Password);
        d.findChild<QLineEdit*>("txtPassword")->setText(text);
        d.findChild<QPushButton*>(button)->click();
    });
}

// The fresh window: five element columns over nineteen empty rows, the
// layout not built, the Data Grid shown, no database.
void checkStartState(Frmdata& w) {
    QCOMPARE(w.sheetModel()->rowCount(), 19);
    QCOMPARE(w.state().sheet.rows(), 20);
    QCOMPARE(sheetRow(w.state().sheet, 0),
             QStringList({"Element 1", "Element 2", "Element 3", "Element 4", "Element 5"}));
    for (int r = 1; r < 20; ++r) QCOMPARE(sheetRow(w.state().sheet, r), QStringList(5, QString()));
    QVERIFY(w.state().sheetchanged);
    QCOMPARE(w.layoutView()->model()->rowCount(), 0);
    QCOMPARE(w.views()->currentIndex(), 0);
    QCOMPARE(w.statusViewPanel()->text(), QString("Data Grid"));
    QVERIFY(w.tableListPanel()->isHidden());
    QCOMPARE(w.tableList()->count(), 0);
    QCOMPARE(w.database(), nullptr);
}

}  // namespace

class MainWindowTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        Dialogs::setTestMode(true);
        setDesktopBrowserForTests(true);
    }
    void init() { Dialogs::clear(); }

    void startsWithFiveElementColumnsAndPressingACellShowsThePosition() {
        Frmdata w(false);
        w.show();
        checkStartState(w);
        QCOMPARE(w.statusTextPanel()->text(), QString("Current Row:1 Column:0"));
        // Tag commands wait for a selected tag, the table list for a database.
        QVERIFY(!w.action("mnuelent")->isEnabled());
        emit w.menu("mnuview")->aboutToShow();
        QVERIFY(!w.action("mnutablelist")->isEnabled());
        QTableView* grid = w.grid();
        const QRect cell = grid->visualRect(w.sheetModel()->index(2, 3));
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, cell.center());
        QCOMPARE(w.statusTextPanel()->text(), QString("Current Row:3 Column:3"));
        QCOMPARE(w.state().sheet.row(), 3);
        QCOMPARE(w.state().sheet.col(), 3);
    }

    void layoutIsBuiltOnceAndAgainAfterSheetChanged() {
        Frmdata w(false);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        clickTab(w.views(), 1);
        QCOMPARE(w.views()->currentIndex(), 1);
        QCOMPARE(w.statusViewPanel()->text(), QString("XML Layout"));
        QVERIFY(w.menu("mnueditw")->menuAction()->isVisible());
        QVERIFY(!w.menu("mnuedit")->menuAction()->isVisible());
        QVERIFY(!w.state().sheetchanged);
        QTreeView* tree = w.layoutView()->treeView();
        QAbstractItemModel* m = tree->model();
        QCOMPARE(m->index(0, 0).data().toString(), QString("<?xml version=\"1.0\"?>"));
        QCOMPARE(treeShape(w.layoutView()),
                 QString("<document>{<row>{<Element_1>,<Element_2>,<Element_3>,<Element_4>,"
                         "<Element_5>}}"));
        const QModelIndex row = m->index(0, 0, m->index(0, 0, m->index(0, 0)));
        QVERIFY(tree->isExpanded(row) && tree->isExpanded(row.parent()) &&
                tree->isExpanded(row.parent().parent()));
        // The model is rebuilt, so the record is looked up afresh.
        auto field = [m](int i) {
            return m->index(i, 0, m->index(0, 0, m->index(0, 0, m->index(0, 0)))).data().toString();
        };

        // A header renamed in place does not rebuild the layout.
        w.state().sheet.setCell(0, 0, "Renamed");
        clickTab(w.views(), 0);
        QCOMPARE(w.statusViewPanel()->text(), QString("Data Grid"));
        QVERIFY(w.menu("mnuedit")->menuAction()->isVisible());
        clickTab(w.views(), 1);
        QCOMPARE(field(0), QString("<Element_1>"));

        // After sheetchanged it is rebuilt from the header row.
        w.state().sheetchanged = true;
        clickTab(w.views(), 0);
        clickTab(w.views(), 1);
        QCOMPARE(field(0), QString("<Renamed>"));

        // Refresh rebuilds whatever the flag says.
        w.state().sheet.setCell(0, 1, "Order ID");
        clickTool(w.findChild<QToolBar*>("Toolbar1"), w.layoutView()->toolbarAction("Refresh"));
        QCOMPARE(field(1), QString("<Order_ID>"));
    }

    // A cancelled open leaves the fresh window (the query commands were
    // switched on before the dialog); New returns to it from a loaded table.
    void cancelledOpenAndNewLeaveTheStartState() {
        Frmdata w(false);
        w.state().sheet.setCell(1, 1, "old");
        Dialogs::setNextFileName(QString());
        w.action("mnuDBOdBASE4")->trigger();
        QCOMPARE(Dialogs::shown().size(), 1);
        QCOMPARE(Dialogs::shown()[0].kind, QString("open"));
        checkStartState(w);
        QVERIFY(w.action("mnusqlhand")->isEnabled());

        openFakeDatabase(w, 5);
        QVERIFY(w.loadListEntry(0));
        w.action("mnulayout")->trigger();
        w.action("mnunewf")->trigger();
        checkStartState(w);
        QVERIFY(!w.action("mnusqlhand")->isEnabled());
    }

    void openListsTablesThenQueriesAndDoubleClickLoads() {
        Frmdata w(false);
        w.show();
        std::vector<std::string> calls;
        w.setDatabaseOpener([&](const std::string& connect, const std::string& file,
                                const OpenOptions&) -> std::unique_ptr<Database> {
            calls.push_back(connect + "|" + file);
            return makeFakeDatabase(3);
        });
        Dialogs::setNextFileName("/data/shop.mdb");
        chooseByKeys(&w, Qt::Key_F, {Qt::Key_O, Qt::Key_M});
        QCOMPARE(calls, std::vector<std::string>({"Microsoft Access|/data/shop.mdb"}));

        QListWidget* list = w.tableList();
        // System and temporary names are hidden; the three letters "msy" are listed.
        QCOMPARE(items(list), QStringList({"Orders", "Order Details", "msy", "Totals"}));
        QCOMPARE(list->item(3)->data(Qt::UserRole).toInt(), 1);
        QCOMPARE(list->item(0)->data(Qt::UserRole).toInt(), 0);
        QCOMPARE(list->currentRow(), 0);
        QVERIFY(w.tableListPanel()->isVisible());
        // Nothing is loaded by the open itself; the column widths come from
        // the start-up headers.
        QCOMPARE(sheetRow(w.state().sheet, 0).first(), QString("Element 1"));
        QCOMPARE(w.grid()->horizontalHeader()->sectionSize(0), w.columnWidthFor("Element 1"));
        QVERIFY(w.columnWidthFor("Element 1") > w.fontMetrics().horizontalAdvance("Element 1"));
        // Hidden, the list comes back through View → Table List.
        w.hideTableList();
        QVERIFY(!w.tableListPanel()->isVisible());
        emit w.menu("mnuview")->aboutToShow();
        w.action("mnutablelist")->trigger();
        QVERIFY(w.tableListPanel()->isVisible());

        w.action("mnulayout")->trigger();
        QVERIFY(!w.state().sheetchanged);
        doubleClickRow(list, 1);
        QCOMPARE(sheetRow(w.state().sheet, 0), QStringList({"ID", "Name"}));
        QCOMPARE(w.sheetModel()->rowCount(), 3);
        QCOMPARE(w.sheetModel()->data(w.sheetModel()->index(2, 1)).toString(), QString("name 3"));
        QVERIFY(w.state().sheetchanged);
        QCOMPARE(QGuiApplication::overrideCursor(), nullptr);
    }

    void aFailedLoadKeepsTheSheet() {
        Frmdata w(false);
        openFakeDatabase(w, 3, [](FakeDatabase& db) { db.failReading = true; });
        w.state().sheetchanged = false;
        QVERIFY(!w.loadListEntry(0));
        QCOMPARE(sheetRow(w.state().sheet, 0).first(), QString("Element 1"));
        QCOMPARE(w.state().sheet.rows(), 20);
        QVERIFY(!w.state().sheetchanged);
        QCOMPARE(Dialogs::shown().last().text, QString("Could not read the table 'Orders'."));
        QCOMPARE(QGuiApplication::overrideCursor(), nullptr);
    }

    // Cancel, and OK on an empty box, stop the open without a message; a
    // wrong password is asked again until it is right.
    void passwordIsAskedUntilItIsRightOrCancelled() {
        Frmdata w(false);
        w.show();
        std::vector<std::string> tried;
        w.setDatabaseOpener([&](const std::string&, const std::string&,
                                const OpenOptions& o) -> std::unique_ptr<Database> {
            tried.push_back(o.password);
            if (o.password != "abcd1234")
                throw DatabaseError("Not a valid password.", kErrPasswordRequired);
            return makeFakeDatabase(1);
        });
        for (const char* button : {"cmdCancel", "cmdOK"}) {
            Dialogs::clear();
            tried.clear();
            Dialogs::setNextFileName("/data/locked.mdb");
            answerPassword(button == std::string("cmdOK") ? QString() : QString("typed"), button);
            w.action("mnuDBOMDB")->trigger();
            QCOMPARE(tried.size(), 1u);
            QCOMPARE(w.database(), nullptr);
            QCOMPARE(w.tableList()->count(), 0);
            QCOMPARE(Dialogs::shown().last().kind, QString("dialog"));
        }
        Dialogs::clear();
        tried.clear();
        Dialogs::setNextFileName("/data/locked.mdb");
        answerPassword("wrong", "cmdOK");
        answerPassword("abcd1234", "cmdOK");
        chooseByKeys(&w, Qt::Key_F, {Qt::Key_O, Qt::Key_M});
        QCOMPARE(tried, std::vector<std::string>({"", "wrong", "abcd1234"}));
        QVERIFY(w.database() != nullptr);
        QCOMPARE(w.tableList()->count(), 4);
        QCOMPARE(countShown("dialog"), 2);
        QCOMPARE(lastShown("dialog")->title, QString("Password Required"));
        QCOMPARE(countShown("message"), 0);
    }

    void aFileThatIsNoDatabaseGivesTheFormatErrorAndTheOdbcQuestion() {
        QTemporaryDir dir;
        const QString file = dir.filePath("notes.mdb");
        QVERIFY(writeFile(file, QByteArray(4096, 'x')));
        Frmdata w(false);
        Dialogs::setNextFileName(file);
        w.action("mnuDBOMDB")->trigger();
        const QList<ShownDialog>& shown = Dialogs::shown();
        QCOMPARE(shown.size(), 3);
        QCOMPARE(shown[1].kind, QString("message"));
        QVERIFY2(shown[1].text.contains(file), qPrintable(shown[1].text));
        QCOMPARE(shown[2].kind, QString("question"));
        QCOMPARE(shown[2].text, QString("You can still access this database, by using ODBC.\r\n"
                                        "Would you like any help on this topic?"));
        QCOMPARE(w.tableList()->count(), 0);
        QVERIFY(Dialogs::openedUrls().isEmpty());  // No: nothing more
        // Yes opens the ODBC help page.
        Dialogs::clear();
        Dialogs::setNextFileName(file);
        Dialogs::setNextAnswer(QMessageBox::Ok);
        Dialogs::setNextAnswer(QMessageBox::Yes);
        w.action("mnuDBOMDB")->trigger();
        QCOMPARE(Dialogs::openedUrls().size(), 1);
        QVERIFY(Dialogs::openedUrls()[0].toLocalFile().endsWith(
            "/helpfiles/help_rowquill/how to open odbc/odbc.htm"));
    }

    void theProgramArgumentOpensATextTableAndLoadsIt() {
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath("aaa.csv"), "x\n1\n"));
        QVERIFY(writeFile(dir.filePath("orders.csv"), "id,customer\n1,Ann\n2,Bob\n"));
        Frmdata w(false);
        w.openAtStart(dir.filePath("orders.csv"));
        QCOMPARE(Dialogs::shown().size(), 0);  // no file dialog, no error
        QCOMPARE(w.tableList()->count(), 2);
        QCOMPARE(w.tableList()->currentItem()->text(), QString("orders#csv"));
        QCOMPARE(sheetRow(w.state().sheet, 0), QStringList({"id", "customer"}));
        QCOMPARE(w.sheetModel()->rowCount(), 2);
        QCOMPARE(w.state().sheet.cellText(2, 1), std::string("Bob"));
        QVERIFY(w.state().sheetchanged);

        // Neither Save As nor the text export writes over the file the open
        // database reads: each refuses it and asks for another name, here cancelled.
        const QByteArray before = readAll(dir.filePath("orders.csv"));
        w.showGenerateView();
        GenerateView* g = w.generateView();
        g->singleAction("node")->trigger();
        QVERIFY(g->hasDocument());
        for (QAction* save : {g->singleAction("Save"), w.action("mnuexporttxt")}) {
            Dialogs::clear();
            Dialogs::setNextFileName(dir.filePath("orders.csv"));
            Dialogs::setNextAnswer(QMessageBox::Yes);
            Dialogs::setNextFileName(QString());
            save->trigger();
            QCOMPARE(readAll(dir.filePath("orders.csv")), before);
            QCOMPARE(countShown("save"), 2);
            QVERIFY(lastShown()->text.contains("is a file the open database reads"));
        }
    }

    void helpMenuOpensOurPages() {
        Frmdata w(false);
        w.show();
        chooseByKeys(&w, Qt::Key_H, {Qt::Key_C});
        chooseByKeys(&w, Qt::Key_H, {Qt::Key_I});
        w.action("mnututorial")->trigger();
        const QList<QUrl> urls = Dialogs::openedUrls();
        QCOMPARE(urls.size(), 3);
        // No pages beside the test program: those of an installed tree.
        const QString dir =
            QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../share/rowquill/help");
        QCOMPARE(urls[0].toLocalFile(), dir + "/helpfiles/help_rowquill/sitemap.html");
        QCOMPARE(urls[1].toLocalFile(), dir + "/helpfiles/help_rowquill/alpind.html");
        QCOMPARE(urls[2].toLocalFile(), dir + "/tutorial/tutoriallibrary.htm");

        // Without a desktop browser the pages open in the program's own window.
        setDesktopBrowserForTests(false);
        w.action("mnucontenets")->trigger();
        w.action("mnuindex")->trigger();
        setDesktopBrowserForTests(true);
        QCOMPARE(Dialogs::openedUrls().size(), 3);
        const auto windows = w.findChildren<HelpWindow*>();
        QCOMPARE(windows.size(), 1);
        QVERIFY(windows[0]->isVisible());
        QVERIFY(windows[0]->browser()->source().toLocalFile().endsWith(
            "/helpfiles/help_rowquill/alpind.html"));
    }

    void aboutBoxShowsNameAndVersion() {
        Frmdata w(false);
        QStringList texts;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            for (QLabel* l : d.findChildren<QLabel*>()) texts << l->text();
            d.findChild<QPushButton*>("cmdOK")->click();
        });
        w.action("mnuabout")->trigger();
        QCOMPARE(Dialogs::shown().last().title, QString("About - Nubro Rowquill"));
        QCOMPARE(Dialogs::shown().last().text, QString("frmAbout"));
        QVERIFY(texts.contains("Nubro Rowquill"));
        QVERIFY(texts.contains("Version 1.0.0"));
    }

    void aMillionRecordsOpenWithoutPerRowWork() {
        Frmdata w(false);
        w.show();
        DataSheet& sheet = w.state().sheet;
        sheet.reset({"ID", "Name"});
        sheet.reserveRecords(1000000);
        for (int i = 1; i <= 1000000; ++i) {
            const std::string id = std::to_string(i);
            const std::string_view cells[] = {id, "x"};
            sheet.appendRecord(cells, 2);
        }
        w.sheetModel()->reload();
        QCOMPARE(w.sheetModel()->rowCount(), 1000000);
        w.grid()->scrollToBottom();
        QCoreApplication::processEvents();
        const QModelIndex last = w.sheetModel()->index(999999, 0);
        QCOMPARE(w.sheetModel()->data(last).toString(), QString("1000000"));
        QVERIFY(w.grid()->visualRect(last).isValid());
        QCOMPARE(w.grid()->verticalHeader()->sectionResizeMode(0), QHeaderView::Fixed);
    }
};

QTEST_MAIN(MainWindowTest)
#include "test_mainwindow.moc"
