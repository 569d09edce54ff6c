// Damaged Btrieve files: truncated and bit-flipped copies of every sample must
// give records or a DatabaseError, never a crash or a hang; loops in the chains
// a file keeps are reported.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

#include "datasource/btrieve/btrievefile.h"
#include "datasource/database.h"

using rq::DatabaseError;
using rq::btrieve::DataFile;
namespace fs = std::filesystem;

namespace {

fs::path fixtures() {
    return fs::path(ROWQUILL_FIXTURES) / "btrieve";
}

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

std::vector<fs::path> btrieveFixtures() {
    std::vector<fs::path> out;
    for (const char* folder : {"doclife", "wbtrv32", "ccc-fibu"})
        for (const auto& e : fs::directory_iterator(fixtures() / folder)) {
            std::string ext = e.path().extension().string();
            if (ext == ".DAT" || ext == ".DDF" || ext == ".BTR") out.push_back(e.path());
        }
    std::sort(out.begin(), out.end());
    return out;
}

// Either records or a DatabaseError; anything else fails the test.
void readAll(const std::string& bytes, const std::string& name) {
    try {
        DataFile f = DataFile::fromBytes(bytes, name);
        std::size_t n = 0;
        f.forEachRecord([&](std::string_view) { ++n; });
    } catch (const DatabaseError&) {
    }
}

std::string expectError(const std::string& bytes) {
    try {
        DataFile::fromBytes(bytes, "damaged").records();
    } catch (const DatabaseError& e) {
        return e.what();
    }
    return "no error";
}

struct Rng {
    std::uint64_t s;
    std::uint64_t next() {
        s ^= s << 13;
        s ^= s >> 7;
        s ^= s << 17;
        return s;
    }
};

}  // namespace

TEST(BtrieveDamage, TruncatedAndBitFlippedCopiesOfEverySample) {
    if (!fs::exists(fixtures())) GTEST_SKIP() << "no fixtures at " << fixtures();
    auto files = btrieveFixtures();
    ASSERT_GE(files.size(), 30u);
    Rng rng{0x9E3779B97F4A7C15ULL};
    for (const auto& path : files) {
        SCOPED_TRACE(path.string());
        const std::string bytes = slurp(path);
        for (std::size_t cut :
             {std::size_t{0}, std::size_t{100}, std::size_t{511}, std::size_t{512},
              std::size_t{1500}, bytes.size() / 2, bytes.size() - 1})
            if (cut < bytes.size()) readAll(bytes.substr(0, cut), path.string());
        for (int variant = 0; variant < 150; ++variant) {
            std::string copy = bytes;
            int flips = 1 + static_cast<int>(rng.next() % 8);
            for (int i = 0; i < flips; ++i) {
                // Half of the flips hit the control record, where they do most harm.
                std::size_t span =
                    (i % 2 == 0) ? std::min<std::size_t>(copy.size(), 512) : copy.size();
                std::size_t at = rng.next() % span;
                copy[at] = static_cast<char>(copy[at] ^ (1 << (rng.next() % 8)));
            }
            readAll(copy, path.string());
        }
    }
}

TEST(BtrieveDamage, LoopInTheDeletedRecordChainIsReported) {
    if (!fs::exists(fixtures())) GTEST_SKIP() << "no fixtures at " << fixtures();
    std::string bytes = slurp(fixtures() / "wbtrv32/MBBSEMU.DAT");
    // Point the chain at the unused fifth slot of the data page (0xB6E) and
    // that slot at itself (addresses are two words, high word first).
    const char self[4] = {0x00, 0x00, 0x6E, 0x0B};
    bytes.replace(0x10, 4, self, 4);
    bytes.replace(0xB6E, 4, self, 4);
    EXPECT_NE(expectError(bytes).find("loops"), std::string::npos);
}

TEST(BtrieveDamage, LoopInAFiveXVariablePartIsReported) {
    if (!fs::exists(fixtures())) GTEST_SKIP() << "no fixtures at " << fixtures();
    std::string bytes = slurp(fixtures() / "wbtrv32/VARIABLE.DAT");
    // Page 1151 (0x47F) holds the chained first fragment of a long record;
    // make its next pointer name the fragment itself.
    const std::size_t fragment = 1151 * 512 + 0x0C;
    ASSERT_EQ(bytes.substr(fragment, 4), std::string("\x00\x7E\x04\x00", 4));
    bytes.replace(fragment, 4, std::string("\x00\x7F\x04\x00", 4));
    EXPECT_NE(expectError(bytes).find("loops"), std::string::npos);
}

TEST(BtrieveDamage, LoopInASixXVariablePartIsReported) {
    if (!fs::exists(fixtures())) GTEST_SKIP() << "no fixtures at " << fixtures();
    std::string bytes = slurp(fixtures() / "wbtrv32/WGSMENU2.DAT");
    // Logical variable page 8 sits at physical page 16; its fragment 4 starts
    // at 0x24 with an end-of-chain pointer. Point it at itself.
    const std::size_t fragment = 16 * 4096 + 0x24;
    ASSERT_EQ(bytes.substr(fragment, 4), std::string(4, '\xFF'));
    bytes.replace(fragment, 4, std::string("\x00\x08\x00\x04", 4));
    EXPECT_NE(expectError(bytes).find("loops"), std::string::npos);
}

TEST(BtrieveDamage, DamagedDictionaryFolderOpensOrFailsCleanly) {
    if (!fs::exists(fixtures())) GTEST_SKIP() << "no fixtures at " << fixtures();
    fs::path dir = fs::temp_directory_path() / ("rq_btrieve_damage_" + std::to_string(::getpid()));
    Rng rng{12345};
    for (int variant = 0; variant < 40; ++variant) {
        fs::remove_all(dir);
        fs::create_directories(dir);
        for (const auto& e : fs::directory_iterator(fixtures() / "doclife")) {
            std::string bytes = slurp(e.path());
            if (rng.next() % 3 == 0) {
                for (int i = 0; i < 4; ++i) {
                    std::size_t at = rng.next() % bytes.size();
                    bytes[at] = static_cast<char>(bytes[at] ^ (1 << (rng.next() % 8)));
                }
            }
            if (rng.next() % 10 == 0) bytes.resize(rng.next() % bytes.size());
            std::ofstream(dir / e.path().filename(), std::ios::binary) << bytes;
        }
        try {
            rq::OpenOptions o;
            o.codepage = 866;
            auto db = rq::openFileDatabase("Btrieve;", (dir / "FILE.DDF").string(), o);
            for (const auto& t : db->catalog()) {
                struct Count : rq::RecordSink {
                    void begin(const std::vector<rq::Field>&) override {}
                    void row(const std::string_view*, std::size_t) override {}
                } sink;
                try {
                    db->read(t.name, sink);
                } catch (const DatabaseError&) {
                }
            }
        } catch (const DatabaseError&) {
        }
    }
    fs::remove_all(dir);
}
