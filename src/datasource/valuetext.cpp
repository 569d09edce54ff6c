#include "datasource/valuetext.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace rq::valuetext {

std::string integer(std::int64_t v) {
    char buf[24];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, r.ptr);
}

std::string unsignedInteger(std::uint64_t v) {
    char buf[24];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, r.ptr);
}

namespace {

std::string nonFinite(double v) {
    if (std::isnan(v)) return "NaN";
    return v < 0 ? "-INF" : "INF";
}

// The shortest digits that read back to the same value, written without an
// exponent for the magnitudes people write that way (10000000, not 1e+07).
template <typename T>
std::string shortest(T v) {
    char buf[400];
    T mag = v < 0 ? -v : v;
    auto format =
        mag >= T(1e-6) && mag < T(1e16) ? std::chars_format::fixed : std::chars_format::general;
    auto r = std::to_chars(buf, buf + sizeof buf, v, format);
    return std::string(buf, r.ptr);
}

}  // namespace

std::string floating(double v) {
    if (!std::isfinite(v)) return nonFinite(v);
    if (v == 0) return "0";
    return shortest(v);
}

std::string singleFloat(float v) {
    if (!std::isfinite(v)) return nonFinite(v);
    if (v == 0) return "0";
    return shortest(v);
}

std::string decimalDigits(bool negative, std::string_view digits, int scale) {
    while (!digits.empty() && digits.front() == '0') digits.remove_prefix(1);
    std::size_t zeros = 0;  // zeros the digits stand for beyond their last one
    if (scale < 0) {
        if (!digits.empty()) zeros = static_cast<std::size_t>(-static_cast<std::int64_t>(scale));
        scale = 0;
    }
    const std::size_t sc = static_cast<std::size_t>(scale);
    std::string_view whole, frac;
    if (digits.size() > sc) {
        whole = digits.substr(0, digits.size() - sc);
        frac = digits.substr(digits.size() - sc);
    } else {
        frac = digits;
    }
    while (!frac.empty() && frac.back() == '0') frac.remove_suffix(1);
    std::string out;
    out.reserve(whole.size() + zeros + sc + 3);
    if (negative && !(whole.empty() && frac.empty())) out += '-';
    if (whole.empty())
        out += '0';
    else
        out.append(whole).append(zeros, '0');
    if (!frac.empty()) {
        out += '.';
        // Leading zeros of a fraction with fewer digits than its scale.
        out.append(sc - (digits.size() > sc ? sc : digits.size()), '0');
        out.append(frac);
    }
    return out;
}

std::string decimalScaled(std::int64_t unscaled, int scale) {
    bool neg = unscaled < 0;
    std::uint64_t mag =
        neg ? 0 - static_cast<std::uint64_t>(unscaled) : static_cast<std::uint64_t>(unscaled);
    return decimalDigits(neg, unsignedInteger(mag), scale);
}

std::string boolean(bool v) {
    return v ? "true" : "false";
}

namespace {

void put2(std::string& s, int v) {
    s += static_cast<char>('0' + (v / 10) % 10);
    s += static_cast<char>('0' + v % 10);
}

void appendDate(std::string& s, int y, int m, int d) {
    if (y < 0) {
        s += '-';
        y = -y;
    }
    // At least four digits, zero-padded.
    char buf[16];
    char* end = std::to_chars(buf, buf + sizeof buf, y).ptr;
    s.append(static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, 4 - (end - buf))), '0');
    s.append(buf, end);
    s += '-';
    put2(s, m);
    s += '-';
    put2(s, d);
}

void appendTime(std::string& s, int h, int mi, int sec, int nanos) {
    put2(s, h);
    s += ':';
    put2(s, mi);
    s += ':';
    put2(s, sec);
    if (nanos > 0) {
        char buf[16];
        std::snprintf(buf, sizeof buf, "%09d", nanos);
        std::string f(buf);
        while (!f.empty() && f.back() == '0') f.pop_back();
        s += '.';
        s += f;
    }
}

}  // namespace

std::string date(int year, int month, int day) {
    std::string s;
    appendDate(s, year, month, day);
    return s;
}

std::string time(int hour, int minute, int second, int nanos) {
    std::string s;
    appendTime(s, hour, minute, second, nanos);
    return s;
}

std::string dateTime(int year, int month, int day, int hour, int minute, int second, int nanos) {
    std::string s;
    s.reserve(32);
    appendDate(s, year, month, day);
    s += 'T';
    appendTime(s, hour, minute, second, nanos);
    return s;
}

// Civil calendar arithmetic over eras of 400 years (proleptic Gregorian).
std::int64_t daysFromCivil(int year, int month, int day) {
    std::int64_t y = year - (month <= 2 ? 1 : 0);
    std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    std::int64_t yoe = y - era * 400;
    std::int64_t mp = (month + 9) % 12;
    std::int64_t doy = (153 * mp + 2) / 5 + day - 1;
    std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

void civilFromDays(std::int64_t z, int& year, int& month, int& day) {
    z += 719468;
    std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    std::int64_t doe = z - era * 146097;
    std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    std::int64_t y = yoe + era * 400;
    std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    std::int64_t mp = (5 * doy + 2) / 153;
    day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    year = static_cast<int>(y + (month <= 2 ? 1 : 0));
}

namespace {

std::string serialImpl(double serial, bool allowTimeOnly) {
    if (!std::isfinite(serial) || std::fabs(serial) > 3.0e6) return floating(serial);
    double whole = std::trunc(serial);
    double frac = std::fabs(serial - whole);
    std::int64_t ms = std::llround(frac * 86400000.0);
    std::int64_t days = static_cast<std::int64_t>(whole);
    if (ms >= 86400000) {  // rounding carried into the next day
        ms -= 86400000;
        days += serial < 0 ? -1 : 1;
    }
    static const std::int64_t epoch = daysFromCivil(1899, 12, 30);
    int y, m, d;
    civilFromDays(epoch + days, y, m, d);
    int h = static_cast<int>(ms / 3600000);
    int mi = static_cast<int>(ms / 60000 % 60);
    int s = static_cast<int>(ms / 1000 % 60);
    int nanos = static_cast<int>(ms % 1000) * 1000000;
    if (ms == 0) return date(y, m, d);
    if (allowTimeOnly && days == 0) return time(h, mi, s, nanos);
    return dateTime(y, m, d, h, mi, s, nanos);
}

}  // namespace

std::string serialDateTime(double serial) {
    return serialImpl(serial, true);
}
std::string serialDateTimeNoTimeOnly(double serial) {
    return serialImpl(serial, false);
}

std::string base64(std::string_view in) {
    static const char tbl[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((in.size() + 2) / 3 * 4);
    std::size_t i = 0;
    const auto* p = reinterpret_cast<const unsigned char*>(in.data());
    for (; i + 3 <= in.size(); i += 3) {
        unsigned v = (p[i] << 16) | (p[i + 1] << 8) | p[i + 2];
        out += tbl[v >> 18];
        out += tbl[(v >> 12) & 63];
        out += tbl[(v >> 6) & 63];
        out += tbl[v & 63];
    }
    if (i + 1 == in.size()) {
        unsigned v = p[i] << 16;
        out += tbl[v >> 18];
        out += tbl[(v >> 12) & 63];
        out += "==";
    } else if (i + 2 == in.size()) {
        unsigned v = (p[i] << 16) | (p[i + 1] << 8);
        out += tbl[v >> 18];
        out += tbl[(v >> 12) & 63];
        out += tbl[(v >> 6) & 63];
        out += '=';
    }
    return out;
}

bool isValidUtf8(std::string_view s) {
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    std::size_t n = s.size(), i = 0;
    while (i < n) {
        unsigned c = p[i];
        int len = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
        if (len == 0 || i + len > n) return false;
        if (len == 2 && c < 0xC2) return false;
        for (int k = 1; k < len; ++k)
            if ((p[i + k] & 0xC0) != 0x80) return false;
        i += static_cast<std::size_t>(len);
    }
    return true;
}

}  // namespace rq::valuetext
