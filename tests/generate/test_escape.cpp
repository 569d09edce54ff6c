#include <gtest/gtest.h>

#include "generate/cp1252.h"
#include "generate/escape.h"

using namespace rq;

TEST(Replacertxt, EscapesInOrderAndKeepsTheApostrophe) {
    EXPECT_EQ(replacertxt(""), "");
    EXPECT_EQ(replacertxt("a<b"), "a&lt;b");
    EXPECT_EQ(replacertxt("&lt;"), "&amp;lt;");
    EXPECT_EQ(replacertxt("it's"), "it's");
    EXPECT_EQ(replacertxt("say \"x\" > y"), "say &quot;x&quot; &gt; y");
    // A line feed becomes CR LF even after a carriage return.
    EXPECT_EQ(replacertxt("a\nb"), "a\r\nb");
    EXPECT_EQ(replacertxt("a\r\nb"), "a\r\r\nb");
    EXPECT_EQ(replacertxt("a\rb"), "a\rb");
}

// Marks every character first, then converts the markers, as the two-phase
// rule says; the one-pass conversion must agree with it.
static std::string twoPhaseSymbrep(std::string s) {
    auto marker = [](int c) { return std::string("\x01") + static_cast<char>(c) + "\x01\x01"; };
    auto replaceAll = [](std::string& t, const std::string& from, const std::string& to) {
        for (std::size_t p = 0; (p = t.find(from, p)) != std::string::npos; p += to.size())
            t.replace(p, from.size(), to);
    };
    bool flag = false;
    for (int c = 128; c <= 255; ++c) {
        std::string ch(1, static_cast<char>(c));
        if (s.find(ch) != std::string::npos) {
            replaceAll(s, ch, marker(c));
            flag = true;
        }
    }
    if (flag)
        for (int c = 128; c <= 255; ++c) replaceAll(s, marker(c), symbolTableEntry(c - 128));
    return s;
}

TEST(Symbrep, ConvertsEachCharacterOnce) {
    EXPECT_EQ(symbrep("plain ascii"), "plain ascii");
    EXPECT_EQ(symbrep("\x80"), "\xE2\x82\xAC");
    EXPECT_EQ(symbrep("\x96"), "\xE2\x80\x93");
    EXPECT_EQ(symbrep("\xE9"), "\xC3\xA9");
    EXPECT_EQ(symbrep("\x80\xE2"), "\xE2\x82\xAC\xC3\xA2");
    for (unsigned char c : {0x81, 0x8D, 0x8F, 0x90, 0x9D})
        EXPECT_EQ(symbrep(std::string(1, static_cast<char>(c))),
                  std::string("\xC2") + static_cast<char>(c));
    std::string all;
    for (int c = 1; c < 256; ++c) all += static_cast<char>(c);
    all += "\x01\xE9\x01\x01 tail";
    EXPECT_EQ(symbrep(all), twoPhaseSymbrep(all));
}

TEST(Symbrep, EveryTableEntryIsTheUtf8OfTheCodePageCharacter) {
    // A few independent anchors from the code page chart.
    EXPECT_EQ(symbolTableEntry(0x8A - 128), "\xC5\xA0");      // S caron
    EXPECT_EQ(symbolTableEntry(0x99 - 128), "\xE2\x84\xA2");  // trade mark
    EXPECT_EQ(symbolTableEntry(0xA0 - 128), "\xC2\xA0");
    EXPECT_EQ(symbolTableEntry(0xFF - 128), "\xC3\xBF");
    // Converting a whole code page 1252 text equals writing its UTF-8 form.
    std::string bytes;
    for (int c = 128; c < 256; ++c) bytes += static_cast<char>(c);
    EXPECT_EQ(symbrep(bytes), cp1252ToUtf8(bytes));
    EXPECT_EQ(utf8ToCp1252(cp1252ToUtf8(bytes)), bytes);
}

TEST(Ascterep, DropsAtMostOneCharacterPerRule) {
    EXPECT_EQ(ascterep("1abc"), "abc");
    EXPECT_EQ(ascterep("12abc"), "2abc");
    EXPECT_EQ(ascterep("_abc"), "_abc");
    EXPECT_EQ(ascterep("[abc"), "abc");
    EXPECT_EQ(ascterep("1[abc"), "abc");
    EXPECT_EQ(ascterep("{x"), "x");
    EXPECT_EQ(ascterep(""), "");
    EXPECT_EQ(ascterep("\xC3\xA9t\xC3\xA9"), "t\xC3\xA9");  // é reads as 233
    EXPECT_EQ(ascterep("\xE4\xB8\xAD"
                       "a"),
              "a");  // outside the code page: 63
}

TEST(FileEncoding, ConvertedIsUtf8AndUnconvertedIsCodePage1252WithQuestionMarks) {
    std::string text = "caf\xC3\xA9 \xE2\x82\xAC \xE4\xB8\xAD";
    EXPECT_EQ(encodeForFile(text, true), text);
    EXPECT_EQ(encodeForFile(text, false), "caf\xE9 \x80 ?");
}
