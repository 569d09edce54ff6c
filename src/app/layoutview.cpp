#include "app/layoutview.h"

#include <QAction>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeySequence>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSplitter>
#include <QToolBar>
#include <QTreeView>
#include <QUndoStack>
#include <QVBoxLayout>

#include "app/icons.h"
#include "app/layouttreemodel.h"
#include "app/layoutundo.h"
#include "app/tagproperties.h"

namespace rq::ui {

namespace {

QString fromUtf8(const std::string& s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

// Merge ids of the typing commands.
constexpr int kNameTyping = 1;
constexpr int kValueTyping = 2;

}  // namespace

LayoutView::LayoutView(AppState& state, QWidget* parent) : QWidget(parent), state_(state) {
    setObjectName(QStringLiteral("layoutView"));
    undo_ = new QUndoStack(this);
    undo_->setObjectName(QStringLiteral("layoutUndoStack"));
    buildToolbar();
    buildTree();

    properties_ = new TagPropertiesPanel(this);
    connect(properties_, &TagPropertiesPanel::nameEdited, this, &LayoutView::nameEdited);
    connect(properties_, &TagPropertiesPanel::valueEdited, this, &LayoutView::valueEdited);
    connect(properties_, &TagPropertiesPanel::makeElementClicked, this, &LayoutView::makeElement);
    connect(properties_, &TagPropertiesPanel::makeAttributeClicked, this,
            &LayoutView::makeAttribute);

    buildColumnPanel();
    auto* propertyColumn = new QWidget(this);
    auto* propertyLayout = new QVBoxLayout(propertyColumn);
    propertyLayout->setContentsMargins(0, 0, 0, 0);
    propertyLayout->addWidget(columnPanel_, 1);
    propertyLayout->addWidget(properties_);
    propertyLayout->addStretch();

    splitter_ = new QSplitter(Qt::Horizontal, this);
    splitter_->setObjectName(QStringLiteral("layoutSplitter"));
    splitter_->setChildrenCollapsible(false);
    splitter_->addWidget(tree_);
    splitter_->addWidget(propertyColumn);
    splitter_->setStretchFactor(0, 3);
    splitter_->setStretchFactor(1, 2);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(toolbar_);
    layout->addWidget(splitter_, 1);
    buildShortcuts();
}

void LayoutView::buildTree() {
    model_ = new LayoutTreeModel(state_.tree, this);
    model_->setDropHandler([this](LayoutNode* dragged, LayoutNode* target) {
        bool dropped = false;
        runEdit(QStringLiteral("Drop"), [&](LayoutNode*& select) {
            LayoutNode* n = dropNode(state_.tree, dragged, target);
            if (n) select = n;
            dropped = n != nullptr;
            return dropped;
        });
        return dropped;
    });
    tree_ = new QTreeView(this);
    tree_->setObjectName(QStringLiteral("TreeView1"));
    tree_->setAccessibleName(QStringLiteral("XML Layout"));
    tree_->setModel(model_);
    tree_->header()->hide();
    tree_->setUniformRowHeights(true);
    tree_->setSelectionMode(QAbstractItemView::SingleSelection);
    tree_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // A drop always lands on the node under the pointer, never between nodes.
    tree_->setDragEnabled(true);
    tree_->setAcceptDrops(true);
    tree_->setDropIndicatorShown(true);
    tree_->setDragDropMode(QAbstractItemView::DragDrop);
    tree_->setDragDropOverwriteMode(true);
    tree_->setDefaultDropAction(Qt::MoveAction);
    connect(tree_->selectionModel(), &QItemSelectionModel::currentChanged, this, [this] {
        ++session_;
        showProperties();
        emit tagSelected(selectedNode() != nullptr);
    });
    connect(tree_, &QTreeView::expanded, this, [this](const QModelIndex& i) {
        if (LayoutNode* n = model_->nodeAt(i)) n->expanded = true;
    });
    connect(tree_, &QTreeView::collapsed, this, [this](const QModelIndex& i) {
        if (LayoutNode* n = model_->nodeAt(i)) n->expanded = false;
    });
}

void LayoutView::buildToolbar() {
    toolbar_ = new QToolBar(this);
    toolbar_->setObjectName(QStringLiteral("Toolbar1"));
    toolbar_->setAccessibleName(QStringLiteral("Layout"));
    toolbar_->setIconSize(QSize(20, 20));
    struct Button {
        const char* key;
        const char* tip;
        const char* icon;
        std::function<void()> run;
    };
    const Button buttons[] = {
        {"attr_normtool", "Add Element", "list-add", [this] { newElement(); }},
        {"attr_dataool", "Add Database Element", "insert-object", [this] { newDataElement(); }},
        {"Delete", "Delete", "edit-delete", [this] { deleteTag(); }},
        {"up", "Move Tag UP", "go-up", [this] { moveTag(MoveDirection::Up); }},
        {"down", "Move Tag DOWN", "go-down", [this] { moveTag(MoveDirection::Down); }},
        {"left", "Move Tag LEFT", "go-previous", [this] { moveTag(MoveDirection::Left); }},
        {"right", "Move Tag RIGHT", "go-next", [this] { moveTag(MoveDirection::Right); }},
    };
    for (const Button& b : buttons) {
        QAction* a = toolbar_->addAction(themeIcon(b.icon), QString::fromUtf8(b.tip));
        a->setObjectName(QString::fromUtf8(b.key));
        a->setToolTip(QString::fromUtf8(b.tip));
        connect(a, &QAction::triggered, this, b.run);
    }
    toolbar_->addSeparator();
    QAction* refreshButton =
        toolbar_->addAction(themeIcon("view-refresh"), QStringLiteral("Refresh"));
    refreshButton->setObjectName(QStringLiteral("Refresh"));
    refreshButton->setToolTip(QStringLiteral("Refresh"));
    connect(refreshButton, &QAction::triggered, this, &LayoutView::refresh);
}

void LayoutView::buildColumnPanel() {
    columnPanel_ = new QWidget(this);
    columnPanel_->setObjectName(QStringLiteral("colnamPanel"));
    auto* label = new QLabel(QStringLiteral("Column:"), columnPanel_);
    columnList_ = new QListWidget(columnPanel_);
    columnList_->setObjectName(QStringLiteral("colnam1"));
    columnList_->setAccessibleName(QStringLiteral("Column:"));
    label->setBuddy(columnList_);
    auto* ok = new QPushButton(QStringLiteral("OK"), columnPanel_);
    ok->setObjectName(QStringLiteral("cmdlstok"));
    ok->setAccessibleName(ok->text());
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), columnPanel_);
    cancel->setObjectName(QStringLiteral("cmdlstcancel"));
    cancel->setAccessibleName(cancel->text());
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    auto* layout = new QVBoxLayout(columnPanel_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(label);
    layout->addWidget(columnList_, 1);
    layout->addLayout(buttons);
    connect(ok, &QPushButton::clicked, this, &LayoutView::confirmDataElement);
    connect(cancel, &QPushButton::clicked, columnPanel_, &QWidget::hide);
    connect(columnList_, &QListWidget::itemActivated, this, &LayoutView::confirmDataElement);
    auto* escape = new QAction(columnList_);
    escape->setShortcut(QKeySequence(Qt::Key_Escape));
    escape->setShortcutContext(Qt::WidgetShortcut);
    connect(escape, &QAction::triggered, columnPanel_, &QWidget::hide);
    escape->setText(QStringLiteral("Close the column list"));
    columnList_->addAction(escape);
    columnPanel_->hide();
}

void LayoutView::buildShortcuts() {
    // Keys on the tree: the four moves, Delete and Insert. They belong to the
    // tree alone, so Delete in the name box still deletes a character.
    const struct {
        const char* name;
        QKeySequence keys;
        std::function<void()> run;
    } keys[] = {
        {"keyMoveUp", QKeySequence(Qt::ALT | Qt::Key_Up), [this] { moveTag(MoveDirection::Up); }},
        {"keyMoveDown", QKeySequence(Qt::ALT | Qt::Key_Down),
         [this] { moveTag(MoveDirection::Down); }},
        {"keyMoveLeft", QKeySequence(Qt::ALT | Qt::Key_Left),
         [this] { moveTag(MoveDirection::Left); }},
        {"keyMoveRight", QKeySequence(Qt::ALT | Qt::Key_Right),
         [this] { moveTag(MoveDirection::Right); }},
        {"keyDelete", QKeySequence(Qt::Key_Delete), [this] { deleteTag(); }},
        {"keyInsert", QKeySequence(Qt::Key_Insert), [this] { newElement(); }},
    };
    for (const auto& k : keys) {
        auto* a = new QAction(tree_);
        a->setObjectName(QString::fromUtf8(k.name));
        a->setText(QString::fromUtf8(k.name + 3));  // "keyMoveUp" is announced as "MoveUp"
        a->setShortcut(k.keys);
        a->setShortcutContext(Qt::WidgetShortcut);
        connect(a, &QAction::triggered, this, k.run);
        tree_->addAction(a);
    }
    undoAction_ = undo_->createUndoAction(this, QStringLiteral("Undo"));
    undoAction_->setObjectName(QStringLiteral("mnuundo"));
    undoAction_->setShortcuts({QKeySequence::Undo});
    redoAction_ = undo_->createRedoAction(this, QStringLiteral("Redo"));
    redoAction_->setObjectName(QStringLiteral("mnuredo"));
    QList<QKeySequence> redoKeys = QKeySequence::keyBindings(QKeySequence::Redo);
    const QKeySequence ctrlShiftZ(Qt::CTRL | Qt::SHIFT | Qt::Key_Z);
    if (!redoKeys.contains(ctrlShiftZ)) redoKeys.prepend(ctrlShiftZ);
    redoAction_->setShortcuts(redoKeys);
    // The keys work while the focus is in this view; the name and value boxes
    // keep their own undo of typing.
    for (QAction* a : {undoAction_, redoAction_}) {
        a->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        addAction(a);
    }
}

QAction* LayoutView::toolbarAction(const QString& key) const {
    for (QAction* a : toolbar_->actions())
        if (a->objectName() == key) return a;
    return nullptr;
}

void LayoutView::rebuild() {
    columnPanel_->hide();
    undo_->clear();
    ++session_;
    showTree(nullptr);
}

LayoutNode* LayoutView::selectedNode() const {
    return model_->nodeAt(tree_->currentIndex());
}

QString LayoutView::selectedKey() const {
    const LayoutNode* n = selectedNode();
    return n ? fromUtf8(n->key) : QString();
}

void LayoutView::selectKey(const QString& key) {
    const QModelIndex i = model_->indexOf(state_.tree.find(key.toStdString()));
    if (!i.isValid()) return;
    tree_->setCurrentIndex(i);
    tree_->scrollTo(i);
}

void LayoutView::showTree(LayoutNode* select) {
    model_->reload();
    for (LayoutNode* n : state_.tree.preorder())
        if (n->expanded) tree_->expand(model_->indexOf(n));
    if (select) {
        const QModelIndex i = model_->indexOf(select);
        tree_->setCurrentIndex(i);
        tree_->scrollTo(i);
    } else {
        showProperties();
    }
}

void LayoutView::showProperties() {
    LayoutNode* node = selectedNode();
    if (!node) {
        properties_->fill(state_.tree, nullptr);
        return;
    }
    if (!properties_->fill(state_.tree, node)) return;
    // The fields were filled by the program; the display text is re-formed
    // from them as a typed change would.
    properties_->nameChange();
    properties_->valueChange();
}

void LayoutView::runEdit(const QString& text, const std::function<bool(LayoutNode*&)>& change,
                         Shown shown, int mergeId) {
    if (restoring_) return;
    LayoutSnapshot before = takeSnapshot(state_.tree);
    const std::string beforeKey = selectedKey().toStdString();
    LayoutNode* select = selectedNode();
    if (!change(select)) return;
    LayoutSnapshot after = takeSnapshot(state_.tree);
    if (after == before) {
        // Nothing to undo (a node moved and moved back), but nodes may have
        // been re-created: the view is renewed.
        if (shown == Shown::Structure) showTree(select);
        return;
    }
    if (mergeId < 0) ++session_;
    undo_->push(new LayoutEditCommand(
        text, std::move(before), beforeKey, std::move(after), select ? select->key : std::string(),
        [this](const LayoutSnapshot& s, const std::string& key) { restore(s, key); }, mergeId,
        session_));
    if (shown == Shown::Text)
        model_->nodeChanged(select);
    else
        showTree(select);
    emit edited();
}

void LayoutView::restore(const LayoutSnapshot& snapshot, const std::string& selectKey) {
    restoring_ = true;
    restoreSnapshot(state_.tree, snapshot);
    columnPanel_->hide();
    showTree(state_.tree.find(selectKey));
    restoring_ = false;
    ++session_;
    emit edited();
}

void LayoutView::nameEdited(const QString& name, const QString& value) {
    const std::string n = name.toStdString(), v = value.toStdString();
    runEdit(
        QStringLiteral("Name"),
        [&](LayoutNode*& node) { return applyTagName(state_.tree, node, n, v); }, Shown::Text,
        kNameTyping);
}

void LayoutView::valueEdited(const QString& name, const QString& value) {
    const std::string n = name.toStdString(), v = value.toStdString();
    runEdit(
        QStringLiteral("Value"),
        [&](LayoutNode*& node) { return applyTagValue(state_.tree, node, n, v); }, Shown::Text,
        kValueTyping);
}

}  // namespace rq::ui
