#include <gtest/gtest.h>

#include "layout/namerules.h"

using namespace rq;

TEST(NameRule, KeepsOnlyNameCharacters) {
    EXPECT_EQ(elemntnamchnge("Order Date"), "Order_Date");
    EXPECT_EQ(elemntnamchnge("a.b/c"), "abc");
    EXPECT_EQ(elemntnamchnge("x#y"), "xy");
    EXPECT_EQ(elemntnamchnge("%%"), "");
    EXPECT_EQ(elemntnamchnge("a-b:c_d9"), "a-b:c_d9");
    // The first-character repair runs before the removals.
    EXPECT_EQ(elemntnamchnge("12abc"), "2abc");
    EXPECT_EQ(elemntnamchnge(" x"), "_x");  // the blank becomes "_" first
    // Code 255 stays on purpose; 254 and below go; characters outside the
    // code page are never removed.
    EXPECT_EQ(elemntnamchnge("a\xC3\xBF\xC3\xBE"), "a\xC3\xBF");
    EXPECT_EQ(elemntnamchnge("a\xE4\xB8\xAD"), "a\xE4\xB8\xAD");
    EXPECT_EQ(elemntnamchnge("caf\xC3\xA9"), "caf");
}
