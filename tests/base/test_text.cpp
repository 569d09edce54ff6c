#include <gtest/gtest.h>

#include <random>

#include "base/text/cp1252.h"

using namespace rq;

TEST(CodePage1252, DecoderGivesTheChartsCharacters) {
    // Anchors from the code page chart, and the five unassigned bytes kept as C1 controls.
    const std::pair<const char*, const char*> cases[] = {
        {"plain ascii", "plain ascii"}, {"\x80", "\xE2\x82\xAC"},
        {"\x96", "\xE2\x80\x93"},       {"\x8A", "\xC5\xA0"},
        {"\x99", "\xE2\x84\xA2"},       {"\xA0", "\xC2\xA0"},
        {"\xFF", "\xC3\xBF"},           {"\x81", "\xC2\x81"},
        {"\x9D", "\xC2\x9D"},           {"\x80\xE2", "\xE2\x82\xAC\xC3\xA2"},
    };
    for (const auto& [bytes, utf8] : cases) EXPECT_EQ(cp1252ToUtf8(bytes), utf8) << bytes;
}

TEST(CodePage1252, EncoderInvertsTheDecoderAndMarksWhatItLacks) {
    std::string all;
    for (int c = 1; c < 256; ++c) all += static_cast<char>(c);
    EXPECT_EQ(utf8ToCp1252(cp1252ToUtf8(all)), all);
    EXPECT_EQ(utf8ToCp1252("caf\xC3\xA9 \xE2\x82\xAC \xD0\x96 \xF0\x9F\x98\x80"),
              "caf\xE9 \x80 ? ?");
    // An invalid byte is one replacement character, so one "?".
    EXPECT_EQ(utf8ToCp1252("a\xC3"), "a?");
}

TEST(CodePage1252, WordAtATimeEncoderAgreesWithCharacterAtATime) {
    std::mt19937 rng(7);
    const std::vector<std::string> pieces = {
        "a",        "plain ascii text ", "\xC3\xA9", "\xE2\x82\xAC",
        "\xD0\x96", "\xF0\x9F\x98\x80",  "\xFF",     "\xC3",
        "\r\n"};
    for (int round = 0; round < 300; ++round) {
        std::string s;
        int len = static_cast<int>(rng() % 40);
        for (int i = 0; i < len; ++i) s += pieces[rng() % pieces.size()];
        std::string slow;
        for (std::size_t i = 0; i < s.size();) {
            char32_t c;
            i += decodeUtf8(s, i, c);
            int code = unicodeToCp1252(c);
            slow += code < 0 ? '?' : static_cast<char>(code);
        }
        std::string fast = "prefix";
        appendCp1252(fast, s);
        EXPECT_EQ(fast, "prefix" + slow) << s;
    }
}
