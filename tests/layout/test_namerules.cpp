#include <gtest/gtest.h>

#include "layout/namerules.h"

using namespace rq;

TEST(NameRule, KeepsOnlyNameCharacters) {
    EXPECT_EQ(cleanTagName("a.b/c"), "abc");
    EXPECT_EQ(cleanTagName("x#y"), "xy");
    EXPECT_EQ(cleanTagName("%%"), "");
    EXPECT_EQ(cleanTagName("a-b:c_d9"), "a-b:c_d9");
    // The first-character repair runs before the removals.
    EXPECT_EQ(cleanTagName("12abc"), "2abc");
    EXPECT_EQ(cleanTagName(" x"), "_x");  // the blank becomes "_" first
    // Code 255 stays on purpose; 254 and below go; characters outside the
    // code page are never removed.
    EXPECT_EQ(cleanTagName("a\xC3\xBF\xC3\xBE"), "a\xC3\xBF");
    EXPECT_EQ(cleanTagName("a\xE4\xB8\xAD"), "a\xE4\xB8\xAD");
    EXPECT_EQ(cleanTagName("caf\xC3\xA9"), "caf");
}

TEST(NameRule, FirstCharacterRepairDropsAtMostOneCharacterPerRule) {
    const std::pair<const char*, const char*> cases[] = {
        {"1abc", "abc"},
        {"12abc", "2abc"},
        {"_abc", "_abc"},
        {"[abc", "abc"},
        {"1[abc", "abc"},
        {"{x", "x"},
        {"", ""},
        {"\xC3\xA9t\xC3\xA9", "t\xC3\xA9"},  // é reads as 233
        {"\xE4\xB8\xAD"
         "a",
         "a"},  // outside the code page: reads as 63
    };
    for (const auto& [typed, repaired] : cases)
        EXPECT_EQ(repairFirstCharacter(typed), repaired) << typed;
}
