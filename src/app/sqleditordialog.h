// The SQL statement editor: the user types a statement and runs it against
// the open source; its result replaces the sheet. The statements run in this
// session are listed below the text and can be taken back with Up and Down.
#pragma once

#include <QDialog>
#include <QStringList>
#include <functional>

class QListWidget;
class QPlainTextEdit;
class QPushButton;

namespace rq::ui {

class SqlEditorDialog : public QDialog {  // frmsql
    Q_OBJECT
  public:
    // run is handed the statement exactly as typed and says whether it ran.
    using Runner = std::function<bool(const QString& statement)>;
    SqlEditorDialog(Runner run, QWidget* parent = nullptr);

    // Runs the text when there is any and closes the dialog on success; an
    // empty text does nothing.
    void execute();  // cmdokext

    QPlainTextEdit* editor() const { return text_; }
    QListWidget* historyList() const { return history_; }

    // The statements run so far in this session, oldest first.
    static const QStringList& sessionHistory();
    static void clearSessionHistory();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void stepHistory(int delta);

    Runner run_;
    QPlainTextEdit* text_ = nullptr;
    QListWidget* history_ = nullptr;
    QPushButton* execute_ = nullptr;
    QPushButton* cancel_ = nullptr;
};

}  // namespace rq::ui
