// Small pure rules of the window: the open dialog for each database kind, the
// help pages, the splitter limits and the column width conversion.
#pragma once

#include <QString>

namespace rq::ui {

struct OpenDialogSettings {
    QString title;
    QString filter;  // "Description|pattern"
};

// The open dialog's title and filter for a connect string of the open menu
// (exact, case-sensitive comparison); empty for an unknown one.
OpenDialogSettings openDialogSettings(const QString& connect);

// Help pages, relative to the program's folder.
inline constexpr const char* kHelpContents = "helpfiles/help_rowquill/sitemap.html";
inline constexpr const char* kHelpIndex = "helpfiles/help_rowquill/alpind.html";
inline constexpr const char* kHelpTutorial = "tutorial/tutoriallibrary.htm";
inline constexpr const char* kHelpVisualSql =
    "helpfiles/help_rowquill/how_to_use_visual_sql_wizard.htm";
inline constexpr const char* kHelpOdbc = "helpfiles/help_rowquill/how to open odbc/odbc.htm";

// The page's full path: beside the program in the build tree, otherwise in
// share/rowquill/help of the installed tree the program folder belongs to.
QString helpPagePath(const QString& programFolder, const char* relative);

// The splitter position kept at least 50 twips from both edges of a client
// area of the given width (all in twips).
int splitterPositionTwips(int wantedTwips, int clientWidthTwips);

// Twips and pixels at a given dots-per-inch.
int twipsToPixels(int twips, double dpi);
int pixelsToTwips(int pixels, double dpi);

}  // namespace rq::ui
