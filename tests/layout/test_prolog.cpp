// The prolog and root-attribute commands edit the tree; how the writer lays
// those texts out is a golden case (prolog-and-root-attributes), and the batch
// converter's options (stylesheet, DOCTYPE, schema) check the whole prolog
// byte for byte.
#include <gtest/gtest.h>

#include "layout/defaultlayout.h"
#include "layout/prolog.h"

using namespace rq;

TEST(RootAttributes, NoneLeaveABlankInTheRootStartTag) {
    LayoutTree t;
    buildDefaultLayout(t, DataSheet(2, 1));
    applyRootAttributes(t, schemaRows("urn:orders", "orders.xsd"));
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
