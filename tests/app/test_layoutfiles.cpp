// The window's saved files against the batch converter's: for the same table
// the window's Save As gives the converter's bytes, in one file and split into
// several, with and without symbol conversion, with the default layout and
// with a layout designed by the window's commands and saved with File → "Save
// Layout..."; a layout file opens in a fresh window as it was designed. The
// tables hold text beyond ASCII, some beyond code page 1252, so the file
// encodings are part of the comparison.

#include "app/dialogs.h"
#include "app/selectdirectory.h"
#include "layouthelpers.h"

using namespace rq;
using namespace rq::ui;
using namespace rq::testing;

namespace {

const QString kOrders = QStringLiteral(ROWQUILL_SOURCE_DIR "/examples/orders/orders.csv");

// Opens the database in the window and loads the named table; false when
// the table is missing or does not load.
bool openTable(Frmdata& w, const QString& connect, const QString& file, const QString& table) {
    w.openDaoDb(connect, file);
    const int row = items(w.tableList()).indexOf(table);
    return row >= 0 && w.loadListEntry(row);
}

// The orders example loaded into the window, its layout shown.
bool openOrders(Frmdata& w) {
    if (!openTable(w, QStringLiteral("Text;"), kOrders, QStringLiteral("orders#csv"))) return false;
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

    void savedFilesAreTheConvertersFiles_data() {
        QTest::addColumn<QString>("connect");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("table");
        QTest::addColumn<int>("designed");  // 0: the default layout; 2: an attribute last
        QTest::addColumn<bool>("split");
        QTest::addColumn<bool>("convertSymbols");
        const struct {
            const char* tag;
            const char* connect;
            QString file;
            const char* table;
        } sources[] = {
            // Latin text with umlauts and accents, quotes and commas in values.
            {"text", "Text;", kOrders, "orders#csv"},
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
                        << QString(s.connect) << s.file << QString(s.table) << 0 << split
                        << convert;
        for (int designed : {1, 2})
            for (bool convert : {false, true})
                if (designed == 1 || !convert)
                    QTest::newRow(qPrintable(QString("designed%1 %2")
                                                 .arg(designed == 2 ? ", attribute last" : "",
                                                      convert ? "utf-8" : "1252")))
                        << "Text;" << kOrders << "orders#csv" << designed << false << convert;
    }

    void savedFilesAreTheConvertersFiles() {
        QFETCH(QString, connect);
        QFETCH(QString, file);
        QFETCH(QString, table);
        QFETCH(int, designed);
        QFETCH(bool, split);
        QFETCH(bool, convertSymbols);
        if (!QFile::exists(file)) QSKIP("fixtures folder absent");
        QTemporaryDir dir;
        Frmdata w(false);
        showActive(w);
        QVERIFY(openTable(w, connect, file, table));
        const QString windowOut = dir.filePath(split ? "window" : "window.xml");
        const QString cliOut = dir.filePath(split ? "cli" : "cli.xml");
        QStringList args{"convert", file, "--kind", connect, "--table", table, "-o", cliOut};
        if (!convertSymbols) args << "--cp1252";
        if (designed) {
            w.action("mnulayout")->trigger();
            design(w, designed == 2);
            const QString layout = dir.filePath("orders.rqlayout");
            Dialogs::setNextFileName(dir.filePath("orders"));  // the extension is added
            w.action("mnusavelayout")->trigger();
            QVERIFY(QFile::exists(layout));
            args << "--layout" << layout;
        }
        w.action("mnugenerate")->trigger();
        w.findChild<QCheckBox*>("Check2")->setChecked(convertSymbols);
        GenerateView* g = w.generateView();
        if (!split) {
            g->singleAction("node")->trigger();
            Dialogs::setNextFileName(windowOut);
            g->singleAction("Save")->trigger();
            QCOMPARE(g->lastSavedFile(), windowOut);
            QVERIFY(runCli(args));
            const QByteArray fromWindow = readAll(windowOut);
            QCOMPARE(fromWindow, readAll(cliOut));
            QVERIFY(fromWindow.endsWith("</document>\r\n\r\n"));
            if (!designed) return;
            // The design is in the bytes: the renamed record with its attribute,
            // the escaped fixed value, the stylesheet.
            QVERIFY(
                fromWindow.contains("<?xml:stylesheet type=\"text/xsl\" href=\"orders.xsl\"?>"));
            QVERIFY(fromWindow.contains("\t\t<order OrderID=\"10248\">"));
            QVERIFY(fromWindow.contains("<document xmlns=\"urn:orders\" "));
            QVERIFY(fromWindow.contains("<note>fixed &amp; &lt;text&gt;</note>"));
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
        const QStringList names = QDir(windowOut).entryList(QDir::Files, QDir::Name);
        QCOMPARE(names.size(), (records + 1) / 2);
        QCOMPARE(QDir(cliOut).entryList(QDir::Files, QDir::Name), names);
        for (const QString& name : names)
            QVERIFY2(readAll(windowOut + '/' + name) == readAll(cliOut + '/' + name),
                     qPrintable(name));
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
