#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "../sheet/sheet_test_support.h"
#include "generate/documentwriter.h"
#include "layout/defaultlayout.h"
#include "layout/layoutfile.h"
#include "layout/prolog.h"
#include "layout_test_support.h"

using namespace rq;
using rq::layouttest::addNode;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

DataSheet orders() {
    return rq::sheettest::sheetOf({{"ID", "Order Date"}, {"1", "2024-01-15"}, {"2", "a<b"}});
}

std::string generate(LayoutTree& t, const DataSheet& s) {
    WorkingTable w;
    return buildDocument(t, w, s, s.rows() - 1);
}

// Everything a layout file must keep, one line per node in document order.
std::vector<std::string> shape(const LayoutTree& t) {
    std::vector<std::string> out = {t.documentNode()->text, t.stylesheet, t.doctype,
                                    t.rootAttributes};
    for (const LayoutNode* n : t.preorder()) {
        const int r = nodeNumber(n->key);
        out.push_back(std::to_string(nodeLevel(n)) + " " + std::to_string(n->kind) + " " +
                      t.table().cell(r, 1) + "|" + t.table().cell(r, isDataKind(n->kind) ? 3 : 2) +
                      "|" + n->text);
    }
    return out;
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

std::string wrapped(const std::string& belowRoot) {
    return "<rowquill-layout>\n<root name=\"r\">\n" + belowRoot + "</root>\n</rowquill-layout>\n";
}

}  // namespace

TEST(LayoutFile, ReadingKeepsDocumentOrderAndBuildsKeysTableAndTexts) {
    LayoutTree t;
    readLayoutText(kSample, t);
    EXPECT_EQ(shape(t),
              (std::vector<std::string>{
                  "<?xml version=\"1.0\"?>", "", "", " xmlns=\"urn:x\" ",
                  "0 1 ||<?xml version=\"1.0\"?>", "1 1 orders||<orders xmlns=\"urn:x\" >",
                  "2 2 order||<order>", "3 3 ID|0|<ID>", "3 5 id|0|id=\"\"",
                  "3 4 source|A&B \xC3\xA9\xE2\x82\xAC|source=\"A&B \xC3\xA9\xE2\x82\xAC\"",
                  "3 2 when||<when>", "4 3 date|1|<date>"}));
    EXPECT_EQ(t.keyCounter, 8);
    EXPECT_EQ(t.table().rows(), 10);  // the last row belongs to the next key
}

TEST(LayoutFile, LayoutsTheWindowCanReachRoundTrip) {
    using Build = std::function<void(LayoutTree&)>;
    const DataSheet s = orders();
    const std::pair<const char*, Build> cases[] = {
        {"default layout with stylesheet, DOCTYPE and schema",
         [&](LayoutTree& t) {
             buildDefaultLayout(t, s);
             assignProlog(t, kAssignXslt, true, "o.xsl");
             assignProlog(t, kAssignDtd, true, "o & p.dtd");
             applyRootAttributes(t, schemaRows("urn:o", "o.xsd"));
         }},
        {"root without children",
         [&](LayoutTree& t) {
             buildDefaultLayout(t, s);
             t.remove(t.rootElement()->children.front());
         }},
        {"attribute dropped onto an element lands after its elements",
         [&](LayoutTree& t) {
             buildDefaultLayout(t, s);
             LayoutNode* row = t.rootElement()->children.front();
             LayoutNode* item = addNode(t, row, kKindElement, "item", "");
             addNode(t, item, kKindDataElement, "ID", "", 0);
             LayoutNode* a = addNode(t, row, kKindAttribute, "flag", "yes");
             LayoutNode* d = addNode(t, row, kKindDataAttribute, "when", "", 1);
             t.reparent(a, item);
             t.reparent(d, item);
         }},
        {"unicode names and values, markup and line breaks in values",
         [&](LayoutTree& t) {
             buildDefaultLayout(t, s);
             LayoutNode* row = t.rootElement()->children.front();
             addNode(t, row, kKindDataAttribute,
                     "Gr\xC3\xB6\xC3\x9F"
                     "e",
                     "", 1);
             addNode(t, row, kKindAttribute, "name\xCE\xB1", " \xE2\x82\xAC 5 \xF0\x9D\x84\x9E ");
             addNode(t, row, kKindElement, "n-1:x\xC3\xBF", "a\"<&>']]>\t\r\nb\n");
             addNode(t, row, kKindDataElement, "Price/Unit_(\xE2\x82\xAC)", "", 1);
             defineXmlDocument(t, "<?xml version=\"1.0\"?>\r\n<!-- ]]> & \t -->\n");
         }},
    };
    for (const auto& [what, build] : cases) {
        SCOPED_TRACE(what);
        LayoutTree original;
        build(original);
        const std::string text = layoutFileText(original);
        LayoutTree copy;
        readLayoutText(text, copy, &s);
        EXPECT_EQ(shape(copy), shape(original));
        EXPECT_EQ(copy.columnNames, (std::vector<std::string>{"ID", "Order_Date"}));
        EXPECT_EQ(layoutFileText(copy), text);
        EXPECT_EQ(generate(copy, s), generate(original, s));
    }
}

TEST(LayoutFile, TextIsDecodedAndNormalisedAsXmlPrescribes) {
    const std::string latin1 = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" +
                               wrapped("<element name=\"e\" value=\"caf\xE9\"/>\n");
    const struct {
        std::string text;
        std::string value;
    } cases[] = {
        {latin1, "caf\xC3\xA9"},
        {wrapped("<element name=\"e\" value=\"a\tb\nc\r\nd  e\"/>\n"), "a b c d  e"},
        {wrapped("<element name=\"e\" value=\"&#9;&#10;&#13;&#x20AC;&lt;&apos;\"/>\n"),
         "\t\n\r\xE2\x82\xAC<'"},
    };
    for (const auto& c : cases) {
        LayoutTree t;
        readLayoutText(c.text, t);
        EXPECT_EQ(t.table().cell(3, 2), c.value) << c.text;
    }
}

TEST(LayoutFile, HostileInputsAreRefusedOnOneLineNamingTheirLine) {
    std::string deep;
    for (int i = 0; i < 1001; ++i) deep += "<element name=\"e\" value=\"\">";
    for (int i = 0; i < 1001; ++i) deep += "</element>";
    const std::string el = "<element name=\"e\" value=\"";
    const struct {
        std::string text;
        int line;
        const char* message;
    } cases[] = {
        // below the root, which ends on line 2
        {wrapped(el + "caf\xE9\"/>\n"s), 3, "invalid token"},  // Latin-1, not declared
        {wrapped(el + "a\0b\"/>\n"s), 3, "invalid token"},
        {wrapped(el + "&#1;\"/>\n"s), 3, "reference to invalid character"},
        {wrapped(el + "&nbsp;\"/>\n"s), 3, "undefined entity"},
        {wrapped("<a b></a b>\n"), 3, "not well-formed"},
        {wrapped("\n<element name=\"a b\" value=\"\"/>\n"), 4,
         "<element> has the name \"a b\", which cannot hold a blank"},
        {wrapped("<element name=\"a/b\" value=\"\"/>\n"), 3, "cannot hold \"/\""},
        {wrapped("<attribute name=\"x.y\" value=\"\"/>\n"), 3, "cannot hold \".\""},
        {wrapped("<data-element name=\"a&#9;b\" column=\"0\"/>\n"), 3, "cannot hold U+0009"},
        {wrapped("<data-element name=\"a\xC2\x85\" column=\"0\"/>\n"), 3, "cannot hold U+0085"},
        {wrapped("<element value=\"\"/>\n"), 3, "<element> needs a name"},
        {wrapped("<data-element name=\"d\" column=\"\"/>\n"), 3, "the column \"\" is not a column"},
        {wrapped("<data-element name=\"d\" column=\" 1\"/>\n"), 3, "is not a column number"},
        {wrapped("<data-element name=\"d\" column=\"1000000\"/>\n"), 3, "is not a column number"},
        {wrapped("<data-element name=\"d\"/>\n"), 3, "<data-element> needs a column"},
        {wrapped("\n\n<elem name=\"e\"/>\n"), 5, "unknown tag <elem>"},
        {wrapped("<attribute name=\"a\" value=\"1\"/>\n"), 3,
         "an attribute cannot be placed directly under the root element"},
        {wrapped(el + "\">\n<attribute name=\"a\" value=\"\">\n<element name=\"x\" value=\"\"/>\n"
                      "</attribute>\n</element>\n"),
         4, "an attribute cannot have children"},
        {wrapped(el + "\">text</element>\n"), 3, "<element> cannot hold text"},
        {wrapped(el + "\" column=\"0\"/>\n"), 3, "<element> cannot have the attribute \"column\""},
        {wrapped(deep + "\n"), 3, "the layout nests deeper than 1000"},
        // the document as a whole
        {"<?xml version=\"1.0\" encoding=\"windows-1252\"?>\n<rowquill-layout/>", 1,
         "unknown encoding"},
        {"<!DOCTYPE r [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]>\n" +
             wrapped(el + "&b;\"/>\n"s),
         1, "a DOCTYPE is not accepted"},
        {"<rowquill-layout>\n<root name=\"r\">\n</rot>\n</rowquill-layout>", 3, "mismatched tag"},
        {"<rowquill-layout>\n<root name=\"r\">\n", 3, "no element found"},
        {"", 1, "no element found"},
        {"<other/>", 1, "this is not a layout file (the document element is <other>)"},
        {"<rowquill-layout version=\"2\"><root name=\"r\"/></rowquill-layout>", 1,
         "version \"2\" is not supported"},
        {"<rowquill-layout>\n</rowquill-layout>", 1, "the layout has no <root>"},
        {"<rowquill-layout>\n<root name=\"r\"/>\n<root name=\"s\"/></rowquill-layout>", 3,
         "a second <root>"},
        {"<rowquill-layout>\n<root name=\"1 r\"/></rowquill-layout>", 2, "cannot hold a blank"},
    };
    LayoutTree t;
    buildDefaultLayout(t, orders());
    const auto before = shape(t);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text.substr(0, 100));
        try {
            readLayoutText(c.text, t);
            ADD_FAILURE() << "accepted";
        } catch (const LayoutFileError& e) {
            const std::string what = e.what();
            EXPECT_EQ(e.line(), c.line) << what;
            EXPECT_EQ(what.rfind("line " + std::to_string(c.line) + ": ", 0), 0u) << what;
            EXPECT_NE(what.find(c.message), std::string::npos) << what;
            EXPECT_EQ(what.find('\n'), std::string::npos) << what;
        }
        EXPECT_EQ(shape(t), before);
    }
}

TEST(LayoutFile, WriterRefusesWhatReadingWouldRefuse) {
    using Spoil = std::function<void(LayoutTree&)>;
    const std::pair<Spoil, const char*> cases[] = {
        {[](LayoutTree& t) { t.table().setCell(3, 2, "a\x01"); }, "holds U+0001"},
        {[](LayoutTree& t) { t.table().setCell(3, 2, "caf\xE9"); }, "not UTF-8"},
        {[](LayoutTree& t) { t.table().setCell(3, 2, "\xEF\xBF\xBF"); }, "holds U+FFFF"},
        {[](LayoutTree& t) { t.table().setCell(3, 1, "a b"); }, "cannot hold a blank"},
        {[](LayoutTree& t) { t.table().setCell(4, 3, ""); }, "not a column number"},
        {[](LayoutTree& t) { t.rootElement()->children.front()->kind = kKindAttribute; },
         "has children"},
        {[](LayoutTree& t) { t.doctype = "\x1B"; }, "the DOCTYPE holds U+001B"},
        {[](LayoutTree& t) { t.clear(); }, "the layout has no root element"},
    };
    const fs::path file = fs::temp_directory_path() / ("rqlayout-" + std::to_string(getpid()));
    for (const auto& [spoil, message] : cases) {
        SCOPED_TRACE(message);
        LayoutTree t;
        buildDefaultLayout(t, orders());
        spoil(t);
        EXPECT_THROW(layoutFileText(t), LayoutFileError);
        std::string error;
        EXPECT_FALSE(saveLayoutFile(file.string(), t, &error));
        EXPECT_NE(error.find(file.string()), std::string::npos) << error;
        EXPECT_NE(error.find(message), std::string::npos) << error;
        EXPECT_FALSE(fs::exists(file));
    }
}

TEST(LayoutFile, LargeLayoutReadsCompletelyAndWritesBackTheSameBytes) {
    // 200,000 siblings (elements and attributes alternating), about 10 MB.
    constexpr int kSiblings = 200000;
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rowquill-layout version=\"1\">\n"
        "  <prolog>x</prolog>\n  <root name=\"r\">\n    <element name=\"row\" value=\"\">\n";
    for (int i = 0; i < kSiblings; ++i)
        text += i % 2 ? "      <attribute name=\"attribute" + std::to_string(i) +
                            "\" value=\"value number " + std::to_string(i) + "\"/>\n"
                      : "      <data-element name=\"element" + std::to_string(i) + "\" column=\"" +
                            std::to_string(i % 1000) + "\"/>\n";
    text += "    </element>\n  </root>\n</rowquill-layout>\n";
    ASSERT_GT(text.size(), 10'000'000u);

    LayoutTree t;
    readLayoutText(text, t);
    ASSERT_EQ(t.count(), kSiblings + 3);
    const auto& children = t.rootElement()->children.front()->children;
    ASSERT_EQ(children.size(), std::size_t{kSiblings});
    EXPECT_EQ(children.back()->key, std::to_string(kSiblings + 3) + "_");
    // Compared from the first difference: a diff of two 10 MB texts would not end.
    const std::string again = layoutFileText(t);
    const auto at = std::mismatch(text.begin(), text.end(), again.begin(), again.end()).first;
    const std::size_t from = static_cast<std::size_t>(at - text.begin());
    EXPECT_EQ(again.substr(from, 80), text.substr(from, 80)) << "from byte " << from;
}

// Saving and opening files are window and batch converter tests.
TEST(LayoutFile, AMissingFileIsNamedWithItsCause) {
    const fs::path file =
        fs::temp_directory_path() / ("rqlayout-missing-" + std::to_string(getpid()));
    LayoutTree t;
    try {
        loadLayoutFile(file.string(), t);
        FAIL();
    } catch (const LayoutFileError& e) {
        EXPECT_EQ(std::string(e.what()),
                  "Cannot open the layout file " + file.string() + ": No such file or directory");
    }
}
