// The window end to end, offscreen: a delimited-text table of a million
// records of eight columns (made here, the same table as bench_cli's) opened
// in the real main window, then Generate for a single file, Save As of that
// document, and Generate for separate files of 10 and 1000 records, each
// through the Generate view's toolbar buttons. The counter peak_rss_mb is the
// process's peak resident memory during the benchmark (reset before it);
// base_rss_mb what the window held with the table loaded.
// ROWQUILL_BENCH_ROWS changes the number of records.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QRadioButton>
#include <QTableView>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "app/dialogs.h"
#include "app/frmdata.h"
#include "app/generateview.h"

namespace fs = std::filesystem;
using namespace rq::ui;

namespace {

double rssMb(const char* field) {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line))
        if (line.rfind(field, 0) == 0) return std::atof(line.c_str() + std::strlen(field)) / 1024.0;
    return 0;
}

void resetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

struct Window {
    fs::path folder, csv;
    std::unique_ptr<Frmdata> w;
    double baseMb = 0;
    Window() {
        const char* env = std::getenv("ROWQUILL_BENCH_ROWS");
        const int rows = env ? std::atoi(env) : 1000000;
        std::string templ = (fs::temp_directory_path() / "rqwinbenchXXXXXX").string();
        folder = ::mkdtemp(templ.data());
        csv = folder / "big.csv";
        static const char* const cities[] = {"K\xC3\xB6ln", "Paris", "Lima", "Oslo",
                                             "Rome",        "Kyiv",  "Bern", "Doha"};
        std::ofstream out(csv, std::ios::binary);
        out << "ID,Customer,City,Date,Amount,Code,Paid,Note\r\n";
        for (int i = 1; i <= rows; ++i)
            out << i << ",Cust " << i % 9973 << "," << cities[i % 8] << ",2024-"
                << (i % 12 + 1 < 10 ? "0" : "") << i % 12 + 1 << "-" << (i % 28 + 1 < 10 ? "0" : "")
                << i % 28 + 1 << "," << i % 100000 / 100 << "." << i % 100 / 10 << i % 10 << ",AB-"
                << i % 7919 << "," << (i % 2 ? "true" : "false") << ",note " << i % 13 << "\r\n";
        out.close();
        Dialogs::setTestMode(true);
        w = std::make_unique<Frmdata>(false);
        w->resize(1000, 700);
        w->show();
        w->openAtStart(QString::fromStdString(csv.string()));
        w->showGenerateView();
        baseMb = rssMb("VmRSS:");
    }
    ~Window() {
        w.reset();
        std::error_code ec;
        fs::remove_all(folder, ec);
    }
};

Window& window() {
    static Window instance;
    return instance;
}

void finish(benchmark::State& state, double baseMb) {
    state.counters["peak_rss_mb"] = rssMb("VmHWM:");
    state.counters["base_rss_mb"] = baseMb;
}

void BM_WindowSingleFile(benchmark::State& state) {
    Window& win = window();
    GenerateView* g = win.w->generateView();
    win.w->findChild<QRadioButton*>("Option1")->setChecked(true);
    resetPeak();
    for (auto _ : state) g->singleAction("node")->trigger();
    finish(state, win.baseMb);
    state.counters["document_mb"] = static_cast<double>(g->documentSize()) / (1024.0 * 1024.0);
}

void BM_WindowSingleFileSaveAs(benchmark::State& state) {
    Window& win = window();
    GenerateView* g = win.w->generateView();
    win.w->findChild<QRadioButton*>("Option1")->setChecked(true);
    if (!g->hasDocument()) g->singleAction("node")->trigger();
    const QString target = QString::fromStdString((win.folder / "single.xml").string());
    resetPeak();
    for (auto _ : state) {
        std::filesystem::remove(target.toStdString());
        Dialogs::setNextFileName(target);
        g->singleAction("Save")->trigger();
    }
    finish(state, win.baseMb);
}

void BM_WindowSeparateFiles(benchmark::State& state) {
    Window& win = window();
    GenerateView* g = win.w->generateView();
    win.w->findChild<QRadioButton*>("Option2")->setChecked(true);
    win.w->findChild<QLineEdit*>("updwntxt")->setText(QString::number(state.range(0)));
    resetPeak();
    for (auto _ : state) g->separateAction("node")->trigger();
    finish(state, win.baseMb);
}

// Sort Ascending on the Customer column of the loaded table, from the command to
// the grid painted again; undo_ms: its undo, painted again (inside the time).
void BM_WindowSortAndUndo(benchmark::State& state) {
    Window& win = window();
    Frmdata& w = *win.w;
    w.showSheetView();
    w.grid()->setCurrentIndex(w.grid()->model()->index(0, 1));  // Customer: text, unsorted
    for (auto _ : state) {
        w.action("mnusortasc")->trigger();
        w.grid()->viewport()->repaint();
        QCoreApplication::processEvents();
        QElapsedTimer undo;
        undo.start();
        w.action("mnusheetundo")->trigger();
        w.grid()->viewport()->repaint();
        state.counters["undo_ms"] = static_cast<double>(undo.elapsed());
    }
    finish(state, win.baseMb);
}

BENCHMARK(BM_WindowSingleFile)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_WindowSingleFileSaveAs)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_WindowSortAndUndo)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_WindowSeparateFiles)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
