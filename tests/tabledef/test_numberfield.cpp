#include <gtest/gtest.h>

#include "tabledef/numberfield.h"

using namespace rq;

TEST(NumberField, ChangeFilterKeepsOnlyDigits) {
    const struct {
        const char* typed;
        const char* kept;
    } cases[] = {{"1a2", "12"}, {"-1", "1"},        {" 3 4 ", "34"}, {"abc", ""},
                 {"", ""},      {"0\xc2\xb2", "0"}, {"007", "007"}};
    for (const auto& c : cases) EXPECT_EQ(digitsOnly(c.typed), c.kept) << c.typed;
}

TEST(NumberField, UpAndDownButtons) {
    const struct {
        const char* field;
        const char* up;
        const char* down;
    } cases[] = {
        {"", "1", "1"},     // empty counts as 0: down gives -1, filtered to 1
        {"1", "2", "1"},    // down at 1 stays 1
        {"01", "2", "01"},  // the number is 1: the text is left alone
        {"10", "11", "9"},  //
        {"99", "100", "98"},
        {"007", "8", "6"},
        {"99999999999999999999", "100000000000000000000", "99999999999999999998"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(numberUp(c.field), c.up) << c.field;
        EXPECT_EQ(numberDown(c.field), c.down) << c.field;
    }
}

TEST(NumberField, CountsFitASigned32BitNumber) {
    EXPECT_EQ(fieldCount(""), std::nullopt);
    EXPECT_EQ(fieldCount("0"), 0);
    EXPECT_EQ(fieldCount("0012"), 12);
    EXPECT_EQ(fieldCount("2147483647"), 2147483647);
    EXPECT_EQ(fieldCount("2147483648"), std::nullopt);
    EXPECT_EQ(fieldCount("000000000000000000001"), 1);
}
