// The files the window saves are byte for byte the files the batch converter
// writes for the same table, in one file and split into several, with and
// without symbol conversion. The tables hold text beyond ASCII, some of it
// beyond code page 1252, so the file encodings are part of the comparison.
#include <QAction>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QtTest>

#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/generateview.h"
#include "app/selectdirectory.h"

using namespace rq;
using namespace rq::ui;

namespace {

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll()
                                       : QByteArray("<missing " + path.toUtf8() + ">");
}

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files, QDir::Name);
}

// Runs the converter; fails the test with its error output when it fails.
bool runCli(const QStringList& args) {
    QProcess cli;
    cli.start(QStringLiteral(ROWQUILL_CLI), args);
    if (!cli.waitForFinished(120000)) {
        qWarning("rowquill-cli did not finish");
        return false;
    }
    if (cli.exitStatus() != QProcess::NormalExit || cli.exitCode() != 0) {
        qWarning("rowquill-cli %s failed: %s", qPrintable(args.join(' ')),
                 cli.readAllStandardError().constData());
        return false;
    }
    return true;
}

// Opens the database in the window, loads the named table and shows the
// Generate view. False when the file or the table is missing.
bool openInWindow(Frmdata& w, const QString& connect, const QString& file, const QString& table) {
    w.openDaoDb(connect, file);
    QListWidget* list = w.tableList();
    for (int i = 0; i < list->count(); ++i)
        if (list->item(i)->text() == table) {
            list->setCurrentRow(i);
            if (!w.loadListEntry(i)) return false;
            w.action("mnugenerate")->trigger();
            return true;
        }
    return false;
}

void addSources() {
    QTest::addColumn<QString>("connect");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("table");
    QTest::addColumn<bool>("convertSymbols");
    struct Source {
        const char* tag;
        const char* connect;
        QString file;
        const char* table;
    };
    const Source sources[] = {
        // Latin text with umlauts and accents, quotes and commas in values.
        {"text", "Text;", QStringLiteral(ROWQUILL_SOURCE_DIR "/examples/orders/orders.csv"),
         "orders#csv"},
        // Finnish, Cyrillic, Greek and CJK text, control characters, all of
        // code page 1252 in one value.
        {"access", "Microsoft Access",
         QStringLiteral(ROWQUILL_FIXTURES "/access/jackcess/testUnicodeCompV2003.mdb"), "Table"},
        // Field names in Cyrillic.
        {"dbase", "Dbase IV;",
         QStringLiteral(ROWQUILL_FIXTURES "/dbase/infused_dbf/dbase_03_cyrillic.dbf"),
         "dbase_03_cyrillic"},
    };
    for (const Source& s : sources)
        for (bool convert : {false, true})
            QTest::newRow(
                qPrintable(QString::fromUtf8(s.tag) +
                           (convert ? QStringLiteral(" utf-8") : QStringLiteral(" 1252"))))
                << QString::fromUtf8(s.connect) << s.file << QString::fromUtf8(s.table) << convert;
}

}  // namespace

class CliSamenessTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    void singleFileIsTheConvertersFile_data() { addSources(); }
    void singleFileIsTheConvertersFile() {
        QFETCH(QString, connect);
        QFETCH(QString, file);
        QFETCH(QString, table);
        QFETCH(bool, convertSymbols);
        if (!QFile::exists(file)) QSKIP("fixtures folder absent");
        QTemporaryDir dir;
        QVERIFY(dir.isValid());

        Frmdata w(false);
        QVERIFY(openInWindow(w, connect, file, table));
        w.findChild<QCheckBox*>("Check2")->setChecked(convertSymbols);
        GenerateView* g = w.generateView();
        g->singleAction("node")->trigger();
        const QString windowFile = dir.filePath("window.xml");
        Dialogs::setNextFileName(windowFile);
        g->singleAction("Save")->trigger();
        QCOMPARE(g->lastSavedFile(), windowFile);

        const QString cliFile = dir.filePath("cli.xml");
        QStringList args{"convert", file, "--kind", connect, "--table", table, "-o", cliFile};
        if (!convertSymbols) args << "--cp1252";
        QVERIFY(runCli(args));

        const QByteArray fromWindow = readAll(windowFile);
        QCOMPARE(fromWindow, readAll(cliFile));
        QVERIFY(fromWindow.endsWith("</document>\r\n\r\n"));
    }

    // Values whose bytes are known from the sources themselves: the encodings
    // both sides share are the ones the saved files must have.
    void savedFilesHoldTheRightBytes() {
        const QString mdb = ROWQUILL_FIXTURES "/access/jackcess/testUnicodeCompV2003.mdb";
        if (!QFile::exists(mdb)) QSKIP("fixtures folder absent");
        QTemporaryDir dir;
        const QString csv = ROWQUILL_SOURCE_DIR "/examples/orders/orders.csv";
        const struct {
            QString file;
            const char* kind;
            const char* table;
            QByteArray utf8, cp1252;
        } cases[] = {
            {csv, "Text;", "orders.csv", "Toms Spezialit\xC3\xA4ten", "Toms Spezialit\xE4ten"},
            {csv, "Text;", "orders.csv", "Says &quot;urgent&quot; on the box",
             "Says &quot;urgent&quot; on the box"},
            // U+041C U+0438 U+0440; none of them is in code page 1252.
            {mdb, "Microsoft Access", "Table", "<Unicode>\xD0\x9C\xD0\xB8\xD1\x80</Unicode>",
             "<Unicode>\?\?\?</Unicode>"},
            {mdb, "Microsoft Access", "Table", "\xC3\xA4\xC3\xA4kk\xC3\xB6si\xC3\xA4",
             "\xE4\xE4kk\xF6si\xE4"},
        };
        int n = 0;
        for (const auto& c : cases) {
            for (bool convert : {false, true}) {
                const QString out = dir.filePath(QString::number(n++) + ".xml");
                QStringList args{"convert", c.file,  "--kind", c.kind,
                                 "--table", c.table, "-o",     out};
                if (!convert) args << "--cp1252";
                QVERIFY(runCli(args));
                const QByteArray bytes = readAll(out);
                QVERIFY2(bytes.contains(convert ? c.utf8 : c.cp1252), bytes.constData());
            }
        }
    }

    void separateFilesAreTheConvertersFiles_data() { addSources(); }
    void separateFilesAreTheConvertersFiles() {
        QFETCH(QString, connect);
        QFETCH(QString, file);
        QFETCH(QString, table);
        QFETCH(bool, convertSymbols);
        if (!QFile::exists(file)) QSKIP("fixtures folder absent");
        QTemporaryDir dir;
        QVERIFY(dir.isValid());

        Frmdata w(false);
        QVERIFY(openInWindow(w, connect, file, table));
        const int records = w.state().sheet.rows() - 1;
        QVERIFY(records > 0);
        w.findChild<QRadioButton*>("Option2")->click();
        w.findChild<QLineEdit*>("updwntxt")->setText("2");
        w.findChild<QCheckBox*>("Check2")->setChecked(convertSymbols);
        GenerateView* g = w.generateView();
        g->separateAction("node")->trigger();
        Dialogs::setNextDialogAction([&](QDialog& d) {
            auto& select = static_cast<SelectDirectoryDialog&>(d);
            select.setCurrentFolder(dir.path());
            select.nameBox()->setText("window");
            select.tryAccept();
        });
        g->separateAction("Save")->trigger();
        const QString windowFolder = dir.filePath("window");
        QCOMPARE(g->lastSavedFolder(), windowFolder);

        const QString cliFolder = dir.filePath("cli");
        QStringList args{"convert", file,      "--kind", connect, "--table",
                         table,     "--split", "2",      "-o",    cliFolder};
        if (!convertSymbols) args << "--cp1252";
        QVERIFY(runCli(args));

        const QStringList names = filesIn(windowFolder);
        QCOMPARE(names.size(), (records + 1) / 2);
        QCOMPARE(filesIn(cliFolder), names);
        for (const QString& name : names)
            QVERIFY2(readAll(windowFolder + '/' + name) == readAll(cliFolder + '/' + name),
                     qPrintable(name));
    }
};

QTEST_MAIN(CliSamenessTest)
#include "test_clisameness.moc"
