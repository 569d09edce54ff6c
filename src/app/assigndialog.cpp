#include "app/assigndialog.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>
#include <optional>

#include "app/dialogs.h"
#include "layout/prolog.h"

namespace rq::ui {

namespace {

// The location inside an assignment text: between prefix and suffix.
std::optional<std::string> between(const std::string& text, const std::string& prefix,
                                   const std::string& suffix) {
    if (text.size() < prefix.size() + suffix.size() ||
        text.compare(0, prefix.size(), prefix) != 0 ||
        text.compare(text.size() - suffix.size(), suffix.size(), suffix) != 0)
        return std::nullopt;
    return text.substr(prefix.size(), text.size() - prefix.size() - suffix.size());
}

// The location the layout already has for the mode, if any.
std::optional<std::string> currentLocation(int mode, const LayoutTree& tree) {
    if (mode == kAssignDtd) {
        const std::size_t system = tree.doctype.find(" SYSTEM \"");
        if (system == std::string::npos) return std::nullopt;
        return between(tree.doctype.substr(system), " SYSTEM \"", "\">");
    }
    const std::string prefix = stylesheetInstruction(mode == kAssignXslt, "");
    return between(tree.stylesheet, prefix.substr(0, prefix.size() - 3), "\"?>");
}

}  // namespace

QString AssignDialog::modeText(int mode) {
    switch (mode) {
        case kAssignXslt:
            return QStringLiteral("Assign XSLT Stylesheets");
        case kAssignCss:
            return QStringLiteral("Assign CSS Stylesheets");
        default:
            return QStringLiteral("Assign DTD");
    }
}

QString AssignDialog::modeFilter(int mode) {
    switch (mode) {
        case kAssignXslt:
            return QStringLiteral("XSLT Stylesheets (*.xsl;*.xslt)|*.xsl;*.xslt");
        case kAssignCss:
            return QStringLiteral("CSS Stylesheets (*.css)|*.css");
        default:
            return QStringLiteral("DTD Files (*.dtd)|*.dtd");
    }
}

AssignDialog::AssignDialog(int mode, const LayoutTree& tree, QWidget* parent)
    : QDialog(parent), mode_(mode) {
    setObjectName(QStringLiteral("frmasign"));
    setWindowTitle(modeText(mode));
    setModal(true);

    heading_ = new QLabel(modeText(mode), this);
    heading_->setObjectName(QStringLiteral("lblheading"));
    QFont bold = heading_->font();
    bold.setBold(true);
    heading_->setFont(bold);
    check1_ = new QCheckBox(QStringLiteral("Assign to the generated documents"), this);
    check1_->setObjectName(QStringLiteral("Check1"));
    check1_->setAccessibleName(check1_->text());
    label1_ = new QLabel(QStringLiteral("Location:"), this);
    label1_->setObjectName(QStringLiteral("Label1"));
    location_ = new QLineEdit(this);
    location_->setObjectName(QStringLiteral("txtlocation"));
    location_->setToolTip(QStringLiteral("Enter location of the Document."));
    location_->setAccessibleName(QStringLiteral("Location:"));
    label1_->setBuddy(location_);
    browse_ = new QToolButton(this);
    browse_->setObjectName(QStringLiteral("cmdbrowse"));
    browse_->setText(QStringLiteral("..."));
    browse_->setToolTip(QStringLiteral("Search of the Document."));
    browse_->setAccessibleName(browse_->toolTip());
    ok_ = new QPushButton(QStringLiteral("OK"), this);
    ok_->setObjectName(QStringLiteral("cmdok"));
    ok_->setAccessibleName(ok_->text());
    ok_->setDefault(true);
    cancel_ = new QPushButton(QStringLiteral("Cancel"), this);
    cancel_->setObjectName(QStringLiteral("cmdcancel"));
    cancel_->setAccessibleName(cancel_->text());

    auto* locationRow = new QHBoxLayout;
    locationRow->addWidget(label1_);
    locationRow->addWidget(location_, 1);
    locationRow->addWidget(browse_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok_);
    buttons->addWidget(cancel_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading_);
    layout->addWidget(check1_);
    layout->addLayout(locationRow);
    layout->addStretch();
    layout->addLayout(buttons);
    resize(460, sizeHint().height());

    if (const auto current = currentLocation(mode, tree)) {
        check1_->setChecked(true);
        location_->setText(QString::fromStdString(*current));
    }
    connect(check1_, &QCheckBox::toggled, this, &AssignDialog::check1Click);
    connect(browse_, &QToolButton::clicked, this, &AssignDialog::browse);
    connect(ok_, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
    check1Click();
}

bool AssignDialog::isTicked() const {
    return check1_->isChecked();
}

QString AssignDialog::location() const {
    return location_->text();
}

void AssignDialog::check1Click() {
    const bool on = check1_->isChecked();
    label1_->setEnabled(on);
    location_->setEnabled(on);
    browse_->setEnabled(on);
}

void AssignDialog::browse() {
    const QString name = Dialogs::openFileName(this, modeText(mode_), modeFilter(mode_));
    if (!name.isEmpty()) location_->setText(name);
}

}  // namespace rq::ui
