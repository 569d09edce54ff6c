#include "app/opensettings.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <cmath>

#include "datasource/kinds.h"

namespace rq::ui {

OpenDialogSettings openDialogSettings(const QString& c) {
    const Kind* kind = kindByConnect(c.toStdString());
    if (!kind) return {};
    return {QString::fromStdString(kind->dialogTitle), QString::fromStdString(kind->dialogFilter)};
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
