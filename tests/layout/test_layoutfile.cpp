#include <gtest/gtest.h>

#include "generate/documentwriter.h"
#include "layout/defaultlayout.h"
#include "layout/layoutfile.h"
#include "layout/prolog.h"

using namespace rq;

namespace {

DataSheet orders() {
    DataSheet s(3, 2);
    s.setCell(0, 0, "ID");
    s.setCell(0, 1, "Order Date");
    s.setCell(1, 0, "1");
    s.setCell(1, 1, "2024-01-15");
    s.setCell(2, 0, "2");
    s.setCell(2, 1, "a<b");
    return s;
}

std::string generate(LayoutTree& t, const DataSheet& s) {
    WorkingTable w;
    return buildDocument(t, w, s, s.rows() - 1);
}

std::vector<std::string> keysInPreorder(const LayoutTree& t) {
    std::vector<std::string> keys;
    for (const LayoutNode* n : t.preorder()) keys.push_back(n->key + " " + n->text);
    return keys;
}

const char* kSample = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- an order layout -->
<rowquill-layout version="1">
  <prolog>&lt;?xml version="1.0"?&gt;</prolog>
  <root name="orders" attributes=" xmlns=&quot;urn:x&quot; ">
    <element name="order" value="">
      <data-element name="ID" column="0"/>
      <data-attribute name="id" column="0"/>
      <attribute name="source" value="A&amp;B &#233;&#x20AC;"/>
      <element name="when" value="">
        <data-element name="date" column="1"/>
      </element>
    </element>
  </root>
</rowquill-layout>
)";

}  // namespace

TEST(LayoutFile, ReadingBuildsKeysTableAndTextsAsTheEditorWould) {
    LayoutTree t;
    readLayoutText(kSample, t);
    // Attributes move before their element siblings; keys follow document order.
    EXPECT_EQ(keysInPreorder(t), (std::vector<std::string>{
                                     "1_ <?xml version=\"1.0\"?>",
                                     "2_ <orders xmlns=\"urn:x\" >",
                                     "3_ <order>",
                                     "5_ id=\"\"",
                                     "6_ source=\"A&B \xC3\xA9\xE2\x82\xAC\"",
                                     "4_ <ID>",
                                     "7_ <when>",
                                     "8_ <date>",
                                 }));
    EXPECT_EQ(t.keyCounter, 8);
    EXPECT_EQ(t.table().rows(), 10);  // the last row belongs to the next key
    EXPECT_EQ(t.table().cell(2, 1), "orders");
    EXPECT_EQ(t.table().cell(5, 1), "id");
    EXPECT_EQ(t.table().cell(5, 3), "0");
    EXPECT_EQ(t.table().cell(6, 2), "A&B \xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(t.table().cell(8, 3), "1");
    EXPECT_EQ(t.rootAttributes, " xmlns=\"urn:x\" ");

    DataSheet s = orders();
    std::string doc = generate(t, s);
    EXPECT_NE(doc.find("\t<orders xmlns=\"urn:x\" >\r\n"), std::string::npos);
    EXPECT_NE(doc.find("<order id=\"2\" source=\"A&amp;B \xC3\xA9\xE2\x82\xAC\">"),
              std::string::npos);
    EXPECT_NE(doc.find("<date>a&lt;b</date>"), std::string::npos);
}

TEST(LayoutFile, DefaultLayoutRoundTripsToTheSameTreeAndDocument) {
    DataSheet s = orders();
    LayoutTree original;
    buildDefaultLayout(original, s);
    assignProlog(original, kAssignXslt, true, "o.xsl");
    applyRootAttributes(original, schemaRows("urn:o", "o.xsd"));
    const std::string text = layoutFileText(original);
    EXPECT_NE(text.find("<data-element name=\"Order_Date\" column=\"1\"/>"), std::string::npos);

    LayoutTree copy;
    readLayoutText(text, copy, &s);
    EXPECT_EQ(keysInPreorder(copy), keysInPreorder(original));
    EXPECT_TRUE(copy.table() == original.table());
    EXPECT_EQ(copy.columnNames, original.columnNames);
    EXPECT_EQ(copy.stylesheet, original.stylesheet);
    EXPECT_EQ(layoutFileText(copy), text);
    EXPECT_EQ(generate(copy, s), generate(original, s));
    // The slots survive, so unticking the stylesheet rebuilds the prolog from them.
    assignProlog(copy, kAssignXslt, false, "");
    EXPECT_EQ(copy.documentNode()->text, "<?xml version=\"1.0\"?>");
}

TEST(LayoutFile, ValuesWithLineBreaksAndQuotesSurvive) {
    DataSheet s = orders();
    LayoutTree t;
    buildDefaultLayout(t, s);
    t.table().setCell(3, 2, "two\r\nlines \"q\" <&>\t");
    LayoutTree copy;
    readLayoutText(layoutFileText(t), copy);
    EXPECT_EQ(copy.table().cell(3, 2), "two\r\nlines \"q\" <&>\t");
}

TEST(LayoutFile, RefusalsNameTheLineAndKeepTheTree) {
    struct Case {
        const char* text;
        const char* message;
    } cases[] = {
        {"<rowquill-layout>\n<root name=\"r\">\n<attribute name=\"a\" value=\"1\"/>\n</root>\n"
         "</rowquill-layout>",
         "line 3: an attribute cannot be placed directly under the root element"},
        {"<rowquill-layout>\n<root name=\"r\">\n<element name=\"e\">\n"
         "<attribute name=\"a\" value=\"\">\n<element name=\"x\"/>\n</attribute>\n</element>\n"
         "</root>\n</rowquill-layout>",
         "line 4: an attribute cannot have children"},
        {"<rowquill-layout>\n<root name=\"r\">\n\n<elem name=\"e\"/>\n</root>\n</rowquill-layout>",
         "line 4: unknown tag <elem>"},
        {"<rowquill-layout>\n<root name=\"r\">\n</rot>\n</rowquill-layout>",
         "line 3: the end tag </rot> does not match <root>"},
        {"<rowquill-layout>\n<root name=\"r\">\n<element name=\"e\" value=\"a & b\"/>\n",
         "line 3: a bare \"&\"; write &amp;"},
        {"<rowquill-layout>\n<root name=\"r\"><element name=\"e\" value=\"&nbsp;\"/>",
         "line 2: unknown entity &nbsp;"},
        {"<rowquill-layout>\n<root name=\"r\">\n<data-element name=\"d\" column=\"x\"/>"
         "</root></rowquill-layout>",
         "line 3: the column \"x\" is not a column number"},
        {"<rowquill-layout>\n<root name=\"r\">", "line 2: the element <root> is not closed"},
        {"<other/>", "line 1: this is not a layout file (the document element is <other>)"},
        {"<rowquill-layout>\n</rowquill-layout>", "line 1: the layout has no <root>"},
        {"", "line 1: no document element"},
    };
    DataSheet s = orders();
    LayoutTree t;
    buildDefaultLayout(t, s);
    const auto before = keysInPreorder(t);
    for (const auto& c : cases) {
        try {
            readLayoutText(c.text, t);
            ADD_FAILURE() << "accepted: " << c.text;
        } catch (const LayoutFileError& e) {
            EXPECT_EQ(std::string(e.what()), c.message);
        }
        EXPECT_EQ(keysInPreorder(t), before);
    }
}

TEST(LayoutFile, LoadingAMissingFileNamesIt) {
    LayoutTree t;
    try {
        loadLayoutFile("/nonexistent/x.rqlayout", t);
        FAIL();
    } catch (const LayoutFileError& e) {
        EXPECT_NE(std::string(e.what()).find("/nonexistent/x.rqlayout"), std::string::npos);
    }
}
