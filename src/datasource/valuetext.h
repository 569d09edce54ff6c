// Values as text: one set of functions every reader uses, so that a value
// reads the same whichever file it came from. The forms are the XML Schema
// lexical forms, so generated documents validate against typed schemas.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace rq::valuetext {

std::string integer(std::int64_t v);
std::string unsignedInteger(std::uint64_t v);
// Shortest text that reads back to the same value ("0.15" for a single 0.15).
std::string floating(double v);
std::string singleFloat(float v);
// Exact decimal of unscaled / 10^scale, without trailing fractional zeros
// ("14", "1995.5"). Currency is decimalScaled(v, 4).
std::string decimalScaled(std::int64_t unscaled, int scale);
// The same for a digit string (most significant first, no sign) of any length.
std::string decimalDigits(bool negative, std::string_view digits, int scale);
std::string boolean(bool v);

// Calendar values; fractions of seconds are written only when not zero.
// nanos: 0 .. 999'999'999.
std::string date(int year, int month, int day);
std::string time(int hour, int minute, int second, int nanos = 0);
std::string dateTime(int year, int month, int day, int hour, int minute, int second, int nanos = 0);

// Days since 1970-01-01 for a proleptic Gregorian date, and back.
std::int64_t daysFromCivil(int year, int month, int day);
void civilFromDays(std::int64_t days, int& year, int& month, int& day);

// A serial date-time of the desktop engines and spreadsheets: whole days since
// 1899-12-30 plus the fraction of the day. Negative values follow the engine's
// rule: the day part counts back from 1899-12-30 and the fraction is the time
// of that day, whatever the sign. Gives a date when the time is zero, a time
// when the day is 1899-12-30 and the time is not zero, else a date-time.
// Times are rounded to the millisecond.
std::string serialDateTime(double serial);
// The same, but always as a date-time or date (no time-only form).
std::string serialDateTimeNoTimeOnly(double serial);

std::string base64(std::string_view bytes);

// True when the text is valid UTF-8.
bool isValidUtf8(std::string_view s);

}  // namespace rq::valuetext
