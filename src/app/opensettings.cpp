#include "app/opensettings.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>
#include <algorithm>
#include <cmath>

#include "datasource/kinds.h"

namespace rq::ui {

OpenDialogSettings openDialogSettings(const QString& c) {
    const Kind* kind = kindByConnect(c.toStdString());
    if (!kind) return {};
    // The classic filter first; then every form the reader reads, when that is
    // more than the classic filter shows; then every file.
    QString filter = QString::fromStdString(kind->dialogFilter);
    QStringList patterns;
    for (const std::string& ext : kind->extensions)
        if (!ext.empty() && ext.front() == '.')
            patterns << QStringLiteral("*") + QString::fromStdString(ext);
    const QString classicPatterns = filter.section(QLatin1Char('|'), 1, 1);
    if (patterns.size() > 1 || (patterns.size() == 1 && patterns.front() != classicPatterns))
        filter += QStringLiteral("|All supported files (%1)|%2")
                      .arg(patterns.join(QLatin1Char(' ')), patterns.join(QLatin1Char(';')));
    filter += QStringLiteral("|All files (*)|*");
    return {QString::fromStdString(kind->dialogTitle), filter};
}

QString helpPagePath(const QString& programFolder, const char* relative) {
    const QString page = QString::fromUtf8(relative);
    const QString beside = QDir::cleanPath(programFolder + QLatin1Char('/') + page);
    if (QFileInfo::exists(beside)) return beside;
    return QDir::cleanPath(programFolder + QStringLiteral("/../share/rowquill/help/") + page);
}

int splitterPositionTwips(int wanted, int clientWidth) {
    const int margin = 50;
    if (clientWidth < 2 * margin) return clientWidth / 2;
    return std::clamp(wanted, margin, clientWidth - margin);
}

int twipsToPixels(int twips, double dpi) {
    return static_cast<int>(std::lround(twips * dpi / 1440.0));
}

int pixelsToTwips(int pixels, double dpi) {
    return dpi > 0 ? static_cast<int>(std::lround(pixels * 1440.0 / dpi)) : 0;
}

}  // namespace rq::ui
