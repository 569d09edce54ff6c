// The browser panes with the real browser engine (needs a display): the
// quick preview shows the preview file, a separate-files run shows its folder.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTabWidget>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <QtTest>

#include "app/browserpane.h"
#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/generateview.h"

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

}  // namespace

class BrowserPanesTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { Dialogs::setTestMode(true); }

    void quickPreviewAndSplitFolderAreShown() {
        Frmdata w(true);
        w.resize(1000, 700);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        DataSheet& sheet = w.state().sheet;
        sheet.reset({"City"});
        for (const char* city : {"Oslo", "Bergen", "Tromso"}) {
            const std::string_view cells[] = {city};
            sheet.appendRecord(cells, 1);
        }
        w.action("mnugenerate")->trigger();
        GenerateView* g = w.generateView();
        auto* combo = w.findChild<QComboBox*>("Combo1");
        QCOMPARE(combo->count(), 5);
        QCOMPARE(combo->itemText(0), QString("Preview as XML Documents(.xml)"));
        combo->setCurrentIndex(0);

        // Quick Preview: record 1 into the code pane and the preview file.
        QWebEngineView* view = g->singleBrowser()->webView();
        QVERIFY(view);
        QSignalSpy loaded(view, &QWebEngineView::loadFinished);
        w.findChild<QPushButton*>("cmdqwlvw")->click();
        const QString file = QString::fromStdString(w.state().tempFolder) + "xml_temp.xml";
        QVERIFY(QFile::exists(file));
        QCOMPARE(g->singleBrowser()->url().toLocalFile(), file);
        QTRY_VERIFY_WITH_TIMEOUT(!loaded.isEmpty(), 30000);
        QVERIFY(loaded.last().at(0).toBool());
        const QString shown = pageText(view);
        QVERIFY2(shown.contains("Oslo"), qPrintable(shown));
        QVERIFY(!shown.contains("Bergen"));

        // Separate files: the run's folder in the second pane.
        w.findChild<QRadioButton*>("Option2")->click();
        w.findChild<QLineEdit*>("updwntxt")->setText("1");
        QWebEngineView* folderView = g->separateBrowser()->webView();
        QSignalSpy folderLoaded(folderView, &QWebEngineView::loadFinished);
        g->separateAction("node")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(!folderLoaded.isEmpty(), 30000);
        const QString listing = pageText(folderView);
        QVERIFY2(listing.contains("form_row_3_to_row_3_.xml"), qPrintable(listing));
        w.close();
    }

    // Without symbol conversion the preview file is code page 1252 and names
    // no encoding; the pane still shows its letters.
    void codePage1252PreviewShowsItsLetters() {
        Frmdata w(true);
        w.resize(1000, 700);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        DataSheet& sheet = w.state().sheet;
        sheet.reset({"City"});
        const std::string_view cells[] = {"Z\xC3\xBCrich \xE2\x82\xAC 5"};  // Zürich € 5
        sheet.appendRecord(cells, 1);
        w.action("mnugenerate")->trigger();
        w.findChild<QCheckBox*>("Check2")->setChecked(false);
        w.findChild<QComboBox*>("Combo1")->setCurrentIndex(0);
        QWebEngineView* view = w.generateView()->singleBrowser()->webView();
        QSignalSpy loaded(view, &QWebEngineView::loadFinished);
        w.findChild<QPushButton*>("cmdqwlvw")->click();
        QFile file(QString::fromStdString(w.state().tempFolder) + "xml_temp.xml");
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("Z\xFCrich \x80 5"));
        QTRY_VERIFY_WITH_TIMEOUT(!loaded.isEmpty(), 30000);
        const QString shown = pageText(view);
        QVERIFY2(shown.contains(QString::fromUtf8("Z\xC3\xBCrich \xE2\x82\xAC 5")),
                 qPrintable(shown));
        w.close();
    }
};

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    BrowserPanesTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_browserpanes.moc"
