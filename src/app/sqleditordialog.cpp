#include "app/sqleditordialog.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/busycursor.h"
#include "app/sqlhighlighter.h"

namespace rq::ui {

namespace {

QStringList& history() {
    static QStringList list;
    return list;
}

}  // namespace

const QStringList& SqlEditorDialog::sessionHistory() {
    return history();
}

void SqlEditorDialog::clearSessionHistory() {
    history().clear();
}

SqlEditorDialog::SqlEditorDialog(Runner run, QWidget* parent)
    : QDialog(parent), run_(std::move(run)) {
    setObjectName(QStringLiteral("frmsql"));
    setWindowTitle(tr("SQL"));
    setAccessibleName(tr("SQL"));

    text_ = new QPlainTextEdit(this);
    text_->setObjectName(QStringLiteral("richsqltxt"));
    text_->setAccessibleName(tr("SQL statement"));
    text_->setPlainText(tr("Enter SQL Statement here."));
    text_->installEventFilter(this);
    new SqlHighlighter(text_->document());

    auto* historyLabel = new QLabel(tr("&History:"), this);
    historyLabel->setObjectName(QStringLiteral("historyLabel"));
    history_ = new QListWidget(this);
    history_->setObjectName(QStringLiteral("historyList"));
    history_->setAccessibleName(tr("Statements run in this session"));
    history_->addItems(history());
    history_->setMaximumHeight(110);
    historyLabel->setBuddy(history_);
    connect(history_, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0) text_->setPlainText(history_->item(row)->text());
    });

    execute_ = new QPushButton(tr("Execute"), this);
    execute_->setObjectName(QStringLiteral("cmdok"));
    execute_->setAccessibleName(tr("Execute"));
    cancel_ = new QPushButton(tr("Cancel"), this);
    cancel_->setObjectName(QStringLiteral("cmdcancel"));
    cancel_->setAccessibleName(tr("Cancel"));
    connect(execute_, &QPushButton::clicked, this, [this] {
        BusyCursor busy;
        execute();
    });
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(execute_);
    buttons->addWidget(cancel_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text_, 1);
    layout->addWidget(historyLabel);
    layout->addWidget(history_);
    layout->addLayout(buttons);
    resize(560, 360);
}

void SqlEditorDialog::execute() {
    const QString statement = text_->toPlainText();
    if (statement.isEmpty()) return;
    if (!run_ || !run_(statement)) return;
    history().removeAll(statement);
    history().append(statement);
    accept();
}

void SqlEditorDialog::stepHistory(int delta) {
    if (history_->count() == 0) return;
    int row = history_->currentRow();
    row = row < 0 ? (delta < 0 ? history_->count() - 1 : 0) : row + delta;
    history_->setCurrentRow(std::clamp(row, 0, history_->count() - 1));
}

bool SqlEditorDialog::eventFilter(QObject* watched, QEvent* event) {
    // Alt+Up and Alt+Down in the statement box step through the history.
    if (watched == text_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->modifiers() == Qt::AltModifier &&
            (key->key() == Qt::Key_Up || key->key() == Qt::Key_Down)) {
            stepHistory(key->key() == Qt::Key_Up ? -1 : 1);
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

}  // namespace rq::ui
