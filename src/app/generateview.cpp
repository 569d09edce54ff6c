#include "app/generateview.h"

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
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <climits>
#include <stdexcept>

#include "app/browserpane.h"
#include "app/busycursor.h"
#include "app/dialogs.h"
#include "app/selectdirectory.h"
#include "generate/documentwriter.h"
#include "generate/generationrun.h"

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
    return bar;
}

QAction* actionByKey(QToolBar* bar, const QString& key) {
    for (QAction* a : bar->actions())
        if (a->objectName() == key) return a;
    return nullptr;
}

}  // namespace

QString codePaneText(std::string_view document, std::size_t limit) {
    if (document.size() <= limit) return fromUtf8(document);
    std::size_t cut = document.rfind('\n', limit);
    if (cut == std::string_view::npos || cut == 0) {
        // No line end: cut before a UTF-8 continuation byte never splits a character.
        cut = limit;
        while (cut > 0 && (static_cast<unsigned char>(document[cut]) & 0xC0) == 0x80) --cut;
    } else {
        ++cut;
    }
    const double megabytes = static_cast<double>(document.size()) / (1024.0 * 1024.0);
    return fromUtf8(document.substr(0, cut)) +
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
    option1_ = new QRadioButton(QStringLiteral("Single File"), outputType);
    option1_->setObjectName(QStringLiteral("Option1"));
    option2_ = new QRadioButton(QStringLiteral("Separate Files"), outputType);
    option2_->setObjectName(QStringLiteral("Option2"));
    connect(option1_, &QRadioButton::toggled, this, [this](bool on) { showOutputType(on); });

    singleFrame_ = new QGroupBox(QStringLiteral("Single File"), outputType);
    singleFrame_->setObjectName(QStringLiteral("Frame4"));
    toolbar3_ = makeRunToolbar(QStringLiteral("Toolbar3"), singleFrame_);
    auto* singleLayout = new QVBoxLayout(singleFrame_);
    singleLayout->addWidget(toolbar3_);
    singleLayout->addStretch();

    separateFrame_ = new QGroupBox(QStringLiteral("Separate Files"), outputType);
    separateFrame_->setObjectName(QStringLiteral("Frame5"));
    toolbar4_ = makeRunToolbar(QStringLiteral("Toolbar4"), separateFrame_);
    updwntxt_ = new QLineEdit(QStringLiteral("10"), separateFrame_);
    updwntxt_->setObjectName(QStringLiteral("updwntxt"));
    updwntxt_->setMaximumWidth(80);
    cmdupk_ = new QToolButton(separateFrame_);
    cmdupk_->setObjectName(QStringLiteral("cmdupk"));
    cmdupk_->setArrowType(Qt::UpArrow);
    cmddownk_ = new QToolButton(separateFrame_);
    cmddownk_->setObjectName(QStringLiteral("cmddownk"));
    cmddownk_->setArrowType(Qt::DownArrow);
    progressBar2_ = new QProgressBar(separateFrame_);
    progressBar2_->setObjectName(QStringLiteral("ProgressBar2"));
    progressBar2_->setRange(0, 100);
    progressBar2_->setValue(0);
    auto* rowsLine = new QHBoxLayout;
    rowsLine->addWidget(new QLabel(QStringLiteral("For every"), separateFrame_));
    rowsLine->addWidget(updwntxt_);
    rowsLine->addWidget(cmdupk_);
    rowsLine->addWidget(cmddownk_);
    rowsLine->addWidget(
        new QLabel(QStringLiteral("Rows (Records), Generate an XML file."), separateFrame_));
    rowsLine->addStretch();
    auto* separateLayout = new QVBoxLayout(separateFrame_);
    separateLayout->addWidget(toolbar4_);
    separateLayout->addLayout(rowsLine);
    separateLayout->addWidget(progressBar2_);

    // Only digits: typed or pasted, anything else is removed at once.
    connect(updwntxt_, &QLineEdit::textChanged, this, [this](const QString& text) {
        QString digits;
        for (QChar ch : text)
            if (ch >= QLatin1Char('0') && ch <= QLatin1Char('9')) digits += ch;
        if (digits != text) {
            const int pos = updwntxt_->cursorPosition();
            updwntxt_->setText(digits);
            updwntxt_->setCursorPosition(std::min<int>(pos, static_cast<int>(digits.size())));
        }
    });
    connect(updwntxt_, &QLineEdit::returnPressed, this, [this] { focusNextChild(); });
    auto step = [this](int delta) {
        const QString text = updwntxt_->text();
        qlonglong value = text.isEmpty() ? 10 : text.toLongLong();
        value = std::clamp<qlonglong>(value + delta, 1, INT_MAX);
        updwntxt_->setText(QString::number(value));
    };
    connect(cmdupk_, &QToolButton::clicked, this, [step] { step(+1); });
    connect(cmddownk_, &QToolButton::clicked, this, [step] { step(-1); });

    check2_ = new QCheckBox(
        QStringLiteral("Convert symbols to their correct character code, when saving each file."),
        outputType);
    check2_->setObjectName(QStringLiteral("Check2"));

    chkqwkpre_ = new QCheckBox(QStringLiteral("Keep the preview up to date"), outputType);
    chkqwkpre_->setObjectName(QStringLiteral("chkqwkpre"));
    auto* cmdqwlvw = new QPushButton(QStringLiteral("Quick Preview"), outputType);
    cmdqwlvw->setObjectName(QStringLiteral("cmdqwlvw"));
    combo1_ = new QComboBox(outputType);
    combo1_->setObjectName(QStringLiteral("Combo1"));
    combo1_->setPlaceholderText(QStringLiteral("Preview As..."));
    for (const std::string& item : previewTypeItems()) combo1_->addItem(fromUtf8(item));
    combo1_->setCurrentIndex(-1);

    auto* typeLine = new QHBoxLayout;
    typeLine->addWidget(option1_);
    typeLine->addWidget(option2_);
    typeLine->addStretch();
    auto* frames = new QHBoxLayout;
    frames->addWidget(singleFrame_, 1);
    frames->addWidget(separateFrame_, 1);
    auto* previewLine = new QHBoxLayout;
    previewLine->addWidget(chkqwkpre_);
    previewLine->addWidget(cmdqwlvw);
    previewLine->addWidget(combo1_);
    previewLine->addStretch();
    auto* outputLayout = new QVBoxLayout(outputType);
    outputLayout->addLayout(typeLine);
    outputLayout->addLayout(frames);
    outputLayout->addWidget(check2_);
    outputLayout->addLayout(previewLine);

    // Output panes.
    richoutput_ = new QPlainTextEdit(this);
    richoutput_->setObjectName(QStringLiteral("richoutput"));
    richoutput_->setReadOnly(true);
    richoutput_->setLineWrapMode(QPlainTextEdit::NoWrap);
    QFont mono(QStringLiteral("Monospace"));
    mono.setStyleHint(QFont::TypeWriter);
    richoutput_->setFont(mono);
    richoutput_->setTabStopDistance(QFontMetricsF(mono).horizontalAdvance(QLatin1Char(' ')) * 4);
    brwWebBrowser_ = new BrowserPane(QStringLiteral("brwWebBrowser"), realBrowsers, this);
    previewTabs_ = new QTabWidget(this);
    previewTabs_->setObjectName(QStringLiteral("SSTab2"));
    previewTabs_->addTab(richoutput_, QStringLiteral("Code"));
    previewTabs_->addTab(brwWebBrowser_, QStringLiteral("Preview"));
    webBrowser1_ = new BrowserPane(QStringLiteral("WebBrowser1"), realBrowsers, this);
    outputStack_ = new QStackedWidget(this);
    outputStack_->addWidget(previewTabs_);
    outputStack_->addWidget(webBrowser1_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(outputType);
    layout->addWidget(outputStack_, 1);

    connect(actionByKey(toolbar3_, QStringLiteral("node")), &QAction::triggered, this,
            &GenerateView::generateSingle);
    connect(actionByKey(toolbar3_, QStringLiteral("Save")), &QAction::triggered, this,
            &GenerateView::saveSingle);
    connect(actionByKey(toolbar3_, QStringLiteral("preview")), &QAction::triggered, this,
            &GenerateView::previewSingle);
    connect(actionByKey(toolbar4_, QStringLiteral("node")), &QAction::triggered, this,
            &GenerateView::generateSeparate);
    connect(actionByKey(toolbar4_, QStringLiteral("Save")), &QAction::triggered, this,
            &GenerateView::saveSeparate);
    connect(actionByKey(toolbar4_, QStringLiteral("preview")), &QAction::triggered, this,
            &GenerateView::previewSeparate);
    connect(cmdqwlvw, &QPushButton::clicked, this, [this] {
        const bool ticked = chkqwkpre_->isChecked();
        chkqwkpre_->setChecked(true);
        previewTabs_->setCurrentIndex(1);
        cmdsedfinbol();
        chkqwkpre_->setChecked(ticked);
    });
    connect(combo1_, &QComboBox::currentIndexChanged, this, [this] {
        if (previewTabs_->currentIndex() == 1 && !richoutput_->toPlainText().isEmpty())
            showPreviewFile();
    });
    connect(previewTabs_, &QTabWidget::currentChanged, this, [this](int index) {
        if (index == 1 && !richoutput_->toPlainText().isEmpty()) showPreviewFile();
    });

    reset();
}

QAction* GenerateView::singleAction(const QString& key) const {
    return actionByKey(toolbar3_, key);
}

QAction* GenerateView::separateAction(const QString& key) const {
    return actionByKey(toolbar4_, key);
}

void GenerateView::reset() {
    option1_->setChecked(true);
    showOutputType(true);
    updwntxt_->setText(QStringLiteral("10"));
    check2_->setChecked(false);
    chkqwkpre_->setChecked(false);
    combo1_->setCurrentIndex(-1);
    richoutput_->clear();
    previewTabs_->setCurrentIndex(0);
    progressBar2_->setValue(0);
    document_.clear();
    runFolder_.clear();
    lastSaved_.clear();
    lastFolder_.clear();
    for (QToolBar* bar : {toolbar3_, toolbar4_}) {
        actionByKey(bar, QStringLiteral("Save"))->setEnabled(false);
        actionByKey(bar, QStringLiteral("preview"))->setEnabled(false);
    }
    brwWebBrowser_->navigate(QUrl(QStringLiteral("about:blank")));
    webBrowser1_->navigate(QUrl(QStringLiteral("about:blank")));
}

void GenerateView::showOutputType(bool single) {
    singleFrame_->setEnabled(single);
    separateFrame_->setEnabled(!single);
    outputStack_->setCurrentIndex(single ? 0 : 1);
}

bool GenerateView::convertSymbols() const {
    return check2_->isChecked();
}

void GenerateView::setStatus(const QString& text) {
    if (status_.text) status_.text->setText(text);
    emit statusShown(text);
}

void GenerateView::setProgress(QProgressBar* bar, int percent) {
    if (bar) bar->setValue(std::clamp(percent, 0, 100));
}

int GenerateView::rowsPerFile() {
    if (updwntxt_->text().isEmpty()) updwntxt_->setText(QStringLiteral("10"));
    bool ok = false;
    const int n = updwntxt_->text().toInt(&ok);
    return ok ? n : 0;
}

void GenerateView::cmdsedfinbol() {
    if (!chkqwkpre_->isChecked()) return;
    const int n = std::min(1, state_.sheet.rows() - 1);
    const std::string doc = cmdsedfinfunc(state_.tree, state_.work, state_.sheet, n);
    richoutput_->setPlainText(codePaneText(doc, kCodePaneLimit));
    if (previewTabs_->currentIndex() == 1) showPreviewFile();
}

void GenerateView::showPreviewFile() {
    if (state_.tempFolder.empty()) return;
    const QByteArray text = richoutput_->toPlainText().toUtf8();
    const std::string path =
        showfinshxml(state_.tempFolder, std::string_view(text.constData(), text.size()),
                     combotxt(combo1_->currentIndex()), convertSymbols());
    if (path.empty()) return;
    const QString file = QString::fromStdString(path);
    // Without symbol conversion the file is code page 1252 and its declaration
    // names no encoding: the browser is told.
    if (convertSymbols())
        brwWebBrowser_->navigate(QUrl::fromLocalFile(file));
    else
        brwWebBrowser_->showFile(file, QStringLiteral("text/xml;charset=windows-1252"));
}

void GenerateView::generateSingle() {
    BusyCursor busy;
    int lastPercent = -1;
    auto progress = [&](int i, int n) {
        const int percent = n > 0 ? static_cast<int>(static_cast<double>(i) / n * 100.0) : 100;
        if (percent == lastPercent && i != n) return;
        lastPercent = percent;
        setStatus(QString::fromStdString(completingRowText(i, n)));
        setProgress(status_.bar, percent);
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    };
    document_.clear();
    document_ = runSingleFile(state_.tree, state_.work, state_.sheet, progress);
    richoutput_->setPlainText(codePaneText(document_, kCodePaneLimit));
    if (previewTabs_->currentIndex() == 1 && document_.size() <= kCodePaneLimit) showPreviewFile();
    singleAction(QStringLiteral("Save"))->setEnabled(true);
    setStatus(QStringLiteral("Completed"));
}

void GenerateView::saveSingle() {
    for (;;) {
        const QString name = Dialogs::saveFileName(this, QStringLiteral("Save as"), kSaveAsFilter);
        if (name.isEmpty()) return;
        if (QFileInfo::exists(name) &&
            !Dialogs::askYesNo(this, QString::fromStdString(overwriteQuestion(name.toStdString()))))
            continue;
        if (!cndsavefunc(name.toStdString(), document_, convertSymbols())) {
            Dialogs::exclamation(this, QStringLiteral("Could not write the file ") + name + '.');
            return;
        }
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
    BusyCursor busy;
    int lastPercent = -1;
    SplitProgress progress;
    progress.document = [&](double percent) {
        if (static_cast<int>(percent) == lastPercent) return;
        lastPercent = static_cast<int>(percent);
        setProgress(progressBar2_, lastPercent);
    };
    progress.file = [&](int, int, double percent, const std::string& status) {
        setProgress(progressBar2_, static_cast<int>(percent));
        setStatus(QString::fromStdString(status));
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    };
    try {
        const SplitResult result = runSeparateFiles(state_.tree, state_.work, state_.sheet, n,
                                                    state_.tempFolder, convertSymbols(), progress);
        runFolder_ = result.folder;
        setStatus(QString::fromStdString(result.statusText));
        webBrowser1_->navigate(QUrl::fromLocalFile(QString::fromStdString(result.folder)));
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
    if (!copyfold(runFolder_, target.toStdString())) {
        Dialogs::exclamation(this, QStringLiteral("Could not copy the files into ") + target + '.');
        return;
    }
    lastFolder_ = target;
    separateAction(QStringLiteral("preview"))->setEnabled(true);
}

void GenerateView::previewSeparate() {
    if (!lastFolder_.isEmpty()) Dialogs::openUrl(QUrl::fromLocalFile(lastFolder_ + '/'));
}

}  // namespace rq::ui
