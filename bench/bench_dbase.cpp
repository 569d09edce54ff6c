// Loading a .dbf of a million records (8 fields) into the data sheet.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "datasource/readers.h"
#include "datasource/sheetloader.h"
#include "sheet/datasheet.h"

namespace fs = std::filesystem;

namespace {

struct FieldLayout {
    const char* name;
    char type;
    int length;
    int decimals;
};

constexpr FieldLayout kFields[] = {
    {"NAME", 'C', 20, 0}, {"AMOUNT", 'N', 12, 2}, {"BORN", 'D', 8, 0}, {"ACTIVE", 'L', 1, 0},
    {"CITY", 'C', 15, 0}, {"COUNT", 'N', 6, 0},   {"CODE", 'C', 5, 0}, {"RATIO", 'F', 12, 4}};

void put16(std::string& s, std::size_t at, unsigned v) {
    s[at] = static_cast<char>(v & 0xFF);
    s[at + 1] = static_cast<char>((v >> 8) & 0xFF);
}

fs::path makeTable(int records) {
    const fs::path dir = fs::temp_directory_path() / "rq_bench_dbase";
    const fs::path file = dir / "big.dbf";
    if (fs::exists(file)) return dir;
    fs::create_directories(dir);
    const int fieldCount = static_cast<int>(std::size(kFields));
    int recordLength = 1;
    for (const auto& f : kFields) recordLength += f.length;
    std::string header(32, '\0');
    header[0] = 0x03;
    header[4] = static_cast<char>(records & 0xFF);
    header[5] = static_cast<char>((records >> 8) & 0xFF);
    header[6] = static_cast<char>((records >> 16) & 0xFF);
    put16(header, 8, static_cast<unsigned>(32 + 32 * fieldCount + 1));
    put16(header, 10, static_cast<unsigned>(recordLength));
    header[29] = 0x03;
    for (const auto& f : kFields) {
        std::string d(32, '\0');
        std::memcpy(d.data(), f.name, std::strlen(f.name));
        d[11] = f.type;
        d[16] = static_cast<char>(f.length);
        d[17] = static_cast<char>(f.decimals);
        header += d;
    }
    header += '\x0d';
    std::ofstream out(file, std::ios::binary);
    out << header;
    char rec[256];
    for (int i = 0; i < records; ++i) {
        std::snprintf(rec, sizeof rec, " %-20.20s%12.2f%04d%02d%02d%c%-15.15s%6d%-5.5s%12.4f",
                      ("Customer " + std::to_string(i)).c_str(), i * 1.25, 1950 + i % 60,
                      1 + i % 12, 1 + i % 28, i % 3 ? 'T' : 'F', "Springfield", i % 100000, "AB",
                      i / 7.0);
        out.write(rec, recordLength);
    }
    out << '\x1a';
    return dir;
}

void BM_LoadMillionRecordDbf(benchmark::State& state) {
    const fs::path dir = makeTable(1000000);
    auto db = rq::openDbaseFolder(dir.string(), {});
    for (auto _ : state) {
        rq::DataSheet sheet;
        rq::loadTable(*db, "big", sheet);
        benchmark::DoNotOptimize(sheet.rows());
        state.counters["records"] = sheet.rows() - 1;
        state.counters["text_MB"] = static_cast<double>(sheet.textBytes()) / 1e6;
    }
}
BENCHMARK(BM_LoadMillionRecordDbf)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
