// The window's small rules: classic dialog filters, where help pages are
// found, and the code pane's cut of a long document.
#include <QFile>
#include <QtTest>

#include "app/dialogs.h"
#include "app/generateview.h"
#include "app/opensettings.h"

using namespace rq::ui;

class WindowRules : public QObject {
    Q_OBJECT
  private slots:
    void openDialogsOfferTheClassicFilterThenEveryFormThenAllFiles() {
        QCOMPARE(openDialogSettings("Dbase IV;").filter,
                 QString("Dbase DBs (*.dbf)|*.dbf|All files (*)|*"));
        QCOMPARE(Dialogs::qtFilter(openDialogSettings("Text;").filter),
                 QString("Text Files (*.txt);;All supported files (*.txt *.csv *.tab *.asc);;"
                         "All files (*)"));
        QVERIFY(openDialogSettings("Microsoft Access").filter.contains("|*.mdb;*.accdb|"));
    }

    void classicFiltersBecomeQtFilters() {
        QCOMPARE(Dialogs::qtFilter("Btrieve DBs (FILE.DDF)|FILE.DDF"),
                 QString("Btrieve DBs (FILE.DDF)"));
        QCOMPARE(Dialogs::qtFilter("XML Documents (*.xml)|*.xml|XSLT Stylesheets "
                                   "(*.xsl;*.xslt;*.fo)|*.xsl;*.xslt;*.fo|All files (*.*)|*.*"),
                 QString("XML Documents (*.xml);;XSLT Stylesheets (*.xsl *.xslt *.fo);;"
                         "All files (*)"));
    }

    void helpPagesExistAndThoseBesideTheProgramWin() {
        for (const char* page :
             {kHelpContents, kHelpIndex, kHelpTutorial, kHelpVisualSql, kHelpOdbc}) {
            const QString path = helpPagePath(ROWQUILL_SOURCE_DIR "/help", page);
            QVERIFY2(QFile::exists(path), qPrintable(path));
        }
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

    // Whole lines only, no more than the limit; without a line end the cut
    // never splits a character.
    void codePaneCutsLongDocumentsAtALineEnd() {
        const std::string shortDoc = "<a>\r\n\t<b>\u00e9</b>\r\n</a>";
        QCOMPARE(codePaneText(shortDoc, shortDoc.size()), QString::fromUtf8(shortDoc.c_str()));
        std::string doc;
        for (int i = 0; i < 1000; ++i) doc += "<row>" + std::to_string(i) + "</row>\r\n";
        QString shown = codePaneText(doc, 100);
        QString head = shown.left(shown.indexOf("\n[..."));
        QVERIFY(head.endsWith("</row>\r\n") && head.size() <= 100);
        QVERIFY(QString::fromStdString(doc).startsWith(head));
        QVERIFY(shown.contains("Save As writes the whole document"));
        doc.clear();
        for (int i = 0; i < 200; ++i) doc += "\u00e9";  // two bytes each
        shown = codePaneText(doc, 101);
        QCOMPARE(shown.left(shown.indexOf("\n[...")), QString(50, QChar(0xE9)));
    }
};

QTEST_MAIN(WindowRules)
#include "test_windowrules.moc"
