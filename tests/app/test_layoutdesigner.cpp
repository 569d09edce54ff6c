// The layout designer driven as a user drives it: toolbar buttons, keys and
// menu commands on the selected tag, the column list, drops on the tree, the
// tag-properties panel, and undo and redo, each checked on the tree, the node
// table and the document the layout gives.
//
// Drags: the offscreen platform ends every drag at once, so drops are
// delivered as the drag-enter, drag-move and drop events the platform would
// send to the tree's viewport, carrying the model's own drag data.

#include "app/dialogs.h"
#include "layouthelpers.h"

using namespace rq;
using namespace rq::ui;
using namespace rq::testing;

namespace {

const QByteArray kHead = "<?xml version=\"1.0\"?>\r\n\t<document>\r\n";
const QByteArray kTail = "\t</document>\r\n";
const QByteArray kDefaultRecord =
    "\t\t<row>\r\n\t\t\t<ID>1</ID>\r\n\t\t\t<Name>Ann</Name>\r\n\t\t\t<Qty>3</Qty></row>\r\n";
const QString kDefaultShape = "<document>{<row>{<ID>,<Name>,<Qty>}}";

// Turns node 5_ (Name) into a data attribute through the panel's type choice.
void makeNameAnAttribute(Frmdata& w) {
    clickKey(w.layoutView(), "5_", w.state().tree);
    QTest::mouseClick(w.layoutView()->properties()->attributeChoice(), Qt::LeftButton);
}

// The command as a user gives it: "tool:KEY" clicks a layout toolbar button,
// "key:SEQUENCE" presses keys on the tree, "menu:NAME" runs a menu command.
void give(Frmdata& w, const QString& input) {
    const QString what = input.section(':', 1);
    if (input.startsWith("tool:")) {
        clickTool(w.layoutView(), qPrintable(what));
    } else if (input.startsWith("key:")) {
        QTreeView* tree = w.layoutView()->treeView();
        tree->setFocus();
        const QKeyCombination k = QKeySequence(what)[0];
        QTest::keyClick(tree, k.key(), k.keyboardModifiers());
    } else {
        w.action(what)->trigger();
    }
}

// Drags the node with key `from` onto the node with key `to`; whether the
// tree accepted the drag as it moved over the target.
bool dragOnto(Frmdata& w, const std::string& from, const std::string& to) {
    LayoutView* v = w.layoutView();
    QTreeView* tree = v->treeView();
    const QModelIndex source = v->model()->indexOf(w.state().tree.find(from));
    const QModelIndex target = v->model()->indexOf(w.state().tree.find(to));
    clickIndex(tree, source);
    std::unique_ptr<QMimeData> mime(v->model()->mimeData({source}));
    const QPointF pos = tree->visualRect(target).center();
    QDragEnterEvent enter(pos.toPoint(), Qt::MoveAction, mime.get(), Qt::LeftButton, {});
    QCoreApplication::sendEvent(tree->viewport(), &enter);
    QDragMoveEvent move(pos.toPoint(), Qt::MoveAction, mime.get(), Qt::LeftButton, {});
    QCoreApplication::sendEvent(tree->viewport(), &move);
    const bool accepted = move.isAccepted();
    QDropEvent drop(pos, Qt::MoveAction, mime.get(), Qt::LeftButton, {});
    QCoreApplication::sendEvent(tree->viewport(), &drop);
    return accepted;
}

}  // namespace

class LayoutDesignerTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    void commandsOnTheSelectedTag_data() {
        QTest::addColumn<bool>("nameIsAttribute");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("shape");      // empty: unchanged, nothing to undo
        QTest::addColumn<QByteArray>("record");  // null: not compared
        auto row = [](const char* name, bool attr, const char* key, const char* input,
                      const char* shape, const QByteArray& record = QByteArray()) {
            QTest::newRow(name) << attr << QString(key) << QString(input) << QString(shape)
                                << record;
        };
        row("up, toolbar", false, "5_", "tool:up", "<document>{<row>{<Name>,<ID>,<Qty>}}",
            "\t\t<row>\r\n\t\t\t<Name>Ann</Name>\r\n\t\t\t<ID>1</ID>\r\n\t\t\t<Qty>3</Qty></"
            "row>\r\n");
        row("down, Alt+Down", false, "5_", "key:Alt+Down", "<document>{<row>{<ID>,<Qty>,<Name>}}");
        row("right, menu", false, "5_", "menu:mnumovtagrght",
            "<document>{<row>{<ID>{<Name>},<Qty>}}",
            "\t\t<row>\r\n\t\t\t<ID>1<Name>Ann</Name></ID>\r\n\t\t\t<Qty>3</Qty></row>\r\n");
        row("up, below an attribute", true, "4_", "tool:up", "");
        row("new element, document node", false, "1_", "key:Ins",
            "<document>{<row>{<ID>,<Name>,<Qty>},<element>}",
            kDefaultRecord + "\t\t<element></element>\r\n");
        row("new element, element", false, "4_", "menu:mnuelent",
            "<document>{<row>{<ID>{<element>},<Name>,<Qty>}}");
        row("new element, attribute", true, "5_", "tool:attr_normtool", "");
        row("delete, root", false, "2_", "key:Del", "");
        row("delete, record element", false, "3_", "tool:Delete", "<document>", QByteArray(""));
        row("delete, data element", false, "6_", "menu:mnudelete",
            "<document>{<row>{<ID>,<Name>}}");
    }

    void commandsOnTheSelectedTag() {
        QFETCH(bool, nameIsAttribute);
        QFETCH(QString, key);
        QFETCH(QString, input);
        QFETCH(QString, shape);
        QFETCH(QByteArray, record);
        auto w = designerWindow();
        LayoutView* v = w->layoutView();
        if (nameIsAttribute) makeNameAnAttribute(*w);
        const QString before = treeShape(v);
        const QByteArray docBefore = documentOf(*w);
        const int steps = v->undoStack()->count();
        clickKey(v, key.toStdString(), w->state().tree);
        QCOMPARE(v->selectedKey(), key);
        QVERIFY(w->action("mnuelent")->isEnabled());
        give(*w, input);

        QCOMPARE(treeShape(v), shape.isEmpty() ? before : shape);
        QCOMPARE(v->undoStack()->count(), steps + (shape.isEmpty() ? 0 : 1));
        QVERIFY(textsAgreeWithTable(w->state().tree));
        if (shape.isEmpty()) QCOMPARE(documentOf(*w), docBefore);
        if (!record.isNull()) QCOMPARE(documentOf(*w), kHead + record + kTail);
        // The selection stays on the node (a moved node keeps its key); a
        // deleted node hands it to its parent.
        if (shape.isEmpty() || !input.contains("del", Qt::CaseInsensitive))
            QCOMPARE(v->selectedKey(), key);
    }

    void newDataElementFromTheColumnList() {
        auto w = designerWindow();
        LayoutView* v = w->layoutView();
        clickKey(v, "4_", w->state().tree);
        QVERIFY(v->columnPanel()->isHidden());
        clickTool(v, "attr_dataool");
        QVERIFY(v->columnPanel()->isVisible());
        QListWidget* list = v->columnList();
        QCOMPARE(list->count(), 3);
        QCOMPARE(list->item(2)->text(), QString("Qty"));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualItemRect(list->item(2)).center());
        QTest::mouseClick(v->findChild<QPushButton*>("cmdlstok"), Qt::LeftButton);
        QVERIFY(v->columnPanel()->isHidden());
        QCOMPARE(treeShape(v), QString("<document>{<row>{<ID>{<Qty>},<Name>,<Qty>}}"));
        // The new node is bound by the column's position, as the next key.
        const LayoutTree& t = w->state().tree;
        QCOMPARE(t.find("7_")->kind, int(kKindDataElement));
        QCOMPARE(t.table().cell(7, 1), std::string("Qty"));
        QCOMPARE(t.table().cell(7, 3), std::string("2"));
        QVERIFY(documentOf(*w).contains("\t\t\t<ID>1<Qty>3</Qty></ID>\r\n"));

        // With an attribute selected the pick does nothing and the list stays.
        makeNameAnAttribute(*w);
        const QString before = treeShape(v);
        w->action("mnudatelem")->trigger();
        list->setCurrentRow(0);
        QTest::keyClick(list, Qt::Key_Return);
        QCOMPARE(treeShape(v), before);
        QVERIFY(v->columnPanel()->isVisible());
        list->setFocus();
        QTest::keyClick(list, Qt::Key_Escape);
        QVERIFY(v->columnPanel()->isHidden());
    }

    void dropsOnTheTree_data() {
        QTest::addColumn<bool>("nameIsAttribute");
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<QString>("shape");      // empty: refused
        QTest::addColumn<QByteArray>("record");  // null: not compared
        auto row = [](const char* name, bool attr, const char* from, const char* to,
                      const char* shape, const QByteArray& record = QByteArray()) {
            QTest::newRow(name) << attr << QString(from) << QString(to) << QString(shape) << record;
        };
        row("onto an attribute", true, "6_", "5_", "");
        row("onto the root", false, "6_", "2_", "");
        row("element onto element", false, "6_", "5_", "<document>{<row>{<ID>,<Name>{<Qty>}}}");
        row("element after the attributes", true, "4_", "3_",
            "<document>{<row>{Name=\"\",<Qty>,<ID>}}",
            "\t\t<row Name=\"Ann\">\r\n\t\t\t<Qty>3</Qty>\r\n\t\t\t<ID>1</ID></row>\r\n");
        // An attribute lands after the elements of its new parent.
        row("attribute onto its parent", true, "5_", "3_",
            "<document>{<row>{<ID>,<Qty>,Name=\"\"}}");
        row("attribute onto element", true, "5_", "6_", "<document>{<row>{<ID>,<Qty>{Name=\"\"}}}",
            "\t\t<row>\r\n\t\t\t<ID>1</ID>\r\n\t\t\t<Qty Name=\"Ann\">3</Qty></row>\r\n");
    }

    void dropsOnTheTree() {
        QFETCH(bool, nameIsAttribute);
        QFETCH(QString, from);
        QFETCH(QString, to);
        QFETCH(QString, shape);
        QFETCH(QByteArray, record);
        auto w = designerWindow();
        LayoutView* v = w->layoutView();
        if (nameIsAttribute) makeNameAnAttribute(*w);
        const QString before = treeShape(v);
        const LayoutSnapshot snapshot = takeSnapshot(w->state().tree);
        QCOMPARE(dragOnto(*w, from.toStdString(), to.toStdString()), !shape.isEmpty());
        QCOMPARE(treeShape(v), shape.isEmpty() ? before : shape);
        if (!record.isNull()) QCOMPARE(documentOf(*w), kHead + record + kTail);
        if (shape.isEmpty()) {
            QVERIFY(takeSnapshot(w->state().tree) == snapshot);
            return;
        }
        // The dropped node keeps its key and its table row.
        QCOMPARE(v->selectedKey(), from);
        QVERIFY(textsAgreeWithTable(w->state().tree));
        w->layoutView()->undoStack()->undo();
        QVERIFY(takeSnapshot(w->state().tree) == snapshot);
    }

    void namesTypedIntoThePanel_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("answers");  // to the name prompt, in order
        QTest::addColumn<QString>("name");
        // The name rule itself is the core's; here it is applied while typing.
        QTest::newRow("blank") << "Order Date" << QStringList() << "Order_Date";
        // Only removed characters: the box empties and the prompt repeats
        // until an answer survives the rule.
        QTest::newRow("only removed") << "%%" << QStringList{"", "%", "Title"} << "Title";
    }

    void namesTypedIntoThePanel() {
        QFETCH(QString, typed);
        QFETCH(QStringList, answers);
        QFETCH(QString, name);
        auto w = designerWindow();
        LayoutView* v = w->layoutView();
        for (const QString& a : answers) Dialogs::setNextInput(a);
        clickKey(v, "5_", w->state().tree);
        typeInto(v->properties()->nameBox(), typed);

        QCOMPARE(v->properties()->nameBox()->text(), name);
        const LayoutTree& t = w->state().tree;
        QCOMPARE(QString::fromStdString(t.table().cell(5, 1)), name);
        QCOMPARE(t.table().cell(5, 3), std::string("1"));  // still bound to Name's column
        QCOMPARE(QString::fromStdString(t.find("5_")->text), "<" + name + ">");
        int prompts = 0;
        for (const ShownDialog& d : Dialogs::shown()) {
            QCOMPARE(d.title, QString("Element Name"));
            QCOMPARE(d.text, QString("Enter 'Element Name'"));
            ++prompts;
        }
        QCOMPARE(prompts, int(answers.size()));
        QVERIFY(documentOf(*w).contains(("\t\t\t<" + name + ">Ann</" + name + ">\r\n").toUtf8()));
        // The whole typing is one step to undo.
        QCOMPARE(v->undoStack()->count(), 1);
        v->undoStack()->undo();
        QCOMPARE(t.find("5_")->text, std::string("<Name>"));
    }

    void panelFieldsFollowTheKind() {
        auto w = designerWindow();
        LayoutView* v = w->layoutView();
        TagPropertiesPanel* p = v->properties();
        const struct {
            const char* key;
            bool value, choices, attribute;
        } cases[] = {
            {"2_", false, false, false},  // the root: no value, no type choice
            {"3_", true, false, false},   // a child of the root stays an element
            {"4_", false, true, false},   // a data element has no value
        };
        for (const auto& c : cases) {
            clickKey(v, c.key, w->state().tree);
            QVERIFY2(p->nameBox()->isEnabled(), c.key);
            QCOMPARE(p->valueBox()->isEnabled(), c.value);
            QCOMPARE(p->elementChoice()->isEnabled(), c.choices);
            QCOMPARE(p->attributeChoice()->isEnabled(), c.choices);
            QCOMPARE(p->attributeChoice()->isChecked(), c.attribute);
        }
        // Selecting the document node leaves the panel as it was.
        clickKey(v, "1_", w->state().tree);
        QCOMPARE(p->nameBox()->text(), QString("ID"));

        // A plain element's value follows its tag; the root's name is the
        // document's root.
        clickKey(v, "3_", w->state().tree);
        QTest::keyClick(v->treeView(), Qt::Key_Insert);
        clickKey(v, "7_", w->state().tree);
        typeInto(p->nameBox(), "item");
        typeInto(p->valueBox(), "5");
        QCOMPARE(w->state().tree.find("7_")->text, std::string("<item>5"));
        clickKey(v, "2_", w->state().tree);
        typeInto(p->nameBox(), "orders");
        QCOMPARE(treeShape(v), QString("<orders>{<row>{<ID>,<Name>,<Qty>,<item>5}}"));
        QVERIFY(documentOf(*w).endsWith("\t\t\t<item>5</item></row>\r\n\t</orders>\r\n"));
        // Delete in the name box edits the name, not the tree.
        QTest::keyClick(p->nameBox(), Qt::Key_Home);
        QTest::keyClick(p->nameBox(), Qt::Key_Delete);
        QCOMPARE(treeShape(v), QString("<rders>{<row>{<ID>,<Name>,<Qty>,<item>5}}"));
    }

    void kindChoicesMoveChildrenAndAttributes() {
        auto w = designerWindow();
        LayoutView* v = w->layoutView();
        const LayoutTree& t = w->state().tree;
        clickKey(v, "4_", t);
        QTest::keyClick(v->treeView(), Qt::Key_Insert);
        QTest::keyClick(v->treeView(), Qt::Key_Insert);
        QCOMPARE(treeShape(v),
                 QString("<document>{<row>{<ID>{<element>,<element>},<Name>,<Qty>}}"));
        clickKey(v, "6_", t);
        QTest::mouseClick(v->properties()->attributeChoice(), Qt::LeftButton);
        QCOMPARE(treeShape(v),
                 QString("<document>{<row>{Qty=\"\",<ID>{<element>,<element>},<Name>}}"));
        // An element with two children: they follow it, and it rises above
        // every element sibling, after the attribute before it.
        clickKey(v, "4_", t);
        QTest::mouseClick(v->properties()->attributeChoice(), Qt::LeftButton);
        QCOMPARE(treeShape(v), QString("<document>{<row>{Qty=\"\",ID=\"\",<element>,<element>,"
                                       "<Name>}}"));
        QCOMPARE(v->selectedKey(), QString("4_"));
        QCOMPARE(t.table().cell(4, 3), std::string("0"));
        QVERIFY(documentOf(*w).contains("\t\t<row Qty=\"3\" ID=\"1\">\r\n"));
        // Back to an element: below the attributes.
        clickKey(v, "6_", t);
        QTest::mouseClick(v->properties()->elementChoice(), Qt::LeftButton);
        QCOMPARE(treeShape(v), QString("<document>{<row>{ID=\"\",<Qty>,<element>,<element>,"
                                       "<Name>}}"));
        QCOMPARE(v->undoStack()->count(), 5);
    }

    // Undo restores the layout exactly and redo gives the edited layout back.
    // With the quick preview ticked every change tidies the layout, which
    // renumbers the keys; the state after an undo is then the earlier state
    // tidied again: the same keys and table, the same document.
    void undoAndRedoAreExact_data() {
        QTest::addColumn<bool>("preview");
        QTest::newRow("preview off") << false;
        QTest::newRow("preview on") << true;
    }

    void undoAndRedoAreExact() {
        QFETCH(bool, preview);
        auto w = designerWindow({"ID", "Name", "Qty"}, {{"1", "Ann", "3"}, {"2", "Bob & Co", "5"}});
        LayoutView* v = w->layoutView();
        w->findChild<QCheckBox*>("chkqwkpre")->setChecked(preview);
        const LayoutTree& t = w->state().tree;
        auto* pane = w->findChild<QPlainTextEdit*>("richoutput");

        std::vector<LayoutSnapshot> states{takeSnapshot(t)};
        std::vector<QByteArray> docs{documentOf(*w)};
        auto step = [&] {
            states.push_back(takeSnapshot(t));
            docs.push_back(documentOf(*w));
        };
        // Keys are looked up through the tree's order, as tidying renumbers them.
        auto nodeAt = [&](std::initializer_list<int> path) {
            const LayoutNode* n = t.rootElement();
            for (int i : path) n = n->children[static_cast<std::size_t>(i)];
            return n->key;
        };
        clickKey(v, nodeAt({0, 1}), t);
        give(*w, "key:Alt+Up");
        step();
        typeInto(v->properties()->nameBox(), "Full Name");
        step();
        QCOMPARE(pane->toPlainText().contains("<Full_Name>Ann</Full_Name>"), preview);
        clickKey(v, nodeAt({0, 2}), t);
        QTest::mouseClick(v->properties()->attributeChoice(), Qt::LeftButton);
        step();
        dragOnto(*w, nodeAt({0, 2}), nodeAt({0, 1}));
        step();
        clickKey(v, nodeAt({0}), t);
        give(*w, "key:Ins");
        step();
        clickKey(v, nodeAt({0, 1}), t);
        give(*w, "key:Del");
        step();
        clickTool(v, "Refresh");
        step();
        QCOMPARE(v->undoStack()->count(), int(states.size()) - 1);
        for (std::size_t i = 1; i < docs.size(); ++i) QVERIFY(docs[i] != docs[i - 1]);

        // Tags hold the keys before the last tidy; a second tidy changes them.
        auto keysAndTable = [](LayoutSnapshot s) {
            for (auto& n : s.nodes) n.tag.clear();
            return s;
        };
        v->treeView()->setFocus();
        for (std::size_t i = states.size() - 1; i-- > 0;) {
            QTest::keyClick(v->treeView(), Qt::Key_Z, Qt::ControlModifier);
            QCOMPARE(documentOf(*w), docs[i]);
            if (!preview)
                QVERIFY2(takeSnapshot(t) == states[i], qPrintable(QString::number(i)));
            else if (i > 0)
                QVERIFY2(keysAndTable(takeSnapshot(t)) == keysAndTable(states[i]),
                         qPrintable(QString::number(i)));
        }
        QVERIFY(!pane->toPlainText().contains("Full_Name"));
        for (std::size_t i = 1; i < states.size(); ++i) {
            QTest::keyClick(v->treeView(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
            QCOMPARE(documentOf(*w), docs[i]);
            QVERIFY2(takeSnapshot(t) == states[i], qPrintable(QString::number(i)));
        }
        QVERIFY(textsAgreeWithTable(t));
        // Edit/Insert → Undo does the same as the key.
        w->action("mnuundo")->trigger();
        QCOMPARE(documentOf(*w), docs[docs.size() - 2]);
    }
};

QTEST_MAIN(LayoutDesignerTest)
#include "test_layoutdesigner.moc"
