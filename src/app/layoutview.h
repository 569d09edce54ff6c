// The XML Layout view: the layout toolbar (Toolbar1), the tree of the layout
// (TreeView1) over a model of the window's LayoutTree, the column list that
// New Data Element shows beside the tree, and the "XML Tag Properties" panel.
// Every edit of the layout runs here as one undoable step.
#pragma once

#include <QWidget>
#include <functional>
#include <string>

#include "app/appstate.h"
#include "layout/layoutedit.h"
#include "layout/layoutsnapshot.h"

class QAction;
class QListWidget;
class QSplitter;
class QToolBar;
class QTreeView;
class QUndoStack;

namespace rq::ui {

class LayoutTreeModel;
class TagPropertiesPanel;

class LayoutView : public QWidget {
    Q_OBJECT
  public:
    explicit LayoutView(AppState& state, QWidget* parent = nullptr);

    // The layout was replaced outside the editing commands (a default layout
    // built for a changed sheet, a fresh window): shows it afresh and forgets
    // the undo history.
    void rebuild();

    // ---- controls -------------------------------------------------------------
    // The toolbar button with the given key ("attr_normtool", …, "Refresh").
    QAction* toolbarAction(const QString& key) const;
    QTreeView* treeView() const { return tree_; }
    LayoutTreeModel* model() const { return model_; }
    TagPropertiesPanel* properties() const { return properties_; }
    QListWidget* columnList() const { return columnList_; }
    QWidget* columnPanel() const { return columnPanel_; }
    QSplitter* splitter() const { return splitter_; }
    QUndoStack* undoStack() const { return undo_; }
    QAction* undoAction() const { return undoAction_; }
    QAction* redoAction() const { return redoAction_; }

    // The key of the selected node, empty when none.
    QString selectedKey() const;
    void selectKey(const QString& key);
    LayoutNode* selectedNode() const;

    // ---- commands ---------------------------------------------------------------
    void newElement();          // mnuelent_Click
    void newDataElement();      // mnudatelem_Click: offers the column list
    void confirmDataElement();  // cmdlstokfunp: the picked column becomes a data element
    void deleteTag();           // mnudelete_Click
    void moveTag(MoveDirection direction);
    void refresh();            // the Refresh button: the default layout again (initree)
    void makeElement();        // makele_Click
    void makeAttribute();      // makatt_Click
    void defineXmlDocument();  // mnudefnxmlprop_Click
    void assign(int mode);     // mnudtd_Click, mnuxslt_Click, mnucss_Click
    void schemaProperties();   // mnushema_Click
    // Replaces the layout with a layout file; false with the reason on failure.
    bool openLayoutFile(const QString& path, QString* error);

  signals:
    void tagSelected(bool selected);
    // The layout changed: the quick preview follows it (cmdsedfinbol).
    void edited();

  private:
    enum class Shown { Structure, Text };
    // Runs change as one undoable edit. change gets the selected node and may
    // point it elsewhere; it returns false when nothing changed.
    void runEdit(const QString& text, const std::function<bool(LayoutNode*&)>& change,
                 Shown shown = Shown::Structure, int mergeId = -1);
    void restore(const LayoutSnapshot& snapshot, const std::string& selectKey);
    void showTree(LayoutNode* select);
    void showProperties();
    void nameEdited(const QString& name, const QString& value);
    void valueEdited(const QString& name, const QString& value);
    void buildToolbar();
    void buildTree();
    void buildColumnPanel();
    void buildShortcuts();

    AppState& state_;
    LayoutTreeModel* model_;
    QToolBar* toolbar_;
    QSplitter* splitter_;
    QTreeView* tree_;
    QWidget* columnPanel_;
    QListWidget* columnList_;
    TagPropertiesPanel* properties_;
    QUndoStack* undo_;
    QAction* undoAction_;
    QAction* redoAction_;
    int session_ = 0;         // typing in the panel merges within one session
    bool restoring_ = false;  // an undo or redo is putting a snapshot back
};

}  // namespace rq::ui
