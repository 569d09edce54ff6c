// The Generate view: single and separate runs with their status texts, Save
// As with the overwrite question, the Select Directory refusals, the rows per
// file box, and the working folder's removal at shut-down.

#include "app/browserpane.h"
#include "app/frmdata.h"
#include "app/generateview.h"
#include "app/selectdirectory.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;
using namespace rq::testing;

namespace {

// A sheet of `count` records with the fields ID and Name.
void fillSheet(DataSheet& sheet, int count) {
    sheet.reset({"ID", "Name"});
    for (int i = 1; i <= count; ++i) {
        const std::string id = std::to_string(i), name = "n" + std::to_string(i);
        const std::string_view cells[] = {id, name};
        sheet.appendRecord(cells, 2);
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

}  // namespace

class GenerateViewTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    // The status text follows the records at every whole percent, then says
    // Completed.
    void runsShowTheDocumentAndTheirProgress() {
        auto w = generateWindow(120);
        GenerateView* g = w->generateView();
        QStringList seen;
        connect(g, &GenerateView::statusShown, this, [&](const QString& text) { seen << text; });
        QVERIFY(!g->singleAction("Save")->isEnabled());
        g->singleAction("node")->trigger();
        QVERIFY(g->singleAction("Save")->isEnabled());
        QVERIFY(!g->singleAction("preview")->isEnabled());
        const QString code = w->findChild<QPlainTextEdit*>("richoutput")->toPlainText();
        QVERIFY(code.startsWith("<?xml version=\"1.0\"?>"));
        QVERIFY(code.contains("<ID>120</ID>") && code.contains("<Name>n1</Name>"));
        QCOMPARE(code.count("<row>"), 120);
        QCOMPARE(w->statusTextPanel()->text(), QString("Completed"));
        QCOMPARE(w->progressBar()->value(), 100);
        QCOMPARE(seen.first(), QString("Completing Row:1 of 120"));
        QVERIFY(seen.contains("Completing Row:6 of 120"));
        QVERIFY(seen.size() <= 102);
        QCOMPARE(seen[seen.size() - 2], QString("Completing Row:120 of 120"));
        QCOMPARE(seen.last(), QString("Completed"));
    }

    void saveAsAsksBeforeOverwriting() {
        QTemporaryDir dir;
        auto w = generateWindow(2);
        GenerateView* g = w->generateView();
        g->singleAction("node")->trigger();
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
        QVERIFY(saved.endsWith("\t\t\t<Name>n2</Name></row>\r\n\t</document>\r\n\r\n"));
        QVERIFY(g->singleAction("preview")->isEnabled());

        // A new name is written without a question; Preview opens it.
        Dialogs::clear();
        Dialogs::setNextFileName(dir.filePath("new.xml"));
        g->singleAction("Save")->trigger();
        QCOMPARE(Dialogs::shown().size(), 1);
        QCOMPARE(readAll(dir.filePath("new.xml")), saved);
        g->singleAction("preview")->trigger();
        QCOMPARE(Dialogs::openedUrls().last().toLocalFile(), dir.filePath("new.xml"));
    }

    void separateFilesRunWritesBlocksAndSays() {
        auto w = generateWindow(25, "10");
        GenerateView* g = w->generateView();
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
    }

    void rowsPerFileBox() {
        auto w = generateWindow(3);
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
        // N = 1: one file per record.
        box->setText("1");
        g->separateAction("node")->trigger();
        QCOMPARE(filesIn(QString::fromStdString(w->state().tempFolder) + "Split").size(), 3);
        // N = 0 writes nothing and says nothing.
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
};

QTEST_MAIN(GenerateViewTest)
#include "test_generateview.moc"
