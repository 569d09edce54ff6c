#include "app/querywizarddialog.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <exception>

#include "app/busycursor.h"
#include "datasource/database.h"

namespace rq::ui {

namespace {

QString fromUtf8(const std::string& s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

std::string toUtf8(const QString& s) {
    return s.toUtf8().toStdString();
}

// Collects the text of one column of a record set.
class ColumnSink : public RecordSink {
  public:
    explicit ColumnSink(std::string field) : field_(std::move(field)) {}
    void begin(const std::vector<Field>& fields) override {
        for (std::size_t i = 0; i < fields.size(); ++i)
            if (field_.empty() || bracketName(fields[i].name) == field_) {
                column_ = static_cast<int>(i);
                return;
            }
    }
    void row(const std::string_view* cells, std::size_t count) override {
        if (column_ < 0 || static_cast<std::size_t>(column_) >= count) return;
        values.emplace_back(cells[column_]);
    }
    std::vector<std::string> values;

  private:
    std::string field_;  // "" takes the first column
    int column_ = -1;
};

QPushButton* button(QWidget* parent, const char* name, const QString& text) {
    auto* b = new QPushButton(text, parent);
    b->setObjectName(QString::fromUtf8(name));
    b->setAccessibleName(QString(text).remove(QLatin1Char('&')));
    return b;
}

QLabel* label(QWidget* parent, const char* name, const QString& text, QWidget* buddy) {
    auto* l = new QLabel(text, parent);
    l->setObjectName(QString::fromUtf8(name));
    l->setBuddy(buddy);
    buddy->setAccessibleName(QString(text).remove(QLatin1Char('&')).remove(QLatin1Char(':')));
    return l;
}

}  // namespace

QueryWizardDialog::QueryWizardDialog(Database* db, QuerySourceKind kind, QWidget* parent)
    : QDialog(parent), db_(db), kind_(kind) {
    setObjectName(QStringLiteral("frmqueryb"));
    setWindowTitle(tr("Visual SQL"));
    setAccessibleName(tr("Visual SQL"));
    buildFieldsPage();
    buildCriteriaPage();

    back_ = button(this, "cmdNav0", tr("< &Back"));
    next_ = button(this, "cmdNav1", tr("&Next >"));
    finish_ = button(this, "cmdok", tr("&Finish"));
    cancel_ = button(this, "cmdcancel", tr("Cancel"));
    help_ = button(this, "cmdhelp", tr("Help"));
    connect(back_, &QPushButton::clicked, this, [this] { showPage(0); });
    connect(next_, &QPushButton::clicked, this, [this] { showPage(1); });
    connect(finish_, &QPushButton::clicked, this, &QueryWizardDialog::finish);
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
    connect(help_, &QPushButton::clicked, this, [this] {
        if (openHelp_) openHelp_();
    });

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(help_);
    buttons->addStretch();
    for (QPushButton* b : {back_, next_, finish_, cancel_}) buttons->addWidget(b);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(fieldsPage_, 1);
    layout->addWidget(criteriaPage_, 1);
    layout->addLayout(buttons);

    for (const std::string& phrase : operatorPhrases()) operator_->addItem(fromUtf8(phrase));
    operator_->setCurrentIndex(0);
    next_->setEnabled(false);
    finish_->setEnabled(false);
    enableCriteriaButtons(false);
    back_->setEnabled(false);
    criteriaPage_->hide();
    resize(600, 420);
}

void QueryWizardDialog::buildFieldsPage() {
    fieldsPage_ =
        new QGroupBox(tr("Select the Fields (Columns) you wish to show, in the Table."), this);
    fieldsPage_->setObjectName(QStringLiteral("fraFields"));
    tables_ = new QListWidget(fieldsPage_);
    tables_->setObjectName(QStringLiteral("lstTables"));
    tables_->setSelectionMode(QAbstractItemView::MultiSelection);
    tables_->setToolTip(tr("Select Table(s)."));
    showFields_ = new QListWidget(fieldsPage_);
    showFields_->setObjectName(QStringLiteral("lstShowFields"));
    showFields_->setSelectionMode(QAbstractItemView::MultiSelection);
    showFields_->setToolTip(tr("Select Field(s)."));
    auto* grid = new QGridLayout(fieldsPage_);
    grid->addWidget(label(fieldsPage_, "lblTables", tr("Tables:"), tables_), 0, 0);
    grid->addWidget(label(fieldsPage_, "lblShowFields", tr("Fields to Show:"), showFields_), 0, 1);
    grid->addWidget(tables_, 1, 0);
    grid->addWidget(showFields_, 1, 1);
    connect(tables_, &QListWidget::itemSelectionChanged, this, &QueryWizardDialog::listFields);
}

void QueryWizardDialog::buildCriteriaPage() {
    criteriaPage_ = new QGroupBox(tr("Filter out any Records (Rows) from the Table."), this);
    criteriaPage_->setObjectName(QStringLiteral("fraCriteria"));
    field_ = new QComboBox(criteriaPage_);
    field_->setObjectName(QStringLiteral("cboField"));
    operator_ = new QComboBox(criteriaPage_);
    operator_->setObjectName(QStringLiteral("cboOperator"));
    value_ = new QComboBox(criteriaPage_);
    value_->setObjectName(QStringLiteral("cboValue"));
    value_->setEditable(true);
    value_->setInsertPolicy(QComboBox::NoInsert);
    criteria_ = new QPlainTextEdit(criteriaPage_);
    criteria_->setObjectName(QStringLiteral("txtCriteria"));
    criteria_->setAccessibleName(tr("Criteria"));
    and_ = button(criteriaPage_, "cmdAnd", tr("\"And\" into Criteria"));
    or_ = button(criteriaPage_, "cmdOr", tr("\"Or\" into Criteria"));
    getValues_ = button(criteriaPage_, "cmdGetValues", tr("List &Possible Values"));

    auto* grid = new QGridLayout(criteriaPage_);
    grid->addWidget(label(criteriaPage_, "lblField", tr("Field Name:"), field_), 0, 0);
    grid->addWidget(label(criteriaPage_, "lblOperator", tr("Operator:"), operator_), 0, 1);
    grid->addWidget(label(criteriaPage_, "lblValue", tr("Value:"), value_), 0, 2);
    grid->addWidget(field_, 1, 0);
    grid->addWidget(operator_, 1, 1);
    grid->addWidget(value_, 1, 2);
    grid->addWidget(getValues_, 2, 2);
    grid->addWidget(criteria_, 3, 0, 1, 2);
    auto* joins = new QVBoxLayout;
    joins->addWidget(and_);
    joins->addWidget(or_);
    joins->addStretch();
    grid->addLayout(joins, 3, 2);

    connect(field_, &QComboBox::activated, this, [this] {
        const QString typed = value_->currentText();
        value_->clear();
        value_->setEditText(typed);
    });
    connect(value_, &QComboBox::editTextChanged, this,
            [this](const QString& text) { enableCriteriaButtons(!text.isEmpty()); });
    connect(getValues_, &QPushButton::clicked, this, &QueryWizardDialog::listPossibleValues);
    connect(and_, &QPushButton::clicked, this, [this] { addCriterion(false); });
    connect(or_, &QPushButton::clicked, this, [this] { addCriterion(true); });
}

void QueryWizardDialog::loadTables(const QListWidget* source) {
    tables_->clear();
    if (!source) return;
    for (int i = 0; i < source->count(); ++i) {
        const QListWidgetItem* from = source->item(i);
        auto* item = new QListWidgetItem(from->text(), tables_);
        item->setData(Qt::UserRole, from->data(Qt::UserRole).toInt());
    }
}

void QueryWizardDialog::showPage(int page) {
    const bool second = page == 1;
    back_->setEnabled(second);
    next_->setEnabled(!second);
    fieldsPage_->setVisible(!second);
    criteriaPage_->setVisible(second);
}

int QueryWizardDialog::currentPage() const {
    return criteriaPage_->isVisible() ? 1 : 0;
}

void QueryWizardDialog::listFields() {
    field_->clear();
    showFields_->clear();
    value_->clear();
    fieldTypes_.clear();
    finish_->setEnabled(false);
    next_->setEnabled(false);
    if (!db_) return;
    BusyCursor busy;
    for (int i = 0; i < tables_->count(); ++i) {
        if (!tables_->item(i)->isSelected()) continue;
        const std::string table = toUtf8(tables_->item(i)->text());
        std::vector<Field> fields;
        try {
            // Tables and stored queries alike give their fields by name.
            fields = db_->fields(table);
        } catch (const std::exception&) {
            continue;  // a table whose fields cannot be read adds nothing
        }
        for (const Field& f : fields) {
            const QString item = fromUtf8(bracketName(table) + "." + bracketName(f.name));
            field_->addItem(item);
            showFields_->addItem(item);
            fieldTypes_.insert(item, f.type);
            finish_->setEnabled(true);
            next_->setEnabled(currentPage() == 0);
        }
    }
}

void QueryWizardDialog::listPossibleValues() {
    value_->clear();
    if (!db_ || field_->currentIndex() < 0) return;
    const std::string item = toUtf8(field_->currentText());
    const std::string table = splitQualified(item, false);
    const std::string field = splitQualified(item, true);
    BusyCursor busy;
    // A file database lists each value once; an ODBC source once per record.
    const bool distinct = kind_ == QuerySourceKind::FileDatabase;
    ColumnSink sink(distinct ? std::string() : field);
    try {
        if (distinct)
            db_->query("select Distinct " + field + " from " + table, sink);
        else
            db_->query("Select * from " + table, sink);
    } catch (const std::exception&) {
        // The list keeps what was read before the failure.
    }
    for (const std::string& v : sink.values) {
        const QString text = fromUtf8(v);
        if (!text.trimmed().isEmpty()) value_->addItem(text);
    }
}

QString QueryWizardDialog::criteriaText() const {
    QString text = criteria_->toPlainText();
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    return text.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
}

void QueryWizardDialog::addCriterion(bool orJoin) {
    const QString item = field_->currentText();
    const bool quoted = isQuotedFieldType(kind_, fieldTypes_.value(item, 0));
    const std::string next =
        appendCriterion(toUtf8(criteriaText()), orJoin, toUtf8(item),
                        toUtf8(operator_->currentText()), toUtf8(value_->currentText()), quoted);
    criteria_->setPlainText(fromUtf8(next).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
}

void QueryWizardDialog::enableCriteriaButtons(bool on) {
    and_->setEnabled(on);
    or_->setEnabled(on);
    criteria_->setEnabled(on);
    QPalette p = criteria_->palette();
    p.setColor(QPalette::Base,
               on ? QColor(Qt::white) : criteriaPage_->palette().color(QPalette::Window));
    criteria_->setPalette(p);
}

QString QueryWizardDialog::statement() const {
    QueryChoices choices;
    for (int i = 0; i < showFields_->count(); ++i) {
        const std::string item = toUtf8(showFields_->item(i)->text());
        choices.fieldItems.push_back(item);
        if (showFields_->item(i)->isSelected()) choices.selectedFields.push_back(item);
    }
    for (int i = 0; i < tables_->count(); ++i)
        if (tables_->item(i)->isSelected())
            choices.selectedTables.push_back(toUtf8(tables_->item(i)->text()));
    choices.criteria = toUtf8(criteriaText());
    return fromUtf8(buildStatement(choices));
}

void QueryWizardDialog::finish() {
    const QString sql = statement();
    bool ran = false;
    {
        BusyCursor busy;
        ran = run_ && run_(sql);
    }
    // A failed run leaves the wizard open, so that the choices can be mended.
    if (ran) accept();
}

}  // namespace rq::ui
