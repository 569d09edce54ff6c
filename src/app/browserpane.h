// A preview pane that shows a local file or folder: a web view in the program,
// or a plain label where no browser engine is wanted (tests without a display).
#pragma once

#include <QUrl>
#include <QWidget>

class QLabel;
class QWebEngineView;

namespace rq::ui {

class BrowserPane : public QWidget {
    Q_OBJECT
  public:
    BrowserPane(const QString& name, bool realBrowser, QWidget* parent = nullptr);

    void navigate(const QUrl& url);
    // Shows a local file read with the given content type, such as
    // "text/xml;charset=windows-1252" for a file that does not say its
    // encoding. Large files are navigated to instead.
    void showFile(const QString& path, const QString& contentType);
    // The address last navigated to.
    QUrl url() const { return url_; }
    QWebEngineView* webView() const { return view_; }

  private:
    QWebEngineView* view_ = nullptr;
    QLabel* placeholder_ = nullptr;
    QUrl url_;
};

}  // namespace rq::ui
