// The layout designer driven as a user drives it: toolbar buttons, keys and
// menu commands on the selected tag, the column list, drops on the tree, the
// tag-properties panel, and undo and redo, each checked on the tree, the node
// table and the document the layout gives; and the prolog and root-attribute
// commands: Define XML Document, the Assign dialog in its three modes, and the
// Schema Properties dialog with its Attribute Name and Value dialog.
//
// Drags: the offscreen platform ends every drag at once, so drops are
// delivered as the drag-enter, drag-move and drop events the platform would
// send to the tree's viewport, carrying the model's own drag data.

#include "app/assigndialog.h"
#include "app/attributedialog.h"
#include "app/dialogs.h"
#include "app/schemadialog.h"
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

// The document's lines before the first record.
QByteArray headOf(Frmdata& w) {
    const QByteArray doc = documentOf(w);
    return doc.left(doc.indexOf("\t\t<row>"));
}

// Answers the next Assign dialog: ticks or unticks the box, types or browses
// for the location, then presses a button.
void answerAssign(bool tick, const QString& location, bool browse = false,
                  const char* button = "cmdok") {
    Dialogs::setNextDialogAction([=](QDialog& d) {
        showDialog(d);
        auto* check = d.findChild<QCheckBox*>("Check1");
        if (check->isChecked() != tick) QTest::mouseClick(check, Qt::LeftButton);
        auto* box = d.findChild<QLineEdit*>("txtlocation");
        if (browse) {
            Dialogs::setNextFileName(location);
            click(d, "cmdbrowse");
        } else if (tick) {
            typeInto(box, location);
        }
        click(d, button);
    });
}

// Answers the next Attribute Name and Value dialog.
void answerAttribute(const QString& name, const QString& value, const char* button = "cmdok") {
    Dialogs::setNextDialogAction([=](QDialog& d) {
        showDialog(d);
        if (!name.isNull()) typeInto(d.findChild<QLineEdit*>("txtname"), name);
        if (!value.isNull()) typeInto(d.findChild<QLineEdit*>("txtvalue"), value);
        click(d, button);
        // A refused OK leaves the dialog open: close it.
        if (d.result() != QDialog::Accepted) d.reject();
    });
}

QStringList gridRows(const QTableWidget* grid) {
    QStringList out;
    for (int r = 0; r < grid->rowCount(); ++r)
        out << grid->item(r, 0)->text() + "=" + grid->item(r, 1)->text();
    return out;
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
        clickRow(list, 2);
        QTest::mouseClick(v->findChild<QPushButton*>("cmdlstok"), Qt::LeftButton);
        QVERIFY(v->columnPanel()->isHidden());
        QCOMPARE(treeShape(v), QString("<document>{<row>{<ID>{<Qty>},<Name>,<Qty>}}"));
        // The new node is bound to the picked column: its value is the record's.
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
        w->layoutView()->undoStack()->undo();
        QVERIFY(takeSnapshot(w->state().tree) == snapshot);
    }

    // The name rule (the core's) applied while typing: characters it only
    // removes empty the box, and the prompt repeats until an answer survives
    // the rule.
    void namesTypedIntoThePanel() {
        const QStringList answers{"", "%", "Order Date"};
        const QString name = "Order_Date";
        auto w = designerWindow();
        LayoutView* v = w->layoutView();
        for (const QString& a : answers) Dialogs::setNextInput(a);
        clickKey(v, "5_", w->state().tree);
        typeInto(v->properties()->nameBox(), "%%");

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

        // A plain element's value follows its tag. (The root's name is
        // typed in the prolog test.)
        clickKey(v, "3_", w->state().tree);
        QTest::keyClick(v->treeView(), Qt::Key_Insert);
        clickKey(v, "7_", w->state().tree);
        typeInto(p->nameBox(), "item");
        typeInto(p->valueBox(), "5");
        QVERIFY(documentOf(*w).endsWith("\t\t\t<item>5</item></row>\r\n\t</document>\r\n"));
        // Delete in the name box edits the name, not the tree.
        QTest::keyClick(p->nameBox(), Qt::Key_Home);
        QTest::keyClick(p->nameBox(), Qt::Key_Delete);
        QCOMPARE(treeShape(v), QString("<document>{<row>{<ID>,<Name>,<Qty>,<tem>5}}"));
    }

    void kindChoicesMoveChildrenAndAttributes() {
        auto w = designerWindow();
        LayoutView* v = w->layoutView();
        const LayoutTree& t = w->state().tree;
        clickKey(v, "4_", t);
        QTest::keyClick(v->treeView(), Qt::Key_Insert);
        QTest::keyClick(v->treeView(), Qt::Key_Insert);
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
        QVERIFY(documentOf(*w).contains("\t\t<row Qty=\"3\" ID=\"1\">\r\n"));  // still bound
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
        // Edit/Insert → Undo does the same as the key.
        w->action("mnuundo")->trigger();
        QCOMPARE(documentOf(*w), docs[docs.size() - 2]);
    }

    // Define XML Document sets the declaration, which the first assignment
    // rebuilds; an empty answer changes nothing and leaves nothing to undo.
    void defineXmlDocumentAndAssignmentsMakeTheProlog() {
        auto w = designerWindow();
        const QString declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
        Dialogs::setNextInput(declaration);
        w->action("mnudefnxmlprop")->trigger();
        QCOMPARE(Dialogs::shown().last().title, QString("Define XML Document"));
        QCOMPARE(headOf(*w), declaration.toUtf8() + "\r\n\t<document>\r\n");
        QCOMPARE(w->layoutView()->model()->index(0, 0).data().toString(), declaration);
        Dialogs::setNextInput("");
        w->action("mnudefnxmlprop")->trigger();
        QCOMPARE(headOf(*w), declaration.toUtf8() + "\r\n\t<document>\r\n");
        QCOMPARE(w->layoutView()->undoStack()->count(), 1);

        const QByteArray decl = "<?xml version=\"1.0\"?>\r\n";
        const QByteArray xsl = "<?xml:stylesheet type=\"text/xsl\" href=\"view.xsl\"?>\r\n";
        const QByteArray css = "<?xml:stylesheet type=\"text/css\" href=\"look.css\"?>\r\n";
        const QByteArray dtd = "<!DOCTYPE document SYSTEM \"rules.dtd\">\r\n";
        const QByteArray root = "\t<document>\r\n";
        const struct {
            const char* menu;
            bool tick;
            const char* location;
            bool browse;
            QByteArray head;
        } steps[] = {
            {"mnuxslt", true, "view.xsl", false, decl + xsl + root},
            {"mnudtd", true, "rules.dtd", true, decl + xsl + dtd + root},
            // One stylesheet slot: CSS replaces XSLT.
            {"mnucss", true, "look.css", false, decl + css + dtd + root},
            // Unticking removes only that item.
            {"mnudtd", false, "", false, decl + css + root},
        };
        for (const auto& s : steps) {
            answerAssign(s.tick, s.location, s.browse);
            w->action(s.menu)->trigger();
            QCOMPARE(headOf(*w), s.head);
            if (s.browse) QCOMPARE(lastShown("open")->text, QString("DTD Files (*.dtd)|*.dtd"));
        }
        // Cancel changes nothing.
        const int undoSteps = w->layoutView()->undoStack()->count();
        answerAssign(true, "other.xsl", false, "cmdcancel");
        w->action("mnuxslt")->trigger();
        QCOMPARE(headOf(*w), decl + css + root);
        QCOMPARE(w->layoutView()->undoStack()->count(), undoSteps);
        // The DOCTYPE names the root as it is named at OK.
        answerAssign(true, "rules.dtd");
        w->action("mnudtd")->trigger();
        clickKey(w->layoutView(), "2_", w->state().tree);
        typeInto(w->layoutView()->properties()->nameBox(), "orders");
        QCOMPARE(headOf(*w), decl + css + dtd + "\t<orders>\r\n");
        // The dialog opens with the assignment the layout has.
        bool seen = false;
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            QVERIFY(d.findChild<QCheckBox*>("Check1")->isChecked());
            QCOMPARE(d.findChild<QLineEdit*>("txtlocation")->text(), QString("rules.dtd"));
            seen = true;
            click(d, "cmdok");
        });
        w->action("mnudtd")->trigger();
        QVERIFY(seen);
        QCOMPARE(headOf(*w),
                 decl + css + "<!DOCTYPE orders SYSTEM \"rules.dtd\">\r\n\t<orders>\r\n");
        // Every assignment is one step to undo.
        QUndoStack* undo = w->layoutView()->undoStack();
        undo->undo();
        undo->undo();
        QCOMPARE(headOf(*w), decl + css + dtd + "\t<document>\r\n");
    }

    void schemaPropertiesDialog() {
        auto w = designerWindow();
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            auto* grid = d.findChild<QTableWidget*>("MSFlexGrid2");
            QCOMPARE(grid->rowCount(), 0);
            // The schema file and the namespace give three rows.
            Dialogs::setNextFileName("/schemas/orders.xsd");
            Dialogs::setNextInput("urn:orders");
            click(d, "Command1");
            QCOMPARE(Dialogs::shown().last().title, QString("Your Namespace"));
            QCOMPARE(gridRows(grid),
                     QStringList({"xmlns=urn:orders",
                                  "xmlns:xsi=http://www.w3.org/2001/XMLSchema-instance",
                                  "xsi:schemaLocation=/schemas/orders.xsd"}));
            // Add: the name rule while typing; a clash keeps the dialog open.
            answerAttribute("my attr", "1");
            click(d, "cmdAdd");
            answerAttribute("xmlns", "2");
            click(d, "cmdAdd");
            QCOMPARE(lastMessageText(), QString("Please choose a unique name"));
            QCOMPARE(grid->rowCount(), 4);
            QCOMPARE(grid->item(3, 0)->text(), QString("my_attr"));
            // Modify keeps its own name; Move UP, Remove.
            grid->selectRow(3);
            answerAttribute(QString(), "one");
            click(d, "cmdmodify");
            click(d, "cmdatup");
            QCOMPARE(grid->item(2, 0)->text(), QString("my_attr"));
            QCOMPARE(grid->item(2, 1)->text(), QString("one"));
            grid->selectRow(3);
            click(d, "cmdremove");
            grid->selectRow(0);
            click(d, "cmdatdown");
            QCOMPARE(gridRows(grid),
                     QStringList({"xmlns:xsi=http://www.w3.org/2001/XMLSchema-instance",
                                  "xmlns=urn:orders", "my_attr=one"}));
            click(d, "OKButton");
        });
        w->action("mnushema")->trigger();
        const QByteArray root =
            "\t<document xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
            "xmlns=\"urn:orders\" my_attr=\"one\" >\r\n";
        QCOMPARE(headOf(*w), "<?xml version=\"1.0\"?>\r\n" + root);
        QCOMPARE(QString::fromStdString(w->state().tree.rootElement()->text),
                 QString::fromUtf8(root.mid(1, root.size() - 3)));

        // Reopened, the grid shows the attributes; emptied, Cancel keeps them
        // (the second opening shows them again) and OK removes them.
        for (const char* button : {"CancelButton", "OKButton"}) {
            Dialogs::setNextDialogAction([&](QDialog& d) {
                showDialog(d);
                auto* grid = d.findChild<QTableWidget*>("MSFlexGrid2");
                QCOMPARE(grid->rowCount(), 3);
                while (grid->rowCount() > 0) {
                    grid->selectRow(0);
                    click(d, "cmdremove");
                }
                click(d, button);
            });
            w->action("mnushema")->trigger();
        }
        // Emptied, the root keeps one blank before ">".
        QCOMPARE(headOf(*w), QByteArray("<?xml version=\"1.0\"?>\r\n\t<document >\r\n"));
        QCOMPARE(w->state().tree.rootAttributes, std::string(" "));
    }

    // Emptying the name asks for one. (Typing through the name rule and
    // Modify keeping its own name are driven in the schema dialog test.)
    void emptiedAttributeNameAsksForOne() {
        AttributeDialog d({{"a", "1"}}, -1);
        d.show();
        Dialogs::setNextInput("good name");
        typeInto(d.nameBox(), "x");
        QTest::keyClick(d.nameBox(), Qt::Key_Backspace);
        QCOMPARE(Dialogs::shown().last().title, QString("Attribute Name"));
        QCOMPARE(d.nameBox()->text(), QString("good_name"));
    }

    void rootAttributeTextsReadBack() {
        const struct {
            const char* text;
            std::vector<RootAttribute> rows;
        } cases[] = {
            {" a=\"1\" b=\"x y\" ", {{"a", "1"}, {"b", "x y"}}},
            {" ", {}},
            {"", {}},
            {" a=\"1\"", {}},             // not a text the dialog writes
            {" a=\"say \"hi\" \" ", {}},  // ambiguous quotes
        };
        for (const auto& c : cases) QCOMPARE(SchemaDialog::parseRootAttributes(c.text), c.rows);
    }
};

QTEST_MAIN(LayoutDesignerTest)
#include "test_layoutdesigner.moc"
