#include "app/frmdata.h"

#include <QAction>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QFontMetrics>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QProgressBar>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QTabWidget>
#include <QTableView>
#include <QToolBar>
#include <QVBoxLayout>

#include "app/aboutbox.h"
#include "app/dialogs.h"
#include "app/generateview.h"
#include "app/helpwindow.h"
#include "app/layouttreemodel.h"
#include "app/layoutview.h"
#include "app/opensettings.h"
#include "app/sheetcommands.h"
#include "app/sheetmodel.h"
#include "base/io/folders.h"
#include "generate/generationrun.h"
#include "layout/defaultlayout.h"

namespace rq::ui {

namespace {

enum ViewIndex { kSheetView = 0, kLayoutView = 1, kGenerateView = 2 };

}  // namespace

Frmdata::Frmdata(bool realBrowsers, QWidget* parent) : QMainWindow(parent) {
    setObjectName(QStringLiteral("Frmdata"));
    setWindowTitle(appTitle());
    resize(1000, 680);
    buildMenus();
    buildSheetToolbar();
    buildStatusBar();
    buildBody(realBrowsers);
    bindStandardKeys();

    connect(action("mnuabout"), &QAction::triggered, this, [this] {
        AboutBox box(this);
        Dialogs::exec(box);
    });

    // The table list, hidden once a table is loaded, can be shown again while
    // a source is open.
    QAction* tableList = addItem(menu("mnuview"), "mnutablelist", "&Table List");
    tableList->setEnabled(false);
    connect(menu("mnuview"), &QMenu::aboutToShow, this, [this, tableList] {
        tableList->setEnabled(fileTableList_->count() > 0 || odbcTableList_->count() > 0);
    });
    connect(tableList, &QAction::triggered, this, [this] {
        if (fileTableList_->count() > 0 || odbcTableList_->count() > 0) showTableList();
    });

    connectLayoutCommands();
    connectQueryCommands();
    connectSheetCommands();
    state_.tempFolder = makeWorkingFolder("sdat");
    resetToStartup();
}

Frmdata::~Frmdata() {
    deleteWorkingFolder();
    // The views read the state while they are taken down; they go first.
    delete takeCentralWidget();
}

void Frmdata::buildBody(bool realBrowsers) {
    // Table-list panel: its toolbar and the lists of the two source kinds.
    listPanel_ = new QWidget(this);
    listPanel_->setObjectName(QStringLiteral("lstpanel"));
    tableListToolbar_ = new QToolBar(listPanel_);
    tableListToolbar_->setObjectName(QStringLiteral("Toolbar2"));
    tableListToolbar_->setIconSize(QSize(14, 14));
    QAction* hide = tableListToolbar_->addAction(
        style()->standardIcon(QStyle::SP_TitleBarCloseButton), QStringLiteral("Hide"));
    hide->setObjectName(QStringLiteral("lstboxhid"));
    hide->setToolTip(QStringLiteral("Hide the table list"));
    connect(hide, &QAction::triggered, this, &Frmdata::hideTableList);
    fileTableList_ = new QListWidget(listPanel_);
    fileTableList_->setObjectName(QStringLiteral("list1"));
    odbcTableList_ = new QListWidget(listPanel_);
    odbcTableList_->setObjectName(QStringLiteral("list2"));
    connect(fileTableList_, &QListWidget::itemDoubleClicked, this,
            [this](QListWidgetItem* item) { loadListEntry(fileTableList_->row(item)); });
    connect(odbcTableList_, &QListWidget::itemDoubleClicked, this,
            [this](QListWidgetItem* item) { loadOdbcListEntry(odbcTableList_->row(item)); });
    auto* panelLayout = new QVBoxLayout(listPanel_);
    panelLayout->setContentsMargins(0, 0, 0, 0);
    panelLayout->setSpacing(0);
    panelLayout->addWidget(tableListToolbar_);
    panelLayout->addWidget(fileTableList_, 1);
    panelLayout->addWidget(odbcTableList_, 1);

    // Sheet view.
    grid_ = new QTableView(this);
    grid_->setObjectName(QStringLiteral("MSFlexGrid1"));
    sheetModel_ = new SheetModel(state_.sheet, grid_);
    grid_->setModel(sheetModel_);
    grid_->setWordWrap(false);
    grid_->verticalHeader()->hide();
    grid_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    grid_->verticalHeader()->setDefaultSectionSize(grid_->fontMetrics().height() + 6);
    grid_->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    grid_->horizontalHeader()->setHighlightSections(false);
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    connect(grid_, &QTableView::pressed, this, [this](const QModelIndex& index) {
        state_.sheet.setRow(index.row() + 1);
        state_.sheet.setCol(index.column());
        showPosition();
    });
    connect(grid_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (!current.isValid()) return;
                state_.sheet.setRowSel(current.row() + 1);
                state_.sheet.setColSel(current.column());
                showPosition();
            });

    layoutView_ = new LayoutView(state_, this);
    connect(layoutView_, &LayoutView::tagSelected, this, [this](bool on) {
        if (on) enableLayoutCommands(true);
    });

    // The generate view reports into the second panel and the progress bar.
    generateView_ =
        new GenerateView(state_, StatusTargets{textStatus_, mainProgress_}, realBrowsers, this);
    // A changed sheet or layout makes earlier output stale.
    generateView_->watch(sheetModel_);
    generateView_->watch(layoutView_->model());

    tabs_ = new QTabWidget(this);
    tabs_->setObjectName(QStringLiteral("SSTab1"));
    tabs_->addTab(grid_, QStringLiteral("Sheet"));
    tabs_->addTab(layoutView_, QStringLiteral("XML Layout"));
    tabs_->addTab(generateView_, QStringLiteral("Generate"));
    connect(tabs_, &QTabWidget::currentChanged, this, [this](int index) {
        if (switchingView_) return;
        if (index == kSheetView) showSheetView();
        if (index == kLayoutView) showLayoutView();
        if (index == kGenerateView) showGenerateView();
    });

    splitter_ = new QSplitter(Qt::Horizontal, this);
    splitter_->setObjectName(QStringLiteral("imgSplitter"));
    splitter_->setChildrenCollapsible(false);
    splitter_->addWidget(listPanel_);
    splitter_->addWidget(tabs_);
    splitter_->setStretchFactor(1, 1);
    splitter_->setSizes({200, 800});
    connect(splitter_, &QSplitter::splitterMoved, this,
            [this](int pos, int) { sizeControls(pixelsToTwips(pos, logicalDpiX())); });
    setCentralWidget(splitter_);
}

void Frmdata::buildStatusBar() {
    viewStatus_ = new QLabel(this);
    viewStatus_->setObjectName(QStringLiteral("statusPanel1"));
    viewStatus_->setMinimumWidth(110);
    textStatus_ = new QLabel(this);
    textStatus_->setObjectName(QStringLiteral("statusPanel2"));
    mainProgress_ = new QProgressBar(this);
    mainProgress_->setObjectName(QStringLiteral("ProgressBar1"));
    mainProgress_->setRange(0, 100);
    mainProgress_->setValue(0);
    mainProgress_->setMaximumWidth(220);
    statusBar()->setObjectName(QStringLiteral("StatusBar1"));
    statusBar()->addWidget(viewStatus_);
    statusBar()->addWidget(textStatus_, 1);
    statusBar()->addPermanentWidget(mainProgress_);
}

void Frmdata::resetToStartup() {
    // 1. Browser panes and both grids.
    generateView_->reset();
    db_.reset();
    state_.odbcConnection.clear();
    fileTableList_->clear();
    odbcTableList_->clear();
    state_.sourceKind = SourceKind::Odbc;
    showTableListOfSource();
    state_.tree.clear();
    layoutView_->rebuild();
    enableLayoutCommands(false);
    textStatus_->clear();
    mainProgress_->setValue(0);
    // 2. The Sheet view.
    showSheetView();
    // 3. Row moves stay off until rows are selected.
    for (const char* name : {"mnuup", "mnudown"}) action(name)->setEnabled(false);
    for (const char* key : {"Moveup", "movedown"}) sheetToolAction(key)->setEnabled(false);
    // 4. The table list is hidden.
    hideTableList();
    // 5. The start-up sheet.
    state_.sheet = DataSheet::startup();
    columnWidths_.clear();
    reloadSheet();
    showPosition();
    // 6., 7. No source yet; the Sheet view's menus.
    enableSqlCommands(false);
    showMenusOfView(kSheetView);
    // 8. The working folder is made once, when the window is created.
    // 9. The first switch to the XML Layout view builds the default layout.
    state_.sheetchanged = true;
}

void Frmdata::showTableListOfSource() {
    const bool file = state_.sourceKind == SourceKind::FileDatabase;
    fileTableList_->setVisible(file);
    odbcTableList_->setVisible(!file);
}

void Frmdata::hideTableList() {
    listPanel_->hide();
}

void Frmdata::reloadSheet() {
    if (sheetCommands_) sheetCommands_->contentsReplaced();
    sheetModel_->reload();
    QHeaderView* header = grid_->horizontalHeader();
    const int cols = state_.sheet.cols();
    for (int c = 0; c < cols && c < static_cast<int>(columnWidths_.size()); ++c)
        header->resizeSection(c, columnWidths_[static_cast<std::size_t>(c)]);
}

void Frmdata::showPosition() {
    textStatus_->setText(QString::fromStdString(positionText(state_.sheet)));
}

int Frmdata::columnWidthFor(const QString& header) const {
    const double dpi = logicalDpiX();
    const int textTwips = pixelsToTwips(QFontMetrics(font()).horizontalAdvance(header), dpi);
    return twipsToPixels(columnWidthTwips(textTwips), dpi);
}

void Frmdata::fitColumnWidths() {
    const int cols = state_.sheet.cols();
    columnWidths_.assign(static_cast<std::size_t>(std::max(cols, 0)), 0);
    for (int c = 0; c < cols; ++c) {
        const std::string_view name = state_.sheet.cell(0, c);
        columnWidths_[static_cast<std::size_t>(c)] =
            columnWidthFor(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
    }
    reloadSheet();
}

void Frmdata::enableSqlCommands(bool enabled) {
    sheetToolAction(QStringLiteral("sqlpen"))->setEnabled(enabled);
    sheetToolAction(QStringLiteral("sqlply"))->setEnabled(enabled);
    action("mnusqlhand")->setEnabled(enabled);
    action("mnuvissql")->setEnabled(enabled);
}

void Frmdata::enableLayoutCommands(bool enabled) {
    for (const char* key :
         {"attr_normtool", "attr_dataool", "Delete", "up", "down", "left", "right"})
        layoutView_->toolbarAction(QString::fromUtf8(key))->setEnabled(enabled);
    for (const char* name : {"mnuelent", "mnudatelem", "mnudelete", "mnumovtagup", "mnumovetagdown",
                             "mnumovetagleft", "mnumovtagrght"})
        action(name)->setEnabled(enabled);
}

void Frmdata::showMenusOfView(int view) {
    // The sheet's commands belong to the Sheet view, the tag commands to the
    // XML Layout view.
    menu("mnuedit")->menuAction()->setVisible(view == kSheetView);
    menu("mnueditw")->menuAction()->setVisible(view == kLayoutView);
}

void Frmdata::showTab(int index) {
    switchingView_ = true;
    tabs_->setCurrentIndex(index);
    switchingView_ = false;
}

void Frmdata::showSheetView() {
    sizeControls(pixelsToTwips(splitter_->sizes().value(0), logicalDpiX()));
    showMenusOfView(kSheetView);
    showTab(kSheetView);
    viewStatus_->setText(QStringLiteral("Data Grid"));
    showPosition();
}

void Frmdata::showLayoutView() {
    sizeControls(pixelsToTwips(splitter_->sizes().value(0), logicalDpiX()));
    showMenusOfView(kLayoutView);
    if (state_.sheetchanged) {
        buildDefaultLayout(state_.tree, state_.sheet);
        layoutView_->rebuild();
    }
    state_.sheetchanged = false;
    showTab(kLayoutView);
    generateView_->refreshQuickPreview();
    viewStatus_->setText(QStringLiteral("XML Layout"));
}

void Frmdata::showGenerateView() {
    sizeControls(pixelsToTwips(splitter_->sizes().value(0), logicalDpiX()));
    showMenusOfView(kGenerateView);
    // A generation needs the layout of the sheet as it is now.
    if (state_.sheetchanged) {
        buildDefaultLayout(state_.tree, state_.sheet);
        layoutView_->rebuild();
        state_.sheetchanged = false;
    }
    showTab(kGenerateView);
    viewStatus_->setText(QStringLiteral("Generate"));
}

void Frmdata::sizeControls(int positionTwips) {
    if (!listPanel_->isVisible()) return;
    const double dpi = logicalDpiX();
    const int client = pixelsToTwips(splitter_->width(), dpi);
    const int kept = splitterPositionTwips(positionTwips, client);
    const int px = twipsToPixels(kept, dpi);
    const QList<int> sizes = splitter_->sizes();
    if (sizes.size() == 2 && sizes[0] != px)
        splitter_->setSizes({px, std::max(0, splitter_->width() - px - splitter_->handleWidth())});
}

void Frmdata::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    sizeControls(pixelsToTwips(splitter_->sizes().value(0), logicalDpiX()));
}

void Frmdata::openHelp(const char* relative) {
    openHelpPage(
        this, QUrl::fromLocalFile(helpPagePath(QCoreApplication::applicationDirPath(), relative)));
}

void Frmdata::deleteWorkingFolder() {
    if (state_.tempFolder.empty()) return;
    removeWorkingFolder(state_.tempFolder);
    state_.tempFolder.clear();
}

void Frmdata::closeEvent(QCloseEvent* event) {
    deleteWorkingFolder();
    event->accept();
}

}  // namespace rq::ui
