#include "app/sqlhighlighter.h"

#include <QStringList>

namespace rq::ui {

namespace {

QTextCharFormat coloured(const QColor& colour, bool bold = false) {
    QTextCharFormat f;
    f.setForeground(colour);
    if (bold) f.setFontWeight(QFont::Bold);
    return f;
}

const QStringList& keywords() {
    static const QStringList words = {
        "select",  "distinct", "from",   "where", "and",       "or",    "not",   "in",     "like",
        "between", "is",       "null",   "as",    "order",     "by",    "group", "having", "asc",
        "desc",    "join",     "inner",  "left",  "right",     "outer", "on",    "union",  "all",
        "top",     "count",    "sum",    "avg",   "min",       "max",   "case",  "when",   "then",
        "else",    "end",      "exists", "limit", "parameters"};
    return words;
}

}  // namespace

SqlHighlighter::SqlHighlighter(QTextDocument* document) : QSyntaxHighlighter(document) {
    const QString words = keywords().join(QLatin1Char('|'));
    rules_.push_back({QRegularExpression(QStringLiteral("\\b(%1)\\b").arg(words),
                                         QRegularExpression::CaseInsensitiveOption),
                      coloured(QColor(20, 60, 160), true)});
    rules_.push_back(
        {QRegularExpression(QStringLiteral("\\b\\d+(\\.\\d+)?\\b")), coloured(QColor(140, 60, 0))});
    rules_.push_back({QRegularExpression(QStringLiteral("\\[[^\\]]*\\]|\"[^\"]*\"")),
                      coloured(QColor(0, 110, 110))});
    rules_.push_back(
        {QRegularExpression(QStringLiteral("'([^']|'')*'?")), coloured(QColor(160, 30, 30))});
    commentFormat_ = coloured(QColor(110, 110, 110));
    commentFormat_.setFontItalic(true);
}

void SqlHighlighter::highlightBlock(const QString& text) {
    for (const Rule& rule : rules_) {
        auto it = rule.pattern.globalMatch(text);
        while (it.hasNext()) {
            const auto m = it.next();
            setFormat(static_cast<int>(m.capturedStart()), static_cast<int>(m.capturedLength()),
                      rule.format);
        }
    }
    // A line comment outside quoted text runs to the end of the line.
    bool inQuote = false;
    for (qsizetype i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == QLatin1Char('\'')) inQuote = !inQuote;
        if (!inQuote && text[i] == QLatin1Char('-') && text[i + 1] == QLatin1Char('-')) {
            setFormat(static_cast<int>(i), static_cast<int>(text.size() - i), commentFormat_);
            break;
        }
    }
}

}  // namespace rq::ui
