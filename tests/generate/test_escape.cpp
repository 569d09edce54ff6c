#include <gtest/gtest.h>

#include "generate/escape.h"

using namespace rq;

TEST(Replacertxt, EscapesInOrderAndKeepsTheApostrophe) {
    EXPECT_EQ(escapeXml(""), "");
    EXPECT_EQ(escapeXml("a<b"), "a&lt;b");
    EXPECT_EQ(escapeXml("&lt;"), "&amp;lt;");
    EXPECT_EQ(escapeXml("it's"), "it's");
    EXPECT_EQ(escapeXml("say \"x\" > y"), "say &quot;x&quot; &gt; y");
    // A line feed becomes CR LF even after a carriage return.
    EXPECT_EQ(escapeXml("a\nb"), "a\r\nb");
    EXPECT_EQ(escapeXml("a\r\nb"), "a\r\r\nb");
    EXPECT_EQ(escapeXml("a\rb"), "a\rb");
}
