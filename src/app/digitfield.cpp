#include "app/digitfield.h"

#include <QLineEdit>
#include <algorithm>

#include "tabledef/numberfield.h"

namespace rq {

void keepOnlyDigits(QLineEdit* field) {
    QObject::connect(field, &QLineEdit::textChanged, field, [field](const QString& text) {
        const QString kept = QString::fromStdString(digitsOnly(text.toStdString()));
        if (kept == text) return;
        const int caret = field->cursorPosition() - static_cast<int>(text.size() - kept.size());
        field->setText(kept);
        field->setCursorPosition(std::max(0, caret));
    });
}

}  // namespace rq
