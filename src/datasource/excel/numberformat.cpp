#include "datasource/excel/numberformat.h"

namespace rq::excel {

bool isDateFormatCode(std::string_view code) {
    for (std::size_t i = 0; i < code.size(); ++i) {
        char c = code[i];
        switch (c) {
            case ';':
                return false;  // end of the first section
            case '"': {        // quoted text
                std::size_t end = code.find('"', i + 1);
                if (end == std::string_view::npos) return false;
                i = end;
                continue;
            }
            case '\\':  // escaped character
            case '_':   // space as wide as the next character
            case '*':   // fill with the next character
                ++i;
                continue;
            case '[': {
                std::size_t end = code.find(']', i + 1);
                if (end == std::string_view::npos) return false;
                std::string_view inner = code.substr(i + 1, end - i - 1);
                // [h], [mm], [ss]: elapsed time.
                if (!inner.empty()) {
                    char f = inner.front();
                    bool allSame = true;
                    for (char x : inner) allSame = allSame && (x == f);
                    if (allSame &&
                        (f == 'h' || f == 'H' || f == 'm' || f == 'M' || f == 's' || f == 'S'))
                        return true;
                }
                i = end;
                continue;
            }
            default:
                break;
        }
        switch (c) {
            case 'd':
            case 'D':
            case 'm':
            case 'M':
            case 'y':
            case 'Y':
            case 'h':
            case 'H':
            case 's':
            case 'S':
                return true;
            case 'G':
            case 'g': {
                // "General" in any letter case holds no date part.
                std::string_view word = code.substr(i, 7);
                bool general = word.size() == 7;
                for (std::size_t k = 0; general && k < 7; ++k)
                    general = (word[k] | 0x20) == "general"[k];
                if (general) i += 6;
                continue;
            }
            default:
                continue;
        }
    }
    return false;
}

bool isBuiltInDateFormat(unsigned index) {
    return (index >= 14 && index <= 22) || (index >= 45 && index <= 47) ||
           (index >= 27 && index <= 36) || (index >= 50 && index <= 58);
}

}  // namespace rq::excel
