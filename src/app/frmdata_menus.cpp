// The menu bar and the sheet toolbar of the main window.
#include <QAbstractButton>
#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QTableView>
#include <QToolBar>

#include "app/frmdata.h"
#include "app/icons.h"
#include "app/opensettings.h"
#include "datasource/kinds.h"

namespace rq::ui {

QAction* Frmdata::addItem(QMenu* menu, const char* name, const char* caption) {
    QAction* a = menu->addAction(QString::fromUtf8(caption));
    a->setObjectName(QString::fromUtf8(name));
    actions_.insert(a->objectName(), a);
    return a;
}

QMenu* Frmdata::addSubmenu(QMenu* parent, const char* name, const char* caption) {
    QMenu* sub = parent ? parent->addMenu(QString::fromUtf8(caption))
                        : menuBar()->addMenu(QString::fromUtf8(caption));
    sub->setObjectName(QString::fromUtf8(name));
    sub->menuAction()->setObjectName(QString::fromUtf8(name));
    menus_.insert(sub->objectName(), sub);
    actions_.insert(sub->objectName(), sub->menuAction());
    return sub;
}

void Frmdata::addSeparator(QMenu* menu, const char* name) {
    QAction* s = menu->addSeparator();
    s->setObjectName(QString::fromUtf8(name));
}

void Frmdata::connectOpenCommand(const char* name, const char* connectString) {
    const QString c = QString::fromUtf8(connectString);
    connect(action(QString::fromUtf8(name)), &QAction::triggered, this,
            [this, c] { openDaoDb(c); });
}

void Frmdata::buildMenus() {
    QMenu* file = addSubmenu(nullptr, "mnuDatabase", "&File");
    addItem(file, "mnunewf", "&New");
    addItem(file, "mnunewtabledef", "&New Table");
    addSeparator(file, "mnuBar0");
    QMenu* open = addSubmenu(file, "mnuDBOpen", "&Open DataBase...");
    // One item per kind of the registry, grouped in submenus as the registry says.
    for (const Kind& kind : fileKinds()) {
        QMenu* parent = open;
        if (!kind.menuGroupObject.empty()) {
            parent = menus_.value(QString::fromStdString(kind.menuGroupObject));
            if (!parent)
                parent =
                    addSubmenu(open, kind.menuGroupObject.c_str(), kind.menuGroupCaption.c_str());
        }
        addItem(parent, kind.menuObject.c_str(), kind.menuCaption.c_str());
    }
    addItem(open, "mnuDBOODBC", "&ODBC...");
    addSeparator(file, "mnuBarMRU");
    QMenu* exportMenu = addSubmenu(file, "mnuexport", "Export");
    addItem(exportMenu, "mnuexporttxt", "&Text Files...");
    addSeparator(file, "mnuBar1");
    addItem(file, "mnuopenlayout", "Open Layout...");
    addItem(file, "mnusavelayout", "Save Layout...");
    addSeparator(file, "mnuBarLayout");
    addItem(file, "mnuDBExit", "E&xit");

    QMenu* edit = addSubmenu(nullptr, "mnuedit", "Edit");
    addItem(edit, "mnuEditcut", "Cut");
    addItem(edit, "mnuEditCopy", "Copy");
    addItem(edit, "mnuEditPaste", "Paste");
    addItem(edit, "mnuEditDelete", "Delete");
    addItem(edit, "mnuEditSelectAll", "Select all");
    addSeparator(edit, "mnuBar2");
    addItem(edit, "mnuEditInsertRow", "Insert Row");
    addItem(edit, "mnuEditDelRow", "Remove Row");
    addItem(edit, "mnucroprow", "Crop Row");
    addSeparator(edit, "mnuBar3");
    addItem(edit, "mnuColumn", "Insert Column...");
    addItem(edit, "mnuinsrtcol", "Insert Column Index");
    addItem(edit, "mnucolmname", "Modify Column Name");
    addSeparator(edit, "mnuBar4");
    addItem(edit, "mnusortasc", "Sort Ascending");
    addItem(edit, "mnusortdes", "Sort Descending");
    addSeparator(edit, "mnuBar5");
    addItem(edit, "mnuup", "Move UP");
    addItem(edit, "mnudown", "Move DOWN");
    addSeparator(edit, "mnuBar6");
    addItem(edit, "mnusqlhand", "SQL");
    addItem(edit, "mnuvissql", "Visual SQL");

    QMenu* editw = addSubmenu(nullptr, "mnueditw", "Edit/Insert");
    addItem(editw, "mnuelent", "New Element");
    addItem(editw, "mnudatelem", "New Data Element");
    addSeparator(editw, "mnuBar7");
    addItem(editw, "mnudefnxmlprop", "Define XML Document");
    addSeparator(editw, "mnuBar8");
    addItem(editw, "mnudelete", "Delete");
    addSeparator(editw, "mnuBar9");
    QMenu* moveTag = addSubmenu(editw, "mnumovtag", "Move Tag");
    addItem(moveTag, "mnumovtagup", "Move UP");
    addItem(moveTag, "mnumovetagdown", "Move DOWN");
    addItem(moveTag, "mnumovetagleft", "Move LEFT");
    addItem(moveTag, "mnumovtagrght", "Move RIGHT");

    QMenu* assign = addSubmenu(nullptr, "mnuassign", "&Assign");
    addItem(assign, "mnudtd", "Assign &DTD to XML File");
    addItem(assign, "mnuxslt", "Assign XSLT to XML File");
    addItem(assign, "mnucss", "Assign &CSS to XML File");
    addItem(assign, "mnushema", "Assign &Schema to XML File");
    addSeparator(assign, "mnuBar10");

    QMenu* view = addSubmenu(nullptr, "mnuview", "View");
    addItem(view, "mnusheet", "Sheet");
    addItem(view, "mnulayout", "XML Layout");
    addItem(view, "mnugenerate", "Generate");

    QMenu* help = addSubmenu(nullptr, "mnuhelp", "&Help");
    addItem(help, "mnucontenets", "&Contents...");
    addItem(help, "mnuindex", "&Index...");
    addSeparator(help, "mnuBar11");
    addItem(help, "mnututorial", "Tutorial ");
    addSeparator(help, "mnuBar12");
    addItem(help, "mnuabout", "&About - Nubro Rowquill...");

    // File.
    connect(action("mnunewf"), &QAction::triggered, this, &Frmdata::resetToStartup);
    for (const Kind& kind : fileKinds())
        connectOpenCommand(kind.menuObject.c_str(), kind.connect.c_str());
    connect(action("mnuDBOODBC"), &QAction::triggered, this, &Frmdata::mnuDBOODBC);
    connect(action("mnuDBExit"), &QAction::triggered, this, &QWidget::close);

    // View.
    connect(action("mnusheet"), &QAction::triggered, this, &Frmdata::showSheetView);
    connect(action("mnulayout"), &QAction::triggered, this, &Frmdata::showLayoutView);
    connect(action("mnugenerate"), &QAction::triggered, this, &Frmdata::showGenerateView);

    // Help.
    connect(action("mnucontenets"), &QAction::triggered, this, [this] { openHelp(kHelpContents); });
    connect(action("mnuindex"), &QAction::triggered, this, [this] { openHelp(kHelpIndex); });
    connect(action("mnututorial"), &QAction::triggered, this, [this] { openHelp(kHelpTutorial); });
}

void Frmdata::buildSheetToolbar() {
    sheetToolbar_ = addToolBar(QStringLiteral("Sheet"));
    sheetToolbar_->setObjectName(QStringLiteral("tbrMain"));
    sheetToolbar_->setIconSize(QSize(20, 20));
    const struct {
        const char* key;
        const char* tip;
        const char* command;
        const char* icon;
        bool separatorBefore;
    } buttons[] = {
        {"Cut", "Cut", "mnuEditcut", "edit-cut", false},
        {"Copy", "Copy", "mnuEditCopy", "edit-copy", false},
        {"Paste", "Paste", "mnuEditPaste", "edit-paste", false},
        {"Delete", "Delete", "mnuEditDelete", "edit-delete", false},
        {"Sort Ascending", "Sort Ascending", "mnusortasc", "view-sort-ascending", true},
        {"Sort Descending", "Sort Descending", "mnusortdes", "view-sort-descending", false},
        {"InsertRow", "Insert New Row", "mnuEditInsertRow", "edit-table-insert-row-below", true},
        {"DelRow", "Delete Row", "mnuEditDelRow", "edit-table-delete-row", false},
        {"insertcol", "Insert Column", "mnuColumn", "edit-table-insert-column-right", false},
        {"sqlpen", "Open SQL Editor", "mnusqlhand", "document-edit", true},
        {"sqlply", "Open Visual SQL Editor", "mnuvissql", "system-run", false},
        {"Moveup", "Move Row UP", "mnuup", "go-up", true},
        {"movedown", "Move Row DOWN", "mnudown", "go-down", false},
    };
    for (const auto& b : buttons) {
        if (b.separatorBefore) sheetToolbar_->addSeparator();
        QAction* a = sheetToolbar_->addAction(themeIcon(b.icon), QString::fromUtf8(b.tip));
        a->setObjectName(QString::fromUtf8(b.key));
        a->setToolTip(QString::fromUtf8(b.tip));
        QAction* command = action(QString::fromUtf8(b.command));
        connect(a, &QAction::triggered, command, &QAction::trigger);
        command->setIcon(a->icon());
    }
}

void Frmdata::bindStandardKeys() {
    // The editing keys act on the sheet, so they belong to the grid: a text
    // box or the layout tree with the focus keeps its own Delete and Ctrl+C.
    const struct {
        const char* command;
        QKeySequence::StandardKey key;
    } sheetKeys[] = {
        {"mnuEditcut", QKeySequence::Cut},
        {"mnuEditCopy", QKeySequence::Copy},
        {"mnuEditPaste", QKeySequence::Paste},
        {"mnuEditDelete", QKeySequence::Delete},
        {"mnuEditSelectAll", QKeySequence::SelectAll},
    };
    for (const auto& k : sheetKeys) {
        QAction* a = action(QString::fromUtf8(k.command));
        a->setShortcuts(k.key);
        a->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        grid_->addAction(a);
    }
    // The layout is the document the window opens and saves.
    const struct {
        const char* command;
        QKeySequence::StandardKey key;
        const char* icon;
    } windowKeys[] = {
        {"mnuopenlayout", QKeySequence::Open, "document-open"},
        {"mnusavelayout", QKeySequence::Save, "document-save"},
        {"mnucontenets", QKeySequence::HelpContents, "help-contents"},
        {"mnuDBExit", QKeySequence::Quit, "application-exit"},
    };
    for (const auto& k : windowKeys) {
        QAction* a = action(QString::fromUtf8(k.command));
        a->setShortcuts(k.key);
        a->setIcon(themeIcon(k.icon));
    }
    // Some platforms bind no key to Quit.
    if (action("mnuDBExit")->shortcuts().isEmpty())
        action("mnuDBExit")->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    nameToolkitControls();
}

void Frmdata::nameToolkitControls() {
    // Controls the toolkit adds (overflow buttons and menus, the grid's
    // corner) get names too, so that a screen reader can announce them.
    for (QToolBar* bar : findChildren<QToolBar*>()) {
        if (bar->windowTitle().isEmpty())
            bar->setWindowTitle(bar->accessibleName().isEmpty() ? bar->objectName()
                                                                : bar->accessibleName());
        for (QMenu* more : bar->findChildren<QMenu*>())
            if (more->title().isEmpty()) more->setTitle(QStringLiteral("More tools"));
    }
    for (QAbstractButton* b : findChildren<QAbstractButton*>()) {
        if (!b->accessibleName().isEmpty()) continue;
        if (b->objectName() == QLatin1String("qt_toolbar_ext_button"))
            b->setAccessibleName(QStringLiteral("More tools"));
        else if (b->objectName() == QLatin1String("qt_menubar_ext_button"))
            b->setAccessibleName(QStringLiteral("More menus"));
        else if (b->parent() == grid_)
            b->setAccessibleName(QStringLiteral("Select all"));
    }
}

QAction* Frmdata::sheetToolAction(const QString& key) const {
    for (QAction* a : sheetToolbar_->actions())
        if (a->objectName() == key) return a;
    return nullptr;
}

}  // namespace rq::ui
