// A database held in memory, for driving the window without a reader.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/dialogs.h"
#include "app/frmdata.h"
#include "datasource/database.h"

namespace rq::testing {

class FakeDatabase : public Database {
  public:
    std::vector<CatalogEntry> entries;
    std::vector<Field> columns;
    std::vector<std::vector<std::string>> records;
    bool failReading = false;
    std::vector<std::string> warnings;  // given to the sink before the records

    std::string name() const override { return "fake"; }
    std::vector<CatalogEntry> catalog() override { return entries; }
    std::vector<Field> fields(const std::string&) override { return columns; }
    void read(const std::string& table, RecordSink& sink) override {
        for (const std::string& w : warnings) sink.warning(w);
        sink.begin(columns);
        for (std::size_t i = 0; i < records.size(); ++i) {
            if (failReading && i == 1)
                throw DatabaseError("Could not read the table '" + table + "'.");
            std::vector<std::string_view> cells(records[i].begin(), records[i].end());
            sink.row(cells.data(), cells.size());
        }
        sink.end();
    }
};

// A table of `count` records with the fields ID and Name ("name 1", ...).
inline std::unique_ptr<FakeDatabase> makeFakeDatabase(int count) {
    auto db = std::make_unique<FakeDatabase>();
    db->entries = {{"MSysObjects", 0},   {"Orders", 0}, {"~TMP1", 0},
                   {"Order Details", 0}, {"Totals", 1}, {"msy", 0}};
    db->columns = {{"ID", kLong}, {"Name", kText}};
    for (int i = 1; i <= count; ++i)
        db->records.push_back({std::to_string(i), "name " + std::to_string(i)});
    return db;
}

// Opens a fake Access file of `count` records through File → Open.
inline void openFakeDatabase(ui::Frmdata& w, int count,
                             std::function<void(FakeDatabase&)> adjust = {}) {
    w.setDatabaseOpener([=](const std::string&, const std::string&, const OpenOptions&) {
        auto db = makeFakeDatabase(count);
        if (adjust) adjust(*db);
        return std::unique_ptr<Database>(std::move(db));
    });
    ui::Dialogs::setNextFileName("/data/shop.mdb");
    w.action("mnuDBOMDB")->trigger();
}

}  // namespace rq::testing
