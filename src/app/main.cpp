// The window program: opens the database file and the layout file named on the
// command line, if any.
// "--screenshots FOLDER FILE" instead saves pictures of each view and quits.
// "--help" and "--version" print and exit without a display.
#include <QApplication>
#include <QCommandLineParser>
#include <QStringList>
#include <cstring>

#include "app/frmdata.h"
#include "app/icons.h"
#include "app/screenshots.h"

namespace {

void describe(QCommandLineParser& parser, QCommandLineOption& screenshots) {
    parser.setApplicationDescription(
        QStringLiteral("Turn the rows of a database table into XML documents.\n"
                       "Opens DATABASE and applies LAYOUT (a .rqlayout file), in either order."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption(screenshots);
    parser.addPositionalArgument(QStringLiteral("DATABASE"),
                                 QStringLiteral("A database file to open."),
                                 QStringLiteral("[DATABASE]"));
    parser.addPositionalArgument(QStringLiteral("LAYOUT"),
                                 QStringLiteral("A layout file to apply."),
                                 QStringLiteral("[LAYOUT]"));
}

void nameProgram() {
    QCoreApplication::setApplicationName(QStringLiteral("Nubro Rowquill"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ROWQUILL_VERSION));
}

// True when the arguments ask only for text, which needs no display.
bool asksForText(int argc, char* argv[]) {
    for (int i = 1; i < argc; ++i)
        for (const char* o : {"-h", "--help", "-?", "--help-all", "-v", "--version"})
            if (std::strcmp(argv[i], o) == 0) return true;
    return false;
}

}  // namespace

int main(int argc, char* argv[]) {
    QCommandLineOption screenshots(QStringLiteral("screenshots"),
                                   QStringLiteral("Save a picture of each view of FILE into "
                                                  "FOLDER and quit."),
                                   QStringLiteral("FOLDER"));
    if (asksForText(argc, argv)) {
        QCoreApplication core(argc, argv);
        nameProgram();
        QCommandLineParser parser;
        describe(parser, screenshots);
        parser.process(core);  // prints and exits
        return 0;
    }

    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    nameProgram();
    QGuiApplication::setDesktopFileName(QStringLiteral("org.nubro.rowquill"));
    QApplication::setWindowIcon(rq::ui::appIcon());

    QCommandLineParser parser;
    describe(parser, screenshots);
    parser.process(app);
    const QStringList files = parser.positionalArguments();
    if (parser.isSet(screenshots)) {
        if (files.size() != 1) parser.showHelp(1);
        return rq::ui::takeScreenshots(parser.value(screenshots), files.at(0));
    }
    if (files.size() > 2) parser.showHelp(1);

    rq::ui::Frmdata window;
    window.show();
    // A database file and a layout file may be given, in either order; the
    // table is loaded first so that the layout is not replaced by its default.
    QString database, layout;
    for (const QString& arg : files)
        (arg.endsWith(QLatin1String(".rqlayout"), Qt::CaseInsensitive) ? layout : database) = arg;
    if (!database.isEmpty()) window.openAtStart(database);
    if (!layout.isEmpty()) window.openLayout(layout);
    return app.exec();
}
