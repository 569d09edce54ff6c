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
#include "app/layoutview.h"
#include "app/opensettings.h"
#include "app/sheetmodel.h"
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

    connect(action("mnuabout"), &QAction::triggered, this, [this] {
        AboutBox box(this);
        Dialogs::exec(box);
    });

    connectLayoutCommands();
    state_.tempFolder = makefold("sdat");
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
    toolbar2_ = new QToolBar(listPanel_);
    toolbar2_->setObjectName(QStringLiteral("Toolbar2"));
    toolbar2_->setIconSize(QSize(14, 14));
    QAction* hide = toolbar2_->addAction(style()->standardIcon(QStyle::SP_TitleBarCloseButton),
                                         QStringLiteral("Hide"));
    hide->setObjectName(QStringLiteral("lstboxhid"));
    hide->setToolTip(QStringLiteral("Hide the table list"));
    connect(hide, &QAction::triggered, this, &Frmdata::lstboxhid);
    list1_ = new QListWidget(listPanel_);
    list1_->setObjectName(QStringLiteral("list1"));
    list2_ = new QListWidget(listPanel_);
    list2_->setObjectName(QStringLiteral("list2"));
    connect(list1_, &QListWidget::itemDoubleClicked, this,
            [this](QListWidgetItem* item) { loadListEntry(list1_->row(item)); });
    connect(list2_, &QListWidget::itemDoubleClicked, this,
            [this](QListWidgetItem* item) { loadOdbcListEntry(list2_->row(item)); });
    auto* panelLayout = new QVBoxLayout(listPanel_);
    panelLayout->setContentsMargins(0, 0, 0, 0);
    panelLayout->setSpacing(0);
    panelLayout->addWidget(toolbar2_);
    panelLayout->addWidget(list1_, 1);
    panelLayout->addWidget(list2_, 1);

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
        if (on) enabfoc(true);
    });

    // The generate view reports into the second panel and the progress bar.
    generateView_ =
        new GenerateView(state_, StatusTargets{statusPanel2_, progressBar1_}, realBrowsers, this);

    tabs_ = new QTabWidget(this);
    tabs_->setObjectName(QStringLiteral("SSTab1"));
    tabs_->addTab(grid_, QStringLiteral("Sheet"));
    tabs_->addTab(layoutView_, QStringLiteral("XML Layout"));
    tabs_->addTab(generateView_, QStringLiteral("Generate"));
    connect(tabs_, &QTabWidget::currentChanged, this, [this](int index) {
        if (switchingView_) return;
        if (index == kSheetView) mnusheet();
        if (index == kLayoutView) mnulayout();
        if (index == kGenerateView) mnugenerate();
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
    statusPanel1_ = new QLabel(this);
    statusPanel1_->setObjectName(QStringLiteral("statusPanel1"));
    statusPanel1_->setMinimumWidth(110);
    statusPanel2_ = new QLabel(this);
    statusPanel2_->setObjectName(QStringLiteral("statusPanel2"));
    progressBar1_ = new QProgressBar(this);
    progressBar1_->setObjectName(QStringLiteral("ProgressBar1"));
    progressBar1_->setRange(0, 100);
    progressBar1_->setValue(0);
    progressBar1_->setMaximumWidth(220);
    statusBar()->setObjectName(QStringLiteral("StatusBar1"));
    statusBar()->addWidget(statusPanel1_);
    statusBar()->addWidget(statusPanel2_, 1);
    statusBar()->addPermanentWidget(progressBar1_);
}

void Frmdata::resetToStartup() {
    // 1. Browser panes and both grids.
    generateView_->reset();
    db_.reset();
    state_.odbcConnection.clear();
    list1_->clear();
    list2_->clear();
    state_.sourceKind = SourceKind::Odbc;
    iniflexwone();
    state_.tree.clear();
    layoutView_->rebuild();
    enabfoc(false);
    statusPanel2_->clear();
    progressBar1_->setValue(0);
    // 2. The Sheet view.
    mnusheet();
    // 3. Row moves stay off until rows are selected.
    for (const char* name : {"mnuup", "mnudown"}) action(name)->setEnabled(false);
    for (const char* key : {"Moveup", "movedown"}) sheetToolAction(key)->setEnabled(false);
    // 4. The table list is hidden.
    lstboxhid();
    // 5. The start-up sheet.
    state_.sheet = DataSheet::startup();
    columnWidths_.clear();
    reloadSheet();
    showPosition();
    // 6., 7. No source yet; the Sheet view's menus.
    sqlenabfun(false);
    mnuvisbol(kSheetView);
    // 8. The working folder is made once, when the window is created.
    // 9. The first switch to the XML Layout view builds the default layout.
    state_.sheetchanged = true;
}

void Frmdata::iniflexwone() {
    const bool file = state_.sourceKind == SourceKind::FileDatabase;
    list1_->setVisible(file);
    list2_->setVisible(!file);
}

void Frmdata::lstboxhid() {
    listPanel_->hide();
}

void Frmdata::reloadSheet() {
    sheetModel_->reload();
    QHeaderView* header = grid_->horizontalHeader();
    const int cols = state_.sheet.cols();
    for (int c = 0; c < cols && c < static_cast<int>(columnWidths_.size()); ++c)
        header->resizeSection(c, columnWidths_[static_cast<std::size_t>(c)]);
}

void Frmdata::showPosition() {
    statusPanel2_->setText(QString::fromStdString(curntrowcol(state_.sheet)));
}

int Frmdata::columnWidthFor(const QString& header) const {
    const double dpi = logicalDpiX();
    const int textTwips = pixelsToTwips(QFontMetrics(font()).horizontalAdvance(header), dpi);
    return twipsToPixels(colwdTwips(textTwips), dpi);
}

void Frmdata::colwd() {
    const int cols = state_.sheet.cols();
    columnWidths_.assign(static_cast<std::size_t>(std::max(cols, 0)), 0);
    for (int c = 0; c < cols; ++c) {
        const std::string_view name = state_.sheet.cell(0, c);
        columnWidths_[static_cast<std::size_t>(c)] =
            columnWidthFor(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
    }
    reloadSheet();
}

void Frmdata::sqlenabfun(bool enabled) {
    sheetToolAction(QStringLiteral("sqlpen"))->setEnabled(enabled);
    sheetToolAction(QStringLiteral("sqlply"))->setEnabled(enabled);
    action("mnusqlhand")->setEnabled(enabled);
    action("mnuvissql")->setEnabled(enabled);
}

void Frmdata::enabfoc(bool enabled) {
    for (const char* key :
         {"attr_normtool", "attr_dataool", "Delete", "up", "down", "left", "right"})
        layoutView_->toolbarAction(QString::fromUtf8(key))->setEnabled(enabled);
    for (const char* name : {"mnuelent", "mnudatelem", "mnudelete", "mnumovtagup", "mnumovetagdown",
                             "mnumovetagleft", "mnumovtagrght"})
        action(name)->setEnabled(enabled);
}

void Frmdata::mnuvisbol(int view) {
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

void Frmdata::mnusheet() {
    sizeControls(pixelsToTwips(splitter_->sizes().value(0), logicalDpiX()));
    mnuvisbol(kSheetView);
    showTab(kSheetView);
    statusPanel1_->setText(QStringLiteral("Data Grid"));
    showPosition();
}

void Frmdata::mnulayout() {
    sizeControls(pixelsToTwips(splitter_->sizes().value(0), logicalDpiX()));
    mnuvisbol(kLayoutView);
    if (state_.sheetchanged) {
        initree(state_.tree, state_.sheet);
        layoutView_->rebuild();
    }
    state_.sheetchanged = false;
    showTab(kLayoutView);
    generateView_->cmdsedfinbol();
    statusPanel1_->setText(QStringLiteral("XML Layout"));
}

void Frmdata::mnugenerate() {
    sizeControls(pixelsToTwips(splitter_->sizes().value(0), logicalDpiX()));
    mnuvisbol(kGenerateView);
    // A generation needs the layout of the sheet as it is now.
    if (state_.sheetchanged) {
        initree(state_.tree, state_.sheet);
        layoutView_->rebuild();
        state_.sheetchanged = false;
    }
    showTab(kGenerateView);
    statusPanel1_->setText(QStringLiteral("Generate"));
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
    Dialogs::openUrl(
        QUrl::fromLocalFile(helpPagePath(QCoreApplication::applicationDirPath(), relative)));
}

void Frmdata::deleteWorkingFolder() {
    if (state_.tempFolder.empty()) return;
    std::string path = state_.tempFolder;
    if (!path.empty() && path.back() == '/') path.pop_back();
    DeleteAFolder(path);
    state_.tempFolder.clear();
}

void Frmdata::closeEvent(QCloseEvent* event) {
    deleteWorkingFolder();
    event->accept();
}

}  // namespace rq::ui
