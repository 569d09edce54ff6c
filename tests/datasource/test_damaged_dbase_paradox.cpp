// Truncated and bit-flipped copies of every dBase, FoxPro and Paradox sample
// must give data or a DatabaseError, never a crash or a hang.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "datasource/readers.h"
#include "datasource/sheetloader.h"
#include "sheet/datasheet.h"

using namespace rq;
namespace fs = std::filesystem;

namespace {

const fs::path kFixtures = ROWQUILL_FIXTURES;

std::string readAll(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool hasExtension(const fs::path& p, const char* ext) {
    std::string e = p.extension().string();
    for (auto& c : e) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return e == ext;
}

// Loads every table of folder; counts loads and errors. Protected Paradox
// samples all have the password "123", so that their unscrambling is damaged too.
void loadEverything(bool paradox, const fs::path& folder, int& loads, int& errors) {
    OpenOptions options;
    if (paradox) options.password = "123";
    auto db = paradox ? openParadoxFolder(folder.string(), options)
                      : openDbaseFolder(folder.string(), options);
    for (const auto& e : db->catalog()) {
        DataSheet sheet;
        try {
            loadTable(*db, e.name, sheet);
            ++loads;
        } catch (const DatabaseError& err) {
            EXPECT_FALSE(std::string(err.what()).empty());
            ++errors;
        }
    }
}

// Each sample table, with its companions, is copied into a scratch folder and
// damaged there: cut at several lengths, and with bytes flipped at random.
void damageEach(bool paradox, const std::vector<std::string>& kinds) {
    const fs::path scratch =
        fs::temp_directory_path() / (std::string("rq_damaged_") + (paradox ? "px" : "dbf"));
    std::mt19937 random(12345);
    int loads = 0, errors = 0, tables = 0;
    for (const auto& kind : kinds) {
        if (!fs::exists(kFixtures / kind)) GTEST_SKIP() << "fixture folder missing: " << kind;
        for (const auto& entry : fs::recursive_directory_iterator(kFixtures / kind)) {
            const fs::path& table = entry.path();
            if (!hasExtension(table, paradox ? ".db" : ".dbf")) continue;
            ++tables;
            const std::string original = readAll(table);
            std::vector<std::pair<fs::path, std::string>> companions;
            for (const auto& c : fs::directory_iterator(table.parent_path()))
                if (c.path() != table && c.path().stem() == table.stem() &&
                    (hasExtension(c.path(), ".dbt") || hasExtension(c.path(), ".fpt") ||
                     hasExtension(c.path(), ".mb")))
                    companions.push_back({c.path().filename(), readAll(c.path())});
            std::vector<std::string> variants;
            for (std::size_t cut :
                 {std::size_t{0}, std::size_t{1}, std::size_t{31}, std::size_t{33},
                  std::size_t{100}, original.size() / 2, original.size() - 1})
                if (cut < original.size()) variants.push_back(original.substr(0, cut));
            for (int v = 0; v < 12; ++v) {
                std::string flipped = original;
                std::uniform_int_distribution<std::size_t> at(0, flipped.size() - 1);
                // Damage the header more often: that is where the counts live.
                std::uniform_int_distribution<std::size_t> head(
                    0, std::min<std::size_t>(flipped.size(), 0x100) - 1);
                for (int k = 0; k < 4; ++k) {
                    std::size_t i = (k % 2 ? at : head)(random);
                    flipped[i] = static_cast<char>(flipped[i] ^ (1 << (random() % 8)));
                }
                variants.push_back(std::move(flipped));
            }
            for (const auto& bytes : variants) {
                fs::remove_all(scratch);
                fs::create_directories(scratch);
                std::ofstream(scratch / table.filename(), std::ios::binary) << bytes;
                for (const auto& [name, content] : companions) {
                    std::string memo = content;
                    if (!memo.empty() && (random() % 2)) {
                        std::uniform_int_distribution<std::size_t> at(0, memo.size() - 1);
                        for (int k = 0; k < 8; ++k) memo[at(random)] ^= static_cast<char>(0x5A);
                    }
                    std::ofstream(scratch / name, std::ios::binary) << memo;
                }
                loadEverything(paradox, scratch, loads, errors);
            }
        }
    }
    fs::remove_all(scratch);
    EXPECT_GT(tables, 0);
    EXPECT_GT(errors, 0);  // cut headers must be refused
    EXPECT_GT(loads, 0);   // and a flipped data byte still gives data
}

}  // namespace

TEST(DamagedFiles, DbaseAndFoxProTablesNeverCrash) {
    damageEach(false, {"dbase", "foxpro"});
}

TEST(DamagedFiles, ParadoxTablesNeverCrash) {
    damageEach(true, {"paradox"});
}
