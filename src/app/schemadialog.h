// The Schema Properties dialog (frmSchem): the attributes written into the
// root element's start tag, as a grid of names and values in writing order.
// It opens with the attributes the root has now.
#pragma once

#include <QDialog>
#include <string>
#include <vector>

#include "layout/prolog.h"

class QPushButton;
class QTableWidget;

namespace rq::ui {

class SchemaDialog : public QDialog {
    Q_OBJECT
  public:
    explicit SchemaDialog(const std::string& rootAttributes, QWidget* parent = nullptr);

    // The rows of a root attribute text that the dialog itself wrote; none
    // when the text has another form.
    static std::vector<RootAttribute> parseRootAttributes(const std::string& text);

    const std::vector<RootAttribute>& rows() const { return rows_; }
    QTableWidget* grid() const { return grid_; }

  private:
    void schemaFile();  // Command1_Click
    void addRow();      // cmdAdd_Click
    void modifyRow();   // cmdmodify_Click
    void removeRow();   // cmdremove_Click
    void moveRow(int step);
    void showRows(int select);
    int selectedRow() const;
    QPushButton* button(const char* name, const char* caption, const char* tip = nullptr);

    std::vector<RootAttribute> rows_;
    QTableWidget* grid_;
};

}  // namespace rq::ui
