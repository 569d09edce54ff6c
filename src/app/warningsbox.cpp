#include "app/warningsbox.h"

#include "app/dialogs.h"

namespace rq::ui {

QString readWarningsText(const QString& what, const std::vector<std::string>& warnings,
                         std::size_t limit) {
    QString text = QObject::tr("%1 was read, but not all of it could be read as stored:").arg(what);
    const std::size_t shown = std::min(limit, warnings.size());
    for (std::size_t i = 0; i < shown; ++i)
        text += QStringLiteral("\n- ") + QString::fromUtf8(warnings[i].c_str());
    if (warnings.size() > shown)
        text += QObject::tr("\n... and %1 more.").arg(warnings.size() - shown);
    return text;
}

void showReadWarnings(QWidget* parent, const QString& what,
                      const std::vector<std::string>& warnings) {
    if (warnings.empty()) return;
    Dialogs::exclamation(parent, readWarningsText(what, warnings));
}

}  // namespace rq::ui
