// Stored queries that ask for parameters: the values replace the references
// to the declared parameters, typed as declared; a missing value is an error
// of its own that callers turn into a question or a hint.
#include "datasource/access/storedquery.h"
#include "datasource/readers.h"
#include "reader_test_support.h"

namespace rq {
namespace {

using Rows = rq::testing::TableSink;

TEST(QueryParameters, ReferencesAreReplacedByTypedLiterals) {
    const std::vector<QueryParameter> declared = {{"Beginning Date", kDateTime},
                                                  {"Who", kText},
                                                  {"N", kLong},
                                                  {"Paid", kBoolean},
                                                  {"Forms!Dialog!Until", kDateTime}};
    const ParameterValues values = {{"beginning date", "1996-07-01"},
                                    {"WHO", "O'Brien"},
                                    {"n", "-12"},
                                    {"Paid", "yes"},
                                    {"[Forms]![Dialog]![Until]", "1997-01-01"}};
    struct Case {
        const char* sql;
        const char* bound;
    } cases[] = {
        {"Select * From T Where D >= [Beginning Date]", "Select * From T Where D >= #1996-07-01#"},
        {"Where Name = [who] And Id > N", "Where Name = 'O''Brien' And Id > -12"},
        // Quoted text, other bracketed names and longer words stay as they are.
        {"Where A = '[Who]' And [Who Else] = Nx And [T].[N] = 1",
         "Where A = '[Who]' And [Who Else] = Nx And [T].[N] = 1"},
        {"Where Flag = [Paid]", "Where Flag = True"},
        {"Where D < [Forms]![Dialog]![Until] And E = [Forms]![Dialog]![Untilx]",
         "Where D < #1997-01-01# And E = [Forms]![Dialog]![Untilx]"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(jet::bindParameters(c.sql, declared, values, "Q"), c.bound) << c.sql;
}

TEST(QueryParameters, FormReferencesAreParametersEvenUndeclared) {
    const std::vector<jet::QueryRow> rows = {{2, "Start", "", "", 8, true}};
    const auto found = jet::queryParameters(
        rows,
        "Where A > [Start] And B = [Forms]![Orders]![OrderID] And C = '[Forms]![X]![Y]' "
        "And D = [T].[Col] And E = [forms]![orders]![orderid]");
    const std::vector<QueryParameter> expected = {{"Start", kDateTime},
                                                  {"Forms!Orders!OrderID", kText}};
    EXPECT_EQ(found, expected);
}

// The code and message of the error a call throws ({0, "accepted"} when none).
template <class Call>
std::pair<int, std::string> refusal(Call call) {
    try {
        call();
    } catch (const DatabaseError& e) {
        return {e.code(), e.what()};
    }
    return {0, "accepted"};
}

TEST(QueryParameters, MissingOrMistypedValuesAreRefused) {
    const std::vector<QueryParameter> declared = {{"From", kDateTime}, {"N", kInteger}};
    const auto bind = [&](const ParameterValues& values) {
        return refusal(
            [&] { jet::bindParameters("D > [From] And I = [N]", declared, values, "Q"); });
    };
    EXPECT_EQ(
        bind({{"From", "1996-07-01"}}),
        std::make_pair(int{kErrParameterMissing},
                       std::string("The stored query 'Q' needs a value for the parameter [N].")));
    for (const ParameterValues& bad : {ParameterValues{{"From", "someday"}, {"N", "1"}},
                                       ParameterValues{{"From", "1996-07-01"}, {"N", "1.5"}}}) {
        const auto [code, message] = bind(bad);
        EXPECT_NE(code, kErrParameterMissing);
        EXPECT_NE(message.find("is not"), std::string::npos) << message;
    }
}

// The sample database's "Employee Sales by Country" asks for two dates; its
// records are the shipped orders between them, which a plain statement over
// the Orders table counts independently.
TEST(QueryParameters, SampleQueryRunsWithTheGivenDates) {
    const auto file = rq::testing::kFixtures / "access/mdbtestdata/nwind.mdb";
    SKIP_WITHOUT(file);
    auto db = openAccessDatabase(file.string(), {});
    const std::string query = "Employee Sales by Country";
    const std::vector<QueryParameter> expected = {{"Beginning Date", kDateTime},
                                                  {"Ending Date", kDateTime}};
    const auto asked = db->storedQueryParameters(query);
    ASSERT_EQ(asked, expected);
    Rows none;
    EXPECT_EQ(refusal([&] { db->read(query, none); }).first, kErrParameterMissing);
    ParameterValues values;
    values.emplace_back(asked[0].name, "1995-01-01");
    values.emplace_back(asked[1].name, "1995-12-31");
    db->setParameterValues(values);
    Rows rows;
    db->read(query, rows);
    Rows count;
    db->query("Select Count(*) From Orders Where ShippedDate Between #1995-01-01# And #1995-12-31#",
              count);
    ASSERT_EQ(count.rows.size(), 1u);
    EXPECT_EQ(std::to_string(rows.rows.size()), count.rows[0][0]);
    EXPECT_GT(rows.rows.size(), 0u);
}

}  // namespace
}  // namespace rq
