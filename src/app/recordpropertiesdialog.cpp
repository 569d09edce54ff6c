#include "app/recordpropertiesdialog.h"

#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace rq::ui {

RecordPropertiesDialog::RecordPropertiesDialog(const DataSheet& sheet, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmindat"));
    setWindowTitle(QStringLiteral("Row (Record) Properties:"));
    setModal(true);

    auto* frame = new QGroupBox(QStringLiteral("Enter new item to add, as:"), this);
    frame->setObjectName(QStringLiteral("Frame1"));
    frame->setAccessibleName(frame->title());
    textOption_ = new QRadioButton(QStringLiteral("Text"), frame);
    textOption_->setObjectName(QStringLiteral("Option1"));
    fieldOption_ = new QRadioButton(QStringLiteral("Data from Column (Field)"), frame);
    fieldOption_->setObjectName(QStringLiteral("Option2"));
    text_ = new QLineEdit(frame);
    text_->setObjectName(QStringLiteral("Text1"));
    text_->setAccessibleName(textOption_->text());
    fields_ = new QComboBox(frame);
    fields_->setObjectName(QStringLiteral("Combo1"));
    fields_->setAccessibleName(fieldOption_->text());
    for (QRadioButton* option : {textOption_, fieldOption_})
        option->setAccessibleName(option->text());
    for (int c = 0; c < sheet.cols(); ++c)
        fields_->addItem(QString::fromStdString(sheet.cellText(0, c)));

    auto* ok = new QPushButton(QStringLiteral("OK"), this);
    ok->setObjectName(QStringLiteral("OKButton"));
    ok->setAccessibleName(ok->text());
    ok->setDefault(true);
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
    cancel->setObjectName(QStringLiteral("CancelButton"));
    cancel->setAccessibleName(cancel->text());

    auto* inFrame = new QVBoxLayout(frame);
    inFrame->addWidget(textOption_);
    inFrame->addWidget(text_);
    inFrame->addWidget(fieldOption_);
    inFrame->addWidget(fields_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(frame);
    layout->addLayout(buttons);
    resize(360, sizeHint().height());

    textOption_->setChecked(true);
    chooseKind();
    connect(textOption_, &QRadioButton::toggled, this, &RecordPropertiesDialog::chooseKind);
    connect(ok, &QPushButton::clicked, this, &RecordPropertiesDialog::ok);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

void RecordPropertiesDialog::chooseKind() {
    const bool text = textOption_->isChecked();
    text_->setEnabled(text);
    fields_->setEnabled(!text);
}

void RecordPropertiesDialog::ok() {
    if (textOption_->isChecked())
        part_ = RecipePart::literal(text_->text().toStdString());
    else if (fields_->currentIndex() >= 0)
        part_ = RecipePart::field(fields_->currentText().toStdString(), fields_->currentIndex());
    accept();
}

}  // namespace rq::ui
