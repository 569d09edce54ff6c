// Every message box, input box and file or folder dialog of the window goes
// through this class, so that tests can answer them and read back what was
// shown. Without queued answers the real Qt dialogs are shown; in test mode an
// unanswered dialog is recorded and answered with Cancel / No / nothing.
#pragma once

#include <QList>
#include <QMessageBox>
#include <QString>
#include <QUrl>
#include <functional>

class QDialog;
class QWidget;

namespace rq::ui {

// The title of every message box that names no other.
inline QString appTitle() {
    return QStringLiteral("Nubro Rowquill");
}

struct ShownDialog {
    QString kind;  // "message", "question", "open", "save", "folder", "input", "dialog", "url"
    QString title;
    QString text;  // message text, file filter, dialog object name or url
    QMessageBox::Icon icon = QMessageBox::NoIcon;
};

class Dialogs {
  public:
    // An OK box with the exclamation icon.
    static void exclamation(QWidget* parent, const QString& text,
                            const QString& title = appTitle());
    // A Yes/No box with the question icon; true for Yes.
    static bool askYesNo(QWidget* parent, const QString& text, const QString& title = appTitle());
    // File dialogs. filter is in the classic "Description|pattern|..." form.
    static QString openFileName(QWidget* parent, const QString& title, const QString& filter);
    static QString saveFileName(QWidget* parent, const QString& title, const QString& filter);
    static QString existingFolder(QWidget* parent, const QString& title, const QString& start);
    // Input box; an empty string when cancelled.
    static QString inputText(QWidget* parent, const QString& title, const QString& label,
                             const QString& initial = {});
    // Runs a modal dialog of our own; returns QDialog::Accepted or Rejected.
    static int exec(QDialog& dialog);
    // The shell's "Open": a file, a folder or a page in its associated program.
    static void openUrl(const QUrl& url);

    // ---- for tests --------------------------------------------------------
    static void setTestMode(bool on);
    static void setNextAnswer(QMessageBox::StandardButton answer);
    static void setNextFileName(const QString& path);  // "" answers as Cancel
    static void setNextInput(const QString& text);
    // Called instead of the dialog's event loop; it may fill fields and
    // accept() or reject() the dialog.
    static void setNextDialogAction(std::function<void(QDialog&)> action);
    static const QList<ShownDialog>& shown();
    static QList<QUrl> openedUrls();
    static void clear();  // forgets shown dialogs and queued answers

    // "Name (*.a)|*.a|Other (*.b)|*.b" → "Name (*.a);;Other (*.b)".
    static QString qtFilter(const QString& classicFilter);
};

}  // namespace rq::ui
