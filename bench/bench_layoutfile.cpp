// Layout file figures: reading and writing a layout of 200,000 siblings (about
// 12 MB), elements and attributes alternating, and the XML reading alone.
#include <benchmark/benchmark.h>

#include <string>

#include "base/xml/xmlreader.h"
#include "layout/layoutfile.h"

namespace {

constexpr int kSiblings = 200'000;

const std::string& bigLayout() {
    static const std::string text = [] {
        std::string s =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rowquill-layout version=\"1\">\n"
            "  <prolog>&lt;?xml version=\"1.0\"?&gt;</prolog>\n  <root name=\"document\">\n"
            "    <element name=\"row\" value=\"\">\n";
        for (int i = 0; i < kSiblings; ++i)
            s += i % 2 ? "      <attribute name=\"attribute" + std::to_string(i) +
                             "\" value=\"value number " + std::to_string(i) + "\"/>\n"
                       : "      <data-element name=\"element" + std::to_string(i) + "\" column=\"" +
                             std::to_string(i % 1000) + "\"/>\n";
        s += "    </element>\n  </root>\n</rowquill-layout>\n";
        return s;
    }();
    return text;
}

void BM_ReadXmlOnly(benchmark::State& state) {
    const std::string& text = bigLayout();
    for (auto _ : state) {
        rq::XmlDocument doc = rq::readXml(text);
        benchmark::DoNotOptimize(doc.elements.size());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ReadXmlOnly)->Unit(benchmark::kMillisecond);

void BM_ReadLayout(benchmark::State& state) {
    const std::string& text = bigLayout();
    for (auto _ : state) {
        rq::LayoutTree tree;
        rq::readLayoutText(text, tree);
        benchmark::DoNotOptimize(tree.count());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ReadLayout)->Unit(benchmark::kMillisecond);

void BM_WriteLayout(benchmark::State& state) {
    rq::LayoutTree tree;
    rq::readLayoutText(bigLayout(), tree);
    for (auto _ : state) {
        std::string text = rq::layoutFileText(tree);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_WriteLayout)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
