#include "app/opensettings.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <cmath>

namespace rq::ui {

OpenDialogSettings openDialogSettings(const QString& c) {
    if (c == QLatin1String("Microsoft Access"))
        return {QStringLiteral("Open Microsoft Access Database"),
                QStringLiteral("Microsoft Access MDBs (*.mdb)|*.mdb")};
    if (c == QLatin1String("Lotus WK1;"))
        return {QStringLiteral("Open Lotus Database"), QStringLiteral("Lotus WK1 (*.wk1)|*.wk1")};
    if (c == QLatin1String("Lotus WK3;"))
        return {QStringLiteral("Open Lotus Database"), QStringLiteral("Lotus WK3 (*.wk3)|*.wk3")};
    if (c == QLatin1String("Lotus WK4;"))
        return {QStringLiteral("Open Lotus Database"), QStringLiteral("Lotus WK4 (*.wk4)|*.wk4")};
    if (c == QLatin1String("Dbase III;") || c == QLatin1String("Dbase IV;") ||
        c == QLatin1String("Dbase 5.0;"))
        return {QStringLiteral("Open Dbase Database"), QStringLiteral("Dbase DBs (*.dbf)|*.dbf")};
    if (c == QLatin1String("FoxPro 2.0;") || c == QLatin1String("FoxPro 2.5;") ||
        c == QLatin1String("FoxPro 2.6;") || c == QLatin1String("FoxPro 3.0;"))
        return {QStringLiteral("Open FoxPro Database"), QStringLiteral("FoxPro DBs (*.dbf)|*.dbf")};
    if (c == QLatin1String("Paradox 3.X;") || c == QLatin1String("Paradox 4.X;") ||
        c == QLatin1String("Paradox 5.X;"))
        return {QStringLiteral("Open Paradox Database"), QStringLiteral("Paradox DBs (*.db)|*.db")};
    if (c == QLatin1String("Excel 8.0;"))
        return {QStringLiteral("Open Excel File"), QStringLiteral("Excel Files (*.xls)|*.xls")};
    if (c == QLatin1String("Btrieve;"))
        return {QStringLiteral("Open Btrieve Database"),
                QStringLiteral("Btrieve DBs (FILE.DDF)|FILE.DDF")};
    if (c == QLatin1String("Text;"))
        return {QStringLiteral("Open Text Database"), QStringLiteral("Text Files (*.txt)|*.txt")};
    return {};
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
