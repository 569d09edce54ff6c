// The Sheet view as a user drives it: the cell editor through double-clicks,
// typing and its keys; mouse selections feeding Delete, Crop Row and Remove
// Row; the clipboard; the pop-up Edit menu; Undo of every edit; the text
// export through the save dialog.

#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/sheeteditor.h"
#include "app/sheetmodel.h"
#include "app/textexport.h"
#include "sheet/csvexport.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;
using rq::testing::readAll;
using rq::testing::sheetRow;
using rq::testing::split;

namespace {

// Fills the start-up window's sheet with n records of three columns:
// record r holds "a<r>", "b<r>", "c<r>".
void fill(Frmdata& w, int n) {
    DataSheet s(n + 1, 3);
    const char* names[] = {"A", "B", "C"};
    for (int c = 0; c < 3; ++c) {
        s.setCell(0, c, names[c]);
        for (int r = 1; r <= n; ++r)
            s.setCell(r, c, std::string(1, char('a' + c)) + std::to_string(r));
    }
    w.state().sheet = s;
    w.sheetModel()->reload();
}

// A shown window over n such records.
struct SheetWindow : Frmdata {
    explicit SheetWindow(int n) : Frmdata(false) {
        show();
        fill(*this, n);
    }
};

QPoint cellPoint(Frmdata& w, int row, int col) {
    return w.grid()->visualRect(w.sheetModel()->index(row - 1, col)).center();
}

void click(Frmdata& w, int row, int col, Qt::MouseButton b = Qt::LeftButton) {
    QTest::mouseClick(w.grid()->viewport(), b, {}, cellPoint(w, row, col));
}

// A double-click as the platform delivers it: a click, then the double-click.
void dclick(Frmdata& w, int row, int col) {
    click(w, row, col);
    QTest::mouseDClick(w.grid()->viewport(), Qt::LeftButton, {}, cellPoint(w, row, col));
}

// Presses on one cell, moves with the button held and releases on another.
void drag(Frmdata& w, int r1, int c1, int r2, int c2) {
    QWidget* vp = w.grid()->viewport();
    QTest::mousePress(vp, Qt::LeftButton, {}, cellPoint(w, r1, c1));
    const QPoint to = cellPoint(w, r2, c2);
    QMouseEvent move(QEvent::MouseMove, to, vp->mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(vp, &move);
    QTest::mouseRelease(vp, Qt::LeftButton, {}, to);
}

QString column(const DataSheet& s, int c) {
    QStringList out;
    for (int r = 1; r < s.rows(); ++r) out << QString::fromStdString(s.cellText(r, c));
    return out.join(' ');
}

}  // namespace

class SheetEditorTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    void editorOpensWritesAndRestores() {
        SheetWindow w(300);
        QLineEdit* ed = w.sheetEditor()->editor();
        // The header row never opens the editor.
        QHeaderView* header = w.grid()->horizontalHeader();
        QTest::mouseDClick(header->viewport(), Qt::LeftButton, {},
                           QPoint(header->sectionViewportPosition(1) + 5, 5));
        QVERIFY(!ed->isVisible());

        dclick(w, 2, 1);
        QVERIFY(ed->isVisible());
        QCOMPARE(ed->text(), QString("b2"));
        QCOMPARE(ed->cursorPosition(), 2);
        QTest::keyClicks(ed, "xy");
        QCOMPARE(w.state().sheet.cellText(2, 1), std::string("b2xy"));  // written at once
        QTest::keyClick(ed, Qt::Key_Escape);
        QCOMPARE(w.state().sheet.cellText(2, 1), std::string("b2"));

        // A typed character opens the editor without being inserted.
        QTest::keyClick(ed, Qt::Key_Down);
        QVERIFY(!ed->isVisible());
        QCOMPARE(w.state().sheet.row(), 3);
        QTest::keyClick(w.grid(), Qt::Key_Q);
        QVERIFY(ed->isVisible());
        QCOMPARE(ed->text(), QString("b3"));
        QTest::keyClick(ed, Qt::Key_Z);
        QCOMPARE(w.state().sheet.cellText(3, 1), std::string("b3z"));
        // Scrolling hides it.
        w.grid()->verticalScrollBar()->setValue(50);
        QVERIFY(!ed->isVisible());
    }

    void editorKeysMoveAsTheTableSays() {
        struct Case {
            const char* name;
            int row, col;
            Qt::Key key;
            int caret;  // -1: at the end
            int toRow, toCol;
            bool reopened;
        } cases[] = {
            {"Right at the end of a record wraps to column 1", 3, 2, Qt::Key_Right, -1, 4, 1,
             false},
            {"Right inside the text stays", 3, 0, Qt::Key_Right, 0, 3, 0, true},
            {"Left at the start of a record goes to the end of the previous", 3, 0, Qt::Key_Left, 0,
             2, 2, false},
            {"Left at the start of the first record stays", 1, 0, Qt::Key_Left, 0, 1, 0, true},
            {"Up on the first record stays", 1, 1, Qt::Key_Up, -1, 1, 1, true},
            {"Down on the last record stays", 4, 1, Qt::Key_Down, -1, 4, 1, true},
            {"Enter moves down and reopens", 2, 1, Qt::Key_Return, -1, 3, 1, true},
            {"Enter on the last record stays", 4, 1, Qt::Key_Return, -1, 4, 1, false},
        };
        for (const auto& c : cases) {
            SheetWindow w(4);
            dclick(w, c.row, c.col);
            QLineEdit* ed = w.sheetEditor()->editor();
            QVERIFY2(ed->isVisible(), c.name);
            if (c.caret >= 0) ed->setCursorPosition(c.caret);
            QTest::keyClick(ed, c.key);
            QCOMPARE(w.state().sheet.row(), c.toRow);
            QCOMPARE(w.state().sheet.col(), c.toCol);
            QVERIFY2(ed->isVisible() == c.reopened, c.name);
            const QModelIndex current = w.grid()->currentIndex();
            QCOMPARE(current.row() + 1, c.toRow);
            QCOMPARE(current.column(), c.toCol);
        }
    }

    void dragSelectionFeedsDeleteWhicheverWay() {
        for (bool backwards : {false, true}) {
            SheetWindow w(4);
            if (backwards)
                drag(w, 3, 2, 2, 1);
            else
                drag(w, 2, 1, 3, 2);
            w.action("mnuEditDelete")->trigger();
            QCOMPARE(sheetRow(w.state().sheet, 2), split("a2||"));
            QCOMPARE(sheetRow(w.state().sheet, 3), split("a3||"));
            QCOMPARE(sheetRow(w.state().sheet, 4), split("a4|b4|c4"));
            // Undo through the keys, with the focus on the grid.
            QApplication::setActiveWindow(&w);
            QVERIFY(QTest::qWaitForWindowActive(&w));
            w.grid()->setFocus();
            QTest::keyClick(w.grid(), Qt::Key_Z, Qt::ControlModifier);
            QCOMPARE(sheetRow(w.state().sheet, 2), split("a2|b2|c2"));
            QCOMPARE(sheetRow(w.state().sheet, 3), split("a3|b3|c3"));
        }
    }

    void clipboardCopyAndPasteNeverGrow() {
        SheetWindow w(4);
        // A right click shows the Edit menu.
        click(w, 2, 1, Qt::RightButton);
        QTRY_VERIFY(w.menu("mnuedit")->isVisible());
        w.menu("mnuedit")->hide();
        drag(w, 1, 0, 2, 1);
        QTest::mouseClick(w.sheetToolbar()->widgetForAction(w.sheetToolAction("Copy")),
                          Qt::LeftButton);
        const QMimeData* data = QApplication::clipboard()->mimeData();
        QCOMPARE(data->text(), QString("a1\tb1\ra2\tb2"));
        QCOMPARE(data->data("text/csv"), QByteArray("\"a1\",\"b1\"\r\n\"a2\",\"b2\"\r\n"));

        QApplication::clipboard()->setText("x\ty\tz\ru\tv\tw");
        click(w, 4, 0);
        w.action("mnuEditPaste")->trigger();
        QCOMPARE(sheetRow(w.state().sheet, 4), split("x|b4|c4"));
        QCOMPARE(w.state().sheet.rows(), 5);
        drag(w, 3, 0, 4, 2);
        w.action("mnuEditPaste")->trigger();
        QCOMPARE(sheetRow(w.state().sheet, 3), split("x|y|z"));
        QCOMPARE(sheetRow(w.state().sheet, 4), split("u|v|w"));
    }

    void rowCommandsAndTheirUndo() {
        SheetWindow w(10);
        drag(w, 5, 0, 3, 0);
        w.action("mnucroprow")->trigger();
        QCOMPARE(column(w.state().sheet, 0), QString("a3 a4 a5"));
        w.action("mnusheetundo")->trigger();
        QCOMPARE(column(w.state().sheet, 0), QString("a1 a2 a3 a4 a5 a6 a7 a8 a9 a10"));

        drag(w, 2, 1, 4, 1);
        w.action("mnuEditDelRow")->trigger();
        QCOMPARE(column(w.state().sheet, 0), QString("a1 a5 a6 a7 a8 a9 a10"));
        w.action("mnusheetundo")->trigger();
        w.action("mnusheetredo")->trigger();
        QCOMPARE(column(w.state().sheet, 0), QString("a1 a5 a6 a7 a8 a9 a10"));

        click(w, 1, 0);  // texts compare as texts: a10 before a5
        testing::clickTool(w.sheetToolbar(), w.sheetToolAction("Sort Ascending"));
        QCOMPARE(column(w.state().sheet, 0), QString("a1 a10 a5 a6 a7 a8 a9"));
        w.action("mnusortdes")->trigger();
        QCOMPARE(column(w.state().sheet, 0), QString("a9 a8 a7 a6 a5 a10 a1"));
        w.action("mnusheetundo")->trigger();
        w.action("mnusheetundo")->trigger();
        QCOMPARE(column(w.state().sheet, 0), QString("a1 a5 a6 a7 a8 a9 a10"));
    }

    void moveButtonsFollowTheClickedRecord() {
        SheetWindow w(3);
        QAction* up = w.sheetToolAction("Moveup");
        QAction* down = w.sheetToolAction("movedown");
        for (int row = 1; row <= 3; ++row) {
            click(w, row, 1);
            QCOMPARE(up->isEnabled(), row > 1);
            QCOMPARE(w.action("mnuup")->isEnabled(), row > 1);
            QCOMPARE(down->isEnabled(), row < 3);
        }
        QTest::mouseClick(w.sheetToolbar()->widgetForAction(up), Qt::LeftButton);
        QCOMPARE(column(w.state().sheet, 0), QString("a1 a3 a2"));
        QCOMPARE(w.state().sheet.rowSel(), 2);
        QCOMPARE(w.state().sheet.colSel(), 2);
        QVERIFY(down->isEnabled());
        w.action("mnuinsrtcol")->trigger();
        QCOMPARE(sheetRow(w.state().sheet, 0), split("A|B|C|Index"));
        QCOMPARE(column(w.state().sheet, 3), QString("1 2 3"));
        QVERIFY(w.state().sheetchanged);
    }

    void exportWritesTheBytesAndAsksBeforeOverwriting() {
        QTemporaryDir dir;
        const QString path = dir.filePath("out.txt");
        SheetWindow w(2);
        QSignalSpy spy(w.textExport(), &TextExport::finished);
        Dialogs::setNextFileName(path);
        w.action("mnuexporttxt")->trigger();
        QVERIFY(spy.wait(5000));
        QCOMPARE(spy.at(0).at(0).toBool(), true);
        // The text's form is the core's; here the sheet reaches the file, which
        // ends with one more line end.
        QCOMPARE(readAll(path), QByteArray::fromStdString(csvExportText(w.state().sheet) + "\r\n"));

        // An existing file: No asks for the name again; Cancel there stops.
        Dialogs::clear();
        Dialogs::setNextFileName(path);
        Dialogs::setNextAnswer(QMessageBox::No);
        Dialogs::setNextFileName("");
        w.action("mnuexporttxt")->trigger();
        QCOMPARE(Dialogs::shown().size(), 3);
        QCOMPARE(Dialogs::shown().at(1).text,
                 path + " already exits, would you like to overwrite it?");
        QCOMPARE(Dialogs::shown().at(2).kind, QString("save"));
        QVERIFY(!w.textExport()->running());
    }
};

QTEST_MAIN(SheetEditorTest)
#include "test_sheeteditor.moc"
