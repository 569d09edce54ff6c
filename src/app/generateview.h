// The Generate view: output type, the single-file and separate-files toolbars,
// rows per file, symbol conversion, quick preview, preview type, the code pane
// and the two browser panes.
#pragma once

#include <QWidget>
#include <string>
#include <string_view>

#include "app/appstate.h"

class QAbstractItemModel;
class QAction;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QRadioButton;
class QStackedWidget;
class QTabWidget;
class QToolBar;
class QToolButton;

namespace rq {
class AtomicFile;
}

namespace rq::ui {

class BrowserPane;

// The code pane shows at most `limit` bytes of a document, cut at a line end,
// followed by a note; the whole text stays available for saving.
QString codePaneText(std::string_view document, std::size_t limit);
// The same from the beginning of a document of `total` bytes: head holds at
// least min(total, limit + 1) of its first bytes.
QString codePaneText(std::string_view head, std::size_t total, std::size_t limit);
inline constexpr std::size_t kCodePaneLimit = 1u << 20;

class GenerateView : public QWidget {
    Q_OBJECT
  public:
    GenerateView(AppState& state, StatusTargets status, bool realBrowsers,
                 QWidget* parent = nullptr);

    // Back to the state of a fresh window.
    void reset();
    // The quick preview: record 1 into the code pane when chkqwkpre is ticked.
    void refreshQuickPreview();

    // Toolbar3 / Toolbar4 buttons by key ("node", "Save", "preview").
    QAction* singleAction(const QString& key) const;
    QAction* separateAction(const QString& key) const;
    // Rows per file as the run reads it: an empty box becomes "10" first.
    int rowsPerFile();

    // Whether the view holds a single-file document of the sheet and layout as
    // they are now; Save As and Preview need one.
    bool hasDocument() const { return hasDocument_; }
    // The beginning of that document (what the code pane shows) and its size.
    const std::string& documentHead() const { return head_; }
    std::size_t documentSize() const { return documentSize_; }
    const QString& lastSavedFile() const { return lastSaved_; }
    const QString& lastSavedFolder() const { return lastFolder_; }
    BrowserPane* singleBrowser() const { return singleBrowser_; }
    BrowserPane* separateBrowser() const { return separateBrowser_; }

    void generateSingle();
    void saveSingle();
    void previewSingle();
    void generateSeparate();
    void saveSeparate();
    void previewSeparate();
    // Drops what the view holds from earlier runs: the sheet or the layout changed.
    void forgetDocument();
    // Every change of the model's data makes the view forget its document.
    void watch(QAbstractItemModel* model);

  signals:
    // Every text the view puts into the status bar's second panel.
    void statusShown(const QString& text);

  private:
    void showOutputType(bool single);
    void showPreviewFile();
    void clearOutput();
    bool convertSymbols() const;
    void setStatus(const QString& text);
    void setProgress(QProgressBar* bar, int percent);
    // Writes the single-file document in a background run: its beginning into
    // head (when given), its bytes into file (when given). False when cancelled
    // or failed (with the reason in *error).
    bool streamDocument(std::string* head, std::size_t* size, AtomicFile* file, QString* error);

    AppState& state_;
    StatusTargets status_;
    QRadioButton* singleFileOption_;
    QRadioButton* separateFilesOption_;
    QGroupBox* singleFrame_;
    QGroupBox* separateFrame_;
    QToolBar* singleRunToolbar_;
    QToolBar* separateRunToolbar_;
    QLineEdit* recordsPerFileBox_;
    QToolButton* recordsUpButton_;
    QToolButton* recordsDownButton_;
    QProgressBar* separateProgress_;
    QCheckBox* convertSymbolsBox_;
    QCheckBox* quickPreviewBox_;
    QComboBox* previewTypeBox_;
    QTabWidget* previewTabs_;
    QPlainTextEdit* codePane_;
    QStackedWidget* outputStack_;
    BrowserPane* singleBrowser_;
    BrowserPane* separateBrowser_;

    // The hidden holder keeps only the beginning of the single-file document;
    // a save writes the whole document again from the sheet.
    std::string head_;
    std::size_t documentSize_ = 0;
    bool hasDocument_ = false;
    std::string runFolder_;
    QString lastSaved_;
    QString lastFolder_;
};

}  // namespace rq::ui
