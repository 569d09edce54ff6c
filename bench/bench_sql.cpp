// The SQL engine: filtering a table of a million records (with the memory it
// takes beyond the table's own text), and joining two tables of 100,000 records.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <string>

#include "datasource/database.h"
#include "datasource/sqlengine.h"

namespace {

class GeneratedDatabase : public rq::Database {
  public:
    explicit GeneratedDatabase(int rows) : rows_(rows) {}
    std::string name() const override { return "generated"; }
    std::vector<rq::CatalogEntry> catalog() override {
        return {{"Orders", 0}, {"Customers", 0}, {"Lines", 0}};
    }
    std::vector<rq::Field> fields(const std::string& t) override {
        if (t == "Lines")
            return {{"Id", rq::kLong},      {"Item", rq::kText},        {"Qty", rq::kInteger},
                    {"Price", rq::kDouble}, {"Shipped", rq::kDateTime}, {"Note", rq::kText}};
        if (t == "Orders")
            return {{"OrderId", rq::kLong}, {"CustId", rq::kLong}, {"Amount", rq::kCurrency}};
        return {{"CustId", rq::kLong}, {"Name", rq::kText}, {"City", rq::kText}};
    }
    void read(const std::string& t, rq::RecordSink& sink) override {
        if (t == "Lines") return readLines(sink);
        sink.begin(fields(t));
        std::string a, b, c;
        for (int i = 0; i < rows_; ++i) {
            if (t == "Orders") {
                a = std::to_string(i);
                b = std::to_string((i * 7919) % rows_);
                c = std::to_string(i % 1000) + ".25";
            } else {
                a = std::to_string(i);
                b = "Customer " + std::to_string(i);
                c = "City " + std::to_string(i % 50);
            }
            std::string_view v[3] = {a, b, c};
            sink.row(v, 3);
        }
        sink.end();
    }

  private:
    // About 60 bytes of text a record, like a CSV export of order lines.
    void readLines(rq::RecordSink& sink) {
        static const char* items[] = {"Bolt",  "Nut",     "Washer", "Screw 10mm",
                                      "Hinge", "Bracket", "Spring", "Rivet"};
        sink.begin(fields("Lines"));
        std::string v[6];
        for (int i = 0; i < rows_; ++i) {
            v[0] = std::to_string(i);
            v[1] = items[i % 8];
            v[2] = std::to_string((i * 7919) % 41);
            v[3] = std::to_string(i % 99999) + ".25";
            v[4] = "2024-" + std::to_string(10 + i % 3) + "-" + std::to_string(10 + i % 18);
            v[5] = "note " + std::to_string(i % 1000) + " for line";
            textBytes +=
                v[0].size() + v[1].size() + v[2].size() + v[3].size() + v[4].size() + v[5].size();
            std::string_view views[6] = {v[0], v[1], v[2], v[3], v[4], v[5]};
            sink.row(views, 6);
        }
        sink.end();
    }
    int rows_;

  public:
    std::size_t textBytes = 0;
};

struct CountSink : rq::RecordSink {
    std::size_t rows = 0;
    void begin(const std::vector<rq::Field>&) override {}
    void row(const std::string_view*, std::size_t) override { ++rows; }
};

double peakRssMB() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_maxrss) / 1024.0;
}

// Runs first, so that the peak resident size it reports is its own: the text
// of the table, what the engine holds it in, and the records that pass (they
// are counted, not kept).
void BM_FilterBigTable(benchmark::State& state) {
    GeneratedDatabase db(static_cast<int>(state.range(0)));
    const double before = peakRssMB();
    for (auto _ : state) {
        CountSink sink;
        rq::runSqlOverDatabase(db, "SELECT * FROM Lines WHERE Qty > 10", sink);
        state.counters["rows"] = static_cast<double>(sink.rows);
    }
    state.counters["peak_rss_growth_MB"] = peakRssMB() - before;
    state.counters["table_text_MB"] =
        static_cast<double>(db.textBytes) / state.iterations() / (1 << 20);
}
BENCHMARK(BM_FilterBigTable)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_JoinTwoTables(benchmark::State& state) {
    GeneratedDatabase db(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        CountSink sink;
        rq::runSqlOverDatabase(db,
                               "SELECT Orders.OrderId, Customers.Name, Orders.Amount FROM Orders "
                               "INNER JOIN Customers ON Orders.CustId = Customers.CustId "
                               "WHERE Customers.City Like 'City 1*'",
                               sink);
        benchmark::DoNotOptimize(sink.rows);
        state.counters["rows"] = static_cast<double>(sink.rows);
    }
}
BENCHMARK(BM_JoinTwoTables)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_JoinGroupOrder(benchmark::State& state) {
    GeneratedDatabase db(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        CountSink sink;
        rq::runSqlOverDatabase(db,
                               "SELECT Customers.City, Count(*), Sum(Orders.Amount) FROM Orders "
                               "INNER JOIN Customers ON Orders.CustId = Customers.CustId "
                               "GROUP BY Customers.City ORDER BY Customers.City",
                               sink);
        benchmark::DoNotOptimize(sink.rows);
    }
}
BENCHMARK(BM_JoinGroupOrder)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
