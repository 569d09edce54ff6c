// The commands of the XML Layout view: each changes the layout through the
// editing core as one undoable step.
#include <QListWidget>
#include <QTreeView>

#include "app/assigndialog.h"
#include "app/dialogs.h"
#include "app/layoutview.h"
#include "app/schemadialog.h"
#include "layout/defaultlayout.h"
#include "layout/layoutfile.h"
#include "layout/prolog.h"

namespace rq::ui {

namespace {

QString fromUtf8(const std::string& s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

}  // namespace

void LayoutView::newElement() {
    runEdit(QStringLiteral("New Element"),
            [this](LayoutNode*& select) { return addElement(state_.tree, select) != nullptr; });
}

void LayoutView::newDataElement() {
    columnList_->clear();
    for (const std::string& name : state_.tree.columnNames) columnList_->addItem(fromUtf8(name));
    if (columnList_->count() > 0) columnList_->setCurrentRow(0);
    columnPanel_->show();
    columnList_->setFocus();
}

void LayoutView::confirmDataElement() {
    LayoutNode* selected = selectedNode();
    if (!selected || isAttributeKind(selected->kind)) return;
    columnPanel_->hide();
    const int column = columnList_->currentRow();
    runEdit(QStringLiteral("New Data Element"), [&](LayoutNode*& select) {
        return addDataElement(state_.tree, select, column) != nullptr;
    });
    tree_->setFocus();
}

void LayoutView::deleteTag() {
    runEdit(QStringLiteral("Delete"), [this](LayoutNode*& select) {
        LayoutNode* parent = select ? select->parent : nullptr;
        if (!deleteNode(state_.tree, select)) return false;
        select = parent;
        return true;
    });
}

void LayoutView::moveTag(MoveDirection direction) {
    runEdit(QStringLiteral("Move Tag"), [&](LayoutNode*& select) {
        LayoutNode* moved = rq::moveTag(state_.tree, select, direction);
        if (!moved) return false;
        select = moved;
        return true;
    });
}

void LayoutView::refresh() {
    columnPanel_->hide();
    runEdit(QStringLiteral("Refresh"), [this](LayoutNode*& select) {
        buildDefaultLayout(state_.tree, state_.sheet);
        select = nullptr;
        return true;
    });
}

void LayoutView::makeAttribute() {
    runEdit(QStringLiteral("Attribute"), [this](LayoutNode*& select) {
        LayoutNode* n = rq::makeAttribute(state_.tree, select);
        if (!n) return false;
        select = n;
        return true;
    });
}

void LayoutView::makeElement() {
    runEdit(QStringLiteral("Element"), [this](LayoutNode*& select) {
        LayoutNode* n = rq::makeElement(state_.tree, select);
        if (!n) return false;
        // A plain element shows its value after its tag, as everywhere else.
        const NodeTable& t = state_.tree.table();
        const int r = nodeNumber(n->key);
        applyTagName(state_.tree, n, t.cell(r, 1), t.cell(r, 2));
        select = n;
        return true;
    });
}

void LayoutView::defineXmlDocument() {
    const LayoutNode* doc = state_.tree.documentNode();
    const QString answer = Dialogs::inputText(
        this, QStringLiteral("Define XML Document"), QStringLiteral("XML declaration"),
        fromUtf8(doc ? doc->text : documentNodeText(state_.tree)));
    if (answer.isEmpty()) return;
    runEdit(QStringLiteral("Define XML Document"), [&](LayoutNode*&) {
        LayoutNode* node = state_.tree.documentNode();
        const std::string text = answer.toStdString();
        if (!node || node->text == text) return false;
        rq::defineXmlDocument(state_.tree, text);
        return true;
    });
}

void LayoutView::assign(int mode) {
    AssignDialog dialog(mode, state_.tree, this);
    if (Dialogs::exec(dialog) != QDialog::Accepted) return;
    const bool ticked = dialog.isTicked();
    const std::string location = dialog.location().toStdString();
    runEdit(AssignDialog::modeText(mode), [&](LayoutNode*&) {
        assignProlog(state_.tree, mode, ticked, location);
        return true;
    });
}

void LayoutView::schemaProperties() {
    SchemaDialog dialog(state_.tree.rootAttributes, this);
    if (Dialogs::exec(dialog) != QDialog::Accepted) return;
    const std::vector<RootAttribute> rows = dialog.rows();
    runEdit(QStringLiteral("Schema Properties"), [&](LayoutNode*&) {
        applyRootAttributes(state_.tree, rows);
        return true;
    });
}

bool LayoutView::openLayoutFile(const QString& path, QString* error) {
    try {
        runEdit(QStringLiteral("Open Layout"), [&](LayoutNode*& select) {
            loadLayoutFile(path.toStdString(), state_.tree, &state_.sheet);
            select = nullptr;
            return true;
        });
    } catch (const LayoutFileError& e) {
        if (error) *error = QString::fromUtf8(e.what());
        return false;
    }
    columnPanel_->hide();
    return true;
}

}  // namespace rq::ui
