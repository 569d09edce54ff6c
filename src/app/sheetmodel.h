// The data sheet as a Qt table model: the header row is the horizontal
// heading, records start at model row 0 (sheet row 1). Cells are converted
// only when the view asks for them.
#pragma once

#include <QAbstractTableModel>

#include "sheet/datasheet.h"

namespace rq::ui {

class SheetModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    explicit SheetModel(DataSheet& sheet, QObject* parent = nullptr)
        : QAbstractTableModel(parent), sheet_(sheet) {}

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    // Call after the sheet was replaced or resized.
    void reload() {
        beginResetModel();
        endResetModel();
    }

    // Call after one cell (row 0: a heading) or a run of rows changed.
    void cellChanged(int sheetRow, int col);
    void rowsChanged(int firstSheetRow, int lastSheetRow);

  private:
    DataSheet& sheet_;
};

}  // namespace rq::ui
