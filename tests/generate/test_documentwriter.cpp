#include <gtest/gtest.h>

#include <random>

#include "../layout/layout_test_support.h"
#include "generate/documentwriter.h"
#include "layout/defaultlayout.h"

using namespace rq;
using rq::layouttest::addNode;

// The progress of a whole document ("Completing Row:") is a window test.
TEST(DocumentWriter, ProgressOfARangeInPercent) {
    DataSheet s(121, 1);
    LayoutTree t;
    buildDefaultLayout(t, s);
    WorkingTable w;
    tidyLayout(t, w);
    std::vector<double> pct;
    buildDocumentRange(t, w, s, 11, 15, [&](double p) { pct.push_back(p); });
    EXPECT_EQ(pct, (std::vector<double>{0, 25, 50, 75, 100}));
    pct.clear();
    buildDocumentRange(t, w, s, 3, 3, [&](double p) { pct.push_back(p); });
    EXPECT_TRUE(pct.empty());
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
