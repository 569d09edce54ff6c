#include "generate/folderchoice.h"

#include <filesystem>

#include "base/io/folders.h"

namespace rq {

namespace fs = std::filesystem;

namespace {

std::string withSlash(std::string path) {
    if (path.empty() || path.back() != '/') path += '/';
    return path;
}

}  // namespace

FolderChoice checkSelectedFolder(const std::string& currentFolder, const std::string& typedName) {
    FolderChoice choice;
    std::string name;
    for (char c : typedName)
        if (c != '\\' && c != '/') name += c;
    if (name.empty()) {
        choice.error = "Please Enter the name of the Folder";
        return choice;
    }
    choice.target = withSlash(currentFolder) + name;
    if (!isFolderEmpty(choice.target)) {
        choice.error = "The Folder " + choice.target +
                       "\n is not empty. Please choose a different folder or name.";
        return choice;
    }
    choice.ok = true;
    return choice;
}

std::string makeNewFolder(const std::string& currentFolder) {
    const std::string base = withSlash(currentFolder) + "New Folder";
    std::string candidate = base;
    std::error_code ec;
    for (int counter = 2; fs::exists(candidate, ec); ++counter) {
        if (counter > 100000) return {};
        candidate = base + " (" + std::to_string(counter) + ")";
    }
    if (!fs::create_directory(candidate, ec)) return {};
    return candidate;
}

std::string overwriteQuestion(const std::string& path) {
    return fs::path(path).filename().string() + " already exits, would you like to overwrite it?";
}

}  // namespace rq
