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

TEST(Prolog, CssReplacesXsltAndUntickingRemovesOnlyThatItem) {
    LayoutTree t;
    buildDefaultLayout(t, oneRecord());
    assignProlog(t, kAssignXslt, true, "a.xsl");
    assignProlog(t, kAssignDtd, true, "a.dtd");
    assignProlog(t, kAssignCss, true, "a.css");
    EXPECT_EQ(t.stylesheet, "<?xml:stylesheet type=\"text/css\" href=\"a.css\"?>");
    EXPECT_EQ(t.documentNode()->text.find("text/xsl"), std::string::npos);
    assignProlog(t, kAssignCss, false, "ignored");
    EXPECT_EQ(t.documentNode()->text,
              "<?xml version=\"1.0\"?><!DOCTYPE document SYSTEM \"a.dtd\">");
    assignProlog(t, kAssignDtd, false, "");
    EXPECT_EQ(t.documentNode()->text, "<?xml version=\"1.0\"?>");
}

TEST(Prolog, DoctypeKeepsTheRootNameOfTheMomentOfAssignment) {
    LayoutTree t;
    buildDefaultLayout(t, oneRecord());
    assignProlog(t, kAssignDtd, true, "x.dtd");
    t.table().setCell(2, 1, "catalog");
    t.rootElement()->text = "<catalog>";
    EXPECT_NE(t.documentNode()->text.find("<!DOCTYPE document "), std::string::npos);
    assignProlog(t, kAssignDtd, true, "x.dtd");
    EXPECT_NE(t.documentNode()->text.find("<!DOCTYPE catalog "), std::string::npos);
}

TEST(Prolog, DefineXmlDocumentReplacesAsTypedUntilTheNextAssignment) {
    LayoutTree t;
    buildDefaultLayout(t, oneRecord());
    defineXmlDocument(t, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    EXPECT_EQ(t.documentNode()->text, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    defineXmlDocument(t, "");
    EXPECT_EQ(t.documentNode()->text, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    assignProlog(t, kAssignCss, true, "s.css");
    EXPECT_EQ(t.documentNode()->text,
              "<?xml version=\"1.0\"?><?xml:stylesheet type=\"text/css\" href=\"s.css\"?>");
}

TEST(RootAttributes, TextHasALeadingBlankAndABlankAfterEachPair) {
    EXPECT_EQ(rootAttributeText({}), " ");
    EXPECT_EQ(rootAttributeText({{"a", "b"}}), " a=\"b\" ");
    EXPECT_EQ(rootAttributeText({{"a", "x&y"}, {"c", ""}}), " a=\"x&y\" c=\"\" ");
}

TEST(RootAttributes, SchemaRowsAppearInTheRootStartTag) {
    DataSheet s = oneRecord();
    LayoutTree t;
    buildDefaultLayout(t, s);
    auto rows = schemaRows("urn:orders", "orders.xsd");
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[1], (RootAttribute{"xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance"}));
    applyRootAttributes(t, rows);
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
}

TEST(RootAttributes, UniquenessIsExact) {
    std::vector<RootAttribute> rows = {{"xmlns", "a"}, {"lang", "en"}};
    EXPECT_FALSE(isUniqueAttributeName(rows, "lang"));
    EXPECT_TRUE(isUniqueAttributeName(rows, "lang", 1));
    EXPECT_TRUE(isUniqueAttributeName(rows, "Lang"));
}
