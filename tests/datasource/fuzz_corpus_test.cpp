// Replays every input kept under fuzz/corpus/<target>-*/ (the crashes the fuzz
// targets found) through the same reading the target does, with the readers
// as the programs use them. Each must give data or a DatabaseError. Every
// input runs in a child process, so that one that still crashes fails the
// test by name instead of ending the test program.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "datasource/isolatedread.h"
#include "fuzzinputs.h"

namespace rq {
namespace {

namespace fs = std::filesystem;

TEST(FuzzCorpus, EveryKeptInputGivesDataOrAnError) {
    const fs::path root = ROWQUILL_FUZZ_CORPUS;
    if (!fs::exists(root)) GTEST_SKIP() << "no corpus at " << root;
    setIsolatedReads(true);
    // Made here, so that the children share it and it is removed at the end.
    const fs::path scratch = fuzz::scratchFolder();
    std::size_t replayed = 0;
    for (const auto& dir : fs::directory_iterator(root)) {
        if (!dir.is_directory()) continue;
        const std::string folder = dir.path().filename().string();
        const std::string target = folder.substr(0, folder.find('-'));
        const auto it = fuzz::targets().find(target);
        if (it == fuzz::targets().end()) {
            ADD_FAILURE() << "no fuzz target reads the folder " << folder;
            continue;
        }
        std::vector<fs::path> files;
        for (const auto& f : fs::directory_iterator(dir.path()))
            if (f.is_regular_file()) files.push_back(f.path());
        std::sort(files.begin(), files.end());
        for (const fs::path& file : files) {
            std::ifstream in(file, std::ios::binary);
            const std::string bytes((std::istreambuf_iterator<char>(in)), {});
            struct Printed : RecordSink {
                std::string text;
                void begin(const std::vector<Field>&) override {}
                void row(const std::string_view*, std::size_t) override {}
                void warning(const std::string& w) override { text += w + "\n"; }
            } printed;
            try {
                readIsolated(
                    file.string(), [&](RecordSink&) { it->second(bytes); }, printed);
            } catch (const DatabaseError& e) {
                ADD_FAILURE() << e.what() << "\n" << printed.text;
            }
            ++replayed;
        }
    }
    fs::remove_all(scratch);
    RecordProperty("replayed", static_cast<int>(replayed));
}

}  // namespace
}  // namespace rq
