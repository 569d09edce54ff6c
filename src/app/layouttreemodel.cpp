#include "app/layouttreemodel.h"

#include <QMimeData>
#include <algorithm>

#include "app/icons.h"
#include "layout/layoutedit.h"

namespace rq::ui {

namespace {

QString fromUtf8(const std::string& s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

const char* kindName(int kind) {
    switch (kind) {
        case kKindElement:
            return "element";
        case kKindDataElement:
            return "data element";
        case kKindAttribute:
            return "attribute";
        case kKindDataAttribute:
            return "data attribute";
        default:
            return "document";
    }
}

}  // namespace

LayoutTreeModel::LayoutTreeModel(LayoutTree& tree, QObject* parent)
    : QAbstractItemModel(parent), tree_(tree) {}

LayoutNode* LayoutTreeModel::nodeAt(const QModelIndex& index) const {
    return index.isValid() ? static_cast<LayoutNode*>(index.internalPointer()) : nullptr;
}

QModelIndex LayoutTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (column != 0 || row < 0) return {};
    const LayoutNode* p = nodeAt(parent);
    if (parent.isValid() && !p) return {};
    const std::vector<LayoutNode*>& siblings = p ? p->children : tree_.topLevel();
    if (row >= static_cast<int>(siblings.size())) return {};
    return createIndex(row, 0, siblings[static_cast<std::size_t>(row)]);
}

QModelIndex LayoutTreeModel::indexOf(const LayoutNode* node) const {
    if (!node) return {};
    int row = node->parent ? node->indexInParent() : -1;
    if (!node->parent) {
        const auto& top = tree_.topLevel();
        row = static_cast<int>(std::find(top.begin(), top.end(), node) - top.begin());
        if (row >= static_cast<int>(top.size())) return {};
    }
    return createIndex(row, 0, const_cast<LayoutNode*>(node));
}

QModelIndex LayoutTreeModel::parent(const QModelIndex& child) const {
    const LayoutNode* n = nodeAt(child);
    return n ? indexOf(n->parent) : QModelIndex();
}

int LayoutTreeModel::rowCount(const QModelIndex& parent) const {
    if (parent.column() > 0) return 0;
    const LayoutNode* p = nodeAt(parent);
    if (parent.isValid()) return p ? static_cast<int>(p->children.size()) : 0;
    return static_cast<int>(tree_.topLevel().size());
}

int LayoutTreeModel::columnCount(const QModelIndex&) const {
    return 1;
}

QVariant LayoutTreeModel::data(const QModelIndex& index, int role) const {
    const LayoutNode* n = nodeAt(index);
    if (!n) return {};
    switch (role) {
        case Qt::DisplayRole:
        case Qt::ToolTipRole:
            return fromUtf8(n->text);
        case Qt::DecorationRole:
            return kindIcon(n->kind);
        case Qt::AccessibleTextRole:
            return fromUtf8(n->text);
        case Qt::AccessibleDescriptionRole:
            return QString::fromLatin1(kindName(n->kind));
        case KeyRole:
            return fromUtf8(n->key);
        case KindRole:
            return n->kind;
        default:
            return {};
    }
}

Qt::ItemFlags LayoutTreeModel::flags(const QModelIndex& index) const {
    const LayoutNode* n = nodeAt(index);
    if (!n) return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    // The document node and the root element stay where they are.
    if (n == tree_.node(1) || n == tree_.node(2)) return f;
    f |= Qt::ItemIsDragEnabled;
    if (!isAttributeKind(n->kind)) f |= Qt::ItemIsDropEnabled;
    return f;
}

QStringList LayoutTreeModel::mimeTypes() const {
    return {mimeType()};
}

QMimeData* LayoutTreeModel::mimeData(const QModelIndexList& indexes) const {
    const LayoutNode* n = indexes.isEmpty() ? nullptr : nodeAt(indexes.first());
    if (!n) return nullptr;
    auto* data = new QMimeData;
    data->setData(mimeType(), QByteArray::fromStdString(n->key));
    data->setText(fromUtf8(n->text));
    return data;
}

LayoutNode* LayoutTreeModel::draggedNode(const QMimeData* data) const {
    if (!data || !data->hasFormat(mimeType())) return nullptr;
    return tree_.find(data->data(mimeType()).toStdString());
}

bool LayoutTreeModel::canDropMimeData(const QMimeData* data, Qt::DropAction, int row, int column,
                                      const QModelIndex& parent) const {
    // A node is dropped onto another, never between two: the view offers a
    // place between nodes where the node under the pointer takes no drop.
    if (row != -1 || column != -1) return false;
    return canDrop(tree_, draggedNode(data), nodeAt(parent));
}

bool LayoutTreeModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row,
                                   int column, const QModelIndex& parent) {
    if (!canDropMimeData(data, action, row, column, parent) || !dropHandler_) return false;
    return dropHandler_(draggedNode(data), nodeAt(parent));
}

void LayoutTreeModel::reload() {
    beginResetModel();
    endResetModel();
}

void LayoutTreeModel::nodeChanged(const LayoutNode* node) {
    const QModelIndex i = indexOf(node);
    if (i.isValid()) emit dataChanged(i, i);
}

}  // namespace rq::ui
