#include "datasource/sql/functions.h"

#include <sqlite3.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>

#include "datasource/sql/translate.h"
#include "datasource/valuetext.h"

namespace rq::sql {

namespace {

std::string_view textArg(sqlite3_value* v) {
    const auto* p = reinterpret_cast<const char*>(sqlite3_value_text(v));
    if (!p) return {};
    return {p, static_cast<std::size_t>(sqlite3_value_bytes(v))};
}

bool isNull(sqlite3_value* v) {
    return sqlite3_value_type(v) == SQLITE_NULL;
}

void resultText(sqlite3_context* ctx, const std::string& s) {
    sqlite3_result_text(ctx, s.data(), static_cast<int>(s.size()), SQLITE_TRANSIENT);
}

// Byte offsets of UTF-8 characters.
std::size_t charCount(std::string_view s) {
    std::size_t n = 0;
    for (unsigned char c : s)
        if ((c & 0xC0) != 0x80) ++n;
    return n;
}

std::size_t byteOfChar(std::string_view s, std::size_t chars) {
    std::size_t i = 0, seen = 0;
    while (i < s.size()) {
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) {
            if (seen == chars) return i;
            ++seen;
        }
        ++i;
    }
    return s.size();
}

std::string charSlice(std::string_view s, std::size_t from, std::size_t count) {
    std::size_t b = byteOfChar(s, from);
    std::size_t e = byteOfChar(s, from + count);
    if (from + count < from) e = s.size();
    return std::string(s.substr(b, e - b));
}

sqlite3_int64 intArg(sqlite3_value* v) {
    double d = sqlite3_value_double(v);
    if (!std::isfinite(d)) return 0;
    return static_cast<sqlite3_int64>(std::nearbyint(std::fmax(std::fmin(d, 9.0e18), -9.0e18)));
}

void fnLeft(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    sqlite3_int64 n = intArg(a[1]);
    if (n < 0) return sqlite3_result_error(ctx, "Invalid procedure call or argument.", -1);
    resultText(ctx, charSlice(textArg(a[0]), 0, static_cast<std::size_t>(n)));
}

void fnRight(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    sqlite3_int64 n = intArg(a[1]);
    if (n < 0) return sqlite3_result_error(ctx, "Invalid procedure call or argument.", -1);
    std::string_view s = textArg(a[0]);
    std::size_t len = charCount(s);
    std::size_t k = std::min<std::size_t>(len, static_cast<std::size_t>(n));
    resultText(ctx, charSlice(s, len - k, k));
}

void fnMid(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    sqlite3_int64 start = intArg(a[1]);
    if (start < 1) return sqlite3_result_error(ctx, "Invalid procedure call or argument.", -1);
    std::string_view s = textArg(a[0]);
    std::size_t count = s.size();
    if (argc > 2) {
        sqlite3_int64 n = intArg(a[2]);
        if (n < 0) return sqlite3_result_error(ctx, "Invalid procedure call or argument.", -1);
        count = static_cast<std::size_t>(n);
    }
    resultText(ctx, charSlice(s, static_cast<std::size_t>(start - 1), count));
}

void fnLen(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    sqlite3_result_int64(ctx, static_cast<sqlite3_int64>(charCount(textArg(a[0]))));
}

std::uint32_t caseMap(std::uint32_t c, bool toUpper) {
    if (toUpper) {
        if (c >= 'a' && c <= 'z') return c - 32;
        if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 32;
        if (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) return c - 32;
        if (c >= 0x430 && c <= 0x44F) return c - 32;
        if (c >= 0x450 && c <= 0x45F) return c - 80;
    } else {
        if (c >= 'A' && c <= 'Z') return c + 32;
        if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
        if (c >= 0x391 && c <= 0x3A9 && c != 0x3A2) return c + 32;
        if (c >= 0x410 && c <= 0x42F) return c + 32;
        if (c >= 0x400 && c <= 0x40F) return c + 80;
    }
    return c;
}

std::string mapCase(std::string_view s, bool toUpper) {
    std::string out;
    out.reserve(s.size());
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    std::size_t i = 0, n = s.size();
    while (i < n) {
        unsigned c = p[i];
        if (c < 0x80) {
            out += static_cast<char>(caseMap(c, toUpper));
            ++i;
        } else if ((c >> 5) == 6 && i + 1 < n) {
            std::uint32_t cp = ((c & 0x1F) << 6) | (p[i + 1] & 0x3F);
            cp = caseMap(cp, toUpper);
            if (cp < 0x800) {
                out += static_cast<char>(0xC0 | (cp >> 6));
                out += static_cast<char>(0x80 | (cp & 0x3F));
            }
            i += 2;
        } else {
            out += static_cast<char>(c);
            ++i;
        }
    }
    return out;
}

void fnUcase(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    resultText(ctx, mapCase(textArg(a[0]), true));
}

void fnLcase(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    resultText(ctx, mapCase(textArg(a[0]), false));
}

void fnNz(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    if (!isNull(a[0])) return sqlite3_result_value(ctx, a[0]);
    if (argc > 1) return sqlite3_result_value(ctx, a[1]);
    sqlite3_result_text(ctx, "", 0, SQLITE_STATIC);
}

// Calendar parts of a value: ISO text, a #-free date text, or a serial number.
bool calendarParts(sqlite3_value* v, int& y, int& m, int& d, int& h, int& mi, int& s) {
    y = m = d = h = mi = s = 0;
    std::string text;
    if (sqlite3_value_type(v) == SQLITE_INTEGER || sqlite3_value_type(v) == SQLITE_FLOAT) {
        text = valuetext::serialDateTimeNoTimeOnly(sqlite3_value_double(v));
    } else {
        text = std::string(textArg(v));
    }
    std::string iso = dateLiteral(text);
    if (iso.empty()) {
        // ISO forms with fractions of a second or a 'T' are not literals; cut them.
        std::string cut = text.substr(0, std::min<std::size_t>(text.size(), 19));
        for (auto& c : cut)
            if (c == 'T') c = ' ';
        iso = dateLiteral(cut);
    }
    if (iso.empty()) return false;
    if (iso.size() >= 10 && iso[4] == '-') {
        y = std::atoi(iso.substr(0, 4).c_str());
        m = std::atoi(iso.substr(5, 2).c_str());
        d = std::atoi(iso.substr(8, 2).c_str());
        if (iso.size() >= 19) {
            h = std::atoi(iso.substr(11, 2).c_str());
            mi = std::atoi(iso.substr(14, 2).c_str());
            s = std::atoi(iso.substr(17, 2).c_str());
        }
    } else if (iso.size() >= 8) {
        y = 1899, m = 12, d = 30;
        h = std::atoi(iso.substr(0, 2).c_str());
        mi = std::atoi(iso.substr(3, 2).c_str());
        s = std::atoi(iso.substr(6, 2).c_str());
    }
    return true;
}

template <int Part>
void fnDatePart(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    int p[6];
    if (!calendarParts(a[0], p[0], p[1], p[2], p[3], p[4], p[5]))
        return sqlite3_result_error(ctx, "Data type mismatch in criteria expression.", -1);
    sqlite3_result_int(ctx, p[Part]);
}

std::tm localNow() {
    std::time_t t = std::time(nullptr);
    std::tm tm{};
    localtime_r(&t, &tm);
    return tm;
}

void fnNow(sqlite3_context* ctx, int, sqlite3_value**) {
    std::tm tm = localNow();
    resultText(ctx, valuetext::dateTime(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour,
                                        tm.tm_min, tm.tm_sec));
}

void fnToday(sqlite3_context* ctx, int, sqlite3_value**) {
    std::tm tm = localNow();
    resultText(ctx, valuetext::date(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday));
}

void fnTime(sqlite3_context* ctx, int, sqlite3_value**) {
    std::tm tm = localNow();
    resultText(ctx, valuetext::time(tm.tm_hour, tm.tm_min, tm.tm_sec));
}

void fnCcur(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    double d = sqlite3_value_double(a[0]);
    sqlite3_result_double(ctx, std::nearbyint(d * 10000.0) / 10000.0);
}

void fnCdbl(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    sqlite3_result_double(ctx, sqlite3_value_double(a[0]));
}

void fnCint(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    sqlite3_result_int64(ctx, intArg(a[0]));
}

void fnInt(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    if (sqlite3_value_type(a[0]) == SQLITE_INTEGER) return sqlite3_result_value(ctx, a[0]);
    sqlite3_result_double(ctx, std::floor(sqlite3_value_double(a[0])));
}

void fnFix(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    if (sqlite3_value_type(a[0]) == SQLITE_INTEGER) return sqlite3_result_value(ctx, a[0]);
    sqlite3_result_double(ctx, std::trunc(sqlite3_value_double(a[0])));
}

void fnCstr(sqlite3_context* ctx, int, sqlite3_value** a) {
    switch (sqlite3_value_type(a[0])) {
        case SQLITE_NULL:
            return sqlite3_result_null(ctx);
        case SQLITE_INTEGER:
            return resultText(ctx, valuetext::integer(sqlite3_value_int64(a[0])));
        case SQLITE_FLOAT:
            return resultText(ctx, valuetext::floating(sqlite3_value_double(a[0])));
        default:
            return resultText(ctx, std::string(textArg(a[0])));
    }
}

void fnVal(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (isNull(a[0])) return sqlite3_result_null(ctx);
    std::string s(textArg(a[0]));
    char* end = nullptr;
    double d = std::strtod(s.c_str(), &end);
    if (end == s.c_str()) d = 0;
    if (d == std::trunc(d) && std::fabs(d) < 9.0e15)
        sqlite3_result_int64(ctx, static_cast<sqlite3_int64>(d));
    else
        sqlite3_result_double(ctx, d);
}

void fnInstr(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    int base = argc == 3 ? 1 : 0;
    if (isNull(a[base]) || isNull(a[base + 1])) return sqlite3_result_null(ctx);
    sqlite3_int64 start = argc == 3 ? intArg(a[0]) : 1;
    if (start < 1) return sqlite3_result_error(ctx, "Invalid procedure call or argument.", -1);
    std::string_view hay = textArg(a[base]);
    std::string needle(textArg(a[base + 1]));
    std::size_t from = byteOfChar(hay, static_cast<std::size_t>(start - 1));
    std::size_t at = std::string(hay).find(needle, from);
    if (at == std::string::npos) return sqlite3_result_int(ctx, 0);
    sqlite3_result_int64(ctx, static_cast<sqlite3_int64>(charCount(hay.substr(0, at)) + 1));
}

void fnLike(sqlite3_context* ctx, int, sqlite3_value** a) {
    // like(pattern, value): SQLite's argument order for "value LIKE pattern".
    if (isNull(a[0]) || isNull(a[1])) return sqlite3_result_null(ctx);
    // Matching is quadratic at worst: patterns are bounded as SQLite bounds its own.
    if (sqlite3_value_bytes(a[0]) >
        sqlite3_limit(sqlite3_context_db_handle(ctx), SQLITE_LIMIT_LIKE_PATTERN_LENGTH, -1))
        return sqlite3_result_error(ctx, "LIKE or GLOB pattern too complex", -1);
    sqlite3_result_int(ctx, likeMatch(textArg(a[1]), textArg(a[0])) ? 1 : 0);
}

}  // namespace

int registerFunctions(sqlite3* db) {
    struct Fn {
        const char* name;
        int args;
        void (*fn)(sqlite3_context*, int, sqlite3_value**);
        bool deterministic;
    };
    static const Fn fns[] = {
        {"rq_left", 2, fnLeft, true},
        {"rq_right", 2, fnRight, true},
        {"rq_mid", 2, fnMid, true},
        {"rq_mid", 3, fnMid, true},
        {"rq_len", 1, fnLen, true},
        {"rq_ucase", 1, fnUcase, true},
        {"rq_lcase", 1, fnLcase, true},
        {"rq_nz", 1, fnNz, true},
        {"rq_nz", 2, fnNz, true},
        {"rq_year", 1, fnDatePart<0>, true},
        {"rq_month", 1, fnDatePart<1>, true},
        {"rq_day", 1, fnDatePart<2>, true},
        {"rq_hour", 1, fnDatePart<3>, true},
        {"rq_minute", 1, fnDatePart<4>, true},
        {"rq_second", 1, fnDatePart<5>, true},
        {"rq_now", 0, fnNow, false},
        {"rq_today", 0, fnToday, false},
        {"rq_time", 0, fnTime, false},
        {"rq_ccur", 1, fnCcur, true},
        {"rq_cdbl", 1, fnCdbl, true},
        {"rq_cint", 1, fnCint, true},
        {"rq_int", 1, fnInt, true},
        {"rq_fix", 1, fnFix, true},
        {"rq_cstr", 1, fnCstr, true},
        {"rq_val", 1, fnVal, true},
        {"rq_instr", 2, fnInstr, true},
        {"rq_instr", 3, fnInstr, true},
        {"like", 2, fnLike, true},
    };
    for (const Fn& f : fns) {
        int flags = SQLITE_UTF8 | (f.deterministic ? SQLITE_DETERMINISTIC : 0);
        int rc = sqlite3_create_function_v2(db, f.name, f.args, flags, nullptr, f.fn, nullptr,
                                            nullptr, nullptr);
        if (rc != SQLITE_OK) return rc;
    }
    return SQLITE_OK;
}

}  // namespace rq::sql
