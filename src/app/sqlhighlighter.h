// Colours SQL in a text box: keywords, quoted text, numbers, bracketed and
// double-quoted names, and comments.
#pragma once

#include <QRegularExpression>
#include <QSyntaxHighlighter>
#include <QTextCharFormat>
#include <vector>

namespace rq::ui {

class SqlHighlighter : public QSyntaxHighlighter {
    Q_OBJECT
  public:
    explicit SqlHighlighter(QTextDocument* document);

  protected:
    void highlightBlock(const QString& text) override;

  private:
    struct Rule {
        QRegularExpression pattern;
        QTextCharFormat format;
    };
    std::vector<Rule> rules_;  // later rules win over earlier ones
    QTextCharFormat commentFormat_;
};

}  // namespace rq::ui
