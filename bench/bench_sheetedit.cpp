// Sheet editing commands on a sheet of 1,000,000 records by 8 columns.
#include <benchmark/benchmark.h>

#include "sheet/sheetedit.h"

namespace {

rq::DataSheet bigSheet() {
    constexpr int kRecords = 1000000, kCols = 8;
    rq::DataSheet s(1, kCols);
    for (int c = 0; c < kCols; ++c) s.setCell(0, c, "Field" + std::to_string(c));
    s.reserveRecords(kRecords);
    std::string cells[kCols];
    std::string_view views[kCols];
    unsigned x = 12345;
    for (int r = 1; r <= kRecords; ++r) {
        for (int c = 0; c < kCols; ++c) {
            x = x * 1103515245u + 12345u;
            cells[c] = c == 0 ? std::to_string(x % 100000) : "text" + std::to_string(x % 9973);
            views[c] = cells[c];
        }
        s.appendRecord(views, kCols);
    }
    return s;
}

const rq::DataSheet& shared() {
    static const rq::DataSheet s = bigSheet();
    return s;
}

void BM_SortAscendingOneColumn(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        rq::DataSheet s = shared();
        s.setRow(1);
        s.setCol(0);
        state.ResumeTiming();
        s.sort(1);
        benchmark::DoNotOptimize(s.cell(1, 0));
    }
}

void BM_InsertColumnIndex(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        rq::DataSheet s = shared();
        state.ResumeTiming();
        rq::appendIndexColumn(s);
        benchmark::DoNotOptimize(s.cell(1, 8));
    }
}

void BM_CropHalfTheRecords(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        rq::DataSheet s = shared();
        rq::MouseSelection m;
        m.pressRow = "250001";
        m.releaseRow = "750000";
        state.ResumeTiming();
        rq::CroppedRows taken = rq::cropRows(s, m);
        benchmark::DoNotOptimize(taken.above.rows.data());
        state.PauseTiming();
        taken = {};
        state.ResumeTiming();
    }
}

void BM_Remove1000Records(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        rq::DataSheet s = shared();
        rq::MouseSelection m;
        m.sweepTop = "500000";
        m.sweepBottom = "500999";
        state.ResumeTiming();
        rq::TakenRows taken = rq::removeRowRange(s, m);
        benchmark::DoNotOptimize(taken.rows.data());
    }
}

}  // namespace

BENCHMARK(BM_SortAscendingOneColumn)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_InsertColumnIndex)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_CropHalfTheRecords)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Remove1000Records)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_MAIN();
