#include "app/attributedialog.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/dialogs.h"
#include "layout/namerules.h"

namespace rq::ui {

namespace {

QString cleanAttributeName(const QString& typed) {
    return QString::fromStdString(cleanTagName(typed.toStdString()));
}

}  // namespace

AttributeDialog::AttributeDialog(std::vector<RootAttribute> rows, int modifyRow, QWidget* parent)
    : QDialog(parent), rows_(std::move(rows)), modifyRow_(modifyRow) {
    setObjectName(QStringLiteral("formxmledt2"));
    setWindowTitle(QStringLiteral("Attribute Name and Value"));
    setModal(true);
    txtname_ = new QLineEdit(this);
    txtname_->setObjectName(QStringLiteral("txtname"));
    txtname_->setAccessibleName(QStringLiteral("Name:"));
    txtvalue_ = new QLineEdit(this);
    txtvalue_->setObjectName(QStringLiteral("txtvalue"));
    txtvalue_->setAccessibleName(QStringLiteral("Value:"));
    ok_ = new QPushButton(QStringLiteral("OK"), this);
    ok_->setObjectName(QStringLiteral("cmdok"));
    ok_->setAccessibleName(ok_->text());
    ok_->setDefault(true);
    cancel_ = new QPushButton(QStringLiteral("Cancel"), this);
    cancel_->setObjectName(QStringLiteral("cmdcancel"));
    cancel_->setAccessibleName(cancel_->text());

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Name:"), txtname_);
    form->addRow(QStringLiteral("Value:"), txtvalue_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok_);
    buttons->addWidget(cancel_);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(buttons);
    resize(420, sizeHint().height());

    if (modifyRow_ >= 0 && modifyRow_ < static_cast<int>(rows_.size())) {
        guard_ = true;
        const RootAttribute& row = rows_[static_cast<std::size_t>(modifyRow_)];
        txtname_->setText(QString::fromStdString(row.name));
        txtvalue_->setText(QString::fromStdString(row.value));
        guard_ = false;
    } else {
        modifyRow_ = -1;
    }
    connect(txtname_, &QLineEdit::textChanged, this, &AttributeDialog::nameChanged);
    connect(ok_, &QPushButton::clicked, this, &AttributeDialog::okClicked);
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
}

RootAttribute AttributeDialog::attribute() const {
    return {txtname_->text().toStdString(), txtvalue_->text().toStdString()};
}

// Asks for a name once; true when the answer survives the rule.
bool AttributeDialog::askName() {
    const QString answer = cleanAttributeName(Dialogs::inputText(
        this, QStringLiteral("Attribute Name"), QStringLiteral("Enter 'Attribute Name'")));
    if (answer.isEmpty()) return false;
    guard_ = true;
    txtname_->setText(answer);
    guard_ = false;
    return true;
}

void AttributeDialog::nameChanged() {
    if (guard_) return;
    const QString typed = txtname_->text();
    const QString cleaned = cleanAttributeName(typed);
    if (cleaned.isEmpty()) {
        // The name has become empty: ask for one (an unanswered prompt leaves
        // the box empty, and OK asks again).
        guard_ = true;
        txtname_->clear();
        guard_ = false;
        askName();
        return;
    }
    if (cleaned == typed) return;
    const qsizetype caret =
        std::max<qsizetype>(0, txtname_->cursorPosition() - (typed.size() - cleaned.size()));
    guard_ = true;
    txtname_->setText(cleaned);
    guard_ = false;
    txtname_->setCursorPosition(static_cast<int>(std::min(caret, cleaned.size())));
}

void AttributeDialog::okClicked() {
    if (txtname_->text().isEmpty() && !askName()) {
        txtname_->setFocus();
        return;
    }
    // sameornot: the name must differ from every other row's.
    if (!isUniqueAttributeName(rows_, txtname_->text().toStdString(), modifyRow_)) {
        Dialogs::exclamation(this, QStringLiteral("Please choose a unique name"));
        txtname_->setFocus();
        txtname_->selectAll();
        return;
    }
    accept();
}

}  // namespace rq::ui
