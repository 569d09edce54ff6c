#include <gtest/gtest.h>

#include <random>

#include "generate/documentwriter.h"
#include "layout/defaultlayout.h"

using namespace rq;

namespace {

DataSheet makeSheet(std::vector<std::vector<std::string>> rows) {
    DataSheet s(static_cast<int>(rows.size()), static_cast<int>(rows[0].size()));
    for (std::size_t r = 0; r < rows.size(); ++r)
        for (std::size_t c = 0; c < rows[r].size(); ++c)
            s.setCell(static_cast<int>(r), static_cast<int>(c), rows[r][c]);
    return s;
}

LayoutNode* addNode(LayoutTree& t, LayoutNode* parent, int kind, const std::string& name,
                    const std::string& value = "", int column = -1) {
    int row = t.table().rows() - 1;
    t.table().setCell(row, 1, name);
    if (!value.empty()) t.table().setCell(row, 2, value);
    if (column >= 0) t.table().setCell(row, 3, std::to_string(column));
    t.table().grow();
    return t.add(parent, Relation::LastChild, t.newKey(), "<" + name + ">", kind);
}

std::string generate(LayoutTree& t, const DataSheet& s) {
    WorkingTable w;
    return buildDocument(t, w, s, s.rows() - 1);
}

const DataSheet kPeople = makeSheet({{"ID", "Name"}, {"1", "Ann"}, {"2", "Bob"}});

}  // namespace

TEST(DocumentWriter, DefaultLayoutPutsEndTagsOnTheLineOfTheLastDescendant) {
    LayoutTree t;
    buildDefaultLayout(t, kPeople);
    EXPECT_EQ(generate(t, kPeople),
              "<?xml version=\"1.0\"?>\r\n"
              "\t<document>\r\n"
              "\t\t<row>\r\n"
              "\t\t\t<ID>1</ID>\r\n"
              "\t\t\t<Name>Ann</Name></row>\r\n"
              "\t\t<row>\r\n"
              "\t\t\t<ID>2</ID>\r\n"
              "\t\t\t<Name>Bob</Name></row>\r\n"
              "\t</document>\r\n");
}

TEST(DocumentWriter, NoRecordsGiveHeadAndTailOnly) {
    DataSheet header = makeSheet({{"ID", "Name"}});
    LayoutTree t;
    buildDefaultLayout(t, header);
    const std::string expected = "<?xml version=\"1.0\"?>\r\n\t<document>\r\n\t</document>\r\n";
    EXPECT_EQ(generate(t, header), expected);
    WorkingTable w;
    tidyLayout(t, w);
    EXPECT_EQ(buildDocumentRange(t, w, kPeople, 2, 1), expected);  // first > last
}

TEST(DocumentWriter, ValuesAreEscapedAndEmptyValuesWriteNothing) {
    DataSheet s = makeSheet({{"A", "B"}, {"x&y<z>\"q\"'", ""}, {"l1\nl2\r\nl3", "\xE2\x82\xAC"}});
    LayoutTree t;
    buildDefaultLayout(t, s);
    EXPECT_EQ(generate(t, s),
              "<?xml version=\"1.0\"?>\r\n\t<document>\r\n"
              "\t\t<row>\r\n\t\t\t<A>x&amp;y&lt;z&gt;&quot;q&quot;'</A>\r\n"
              "\t\t\t<B></B></row>\r\n"
              "\t\t<row>\r\n\t\t\t<A>l1\r\nl2\r\r\nl3</A>\r\n"
              "\t\t\t<B>\xE2\x82\xAC</B></row>\r\n"
              "\t</document>\r\n");
}

TEST(DocumentWriter, AttributesAreWrittenOncePerRecordWithThatRecordsValues) {
    LayoutTree t;
    buildDefaultLayout(t, kPeople);
    LayoutNode* rec = t.find("3_");
    // Attributes come first among siblings.
    LayoutNode* id =
        t.add(rec->children[0], Relation::Previous, t.newKey(), "id=\"\"", kKindDataAttribute);
    t.table().setCell(6, 1, "id");
    t.table().setCell(6, 3, "0");
    t.table().grow();
    LayoutNode* src = t.add(id, Relation::Next, t.newKey(), "src=\"a<b\"", kKindAttribute);
    t.table().setCell(7, 1, "src");
    t.table().setCell(7, 2, "a<b");
    t.table().grow();
    (void)src;
    EXPECT_EQ(generate(t, kPeople),
              "<?xml version=\"1.0\"?>\r\n\t<document>\r\n"
              "\t\t<row id=\"1\" src=\"a&lt;b\">\r\n"
              "\t\t\t<ID>1</ID>\r\n"
              "\t\t\t<Name>Ann</Name></row>\r\n"
              "\t\t<row id=\"2\" src=\"a&lt;b\">\r\n"
              "\t\t\t<ID>2</ID>\r\n"
              "\t\t\t<Name>Bob</Name></row>\r\n"
              "\t</document>\r\n");
}

TEST(DocumentWriter, ElementWithValueAndChildrenKeepsTheFirstChildOnItsLine) {
    LayoutTree t;
    buildDefaultLayout(t, kPeople);
    LayoutNode* rec = t.find("3_");
    t.remove(t.find("4_"));
    t.remove(t.find("5_"));
    LayoutNode* group = addNode(t, rec, kKindElement, "group", "fixed");
    addNode(t, group, kKindDataElement, "who", "", 1);
    addNode(t, group, kKindElement, "empty");
    EXPECT_EQ(generate(t, kPeople),
              "<?xml version=\"1.0\"?>\r\n\t<document>\r\n"
              "\t\t<row>\r\n"
              "\t\t\t<group>fixed<who>Ann</who>\r\n"
              "\t\t\t\t<empty></empty></group></row>\r\n"
              "\t\t<row>\r\n"
              "\t\t\t<group>fixed<who>Bob</who>\r\n"
              "\t\t\t\t<empty></empty></group></row>\r\n"
              "\t</document>\r\n");
}

TEST(DocumentWriter, DataElementWithChildrenDecidesTheLineBreakPerRecord) {
    DataSheet s = makeSheet({{"K", "V"}, {"x", "1"}, {"", "2"}});
    LayoutTree t;
    buildDefaultLayout(t, s);
    LayoutNode* k = t.find("4_");
    t.remove(t.find("5_"));
    addNode(t, k, kKindDataElement, "V", "", 1);
    EXPECT_EQ(generate(t, s),
              "<?xml version=\"1.0\"?>\r\n\t<document>\r\n"
              "\t\t<row>\r\n"
              "\t\t\t<K>x<V>1</V></K></row>\r\n"
              "\t\t<row>\r\n"
              "\t\t\t<K>\r\n"
              "\t\t\t\t<V>2</V></K></row>\r\n"
              "\t</document>\r\n");
}

TEST(DocumentWriter, ElementAfterAnAttributeSiblingOpensANewLine) {
    LayoutTree t;
    buildDefaultLayout(t, kPeople);
    LayoutNode* rec = t.find("3_");
    t.remove(t.find("5_"));
    LayoutNode* id = t.find("4_");
    // An attribute under ID (a leaf), then ID's sibling element after it.
    addNode(t, id, kKindAttribute, "unit", "kg");
    addNode(t, rec, kKindDataElement, "Name", "", 1);
    EXPECT_EQ(generate(t, kPeople),
              "<?xml version=\"1.0\"?>\r\n\t<document>\r\n"
              "\t\t<row>\r\n"
              "\t\t\t<ID unit=\"kg\">1</ID>\r\n"
              "\t\t\t<Name>Ann</Name></row>\r\n"
              "\t\t<row>\r\n"
              "\t\t\t<ID unit=\"kg\">2</ID>\r\n"
              "\t\t\t<Name>Bob</Name></row>\r\n"
              "\t</document>\r\n");
}

TEST(DocumentWriter, BindingBeyondTheSheetGivesEmptyContent) {
    LayoutTree t;
    buildDefaultLayout(t, kPeople);
    t.table().setCell(5, 3, "7");
    std::string doc = generate(t, kPeople);
    EXPECT_NE(doc.find("\t\t\t<Name></Name></row>\r\n"), std::string::npos);
    // Deleting a column shifts bindings: the second data element runs dry.
    DataSheet narrowed = makeSheet({{"Name"}, {"Ann"}, {"Bob"}});
    LayoutTree t2;
    buildDefaultLayout(t2, kPeople);
    std::string doc2 = generate(t2, narrowed);
    EXPECT_NE(doc2.find("<ID>Ann</ID>\r\n\t\t\t<Name></Name></row>"), std::string::npos);
}

TEST(DocumentWriter, PrologItemsStandOnTheirOwnLinesAndRootAttributesFollowTheName) {
    LayoutTree t;
    buildDefaultLayout(t, kPeople);
    t.documentNode()->text =
        "<?xml version=\"1.0\"?><?xml:stylesheet type=\"text/xsl\" "
        "href=\"a.xsl\"?><!DOCTYPE document SYSTEM \"d.dtd\">";
    t.rootAttributes = " xmlns=\"urn:x\" ";
    std::string doc = generate(t, kPeople);
    EXPECT_EQ(doc.substr(0, doc.find("\t\t<row>")),
              "<?xml version=\"1.0\"?>\r\n"
              "<?xml:stylesheet type=\"text/xsl\" href=\"a.xsl\"?>\r\n"
              "<!DOCTYPE document SYSTEM \"d.dtd\">\r\n"
              "\t<document xmlns=\"urn:x\" >\r\n");
    EXPECT_TRUE(doc.ends_with("\t</document>\r\n"));
}

TEST(DocumentWriter, ProgressReportsEachRecord) {
    EXPECT_EQ(completingRowText(7, 120), "Completing Row:7 of 120");
    DataSheet s(121, 1);
    LayoutTree t;
    buildDefaultLayout(t, s);
    WorkingTable w;
    std::vector<int> seen;
    buildDocument(t, w, s, 120, [&](int i, int n) {
        EXPECT_EQ(n, 120);
        seen.push_back(i);
    });
    ASSERT_EQ(seen.size(), 120u);
    EXPECT_EQ(seen.front(), 1);
    EXPECT_EQ(seen.back(), 120);
    std::vector<double> pct;
    buildDocumentRange(t, w, s, 11, 15, [&](double p) { pct.push_back(p); });
    EXPECT_EQ(pct, (std::vector<double>{0, 25, 50, 75, 100}));
    pct.clear();
    buildDocumentRange(t, w, s, 3, 3, [&](double p) { pct.push_back(p); });
    EXPECT_TRUE(pct.empty());
}

TEST(DocumentWriter, SeparateDocumentCoversOnlyItsRange) {
    DataSheet s(26, 1);
    s.setCell(0, 0, "n");
    for (int r = 1; r <= 25; ++r) s.setCell(r, 0, std::to_string(r));
    LayoutTree t;
    buildDefaultLayout(t, s);
    WorkingTable w;
    tidyLayout(t, w);
    std::string doc = buildDocumentRange(t, w, s, 21, 25);
    EXPECT_NE(doc.find("<n>21</n>"), std::string::npos);
    EXPECT_NE(doc.find("<n>25</n>"), std::string::npos);
    EXPECT_EQ(doc.find("<n>20</n>"), std::string::npos);
}

TEST(StringBuilder, GrowsByFiftyThousandOrByALongPiece) {
    StringBuilder b;
    b.concat("abc");
    EXPECT_EQ(b.bufferLength(), 50000u);
    std::string big(50001, 'x');
    b.concat(big);
    EXPECT_EQ(b.bufferLength(), 100001u);
    std::string body;
    for (int i = 0; i < 40000; ++i) {
        std::string piece = std::to_string(i) + ";";
        b.concat(piece);
        body += piece;
    }
    EXPECT_EQ(b.text(), "abc" + big + body);
    EXPECT_EQ(tabs(0), "");
    EXPECT_EQ(tabs(-1), "");
    EXPECT_EQ(tabs(3), "\t\t\t");
}

// The fast writer must give exactly the bytes of the step-by-step one, for
// any layout the editing commands can make.
TEST(DocumentWriter, FastWriterMatchesTheStepByStepWriterOnRandomLayouts) {
    std::mt19937 rng(12345);
    const std::vector<std::string> values = {"", "", "v", "a&b", "x\ny", "<t>", "\"q\""};
    for (int round = 0; round < 300; ++round) {
        int cols = 1 + static_cast<int>(rng() % 4);
        DataSheet s(1 + static_cast<int>(rng() % 5), cols);
        for (int r = 0; r < s.rows(); ++r)
            for (int c = 0; c < cols; ++c) s.setCell(r, c, values[rng() % values.size()]);
        for (int c = 0; c < cols; ++c) s.setCell(0, c, "c" + std::to_string(c));
        LayoutTree t;
        buildDefaultLayout(t, s);
        std::vector<LayoutNode*> elements = {t.find("3_")};
        for (auto* ch : t.find("3_")->children) elements.push_back(ch);
        int extra = static_cast<int>(rng() % 8);
        for (int k = 0; k < extra; ++k) {
            LayoutNode* parent = elements[rng() % elements.size()];
            int kind = 2 + static_cast<int>(rng() % 4);
            int column = static_cast<int>(rng() % (cols + 2)) - 1;  // some out of range
            LayoutNode* n = addNode(t, parent, kind, "n" + std::to_string(k),
                                    isDataKind(kind) ? "" : values[rng() % values.size()],
                                    isDataKind(kind) ? column : -1);
            if (isAttributeKind(kind)) {
                // Attributes first among their siblings.
                auto& sib = parent->children;
                sib.pop_back();
                std::size_t pos = 0;
                while (pos < sib.size() && isAttributeKind(sib[pos]->kind)) ++pos;
                sib.insert(sib.begin() + static_cast<long>(pos), n);
            } else {
                elements.push_back(n);
            }
        }
        WorkingTable w1, w2;
        std::string fast = buildDocument(t, w1, s, s.rows() - 1);
        tidyLayout(t, w2);
        std::string slow = referenceDocument(t, w2, s, 1, s.rows() - 1);
        ASSERT_EQ(fast, slow) << "round " << round;
    }
}
