// The Generate view: single and separate runs with their status texts, Save
// As with the overwrite question, the Select Directory refusals, the rows per
// file box, and the working folder's removal at shut-down.
#include <QAction>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>

#include "app/browserpane.h"
#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/generateview.h"
#include "app/selectdirectory.h"
#include "generate/documentwriter.h"

using namespace rq;
using namespace rq::ui;

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

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files, QDir::Name);
}

}  // namespace

class GenerateViewTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    void singleFileRunShowsTheDocumentAndCompleted() {
        Frmdata w(false);
        fillSheet(w.state().sheet, 3);
        w.state().sheetchanged = true;
        w.action("mnugenerate")->trigger();
        GenerateView* g = w.generateView();
        QCOMPARE(g->singleAction("node")->iconText(), QString("Generate"));
        QCOMPARE(g->singleAction("Save")->iconText(), QString("Save As..."));
        QCOMPARE(g->separateAction("preview")->iconText(), QString("Preview"));
        QVERIFY(!g->singleAction("Save")->isEnabled());
        g->singleAction("node")->trigger();
        QCOMPARE(w.statusTextPanel()->text(), QString("Completed"));
        QCOMPARE(w.progressBar()->value(), 100);
        QVERIFY(g->singleAction("Save")->isEnabled());
        QVERIFY(!g->singleAction("preview")->isEnabled());
        const QString code = w.findChild<QPlainTextEdit*>("richoutput")->toPlainText();
        QVERIFY(code.startsWith("<?xml version=\"1.0\"?>"));
        QVERIFY(code.contains("<ID>3</ID>"));
        QVERIFY(code.contains("<Name>n1</Name>"));
        QCOMPARE(code.count("<row>"), 3);
    }

    void progressShowsCompletingRowTexts() {
        Frmdata w(false);
        fillSheet(w.state().sheet, 120);
        w.action("mnugenerate")->trigger();
        QStringList seen;
        connect(w.generateView(), &GenerateView::statusShown, this,
                [&](const QString& text) { seen << text; });
        w.generateView()->singleAction("node")->trigger();
        QVERIFY(seen.size() >= 3);
        QCOMPARE(seen.first(), QString("Completing Row:1 of 120"));
        // The text follows the records at every whole percent, not slower.
        QVERIFY(seen.contains("Completing Row:6 of 120"));
        QVERIFY(seen.size() <= 102);
        for (const QString& text : seen.mid(0, seen.size() - 1))
            QVERIFY2(text.startsWith("Completing Row:") && text.endsWith(" of 120"),
                     qPrintable(text));
        QCOMPARE(seen[seen.size() - 2], QString("Completing Row:120 of 120"));
        QCOMPARE(seen.last(), QString("Completed"));

        // Separate files: one text per full document, then the summary.
        seen.clear();
        w.findChild<QRadioButton*>("Option2")->click();
        w.findChild<QLineEdit*>("updwntxt")->setText("50");
        w.generateView()->separateAction("node")->trigger();
        QCOMPARE(seen, QStringList({"Completing Document:1 of 2", "Completing Document:2 of 2",
                                    "3 XML Documents made, with Data taken form every 50 Rows "
                                    "(Records)."}));
        QCOMPARE(w.findChild<QProgressBar*>("ProgressBar2")->value(), 100);
    }

    void saveAsAsksBeforeOverwriting() {
        QTemporaryDir dir;
        Frmdata w(false);
        fillSheet(w.state().sheet, 2);
        w.action("mnugenerate")->trigger();
        GenerateView* g = w.generateView();
        g->singleAction("node")->trigger();

        const QString existing = dir.filePath("out.xml");
        {
            QFile f(existing);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("old");
        }
        // No reopens the dialog; cancelling it then leaves the file alone.
        Dialogs::setNextFileName(existing);
        Dialogs::setNextAnswer(QMessageBox::No);
        Dialogs::setNextFileName(QString());
        g->singleAction("Save")->trigger();
        QCOMPARE(readAll(existing), QByteArray("old"));
        const QList<ShownDialog>& shown = Dialogs::shown();
        QCOMPARE(shown.size(), 3);
        QCOMPARE(shown[0].kind, QString("save"));
        QCOMPARE(shown[0].title, QString("Save as"));
        QCOMPARE(shown[0].text,
                 QString("XML Documents (*.xml)|*.xml|XML Schema Files (*.xsd)|*.xsd|XSLT "
                         "Stylesheets (*.xsl;*.xslt;*.fo)|*.xsl;*.xslt;*.fo|All files (*.*)|*.*"));
        QCOMPARE(shown[1].kind, QString("question"));
        QCOMPARE(shown[1].title, QString("Nubro Rowquill"));
        QCOMPARE(shown[1].text, QString("out.xml already exits, would you like to overwrite it?"));
        QCOMPARE(shown[2].kind, QString("save"));
        QVERIFY(!g->singleAction("preview")->isEnabled());

        // Yes writes the document with one more line end.
        Dialogs::clear();
        Dialogs::setNextFileName(existing);
        Dialogs::setNextAnswer(QMessageBox::Yes);
        g->singleAction("Save")->trigger();
        const QByteArray saved = readAll(existing);
        QVERIFY(saved.startsWith("<?xml version=\"1.0\"?>\r\n"));
        // The document's own last line end, then the one the save adds.
        QVERIFY(saved.endsWith("\t</document>\r\n\r\n"));
        QVERIFY(saved.contains("\t\t\t<ID>1</ID>\r\n\t\t\t<Name>n1</Name></row>\r\n"));
        QVERIFY(saved.contains("\t\t\t<Name>n2</Name></row>\r\n"));
        QVERIFY(g->singleAction("preview")->isEnabled());

        // A new name is written without a question; Preview opens it.
        Dialogs::clear();
        Dialogs::setNextFileName(dir.filePath("new.xml"));
        g->singleAction("Save")->trigger();
        QCOMPARE(Dialogs::shown().size(), 1);
        QVERIFY(QFile::exists(dir.filePath("new.xml")));
        g->singleAction("preview")->trigger();
        QCOMPARE(Dialogs::openedUrls().last().toLocalFile(), dir.filePath("new.xml"));
    }

    void separateFilesRunWritesBlocksAndSays() {
        Frmdata w(false);
        fillSheet(w.state().sheet, 25);
        w.action("mnugenerate")->trigger();
        GenerateView* g = w.generateView();
        w.findChild<QRadioButton*>("Option2")->click();
        QVERIFY(!g->separateAction("Save")->isEnabled());
        g->separateAction("node")->trigger();
        QCOMPARE(w.statusTextPanel()->text(),
                 QString("3 XML Documents made, with Data taken form every 10 Rows (Records)."));
        const QString split = QString::fromStdString(w.state().tempFolder) + "Split";
        QCOMPARE(filesIn(split),
                 QStringList({"form_row_11_to_row_20_.xml", "form_row_1_to_row_10_.xml",
                              "form_row_21_to_row_25_.xml"}));
        const QByteArray last = readAll(split + "/form_row_21_to_row_25_.xml");
        QCOMPARE(last.count("<row>"), 5);
        QVERIFY(last.contains("<ID>21</ID>") && last.contains("<ID>25</ID>"));
        QVERIFY(g->separateAction("Save")->isEnabled());
        QCOMPARE(g->separateBrowser()->url().toLocalFile(), split + "/");

        // 20 records: exactly two files, the folder made afresh.
        fillSheet(w.state().sheet, 20);
        g->separateAction("node")->trigger();
        QCOMPARE(filesIn(split),
                 QStringList({"form_row_11_to_row_20_.xml", "form_row_1_to_row_10_.xml"}));
    }

    void rowsPerFileBox() {
        Frmdata w(false);
        fillSheet(w.state().sheet, 3);
        w.action("mnugenerate")->trigger();
        GenerateView* g = w.generateView();
        auto* box = w.findChild<QLineEdit*>("updwntxt");
        auto* up = w.findChild<QToolButton*>("cmdupk");
        auto* down = w.findChild<QToolButton*>("cmddownk");
        QCOMPARE(box->text(), QString("10"));
        QVERIFY(!box->isEnabled());  // it belongs to Separate Files
        w.findChild<QRadioButton*>("Option2")->click();
        QVERIFY(box->isEnabled());
        box->clear();
        QTest::keyClicks(box, "1a2-b");
        QCOMPARE(box->text(), QString("12"));
        box->setText("x7y");  // pasted text keeps its digits
        QCOMPARE(box->text(), QString("7"));
        box->setText("2");
        down->click();
        down->click();
        down->click();
        QCOMPARE(box->text(), QString("1"));
        up->click();
        QCOMPARE(box->text(), QString("2"));
        // An empty box is read, and shown, as 10.
        box->clear();
        QCOMPARE(g->rowsPerFile(), 10);
        QCOMPARE(box->text(), QString("10"));
        // N = 1: one file per record.
        box->setText("1");
        g->separateAction("node")->trigger();
        QCOMPARE(filesIn(QString::fromStdString(w.state().tempFolder) + "Split").size(), 3);
        // N = 0 writes nothing and says nothing.
        box->setText("0");
        w.statusTextPanel()->clear();
        g->separateAction("node")->trigger();
        QCOMPARE(w.statusTextPanel()->text(), QString());
    }

    void separateSaveGoesThroughSelectDirectory() {
        QTemporaryDir dir;
        Frmdata w(false);
        fillSheet(w.state().sheet, 4);
        w.action("mnugenerate")->trigger();
        GenerateView* g = w.generateView();
        w.findChild<QRadioButton*>("Option2")->click();
        w.findChild<QLineEdit*>("updwntxt")->setText("2");
        g->separateAction("node")->trigger();

        Dialogs::setNextDialogAction([&](QDialog& d) {
            auto& s = static_cast<SelectDirectoryDialog&>(d);
            s.setCurrentFolder(dir.path());
            s.nameBox()->setText("out/put");  // slashes are removed
            s.findChild<QPushButton*>("cmdok")->click();
        });
        g->separateAction("Save")->trigger();
        QCOMPARE(filesIn(dir.filePath("output")),
                 QStringList({"form_row_1_to_row_2_.xml", "form_row_3_to_row_4_.xml"}));
        QVERIFY(g->separateAction("preview")->isEnabled());
        g->separateAction("preview")->trigger();
        QCOMPARE(Dialogs::openedUrls().last().toLocalFile(), dir.filePath("output") + "/");
    }

    void selectDirectoryRefusals() {
        QTemporaryDir dir;
        QDir(dir.path()).mkpath("full");
        QFile f(dir.filePath("full/a.txt"));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.close();

        SelectDirectoryDialog d(dir.path());
        d.setCurrentFolder(dir.path());
        d.nameBox()->setText("");
        d.tryAccept();
        QCOMPARE(d.result(), int(QDialog::Rejected));
        QCOMPARE(Dialogs::shown().last().text, QString("Please Enter the name of the Folder"));
        QCOMPARE(Dialogs::shown().last().icon, QMessageBox::Warning);
        QCOMPARE(Dialogs::shown().last().title, QString("Nubro Rowquill"));

        d.nameBox()->setText("full");
        d.tryAccept();
        QCOMPARE(d.result(), int(QDialog::Rejected));
        QVERIFY(Dialogs::shown().last().text.startsWith("The Folder " + dir.filePath("full")));
        QVERIFY(Dialogs::shown().last().text.endsWith(
            "\n is not empty. Please choose a different folder or name."));

        // An empty folder that exists is accepted.
        QDir(dir.path()).mkpath("empty");
        d.nameBox()->setText("empty");
        d.tryAccept();
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QCOMPARE(d.target(), dir.filePath("empty"));
    }

    void newFolderCounts() {
        QTemporaryDir dir;
        SelectDirectoryDialog d(dir.path());
        d.setCurrentFolder(dir.path());
        d.newFolder();
        QCOMPARE(d.currentFolder(), dir.filePath("New Folder"));
        d.setCurrentFolder(dir.path());
        d.newFolder();
        QCOMPARE(d.currentFolder(), dir.filePath("New Folder (2)"));
        QVERIFY(QDir(dir.filePath("New Folder (2)")).exists());
    }

    void shutDownDeletesTheWorkingFolder() {
        auto* w = new Frmdata(false);
        const QString folder = QString::fromStdString(w->state().tempFolder);
        QVERIFY(folder.endsWith("/"));
        QVERIFY(QDir(folder).exists());
        QVERIFY(QFileInfo(folder).fileName().isEmpty());
        // A second window gets a private folder of its own.
        auto* second = new Frmdata(false);
        const QString other = QString::fromStdString(second->state().tempFolder);
        QVERIFY(!other.isEmpty());
        QVERIFY(other != folder);
        fillSheet(w->state().sheet, 3);
        w->action("mnugenerate")->trigger();
        w->findChild<QRadioButton*>("Option2")->click();
        w->generateView()->separateAction("node")->trigger();
        w->action("mnuDBExit")->trigger();
        QVERIFY(!QDir(folder).exists());
        QVERIFY(QDir(other).exists());
        second->close();
        QVERIFY(!QDir(other).exists());
        delete second;
        delete w;
    }
};

QTEST_MAIN(GenerateViewTest)
#include "test_generateview.moc"
