#include "app/sheetmodel.h"

namespace rq::ui {

int SheetModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : std::max(0, sheet_.rows() - 1);
}

int SheetModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : sheet_.cols();
}

QVariant SheetModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole)) return {};
    const std::string_view text = sheet_.cell(index.row() + 1, index.column());
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QVariant SheetModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole) return {};
    if (orientation == Qt::Vertical) return section + 1;
    const std::string_view text = sheet_.cell(0, section);
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

void SheetModel::cellChanged(int sheetRow, int col) {
    if (sheetRow == 0) {
        emit headerDataChanged(Qt::Horizontal, col, col);
        return;
    }
    const QModelIndex i = index(sheetRow - 1, col);
    emit dataChanged(i, i);
}

void SheetModel::rowsChanged(int firstSheetRow, int lastSheetRow) {
    if (lastSheetRow < 1 || columnCount() == 0) return;
    emit dataChanged(index(std::max(firstSheetRow, 1) - 1, 0),
                     index(lastSheetRow - 1, columnCount() - 1));
}

}  // namespace rq::ui
