#include "datasource/readers.h"

namespace rq {

std::unique_ptr<Database> openBtrieveDictionary(const std::string& file, const OpenOptions&) {
    throw DatabaseError("Opening " + file + ": this kind of database cannot be read yet.",
                        kErrNotBuilt);
}

}  // namespace rq
