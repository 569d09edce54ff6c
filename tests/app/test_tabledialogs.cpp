// The Define Table wizard and the Insert Column dialog as a user drives them:
// typing, the arrow buttons, the name list, the recipe with the Row (Record)
// Properties dialog; the sheet afterwards and Undo of each edit.

#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/sheetcommands.h"
#include "app/sheetmodel.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;
using namespace rq::testing;

namespace {

QStringList column(const DataSheet& s, int c) {
    QStringList out;
    for (int r = 1; r < s.rows(); ++r) out << QString::fromStdString(s.cellText(r, c));
    return out;
}

// Three records of ID and Name.
void fill(Frmdata& w) {
    DataSheet s(4, 2);
    const char* cells[4][2] = {{"ID", "Name"}, {"1", "Ann"}, {"2", "Bob"}, {"3", "Cy"}};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 2; ++c) s.setCell(r, c, cells[r][c]);
    w.state().sheet = s;
    w.sheetModel()->reload();
}

// A shown window over those records.
struct SheetWindow : Frmdata {
    SheetWindow() : Frmdata(false) {
        show();
        fill(*this);
    }
};

// The controls of a dialog a screen reader could not name.
QStringList unnamedControls(QDialog& d) {
    QStringList out;
    for (QWidget* w : d.findChildren<QWidget*>()) {
        const bool control = qobject_cast<QAbstractButton*>(w) || qobject_cast<QLineEdit*>(w) ||
                             qobject_cast<QListWidget*>(w) || qobject_cast<QComboBox*>(w) ||
                             qobject_cast<QProgressBar*>(w);
        if (control && w->parent() != nullptr && !qobject_cast<QComboBox*>(w->parent()) &&
            (w->accessibleName().isEmpty() || w->objectName().isEmpty()))
            out << w->metaObject()->className() + QStringLiteral(" ") + w->objectName();
    }
    return out;
}

}  // namespace

class TableDialogsTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    // The number fields take digits and step with their arrows; the names
    // page lists, edits and moves the names, and Finish makes the table.
    void defineTableWizardMakesTheTable() {
        SheetWindow w;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            d.show();
            QCOMPARE(unnamedControls(d), QStringList());
            auto* rows = child<QLineEdit>(d, "updwntxt");
            auto* cols = child<QLineEdit>(d, "Text1");
            QVERIFY(!child<QPushButton>(d, "cmdok")->isEnabled());
            click(d, "cmdnext");
            QCOMPARE(lastMessageText(), QString("Please enter a value for the Row number."));

            rows->setFocus();
            QTest::keyClicks(rows, "1a-2");
            QCOMPARE(rows->text(), QString("12"));
            // Enter moves on and types nothing.
            QTest::keyClick(rows, Qt::Key_Return);
            QVERIFY(d.isVisible());
            QVERIFY(d.focusWidget() != rows);

            click(d, "cmdnext");
            QCOMPARE(lastMessageText(), QString("Please enter a value for the Column  number."));

            // Down on an empty field ends at 1, and stays there.
            for (const char* button : {"Command1", "Command1", "Command2", "cmddownk"})
                click(d, button);
            QCOMPARE(cols->text(), QString("2"));
            QCOMPARE(rows->text(), QString("11"));

            typeInto(rows, "5");
            typeInto(cols, "3");
            click(d, "cmdnext");
            auto* list = child<QListWidget>(d, "lstItems");
            auto* name = child<QLineEdit>(d, "Text2");
            auto* submit = child<QToolButton>(d, "cmdAdd");
            QVERIFY(child<QGroupBox>(d, "fraFieldNames")->isVisible());
            QCOMPARE(items(list), QStringList({"Element 1", "Element 2", "Element 3"}));

            // Click the second name, type over it, Enter: the next name is loaded.
            clickRow(list, 1);
            QCOMPARE(name->text(), QString("Element 2"));
            QVERIFY(!submit->isEnabled());
            typeInto(name, "Price");
            QTest::keyClick(name, Qt::Key_Return);
            QCOMPARE(items(list), QStringList({"Element 1", "Price", "Element 3"}));
            QCOMPARE(list->currentRow(), 2);
            QCOMPARE(name->text(), QString("Element 3"));
            // Submit on the last item keeps it selected.
            typeInto(name, "Total");
            click(d, "cmdAdd");
            QCOMPARE(list->currentRow(), 2);
            QCOMPARE(list->item(2)->text(), QString("Total"));

            // A move, seen in the table's header.
            clickRow(list, 0);
            click(d, "cmdDown");
            click(d, "cmdok");
        });
        w.action("mnunewtabledef")->trigger();
        const DataSheet& s = w.state().sheet;
        QCOMPARE(s.rows(), 5);
        QCOMPARE(sheetRow(s, 0), QStringList({"Price", "Element 1", "Total"}));
        QCOMPARE(column(s, 0), QStringList({"", "", "", ""}));
        // Widths as the window fits a header: the name's width plus 320 twips.
        QCOMPARE(w.grid()->columnWidth(2), w.columnWidthFor("Total"));

        w.sheetCommands()->undoStack()->undo();
        QCOMPARE(sheetRow(w.state().sheet, 0), QStringList({"ID", "Name"}));
        QCOMPARE(column(w.state().sheet, 1), QStringList({"Ann", "Bob", "Cy"}));

        // Cancel after filling in the numbers leaves the sheet as it was.
        Dialogs::setNextDialogAction([&](QDialog& d) {
            typeInto(child<QLineEdit>(d, "updwntxt"), "9");
            typeInto(child<QLineEdit>(d, "Text1"), "9");
            click(d, "cmdcancel");
        });
        w.action("mnunewtabledef")->trigger();
        QCOMPARE(sheetRow(w.state().sheet, 0), QStringList({"ID", "Name"}));
        QCOMPARE(column(w.state().sheet, 1), QStringList({"Ann", "Bob", "Cy"}));
    }

    void insertColumnFillsFromTheRecipeAndUndoes() {
        SheetWindow w;
        w.state().sheetchanged = false;
        QStringList recipeShown;
        int progress = -1;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            d.show();
            QCOMPARE(unnamedControls(d), QStringList());
            auto* name = child<QLineEdit>(d, "Text1");
            QTest::keyClicks(name, "Order Code.");
            QCOMPARE(name->text(), QString("Order_Code"));
            click(d, "cmdadvc");

            Dialogs::setNextDialogAction([&](QDialog& p) {
                p.show();
                QCOMPARE(unnamedControls(p), QStringList());
                QTest::keyClicks(child<QLineEdit>(p, "Text1"), "ID-");
                click(p, "OKButton");
            });
            click(d, "cmdAdd");
            Dialogs::setNextDialogAction([&](QDialog& p) {
                p.show();
                auto* fields = child<QComboBox>(p, "Combo1");
                QCOMPARE(fields->count(), 2);
                click(p, "Option2");
                fields->setFocus();
                QTest::keyClick(fields, Qt::Key_Down);
                QCOMPARE(fields->currentText(), QString("Name"));
                click(p, "OKButton");
            });
            click(d, "cmdAdd");
            auto* list = child<QListWidget>(d, "lstItems");
            QCOMPARE(items(list), QStringList({"ID-", "\"Name\""}));

            // Remove String asks first; No keeps the part.
            clickRow(list, 1);
            Dialogs::setNextAnswer(QMessageBox::No);
            click(d, "cmdDelete");
            QCOMPARE(lastShown("question")->text, QString("Delete '\"Name\"'?"));
            recipeShown = items(list);
            click(d, "OKButton");
            progress = child<QProgressBar>(d, "ProgressBar1")->value();
        });
        QCoreApplication::processEvents();
        w.grid()->setColumnWidth(0, 217);
        testing::clickTool(w.sheetToolbar(), w.sheetToolAction("insertcol"));
        QCOMPARE(w.grid()->columnWidth(0), 217);
        QCOMPARE(recipeShown, QStringList({"ID-", "\"Name\""}));
        QCOMPARE(progress, 100);
        const DataSheet& s = w.state().sheet;
        QCOMPARE(sheetRow(s, 0), QStringList({"ID", "Name", "Order_Code"}));
        QCOMPARE(column(s, 2), QStringList({"ID-Ann", "ID-Bob", "ID-Cy"}));
        QVERIFY(w.state().sheetchanged);

        w.sheetCommands()->undoStack()->undo();
        QCOMPARE(sheetRow(w.state().sheet, 0), QStringList({"ID", "Name"}));
    }

    // The column dialog: a cleared name asks for one, an empty name changes
    // nothing; Modify Column Name renames the selected column.
    void columnNamesAreAskedForAndRenamed() {
        SheetWindow w;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            d.show();
            auto* name = child<QLineEdit>(d, "Text1");
            QTest::keyClicks(name, "ab");
            Dialogs::setNextInput("x y");
            QTest::keyClick(name, Qt::Key_Backspace);
            QTest::keyClick(name, Qt::Key_Backspace);
            QCOMPARE(name->text(), QString("x_y"));  // the answer passes the name rule
            QTest::keyClicks(name, "%");
            QCOMPARE(name->text(), QString("x_y"));
            name->selectAll();
            QTest::keyClick(name, Qt::Key_Delete);  // unanswered: the box stays empty
            QCOMPARE(name->text(), QString());
            QCOMPARE(lastShown("input")->title, QString("Column Name"));
            click(d, "OKButton");
        });
        w.action("mnuColumn")->trigger();
        QCOMPARE(sheetRow(w.state().sheet, 0), QStringList({"ID", "Name"}));
        QCOMPARE(w.sheetCommands()->undoStack()->count(), 0);

        QTableView* grid = w.grid();
        QCoreApplication::processEvents();
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {},
                          grid->visualRect(w.sheetModel()->index(1, 1)).center());
        w.state().sheetchanged = false;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            auto* name = child<QLineEdit>(d, "Text1");
            QCOMPARE(name->text(), QString("Name"));
            typeInto(name, "Full Name");
            click(d, "OKButton");
        });
        w.action("mnucolmname")->trigger();
        QCOMPARE(sheetRow(w.state().sheet, 0), QStringList({"ID", "Full_Name"}));
        QCOMPARE(column(w.state().sheet, 1), QStringList({"Ann", "Bob", "Cy"}));
        QVERIFY(w.state().sheetchanged);
        w.sheetCommands()->undoStack()->undo();
        QCOMPARE(sheetRow(w.state().sheet, 0), QStringList({"ID", "Name"}));
    }
};

QTEST_MAIN(TableDialogsTest)
#include "test_tabledialogs.moc"
