// The files the window saves are byte for byte the files the batch converter
// writes for the same table, in one file and split into several, with and
// without symbol conversion. The tables hold text beyond ASCII, some of it
// beyond code page 1252, so the file encodings are part of the comparison.

#include "app/frmdata.h"
#include "app/generateview.h"
#include "app/selectdirectory.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;
using rq::testing::readAll;
using rq::testing::runCli;

namespace {

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files, QDir::Name);
}

// Opens the database in the window, loads the named table and shows the
// Generate view. False when the table is missing.
bool openInWindow(Frmdata& w, const QString& connect, const QString& file, const QString& table) {
    w.openDaoDb(connect, file);
    const int row = rq::testing::items(w.tableList()).indexOf(table);
    if (row < 0) return false;
    w.tableList()->setCurrentRow(row);
    if (!w.loadListEntry(row)) return false;
    w.action("mnugenerate")->trigger();
    return true;
}

}  // namespace

class CliSamenessTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    void savedFilesAreTheConvertersFiles_data() {
        QTest::addColumn<QString>("connect");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("table");
        QTest::addColumn<bool>("convertSymbols");
        QTest::addColumn<bool>("split");
        const struct {
            const char* tag;
            const char* connect;
            QString file;
            const char* table;
        } sources[] = {
            // Latin text with umlauts and accents, quotes and commas in values.
            {"text", "Text;", QStringLiteral(ROWQUILL_SOURCE_DIR "/examples/orders/orders.csv"),
             "orders#csv"},
            // Finnish, Cyrillic, Greek and CJK text, control characters, all of
            // code page 1252 in one value.
            {"access", "Microsoft Access",
             QStringLiteral(ROWQUILL_FIXTURES "/access/jackcess/testUnicodeCompV2003.mdb"),
             "Table"},
            // Field names in Cyrillic.
            {"dbase", "Dbase IV;",
             QStringLiteral(ROWQUILL_FIXTURES "/dbase/infused_dbf/dbase_03_cyrillic.dbf"),
             "dbase_03_cyrillic"},
        };
        for (const auto& s : sources)
            for (bool split : {false, true})
                for (bool convert : {false, true})
                    QTest::newRow(qPrintable(
                        QString("%1 %2 %3")
                            .arg(s.tag, split ? "split" : "single", convert ? "utf-8" : "1252")))
                        << QString(s.connect) << s.file << QString(s.table) << convert << split;
    }

    void savedFilesAreTheConvertersFiles() {
        QFETCH(QString, connect);
        QFETCH(QString, file);
        QFETCH(QString, table);
        QFETCH(bool, convertSymbols);
        QFETCH(bool, split);
        if (!QFile::exists(file)) QSKIP("fixtures folder absent");
        QTemporaryDir dir;
        Frmdata w(false);
        QVERIFY(openInWindow(w, connect, file, table));
        w.findChild<QCheckBox*>("Check2")->setChecked(convertSymbols);
        GenerateView* g = w.generateView();
        const QString windowOut = dir.filePath(split ? "window" : "window.xml");
        const QString cliOut = dir.filePath(split ? "cli" : "cli.xml");
        QStringList args{"convert", file, "--kind", connect, "--table", table, "-o", cliOut};
        if (!convertSymbols) args << "--cp1252";
        if (!split) {
            g->singleAction("node")->trigger();
            Dialogs::setNextFileName(windowOut);
            g->singleAction("Save")->trigger();
            QCOMPARE(g->lastSavedFile(), windowOut);
            QVERIFY(runCli(args));
            QCOMPARE(readAll(windowOut), readAll(cliOut));
            QVERIFY(readAll(windowOut).endsWith("</document>\r\n\r\n"));
            return;
        }
        const int records = w.state().sheet.rows() - 1;
        w.findChild<QRadioButton*>("Option2")->click();
        w.findChild<QLineEdit*>("updwntxt")->setText("2");
        g->separateAction("node")->trigger();
        Dialogs::setNextDialogAction([&](QDialog& d) {
            auto& select = static_cast<SelectDirectoryDialog&>(d);
            select.setCurrentFolder(dir.path());
            select.nameBox()->setText("window");
            select.tryAccept();
        });
        g->separateAction("Save")->trigger();
        QCOMPARE(g->lastSavedFolder(), windowOut);
        QVERIFY(runCli(args << "--split"
                            << "2"));
        const QStringList names = filesIn(windowOut);
        QCOMPARE(names.size(), (records + 1) / 2);
        QCOMPARE(filesIn(cliOut), names);
        for (const QString& name : names)
            QVERIFY2(readAll(windowOut + '/' + name) == readAll(cliOut + '/' + name),
                     qPrintable(name));
    }
};

QTEST_MAIN(CliSamenessTest)
#include "test_clisameness.moc"
