// The window program: opens the database file named on the command line, if any.
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
    if (args.size() > 1) window.openAtStart(args.at(1));
    return app.exec();
}
