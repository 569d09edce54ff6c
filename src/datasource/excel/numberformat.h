// Telling date and time number formats of a workbook from the others.
#pragma once

#include <string_view>

namespace rq::excel {

// True when a format code shows its number as a date or a time: it has a day,
// month, year, hour or second part outside quoted text, escapes and brackets
// (elapsed-time brackets such as [h] count as time). Only the first section,
// the one for positive numbers, is looked at.
bool isDateFormatCode(std::string_view code);

// The built-in formats that are dates or times, by their index (14-22, 45-47
// and the East Asian date formats).
bool isBuiltInDateFormat(unsigned index);

}  // namespace rq::excel
