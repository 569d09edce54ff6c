// The window's small rules: dialog filters and titles, help pages, splitter
// limits, twips, and the code pane's cut of a long document.
#include <QFile>
#include <QtTest>

#include "app/dialogs.h"
#include "app/generateview.h"
#include "app/opensettings.h"

using namespace rq::ui;

class WindowRules : public QObject {
    Q_OBJECT
  private slots:
    void openDialogOnlyForAnExactKind() {
        // The classic filter first, then the other forms the reader reads, then every file.
        const OpenDialogSettings dbase = openDialogSettings("Dbase IV;");
        QCOMPARE(dbase.filter, QString("Dbase DBs (*.dbf)|*.dbf|All files (*)|*"));
        QVERIFY(!dbase.title.isEmpty());
        QCOMPARE(Dialogs::qtFilter(openDialogSettings("Text;").filter),
                 QString("Text Files (*.txt);;All supported files (*.txt *.csv *.tab *.asc);;"
                         "All files (*)"));
        QVERIFY(openDialogSettings("Microsoft Access").filter.contains("|*.mdb;*.accdb|"));
        // The comparison is exact: another spelling is no kind at all.
        for (const char* other : {"dbase IV;", "Text", ""}) {
            QVERIFY2(openDialogSettings(other).title.isEmpty(), other);
            QVERIFY2(openDialogSettings(other).filter.isEmpty(), other);
        }
    }

    void classicFiltersBecomeQtFilters() {
        QCOMPARE(Dialogs::qtFilter("Microsoft Access MDBs (*.mdb)|*.mdb"),
                 QString("Microsoft Access MDBs (*.mdb)"));
        QCOMPARE(Dialogs::qtFilter("Btrieve DBs (FILE.DDF)|FILE.DDF"),
                 QString("Btrieve DBs (FILE.DDF)"));
        QCOMPARE(Dialogs::qtFilter("XML Documents (*.xml)|*.xml|XSLT Stylesheets "
                                   "(*.xsl;*.xslt;*.fo)|*.xsl;*.xslt;*.fo|All files (*.*)|*.*"),
                 QString("XML Documents (*.xml);;XSLT Stylesheets (*.xsl *.xslt *.fo);;"
                         "All files (*)"));
    }

    void helpPagesExistInTheSourceTree() {
        for (const char* page :
             {kHelpContents, kHelpIndex, kHelpTutorial, kHelpVisualSql, kHelpOdbc}) {
            const QString path = helpPagePath(ROWQUILL_SOURCE_DIR "/help", page);
            QVERIFY2(QFile::exists(path), qPrintable(path));
        }
        QCOMPARE(helpPagePath("/opt/rq/bin", kHelpOdbc),
                 QString("/opt/rq/share/rowquill/help/helpfiles/help_rowquill/how to open "
                         "odbc/odbc.htm"));
        // A page beside the program wins over the installed one.
        QTemporaryDir tree;
        const QString installed = tree.path() + "/share/rowquill/help/" + kHelpTutorial;
        const QString beside = tree.path() + "/bin/" + kHelpTutorial;
        for (const QString& file : {installed, beside}) {
            QVERIFY(QDir().mkpath(QFileInfo(file).path()));
            QFile f(file);
            QVERIFY(f.open(QIODevice::WriteOnly));
        }
        QCOMPARE(helpPagePath(tree.path() + "/bin", kHelpTutorial), beside);
        QVERIFY(QFile::remove(beside));
        QCOMPARE(helpPagePath(tree.path() + "/bin", kHelpTutorial), installed);
    }

    void splitterKeepsFiftyTwipsFromBothEdges() {
        QCOMPARE(splitterPositionTwips(10, 10000), 50);
        QCOMPARE(splitterPositionTwips(-300, 10000), 50);
        QCOMPARE(splitterPositionTwips(9990, 10000), 9950);
        QCOMPARE(splitterPositionTwips(3000, 10000), 3000);
        QCOMPARE(splitterPositionTwips(50, 10000), 50);
        QCOMPARE(splitterPositionTwips(9950, 10000), 9950);
        // A client narrower than both margins: the middle.
        QCOMPARE(splitterPositionTwips(70, 80), 40);
    }

    void twipsAndPixels() {
        QCOMPARE(twipsToPixels(1440, 96), 96);
        QCOMPARE(twipsToPixels(320, 96), 21);  // 21.33
        QCOMPARE(pixelsToTwips(96, 96), 1440);
        QCOMPARE(pixelsToTwips(10, 0), 0);
    }

    void codePaneShowsShortDocumentsWhole() {
        const std::string doc = "<a>\r\n\t<b>\u00e9</b>\r\n</a>";
        QCOMPARE(codePaneText(doc, 1000), QString::fromUtf8(doc.c_str()));
        QCOMPARE(codePaneText(doc, doc.size()), QString::fromUtf8(doc.c_str()));
    }

    void codePaneCutsLongDocumentsAtALineEnd() {
        std::string doc;
        for (int i = 0; i < 1000; ++i) doc += "<row>" + std::to_string(i) + "</row>\r\n";
        const QString shown = codePaneText(doc, 100);
        const int note = shown.indexOf("\n[...");
        QVERIFY(note > 0);
        const QString head = shown.left(note);
        // Whole lines only, no more than the limit.
        QVERIFY(head.endsWith("</row>\r\n"));
        QVERIFY(head.size() <= 100);
        QVERIFY(QString::fromStdString(doc).startsWith(head));
        QVERIFY(shown.contains("Save As writes the whole document"));
    }

    void codePaneNeverSplitsACharacter() {
        // No line end at all, and the limit falls inside a two-byte character.
        std::string doc;
        for (int i = 0; i < 200; ++i) doc += "\u00e9";  // two bytes each
        const QString shown = codePaneText(doc, 101);
        const QString head = shown.left(shown.indexOf("\n[..."));
        QCOMPARE(head, QString(50, QChar(0xE9)));
    }
};

QTEST_MAIN(WindowRules)
#include "test_windowrules.moc"
