#include "app/codepagedialog.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/dialogs.h"

namespace rq::ui {

const std::vector<CodePageChoice>& btrieveCodePages() {
    static const std::vector<CodePageChoice> pages = {
        {437, "437 - DOS, United States"},          {850, "850 - DOS, Western European"},
        {852, "852 - DOS, Central European"},       {866, "866 - DOS, Cyrillic"},
        {1250, "1250 - Windows, Central European"}, {1251, "1251 - Windows, Cyrillic"},
        {1252, "1252 - Windows, Western European"},
    };
    return pages;
}

CodePageDialog::CodePageDialog(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmCodePage"));
    setWindowTitle(QStringLiteral("Btrieve Code Page"));
    setModal(true);

    auto* label = new QLabel(QStringLiteral("&Code page of the text in the files:"), this);
    codePageBox_ = new QComboBox(this);
    codePageBox_->setObjectName(QStringLiteral("cboCodePage"));
    for (const CodePageChoice& page : btrieveCodePages())
        codePageBox_->addItem(QString::fromUtf8(page.description), page.number);
    codePageBox_->setCurrentIndex(codePageBox_->findData(kDefaultBtrieveCodePage));
    label->setBuddy(codePageBox_);

    auto* ok = new QPushButton(QStringLiteral("&OK"), this);
    ok->setObjectName(QStringLiteral("cmdOK"));
    ok->setDefault(true);
    auto* cancel = new QPushButton(QStringLiteral("&Cancel"), this);
    cancel->setObjectName(QStringLiteral("cmdCancel"));
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(codePageBox_);
    layout->addLayout(buttons);
}

void CodePageDialog::done(int result) {
    chosen_ = result == QDialog::Accepted ? codePageBox_->currentData().toInt() : 0;
    QDialog::done(result);
}

int askBtrieveCodePage(QWidget* parent) {
    CodePageDialog dialog(parent);
    if (Dialogs::exec(dialog) != QDialog::Accepted) return 0;
    return dialog.codePage();
}

}  // namespace rq::ui
