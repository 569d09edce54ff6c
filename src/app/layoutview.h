// The XML Layout view: the layout toolbar (Toolbar1), the tree of the layout
// (TreeView1) and the "XML Tag Properties" panel showing the selected node.
#pragma once

#include <QWidget>

#include "layout/layouttree.h"

class QAction;
class QGroupBox;
class QLineEdit;
class QRadioButton;
class QSplitter;
class QToolBar;
class QTreeWidget;
class QTreeWidgetItem;

namespace rq::ui {

class LayoutView : public QWidget {
    Q_OBJECT
  public:
    explicit LayoutView(LayoutTree& tree, QWidget* parent = nullptr);

    // Rebuilds the tree widget from the layout (after initree or any change).
    void rebuild();
    // The toolbar button with the given key ("attr_normtool", …, "Refresh").
    QAction* toolbarAction(const QString& key) const;
    QTreeWidget* treeWidget() const { return tree_; }
    QSplitter* splitter() const { return splitter_; }
    // The key of the selected node, empty when none.
    QString selectedKey() const;
    void selectKey(const QString& key);

  signals:
    void refreshRequested();
    void tagSelected(bool selected);
    // A layout toolbar command other than Refresh, by key.
    void commandRequested(const QString& key);

  private:
    void showProperties(const LayoutNode* node);

    LayoutTree& layout_;
    QToolBar* toolbar_;
    QSplitter* splitter_;
    QTreeWidget* tree_;
    QGroupBox* properties_;
    QLineEdit* nameBox_;
    QLineEdit* valueBox_;
    QRadioButton* elementOption_;
    QRadioButton* attributeOption_;
};

}  // namespace rq::ui
