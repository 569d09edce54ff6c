// The cost of reading through a child process: a million records of eight
// short cells sent through the pipe, against the same records made in this
// process. Also the cost of one child that sends nothing (the fork and wait).
#include <benchmark/benchmark.h>

#include <string>

#include "datasource/isolatedread.h"

namespace {

struct CountingSink : rq::RecordSink {
    std::size_t bytes = 0;
    void begin(const std::vector<rq::Field>&) override {}
    void row(const std::string_view* cells, std::size_t n) override {
        for (std::size_t i = 0; i < n; ++i) bytes += cells[i].size();
    }
};

void records(rq::RecordSink& sink, int count) {
    sink.begin({{"a", rq::kText},
                {"b", rq::kLong},
                {"c", rq::kDouble},
                {"d", rq::kDateTime},
                {"e", rq::kText},
                {"f", rq::kBoolean},
                {"g", rq::kText},
                {"h", rq::kCurrency}});
    std::string n;
    for (int i = 0; i < count; ++i) {
        n = std::to_string(i);
        const std::string_view cells[8] = {
            "Alfreds Futterkiste", n, "1234.5", "2024-01-15", "Berlin", "false", "ALFKI", "14.25"};
        sink.row(cells, 8);
    }
    sink.end();
}

void BM_RecordsInChild(benchmark::State& state) {
    rq::setIsolatedReads(state.range(0) == 1);
    for (auto _ : state) {
        CountingSink sink;
        rq::readIsolated(
            "bench", [](rq::RecordSink& s) { records(s, 1000000); }, sink);
        benchmark::DoNotOptimize(sink.bytes);
    }
    state.SetLabel(state.range(0) == 1 ? "child" : "in process");
    rq::setIsolatedReads(true);
}
BENCHMARK(BM_RecordsInChild)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_EmptyChild(benchmark::State& state) {
    rq::setIsolatedReads(true);
    for (auto _ : state) {
        CountingSink sink;
        rq::readIsolated(
            "bench", [](rq::RecordSink&) {}, sink);
    }
}
BENCHMARK(BM_EmptyChild)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
