#include <gtest/gtest.h>

#include "datasource/database.h"
#include "datasource/valuetext.h"

using namespace rq;
namespace vt = rq::valuetext;

TEST(ValueText, NumbersTakeTheirShortestExactForm) {
    EXPECT_EQ(vt::singleFloat(0.15f), "0.15");
    EXPECT_EQ(vt::floating(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(vt::floating(1e7), "10000000");
    EXPECT_EQ(vt::floating(123456789012345.0), "123456789012345");
    EXPECT_EQ(vt::floating(1e-7), "1e-07");
    EXPECT_EQ(vt::floating(2.5e20), "2.5e+20");
    EXPECT_EQ(vt::singleFloat(16777216.0f), "16777216");
    EXPECT_EQ(vt::integer(-9223372036854775807LL - 1), "-9223372036854775808");
    EXPECT_EQ(vt::decimalScaled(140000, 4), "14");
    EXPECT_EQ(vt::decimalScaled(19955000, 4), "1995.5");
    EXPECT_EQ(vt::decimalScaled(-5, 4), "-0.0005");
    EXPECT_EQ(vt::decimalScaled(0, 4), "0");
    EXPECT_EQ(vt::decimalDigits(true, "000", 2), "0");
    EXPECT_EQ(vt::decimalDigits(false, "12", -2), "1200");
}

TEST(ValueText, SerialDatesCoverTheWholeRange) {
    EXPECT_EQ(vt::serialDateTime(0), "1899-12-30");
    EXPECT_EQ(vt::serialDateTime(45306), "2024-01-15");
    EXPECT_EQ(vt::serialDateTime(45306.5729166667), "2024-01-15T13:45:00");
    EXPECT_EQ(vt::serialDateTime(0.5), "12:00:00");
    EXPECT_EQ(vt::serialDateTimeNoTimeOnly(0.5), "1899-12-30T12:00:00");
    // Negative serials count days back; the fraction is still the time of day.
    EXPECT_EQ(vt::serialDateTime(-1.25), "1899-12-29T06:00:00");
    EXPECT_EQ(vt::serialDateTime(-657434), "0100-01-01");
    EXPECT_EQ(vt::serialDateTime(2958465.99998843), "9999-12-31T23:59:59");
    EXPECT_EQ(vt::dateTime(2024, 1, 15, 13, 45, 0, 500000000), "2024-01-15T13:45:00.5");
}

TEST(ValueText, CivilDaysRoundTrip) {
    for (std::int64_t d = -800000; d < 3000000; d += 997) {
        int y, m, dd;
        vt::civilFromDays(d, y, m, dd);
        EXPECT_EQ(vt::daysFromCivil(y, m, dd), d);
    }
    EXPECT_EQ(vt::daysFromCivil(1970, 1, 1), 0);
    EXPECT_EQ(vt::daysFromCivil(2000, 3, 1), 11017);
}

TEST(Catalog, SystemAndTemporaryNamesAreNotListed) {
    for (const char* hidden : {"MSysObjects", "mSyS", "~TMP", "~"})
        EXPECT_FALSE(isListedName(hidden));
    for (const char* shown : {"msy", "MSY_", "Orders", ""}) EXPECT_TRUE(isListedName(shown));
}

TEST(Catalog, DatabaseNamePerKind) {
    EXPECT_EQ(databaseNameFor("Microsoft Access", "/d/x.mdb"), "/d/x.mdb");
    EXPECT_EQ(databaseNameFor("Excel 8.0;", "/d/x.xls"), "/d/x.xls");
    EXPECT_EQ(databaseNameFor("Btrieve;", "/d/FILE.DDF"), "/d/FILE.DDF");
    EXPECT_EQ(databaseNameFor("Dbase IV;", "/d/x.dbf"), "/d");
    EXPECT_EQ(databaseNameFor("Lotus WK1;", "/d/x.wk1"), "/d");
    // A folder is the database of its own text files, not its parent's.
    const std::string fixtures = ROWQUILL_FIXTURES "/text/simplebackup";
    EXPECT_EQ(databaseNameFor(connectStringForPath(fixtures), fixtures), fixtures);
}
