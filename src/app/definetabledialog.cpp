#include "app/definetabledialog.h"

#include <QFontMetrics>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/dialogs.h"
#include "app/digitfield.h"
#include "app/icons.h"
#include "app/opensettings.h"
#include "tabledef/numberfield.h"

namespace rq::ui {

namespace {

QString toQString(const std::string& s) {
    return QString::fromStdString(s);
}

QPushButton* textButton(QWidget* parent, const char* name, const char* caption) {
    auto* b = new QPushButton(QString::fromUtf8(caption), parent);
    b->setObjectName(QString::fromUtf8(name));
    b->setAccessibleName(b->text());
    b->setAutoDefault(false);
    return b;
}

bool isEnter(const QKeyEvent* key) {
    return key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
}

}  // namespace

DefineTableDialog::DefineTableDialog(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmtablename"));
    setWindowTitle(QStringLiteral("Define Table"));
    setModal(true);

    // Page 1: the numbers.
    page1_ = new QGroupBox(QStringLiteral("Table Properties:"), this);
    page1_->setObjectName(QStringLiteral("fraTableProperties"));
    page1_->setAccessibleName(page1_->title());
    rowsField_ = numberField("updwntxt", "Row (Record) number:");
    colsField_ = numberField("Text1", "Column (Field) number:");
    auto* numbers = new QGridLayout(page1_);
    const struct {
        QLineEdit* field;
        const char* label;
        const char* up;
        const char* upTip;
        const char* down;
        const char* downTip;
    } rows[] = {
        {rowsField_, "Row (Record) number:", "cmdupk", "Row number up", "cmddownk",
         "Row number down"},
        {colsField_, "Column (Field) number:", "Command2", "Column number up", "Command1",
         "Column number down"},
    };
    int line = 0;
    for (const auto& r : rows) {
        auto* label = new QLabel(QString::fromUtf8(r.label), page1_);
        label->setBuddy(r.field);
        QToolButton* up = iconButton(r.up, "go-up", r.upTip);
        QToolButton* down = iconButton(r.down, "go-down", r.downTip);
        QLineEdit* field = r.field;
        connect(up, &QToolButton::clicked, this, [this, field] { stepField(field, true); });
        connect(down, &QToolButton::clicked, this, [this, field] { stepField(field, false); });
        numbers->addWidget(label, line, 0);
        numbers->addWidget(field, line, 1);
        numbers->addWidget(up, line, 2);
        numbers->addWidget(down, line, 3);
        ++line;
    }
    numbers->setRowStretch(line, 1);

    // Page 2: the names.
    page2_ = new QGroupBox(QStringLiteral("Field (Column) Name:"), this);
    page2_->setObjectName(QStringLiteral("fraFieldNames"));
    page2_->setAccessibleName(page2_->title());
    list_ = new QListWidget(page2_);
    list_->setObjectName(QStringLiteral("lstItems"));
    list_->setAccessibleName(QStringLiteral("Field (Column) Name:"));
    nameField_ = new QLineEdit(page2_);
    nameField_->setObjectName(QStringLiteral("Text2"));
    nameField_->setAccessibleName(QStringLiteral("Field name"));
    nameField_->installEventFilter(this);
    submit_ = iconButton("cmdAdd", "document-save", "Submit Changes");
    up_ = iconButton("cmdUp", "go-up", "Move UP");
    down_ = iconButton("cmdDown", "go-down", "Move DOWN");
    auto* edit = new QHBoxLayout;
    edit->addWidget(nameField_, 1);
    edit->addWidget(submit_);
    edit->addWidget(up_);
    edit->addWidget(down_);
    auto* namesLayout = new QVBoxLayout(page2_);
    namesLayout->addWidget(list_);
    namesLayout->addLayout(edit);
    page2_->hide();

    back_ = textButton(this, "cmdback", "< &Back");
    next_ = textButton(this, "cmdnext", "&Next >");
    finish_ = textButton(this, "cmdok", "&Finish");
    cancel_ = textButton(this, "cmdcancel", "Cancel");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    for (QPushButton* b : {back_, next_, finish_, cancel_}) buttons->addWidget(b);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(page1_);
    layout->addWidget(page2_);
    layout->addLayout(buttons);

    back_->setEnabled(false);
    finish_->setEnabled(false);
    submit_->setEnabled(false);
    setListButtons();
    resize(440, 320);

    connect(next_, &QPushButton::clicked, this, &DefineTableDialog::next);
    connect(back_, &QPushButton::clicked, this, &DefineTableDialog::back);
    connect(finish_, &QPushButton::clicked, this, &DefineTableDialog::finish);
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
    connect(list_, &QListWidget::itemClicked, this, &DefineTableDialog::listClicked);
    connect(list_, &QListWidget::currentRowChanged, this, [this] {
        if (!showingList_) listClicked();
    });
    connect(nameField_, &QLineEdit::textChanged, this, [this] { submit_->setEnabled(true); });
    connect(submit_, &QToolButton::clicked, this, &DefineTableDialog::submit);
    connect(up_, &QToolButton::clicked, this, [this] { moveItem(-1); });
    connect(down_, &QToolButton::clicked, this, [this] { moveItem(+1); });
}

QLineEdit* DefineTableDialog::numberField(const char* name, const char* label) {
    auto* field = new QLineEdit(this);
    field->setObjectName(QString::fromUtf8(name));
    field->setAccessibleName(QString::fromUtf8(label));
    // Nine digits keep every number within the sheet's signed 32-bit counts.
    field->setMaxLength(9);
    field->installEventFilter(this);
    keepOnlyDigits(field);
    return field;
}

QToolButton* DefineTableDialog::iconButton(const char* name, const char* icon, const char* tip) {
    auto* b = new QToolButton(this);
    b->setObjectName(QString::fromUtf8(name));
    b->setIcon(themeIcon(icon));
    b->setToolTip(QString::fromUtf8(tip));
    b->setAccessibleName(b->toolTip());
    return b;
}

bool DefineTableDialog::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QDialog::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if (watched == nameField_) {
        if (!isEnter(key)) return false;
        submit();
        return true;
    }
    if (watched != rowsField_ && watched != colsField_) return false;
    // Enter moves on to the next control; Backspace, shortcuts and keys that
    // type nothing pass; of the typed characters only digits do.
    if (isEnter(key)) {
        focusNextChild();
        return true;
    }
    if (key->key() == Qt::Key_Backspace) return false;
    if (key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return false;
    const QString text = key->text();
    if (text.isEmpty() || !text.at(0).isPrint()) return false;
    return !isNumberFieldCharacter(text.at(0).unicode());
}

void DefineTableDialog::stepField(QLineEdit* field, bool up) {
    const std::string now = field->text().toStdString();
    field->setText(toQString(up ? numberUp(now) : numberDown(now)));
}

void DefineTableDialog::next() {
    if (rowsField_->text().isEmpty()) {
        Dialogs::exclamation(this, QStringLiteral("Please enter a value for the Row number."),
                             QStringLiteral("Row Number"));
        return;
    }
    if (colsField_->text().isEmpty()) {
        Dialogs::exclamation(this, QStringLiteral("Please enter a value for the Column  number."),
                             QStringLiteral("Column  Number"));
        return;
    }
    next_->setEnabled(false);
    finish_->setEnabled(true);
    back_->setEnabled(true);
    page1_->hide();
    page2_->show();
    if (names_.prepareFor(fieldCount(colsField_->text().toStdString()).value_or(0))) showList();
    setListButtons();
}

void DefineTableDialog::back() {
    next_->setEnabled(true);
    finish_->setEnabled(false);
    back_->setEnabled(false);
    page1_->show();
    page2_->hide();
}

void DefineTableDialog::showList() {
    showingList_ = true;
    const auto& items = names_.items();
    while (list_->count() > names_.count()) delete list_->takeItem(list_->count() - 1);
    for (int i = 0; i < names_.count(); ++i) {
        const QString text = toQString(items[static_cast<std::size_t>(i)]);
        if (i >= list_->count())
            list_->addItem(text);
        else if (list_->item(i)->text() != text)
            list_->item(i)->setText(text);
    }
    list_->setCurrentRow(names_.selected());
    showingList_ = false;
}

void DefineTableDialog::listClicked() {
    names_.select(list_->currentRow());
    setListButtons();
    if (names_.hasSelection())
        nameField_->setText(toQString(names_.items()[static_cast<std::size_t>(names_.selected())]));
    submit_->setEnabled(false);
}

void DefineTableDialog::submit() {
    const int before = names_.selected();
    if (!names_.submit(nameField_->text().toStdString())) {
        submit_->setEnabled(false);
        return;
    }
    showList();
    if (names_.selected() != before) listClicked();
}

void DefineTableDialog::moveItem(int delta) {
    if (!names_.move(delta)) return;
    showList();
    listClicked();
}

void DefineTableDialog::setListButtons() {
    up_->setEnabled(names_.canMoveUp());
    down_->setEnabled(names_.canMoveDown());
}

void DefineTableDialog::finish() {
    const auto rows = fieldCount(rowsField_->text().toStdString());
    const auto cols = fieldCount(colsField_->text().toStdString());
    if (!rows || !cols) {
        reject();
        return;
    }
    definition_ = {*rows, *cols, {}};
    widths_.clear();
    const QFontMetrics metrics(font());
    const double dpi = logicalDpiX();
    for (int i = 0; i < *cols && i < names_.count(); ++i) {
        const std::string& name = names_.items()[static_cast<std::size_t>(i)];
        definition_.names.push_back(name);
        const int textTwips = pixelsToTwips(metrics.horizontalAdvance(toQString(name)), dpi);
        widths_.push_back(twipsToPixels(columnWidthTwips(textTwips), dpi));
    }
    accept();
}

}  // namespace rq::ui
