#include "app/generateview.h"

#include <QAbstractItemModel>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QStyle>
#include <QTabWidget>
#include <QTextDocument>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <climits>
#include <stdexcept>
#include <thread>

#include "app/backgroundrun.h"
#include "app/browserpane.h"
#include "app/busycursor.h"
#include "app/dialogs.h"
#include "app/digitfield.h"
#include "app/selectdirectory.h"
#include "app/sourceguard.h"
#include "base/io/atomicfile.h"
#include "base/io/folders.h"
#include "generate/documentwriter.h"
#include "generate/folderchoice.h"
#include "generate/generationrun.h"
#include "generate/outputfiles.h"
#include "layout/defaultlayout.h"

namespace rq::ui {

namespace {

QString fromUtf8(std::string_view s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

const QString kSaveAsFilter = QStringLiteral(
    "XML Documents (*.xml)|*.xml|XML Schema Files (*.xsd)|*.xsd|XSLT Stylesheets "
    "(*.xsl;*.xslt;*.fo)|*.xsl;*.xslt;*.fo|All files (*.*)|*.*");

QToolBar* makeRunToolbar(const QString& name, QWidget* parent) {
    auto* bar = new QToolBar(parent);
    bar->setObjectName(name);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->setIconSize(QSize(16, 16));
    const struct {
        const char* key;
        const char* caption;
        QStyle::StandardPixmap icon;
    } buttons[] = {{"node", "Generate", QStyle::SP_MediaPlay},
                   {"Save", "Save As...", QStyle::SP_DialogSaveButton},
                   {"preview", "Preview", QStyle::SP_FileDialogContentsView}};
    for (const auto& b : buttons) {
        QAction* a =
            bar->addAction(parent->style()->standardIcon(b.icon), QString::fromUtf8(b.caption));
        a->setObjectName(QString::fromUtf8(b.key));
        // Toolbar buttons drop a trailing "..." unless the text is set as given.
        a->setIconText(QString::fromUtf8(b.caption));
    }
    // The frame grows to hold every button rather than hiding some behind
    // the toolbar's overflow button.
    bar->setMinimumWidth(bar->sizeHint().width());
    return bar;
}

QAction* actionByKey(QToolBar* bar, const QString& key) {
    for (QAction* a : bar->actions())
        if (a->objectName() == key) return a;
    return nullptr;
}

}  // namespace

QString codePaneText(std::string_view document, std::size_t limit) {
    return codePaneText(document, document.size(), limit);
}

QString codePaneText(std::string_view head, std::size_t total, std::size_t limit) {
    if (total <= limit) return fromUtf8(head.substr(0, total));
    std::size_t cut = head.rfind('\n', limit);
    if (cut == std::string_view::npos || cut == 0) {
        // No line end: cut before a UTF-8 continuation byte never splits a character.
        cut = std::min(limit, head.size());
        while (cut > 0 && cut < head.size() &&
               (static_cast<unsigned char>(head[cut]) & 0xC0) == 0x80)
            --cut;
    } else {
        ++cut;
    }
    const double megabytes = static_cast<double>(total) / (1024.0 * 1024.0);
    return fromUtf8(head.substr(0, cut)) +
           QStringLiteral(
               "\n[... The document is %1 MB long; only its beginning is shown "
               "here. Save As writes the whole document.]")
               .arg(megabytes, 0, 'f', 1);
}

GenerateView::GenerateView(AppState& state, StatusTargets status, bool realBrowsers,
                           QWidget* parent)
    : QWidget(parent), state_(state), status_(status) {
    setObjectName(QStringLiteral("generateView"));

    // Output type.
    auto* outputType = new QGroupBox(QStringLiteral("Output Type/Properties"), this);
    outputType->setObjectName(QStringLiteral("Frame3"));
    singleFileOption_ = new QRadioButton(QStringLiteral("Single File"), outputType);
    singleFileOption_->setObjectName(QStringLiteral("Option1"));
    separateFilesOption_ = new QRadioButton(QStringLiteral("Separate Files"), outputType);
    separateFilesOption_->setObjectName(QStringLiteral("Option2"));
    connect(singleFileOption_, &QRadioButton::toggled, this,
            [this](bool on) { showOutputType(on); });

    singleFrame_ = new QGroupBox(QStringLiteral("Single File"), outputType);
    singleFrame_->setObjectName(QStringLiteral("Frame4"));
    singleRunToolbar_ = makeRunToolbar(QStringLiteral("Toolbar3"), singleFrame_);
    auto* singleLayout = new QVBoxLayout(singleFrame_);
    singleLayout->addWidget(singleRunToolbar_);
    singleLayout->addStretch();

    separateFrame_ = new QGroupBox(QStringLiteral("Separate Files"), outputType);
    separateFrame_->setObjectName(QStringLiteral("Frame5"));
    separateRunToolbar_ = makeRunToolbar(QStringLiteral("Toolbar4"), separateFrame_);
    recordsPerFileBox_ = new QLineEdit(QStringLiteral("10"), separateFrame_);
    recordsPerFileBox_->setObjectName(QStringLiteral("updwntxt"));
    recordsPerFileBox_->setAccessibleName(QStringLiteral("Rows per file"));
    // Room for seven digits and the frame.
    recordsPerFileBox_->setMinimumWidth(
        recordsPerFileBox_->fontMetrics().horizontalAdvance(QStringLiteral("0000000")) + 16);
    recordsPerFileBox_->setMaximumWidth(
        recordsPerFileBox_->fontMetrics().horizontalAdvance(QStringLiteral("000000000")) + 16);
    recordsUpButton_ = new QToolButton(separateFrame_);
    recordsUpButton_->setObjectName(QStringLiteral("cmdupk"));
    recordsUpButton_->setArrowType(Qt::UpArrow);
    recordsDownButton_ = new QToolButton(separateFrame_);
    recordsDownButton_->setObjectName(QStringLiteral("cmddownk"));
    recordsDownButton_->setArrowType(Qt::DownArrow);
    separateProgress_ = new QProgressBar(separateFrame_);
    separateProgress_->setObjectName(QStringLiteral("ProgressBar2"));
    separateProgress_->setRange(0, 100);
    separateProgress_->setValue(0);
    auto* rowsLine = new QHBoxLayout;
    rowsLine->addWidget(new QLabel(QStringLiteral("For every"), separateFrame_));
    rowsLine->addWidget(recordsPerFileBox_);
    rowsLine->addWidget(recordsUpButton_);
    rowsLine->addWidget(recordsDownButton_);
    auto* rowsLabel =
        new QLabel(QStringLiteral("Rows (Records), Generate an XML file."), separateFrame_);
    rowsLabel->setWordWrap(true);
    rowsLine->addWidget(rowsLabel, 1);
    auto* separateLayout = new QVBoxLayout(separateFrame_);
    separateLayout->addWidget(separateRunToolbar_);
    separateLayout->addLayout(rowsLine);
    separateLayout->addWidget(separateProgress_);

    keepOnlyDigits(recordsPerFileBox_);
    connect(recordsPerFileBox_, &QLineEdit::returnPressed, this, [this] { focusNextChild(); });
    auto step = [this](int delta) {
        const QString text = recordsPerFileBox_->text();
        qlonglong value = text.isEmpty() ? 10 : text.toLongLong();
        value = std::clamp<qlonglong>(value + delta, 1, INT_MAX);
        recordsPerFileBox_->setText(QString::number(value));
    };
    connect(recordsUpButton_, &QToolButton::clicked, this, [step] { step(+1); });
    connect(recordsDownButton_, &QToolButton::clicked, this, [step] { step(-1); });

    convertSymbolsBox_ = new QCheckBox(
        QStringLiteral("Convert symbols to their correct character code, when saving each file."),
        outputType);
    convertSymbolsBox_->setObjectName(QStringLiteral("Check2"));

    quickPreviewBox_ = new QCheckBox(QStringLiteral("Keep the preview up to date"), outputType);
    quickPreviewBox_->setObjectName(QStringLiteral("chkqwkpre"));
    auto* cmdqwlvw = new QPushButton(QStringLiteral("Quick Preview"), outputType);
    cmdqwlvw->setObjectName(QStringLiteral("cmdqwlvw"));
    previewTypeBox_ = new QComboBox(outputType);
    previewTypeBox_->setObjectName(QStringLiteral("Combo1"));
    previewTypeBox_->setPlaceholderText(QStringLiteral("Preview As..."));
    for (const std::string& item : previewTypeItems()) previewTypeBox_->addItem(fromUtf8(item));
    previewTypeBox_->setCurrentIndex(-1);

    auto* typeLine = new QHBoxLayout;
    typeLine->addWidget(singleFileOption_);
    typeLine->addWidget(separateFilesOption_);
    typeLine->addStretch();
    auto* frames = new QHBoxLayout;
    frames->addWidget(singleFrame_, 1);
    frames->addWidget(separateFrame_, 1);
    auto* previewLine = new QHBoxLayout;
    previewLine->addWidget(quickPreviewBox_);
    previewLine->addWidget(cmdqwlvw);
    previewLine->addWidget(previewTypeBox_);
    previewLine->addStretch();
    auto* outputLayout = new QVBoxLayout(outputType);
    outputLayout->addLayout(typeLine);
    outputLayout->addLayout(frames);
    outputLayout->addWidget(convertSymbolsBox_);
    outputLayout->addLayout(previewLine);

    // Output panes.
    codePane_ = new QPlainTextEdit(this);
    codePane_->setObjectName(QStringLiteral("richoutput"));
    codePane_->setReadOnly(true);
    codePane_->setLineWrapMode(QPlainTextEdit::NoWrap);
    QFont mono(QStringLiteral("Monospace"));
    mono.setStyleHint(QFont::TypeWriter);
    codePane_->setFont(mono);
    codePane_->setTabStopDistance(QFontMetricsF(mono).horizontalAdvance(QLatin1Char(' ')) * 4);
    singleBrowser_ = new BrowserPane(QStringLiteral("brwWebBrowser"), realBrowsers, this);
    previewTabs_ = new QTabWidget(this);
    previewTabs_->setObjectName(QStringLiteral("SSTab2"));
    previewTabs_->addTab(codePane_, QStringLiteral("Code"));
    previewTabs_->addTab(singleBrowser_, QStringLiteral("Preview"));
    separateBrowser_ = new BrowserPane(QStringLiteral("WebBrowser1"), realBrowsers, this);
    outputStack_ = new QStackedWidget(this);
    outputStack_->addWidget(previewTabs_);
    outputStack_->addWidget(separateBrowser_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(outputType);
    layout->addWidget(outputStack_, 1);

    connect(actionByKey(singleRunToolbar_, QStringLiteral("node")), &QAction::triggered, this,
            &GenerateView::generateSingle);
    connect(actionByKey(singleRunToolbar_, QStringLiteral("Save")), &QAction::triggered, this,
            &GenerateView::saveSingle);
    connect(actionByKey(singleRunToolbar_, QStringLiteral("preview")), &QAction::triggered, this,
            &GenerateView::previewSingle);
    connect(actionByKey(separateRunToolbar_, QStringLiteral("node")), &QAction::triggered, this,
            &GenerateView::generateSeparate);
    connect(actionByKey(separateRunToolbar_, QStringLiteral("Save")), &QAction::triggered, this,
            &GenerateView::saveSeparate);
    connect(actionByKey(separateRunToolbar_, QStringLiteral("preview")), &QAction::triggered, this,
            &GenerateView::previewSeparate);
    connect(cmdqwlvw, &QPushButton::clicked, this, [this] {
        const bool ticked = quickPreviewBox_->isChecked();
        quickPreviewBox_->setChecked(true);
        previewTabs_->setCurrentIndex(1);
        refreshQuickPreview();
        quickPreviewBox_->setChecked(ticked);
    });
    connect(previewTypeBox_, &QComboBox::currentIndexChanged, this, [this] {
        if (previewTabs_->currentIndex() == 1 && !codePane_->toPlainText().isEmpty())
            showPreviewFile();
    });
    connect(previewTabs_, &QTabWidget::currentChanged, this, [this](int index) {
        if (index == 1 && !codePane_->toPlainText().isEmpty()) showPreviewFile();
    });

    reset();
}

QAction* GenerateView::singleAction(const QString& key) const {
    return actionByKey(singleRunToolbar_, key);
}

QAction* GenerateView::separateAction(const QString& key) const {
    return actionByKey(separateRunToolbar_, key);
}

void GenerateView::reset() {
    singleFileOption_->setChecked(true);
    showOutputType(true);
    recordsPerFileBox_->setText(QStringLiteral("10"));
    // Saved documents are UTF-8 unless the user asks for code page 1252.
    convertSymbolsBox_->setChecked(true);
    quickPreviewBox_->setChecked(false);
    previewTypeBox_->setCurrentIndex(-1);
    previewTabs_->setCurrentIndex(0);
    lastSaved_.clear();
    lastFolder_.clear();
    clearOutput();
}

void GenerateView::forgetDocument() {
    if (hasDocument_ || !runFolder_.empty() || !codePane_->document()->isEmpty()) clearOutput();
}

void GenerateView::clearOutput() {
    codePane_->clear();
    separateProgress_->setValue(0);
    head_.clear();
    head_.shrink_to_fit();
    documentSize_ = 0;
    hasDocument_ = false;
    runFolder_.clear();
    for (QToolBar* bar : {singleRunToolbar_, separateRunToolbar_}) {
        actionByKey(bar, QStringLiteral("Save"))->setEnabled(false);
        actionByKey(bar, QStringLiteral("preview"))->setEnabled(false);
    }
    singleBrowser_->navigate(QUrl(QStringLiteral("about:blank")));
    separateBrowser_->navigate(QUrl(QStringLiteral("about:blank")));
}

void GenerateView::watch(QAbstractItemModel* model) {
    connect(model, &QAbstractItemModel::modelReset, this, &GenerateView::forgetDocument);
    connect(model, &QAbstractItemModel::layoutChanged, this, &GenerateView::forgetDocument);
    connect(model, &QAbstractItemModel::dataChanged, this, &GenerateView::forgetDocument);
    connect(model, &QAbstractItemModel::rowsInserted, this, &GenerateView::forgetDocument);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &GenerateView::forgetDocument);
    connect(model, &QAbstractItemModel::rowsMoved, this, &GenerateView::forgetDocument);
    connect(model, &QAbstractItemModel::columnsInserted, this, &GenerateView::forgetDocument);
    connect(model, &QAbstractItemModel::columnsRemoved, this, &GenerateView::forgetDocument);
}

void GenerateView::showOutputType(bool single) {
    singleFrame_->setEnabled(single);
    separateFrame_->setEnabled(!single);
    outputStack_->setCurrentIndex(single ? 0 : 1);
}

bool GenerateView::convertSymbols() const {
    return convertSymbolsBox_->isChecked();
}

void GenerateView::setStatus(const QString& text) {
    if (status_.text) status_.text->setText(text);
    emit statusShown(text);
}

void GenerateView::setProgress(QProgressBar* bar, int percent) {
    if (bar) bar->setValue(std::clamp(percent, 0, 100));
}

int GenerateView::rowsPerFile() {
    if (recordsPerFileBox_->text().isEmpty()) recordsPerFileBox_->setText(QStringLiteral("10"));
    bool ok = false;
    const int n = recordsPerFileBox_->text().toInt(&ok);
    return ok ? n : 0;
}

void GenerateView::refreshQuickPreview() {
    if (!quickPreviewBox_->isChecked()) return;
    const int n = std::min(1, state_.sheet.rows() - 1);
    const std::string doc = buildDocument(state_.tree, state_.work, state_.sheet, n);
    codePane_->setPlainText(codePaneText(doc, kCodePaneLimit));
    if (previewTabs_->currentIndex() == 1) showPreviewFile();
}

void GenerateView::showPreviewFile() {
    if (state_.tempFolder.empty()) return;
    const QByteArray text = codePane_->toPlainText().toUtf8();
    const std::string path =
        writePreviewFile(state_.tempFolder, std::string_view(text.constData(), text.size()),
                         previewTypeExtension(previewTypeBox_->currentIndex()), convertSymbols());
    if (path.empty()) return;
    const QString file = QString::fromStdString(path);
    // Without symbol conversion the file is code page 1252 and its declaration
    // names no encoding: the browser is told.
    if (convertSymbols())
        singleBrowser_->navigate(QUrl::fromLocalFile(file));
    else
        singleBrowser_->showFile(file, QStringLiteral("text/xml;charset=windows-1252"));
}

namespace {

// Keeps the percentage shown by a bar from ever going back during a run.
class RisingPercent {
  public:
    explicit RisingPercent(QProgressBar* bar) : bar_(bar) {}
    void show(double percent) {
        const int p = std::clamp(static_cast<int>(percent), 0, 100);
        if (p <= last_) return;
        last_ = p;
        if (bar_) bar_->setValue(p);
    }

  private:
    QProgressBar* bar_;
    int last_ = -1;
};

}  // namespace

bool GenerateView::streamDocument(std::string* head, std::size_t* size, AtomicFile* file,
                                  QString* error) {
    tidyLayout(state_.tree, state_.work);
    const bool convert = convertSymbols();
    const int records = std::max(state_.sheet.rows() - 1, 0);
    if (status_.bar) status_.bar->setValue(0);
    RisingPercent bar(status_.bar);
    // Shown at every whole percent and at the last record.
    auto show = [this, &bar](int i, int n, int percent) {
        setStatus(QString::fromStdString(completingRowText(i, n)));
        bar.show(percent);
    };
    std::size_t written = 0;
    bool fileOk = true;
    auto work = [&](RunControl& c) {
        std::string out, bytes;
        out.reserve(std::size_t{1} << 21);
        ChunkSink sink = [&](std::string& chunk) {
            written += chunk.size();
            if (head && head->size() <= kCodePaneLimit)
                head->append(chunk, 0, std::min(chunk.size(), kCodePaneLimit + 1 - head->size()));
            if (file && fileOk) {
                bytes.clear();
                appendDocumentBytes(bytes, chunk, convert);
                fileOk = file->write(bytes);
            }
            chunk.clear();
        };
        int lastPercent = -1;
        RecordProgress progress = [&](int i, int n) {
            c.checkpoint();
            const int percent = static_cast<int>(static_cast<double>(i) / n * 100.0);
            if (percent == lastPercent && i != n) return;
            lastPercent = percent;
            c.post([&show, i, n, percent] { show(i, n, percent); });
        };
        writeDocument(state_.tree, state_.work, state_.sheet, 1, records, out, sink, progress);
        if (!out.empty()) sink(out);
        if (file && fileOk) fileOk = file->write("\r\n");
    };
    const RunResult result = runInBackground(this, tr("Generating the XML document..."), work);
    if (size) *size = written;
    if (result.outcome == RunOutcome::Failed) *error = result.error;
    if (result.outcome == RunOutcome::Finished && !fileOk) {
        *error = QString::fromStdString(file->error());
        return false;
    }
    if (result.outcome == RunOutcome::Cancelled) {
        setStatus(tr("Cancelled"));
        if (status_.bar) status_.bar->setValue(0);
    }
    return result.outcome == RunOutcome::Finished;
}

void GenerateView::generateSingle() {
    forgetDocument();
    std::string head;
    std::size_t size = 0;
    QString error;
    if (!streamDocument(&head, &size, nullptr, &error)) {
        if (!error.isEmpty()) Dialogs::exclamation(this, error);
        return;
    }
    head_ = std::move(head);
    documentSize_ = size;
    hasDocument_ = true;
    codePane_->setPlainText(codePaneText(head_, documentSize_, kCodePaneLimit));
    if (previewTabs_->currentIndex() == 1 && documentSize_ <= kCodePaneLimit) showPreviewFile();
    singleAction(QStringLiteral("Save"))->setEnabled(true);
    setStatus(QStringLiteral("Completed"));
}

void GenerateView::saveSingle() {
    if (!hasDocument_) return;
    for (;;) {
        const QString name = Dialogs::saveFileName(this, QStringLiteral("Save as"), kSaveAsFilter);
        if (name.isEmpty()) return;
        if (refuseOutputOverSource(this, state_, name)) continue;
        if (QFileInfo::exists(name) &&
            !Dialogs::askYesNo(this, QString::fromStdString(overwriteQuestion(name.toStdString()))))
            continue;
        // The document is written again from the sheet, straight into the file:
        // nothing but its beginning is kept in memory, and a cancelled or failed
        // save leaves the file as it was.
        AtomicFile file;
        QString error;
        if (!file.open(name.toStdString())) {
            Dialogs::exclamation(this, QString::fromStdString(file.error()));
            return;
        }
        if (!streamDocument(nullptr, nullptr, &file, &error)) {
            file.abort();
            if (!error.isEmpty()) Dialogs::exclamation(this, error);
            return;
        }
        if (!file.commit()) {
            Dialogs::exclamation(this, QString::fromStdString(file.error()));
            return;
        }
        setStatus(QStringLiteral("Completed"));
        lastSaved_ = name;
        singleAction(QStringLiteral("preview"))->setEnabled(true);
        return;
    }
}

void GenerateView::previewSingle() {
    if (!lastSaved_.isEmpty()) Dialogs::openUrl(QUrl::fromLocalFile(lastSaved_));
}

void GenerateView::generateSeparate() {
    const int n = rowsPerFile();
    if (n <= 0) return;
    forgetDocument();
    try {
        if (state_.tempFolder.empty())
            throw GenerationError("There is no working folder to write the separate files into.");
        tidyLayout(state_.tree, state_.work);
        const std::string folder = state_.tempFolder + "Split";
        // The last run's files are set aside at once and removed on a thread
        // of their own: the new run does not wait for them (what is left at
        // exit goes with the working folder).
        const std::string lastRun = setFolderAside(folder);
        if (lastRun == folder)
            removeFolder(folder);
        else if (!lastRun.empty())
            std::thread([lastRun] { removeFolder(lastRun); }).detach();
        // The files go into a hidden folder that is renamed into place only
        // when the run is complete.
        AtomicFolder out;
        if (!out.open(folder)) throw GenerationError(out.error());
        const bool convert = convertSymbols();
        const int records = std::max(state_.sheet.rows() - 1, 0);
        const long long full = records / n;
        RisingPercent bar(separateProgress_);
        SplitResult result;
        auto work = [&](RunControl& c) {
            // The bar shows whole documents plus the part of the one being
            // written; the text names each full document (at most a thousand
            // texts a run).
            int k = 0, lastPercent = -1;
            long long lastStep = -1;
            auto showBar = [&](double part) {
                if (full == 0) return;
                const int percent =
                    std::min(100, static_cast<int>((k + part) / static_cast<double>(full) * 100.0));
                if (percent == lastPercent) return;
                lastPercent = percent;
                c.post([&bar, percent] { bar.show(percent); });
            };
            SplitProgress progress;
            progress.document = [&](double percent) {
                c.checkpoint();
                showBar(percent / 100.0);
            };
            progress.file = [&](int done, int total, double, const std::string& status) {
                c.checkpoint();
                k = done;
                showBar(0);
                const long long step = static_cast<long long>(done) * 1000 / total;
                if (step == lastStep && done != total) return;
                lastStep = step;
                c.post([this, text = QString::fromStdString(status)] { setStatus(text); });
            };
            result = writeSeparateFiles(state_.tree, state_.work, state_.sheet, n, out, convert,
                                        progress);
        };
        separateProgress_->setValue(0);
        const RunResult run = runInBackground(this, tr("Generating the XML files..."), work);
        if (run.outcome == RunOutcome::Cancelled) {
            out.abort();
            separateProgress_->setValue(0);
            setStatus(tr("Cancelled"));
            return;
        }
        if (run.outcome == RunOutcome::Failed) throw GenerationError(run.error.toStdString());
        if (!out.commit()) throw GenerationError(out.error());
        if (full > 0) separateProgress_->setValue(100);
        runFolder_ = folder + "/";
        setStatus(QString::fromStdString(result.statusText));
        separateBrowser_->navigate(QUrl::fromLocalFile(QString::fromStdString(runFolder_)));
        separateAction(QStringLiteral("Save"))->setEnabled(true);
    } catch (const std::exception& e) {
        Dialogs::exclamation(this, QString::fromUtf8(e.what()));
    }
}

void GenerateView::saveSeparate() {
    if (runFolder_.empty()) return;
    SelectDirectoryDialog dialog(
        lastFolder_.isEmpty() ? QString() : QFileInfo(lastFolder_).absolutePath(), this);
    if (Dialogs::exec(dialog) != QDialog::Accepted) return;
    const QString target = dialog.target();
    std::string error;
    if (!saveSeparateFiles(runFolder_, target.toStdString(), &error)) {
        Dialogs::exclamation(this, QString::fromStdString(error));
        return;
    }
    lastFolder_ = target;
    separateAction(QStringLiteral("preview"))->setEnabled(true);
}

void GenerateView::previewSeparate() {
    if (!lastFolder_.isEmpty()) Dialogs::openUrl(QUrl::fromLocalFile(lastFolder_ + '/'));
}

}  // namespace rq::ui
