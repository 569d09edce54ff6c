#include "app/insertcolumndialog.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/busycursor.h"
#include "app/dialogs.h"
#include "app/recordpropertiesdialog.h"
#include "layout/namerules.h"

namespace rq::ui {

namespace {

const QString kShowAdvanced = QStringLiteral("Advanced  >>");
const QString kHideAdvanced = QStringLiteral("Advanced  <<");

}  // namespace

InsertColumnDialog::InsertColumnDialog(const DataSheet& sheet, ColumnMode mode, int renamed,
                                       Apply apply, QWidget* parent)
    : QDialog(parent), sheet_(sheet), mode_(mode), renamed_(renamed), apply_(std::move(apply)) {
    setObjectName(QStringLiteral("frmclmn"));
    setWindowTitle(QStringLiteral("Insert Column "));
    setModal(true);

    const QString prompt = QStringLiteral(
        "Please enter the Column Name. (This is usually a name given to the \"Element\" or "
        "\"Attribute Name\" of the XML Tag).");
    auto* label = new QLabel(prompt, this);
    label->setWordWrap(true);
    name_ = new QLineEdit(this);
    name_->setObjectName(QStringLiteral("Text1"));
    name_->setAccessibleName(prompt);
    label->setBuddy(name_);

    advancedFrame_ = new QGroupBox(QStringLiteral("Record (Row) Data."), this);
    advancedFrame_->setObjectName(QStringLiteral("fraRecordData"));
    advancedFrame_->setAccessibleName(advancedFrame_->title());
    auto* note = new QLabel(QStringLiteral("Use the list bellow to specify what Data should go "
                                           "into each Row (Record), for your new Column (Field)"),
                            advancedFrame_);
    note->setWordWrap(true);
    list_ = new QListWidget(advancedFrame_);
    list_->setObjectName(QStringLiteral("lstItems"));
    list_->setAccessibleName(advancedFrame_->title());
    insert_ = button("cmdAdd", "Insert String");
    remove_ = button("cmdDelete", "Remove String");
    up_ = button("cmdUp", "Move UP");
    down_ = button("cmdDown", "Move DOWN");
    progress_ = new QProgressBar(advancedFrame_);
    progress_->setObjectName(QStringLiteral("ProgressBar1"));
    progress_->setAccessibleName(QStringLiteral("Progress"));
    progress_->setRange(0, 100);
    progress_->setValue(0);
    auto* recipeButtons = new QVBoxLayout;
    for (QPushButton* b : {insert_, remove_, up_, down_}) recipeButtons->addWidget(b);
    recipeButtons->addStretch();
    auto* inFrame = new QGridLayout(advancedFrame_);
    inFrame->addWidget(note, 0, 0, 1, 2);
    inFrame->addWidget(list_, 1, 0);
    inFrame->addLayout(recipeButtons, 1, 1);
    inFrame->addWidget(progress_, 2, 0, 1, 2);
    advancedFrame_->hide();

    advanced_ = button("cmdadvc", "");
    advanced_->setText(kShowAdvanced);
    advanced_->setAccessibleName(kShowAdvanced);
    QPushButton* ok = button("OKButton", "OK");
    ok->setDefault(true);
    ok->setAutoDefault(true);
    QPushButton* cancel = button("CancelButton", "Cancel");
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(advanced_);
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(name_);
    layout->addLayout(buttons);
    layout->addWidget(advancedFrame_);
    // The dialog grows and shrinks with the advanced section.
    layout->setSizeConstraint(QLayout::SetFixedSize);
    label->setMinimumWidth(420);

    if (mode_ == ColumnMode::Rename) {
        guard_ = true;
        name_->setText(QString::fromStdString(sheet_.cellText(0, renamed_)));
        guard_ = false;
    }
    setListButtons();

    connect(name_, &QLineEdit::textChanged, this, &InsertColumnDialog::nameChanged);
    connect(advanced_, &QPushButton::clicked, this, &InsertColumnDialog::toggleAdvanced);
    connect(insert_, &QPushButton::clicked, this, &InsertColumnDialog::insertString);
    connect(remove_, &QPushButton::clicked, this, &InsertColumnDialog::removeString);
    connect(up_, &QPushButton::clicked, this, [this] { moveString(-1); });
    connect(down_, &QPushButton::clicked, this, [this] { moveString(+1); });
    connect(list_, &QListWidget::itemClicked, this, &InsertColumnDialog::listClicked);
    connect(list_, &QListWidget::currentRowChanged, this, [this] {
        if (!guard_) listClicked();
    });
    connect(ok, &QPushButton::clicked, this, &InsertColumnDialog::ok);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

QPushButton* InsertColumnDialog::button(const char* name, const char* caption) {
    auto* b = new QPushButton(QString::fromUtf8(caption), this);
    b->setObjectName(QString::fromUtf8(name));
    b->setAccessibleName(b->text());
    b->setAutoDefault(false);
    return b;
}

void InsertColumnDialog::nameChanged() {
    if (guard_) return;
    // An empty name asks for one; the name rule then corrects the box in
    // place, and a name it empties asks again. An empty answer leaves the
    // box empty.
    QString typed = name_->text();
    QString cleaned;
    for (;;) {
        if (typed.isEmpty()) {
            typed = Dialogs::inputText(this, QStringLiteral("Column Name"),
                                       QStringLiteral("Please enter the Column Name"));
            if (typed.isEmpty()) break;
        }
        cleaned = QString::fromStdString(cleanTagName(typed.toStdString()));
        if (!cleaned.isEmpty()) break;
        typed.clear();
    }
    const QString now = name_->text();
    if (cleaned == now) return;
    const qsizetype caret =
        std::max<qsizetype>(0, name_->cursorPosition() - (now.size() - cleaned.size()));
    guard_ = true;
    name_->setText(cleaned);
    guard_ = false;
    name_->setCursorPosition(static_cast<int>(std::min(caret, cleaned.size())));
}

void InsertColumnDialog::toggleAdvanced() {
    const bool show = advancedFrame_->isHidden();
    advancedFrame_->setVisible(show);
    advanced_->setText(show ? kHideAdvanced : kShowAdvanced);
    advanced_->setAccessibleName(advanced_->text());
}

void InsertColumnDialog::insertString() {
    RecordPropertiesDialog properties(sheet_, this);
    if (Dialogs::exec(properties) != QDialog::Accepted || !properties.part()) return;
    recipe_.append(*properties.part());
    showList();
}

void InsertColumnDialog::removeString() {
    if (!recipe_.hasSelection()) return;
    const RecipePart& part = recipe_.items()[static_cast<std::size_t>(recipe_.selected())];
    if (!Dialogs::askYesNo(this,
                           QStringLiteral("Delete '") + QString::fromStdString(part.text) + "'?"))
        return;
    recipe_.removeSelected();
    showList();
    setListButtons();
}

void InsertColumnDialog::moveString(int delta) {
    if (!recipe_.move(delta)) return;
    showList();
    setListButtons();
}

void InsertColumnDialog::listClicked() {
    recipe_.select(list_->currentRow());
    setListButtons();
}

void InsertColumnDialog::setListButtons() {
    up_->setEnabled(recipe_.canMoveUp());
    down_->setEnabled(recipe_.canMoveDown());
    remove_->setEnabled(recipe_.hasSelection());
}

void InsertColumnDialog::showList() {
    guard_ = true;
    list_->clear();
    for (const RecipePart& part : recipe_.items())
        list_->addItem(QString::fromStdString(part.text));
    list_->setCurrentRow(recipe_.selected());
    guard_ = false;
}

void InsertColumnDialog::ok() {
    if (name_->text().isEmpty()) {
        reject();
        return;
    }
    BusyCursor busy;
    int shown = -1;
    const FillProgress progress = [this, &shown](int done, int total) {
        const int percent = static_cast<int>(100LL * done / total);
        if (percent == shown) return;
        shown = percent;
        progress_->setValue(percent);
        if (progress_->isVisible()) progress_->repaint();
    };
    apply_(ColumnEdit{mode_, renamed_, name_->text().toStdString(), recipe_.items()}, progress);
    accept();
}

}  // namespace rq::ui
