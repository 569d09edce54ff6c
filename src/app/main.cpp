// The window program: opens the database file named on the command line, if any.
#include <QApplication>
#include <QStringList>

#include "app/frmdata.h"

int main(int argc, char* argv[]) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Nubro Rowquill"));
    QApplication::setApplicationVersion(QStringLiteral("1.0.0"));

    rq::ui::Frmdata window;
    window.show();
    const QStringList args = QApplication::arguments();
    if (args.size() > 1) window.openAtStart(args.at(1));
    return app.exec();
}
