#include "app/layoutview.h"

#include <QAction>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QRadioButton>
#include <QSplitter>
#include <QStyle>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <utility>
#include <vector>

#include "app/icons.h"

namespace rq::ui {

namespace {

constexpr int kKeyRole = Qt::UserRole;

QString fromUtf8(const std::string& s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

}  // namespace

LayoutView::LayoutView(LayoutTree& tree, QWidget* parent) : QWidget(parent), layout_(tree) {
    setObjectName(QStringLiteral("layoutView"));

    toolbar_ = new QToolBar(this);
    toolbar_->setObjectName(QStringLiteral("Toolbar1"));
    toolbar_->setIconSize(QSize(20, 20));
    struct Button {
        const char* key;
        const char* tip;
        const char* glyph;
        QColor color;
    };
    const Button buttons[] = {
        {"attr_normtool", "Add Element", "E+", QColor(40, 140, 70)},
        {"attr_dataool", "Add Database Element", "D+", QColor(210, 120, 20)},
        {"Delete", "Delete", "X", QColor(180, 40, 60)},
        {"up", "Move Tag UP", "\u2191", QColor(70, 90, 120)},
        {"down", "Move Tag DOWN", "\u2193", QColor(70, 90, 120)},
        {"left", "Move Tag LEFT", "\u2190", QColor(70, 90, 120)},
        {"right", "Move Tag RIGHT", "\u2192", QColor(70, 90, 120)},
    };
    for (const Button& b : buttons) {
        QAction* a = toolbar_->addAction(glyphIcon(QString::fromUtf8(b.glyph), b.color),
                                         QString::fromUtf8(b.tip));
        a->setObjectName(QString::fromUtf8(b.key));
        a->setToolTip(QString::fromUtf8(b.tip));
        const QString key = QString::fromUtf8(b.key);
        connect(a, &QAction::triggered, this, [this, key] { emit commandRequested(key); });
    }
    toolbar_->addSeparator();
    QAction* refresh = toolbar_->addAction(style()->standardIcon(QStyle::SP_BrowserReload),
                                           QStringLiteral("Refresh"));
    refresh->setObjectName(QStringLiteral("Refresh"));
    refresh->setToolTip(QStringLiteral("Refresh"));
    connect(refresh, &QAction::triggered, this, &LayoutView::refreshRequested);

    tree_ = new QTreeWidget(this);
    tree_->setObjectName(QStringLiteral("TreeView1"));
    tree_->setColumnCount(1);
    tree_->header()->hide();
    tree_->setUniformRowHeights(true);
    connect(tree_, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* current, QTreeWidgetItem*) {
                const LayoutNode* node =
                    current ? layout_.find(current->data(0, kKeyRole).toString().toStdString())
                            : nullptr;
                showProperties(node);
                emit tagSelected(node != nullptr);
            });

    properties_ = new QGroupBox(QStringLiteral("XML Tag Properties"), this);
    properties_->setObjectName(QStringLiteral("Frame1"));
    nameBox_ = new QLineEdit(properties_);
    nameBox_->setObjectName(QStringLiteral("txtnam"));
    nameBox_->setReadOnly(true);
    valueBox_ = new QLineEdit(properties_);
    valueBox_->setObjectName(QStringLiteral("txtval"));
    valueBox_->setReadOnly(true);
    elementOption_ = new QRadioButton(QStringLiteral("Element"), properties_);
    elementOption_->setObjectName(QStringLiteral("makele"));
    attributeOption_ = new QRadioButton(QStringLiteral("Attribute"), properties_);
    attributeOption_->setObjectName(QStringLiteral("makatt"));
    elementOption_->setEnabled(false);
    attributeOption_->setEnabled(false);
    auto* kinds = new QHBoxLayout;
    kinds->addWidget(elementOption_);
    kinds->addWidget(attributeOption_);
    kinds->addStretch();
    auto* form = new QFormLayout(properties_);
    form->addRow(QStringLiteral("Name:"), nameBox_);
    form->addRow(QStringLiteral("Value:"), valueBox_);
    form->addRow(QStringLiteral("Type:"), kinds);

    auto* propertyColumn = new QWidget(this);
    auto* propertyLayout = new QVBoxLayout(propertyColumn);
    propertyLayout->setContentsMargins(0, 0, 0, 0);
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
    showProperties(nullptr);
}

QAction* LayoutView::toolbarAction(const QString& key) const {
    for (QAction* a : toolbar_->actions())
        if (a->objectName() == key) return a;
    return nullptr;
}

void LayoutView::rebuild() {
    const QString keep = selectedKey();
    tree_->clear();
    // Walk the layout without recursion: each entry is a node and the item
    // its children go under.
    std::vector<std::pair<const LayoutNode*, QTreeWidgetItem*>> pending;
    const auto& top = layout_.topLevel();
    for (auto it = top.rbegin(); it != top.rend(); ++it) pending.emplace_back(*it, nullptr);
    std::vector<QTreeWidgetItem*> toExpand;
    while (!pending.empty()) {
        auto [node, parentItem] = pending.back();
        pending.pop_back();
        auto* item = parentItem ? new QTreeWidgetItem(parentItem) : new QTreeWidgetItem(tree_);
        item->setText(0, fromUtf8(node->text));
        item->setIcon(0, kindIcon(node->kind));
        item->setData(0, kKeyRole, fromUtf8(node->key));
        if (node->expanded) toExpand.push_back(item);
        for (auto it = node->children.rbegin(); it != node->children.rend(); ++it)
            pending.emplace_back(*it, item);
    }
    for (QTreeWidgetItem* item : toExpand) item->setExpanded(true);
    if (!keep.isEmpty()) selectKey(keep);
    if (!tree_->currentItem()) showProperties(nullptr);
}

QString LayoutView::selectedKey() const {
    QTreeWidgetItem* item = tree_->currentItem();
    return item ? item->data(0, kKeyRole).toString() : QString();
}

void LayoutView::selectKey(const QString& key) {
    for (QTreeWidgetItemIterator it(tree_); *it; ++it) {
        if ((*it)->data(0, kKeyRole).toString() == key) {
            tree_->setCurrentItem(*it);
            return;
        }
    }
}

void LayoutView::showProperties(const LayoutNode* node) {
    if (!node) {
        nameBox_->clear();
        valueBox_->clear();
        elementOption_->setAutoExclusive(false);
        elementOption_->setChecked(false);
        attributeOption_->setChecked(false);
        elementOption_->setAutoExclusive(true);
        return;
    }
    const int row = nodeNumber(node->key);
    nameBox_->setText(fromUtf8(layout_.table().cell(row, 1)));
    valueBox_->setText(fromUtf8(layout_.table().cell(row, 2)));
    if (isAttributeKind(node->kind))
        attributeOption_->setChecked(true);
    else
        elementOption_->setChecked(true);
}

}  // namespace rq::ui
