// A private folder removed with everything in it, and small file helpers.
#pragma once

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace rq::scratch {

struct TempDir {
    TempDir() {
        std::string templ = (std::filesystem::temp_directory_path() / "rqtestXXXXXX").string();
        path = ::mkdtemp(templ.data());
    }
    ~TempDir() { std::filesystem::remove_all(path); }
    std::filesystem::path operator/(const std::string& s) const { return path / s; }
    std::string str() const { return path.string(); }
    std::filesystem::path path;
};

inline std::string slurp(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// The names in the folder, sorted.
inline std::vector<std::string> listing(const std::filesystem::path& dir) {
    std::vector<std::string> names;
    for (auto& e : std::filesystem::directory_iterator(dir))
        names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace rq::scratch
