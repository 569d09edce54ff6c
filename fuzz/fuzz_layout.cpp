// The layout-file reader over arbitrary text; a layout it accepts must write
// out and read back to the same file text.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "layout/layoutfile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    rq::LayoutTree tree;
    try {
        rq::readLayoutText(text, tree);
    } catch (const rq::LayoutFileError&) {
        return 0;
    }
    const std::string once = rq::layoutFileText(tree);
    rq::LayoutTree again;
    rq::readLayoutText(once, again);
    if (rq::layoutFileText(again) != once) std::abort();
    return 0;
}
