// Layout files in the window: a layout designed with the window's commands,
// saved with File → "Save Layout...", gives the batch converter the same bytes
// the window saves; a layout file opens in a fresh window as it was designed.

#include "app/dialogs.h"
#include "layouthelpers.h"

using namespace rq;
using namespace rq::ui;
using namespace rq::testing;

namespace {

const QString kOrders = QStringLiteral(ROWQUILL_SOURCE_DIR "/examples/orders/orders.csv");

// The orders example loaded into the window, its layout shown.
bool openOrders(Frmdata& w) {
    w.openDaoDb(QStringLiteral("Text;"), kOrders);
    if (w.tableList()->count() == 0 || !w.loadListEntry(0)) return false;
    w.action("mnulayout")->trigger();
    return true;
}

const LayoutNode* child(const LayoutNode* n, int i) {
    return n->children[static_cast<std::size_t>(i)];
}

// Edits the default layout of the orders table (OrderID, Customer, City,
// Ordered, Total, Note) with the window's commands: renames, an attribute, a
// fixed element with a value, moves, a stylesheet and root attributes. With
// attributeLast, an attribute is dropped after its new parent's element.
void design(Frmdata& w, bool attributeLast = false) {
    LayoutView* v = w.layoutView();
    const LayoutTree& t = w.state().tree;
    TagPropertiesPanel* p = v->properties();
    QTreeView* tree = v->treeView();
    const LayoutNode* record = child(t.rootElement(), 0);
    clickKey(v, record->key, t);
    typeInto(p->nameBox(), "order");
    // OrderID becomes an attribute of the record.
    clickKey(v, child(record, 0)->key, t);
    QTest::mouseClick(p->attributeChoice(), Qt::LeftButton);
    // A fixed element with a value, moved up above Total.
    clickKey(v, record->key, t);
    QTest::keyClick(tree, Qt::Key_Insert);
    clickKey(v, record->children.back()->key, t);
    typeInto(p->nameBox(), "note");
    typeInto(p->valueBox(), "fixed & <text>");
    tree->setFocus();
    QTest::keyClick(tree, Qt::Key_Up, Qt::AltModifier);
    QTest::keyClick(tree, Qt::Key_Up, Qt::AltModifier);
    // Ordered into City.
    clickKey(v, child(record, 3)->key, t);
    QTest::keyClick(tree, Qt::Key_Right, Qt::AltModifier);
    if (attributeLast) {
        // Note gets an element, Customer an attribute, which is dropped onto Note.
        clickKey(v, record->children.back()->key, t);
        QTest::keyClick(tree, Qt::Key_Insert);
        clickKey(v, child(record, 1)->key, t);
        QTest::keyClick(tree, Qt::Key_Insert);
        clickKey(v, child(record, 1)->children.back()->key, t);
        QTest::mouseClick(p->attributeChoice(), Qt::LeftButton);
        typeInto(p->valueBox(), "v");
        const QModelIndex attribute = v->model()->indexOf(v->selectedNode());
        const QModelIndex note = v->model()->indexOf(record->children.back());
        std::unique_ptr<QMimeData> mime(v->model()->mimeData({attribute}));
        v->model()->dropMimeData(mime.get(), Qt::MoveAction, -1, -1, note);
    }
    // The prolog and the root attributes through their dialogs.
    Dialogs::setNextDialogAction([](QDialog& d) {
        d.findChild<QCheckBox*>("Check1")->setChecked(true);
        d.findChild<QLineEdit*>("txtlocation")->setText("orders.xsl");
        d.accept();
    });
    w.action("mnuxslt")->trigger();
    Dialogs::setNextDialogAction([](QDialog& d) {
        Dialogs::setNextFileName("orders.xsd");
        Dialogs::setNextInput("urn:orders");
        d.findChild<QPushButton*>("Command1")->click();
        d.accept();
    });
    w.action("mnushema")->trigger();
}

}  // namespace

class LayoutFilesTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    void designedLayoutRunsInTheConverter_data() {
        QTest::addColumn<bool>("convertSymbols");
        QTest::addColumn<bool>("attributeLast");
        QTest::newRow("1252") << false << false;
        QTest::newRow("utf-8") << true << false;
        QTest::newRow("attribute after an element") << false << true;
    }

    void designedLayoutRunsInTheConverter() {
        QFETCH(bool, convertSymbols);
        QFETCH(bool, attributeLast);
        if (!QFile::exists(kOrders)) QSKIP("example missing");
        QTemporaryDir dir;
        Frmdata w(false);
        showActive(w);
        QVERIFY(openOrders(w));
        design(w, attributeLast);
        const QString layout = dir.filePath("orders.rqlayout");
        Dialogs::setNextFileName(dir.filePath("orders"));  // the extension is added
        w.action("mnusavelayout")->trigger();
        QVERIFY(QFile::exists(layout));
        w.action("mnugenerate")->trigger();
        w.findChild<QCheckBox*>("Check2")->setChecked(convertSymbols);
        GenerateView* g = w.generateView();
        g->singleAction("node")->trigger();
        const QString windowFile = dir.filePath("window.xml");
        Dialogs::setNextFileName(windowFile);
        g->singleAction("Save")->trigger();

        const QString cliFile = dir.filePath("cli.xml");
        QStringList args{"convert",    kOrders,    "--kind", "Text;", "--table",
                         "orders#csv", "--layout", layout,   "-o",    cliFile};
        if (!convertSymbols) args << "--cp1252";
        QVERIFY(runCli(args));
        const QByteArray fromWindow = readAll(windowFile);
        QCOMPARE(fromWindow, readAll(cliFile));
        // The design is in the bytes: the renamed record with its attribute,
        // the escaped fixed value, the stylesheet.
        QVERIFY(fromWindow.contains("<?xml:stylesheet type=\"text/xsl\" href=\"orders.xsl\"?>"));
        QVERIFY(fromWindow.contains("\t\t<order OrderID=\"10248\">"));
        QVERIFY(fromWindow.contains("<document xmlns=\"urn:orders\" "));
        QVERIFY(fromWindow.contains("<note>fixed &amp; &lt;text&gt;</note>"));
    }

    void layoutFileOpensAsDesigned() {
        if (!QFile::exists(kOrders)) QSKIP("example missing");
        QTemporaryDir dir;
        const QString layout = dir.filePath("designed.rqlayout");
        QString shape;
        QByteArray document;
        {
            Frmdata w(false);
            showActive(w);
            QVERIFY(openOrders(w));
            design(w);
            shape = treeShape(w.layoutView());
            document = documentOf(w);
            Dialogs::setNextFileName(layout);
            w.action("mnusavelayout")->trigger();
        }
        Frmdata w(false);
        showActive(w);
        QVERIFY(openOrders(w));
        const QString defaultShape = treeShape(w.layoutView());
        Dialogs::setNextFileName(layout);
        w.action("mnuopenlayout")->trigger();
        QCOMPARE(Dialogs::shown().last().text, QString("Layout Files (*.rqlayout)|*.rqlayout"));
        QCOMPARE(treeShape(w.layoutView()), shape);
        QCOMPARE(documentOf(w), document);
        // Switching views keeps the opened layout.
        w.action("mnusheet")->trigger();
        w.action("mnulayout")->trigger();
        QCOMPARE(treeShape(w.layoutView()), shape);
        // Opening is one step to undo.
        w.action("mnuundo")->trigger();
        QCOMPARE(treeShape(w.layoutView()), defaultShape);

        // Saving over a file asks first; No asks for another name.
        Dialogs::clear();
        Dialogs::setNextFileName(layout);
        Dialogs::setNextAnswer(QMessageBox::No);
        Dialogs::setNextFileName("");
        const QByteArray before = readAll(layout);
        w.action("mnusavelayout")->trigger();
        QCOMPARE(Dialogs::shown().size(), 3);
        QCOMPARE(Dialogs::shown().at(1).text,
                 QString("designed.rqlayout already exists, would you like to overwrite it?"));
        QCOMPARE(readAll(layout), before);
    }

    void badLayoutFileIsRefusedWithItsLine() {
        QTemporaryDir dir;
        const QString file = dir.filePath("bad.rqlayout");
        QVERIFY(
            writeFile(file,
                      "<rowquill-layout version=\"1\">\n  <root name=\"r\">\n"
                      "    <attribute name=\"a\" value=\"1\"/>\n  </root>\n</rowquill-layout>\n"));
        auto w = designerWindow();
        const QString shape = treeShape(w->layoutView());
        w->openLayout(file);
        QCOMPARE(Dialogs::shown().last().kind, QString("message"));
        QVERIFY2(Dialogs::shown().last().text.contains(file) &&
                     Dialogs::shown().last().text.contains("line 3"),
                 qPrintable(Dialogs::shown().last().text));
        QCOMPARE(treeShape(w->layoutView()), shape);
        QCOMPARE(w->layoutView()->undoStack()->count(), 0);
    }
};

QTEST_MAIN(LayoutFilesTest)
#include "test_layoutfiles.moc"
