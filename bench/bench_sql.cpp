// The SQL engine joining two tables of 100,000 records each.
#include <benchmark/benchmark.h>

#include <string>

#include "datasource/database.h"
#include "datasource/sqlengine.h"

namespace {

class GeneratedDatabase : public rq::Database {
  public:
    explicit GeneratedDatabase(int rows) : rows_(rows) {}
    std::string name() const override { return "generated"; }
    std::vector<rq::CatalogEntry> catalog() override { return {{"Orders", 0}, {"Customers", 0}}; }
    std::vector<rq::Field> fields(const std::string& t) override {
        if (t == "Orders")
            return {{"OrderId", rq::kLong}, {"CustId", rq::kLong}, {"Amount", rq::kCurrency}};
        return {{"CustId", rq::kLong}, {"Name", rq::kText}, {"City", rq::kText}};
    }
    void read(const std::string& t, rq::RecordSink& sink) override {
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
    int rows_;
};

struct CountSink : rq::RecordSink {
    std::size_t rows = 0;
    void begin(const std::vector<rq::Field>&) override {}
    void row(const std::string_view*, std::size_t) override { ++rows; }
};

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
