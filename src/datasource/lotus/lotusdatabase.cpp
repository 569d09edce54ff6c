#include "datasource/readers.h"

namespace rq {

std::unique_ptr<Database> openLotusFolder(const std::string& folder, const std::string&,
                                          const OpenOptions&) {
    throw DatabaseError("Opening " + folder + ": this kind of database cannot be read yet.",
                        kErrNotBuilt);
}

}  // namespace rq
