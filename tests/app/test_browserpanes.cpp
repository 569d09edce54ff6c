// The browser panes with the real browser engine (needs a display): the
// quick preview shows the preview file, a separate-files run shows its folder.
#include <QWebEnginePage>
#include <QWebEngineView>

#include "app/browserpane.h"
#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/generateview.h"
#include "widgethelpers.h"

using namespace rq;
using namespace rq::ui;

namespace {

QString pageText(QWebEngineView* view) {
    QString text;
    bool done = false;
    view->page()->toPlainText([&](const QString& t) {
        text = t;
        done = true;
    });
    if (!QTest::qWaitFor([&] { return done; }, 20000)) return QString();
    return text;
}

// A shown window with browser panes over one column of cities, in the
// Generate view with the preview as an XML document.
std::unique_ptr<Frmdata> previewWindow(std::initializer_list<const char*> cities) {
    auto w = std::make_unique<Frmdata>(true);
    w->resize(1000, 700);
    w->show();
    if (!QTest::qWaitForWindowExposed(w.get())) qWarning("window not exposed");
    w->state().sheet.reset({"City"});
    for (const char* city : cities) {
        const std::string_view cells[] = {city};
        w->state().sheet.appendRecord(cells, 1);
    }
    w->action("mnugenerate")->trigger();
    w->findChild<QComboBox*>("Combo1")->setCurrentIndex(0);
    return w;
}

}  // namespace

class BrowserPanesTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }

    // Quick Preview writes record 1 into the preview file and shows it; without
    // symbol conversion that file is code page 1252 and names no encoding, and
    // the pane still shows its letters. A separate-files run shows its folder.
    void quickPreviewAndSplitFolderAreShown() {
        auto w = previewWindow({"Z\xC3\xBCrich \xE2\x82\xAC 5", "Bergen", "Tromso"});  // Zürich € 5
        GenerateView* g = w->generateView();
        w->findChild<QCheckBox*>("Check2")->setChecked(false);
        QWebEngineView* view = g->singleBrowser()->webView();
        QSignalSpy loaded(view, &QWebEngineView::loadFinished);
        w->findChild<QPushButton*>("cmdqwlvw")->click();
        const QString file = QString::fromStdString(w->state().tempFolder) + "xml_temp.xml";
        QCOMPARE(g->singleBrowser()->url().toLocalFile(), file);
        QVERIFY(testing::readAll(file).contains("Z\xFCrich \x80 5"));
        QTRY_VERIFY_WITH_TIMEOUT(!loaded.isEmpty(), 30000);
        QVERIFY(loaded.last().at(0).toBool());
        const QString shown = pageText(view);
        QVERIFY2(shown.contains(QString::fromUtf8("Z\xC3\xBCrich \xE2\x82\xAC 5")) &&
                     !shown.contains("Bergen"),
                 qPrintable(shown));

        w->findChild<QRadioButton*>("Option2")->click();
        w->findChild<QLineEdit*>("updwntxt")->setText("1");
        QWebEngineView* folderView = g->separateBrowser()->webView();
        QSignalSpy folderLoaded(folderView, &QWebEngineView::loadFinished);
        g->separateAction("node")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(!folderLoaded.isEmpty(), 30000);
        const QString listing = pageText(folderView);
        QVERIFY2(listing.contains("form_row_3_to_row_3_.xml"), qPrintable(listing));
    }
};

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    BrowserPanesTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_browserpanes.moc"
