// Loading a 65,536-row worksheet into the data sheet. The workbook is written
// here: a record stream of one sheet (numbers, dates, RK integers and shared
// strings) inside a compound file of 512-byte sectors.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "datasource/readers.h"
#include "datasource/sheetloader.h"

namespace {

void put16(std::string& s, std::uint16_t v) {
    s += static_cast<char>(v & 0xFF);
    s += static_cast<char>(v >> 8);
}
void put32(std::string& s, std::uint32_t v) {
    put16(s, static_cast<std::uint16_t>(v & 0xFFFF));
    put16(s, static_cast<std::uint16_t>(v >> 16));
}
void putDouble(std::string& s, double v) {
    char b[8];
    std::memcpy(b, &v, 8);
    s.append(b, 8);
}
void record(std::string& s, std::uint16_t id, const std::string& data) {
    put16(s, id);
    put16(s, static_cast<std::uint16_t>(data.size()));
    s += data;
}
std::string cellHead(std::uint16_t row, std::uint16_t col, std::uint16_t xf) {
    std::string d;
    put16(d, row);
    put16(d, col);
    put16(d, xf);
    return d;
}

std::string workbookStream(int rows) {
    auto bof = [](std::uint16_t type) {
        std::string s;
        put16(s, 0x0600);
        put16(s, type);
        s.append(12, '\0');
        return s;
    };
    auto xf = [](std::uint16_t format) {
        std::string s(20, '\0');
        s[2] = static_cast<char>(format);
        return s;
    };
    const char* words[] = {"alpha", "beta", "gamma", "delta", "epsilon", "zeta", "eta", "theta"};
    std::string sst;
    put32(sst, static_cast<std::uint32_t>(rows));
    put32(sst, 8);
    for (const char* w : words) {
        put16(sst, static_cast<std::uint16_t>(std::strlen(w)));
        sst += '\0';
        sst += w;
    }
    std::string globals;
    record(globals, 0x0809, bof(0x0005));
    record(globals, 0x00E0, xf(0));
    record(globals, 0x00E0, xf(14));
    record(globals, 0x00FC, sst);
    const std::string name(
        "\x05\x00"
        "Sheet",
        7);
    const std::size_t offset = globals.size() + 4 + 6 + name.size() + 4;
    std::string bs;
    put32(bs, static_cast<std::uint32_t>(offset));
    bs += std::string("\0\0", 2) + name;
    record(globals, 0x0085, bs);
    record(globals, 0x000A, "");

    std::string sheet;
    record(sheet, 0x0809, bof(0x0010));
    const char* heads[] = {"Id", "Name", "Amount", "When"};
    for (std::uint16_t c = 0; c < 4; ++c) {
        std::string d = cellHead(0, c, 0);
        put16(d, static_cast<std::uint16_t>(std::strlen(heads[c])));
        d += '\0';
        d += heads[c];
        record(sheet, 0x0204, d);
    }
    for (int r = 1; r < rows; ++r) {
        const auto row = static_cast<std::uint16_t>(r);
        std::string rk = cellHead(row, 0, 0);
        put32(rk, (static_cast<std::uint32_t>(r) << 2) | 2u);
        record(sheet, 0x027E, rk);
        std::string label = cellHead(row, 1, 0);
        put32(label, static_cast<std::uint32_t>(r % 8));
        record(sheet, 0x00FD, label);
        std::string amount = cellHead(row, 2, 0);
        putDouble(amount, r * 1.25 + 0.1);
        record(sheet, 0x0203, amount);
        std::string when = cellHead(row, 3, 1);
        putDouble(when, 40000 + r % 5000);
        record(sheet, 0x0203, when);
    }
    record(sheet, 0x000A, "");
    return globals + sheet;
}

// A compound file holding one stream "Workbook": FAT sectors, one directory
// sector, then the stream; no small-stream area.
std::string compoundFile(const std::string& stream) {
    const std::size_t ss = 512, per = ss / 4;
    const std::size_t streamSectors = (stream.size() + ss - 1) / ss;
    std::size_t fatSectors = 1;
    while (fatSectors * per < fatSectors + 1 + streamSectors) ++fatSectors;
    if (fatSectors > 109) throw std::runtime_error("stream too large for this writer");
    const std::size_t dirSector = fatSectors, first = fatSectors + 1;

    std::string header(512, '\0');
    const unsigned char sig[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
    std::memcpy(header.data(), sig, 8);
    auto set16 = [&](std::size_t at, std::uint16_t v) { std::memcpy(&header[at], &v, 2); };
    auto set32 = [&](std::size_t at, std::uint32_t v) { std::memcpy(&header[at], &v, 4); };
    set16(0x18, 0x3E);
    set16(0x1A, 3);
    set16(0x1C, 0xFFFE);
    set16(0x1E, 9);
    set16(0x20, 6);
    set32(0x2C, static_cast<std::uint32_t>(fatSectors));
    set32(0x30, static_cast<std::uint32_t>(dirSector));
    set32(0x38, 4096);
    set32(0x3C, 0xFFFFFFFE);
    set32(0x44, 0xFFFFFFFE);
    for (std::size_t i = 0; i < 109; ++i)
        set32(0x4C + 4 * i, i < fatSectors ? static_cast<std::uint32_t>(i) : 0xFFFFFFFF);

    std::string fat;
    for (std::size_t i = 0; i < fatSectors; ++i) put32(fat, 0xFFFFFFFD);
    put32(fat, 0xFFFFFFFE);  // the directory
    for (std::size_t i = 0; i < streamSectors; ++i)
        put32(fat, i + 1 < streamSectors ? static_cast<std::uint32_t>(first + i + 1) : 0xFFFFFFFE);
    fat.resize(fatSectors * ss, '\xFF');

    auto entry = [](const std::u16string& name, std::uint8_t type, std::uint32_t start,
                    std::uint32_t size, std::uint32_t child) {
        std::string e(128, '\0');
        for (std::size_t i = 0; i < name.size(); ++i) {
            e[2 * i] = static_cast<char>(name[i] & 0xFF);
            e[2 * i + 1] = static_cast<char>(name[i] >> 8);
        }
        const std::uint16_t len = static_cast<std::uint16_t>((name.size() + 1) * 2);
        std::memcpy(&e[0x40], &len, 2);
        e[0x42] = static_cast<char>(type);
        e[0x43] = 1;
        const std::uint32_t none = 0xFFFFFFFF;
        std::memcpy(&e[0x44], &none, 4);
        std::memcpy(&e[0x48], &none, 4);
        std::memcpy(&e[0x4C], &child, 4);
        std::memcpy(&e[0x74], &start, 4);
        std::memcpy(&e[0x78], &size, 4);
        return e;
    };
    std::string dir = entry(u"Root Entry", 5, 0xFFFFFFFE, 0, 1) +
                      entry(u"Workbook", 2, static_cast<std::uint32_t>(first),
                            static_cast<std::uint32_t>(stream.size()), 0xFFFFFFFF);
    dir.resize(ss, '\0');
    std::string body = stream;
    body.resize(streamSectors * ss, '\0');
    return header + fat + dir + body;
}

void BM_LoadWorksheet65536Rows(benchmark::State& state) {
    const auto path = std::filesystem::temp_directory_path() / "rowquill_bench_65536.xls";
    {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out << compoundFile(workbookStream(65536));
    }
    for (auto _ : state) {
        auto db = rq::openExcelWorkbook(path.string(), {});
        rq::DataSheet sheet;
        rq::loadTable(*db, "Sheet$", sheet);
        if (sheet.rows() != 65536) state.SkipWithError("wrong row count");
        benchmark::DoNotOptimize(sheet);
    }
    state.counters["rows/s"] = benchmark::Counter(65535.0 * static_cast<double>(state.iterations()),
                                                  benchmark::Counter::kIsRate);
    std::filesystem::remove(path);
}
BENCHMARK(BM_LoadWorksheet65536Rows)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
