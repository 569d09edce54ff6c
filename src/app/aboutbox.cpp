#include "app/aboutbox.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/icons.h"

namespace rq::ui {

AboutBox::AboutBox(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("About - Nubro Rowquill"));
    setModal(true);

    auto* logo = new QLabel(this);
    logo->setPixmap(kindIcon(1).pixmap(32, 32));
    auto* title = new QLabel(QStringLiteral("Nubro Rowquill"), this);
    title->setObjectName(QStringLiteral("lblTitle"));
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    big.setBold(true);
    title->setFont(big);
    auto* version = new QLabel(QStringLiteral("Version 1.0.0"), this);
    version->setObjectName(QStringLiteral("lblVersion"));
    auto* description =
        new QLabel(QStringLiteral("Turns the rows of a database table into XML documents."), this);
    description->setObjectName(QStringLiteral("lblDescription"));
    description->setWordWrap(true);

    auto* ok = new QPushButton(QStringLiteral("OK"), this);
    ok->setObjectName(QStringLiteral("cmdOK"));
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);

    auto* head = new QHBoxLayout;
    head->addWidget(logo);
    head->addWidget(title, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(head);
    layout->addWidget(version);
    layout->addWidget(description);
    layout->addLayout(buttons);
}

}  // namespace rq::ui
