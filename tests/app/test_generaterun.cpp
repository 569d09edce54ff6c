// Generation runs in the background: cancelling, rising progress, the saved
// document streamed again from the sheet, no stale output after the sheet or
// the layout changed, the reader's warnings, and the
// Generate view at a narrow width.

#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/generateview.h"
#include "app/layouttreemodel.h"
#include "app/layoutview.h"
#include "app/sheetmodel.h"
#include "fakedatabase.h"
#include "generate/documentwriter.h"
#include "layout/defaultlayout.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;
using rq::testing::readAll;

namespace {

// `count` records of ID, Name and a text with characters outside code page 1252.
void fillSheet(DataSheet& sheet, int count) {
    sheet.reset({"ID", "Name", "Note"});
    for (int i = 1; i <= count; ++i) {
        const std::string id = std::to_string(i), name = "name " + std::to_string(i),
                          note = "Ελλάδα Россия 東京 " + std::to_string(i * 7);
        const std::string_view cells[] = {id, name, note};
        sheet.appendRecord(cells, 3);
    }
}

// Presses the progress window's Cancel button as soon as it is shown.
void cancelWhenShown(int tries = 100) {
    QTimer::singleShot(0, [tries] {
        for (QWidget* w : QApplication::allWidgets())
            if (w->objectName() == "runProgress" && w->isVisible())
                if (auto* b = w->findChild<QPushButton*>("cmdcancel")) return b->click();
        if (tries > 0) cancelWhenShown(tries - 1);
    });
}

}  // namespace

class GenerateRunTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    // A long sheet: the code pane holds only the beginning, Save As streams
    // the whole document again from the sheet, and the bars never go back.
    void longRunsStreamTheDocumentAndProgressOnlyRises() {
        Frmdata w(false);
        GenerateView* g = w.generateView();
        QVERIFY(w.findChild<QCheckBox*>("Check2")->isChecked());
        fillSheet(w.state().sheet, 60005);
        w.sheetModel()->reload();
        w.showGenerateView();
        QList<int> single, separate;
        connect(w.progressBar(), &QProgressBar::valueChanged, [&](int v) { single << v; });
        connect(w.findChild<QProgressBar*>("ProgressBar2"), &QProgressBar::valueChanged,
                [&](int v) { separate << v; });
        g->singleAction("node")->trigger();
        QVERIFY(g->documentSize() > kCodePaneLimit);
        QVERIFY(g->documentHead().size() <= kCodePaneLimit + 1);
        QVERIFY(w.findChild<QPlainTextEdit*>("richoutput")
                    ->toPlainText()
                    .contains("only its beginning"));
        QTemporaryDir dir;
        Dialogs::setNextFileName(dir.filePath("out.xml"));
        g->singleAction("Save")->trigger();
        QVERIFY(g->singleAction("preview")->isEnabled());
        // The step-by-step writer over the same tidied layout.
        tidyLayout(w.state().tree, w.state().work);
        const std::string expected =
            referenceDocument(w.state().tree, w.state().work, w.state().sheet, 1,
                              w.state().sheet.rows() - 1) +
            "\r\n";
        const QByteArray saved = readAll(dir.filePath("out.xml"));
        QVERIFY(saved == QByteArray::fromStdString(expected));
        QCOMPARE(static_cast<std::size_t>(saved.size()), g->documentSize() + 2);

        w.findChild<QRadioButton*>("Option2")->setChecked(true);
        w.findChild<QLineEdit*>("updwntxt")->setText("10");
        g->separateAction("node")->trigger();
        for (const QList<int>* values : {&single, &separate}) {
            QVERIFY(!values->isEmpty());
            // A run starts from 0; past that the bar never goes back.
            for (int i = 1; i < values->size(); ++i)
                if ((*values)[i] != 0) QVERIFY2((*values)[i] >= (*values)[i - 1], "bar went back");
            QCOMPARE(values->last(), 100);
        }
        // The status texts of a separate-files run are the core's own.
        QCOMPARE(w.statusTextPanel()->text(),
                 QString("6001 XML Documents made, with Data taken form every 10 Rows (Records)."));
        QCOMPARE(QDir(QString::fromStdString(w.state().tempFolder) + "Split").count() - 2, 6001u);
    }

    void cancelledRunsLeaveNoFileUnderAFinalName() {
        Frmdata w(false);
        GenerateView* g = w.generateView();
        fillSheet(w.state().sheet, 200000);
        w.sheetModel()->reload();
        w.showGenerateView();
        g->singleAction("node")->trigger();
        QVERIFY(g->hasDocument());

        // Save As cancelled: the file keeps what it held and nothing stands beside it.
        QTemporaryDir dir;
        const QString file = dir.filePath("kept.xml");
        QVERIFY(testing::writeFile(file, "old"));
        Dialogs::setNextFileName(file);
        Dialogs::setNextAnswer(QMessageBox::Yes);
        cancelWhenShown();
        g->singleAction("Save")->trigger();
        QCOMPARE(readAll(file), QByteArray("old"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{"kept.xml"});
        QVERIFY(!g->singleAction("preview")->isEnabled());
        QCOMPARE(w.statusTextPanel()->text(), QString("Cancelled"));

        // Generate cancelled: no document is held.
        cancelWhenShown();
        g->singleAction("node")->trigger();
        QVERIFY(!g->hasDocument());
        QVERIFY(!g->singleAction("Save")->isEnabled());

        // Separate files cancelled: no run folder, nothing left in the working folder.
        w.findChild<QRadioButton*>("Option2")->setChecked(true);
        w.findChild<QLineEdit*>("updwntxt")->setText("1");
        cancelWhenShown();
        g->separateAction("node")->trigger();
        QVERIFY(!g->separateAction("Save")->isEnabled());
        const QDir temp(QString::fromStdString(w.state().tempFolder));
        QVERIFY(temp.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
    }

    // Neither Save As nor the text export writes over a file the open database reads.
    void noOutputReplacesTheSourceFile() {
        QTemporaryDir dir;
        const QString csv = dir.filePath("orders.csv");
        QVERIFY(QFile::copy(ROWQUILL_SOURCE_DIR "/examples/orders/orders.csv", csv));
        const QByteArray before = readAll(csv);
        Frmdata w(false);
        w.openAtStart(csv);
        w.showGenerateView();
        GenerateView* g = w.generateView();
        g->singleAction("node")->trigger();
        QVERIFY(g->hasDocument());
        // Each refuses the file and asks for another name, here cancelled.
        for (QAction* save : {g->singleAction("Save"), w.action("mnuexporttxt")}) {
            Dialogs::clear();
            Dialogs::setNextFileName(csv);
            Dialogs::setNextAnswer(QMessageBox::Yes);
            Dialogs::setNextFileName(QString());
            save->trigger();
            QCOMPARE(readAll(csv), before);
            QCOMPARE(testing::countShown("save"), 2);
            QVERIFY(testing::lastShown()->text.contains("is a file the open database reads"));
        }
    }

    void aChangedSheetOrLayoutDropsTheDocument() {
        Frmdata w(false);
        testing::openFakeDatabase(w, 4);
        QVERIFY(w.loadListEntry(0));
        w.showGenerateView();
        GenerateView* g = w.generateView();
        auto* code = w.findChild<QPlainTextEdit*>("richoutput");
        g->singleAction("node")->trigger();
        QVERIFY(g->singleAction("Save")->isEnabled());
        QVERIFY(!code->toPlainText().isEmpty());

        // Another table loaded.
        QVERIFY(w.loadListEntry(1));
        QVERIFY(!g->hasDocument());
        QVERIFY(!g->singleAction("Save")->isEnabled());
        QVERIFY(!g->singleAction("preview")->isEnabled());
        QVERIFY(code->toPlainText().isEmpty());

        // A layout edit, after a separate-files run as well.
        w.showGenerateView();
        g->singleAction("node")->trigger();
        w.findChild<QRadioButton*>("Option2")->setChecked(true);
        g->separateAction("node")->trigger();
        QVERIFY(g->separateAction("Save")->isEnabled());
        w.showLayoutView();
        w.layoutView()->refresh();
        QVERIFY(!g->hasDocument());
        QVERIFY(!g->singleAction("Save")->isEnabled());
        QVERIFY(!g->separateAction("Save")->isEnabled());
    }

    void readerWarningsAreListedInOneBox() {
        Frmdata w(false);
        testing::openFakeDatabase(w, 3, [](testing::FakeDatabase& db) {
            db.warnings = {"Record 2 of 'Orders' is damaged and was skipped.",
                           "A memo of 'Orders' ends early."};
        });
        Dialogs::clear();
        QVERIFY(w.loadListEntry(0));
        QCOMPARE(Dialogs::shown().size(), 1);
        QVERIFY(Dialogs::shown()[0].text.contains(
            "Record 2 of 'Orders' is damaged and was skipped.\n- A memo of 'Orders' ends early."));
        QCOMPARE(w.state().sheet.rows(), 4);
    }

    void tableListCanBeShownAgain() {
        Frmdata w(false);
        w.resize(900, 600);
        w.show();
        QAction* entry = w.action("mnutablelist");
        emit w.menu("mnuview")->aboutToShow();
        QVERIFY(!entry->isEnabled());
        testing::openFakeDatabase(w, 2);
        w.hideTableList();
        QVERIFY(!w.tableListPanel()->isVisible());
        emit w.menu("mnuview")->aboutToShow();
        QVERIFY(entry->isEnabled());
        entry->trigger();
        QVERIFY(w.tableListPanel()->isVisible());
    }

    void generateViewFitsANarrowWindow() {
        Frmdata w(false);
        w.resize(760, 560);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        w.showGenerateView();
        QCOMPARE(w.width(), 760);
        GenerateView* g = w.generateView();
        for (const char* key : {"node", "Save", "preview"})
            for (QAction* a : {g->singleAction(key), g->separateAction(key)}) {
                auto* bar = qobject_cast<QToolBar*>(a->parent());
                QWidget* button = bar->widgetForAction(a);
                QVERIFY2(button && button->isVisible(), key);
                QVERIFY(bar->rect().contains(button->geometry()));
            }
        auto* rows = w.findChild<QLineEdit*>("updwntxt");
        rows->setText("1000");
        QVERIFY(rows->width() >= rows->fontMetrics().horizontalAdvance("1000000"));
    }
};

QTEST_MAIN(GenerateRunTest)
#include "test_generaterun.moc"
