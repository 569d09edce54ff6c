#include "app/tagproperties.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QRadioButton>
#include <algorithm>

#include "app/dialogs.h"
#include "layout/namerules.h"

namespace rq::ui {

namespace {

// How often an empty name is asked for before the last name is put back.
constexpr int kMaxNamePrompts = 20;

QString fromUtf8(const std::string& s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

QString cleanName(const QString& typed) {
    const QByteArray utf8 = typed.toUtf8();
    return fromUtf8(elemntnamchnge(std::string_view(utf8.constData(), utf8.size())));
}

}  // namespace

TagPropertiesPanel::TagPropertiesPanel(QWidget* parent)
    : QGroupBox(QStringLiteral("XML Tag Properties"), parent) {
    setObjectName(QStringLiteral("Frame1"));
    setAccessibleName(title());
    txtnam_ = new QLineEdit(this);
    txtnam_->setObjectName(QStringLiteral("txtnam"));
    txtnam_->setAccessibleName(QStringLiteral("Name:"));
    txtval_ = new QLineEdit(this);
    txtval_->setObjectName(QStringLiteral("txtval"));
    txtval_->setAccessibleName(QStringLiteral("Value:"));
    makele_ = new QRadioButton(QStringLiteral("Element"), this);
    makele_->setObjectName(QStringLiteral("makele"));
    makele_->setAccessibleName(makele_->text());
    makatt_ = new QRadioButton(QStringLiteral("Attribute"), this);
    makatt_->setObjectName(QStringLiteral("makatt"));
    makatt_->setAccessibleName(makatt_->text());

    auto* kinds = new QHBoxLayout;
    kinds->addWidget(makele_);
    kinds->addWidget(makatt_);
    kinds->addStretch();
    auto* form = new QFormLayout(this);
    form->addRow(QStringLiteral("Name:"), txtnam_);
    form->addRow(QStringLiteral("Value:"), txtval_);
    form->addRow(QStringLiteral("Type:"), kinds);

    connect(txtnam_, &QLineEdit::textChanged, this, [this] { nameChange(); });
    connect(txtval_, &QLineEdit::textChanged, this, [this] { valueChange(); });
    connect(makele_, &QRadioButton::clicked, this, &TagPropertiesPanel::makeElementClicked);
    connect(makatt_, &QRadioButton::clicked, this, &TagPropertiesPanel::makeAttributeClicked);
    fill(LayoutTree(), nullptr);  // nothing is selected yet
}

QString TagPropertiesPanel::name() const {
    return txtnam_->text();
}

QString TagPropertiesPanel::value() const {
    return txtval_->text();
}

void TagPropertiesPanel::setFieldEnabled(QLineEdit* field, bool enabled) {
    field->setEnabled(enabled);
    QPalette p = field->palette();
    p.setColor(QPalette::Base, palette().color(enabled ? QPalette::Base : QPalette::Window));
    field->setPalette(p);
}

void TagPropertiesPanel::setChoices(bool attribute, bool enabled) {
    (attribute ? makatt_ : makele_)->setChecked(true);
    makele_->setEnabled(enabled);
    makatt_->setEnabled(enabled);
}

void TagPropertiesPanel::setTextGuarded(QLineEdit* box, const QString& text) {
    const bool was = guard_;
    guard_ = true;
    box->setText(text);
    guard_ = was;
}

bool TagPropertiesPanel::fill(const LayoutTree& tree, const LayoutNode* node) {
    if (node && node == tree.node(1)) return false;
    guard_ = true;
    if (!node) {
        // Nothing selected: nothing to edit.
        txtnam_->clear();
        txtval_->clear();
        setFieldEnabled(txtnam_, false);
        setFieldEnabled(txtval_, false);
        makele_->setEnabled(false);
        makatt_->setEnabled(false);
        guard_ = false;
        return false;
    }
    txtnam_->clear();
    txtval_->clear();
    const NodeTable& t = tree.table();
    const int r = ketmapr(node->key);
    const bool root = node == tree.node(2);
    const bool plain = node->kind == kKindElement || node->kind == kKindAttribute;
    setFieldEnabled(txtnam_, true);
    setFieldEnabled(txtval_, plain && !root);
    txtnam_->setText(fromUtf8(t.cell(r, 1)));
    if (plain && !root) txtval_->setText(fromUtf8(t.cell(r, 2)));
    // Children of the root stay elements; the root has no choice at all.
    setChoices(isAttributeKind(node->kind), !root && node->parent != tree.node(2));
    lastName_ = txtnam_->text();
    guard_ = false;
    return true;
}

void TagPropertiesPanel::nameChange() {
    if (guard_) return;
    QString cleaned = cleanName(txtnam_->text());
    for (int asked = 0; cleaned.isEmpty(); ++asked) {
        if (asked == kMaxNamePrompts) {
            cleaned = lastName_.isEmpty() ? QStringLiteral("element") : lastName_;
            break;
        }
        cleaned = cleanName(Dialogs::inputText(this, QStringLiteral("Element Name"),
                                               QStringLiteral("Enter 'Element Name'")));
    }
    if (cleaned != txtnam_->text()) {
        const qsizetype removed = txtnam_->text().size() - cleaned.size();
        const qsizetype caret = std::max<qsizetype>(0, txtnam_->cursorPosition() - removed);
        setTextGuarded(txtnam_, cleaned);
        txtnam_->setCursorPosition(static_cast<int>(std::min(caret, cleaned.size())));
    }
    lastName_ = cleaned;
    emit nameEdited(cleaned, txtval_->text());
}

void TagPropertiesPanel::valueChange() {
    if (guard_) return;
    emit valueEdited(txtnam_->text(), txtval_->text());
}

}  // namespace rq::ui
