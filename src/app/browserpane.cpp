#include "app/browserpane.h"

#include <QFile>
#include <QLabel>
#include <QVBoxLayout>
#include <QWebEngineView>

namespace rq::ui {

BrowserPane::BrowserPane(const QString& name, bool realBrowser, QWidget* parent) : QWidget(parent) {
    setObjectName(name);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    if (realBrowser) {
        view_ = new QWebEngineView(this);
        view_->setObjectName(name + QStringLiteral("View"));
        layout->addWidget(view_);
    } else {
        placeholder_ = new QLabel(this);
        placeholder_->setAlignment(Qt::AlignCenter);
        placeholder_->setWordWrap(true);
        layout->addWidget(placeholder_);
    }
    // A blank page until something is shown.
    navigate(QUrl(QStringLiteral("about:blank")));
}

void BrowserPane::navigate(const QUrl& url) {
    url_ = url;
    if (view_)
        view_->setUrl(url);
    else
        placeholder_->setText(url.toDisplayString());
}

}  // namespace rq::ui

namespace rq::ui {

namespace {

// The browser takes content handed to it up to about 2 MB.
constexpr qint64 kContentLimit = 1500 * 1024;

}  // namespace

void BrowserPane::showFile(const QString& path, const QString& contentType) {
    QFile file(path);
    if (!view_ || file.size() > kContentLimit || !file.open(QIODevice::ReadOnly)) {
        navigate(QUrl::fromLocalFile(path));
        return;
    }
    url_ = QUrl::fromLocalFile(path);
    view_->setContent(file.readAll(), contentType, url_);
}

}  // namespace rq::ui
