// Replays every input kept under fuzz/corpus/<target>-*/ (the crashes the fuzz
// targets found) through the target's own code, with the readers as the
// programs use them. Each must give data or a DatabaseError. Every input runs
// in a child process, so that one that still crashes fails the test by name
// instead of ending the test program.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>

#include "datasource/isolatedread.h"
#include "reader_test_support.h"

// The fuzz targets' entry points, compiled into this test under these names.
#define ROWQUILL_FUZZ_ENTRY(name) \
    extern "C" int fuzz_##name##_input(const std::uint8_t* data, std::size_t size);
ROWQUILL_FUZZ_ENTRY(access)
ROWQUILL_FUZZ_ENTRY(btrieve)
ROWQUILL_FUZZ_ENTRY(dbase)
ROWQUILL_FUZZ_ENTRY(excel)
ROWQUILL_FUZZ_ENTRY(layout)
ROWQUILL_FUZZ_ENTRY(lotus)
ROWQUILL_FUZZ_ENTRY(paradox)
ROWQUILL_FUZZ_ENTRY(text)

namespace rq {
namespace {

namespace fs = std::filesystem;

using Entry = int (*)(const std::uint8_t*, std::size_t);

const std::map<std::string, Entry> kTargets = {
    {"access", fuzz_access_input},   {"btrieve", fuzz_btrieve_input}, {"dbase", fuzz_dbase_input},
    {"excel", fuzz_excel_input},     {"layout", fuzz_layout_input},   {"lotus", fuzz_lotus_input},
    {"paradox", fuzz_paradox_input}, {"text", fuzz_text_input}};

TEST(FuzzCorpus, EveryKeptInputGivesDataOrAnError) {
    const fs::path root = ROWQUILL_FUZZ_CORPUS;
    if (!fs::exists(root)) GTEST_SKIP() << "no corpus at " << root;
    setIsolatedReads(true);
    // The targets' temporary files go here, and are removed at the end.
    const testing::ScratchFolder scratch;
    std::size_t replayed = 0;
    for (const auto& dir : fs::directory_iterator(root)) {
        if (!dir.is_directory()) continue;
        const std::string folder = dir.path().filename().string();
        const auto target = kTargets.find(folder.substr(0, folder.find('-')));
        if (target == kTargets.end()) {
            ADD_FAILURE() << "no fuzz target reads the folder " << folder;
            continue;
        }
        std::vector<fs::path> files;
        for (const auto& f : fs::directory_iterator(dir.path()))
            if (f.is_regular_file()) files.push_back(f.path());
        std::sort(files.begin(), files.end());
        for (const fs::path& file : files) {
            const std::string bytes = testing::slurp(file);
            testing::TableSink printed;  // the warnings: what the target printed
            try {
                readIsolated(
                    file.string(),
                    [&](RecordSink&) {
                        ::setenv("TMPDIR", scratch.path().c_str(), 1);
                        target->second(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                       bytes.size());
                    },
                    printed);
            } catch (const DatabaseError& e) {
                ADD_FAILURE() << file << ": " << e.what() << "\n"
                              << testing::joined(printed.warnings);
            }
            ++replayed;
        }
    }
    RecordProperty("replayed", static_cast<int>(replayed));
}

}  // namespace
}  // namespace rq
