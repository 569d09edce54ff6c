// The Generate view: output type, the single-file and separate-files toolbars,
// rows per file, symbol conversion, quick preview, preview type, the code pane
// and the two browser panes.
#pragma once

#include <QWidget>
#include <string>
#include <string_view>

#include "app/appstate.h"

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

namespace rq::ui {

class BrowserPane;

// The code pane shows at most `limit` bytes of a document, cut at a line end,
// followed by a note; the whole text stays available for saving.
QString codePaneText(std::string_view document, std::size_t limit);
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

    const std::string& singleDocument() const { return document_; }
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

  signals:
    // Every text the view puts into the status bar's second panel.
    void statusShown(const QString& text);

  private:
    void showOutputType(bool single);
    void showPreviewFile();
    bool convertSymbols() const;
    void setStatus(const QString& text);
    void setProgress(QProgressBar* bar, int percent);

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

    std::string document_;  // the hidden holder: the whole single-file document
    std::string runFolder_;
    QString lastSaved_;
    QString lastFolder_;
};

}  // namespace rq::ui
