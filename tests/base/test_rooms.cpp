// The rooms depend on each other one way only, and only the window includes Qt.
// The build refuses most upward includes already (each room compiles against
// an include root holding only itself and the rooms below it); this test reads
// the sources so that a header-only include across rooms fails too.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

const std::map<std::string, std::set<std::string>>& allowedRooms() {
    static const std::map<std::string, std::set<std::string>> rooms = {
        {"base", {}},
        {"sheet", {"base"}},
        {"layout", {"base", "sheet"}},
        {"generate", {"base", "sheet", "layout"}},
        {"datasource", {"base", "sheet"}},
        {"query", {"base", "sheet", "datasource"}},
        {"tabledef", {"base", "sheet", "layout"}},
        {"cli", {"base", "sheet", "layout", "generate", "datasource", "query", "tabledef"}},
    };
    return rooms;
}

// Every include in src/ that runs against the rooms' direction, and every Qt
// include outside app/, as "file:line text".
std::vector<std::string> wrongIncludes(const fs::path& src) {
    static const std::regex include(R"(^\s*#\s*include\s*([<"])([^">]+)[">])");
    static const std::regex qt(R"(^(Q[A-Za-z]+(/|$)|qt))");
    std::vector<std::string> bad;
    for (const auto& entry : fs::recursive_directory_iterator(src)) {
        if (!entry.is_regular_file()) continue;
        const std::string ext = entry.path().extension().string();
        if (ext != ".h" && ext != ".cpp" && ext != ".hpp" && ext != ".cc") continue;
        const std::string room = fs::relative(entry.path(), src).begin()->string();
        if (room == "app") continue;
        auto allowed = allowedRooms().find(room);
        std::ifstream in(entry.path());
        std::string line;
        for (int n = 1; std::getline(in, line); ++n) {
            std::smatch m;
            if (!std::regex_search(line, m, include)) continue;
            const std::string target = m[2];
            const std::string where = entry.path().string() + ":" + std::to_string(n) + " " + line;
            if (m[1] == "<" && std::regex_search(target, qt)) bad.push_back(where);
            auto slash = target.find('/');
            if (slash == std::string::npos || allowed == allowedRooms().end()) continue;
            const std::string to = target.substr(0, slash);
            if (to == room) continue;
            if (to == "app" || (allowedRooms().count(to) && !allowed->second.count(to)))
                bad.push_back(where);
        }
    }
    return bad;
}

}  // namespace

TEST(Rooms, NoIncludeRunsUpwardAndNoQtOutsideTheWindow) {
    const fs::path src = fs::path(ROWQUILL_SOURCE_DIR) / "src";
    ASSERT_TRUE(fs::is_directory(src)) << src;
    std::vector<std::string> bad = wrongIncludes(src);
    std::string list;
    for (const auto& b : bad) list += b + "\n";
    EXPECT_TRUE(bad.empty()) << list;
}

TEST(Rooms, TheCheckSeesAnUpwardInclude) {
    // A throwaway tree with one include from sheet into generate and one Qt
    // include in layout: both must be reported, the allowed one not.
    const fs::path root = fs::temp_directory_path() / ("rooms-check-" + std::to_string(::getpid()));
    fs::create_directories(root / "sheet");
    fs::create_directories(root / "layout");
    std::ofstream(root / "sheet" / "a.cpp") << "#include \"generate/x.h\"\n#include \"base/y.h\"\n";
    std::ofstream(root / "layout" / "b.h") << "#include <QString>\n#include \"sheet/z.h\"\n";
    std::vector<std::string> bad = wrongIncludes(root);
    fs::remove_all(root);
    ASSERT_EQ(bad.size(), 2u);
}
