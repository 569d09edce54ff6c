// The rules of the folder chooser that receives separate files, and the
// question asked before a save replaces a file.
#pragma once

#include <string>

namespace rq {

struct FolderChoice {
    bool ok = false;
    std::string target;
    std::string error;
};
// The OK check of the folder chooser: "\" and "/" are removed from the typed
// name; an empty name gives "Please Enter the name of the Folder"; a target that
// exists and is not empty gives "The Folder " target "\n is not empty. Please
// choose a different folder or name.". Nothing is created here.
FolderChoice checkSelectedFolder(const std::string& currentFolder, const std::string& typedName);
// New Folder: currentFolder + "/New Folder", then "/New Folder (2)", (3), ...;
// creates it and returns it ("" when it could not be made).
std::string makeNewFolder(const std::string& currentFolder);

// "<file name> already exits, would you like to overwrite it?"
std::string overwriteQuestion(const std::string& path);

}  // namespace rq
