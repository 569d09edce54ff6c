// The DOS code pages decoded from tables of this program's own (Polish
// Mazovia 620, Czech Kamenicky 895), checked against iconv's code page 437
// where they share its characters.
#include <gtest/gtest.h>

#include <string>

#include "datasource/codepage.h"

using rq::CodePage;

TEST(OwnCodePages, BoxDrawingHalfIsThatOfCodePage437) {
    std::string upper;
    for (int b = 0xB0; b <= 0xFF; ++b) upper += static_cast<char>(b);
    const std::string expected = CodePage::get(437).toUtf8(upper);
    for (int number : {620, 895}) {
        SCOPED_TRACE(number);
        ASSERT_TRUE(CodePage::isSupported(number));
        EXPECT_EQ(CodePage::get(number).number(), number);
        EXPECT_EQ(CodePage::get(number).toUtf8(upper), expected);
        // Below 0x80 the bytes are ASCII.
        EXPECT_EQ(CodePage::get(number).toUtf8("Abc\t~"), "Abc\t~");
    }
    // Where Mazovia keeps code page 437's letters, they are the same.
    EXPECT_EQ(CodePage::get(620).toUtf8("\x80\x81\x82\x84\x99\x9A"),
              CodePage::get(437).toUtf8("\x80\x81\x82\x84\x99\x9A"));
}

TEST(OwnCodePages, SlovakLettersOfKamenicky) {
    // Slovak letters the Czech pangram does not use: kôň (horse), ľad (ice),
    // báseň (poem), Ľubica, stĺp (pillar), vŕba (willow).
    const std::pair<const char*, const char*> words[] = {
        {"k\x93\xA4", "kôň"},
        {"\x8C"
         "ad",
         "ľad"},
        {"b\xA0se\xA4", "báseň"},
        {"\x9C"
         "ubica",
         "Ľubica"},
        {"st\x8Dp", "stĺp"},
        {"v\xAA"
         "ba",
         "vŕba"},
    };
    for (auto [bytes, text] : words) EXPECT_EQ(CodePage::get(895).toUtf8(bytes), text);
}
