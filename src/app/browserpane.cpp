#include "app/browserpane.h"

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
