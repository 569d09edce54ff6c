// Document writer and sheet figures: one document of 1,000,000 records of 8
// columns through the default layout, and the memory of that sheet.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "generate/documentwriter.h"
#include "layout/defaultlayout.h"
#include "sheet/datasheet.h"

namespace {

constexpr int kRecords = 1'000'000;

const char* const kCities[] = {"Leeds", "Köln", "Zürich", "Ankara", "Lyon", "Porto", "Graz"};

rq::DataSheet& bigSheet() {
    static rq::DataSheet sheet = [] {
        rq::DataSheet s;
        s.reset({"OrderID", "Customer", "OrderDate", "Amount", "City", "Paid", "Qty", "Code"});
        s.reserveRecords(kRecords);
        std::string cells[8];
        std::string_view views[8];
        for (int r = 1; r <= kRecords; ++r) {
            cells[0] = std::to_string(r);
            cells[1] = "Customer " + std::to_string(r % 9973);
            cells[2] = "2024-0" + std::to_string(1 + r % 9) + "-1" + std::to_string(r % 10);
            cells[3] = std::to_string(r % 100000) + "." + std::to_string(10 + r % 90);
            cells[4] = kCities[r % 7];
            cells[5] = r % 3 ? "true" : "false";
            cells[6] = std::to_string(r % 250);
            cells[7] = (r % 11 == 0) ? "A&B" : "X" + std::to_string(r % 777);
            for (int c = 0; c < 8; ++c) views[c] = cells[c];
            s.appendRecord(views, 8);
        }
        return s;
    }();
    return sheet;
}

void BM_WriteMillionRecords(benchmark::State& state) {
    rq::DataSheet& sheet = bigSheet();
    rq::LayoutTree tree;
    rq::buildDefaultLayout(tree, sheet);
    rq::WorkingTable work;
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::string doc = rq::buildDocument(tree, work, sheet, sheet.rows() - 1);
        bytes = doc.size();
        benchmark::DoNotOptimize(doc.data());
    }
    state.counters["xml_MB"] = static_cast<double>(bytes) / 1e6;
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}
BENCHMARK(BM_WriteMillionRecords)->Unit(benchmark::kMillisecond)->Iterations(5);

// The same, streamed in chunks of about a megabyte (what the batch converter does).
void BM_StreamMillionRecords(benchmark::State& state) {
    rq::DataSheet& sheet = bigSheet();
    rq::LayoutTree tree;
    rq::buildDefaultLayout(tree, sheet);
    rq::WorkingTable work;
    rq::tidyLayout(tree, work);
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::string out;
        bytes = 0;
        rq::writeDocument(tree, work, sheet, 1, sheet.rows() - 1, out, [&](std::string& chunk) {
            bytes += chunk.size();
            chunk.clear();
        });
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}
BENCHMARK(BM_StreamMillionRecords)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_SheetMemory(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(bigSheet().rows());
    const rq::DataSheet& s = bigSheet();
    state.counters["text_MB"] = static_cast<double>(s.textBytes()) / 1e6;
    state.counters["held_MB"] = static_cast<double>(s.allocatedBytes()) / 1e6;
    state.counters["ratio"] =
        static_cast<double>(s.allocatedBytes()) / static_cast<double>(s.textBytes());
}
BENCHMARK(BM_SheetMemory)->Iterations(1);

void BM_FillSheetMillionRecords(benchmark::State& state) {
    std::string cells[8];
    std::string_view views[8];
    for (auto _ : state) {
        rq::DataSheet s;
        s.reset({"a", "b", "c", "d", "e", "f", "g", "h"});
        s.reserveRecords(kRecords);
        for (int r = 1; r <= kRecords; ++r) {
            for (int c = 0; c < 8; ++c) {
                cells[c] = std::to_string(r * 8 + c);
                views[c] = cells[c];
            }
            s.appendRecord(views, 8);
        }
        benchmark::DoNotOptimize(s.rows());
    }
}
BENCHMARK(BM_FillSheetMillionRecords)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
