// The main window's desktop conventions: every command and button can be
// found by name, and the editing keys of the sheet reach their commands
// without taking the keys of the layout tree.

#include "app/frmdata.h"
#include "app/layoutview.h"
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
};

QTEST_MAIN(TestConventions)
#include "test_conventions.moc"
