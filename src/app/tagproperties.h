// The "XML Tag Properties" panel: the name and value boxes and the choice
// between Element and Attribute for the node selected in the layout tree.
// While the program fills the boxes a guard is set, and the change handlers
// do nothing; a typed change cleans the name and reports the boxes' texts.
#pragma once

#include <QGroupBox>

#include "layout/layouttree.h"

class QLineEdit;
class QRadioButton;

namespace rq::ui {

class TagPropertiesPanel : public QGroupBox {
    Q_OBJECT
  public:
    explicit TagPropertiesPanel(QWidget* parent = nullptr);

    // Fills the panel for node by its kind and gives true; the caller then
    // runs nameChange and valueChange. Node 1 leaves the panel as it is; no
    // node empties and disables it. Both give false.
    bool fill(const LayoutTree& tree, const LayoutNode* node);

    // txtnam_Change: while the cleaned name is empty, asks for one; cleans the
    // box with the name rule, then reports nameEdited. Nothing while guarded.
    void nameChange();
    // txtval_Change: reports valueEdited. Nothing while guarded.
    void valueChange();

    QString name() const;
    QString value() const;
    QLineEdit* nameBox() const { return nameBox_; }
    QLineEdit* valueBox() const { return valueBox_; }
    QRadioButton* elementChoice() const { return elementOption_; }
    QRadioButton* attributeChoice() const { return attributeOption_; }
    bool guarded() const { return guard_; }

  signals:
    void nameEdited(const QString& name, const QString& value);
    void valueEdited(const QString& name, const QString& value);
    void makeElementClicked();    // makele_Click
    void makeAttributeClicked();  // makatt_Click

  private:
    // namcol: a disabled field refuses input and shows the window's colour.
    void setFieldEnabled(QLineEdit* field, bool enabled);
    void setChoices(bool attribute, bool enabled);
    void setTextGuarded(QLineEdit* box, const QString& text);

    QLineEdit* nameBox_;
    QLineEdit* valueBox_;
    QRadioButton* elementOption_;
    QRadioButton* attributeOption_;
    bool guard_ = false;  // Check1
    QString lastName_;    // what an unanswered name prompt falls back to
};

}  // namespace rq::ui
