#include "app/dialogs.h"

#include <QDesktopServices>
#include <QDialog>
#include <QFileDialog>
#include <QInputDialog>
#include <QRegularExpression>
#include <deque>

namespace rq::ui {

namespace {

struct State {
    bool testMode = false;
    std::deque<QMessageBox::StandardButton> answers;
    std::deque<QString> fileNames;
    std::deque<QString> inputs;
    std::deque<std::function<void(QDialog&)>> dialogActions;
    QList<ShownDialog> shown;
    QList<QUrl> urls;
};

State& state() {
    static State s;
    return s;
}

void record(const QString& kind, const QString& title, const QString& text,
            QMessageBox::Icon icon = QMessageBox::NoIcon) {
    state().shown.append(ShownDialog{kind, title, text, icon});
}

template <typename T>
bool takeQueued(std::deque<T>& queue, T& out) {
    if (queue.empty()) return false;
    out = std::move(queue.front());
    queue.pop_front();
    return true;
}

QMessageBox::StandardButton showBox(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                    const QString& text, QMessageBox::StandardButtons buttons,
                                    QMessageBox::StandardButton fallback) {
    record(icon == QMessageBox::Question ? QStringLiteral("question") : QStringLiteral("message"),
           title, text, icon);
    QMessageBox::StandardButton answer;
    if (takeQueued(state().answers, answer)) return answer;
    if (state().testMode) return fallback;
    QMessageBox box(icon, title, text, buttons, parent);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

}  // namespace

void Dialogs::exclamation(QWidget* parent, const QString& text, const QString& title) {
    showBox(parent, QMessageBox::Warning, title, text, QMessageBox::Ok, QMessageBox::Ok);
}

bool Dialogs::askYesNo(QWidget* parent, const QString& text, const QString& title) {
    return showBox(parent, QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No,
                   QMessageBox::No) == QMessageBox::Yes;
}

QString Dialogs::openFileName(QWidget* parent, const QString& title, const QString& filter) {
    record(QStringLiteral("open"), title, filter);
    QString name;
    if (takeQueued(state().fileNames, name)) return name;
    if (state().testMode) return {};
    return QFileDialog::getOpenFileName(parent, title, QString(), qtFilter(filter));
}

QString Dialogs::saveFileName(QWidget* parent, const QString& title, const QString& filter) {
    record(QStringLiteral("save"), title, filter);
    QString name;
    if (takeQueued(state().fileNames, name)) return name;
    if (state().testMode) return {};
    // The overwrite question is the caller's own.
    return QFileDialog::getSaveFileName(parent, title, QString(), qtFilter(filter), nullptr,
                                        QFileDialog::DontConfirmOverwrite);
}

QString Dialogs::existingFolder(QWidget* parent, const QString& title, const QString& start) {
    record(QStringLiteral("folder"), title, start);
    QString name;
    if (takeQueued(state().fileNames, name)) return name;
    if (state().testMode) return {};
    return QFileDialog::getExistingDirectory(parent, title, start);
}

QString Dialogs::inputText(QWidget* parent, const QString& title, const QString& label,
                           const QString& initial) {
    record(QStringLiteral("input"), title, label);
    QString text;
    if (takeQueued(state().inputs, text)) return text;
    if (state().testMode) return {};
    bool ok = false;
    text = QInputDialog::getText(parent, title, label, QLineEdit::Normal, initial, &ok);
    return ok ? text : QString();
}

int Dialogs::exec(QDialog& dialog) {
    record(QStringLiteral("dialog"), dialog.windowTitle(), dialog.objectName());
    std::function<void(QDialog&)> action;
    if (takeQueued(state().dialogActions, action)) {
        dialog.setResult(QDialog::Rejected);
        action(dialog);
        return dialog.result();
    }
    if (state().testMode) return QDialog::Rejected;
    return dialog.exec();
}

void Dialogs::openUrl(const QUrl& url) {
    record(QStringLiteral("url"), QString(), url.toString());
    state().urls.append(url);
    if (state().testMode) return;
    QDesktopServices::openUrl(url);
}

void Dialogs::setTestMode(bool on) {
    state().testMode = on;
}
void Dialogs::setNextAnswer(QMessageBox::StandardButton answer) {
    state().answers.push_back(answer);
}
void Dialogs::setNextFileName(const QString& path) {
    state().fileNames.push_back(path);
}
void Dialogs::setNextInput(const QString& text) {
    state().inputs.push_back(text);
}
void Dialogs::setNextDialogAction(std::function<void(QDialog&)> action) {
    state().dialogActions.push_back(std::move(action));
}
const QList<ShownDialog>& Dialogs::shown() {
    return state().shown;
}
QList<QUrl> Dialogs::openedUrls() {
    return state().urls;
}
void Dialogs::clear() {
    State& s = state();
    s.answers.clear();
    s.fileNames.clear();
    s.inputs.clear();
    s.dialogActions.clear();
    s.shown.clear();
    s.urls.clear();
}

QString Dialogs::qtFilter(const QString& classicFilter) {
    const QStringList parts = classicFilter.split(QLatin1Char('|'));
    QStringList out;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        QString description = parts[i];
        QString patterns = parts[i + 1];
        patterns.replace(QLatin1Char(';'), QLatin1Char(' '));
        if (patterns == QLatin1String("*.*")) patterns = QStringLiteral("*");
        // Qt reads the patterns from the last parenthesis of the description.
        static const QRegularExpression trailingParen(QStringLiteral("\\s*\\([^()]*\\)\\s*$"));
        description.remove(trailingParen);
        out << description + QStringLiteral(" (") + patterns + QLatin1Char(')');
    }
    return out.join(QStringLiteral(";;"));
}

}  // namespace rq::ui
