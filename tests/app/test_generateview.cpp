// The Generate view: single and separate runs with their status texts and
// progress, Save As with the overwrite question, the Select Directory
// refusals, the rows per file box; runs in the background: cancelling, the
// saved document streamed again from the sheet, no stale output after the
// sheet or the layout changed; the reader's warnings, and the working
// folder's removal at shut-down.

#include "app/browserpane.h"
#include "app/frmdata.h"
#include "app/generateview.h"
#include "app/layoutview.h"
#include "app/selectdirectory.h"
#include "app/sheetmodel.h"
#include "fakedatabase.h"
#include "generate/documentwriter.h"
#include "layout/defaultlayout.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;
using namespace rq::testing;

namespace {

// `count` records of ID and Name ("n1", ...); with a note, a third field of
// text outside code page 1252.
void fillSheet(DataSheet& sheet, int count, bool note = false) {
    sheet.reset(note ? std::vector<std::string>{"ID", "Name", "Note"}
                     : std::vector<std::string>{"ID", "Name"});
    for (int i = 1; i <= count; ++i) {
        const std::string id = std::to_string(i), name = "n" + id,
                          text = "Ελλάδα Россия 東京 " + std::to_string(i * 7);
        const std::string_view cells[] = {id, name, text};
        sheet.appendRecord(cells, note ? 3 : 2);
    }
}

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files, QDir::Name);
}

// A window over `count` records in the Generate view; with rowsPerFile, set
// to separate files of that many records.
std::unique_ptr<Frmdata> generateWindow(int count, const char* rowsPerFile = nullptr) {
    auto w = std::make_unique<Frmdata>(false);
    fillSheet(w->state().sheet, count);
    w->state().sheetchanged = true;
    w->action("mnugenerate")->trigger();
    if (rowsPerFile) {
        w->findChild<QRadioButton*>("Option2")->click();
        w->findChild<QLineEdit*>("updwntxt")->setText(rowsPerFile);
    }
    return w;
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

class GenerateViewTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    // A single run: the status text follows the records at every whole
    // percent, then says Completed; Save As asks before overwriting.
    void singleRunShowsProgressThenSaveAsAsksBeforeOverwriting() {
        auto w = generateWindow(120);
        GenerateView* g = w->generateView();
        QStringList seen;
        connect(g, &GenerateView::statusShown, this, [&](const QString& text) { seen << text; });
        QVERIFY(!g->singleAction("Save")->isEnabled());
        g->singleAction("node")->trigger();
        QVERIFY(g->singleAction("Save")->isEnabled());
        const QString code = w->findChild<QPlainTextEdit*>("richoutput")->toPlainText();
        QVERIFY(code.startsWith("<?xml version=\"1.0\"?>") && code.contains("<Name>n1</Name>"));
        QCOMPARE(code.count("<row>"), 120);
        QCOMPARE(w->progressBar()->value(), 100);
        QCOMPARE(seen.first(), QString("Completing Row:1 of 120"));
        QVERIFY(seen.contains("Completing Row:6 of 120") && seen.size() <= 102);
        QCOMPARE(seen[seen.size() - 2], QString("Completing Row:120 of 120"));
        QCOMPARE(seen.last(), QString("Completed"));
        QCOMPARE(w->statusTextPanel()->text(), QString("Completed"));

        QTemporaryDir dir;
        const QString existing = dir.filePath("out.xml");
        QVERIFY(writeFile(existing, "old"));
        // No reopens the dialog; cancelling it then leaves the file alone.
        Dialogs::setNextFileName(existing);
        Dialogs::setNextAnswer(QMessageBox::No);
        Dialogs::setNextFileName(QString());
        g->singleAction("Save")->trigger();
        QCOMPARE(readAll(existing), QByteArray("old"));
        QCOMPARE(Dialogs::shown().size(), 3);
        QCOMPARE(Dialogs::shown()[1].text,
                 QString("out.xml already exits, would you like to overwrite it?"));
        QCOMPARE(Dialogs::shown()[2].kind, QString("save"));
        QVERIFY(!g->singleAction("preview")->isEnabled());

        // Yes writes the document with one more line end.
        Dialogs::setNextFileName(existing);
        Dialogs::setNextAnswer(QMessageBox::Yes);
        g->singleAction("Save")->trigger();
        const QByteArray saved = readAll(existing);
        QVERIFY(saved.startsWith("<?xml version=\"1.0\"?>\r\n"));
        QVERIFY(saved.endsWith("\t\t\t<Name>n120</Name></row>\r\n\t</document>\r\n\r\n"));

        // A new name is written without a question; Preview opens it.
        Dialogs::clear();
        Dialogs::setNextFileName(dir.filePath("new.xml"));
        g->singleAction("Save")->trigger();
        QCOMPARE(Dialogs::shown().size(), 1);
        QCOMPARE(readAll(dir.filePath("new.xml")), saved);
        g->singleAction("preview")->trigger();
        QCOMPARE(Dialogs::openedUrls().last().toLocalFile(), dir.filePath("new.xml"));
    }

    // The rows per file box takes digits and steps with its arrows; a run
    // writes blocks of that many records and says how many files it made.
    void separateFilesRunWritesBlocksAndSays() {
        auto w = generateWindow(25);
        GenerateView* g = w->generateView();
        auto* box = w->findChild<QLineEdit*>("updwntxt");
        QCOMPARE(box->text(), QString("10"));
        QVERIFY(!box->isEnabled());  // it belongs to Separate Files
        w->findChild<QRadioButton*>("Option2")->click();
        QVERIFY(box->isEnabled());
        box->clear();
        QTest::keyClicks(box, "1a2-b");
        QCOMPARE(box->text(), QString("12"));
        box->setText("x7y");  // pasted text keeps its digits
        QCOMPARE(box->text(), QString("7"));
        box->setText("2");
        for (const char* arrow : {"cmddownk", "cmddownk", "cmddownk", "cmdupk"})
            w->findChild<QToolButton*>(arrow)->click();
        QCOMPARE(box->text(), QString("2"));  // down stops at 1
        // An empty box is read, and shown, as 10.
        box->clear();
        QCOMPARE(g->rowsPerFile(), 10);
        QCOMPARE(box->text(), QString("10"));

        QVERIFY(!g->separateAction("Save")->isEnabled());
        g->separateAction("node")->trigger();
        QCOMPARE(w->statusTextPanel()->text(),
                 QString("3 XML Documents made, with Data taken form every 10 Rows (Records)."));
        const QString split = QString::fromStdString(w->state().tempFolder) + "Split";
        QCOMPARE(filesIn(split),
                 QStringList({"form_row_11_to_row_20_.xml", "form_row_1_to_row_10_.xml",
                              "form_row_21_to_row_25_.xml"}));
        QCOMPARE(g->separateBrowser()->url().toLocalFile(), split + "/");

        // 20 records: exactly two files, the folder made afresh.
        fillSheet(w->state().sheet, 20);
        g->separateAction("node")->trigger();
        QCOMPARE(filesIn(split),
                 QStringList({"form_row_11_to_row_20_.xml", "form_row_1_to_row_10_.xml"}));

        // Save through Select Directory: slashes are removed from the name.
        QTemporaryDir dir;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            auto& s = static_cast<SelectDirectoryDialog&>(d);
            s.setCurrentFolder(dir.path());
            s.nameBox()->setText("out/put");
            click(s, "cmdok");
        });
        g->separateAction("Save")->trigger();
        QCOMPARE(filesIn(dir.filePath("output")), filesIn(split));
        g->separateAction("preview")->trigger();
        QCOMPARE(Dialogs::openedUrls().last().toLocalFile(), dir.filePath("output") + "/");

        // N = 1: one file per record; N = 0 writes nothing and says nothing.
        box->setText("1");
        g->separateAction("node")->trigger();
        QCOMPARE(filesIn(split).size(), 20);
        box->setText("0");
        w->statusTextPanel()->clear();
        g->separateAction("node")->trigger();
        QCOMPARE(w->statusTextPanel()->text(), QString());
    }

    void selectDirectoryRefusesAnEmptyNameAndAFullFolder() {
        QTemporaryDir dir;
        QDir(dir.path()).mkpath("full");
        QVERIFY(writeFile(dir.filePath("full/a.txt"), ""));
        SelectDirectoryDialog d(dir.path());
        d.setCurrentFolder(dir.path());
        const struct {
            const char* name;
            const char* message;
        } refused[] = {{"", "Please Enter the name of the Folder"},
                       {"full", "\n is not empty. Please choose a different folder or name."}};
        for (const auto& r : refused) {
            d.nameBox()->setText(r.name);
            d.tryAccept();
            QCOMPARE(d.result(), int(QDialog::Rejected));
            QVERIFY2(lastMessageText().endsWith(r.message), qPrintable(lastMessageText()));
        }
        // An empty folder that exists is accepted.
        QDir(dir.path()).mkpath("empty");
        d.nameBox()->setText("empty");
        d.tryAccept();
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QCOMPARE(d.target(), dir.filePath("empty"));
        // New Folder counts up.
        for (const char* made : {"New Folder", "New Folder (2)"}) {
            d.setCurrentFolder(dir.path());
            d.newFolder();
            QCOMPARE(d.currentFolder(), dir.filePath(made));
        }
    }

    void shutDownDeletesTheWorkingFolder() {
        auto w = generateWindow(3, "1");
        const QString folder = QString::fromStdString(w->state().tempFolder);
        QVERIFY(folder.endsWith("/") && QDir(folder).exists());
        // A second window gets a private folder of its own.
        auto second = std::make_unique<Frmdata>(false);
        const QString other = QString::fromStdString(second->state().tempFolder);
        QVERIFY(!other.isEmpty() && other != folder);
        w->generateView()->separateAction("node")->trigger();
        w->action("mnuDBExit")->trigger();
        QVERIFY(!QDir(folder).exists());
        QVERIFY(QDir(other).exists());
        second->close();
        QVERIFY(!QDir(other).exists());
    }

    // A long sheet: the code pane holds only the beginning, Save As streams
    // the whole document again from the sheet, and the bars never go back.
    void longRunsStreamTheDocumentAndProgressOnlyRises() {
        Frmdata w(false);
        GenerateView* g = w.generateView();
        QVERIFY(w.findChild<QCheckBox*>("Check2")->isChecked());
        fillSheet(w.state().sheet, 60005, true);
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
        QVERIFY(writeFile(file, "old"));
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

    // The reader's warnings are listed in one box; a table loaded afterwards,
    // or a layout edit, drops the document made before.
    void readerWarningsThenAChangedSheetOrLayoutDropsTheDocument() {
        Frmdata w(false);
        openFakeDatabase(w, 4, [](FakeDatabase& db) {
            db.warnings = {"Record 2 of 'Orders' is damaged and was skipped.",
                           "A memo of 'Orders' ends early."};
        });
        Dialogs::clear();
        QVERIFY(w.loadListEntry(0));
        QCOMPARE(Dialogs::shown().size(), 1);
        QVERIFY(Dialogs::shown()[0].text.contains(
            "Record 2 of 'Orders' is damaged and was skipped.\n- A memo of 'Orders' ends early."));
        QCOMPARE(w.state().sheet.rows(), 5);
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
};

QTEST_MAIN(GenerateViewTest)
#include "test_generateview.moc"
