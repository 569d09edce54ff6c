#include <algorithm>
#include <cctype>

#include "datasource/database.h"
#include "datasource/sqlengine.h"

namespace rq {

void Database::query(const std::string& statement, RecordSink& sink) {
    runSqlOverDatabase(*this, statement, sink);
}

bool isListedName(std::string_view name) {
    if (!name.empty() && name.front() == '~') return false;
    if (name.size() >= 4) {
        std::string head;
        for (int i = 0; i < 4; ++i)
            head += static_cast<char>(std::toupper(static_cast<unsigned char>(name[i])));
        if (head == "MSYS") return false;
    }
    return true;
}

std::vector<CatalogEntry> listedCatalog(Database& db) {
    std::vector<CatalogEntry> all = db.catalog();
    std::vector<CatalogEntry> out;
    for (auto& e : all)
        if (isListedName(e.name)) out.push_back(std::move(e));
    // Tables before stored queries, each group in the database's own order.
    std::stable_partition(out.begin(), out.end(),
                          [](const CatalogEntry& e) { return e.marker == 0; });
    return out;
}

}  // namespace rq
