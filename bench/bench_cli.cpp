// The batch converter end to end: a delimited-text table of a million records
// of eight columns (about 60 MB, made here) read, converted to one document,
// to one document per ten records, and exported. The converter runs as its own
// process; its peak resident memory is reported as the counter peak_rss_mb.
// ROWQUILL_BENCH_ROWS changes the number of records.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "datasource/database.h"
#include "datasource/sheetloader.h"

extern char** environ;

namespace fs = std::filesystem;

namespace {

struct Data {
    fs::path folder;
    fs::path csv;
    std::uintmax_t bytes = 0;
    int rows = 0;
    Data() {
        const char* env = std::getenv("ROWQUILL_BENCH_ROWS");
        rows = env ? std::atoi(env) : 1000000;
        std::string templ = (fs::temp_directory_path() / "rqbenchXXXXXX").string();
        folder = ::mkdtemp(templ.data());
        csv = folder / "big.csv";
        static const char* const cities[] = {"K\xC3\xB6ln", "Paris", "Lima", "Oslo",
                                             "Rome",        "Kyiv",  "Bern", "Doha"};
        std::ofstream out(csv, std::ios::binary);
        out << "ID,Customer,City,Date,Amount,Code,Paid,Note\r\n";
        std::string line;
        for (int i = 1; i <= rows; ++i) {
            line = std::to_string(i) + ",Cust " + std::to_string(i % 9973) + "," + cities[i % 8] +
                   ",2024-" + (i % 12 + 1 < 10 ? "0" : "") + std::to_string(i % 12 + 1) + "-" +
                   (i % 28 + 1 < 10 ? "0" : "") + std::to_string(i % 28 + 1) + "," +
                   std::to_string(i % 100000 / 100) + "." + std::to_string(i % 100 / 10) +
                   std::to_string(i % 10) + ",AB-" + std::to_string(i % 7919) + "," +
                   (i % 2 ? "true" : "false") + ",note " + std::to_string(i % 13) + "\r\n";
            out << line;
        }
        out.close();
        bytes = fs::file_size(csv);
    }
    ~Data() {
        std::error_code ec;
        fs::remove_all(folder, ec);
    }
};

Data& data() {
    static Data d;
    return d;
}

std::string cliPath() {
    fs::path self = fs::read_symlink("/proc/self/exe");
    return (self.parent_path().parent_path() / "src" / "rowquill-cli").string();
}

// Runs the converter; returns its peak resident memory in MB, or -1 on failure.
double runCli(const std::vector<std::string>& args) {
    std::vector<std::string> all = {cliPath()};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : all) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid;
    if (posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0) return -1;
    int status = 0;
    struct rusage usage {};
    if (wait4(pid, &status, 0, &usage) < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return -1;
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void report(benchmark::State& state, double rssMb) {
    state.counters["peak_rss_mb"] = rssMb;
    state.counters["input_mb"] = static_cast<double>(data().bytes) / (1024.0 * 1024.0);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(data().bytes));
}

void BM_TextTableLoad(benchmark::State& state) {
    Data& d = data();
    for (auto _ : state) {
        auto db = rq::openFileDatabase("Text;", d.csv.string());
        rq::DataSheet sheet;
        rq::loadTable(*db, "big#csv", sheet);
        benchmark::DoNotOptimize(sheet.rows());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(d.bytes));
}
BENCHMARK(BM_TextTableLoad)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_CliConvertSingle(benchmark::State& state) {
    Data& d = data();
    const std::string out = (d.folder / "big.xml").string();
    double rss = 0;
    for (auto _ : state) {
        rss = runCli({"convert", d.csv.string(), "--table", "big#csv", "-o", out});
        if (rss < 0) state.SkipWithError("rowquill-cli convert failed");
    }
    report(state, rss);
    state.counters["output_mb"] = static_cast<double>(fs::file_size(out)) / (1024.0 * 1024.0);
    fs::remove(out);
}
BENCHMARK(BM_CliConvertSingle)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

void BM_CliConvertSplit10(benchmark::State& state) {
    Data& d = data();
    const fs::path out = d.folder / "split";
    double rss = 0;
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove_all(out);
        state.ResumeTiming();
        rss = runCli(
            {"convert", d.csv.string(), "--table", "big#csv", "--split", "10", "-o", out.string()});
        if (rss < 0) state.SkipWithError("rowquill-cli convert --split failed");
    }
    report(state, rss);
    fs::remove_all(out);
}
BENCHMARK(BM_CliConvertSplit10)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

void BM_CliExport(benchmark::State& state) {
    Data& d = data();
    const std::string out = (d.folder / "big.txt").string();
    double rss = 0;
    for (auto _ : state) {
        rss = runCli({"export", d.csv.string(), "--table", "big#csv", "-o", out});
        if (rss < 0) state.SkipWithError("rowquill-cli export failed");
    }
    report(state, rss);
    fs::remove(out);
}
BENCHMARK(BM_CliExport)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
