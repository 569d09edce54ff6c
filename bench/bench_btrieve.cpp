// Loading a Btrieve table of a million records (8 fields, 5.x layout, with its
// FILE.DDF/FIELD.DDF dictionary) into the data sheet.
#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "datasource/btrieve/btrievedictionary.h"
#include "datasource/readers.h"
#include "datasource/sheetloader.h"
#include "sheet/datasheet.h"

namespace fs = std::filesystem;
namespace bt = rq::btrieve;

namespace {

struct FieldLayout {
    const char* name;
    int type;
    int size;
    int decimals;
};

constexpr FieldLayout kFields[] = {{"ID", bt::kInteger, 4, 0},     {"NAME", bt::kString, 20, 0},
                                   {"AMOUNT", bt::kMoney, 6, 2},   {"BORN", bt::kDate, 4, 0},
                                   {"ACTIVE", bt::kLogical, 1, 0}, {"CITY", bt::kString, 15, 0},
                                   {"RATIO", bt::kFloat, 8, 0},    {"CODE", bt::kZstring, 5, 0}};

void write(const fs::path& p, const std::string& bytes) {
    std::ofstream(p, std::ios::binary) << bytes;
}

// Packed decimal of v (non-negative) in size bytes, sign half-byte 0xF.
void packed(char* out, long long v, int size) {
    int nibbles = size * 2 - 1;
    std::string digits(static_cast<std::size_t>(nibbles), '0');
    for (int i = nibbles - 1; i >= 0 && v > 0; --i, v /= 10)
        digits[static_cast<std::size_t>(i)] = static_cast<char>('0' + v % 10);
    for (int b = 0; b < size; ++b) {
        int hi = digits[static_cast<std::size_t>(2 * b)] - '0';
        int lo = b + 1 < size ? digits[static_cast<std::size_t>(2 * b + 1)] - '0' : 0xF;
        out[b] = static_cast<char>((hi << 4) | lo);
    }
}

fs::path makeDictionary(int records) {
    const fs::path dir = fs::temp_directory_path() / "rq_bench_btrieve";
    if (fs::exists(dir / "BIG.DAT")) return dir;
    fs::create_directories(dir);
    write(dir / "FILE.DDF",
          bt::writeDataFile5(4096, 87, false, {bt::fileDictionaryRecord(1, "big", "BIG.DAT")}));
    std::vector<std::string> fields;
    int offset = 0;
    for (const auto& f : kFields) {
        fields.push_back(bt::fieldDictionaryRecord(
            static_cast<std::uint16_t>(fields.size() + 1), 1, f.name, f.type,
            static_cast<std::uint16_t>(offset), static_cast<std::uint16_t>(f.size), f.decimals));
        offset += f.size;
    }
    write(dir / "FIELD.DDF", bt::writeDataFile5(4096, 32, false, fields));
    const int recordLength = offset;
    std::vector<std::string> rows;
    rows.reserve(static_cast<std::size_t>(records));
    for (int i = 0; i < records; ++i) {
        std::string r(static_cast<std::size_t>(recordLength), ' ');
        char* p = r.data();
        std::memcpy(p, &i, 4);
        std::string name = "Customer " + std::to_string(i);
        std::memcpy(p + 4, name.data(), name.size());
        packed(p + 24, static_cast<long long>(i) * 125, 6);
        p[30] = static_cast<char>(1 + i % 28);
        p[31] = static_cast<char>(1 + i % 12);
        int year = 1950 + i % 60;
        std::memcpy(p + 32, &year, 2);
        p[34] = static_cast<char>(i % 3 != 0);
        std::memcpy(p + 35, "Springfield", 11);
        double ratio = i / 7.0;
        std::memcpy(p + 50, &ratio, 8);
        std::memcpy(p + 58, "AB\0\0\0", 5);
        rows.push_back(std::move(r));
    }
    write(dir / "BIG.DAT",
          bt::writeDataFile5(4096, static_cast<std::uint32_t>(recordLength), false, rows));
    return dir;
}

void BM_LoadMillionRecordBtrieve(benchmark::State& state) {
    const fs::path dir = makeDictionary(1000000);
    auto db = rq::openBtrieveDictionary((dir / "FILE.DDF").string(), {});
    for (auto _ : state) {
        rq::DataSheet sheet;
        rq::loadTable(*db, "big", sheet);
        benchmark::DoNotOptimize(sheet.rows());
        state.counters["records"] = sheet.rows() - 1;
        state.counters["text_MB"] = static_cast<double>(sheet.textBytes()) / 1e6;
    }
}
BENCHMARK(BM_LoadMillionRecordBtrieve)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
