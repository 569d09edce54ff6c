// The main window: menus, toolbars, the table-list panel, the three views
// (Sheet, XML Layout, Generate) and the status bar. It owns the sheet, the
// layout, the opened database and the working folder for the life of the
// process.
#pragma once

#include <QHash>
#include <QMainWindow>
#include <functional>
#include <memory>
#include <vector>

#include "app/appstate.h"
#include "datasource/database.h"

class QAction;
class QLabel;
class QListWidget;
class QListWidgetItem;
class QMenu;
class QProgressBar;
class QSplitter;
class QTabWidget;
class QTableView;
class QToolBar;

namespace rq::ui {

class GenerateView;
class LayoutView;
class SheetCommands;
class SheetEditor;
class SheetModel;
class TextExport;

class Frmdata : public QMainWindow {
    Q_OBJECT
  public:
    // realBrowsers = false puts plain labels where the browser panes go (tests
    // that run without a display).
    explicit Frmdata(bool realBrowsers = true, QWidget* parent = nullptr);
    ~Frmdata() override;

    // ---- commands ---------------------------------------------------------
    void resetToStartup();  // "&New" and the first step of every open
    // OpenDAODB: presetFile skips the open dialog (the program's argument).
    void openDaoDb(const QString& connect, const QString& presetFile = {});
    // Opens a database file given on the command line and loads its table.
    void openAtStart(const QString& path);
    // Loads the table-list entry into the sheet; false when it failed.
    bool loadListEntry(int row);
    // Asks for the value of each parameter of a stored query in turn; false
    // when one is cancelled.
    bool askQueryParameters(const std::string& query);
    // "&ODBC...": the window reset for an ODBC source, then OpenADODB with
    // an empty connection string (which asks for the data source).
    void mnuDBOODBC();
    // Opens the source, keeps its completed connection string and lists its
    // tables and views; an empty string asks the user for the source first.
    void openAdoDb(const QString& connectionString);
    // Loads the ODBC table-list entry into the sheet, reconnecting with the
    // saved connection string; false when it failed.
    bool loadOdbcListEntry(int row);
    // File → "Open Layout..." (path given: no dialog) and "Save Layout...".
    void openLayout(const QString& path = {});
    void saveLayout();
    void showSheetView();
    void showLayoutView();
    void showGenerateView();
    void enableSqlCommands(bool enabled);
    // "SQL": the statement editor, modal.
    void openSqlEditor();  // mnusqlhand
    // "Visual SQL": the statement wizard, modal.
    void openVisualSql();  // mnuvissql
    // Runs a statement on the open source, off the UI thread; the result
    // replaces the sheet and marks it changed. A failure shows the source's
    // message and keeps the sheet; false then.
    bool runSqlStatement(const QString& statement);
    void enableLayoutCommands(bool enabled);
    void fitColumnWidths();
    void hideTableList();
    // Deletes the working folder (closing and "E&xit").
    void deleteWorkingFolder();

    // The function that opens a file database (openFileDatabase unless replaced).
    using DatabaseOpener = std::function<std::unique_ptr<Database>(
        const std::string& connect, const std::string& file, const OpenOptions& options)>;
    void setDatabaseOpener(DatabaseOpener opener) { opener_ = std::move(opener); }

    // ---- state and controls, for the views and for tests -------------------
    AppState& state() { return state_; }
    Database* database() const { return db_.get(); }
    QAction* action(const QString& name) const { return actions_.value(name); }
    QMenu* menu(const QString& name) const { return menus_.value(name); }
    QAction* sheetToolAction(const QString& key) const;
    QToolBar* sheetToolbar() const { return sheetToolbar_; }
    QListWidget* tableList() const { return fileTableList_; }
    QListWidget* odbcTableList() const { return odbcTableList_; }
    QWidget* tableListPanel() const { return listPanel_; }
    QTableView* grid() const { return grid_; }
    SheetModel* sheetModel() const { return sheetModel_; }
    SheetEditor* sheetEditor() const { return sheetEditor_; }
    SheetCommands* sheetCommands() const { return sheetCommands_; }
    TextExport* textExport() const { return textExport_; }
    QTabWidget* views() const { return tabs_; }
    LayoutView* layoutView() const { return layoutView_; }
    GenerateView* generateView() const { return generateView_; }
    QLabel* statusViewPanel() const { return viewStatus_; }
    QLabel* statusTextPanel() const { return textStatus_; }
    QProgressBar* progressBar() const { return mainProgress_; }
    QSplitter* splitter() const { return splitter_; }
    // The pixel width colwd gives a header text.
    int columnWidthFor(const QString& header) const;
    // SizeControls: places the splitter, kept 50 twips from both edges.
    void sizeControls(int positionTwips);

  protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void buildMenus();
    void buildSheetToolbar();
    void bindStandardKeys();
    void nameToolkitControls();
    void buildBody(bool realBrowsers);
    void buildStatusBar();
    void connectLayoutCommands();
    void connectQueryCommands();
    void connectSheetCommands();
    void updateMoveCommands();  // updowngrid
    QAction* addItem(QMenu* menu, const char* name, const char* caption);
    QMenu* addSubmenu(QMenu* parent, const char* name, const char* caption);
    void addSeparator(QMenu* menu, const char* name);
    void connectOpenCommand(const char* name, const char* connectString);
    void showMenusOfView(int view);
    void showTableListOfSource();
    void reloadSheet();
    void showPosition();
    void reportOpenError(const QString& description, int code);
    void showTableList();
    void openHelp(const char* relative);
    void showTab(int index);

    AppState state_;
    std::unique_ptr<Database> db_;
    DatabaseOpener opener_ = &openFileDatabase;
    QHash<QString, QAction*> actions_;
    QHash<QString, QMenu*> menus_;
    std::vector<int> columnWidths_;  // pixels, by column index, set by colwd
    bool switchingView_ = false;

    QToolBar* sheetToolbar_ = nullptr;
    QWidget* listPanel_ = nullptr;
    QToolBar* tableListToolbar_ = nullptr;
    QListWidget* fileTableList_ = nullptr;
    QListWidget* odbcTableList_ = nullptr;
    QSplitter* splitter_ = nullptr;
    QTabWidget* tabs_ = nullptr;
    QTableView* grid_ = nullptr;
    SheetModel* sheetModel_ = nullptr;
    SheetEditor* sheetEditor_ = nullptr;
    SheetCommands* sheetCommands_ = nullptr;
    TextExport* textExport_ = nullptr;
    LayoutView* layoutView_ = nullptr;
    GenerateView* generateView_ = nullptr;
    QLabel* viewStatus_ = nullptr;
    QLabel* textStatus_ = nullptr;
    QProgressBar* mainProgress_ = nullptr;
};

}  // namespace rq::ui
