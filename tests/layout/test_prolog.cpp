#include <gtest/gtest.h>

#include "generate/documentwriter.h"
#include "layout/defaultlayout.h"
#include "layout/prolog.h"

using namespace rq;

namespace {

DataSheet oneRecord() {
    DataSheet s(2, 1);
    s.setCell(0, 0, "ID");
    s.setCell(1, 0, "7");
    return s;
}

std::string generate(LayoutTree& t, const DataSheet& s) {
    WorkingTable w;
    return buildDocument(t, w, s, s.rows() - 1);
}

}  // namespace

TEST(Prolog, StylesheetAndDoctypeEachStandOnTheirOwnLine) {
    DataSheet s = oneRecord();
    LayoutTree t;
    buildDefaultLayout(t, s);
    assignProlog(t, kAssignXslt, true, "style.xsl");
    assignProlog(t, kAssignDtd, true, "c:\\dtd\\doc.dtd");
    EXPECT_EQ(t.documentNode()->text,
              "<?xml version=\"1.0\"?><?xml:stylesheet type=\"text/xsl\" href=\"style.xsl\"?>"
              "<!DOCTYPE document SYSTEM \"c:\\dtd\\doc.dtd\">");
    std::string doc = generate(t, s);
    EXPECT_EQ(doc.substr(0, doc.find("\t\t<row>")),
              "<?xml version=\"1.0\"?>\r\n"
              "<?xml:stylesheet type=\"text/xsl\" href=\"style.xsl\"?>\r\n"
              "<!DOCTYPE document SYSTEM \"c:\\dtd\\doc.dtd\">\r\n"
              "\t<document>\r\n");
}

TEST(RootAttributes, SchemaRowsAppearInTheRootStartTag) {
    DataSheet s = oneRecord();
    LayoutTree t;
    buildDefaultLayout(t, s);
    applyRootAttributes(t, schemaRows("urn:orders", "orders.xsd"));
    EXPECT_EQ(t.rootElement()->text,
              "<document xmlns=\"urn:orders\" "
              "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
              "xsi:schemaLocation=\"orders.xsd\" >");
    std::string doc = generate(t, s);
    EXPECT_NE(doc.find("\r\n\t<document xmlns=\"urn:orders\" xmlns:xsi=\""
                       "http://www.w3.org/2001/XMLSchema-instance\" "
                       "xsi:schemaLocation=\"orders.xsd\" >\r\n"),
              std::string::npos);
    applyRootAttributes(t, {});
    EXPECT_NE(generate(t, s).find("\t<document >\r\n"), std::string::npos);
    EXPECT_EQ(rootAttributeText({{"a", "x&y"}, {"c", ""}}), " a=\"x&y\" c=\"\" ");
}

TEST(RootAttributes, UniquenessIsExact) {
    std::vector<RootAttribute> rows = {{"xmlns", "a"}, {"lang", "en"}};
    EXPECT_FALSE(isUniqueAttributeName(rows, "lang"));
    EXPECT_TRUE(isUniqueAttributeName(rows, "lang", 1));
    EXPECT_TRUE(isUniqueAttributeName(rows, "Lang"));
}
