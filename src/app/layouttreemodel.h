// The layout as a Qt item model for the tree view: a view over the window's
// LayoutTree (each index points at its LayoutNode), not a copy of it. Dragging
// a node carries its key; a drop is handed to the drop handler, which edits
// the layout.
#pragma once

#include <QAbstractItemModel>
#include <functional>

#include "layout/layouttree.h"

namespace rq::ui {

class LayoutTreeModel : public QAbstractItemModel {
    Q_OBJECT
  public:
    static constexpr int KeyRole = Qt::UserRole;
    static constexpr int KindRole = Qt::UserRole + 1;
    // The type of the drag data: the dragged node's key, UTF-8.
    static QString mimeType() { return QStringLiteral("application/x-rowquill-layout-node"); }

    explicit LayoutTreeModel(LayoutTree& tree, QObject* parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::MoveAction; }
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

    LayoutNode* nodeAt(const QModelIndex& index) const;
    QModelIndex indexOf(const LayoutNode* node) const;
    // The tree was changed: every index is renewed.
    void reload();
    // The node's display text or kind changed in place.
    void nodeChanged(const LayoutNode* node);

    // Called for a drop that the rules allow; returns whether the layout changed.
    using DropHandler = std::function<bool(LayoutNode* dragged, LayoutNode* target)>;
    void setDropHandler(DropHandler handler) { dropHandler_ = std::move(handler); }

  private:
    LayoutNode* draggedNode(const QMimeData* data) const;

    LayoutTree& tree_;
    DropHandler dropHandler_;
};

}  // namespace rq::ui
