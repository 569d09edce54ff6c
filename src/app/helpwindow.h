// The program's own help window: a small browser of the local help pages,
// used when the desktop has no web browser to show them in.
#pragma once

#include <QMainWindow>
#include <optional>

class QTextBrowser;

namespace rq::ui {

class HelpWindow : public QMainWindow {
    Q_OBJECT
  public:
    explicit HelpWindow(QWidget* parent = nullptr);
    void showPage(const QUrl& page);
    QTextBrowser* browser() const { return browser_; }

  private:
    QTextBrowser* browser_;
};

// Whether the desktop can show a web page: a display, the desktop's opener
// and a program registered for HTML. setDesktopBrowserForTests overrides the
// answer (std::nullopt: ask the desktop again).
bool desktopHasBrowser();
void setDesktopBrowserForTests(std::optional<bool> answer);

// Opens a local help page in the desktop's browser, or in the program's help
// window (one per parent, reused) when the desktop has none or fails to open it.
void openHelpPage(QWidget* parent, const QUrl& page);

}  // namespace rq::ui
