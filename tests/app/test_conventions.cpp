// The main window's desktop conventions: every command and button can be
// found by name, and the editing keys of the sheet reach their commands
// without taking the keys of the layout tree; and the window's small rules:
// classic dialog filters, where help pages are found, and the code pane's cut
// of a long document.

#include "app/frmdata.h"
#include "app/generateview.h"
#include "app/layoutview.h"
#include "app/opensettings.h"
#include "widgethelpers.h"

using namespace rq::ui;

namespace {

// What a screen reader announces for the widget.
QString nameOf(QAbstractButton* b) {
    QAccessibleInterface* face = QAccessible::queryAccessibleInterface(b);
    return face ? face->text(QAccessible::Name) : QString();
}

}  // namespace

class TestConventions : public QObject {
    Q_OBJECT

  private slots:
    void everyCommandAndButtonHasAName() {
        Frmdata w(false);
        QStringList unnamed;
        for (const QAction* a : w.findChildren<QAction*>())
            if (!a->isSeparator() && a->text().trimmed().isEmpty())
                unnamed << QString("action %1 of %2 %3")
                               .arg(a->objectName(), a->parent()->metaObject()->className(),
                                    a->parent()->objectName());
        for (QAbstractButton* b : w.findChildren<QAbstractButton*>())
            if (nameOf(b).trimmed().isEmpty())
                unnamed
                    << QString("button %1 (%2)").arg(b->objectName(), b->metaObject()->className());
        QVERIFY2(unnamed.isEmpty(), qPrintable(unnamed.join(", ")));
    }

    // Keys pressed as a user would: Ctrl+C on the grid copies, Delete on the
    // layout tree is the tree's own, Ctrl+Q closes the window.
    void keysReachTheirCommands() {
        Frmdata w(false);
        w.show();
        QVERIFY(QTest::qWaitForWindowActive(&w));
        QSignalSpy copy(w.action("mnuEditCopy"), &QAction::triggered);
        QSignalSpy del(w.action("mnuEditDelete"), &QAction::triggered);

        w.grid()->setFocus();
        QTest::keyClick(w.grid(), Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(copy.count(), 1);
        QTest::keyClick(w.grid(), Qt::Key_Delete);
        QCOMPARE(del.count(), 1);

        w.showLayoutView();
        QTreeView* tree = w.findChild<LayoutView*>()->treeView();
        tree->setFocus();
        QTest::keyClick(tree, Qt::Key_Delete);
        QTest::keyClick(tree, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(del.count(), 1);
        QCOMPARE(copy.count(), 1);

        QTest::keyClick(&w, Qt::Key_Q, Qt::ControlModifier);
        QTRY_VERIFY(!w.isVisible());
    }

    void openDialogsOfferTheClassicFilterThenEveryFormThenAllFilesAsQtFilters() {
        QCOMPARE(openDialogSettings("Dbase IV;").filter,
                 QString("Dbase DBs (*.dbf)|*.dbf|All files (*)|*"));
        QCOMPARE(Dialogs::qtFilter(openDialogSettings("Text;").filter),
                 QString("Text Files (*.txt);;All supported files (*.txt *.csv *.tab *.asc);;"
                         "All files (*)"));
        QVERIFY(openDialogSettings("Microsoft Access").filter.contains("|*.mdb;*.accdb|"));
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

QTEST_MAIN(TestConventions)
#include "test_conventions.moc"
