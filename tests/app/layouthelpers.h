// Helpers of the layout designer's window tests: a window over a small sheet
// with its layout shown, clicks and keys on the tree, the toolbar and the
// panel, the tree read back as text, and the document the layout gives.
#pragma once

#include <memory>

#include "app/frmdata.h"
#include "app/generateview.h"
#include "app/layouttreemodel.h"
#include "app/layoutview.h"
#include "app/tagproperties.h"
#include "generate/documentwriter.h"
#include "layout/layoutsnapshot.h"
#include "widgethelpers.h"

namespace rq::testing {

// Shows the window and makes it the active one, so that keys reach the tree's
// shortcuts.
inline void showActive(ui::Frmdata& w) {
    w.resize(1000, 700);
    w.show();
    w.activateWindow();
    if (!QTest::qWaitForWindowActive(&w)) qWarning("the window did not become active");
}

// A shown window whose sheet has the given header and records, with the
// default layout built by switching to the XML Layout view.
inline std::unique_ptr<ui::Frmdata> designerWindow(
    const std::vector<std::string>& header = {"ID", "Name", "Qty"},
    const std::vector<std::vector<std::string>>& records = {{"1", "Ann", "3"}}) {
    auto w = std::make_unique<ui::Frmdata>(false);
    showActive(*w);
    DataSheet& sheet = w->state().sheet;
    sheet.reset(header);
    for (const auto& r : records) {
        std::vector<std::string_view> cells(r.begin(), r.end());
        sheet.appendRecord(cells.data(), cells.size());
    }
    w->state().sheetchanged = true;
    w->action("mnulayout")->trigger();
    return w;
}

// The tree from the root element down, by display text: children in braces.
inline QString shapeOf(const QAbstractItemModel* m, const QModelIndex& i) {
    QString s = i.data().toString();
    const int n = m->rowCount(i);
    if (n == 0) return s;
    s += '{';
    for (int r = 0; r < n; ++r) s += (r ? "," : "") + shapeOf(m, m->index(r, 0, i));
    return s + '}';
}

inline QString treeShape(ui::LayoutView* v) {
    const QAbstractItemModel* m = v->model();
    const QModelIndex root = m->index(0, 0, m->index(0, 0));
    return root.isValid() ? shapeOf(m, root) : QString();
}

// The whole document the layout gives for the sheet, written from a copy of
// the layout so that the window's own keys are left as they are.
inline QByteArray documentOf(ui::Frmdata& w) {
    LayoutTree copy;
    restoreSnapshot(copy, takeSnapshot(w.state().tree));
    WorkingTable work;
    return QByteArray::fromStdString(
        buildDocument(copy, work, w.state().sheet, w.state().sheet.rows() - 1));
}

inline void clickIndex(QTreeView* tree, const QModelIndex& index) {
    tree->scrollTo(index);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(index).center());
}

inline void clickKey(ui::LayoutView* v, const std::string& key, const LayoutTree& t) {
    clickIndex(v->treeView(), v->model()->indexOf(t.find(key)));
}

inline void clickTool(ui::LayoutView* v, const char* key) {
    QAction* a = v->toolbarAction(QString::fromUtf8(key));
    QWidget* button = v->findChild<QToolBar*>("Toolbar1")->widgetForAction(a);
    QTest::mouseClick(button, Qt::LeftButton);
}

}  // namespace rq::testing
