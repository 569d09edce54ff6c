// The window program: opens the database file and the layout file named on the
// command line, if any.
// "--screenshots FOLDER FILE" instead saves pictures of each view and quits.
#include <QApplication>
#include <QStringList>

#include "app/frmdata.h"
#include "app/screenshots.h"

int main(int argc, char* argv[]) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Nubro Rowquill"));
    QApplication::setApplicationVersion(QStringLiteral("1.0.0"));

    const QStringList args = QApplication::arguments();
    if (args.size() == 4 && args.at(1) == QLatin1String("--screenshots"))
        return rq::ui::takeScreenshots(args.at(2), args.at(3));

    rq::ui::Frmdata window;
    window.show();
    // A database file and a layout file may be given, in either order; the
    // table is loaded first so that the layout is not replaced by its default.
    QString database, layout;
    for (const QString& arg : args.mid(1))
        (arg.endsWith(QLatin1String(".rqlayout"), Qt::CaseInsensitive) ? layout : database) = arg;
    if (!database.isEmpty()) window.openAtStart(database);
    if (!layout.isEmpty()) window.openLayout(layout);
    return app.exec();
}
