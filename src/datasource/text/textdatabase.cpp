#include "datasource/readers.h"

namespace rq {

std::unique_ptr<Database> openTextFolder(const std::string& folder, const OpenOptions&) {
    throw DatabaseError("Opening " + folder + ": this kind of database cannot be read yet.",
                        kErrNotBuilt);
}

}  // namespace rq
