// The Row (Record) Properties dialog (frmindat): one new part for the Insert
// Column recipe, either a typed text or a field of the sheet's header row.
#pragma once

#include <QDialog>
#include <optional>

#include "sheet/datasheet.h"
#include "tabledef/columnrecipe.h"

class QComboBox;
class QLineEdit;
class QRadioButton;

namespace rq::ui {

class RecordPropertiesDialog : public QDialog {
    Q_OBJECT
  public:
    // The field list is filled from the header row of sheet.
    explicit RecordPropertiesDialog(const DataSheet& sheet, QWidget* parent = nullptr);

    // After OK: the part chosen; nothing after Cancel, or when "Data from
    // Column (Field)" was chosen on a sheet without columns.
    std::optional<RecipePart> part() const { return part_; }

  private:
    void chooseKind();  // Option1_Click, Option2_Click
    void ok();          // OKButton_Click

    QRadioButton* textOption_;   // Option1
    QRadioButton* fieldOption_;  // Option2
    QLineEdit* text_;            // Text1
    QComboBox* fields_;          // Combo1
    std::optional<RecipePart> part_;
};

}  // namespace rq::ui
