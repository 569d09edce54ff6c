// Reading stopped half-way: by the receiver of the rows while the driver is
// already fetching the next block, and by the server while rows are in flight.
// Either way the error reaches the caller and the source stays usable.
#include <gtest/gtest.h>

#include "datasource/odbc/odbcsource.h"
#include "odbc_test_support.h"
#include "reader_test_support.h"

using namespace rq;
using rq::testing::contains;
using rq::testing::errorOf;

namespace {

// Takes rows until it has `limit` of them, then refuses the next one.
struct StoppingSink : odbctest::Collected {
    std::size_t limit;
    explicit StoppingSink(std::size_t n) : limit(n) {}
    void row(const std::string_view* cells, std::size_t count) override {
        if (rows.size() == limit) throw DatabaseError("stopped by the receiver");
        odbctest::Collected::row(cells, count);
    }
};

}  // namespace

TEST(OdbcFetch, ReadingStoppedHalfWayLeavesTheSourceUsable) {
    PG_DATABASE(cs, "rq_stopped");
    odbctest::execute(cs, {"create table t (id int, label text)",
                           "insert into t select i, 'row ' || i from generate_series(1, 6000) i"});
    auto source = openOdbcSource(cs);
    for (std::size_t limit : {0u, 1500u, 5999u}) {
        StoppingSink stopping(limit);
        EXPECT_EQ(errorOf([&] { source->query("select * from t order by id", stopping); }),
                  "stopped by the receiver");
        ASSERT_EQ(stopping.rows.size(), limit);
        if (limit > 0) {
            EXPECT_EQ(stopping.line(limit - 1),
                      std::to_string(limit) + "|row " + std::to_string(limit));
        }
    }
    odbctest::Collected all;
    source->query("select * from t order by id", all);
    ASSERT_EQ(all.rows.size(), 6000u);
    EXPECT_EQ(all.line(0), "1|row 1");
    EXPECT_EQ(all.line(5999), "6000|row 6000");

    // With a server-side cursor the server fails while earlier blocks are being written.
    auto cursor = openOdbcSource(cs + "UseDeclareFetch=1;Fetch=500;");
    odbctest::Collected partial;
    std::string text =
        errorOf([&] { cursor->query("select id, 1 / (id - 4000) from t", partial); });
    EXPECT_TRUE(contains(text, "division by zero")) << text;
    EXPECT_LT(partial.rows.size(), 4000u);
    odbctest::Collected again;
    cursor->query("select count(*) from t", again);
    EXPECT_EQ(again.line(0), "6000");
}
