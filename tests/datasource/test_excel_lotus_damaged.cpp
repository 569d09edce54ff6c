// Damaged copies of every sample spreadsheet: cut short and with flipped bits.
// Each must give data or a DatabaseError, never a crash or a hang.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>

#include "datasource/readers.h"
#include "excel_test_support.h"

using namespace rq;
namespace fs = std::filesystem;

namespace {

std::vector<fs::path> samples(const fs::path& dir, std::initializer_list<const char*> exts) {
    std::vector<fs::path> out;
    std::error_code ec;
    for (fs::recursive_directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        std::string ext = it->path().extension().string();
        for (auto& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        for (const char* e : exts)
            if (ext == e) out.push_back(it->path());
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<std::string> damagedCopies(const std::string& bytes, unsigned seed) {
    std::vector<std::string> out;
    for (double cut : {0.0, 0.01, 0.1, 0.33, 0.5, 0.77, 0.9, 0.99})
        out.push_back(bytes.substr(0, static_cast<std::size_t>(bytes.size() * cut)));
    std::mt19937 rng(seed);
    for (int k = 0; k < 40 && !bytes.empty(); ++k) {
        std::string b = bytes;
        const int flips = 1 + k % 8;
        for (int f = 0; f < flips; ++f) b[rng() % b.size()] ^= static_cast<char>(1u << (rng() % 8));
        out.push_back(std::move(b));
    }
    return out;
}

// Opens and reads everything; counts the outcomes.
void openAndReadAll(const std::function<std::unique_ptr<Database>()>& open, int& ok, int& failed) {
    try {
        auto db = open();
        for (const auto& e : db->catalog()) {
            try {
                rq::testing::TableSink sink;
                db->read(e.name, sink);
                for (const auto& row : sink.rows) ASSERT_EQ(row.size(), sink.fields.size());
                ++ok;
            } catch (const DatabaseError&) {
                ++failed;
            }
        }
    } catch (const DatabaseError&) {
        ++failed;
    }
}

}  // namespace

TEST(SpreadsheetDamage, ExcelCopiesGiveDataOrErrors) {
    const fs::path dir = fs::path(ROWQUILL_FIXTURES) / "excel";
    if (!fs::exists(dir)) GTEST_SKIP() << "sample files not found at " << dir;
    const fs::path tmp = fs::temp_directory_path() / "rowquill_excel_damage";
    fs::remove_all(tmp);
    fs::create_directories(tmp);
    int ok = 0, failed = 0;
    unsigned seed = 1;
    for (const auto& file : samples(dir, {".xls"})) {
        SCOPED_TRACE(file.string());
        for (const std::string& copy : damagedCopies(slurp(file), seed++)) {
            const fs::path target = tmp / "copy.xls";
            std::ofstream(target, std::ios::binary | std::ios::trunc) << copy;
            openAndReadAll([&] { return openExcelWorkbook(target.string(), {}); }, ok, failed);
        }
    }
    fs::remove_all(tmp);
    EXPECT_GT(ok, 0);
    EXPECT_GT(failed, 0);
}

TEST(SpreadsheetDamage, LotusCopiesGiveDataOrErrors) {
    const fs::path dir = fs::path(ROWQUILL_FIXTURES) / "lotus";
    if (!fs::exists(dir)) GTEST_SKIP() << "sample files not found at " << dir;
    const fs::path tmp = fs::temp_directory_path() / "rowquill_lotus_damage";
    int ok = 0, failed = 0;
    unsigned seed = 1000;
    for (const auto& file : samples(dir, {".wk1", ".wk3", ".wk4"})) {
        SCOPED_TRACE(file.string());
        std::string ext = file.extension().string().substr(1);
        for (auto& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        for (const std::string& copy : damagedCopies(slurp(file), seed++)) {
            fs::remove_all(tmp);
            fs::create_directories(tmp);
            std::ofstream(tmp / ("copy." + ext), std::ios::binary) << copy;
            openAndReadAll([&] { return openLotusFolder(tmp.string(), ext, {}); }, ok, failed);
        }
    }
    fs::remove_all(tmp);
    EXPECT_GT(ok, 0);
    EXPECT_GT(failed, 0);
}
