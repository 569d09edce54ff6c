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
    return fromUtf8(cleanTagName(std::string_view(utf8.constData(), utf8.size())));
}

}  // namespace

TagPropertiesPanel::TagPropertiesPanel(QWidget* parent)
    : QGroupBox(QStringLiteral("XML Tag Properties"), parent) {
    setObjectName(QStringLiteral("Frame1"));
    setAccessibleName(title());
    nameBox_ = new QLineEdit(this);
    nameBox_->setObjectName(QStringLiteral("txtnam"));
    nameBox_->setAccessibleName(QStringLiteral("Name:"));
    valueBox_ = new QLineEdit(this);
    valueBox_->setObjectName(QStringLiteral("txtval"));
    valueBox_->setAccessibleName(QStringLiteral("Value:"));
    elementOption_ = new QRadioButton(QStringLiteral("Element"), this);
    elementOption_->setObjectName(QStringLiteral("makele"));
    elementOption_->setAccessibleName(elementOption_->text());
    attributeOption_ = new QRadioButton(QStringLiteral("Attribute"), this);
    attributeOption_->setObjectName(QStringLiteral("makatt"));
    attributeOption_->setAccessibleName(attributeOption_->text());

    auto* kinds = new QHBoxLayout;
    kinds->addWidget(elementOption_);
    kinds->addWidget(attributeOption_);
    kinds->addStretch();
    auto* form = new QFormLayout(this);
    form->addRow(QStringLiteral("Name:"), nameBox_);
    form->addRow(QStringLiteral("Value:"), valueBox_);
    form->addRow(QStringLiteral("Type:"), kinds);

    connect(nameBox_, &QLineEdit::textChanged, this, [this] { nameChange(); });
    connect(valueBox_, &QLineEdit::textChanged, this, [this] { valueChange(); });
    connect(elementOption_, &QRadioButton::clicked, this, &TagPropertiesPanel::makeElementClicked);
    connect(attributeOption_, &QRadioButton::clicked, this,
            &TagPropertiesPanel::makeAttributeClicked);
    fill(LayoutTree(), nullptr);  // nothing is selected yet
}

QString TagPropertiesPanel::name() const {
    return nameBox_->text();
}

QString TagPropertiesPanel::value() const {
    return valueBox_->text();
}

void TagPropertiesPanel::setFieldEnabled(QLineEdit* field, bool enabled) {
    field->setEnabled(enabled);
    QPalette p = field->palette();
    p.setColor(QPalette::Base, palette().color(enabled ? QPalette::Base : QPalette::Window));
    field->setPalette(p);
}

void TagPropertiesPanel::setChoices(bool attribute, bool enabled) {
    (attribute ? attributeOption_ : elementOption_)->setChecked(true);
    elementOption_->setEnabled(enabled);
    attributeOption_->setEnabled(enabled);
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
        nameBox_->clear();
        valueBox_->clear();
        setFieldEnabled(nameBox_, false);
        setFieldEnabled(valueBox_, false);
        elementOption_->setEnabled(false);
        attributeOption_->setEnabled(false);
        guard_ = false;
        return false;
    }
    nameBox_->clear();
    valueBox_->clear();
    const NodeTable& t = tree.table();
    const int r = nodeNumber(node->key);
    const bool root = node == tree.node(2);
    const bool plain = node->kind == kKindElement || node->kind == kKindAttribute;
    setFieldEnabled(nameBox_, true);
    setFieldEnabled(valueBox_, plain && !root);
    nameBox_->setText(fromUtf8(t.cell(r, 1)));
    if (plain && !root) valueBox_->setText(fromUtf8(t.cell(r, 2)));
    // Children of the root stay elements; the root has no choice at all.
    setChoices(isAttributeKind(node->kind), !root && node->parent != tree.node(2));
    lastName_ = nameBox_->text();
    guard_ = false;
    return true;
}

void TagPropertiesPanel::nameChange() {
    if (guard_) return;
    QString cleaned = cleanName(nameBox_->text());
    for (int asked = 0; cleaned.isEmpty(); ++asked) {
        if (asked == kMaxNamePrompts) {
            cleaned = lastName_.isEmpty() ? QStringLiteral("element") : lastName_;
            break;
        }
        cleaned = cleanName(Dialogs::inputText(this, QStringLiteral("Element Name"),
                                               QStringLiteral("Enter 'Element Name'")));
    }
    if (cleaned != nameBox_->text()) {
        const qsizetype removed = nameBox_->text().size() - cleaned.size();
        const qsizetype caret = std::max<qsizetype>(0, nameBox_->cursorPosition() - removed);
        setTextGuarded(nameBox_, cleaned);
        nameBox_->setCursorPosition(static_cast<int>(std::min(caret, cleaned.size())));
    }
    lastName_ = cleaned;
    emit nameEdited(cleaned, valueBox_->text());
}

void TagPropertiesPanel::valueChange() {
    if (guard_) return;
    emit valueEdited(nameBox_->text(), valueBox_->text());
}

}  // namespace rq::ui
