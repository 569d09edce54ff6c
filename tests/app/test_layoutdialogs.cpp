// The prolog and root-attribute commands of the window: Define XML Document,
// the Assign dialog in its three modes, and the Schema Properties dialog with
// its Attribute Name and Value dialog, driven by clicks and keys and checked
// on the layout and the head of the document it gives.

#include "app/assigndialog.h"
#include "app/attributedialog.h"
#include "app/dialogs.h"
#include "app/schemadialog.h"
#include "layouthelpers.h"

using namespace rq;
using namespace rq::ui;
using namespace rq::testing;

namespace {

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

class LayoutDialogsTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }
    void init() { Dialogs::clear(); }

    void defineXmlDocument() {
        auto w = designerWindow();
        const QString declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
        Dialogs::setNextInput(declaration);
        w->action("mnudefnxmlprop")->trigger();
        QCOMPARE(Dialogs::shown().last().title, QString("Define XML Document"));
        QCOMPARE(headOf(*w), declaration.toUtf8() + "\r\n\t<document>\r\n");
        QCOMPARE(w->layoutView()->model()->index(0, 0).data().toString(), declaration);
        // An empty answer changes nothing and leaves nothing to undo.
        Dialogs::setNextInput("");
        w->action("mnudefnxmlprop")->trigger();
        QCOMPARE(headOf(*w), declaration.toUtf8() + "\r\n\t<document>\r\n");
        QCOMPARE(w->layoutView()->undoStack()->count(), 1);
        // An assignment rebuilds the declaration.
        answerAssign(true, "a.css");
        w->action("mnucss")->trigger();
        QCOMPARE(headOf(*w), QByteArray("<?xml version=\"1.0\"?>\r\n<?xml:stylesheet "
                                        "type=\"text/css\" href=\"a.css\"?>\r\n\t<document>\r\n"));
    }

    void assignmentsMakeTheProlog() {
        auto w = designerWindow();
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

        // Reopened, the grid shows the attributes; Cancel keeps them.
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            QCOMPARE(d.findChild<QTableWidget*>("MSFlexGrid2")->rowCount(), 3);
            click(d, "CancelButton");
        });
        w->action("mnushema")->trigger();
        QCOMPARE(headOf(*w), "<?xml version=\"1.0\"?>\r\n" + root);
        // Emptied, the root keeps one blank before ">".
        Dialogs::setNextDialogAction([&](QDialog& d) {
            showDialog(d);
            auto* grid = d.findChild<QTableWidget*>("MSFlexGrid2");
            while (grid->rowCount() > 0) {
                grid->selectRow(0);
                click(d, "cmdremove");
            }
            click(d, "OKButton");
        });
        w->action("mnushema")->trigger();
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

QTEST_MAIN(LayoutDialogsTest)
#include "test_layoutdialogs.moc"
