#include "app/schemadialog.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>
#include <utility>

#include "app/attributedialog.h"
#include "app/dialogs.h"

namespace rq::ui {

std::vector<RootAttribute> SchemaDialog::parseRootAttributes(const std::string& text) {
    std::vector<RootAttribute> rows;
    if (text.empty() || text[0] != ' ') return {};
    std::size_t pos = 1;
    while (pos < text.size()) {
        const std::size_t eq = text.find("=\"", pos);
        if (eq == std::string::npos) return {};
        const std::size_t end = text.find("\" ", eq + 2);
        if (end == std::string::npos) return {};
        rows.push_back({text.substr(pos, eq - pos), text.substr(eq + 2, end - eq - 2)});
        pos = end + 2;
    }
    return rootAttributeText(rows) == text ? rows : std::vector<RootAttribute>{};
}

QPushButton* SchemaDialog::button(const char* name, const char* caption, const char* tip) {
    auto* b = new QPushButton(QString::fromUtf8(caption), this);
    b->setObjectName(QString::fromUtf8(name));
    b->setAccessibleName(b->text());
    b->setAutoDefault(false);
    if (tip) b->setToolTip(QString::fromUtf8(tip));
    return b;
}

SchemaDialog::SchemaDialog(const std::string& rootAttributes, QWidget* parent)
    : QDialog(parent), rows_(parseRootAttributes(rootAttributes)) {
    setObjectName(QStringLiteral("frmSchem"));
    setWindowTitle(QStringLiteral("Schema Properties"));
    setModal(true);

    grid_ = new QTableWidget(0, 2, this);
    grid_->setObjectName(QStringLiteral("MSFlexGrid2"));
    grid_->setAccessibleName(QStringLiteral("Attributes"));
    grid_->setHorizontalHeaderLabels(
        {QStringLiteral("Attribute Name"), QStringLiteral("Attribute Value")});
    grid_->horizontalHeader()->setStretchLastSection(true);
    grid_->verticalHeader()->hide();
    grid_->setSelectionBehavior(QAbstractItemView::SelectRows);
    grid_->setSelectionMode(QAbstractItemView::SingleSelection);
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->setColumnWidth(0, 160);

    QPushButton* schema = button("Command1", "Schema Properties");
    QPushButton* add = button("cmdAdd", "Add...", "Insert new attribute.");
    QPushButton* modify = button("cmdmodify", "Modify...", "Modify attribute.");
    QPushButton* remove = button("cmdremove", "Remove..", "Remove attribute.");
    QPushButton* up = button("cmdatup", "Move UP");
    QPushButton* down = button("cmdatdown", "Move DOWN");
    QPushButton* ok = button("OKButton", "OK");
    ok->setDefault(true);
    QPushButton* cancel = button("CancelButton", "Cancel");

    auto* side = new QVBoxLayout;
    for (QPushButton* b : {schema, add, modify, remove, up, down}) side->addWidget(b);
    side->addStretch();
    side->addWidget(ok);
    side->addWidget(cancel);
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(grid_, 1);
    layout->addLayout(side);
    resize(620, 320);

    connect(schema, &QPushButton::clicked, this, &SchemaDialog::schemaFile);
    connect(add, &QPushButton::clicked, this, &SchemaDialog::addRow);
    connect(modify, &QPushButton::clicked, this, &SchemaDialog::modifyRow);
    connect(remove, &QPushButton::clicked, this, &SchemaDialog::removeRow);
    connect(up, &QPushButton::clicked, this, [this] { moveRow(-1); });
    connect(down, &QPushButton::clicked, this, [this] { moveRow(1); });
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(grid_, &QTableWidget::cellDoubleClicked, this, &SchemaDialog::modifyRow);
    showRows(rows_.empty() ? -1 : 0);
}

void SchemaDialog::showRows(int select) {
    grid_->setRowCount(static_cast<int>(rows_.size()));
    for (int r = 0; r < grid_->rowCount(); ++r) {
        const RootAttribute& a = rows_[static_cast<std::size_t>(r)];
        grid_->setItem(r, 0, new QTableWidgetItem(QString::fromStdString(a.name)));
        grid_->setItem(r, 1, new QTableWidgetItem(QString::fromStdString(a.value)));
    }
    if (select >= 0 && select < grid_->rowCount()) grid_->selectRow(select);
}

int SchemaDialog::selectedRow() const {
    const QList<QTableWidgetItem*> items = grid_->selectedItems();
    return items.isEmpty() ? -1 : items.first()->row();
}

void SchemaDialog::schemaFile() {
    const QString file =
        Dialogs::openFileName(this, QStringLiteral("Schema Properties"),
                              QStringLiteral("XML Schema Files (*.xsd;*.xml)|*.xsd;*.xml"));
    if (file.isEmpty()) return;
    const QString ns = Dialogs::inputText(this, QStringLiteral("Your Namespace"),
                                          QStringLiteral("Please enter your Namespace"),
                                          QString::fromUtf8(kPlaceholderNamespace));
    rows_ = schemaRows(ns.toStdString(), file.toStdString());
    showRows(0);
}

void SchemaDialog::addRow() {
    AttributeDialog dialog(rows_, -1, this);
    if (Dialogs::exec(dialog) != QDialog::Accepted) return;
    rows_.push_back(dialog.attribute());
    showRows(static_cast<int>(rows_.size()) - 1);
}

void SchemaDialog::modifyRow() {
    const int r = selectedRow();
    if (r < 0) return;
    AttributeDialog dialog(rows_, r, this);
    if (Dialogs::exec(dialog) != QDialog::Accepted) return;
    rows_[static_cast<std::size_t>(r)] = dialog.attribute();
    showRows(r);
}

void SchemaDialog::removeRow() {
    const int r = selectedRow();
    if (r < 0) return;
    rows_.erase(rows_.begin() + r);
    showRows(std::min(r, static_cast<int>(rows_.size()) - 1));
}

void SchemaDialog::moveRow(int step) {
    const int r = selectedRow();
    const int to = r + step;
    if (r < 0 || to < 0 || to >= static_cast<int>(rows_.size())) return;
    std::swap(rows_[static_cast<std::size_t>(r)], rows_[static_cast<std::size_t>(to)]);
    showRows(to);
}

}  // namespace rq::ui
