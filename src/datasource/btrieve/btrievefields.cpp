#include "datasource/btrieve/btrievefields.h"

#include <cmath>
#include <cstring>

#include "base/text/cp1252.h"
#include "datasource/codepage.h"
#include "datasource/database.h"
#include "datasource/valuetext.h"

namespace rq::btrieve {

namespace vt = rq::valuetext;

namespace {

std::uint64_t littleEndian(std::string_view b) {
    std::uint64_t v = 0;
    for (std::size_t i = b.size(); i-- > 0;) v = (v << 8) | static_cast<unsigned char>(b[i]);
    return v;
}

std::int64_t signExtend(std::uint64_t v, std::size_t bytes) {
    if (bytes >= 8) return static_cast<std::int64_t>(v);
    std::uint64_t sign = std::uint64_t{1} << (bytes * 8 - 1);
    return static_cast<std::int64_t>((v ^ sign) - sign);
}

std::string_view cutAtNul(std::string_view s) {
    std::size_t z = s.find('\0');
    return z == std::string_view::npos ? s : s.substr(0, z);
}

std::string_view trimBlanks(std::string_view s) {
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    return s;
}

bool leapYear(int y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int daysInMonth(int y, int m) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && leapYear(y) ? 29 : days[m - 1];
}

// Packed decimal: two digits a byte, the last half-byte the sign (0xD or 0xB
// negative). Returns false when a half-byte is not a digit.
bool appendPacked(std::string_view b, int scale, std::string& out) {
    if (b.empty()) return false;
    std::string digits;
    digits.reserve(b.size() * 2);
    for (std::size_t i = 0; i < b.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(b[i]);
        unsigned hi = c >> 4, lo = c & 0x0F;
        if (hi > 9) return false;
        digits += static_cast<char>('0' + hi);
        if (i + 1 < b.size()) {
            if (lo > 9) return false;
            digits += static_cast<char>('0' + lo);
        }
    }
    unsigned sign = static_cast<unsigned char>(b.back()) & 0x0F;
    if (sign < 0x0A) return false;
    out += vt::decimalDigits(sign == 0x0D || sign == 0x0B, digits, scale);
    return true;
}

// One character of a zoned (overpunched) sign: its digit and sign.
bool overpunch(char c, char& digit, bool& negative) {
    if (c >= '0' && c <= '9') {
        digit = c;
        negative = false;
    } else if (c == '{') {
        digit = '0';
        negative = false;
    } else if (c >= 'A' && c <= 'I') {
        digit = static_cast<char>('1' + (c - 'A'));
        negative = false;
    } else if (c == '}') {
        digit = '0';
        negative = true;
    } else if (c >= 'J' && c <= 'R') {
        digit = static_cast<char>('1' + (c - 'J'));
        negative = true;
    } else if (c >= 'p' && c <= 'y') {
        digit = static_cast<char>('0' + (c - 'p'));
        negative = true;
    } else {
        return false;
    }
    return true;
}

// Numbers stored as digit characters; blanks count as zeros.
bool appendZoned(std::string_view b, int type, int scale, std::string& out) {
    if (b.empty()) return false;
    std::string digits;
    bool negative = false;
    std::size_t first = 0, last = b.size();
    if (type == kNumericSts) {
        char s = b.back();
        if (s == '-')
            negative = true;
        else if (s != '+' && s != ' ')
            return false;
        last = b.size() - 1;
    }
    for (std::size_t i = first; i < last; ++i) {
        char c = b[i];
        bool zonedHere = (type == kNumeric && i + 1 == last) || (type == kNumericSa && i == 0);
        if (zonedHere) {
            char d;
            bool neg;
            if (c == ' ') {
                d = '0';
                neg = false;
            } else if (!overpunch(c, d, neg)) {
                return false;
            }
            negative = negative || neg;
            digits += d;
        } else if (c == ' ') {
            digits += '0';
        } else if (c >= '0' && c <= '9') {
            digits += c;
        } else if (c == '-' && digits.find_first_not_of('0') == std::string::npos) {
            negative = true;
        } else if (c == '+' && digits.find_first_not_of('0') == std::string::npos) {
        } else {
            return false;
        }
    }
    if (digits.empty()) return false;
    out += vt::decimalDigits(negative, digits, scale);
    return true;
}

void appendGuid(std::string_view b, std::string& out) {
    static const char hex[] = "0123456789ABCDEF";
    // The first three groups are little-endian.
    static const int order[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    out += '{';
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) out += '-';
        unsigned char c = static_cast<unsigned char>(b[static_cast<std::size_t>(order[i])]);
        out += hex[c >> 4];
        out += hex[c & 0x0F];
    }
    out += '}';
}

}  // namespace

bool isColumnType(int dataType) {
    return dataType >= 0 && dataType < 128;
}

int engineType(const FieldDef& f) {
    switch (f.dataType) {
        case kString:
        case kLstring:
        case kZstring:
        case kWstring:
        case kWzstring:
            return rq::kText;
        case kNote:
            return rq::kMemo;
        case kInteger:
        case kAutoinc:
            return f.size == 1   ? rq::kByte
                   : f.size == 2 ? rq::kInteger
                   : f.size == 4 ? rq::kLong
                                 : rq::kBigInt;
        case kUnsigned:
            return f.size == 1 ? rq::kByte : f.size == 2 ? rq::kLong : rq::kBigInt;
        case kFloat:
        case kBfloat:
            return f.size == 4 ? rq::kSingle : rq::kDouble;
        case kDate:
        case kTime:
        case kTimestamp:
            return rq::kDateTime;
        case kDecimal:
        case kNumeric:
        case kNumericSts:
        case kNumericSa:
            return rq::kDecimal;
        case kMoney:
        case kCurrency:
            return rq::kCurrency;
        case kLogical:
        case kBit:
            return rq::kBoolean;
        case kGuid:
            return rq::kGuid;
        default:
            return rq::kLongBinary;
    }
}

double mbfToDouble(std::string_view b) {
    if (b.size() != 4 && b.size() != 8) return 0;
    auto byte = [&](std::size_t i) {
        return static_cast<std::uint64_t>(static_cast<unsigned char>(b[i]));
    };
    const std::size_t n = b.size();
    int exponent = static_cast<int>(byte(n - 1));
    if (exponent == 0) return 0;
    bool negative = byte(n - 2) & 0x80;
    // Mantissa with its hidden leading one, as a fraction 0.5 <= m < 1.
    std::uint64_t m = (byte(n - 2) & 0x7F) | 0x80;
    for (std::size_t i = n - 2; i-- > 0;) m = (m << 8) | byte(i);
    int bits = static_cast<int>((n - 1) * 8);
    double v = std::ldexp(static_cast<double>(m), exponent - 128 - bits);
    return negative ? -v : v;
}

std::string utf16leToUtf8(std::string_view b) {
    std::string out;
    std::size_t n = b.size() / 2;
    auto unit = [&](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(b[2 * i])) |
               (static_cast<std::uint32_t>(static_cast<unsigned char>(b[2 * i + 1])) << 8);
    };
    for (std::size_t i = 0; i < n; ++i) {
        std::uint32_t u = unit(i);
        if (u >= 0xD800 && u < 0xDC00 && i + 1 < n && unit(i + 1) >= 0xDC00 &&
            unit(i + 1) < 0xE000) {
            u = 0x10000 + ((u - 0xD800) << 10) + (unit(i + 1) - 0xDC00);
            ++i;
        } else if (u >= 0xD800 && u < 0xE000) {
            u = 0xFFFD;
        }
        appendUtf8(out, u);
    }
    return out;
}

bool appendFieldText(const FieldDef& f, std::string_view record, const CodePage& cp,
                     std::string& out) {
    if (f.offset >= record.size()) return true;
    std::string_view rest = record.substr(f.offset);
    std::string_view b = rest.substr(0, f.size);
    const bool whole = b.size() == f.size;
    switch (f.dataType) {
        case kString:
            cp.appendUtf8(out, trimBlanks(cutAtNul(b)));
            return true;
        case kZstring:
            cp.appendUtf8(out, cutAtNul(b));
            return true;
        case kLstring: {
            if (b.empty()) return true;
            std::size_t len = static_cast<unsigned char>(b[0]);
            cp.appendUtf8(out, b.substr(1, len));
            return true;
        }
        case kNote:
            cp.appendUtf8(out, cutAtNul(rest));
            return true;
        case kWstring: {
            std::string s = utf16leToUtf8(b);
            std::size_t z = s.find('\0');
            if (z != std::string::npos) s.resize(z);
            out += trimBlanks(s);
            return true;
        }
        case kWzstring: {
            std::string s = utf16leToUtf8(b);
            out += cutAtNul(s);
            return true;
        }
        case kLvar: {
            if (b.size() < 2) return true;
            std::size_t len =
                static_cast<unsigned char>(b[0]) | (static_cast<unsigned char>(b[1]) << 8);
            out += vt::base64(rest.substr(2, len));
            return true;
        }
        default:
            break;
    }
    if (!whole) return true;  // a fixed-size value cut off by the end of the record
    switch (f.dataType) {
        case kInteger:
        case kAutoinc:
            if (f.size == 1 || f.size == 2 || f.size == 4 || f.size == 8)
                out += vt::integer(signExtend(littleEndian(b), f.size));
            else
                out += vt::base64(b);
            return true;
        case kUnsigned:
            if (f.size == 1 || f.size == 2 || f.size == 4 || f.size == 8)
                out += vt::unsignedInteger(littleEndian(b));
            else
                out += vt::base64(b);
            return true;
        case kFloat:
            if (f.size == 4) {
                float v;
                std::memcpy(&v, b.data(), 4);
                out += vt::singleFloat(v);
            } else if (f.size == 8) {
                double v;
                std::memcpy(&v, b.data(), 8);
                out += vt::floating(v);
            } else {
                out += vt::base64(b);
            }
            return true;
        case kBfloat:
            if (f.size == 4)
                out += vt::singleFloat(static_cast<float>(mbfToDouble(b)));
            else if (f.size == 8)
                out += vt::floating(mbfToDouble(b));
            else
                out += vt::base64(b);
            return true;
        case kDate: {
            if (f.size != 4) return true;
            int day = static_cast<unsigned char>(b[0]);
            int month = static_cast<unsigned char>(b[1]);
            int year = static_cast<int>(littleEndian(b.substr(2, 2)));
            if (day == 0 && month == 0 && year == 0) return true;  // no date
            if (year < 1 || month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month))
                return false;
            out += vt::date(year, month, day);
            return true;
        }
        case kTime: {
            if (f.size != 4) return true;
            int hundredths = static_cast<unsigned char>(b[0]);
            int second = static_cast<unsigned char>(b[1]);
            int minute = static_cast<unsigned char>(b[2]);
            int hour = static_cast<unsigned char>(b[3]);
            if (hundredths > 99 || second > 59 || minute > 59 || hour > 23) return false;
            out += vt::time(hour, minute, second, hundredths * 10000000);
            return true;
        }
        case kTimestamp: {
            if (f.size != 8) return true;
            // Units of 100 ns since 0001-01-01.
            std::uint64_t v = littleEndian(b);
            if (v == 0) return true;
            const std::uint64_t perDay = 864000000000ULL;
            std::int64_t days = static_cast<std::int64_t>(v / perDay);
            std::uint64_t rem = v % perDay;
            int y, m, d;
            vt::civilFromDays(vt::daysFromCivil(1, 1, 1) + days, y, m, d);
            int secs = static_cast<int>(rem / 10000000);
            int nanos = static_cast<int>(rem % 10000000) * 100;
            out += vt::dateTime(y, m, d, secs / 3600, secs / 60 % 60, secs % 60, nanos);
            return true;
        }
        case kDecimal:
        case kMoney:
            // All zero bytes, not even a sign: a value never written.
            if (b.find_first_not_of('\0') == std::string_view::npos) return true;
            return appendPacked(b, f.decimals, out);
        case kNumeric:
        case kNumericSts:
        case kNumericSa:
            return appendZoned(b, f.dataType, f.decimals, out);
        case kCurrency:
            if (f.size == 8)
                out += vt::decimalScaled(static_cast<std::int64_t>(littleEndian(b)), 4);
            else
                out += vt::base64(b);
            return true;
        case kLogical: {
            bool any = false;
            for (char c : b) any = any || c != 0;
            out += vt::boolean(any);
            return true;
        }
        case kBit:
            if (f.size >= 1)
                out += vt::boolean((static_cast<unsigned char>(b[0]) >> (f.decimals & 7)) & 1);
            return true;
        case kGuid:
            if (f.size == 16)
                appendGuid(b, out);
            else
                out += vt::base64(b);
            return true;
        default:
            out += vt::base64(b);
            return true;
    }
}

}  // namespace rq::btrieve
