// The prolog and root-attribute commands edit the tree; how the writer lays
// those texts out is a golden case (prolog-and-root-attributes), and the batch
// converter's options check the whole prolog byte for byte.
#include <gtest/gtest.h>

#include "layout/defaultlayout.h"
#include "layout/prolog.h"

using namespace rq;

TEST(Prolog, StylesheetAndDoctypeFollowTheDeclaration) {
    LayoutTree t;
    buildDefaultLayout(t, DataSheet(2, 1));
    assignProlog(t, kAssignXslt, true, "style.xsl");
    assignProlog(t, kAssignDtd, true, "c:\\dtd\\doc.dtd");
    EXPECT_EQ(t.documentNode()->text,
              "<?xml version=\"1.0\"?><?xml:stylesheet type=\"text/xsl\" href=\"style.xsl\"?>"
              "<!DOCTYPE document SYSTEM \"c:\\dtd\\doc.dtd\">");
}

TEST(RootAttributes, SchemaRowsAppearInTheRootStartTag) {
    LayoutTree t;
    buildDefaultLayout(t, DataSheet(2, 1));
    applyRootAttributes(t, schemaRows("urn:orders", "orders.xsd"));
    EXPECT_EQ(t.rootElement()->text,
              "<document xmlns=\"urn:orders\" "
              "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
              "xsi:schemaLocation=\"orders.xsd\" >");
    applyRootAttributes(t, {});
    EXPECT_EQ(t.rootElement()->text, "<document >");
    EXPECT_EQ(rootAttributeText({{"a", "x&y"}, {"c", ""}}), " a=\"x&y\" c=\"\" ");
}

TEST(RootAttributes, UniquenessIsExact) {
    std::vector<RootAttribute> rows = {{"xmlns", "a"}, {"lang", "en"}};
    EXPECT_FALSE(isUniqueAttributeName(rows, "lang"));
    EXPECT_TRUE(isUniqueAttributeName(rows, "lang", 1));
    EXPECT_TRUE(isUniqueAttributeName(rows, "Lang"));
}
