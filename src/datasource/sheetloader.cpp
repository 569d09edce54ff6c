#include "datasource/sheetloader.h"

namespace rq {

void SheetSink::begin(const std::vector<Field>& fields) {
    fields_ = fields;
    std::vector<std::string> names;
    names.reserve(fields.size());
    for (const auto& f : fields) names.push_back(f.name);
    sheet_.reset(names);
}

void SheetSink::row(const std::string_view* cells, std::size_t count) {
    sheet_.appendRecord(cells, count);
}

std::vector<Field> loadTable(Database& db, const std::string& table, DataSheet& sheet,
                             std::vector<std::string>* warnings) {
    DataSheet fresh;
    SheetSink sink(fresh);
    db.read(table, sink);
    sheet = std::move(fresh);
    if (warnings) warnings->insert(warnings->end(), sink.warnings().begin(), sink.warnings().end());
    return sink.fields();
}

std::vector<Field> loadQuery(Database& db, const std::string& statement, DataSheet& sheet,
                             std::vector<std::string>* warnings) {
    DataSheet fresh;
    SheetSink sink(fresh);
    db.query(statement, sink);
    sheet = std::move(fresh);
    if (warnings) warnings->insert(warnings->end(), sink.warnings().begin(), sink.warnings().end());
    return sink.fields();
}

}  // namespace rq
