#include "app/passworddialog.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "app/dialogs.h"

namespace rq::ui {

PasswordDialog::PasswordDialog(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmDBPWD"));
    setWindowTitle(QStringLiteral("Password Required"));
    setModal(true);

    auto* label = new QLabel(QStringLiteral("&Enter database password:"), this);
    label->setObjectName(QStringLiteral("lblLabels"));
    passwordEdit_ = new QLineEdit(this);
    passwordEdit_->setObjectName(QStringLiteral("txtPassword"));
    passwordEdit_->setEchoMode(QLineEdit::Password);
    label->setBuddy(passwordEdit_);
    passwordEdit_->installEventFilter(this);

    auto* ok = new QPushButton(QStringLiteral("&OK"), this);
    ok->setObjectName(QStringLiteral("cmdOK"));
    ok->setDefault(true);
    auto* cancel = new QPushButton(QStringLiteral("&Cancel"), this);
    cancel->setObjectName(QStringLiteral("cmdCancel"));

    connect(ok, &QPushButton::clicked, this, [this] {
        password_ = passwordEdit_->text();
        accept();
    });
    connect(cancel, &QPushButton::clicked, this, [this] {
        password_.clear();
        reject();
    });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(passwordEdit_);
    layout->addLayout(buttons);
}

bool PasswordDialog::eventFilter(QObject* watched, QEvent* event) {
    // Receiving the focus selects the whole text, whatever put the focus there.
    if (watched == passwordEdit_ && event->type() == QEvent::FocusIn)
        QTimer::singleShot(0, passwordEdit_, &QLineEdit::selectAll);
    return QDialog::eventFilter(watched, event);
}

QString askDatabasePassword(QWidget* parent) {
    PasswordDialog dialog(parent);
    Dialogs::exec(dialog);
    return dialog.password();
}

}  // namespace rq::ui
