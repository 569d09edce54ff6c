// Damaged copies of every sample file, cut short and with flipped bits, must
// give data or a DatabaseError, never a crash or a hang; loops in the chains a
// Btrieve file keeps are reported.

#include <algorithm>
#include <functional>
#include <random>

#include "datasource/btrieve/btrievefile.h"
#include "datasource/readers.h"
#include "reader_test_support.h"

using namespace rq;
namespace fs = std::filesystem;

namespace {

const fs::path kFixtures = ROWQUILL_FIXTURES;

using rq::testing::slurp;

std::string lowerExtension(const fs::path& p) {
    std::string e = p.extension().string();
    for (auto& c : e) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return e;
}

// Cuts at several lengths, then copies with one to eight flipped bits; half of
// the flips land in the first headSpan bytes, where the counts and offsets are.
std::vector<std::string> damagedCopies(const std::string& bytes, std::mt19937& rng, int flipped,
                                       std::size_t headSpan) {
    std::vector<std::string> out;
    for (std::size_t cut :
         {std::size_t{0}, std::size_t{1}, std::size_t{31}, std::size_t{100}, std::size_t{511},
          std::size_t{1500}, bytes.size() / 3, bytes.size() / 2, bytes.size() - 1})
        if (cut < bytes.size()) out.push_back(bytes.substr(0, cut));
    for (int k = 0; k < flipped && !bytes.empty(); ++k) {
        std::string b = bytes;
        for (int f = 0; f < 1 + k % 8; ++f) {
            const std::size_t span = f % 2 ? b.size() : std::min(b.size(), headSpan);
            b[rng() % span] ^= static_cast<char>(1u << (rng() % 8));
        }
        out.push_back(std::move(b));
    }
    return out;
}

// Opens the scratch folder and reads every table; counts the outcomes. An
// opener that reads by itself gives no database.
void readEverything(const std::function<std::unique_ptr<Database>()>& open, int& ok, int& failed) {
    try {
        auto db = open();
        if (!db) ++ok;
        if (!db) return;
        for (const auto& e : db->catalog()) {
            try {
                rq::testing::TableSink sink;
                db->read(e.name, sink);
                for (const auto& row : sink.rows) ASSERT_EQ(row.size(), sink.fields.size());
                ++ok;
            } catch (const DatabaseError& err) {
                EXPECT_STRNE(err.what(), "");
                ++failed;
            }
        }
    } catch (const DatabaseError&) {
        ++failed;
    }
}

struct Kind {
    const char* name;
    std::vector<const char*> folders;
    std::vector<std::string> extensions;
    std::vector<std::string> companions;  // files of the same stem copied along; "*": all
    int flipped;
    std::size_t headSpan;
    std::function<std::unique_ptr<Database>(const fs::path& folder, const fs::path& file)> open;
};

// clang-format off
const Kind kKinds[] = {
    {"dbase", {"dbase", "foxpro"}, {".dbf"}, {".dbt", ".fpt"}, 12, 0x100,
     [](const fs::path& dir, const fs::path&) { return openDbaseFolder(dir.string(), {}); }},
    // The protected samples share these passwords, so that unscrambling meets the damage too.
    {"paradox", {"paradox"}, {".db"}, {".mb"}, 12, 0x100,
     [](const fs::path& dir, const fs::path&) {
         return openParadoxFolder(dir.string(), {.password = "123"}); }},
    {"access", {"access"}, {".mdb", ".accdb"}, {}, 6, 0x100,
     [](const fs::path&, const fs::path& file) {
         return openAccessDatabase(file.string(), {.password = "abcd1234"}); }},
    {"excel", {"excel"}, {".xls"}, {}, 40, 0x100,
     [](const fs::path&, const fs::path& file) { return openExcelWorkbook(file.string(), {}); }},
    {"lotus", {"lotus"}, {".wk1", ".wk3", ".wk4"}, {}, 40, 0x100,
     [](const fs::path& dir, const fs::path& file) {
         return openLotusFolder(dir.string(), lowerExtension(file).substr(1), {}); }},
    // A data file alone, without a dictionary.
    {"btrieve", {"btrieve"}, {".dat", ".ddf", ".btr"}, {}, 60, 512,
     [](const fs::path&, const fs::path& file) -> std::unique_ptr<Database> {
         btrieve::DataFile::open(file.string()).forEachRecord([](std::string_view) {});
         return nullptr; }},
    // Each file of a dictionary's folder damaged in turn, read through the dictionary.
    {"dictionary", {"btrieve/doclife"}, {".ddf", ".dat"}, {"*"}, 4, 0x100,
     [](const fs::path& dir, const fs::path&) {
         return openBtrieveDictionary((dir / "FILE.DDF").string(), {.password = {}, .codepage = 866}); }},
};
// clang-format on

class DamagedSamples : public ::testing::TestWithParam<Kind> {};

TEST_P(DamagedSamples, GiveDataOrErrors) {
    const Kind& kind = GetParam();
    rq::testing::ScratchFolder scratchFolder;
    const fs::path& scratch = scratchFolder.path();
    std::mt19937 rng(12345);
    int tables = 0, ok = 0, failed = 0;
    for (const char* folder : kind.folders) {
        if (!fs::exists(kFixtures / folder)) GTEST_SKIP() << "no fixtures at " << folder;
        for (const auto& entry : fs::recursive_directory_iterator(kFixtures / folder)) {
            const fs::path& table = entry.path();
            const auto& exts = kind.extensions;
            if (std::find(exts.begin(), exts.end(), lowerExtension(table)) == exts.end()) continue;
            SCOPED_TRACE(table.string());
            ++tables;
            const auto& with = kind.companions;
            std::vector<fs::path> companions;
            for (const auto& c : fs::directory_iterator(table.parent_path()))
                if (c.path() != table && c.is_regular_file() &&
                    ((with.size() == 1 && with[0] == "*") ||
                     (c.path().stem() == table.stem() &&
                      std::find(with.begin(), with.end(), lowerExtension(c.path())) != with.end())))
                    companions.push_back(c.path());
            for (const std::string& copy :
                 damagedCopies(slurp(table), rng, kind.flipped, kind.headSpan)) {
                fs::remove_all(scratch);
                fs::create_directories(scratch);
                const fs::path file = scratch / table.filename();
                std::ofstream(file, std::ios::binary) << copy;
                for (const fs::path& c : companions) fs::copy_file(c, scratch / c.filename());
                readEverything([&] { return kind.open(scratch, file); }, ok, failed);
            }
        }
    }
    EXPECT_GT(tables, 0);
    EXPECT_GT(failed, 0);  // cut headers must be refused
    EXPECT_GT(ok, 0);      // and a flipped data byte still gives data
}

INSTANTIATE_TEST_SUITE_P(Readers, DamagedSamples, ::testing::ValuesIn(kKinds),
                         [](const ::testing::TestParamInfo<Kind>& i) { return i.param.name; });

// ------------------------------------------------------------ Btrieve

const fs::path kBtrieve = kFixtures / "btrieve";

TEST(BtrieveDamage, LoopsInTheChainsAreReported) {
    if (!fs::exists(kBtrieve)) GTEST_SKIP() << "no fixtures at " << kBtrieve;
    struct Patch {
        const char* file;
        std::size_t at;
        std::string before, after;
    };
    const Patch patches[] = {
        // The deleted-record chain: the unused fifth slot of the data page
        // (0xB6E) pointing at itself, and the chain starting there (two
        // words, high word first).
        {"wbtrv32/MBBSEMU.DAT", 0xB6E, "", std::string("\x00\x00\x6E\x0B", 4)},
        // A 5.x variable part: page 1151 holds a chained first fragment; its
        // next pointer names the fragment itself.
        {"wbtrv32/VARIABLE.DAT", 1151 * 512 + 0x0C, std::string("\x00\x7E\x04\x00", 4),
         std::string("\x00\x7F\x04\x00", 4)},
        // A 6.x variable part: logical page 8 sits at physical page 16; its
        // fragment 4 ends the chain, and is pointed at itself.
        {"wbtrv32/WGSMENU2.DAT", 16 * 4096 + 0x24, std::string(4, '\xFF'),
         std::string("\x00\x08\x00\x04", 4)},
    };
    for (const Patch& p : patches) {
        SCOPED_TRACE(p.file);
        std::string bytes = slurp(kBtrieve / p.file);
        if (!p.before.empty()) {
            ASSERT_EQ(bytes.substr(p.at, 4), p.before);
        } else {
            bytes.replace(0x10, 4, p.after);
        }
        bytes.replace(p.at, 4, p.after);
        const std::string error =
            rq::testing::errorOf([&] { btrieve::DataFile::fromBytes(bytes, "damaged").records(); });
        EXPECT_NE(error.find("loops"), std::string::npos) << error;
    }
}

}  // namespace
