// The records of a .dbf: each stored value as text.
#include <array>

#include "datasource/bytes.h"
#include "datasource/codepage.h"
#include "datasource/dbase/dbftable.h"
#include "datasource/dbase/dbftext.h"
#include "datasource/readwarnings.h"
#include "datasource/valuetext.h"

namespace rq::dbase {

namespace vt = rq::valuetext;
using bytes::be32;
using bytes::be64;
using bytes::le32;
using bytes::le64;

namespace {

// Julian day number of 1970-01-01.
constexpr std::int64_t kJulian1970 = 2440588;
// Days from 0000-12-31 (the origin of the dBase 7 timestamp) to 1970-01-01.
constexpr std::int64_t kTimestampOrigin1970 = 719163;
constexpr std::int64_t kMillisPerDay = 86400000;
// Days since 1970 of 1899-12-30, the day that time-only values carry.
constexpr std::int64_t kTimeOnlyDay = -25569;

bool flagBit(std::string_view record, const DbfTable& t, int bit) {
    if (bit < 0) return false;
    std::uint32_t byte = static_cast<std::uint32_t>(bit) / 8;
    if (byte >= t.nullFlagsLength) return false;
    auto b = static_cast<unsigned char>(record[t.nullFlagsOffset + byte]);
    return (b >> (bit % 8)) & 1;
}

// A number written as text: kept exact, without leading or trailing zeros; text
// that is not a plain decimal number is given as written.
void appendNumberText(std::string& out, std::string_view s) {
    s = trimBoth(s);
    if (s.empty()) return;
    std::string_view body = s;
    bool negative = false;
    if (body.front() == '-' || body.front() == '+') {
        negative = body.front() == '-';
        body.remove_prefix(1);
    }
    std::array<char, 64> digits{};
    std::size_t n = 0;
    int scale = 0;
    bool point = false, ok = !body.empty() && body.size() < digits.size();
    for (char c : body) {
        if (!ok) break;
        if (c >= '0' && c <= '9') {
            digits[n++] = c;
            if (point) ++scale;
        } else if (c == '.' && !point) {
            point = true;
        } else {
            ok = false;
        }
    }
    if (!ok || n == 0) {
        out.append(s);
        return;
    }
    out += vt::decimalDigits(negative, std::string_view(digits.data(), n), scale);
}

int daysInMonth(int y, int m) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return m == 2 && leap ? 29 : days[m - 1];
}

// A date stored as yyyymmdd. Blanks and all zeros are no date; false for
// anything else that is not a day of the calendar.
bool appendDateText(std::string& out, std::string_view s) {
    if (isBlank(s)) return true;
    if (s.size() != 8) return false;
    int v[8];
    for (std::size_t i = 0; i < 8; ++i) {
        if (s[i] < '0' || s[i] > '9') return false;
        v[i] = s[i] - '0';
    }
    int y = v[0] * 1000 + v[1] * 100 + v[2] * 10 + v[3];
    int m = v[4] * 10 + v[5];
    int d = v[6] * 10 + v[7];
    if (y == 0 && m == 0 && d == 0) return true;
    if (m < 1 || m > 12 || d < 1 || d > daysInMonth(y, m)) return false;
    out += vt::date(y, m, d);
    return true;
}

// A date when the time is midnight, a time of day when the day is 1899-12-30,
// else a date-time (the forms the serial date-times of the other sources take).
// False when the year lies beyond what the forms can write.
bool appendDayAndMillis(std::string& out, std::int64_t days1970, std::int64_t millis) {
    int y, m, d;
    vt::civilFromDays(days1970, y, m, d);
    if (y < -9999 || y > 99999) return false;
    auto secs = static_cast<int>(millis / 1000);
    auto nanos = static_cast<int>(millis % 1000) * 1000000;
    if (millis == 0)
        out += vt::date(y, m, d);
    else if (days1970 == kTimeOnlyDay)
        out += vt::time(secs / 3600, secs / 60 % 60, secs % 60, nanos);
    else
        out += vt::dateTime(y, m, d, secs / 3600, secs / 60 % 60, secs % 60, nanos);
    return true;
}

// Visual FoxPro date-time: Julian day and milliseconds, kept to the second
// (the writers leave values such as 13:35:38.999 for 13:35:39).
bool appendFoxDateTime(std::string& out, const unsigned char* p) {
    if (le32(p) == 0 && le32(p + 4) == 0) return true;
    std::int64_t ms = le32(p + 4);
    std::int64_t day = std::int64_t{le32(p)} - kJulian1970;
    if (ms < 0 || ms >= kMillisPerDay) return false;
    ms = (ms + 500) / 1000 * 1000;
    if (ms == kMillisPerDay) {
        ms = 0;
        ++day;
    }
    return appendDayAndMillis(out, day, ms);
}

// dBase 7 timestamp: milliseconds since 0000-12-31 as an order-preserving double.
bool appendTimestamp(std::string& out, const unsigned char* p) {
    if (be64(p) == 0) return true;
    double ms = bytes::doubleFromBits(be64(p));
    if (!(ms >= 0 && ms < 1e16)) return false;
    auto whole = static_cast<std::int64_t>(ms + 0.5);
    return appendDayAndMillis(out, whole / kMillisPerDay - kTimestampOrigin1970,
                              whole % kMillisPerDay);
}

std::uint64_t memoPointer(std::string_view s) {
    if (s.size() == 4) return le32(bytes::uc(s));
    s = trimBoth(s);
    std::uint64_t v = 0;
    for (char c : s) {
        if (c < '0' || c > '9') return 0;
        v = v * 10 + static_cast<unsigned>(c - '0');
        if (v > (1ull << 40)) return 0;
    }
    return v;
}

// Decodes the values of one table's records, noting what cannot be read.
class RecordDecoder {
  public:
    RecordDecoder(const DbfTable& t, const MemoFile& memo, RecordSink& sink)
        : t_(t), cp_(CodePage::get(t.codepage)), memo_(memo), warn_(sink, t.path) {}

    // The text of column c of the record numbered number (from 1) into out.
    void value(const DbfColumn& c, std::string_view rec, std::uint64_t number, std::string& out);
    void finish(std::uint64_t present);

  private:
    bool fixedValue(const DbfColumn& c, std::string_view v, std::string& out);
    void memoValue(const DbfColumn& c, std::string_view v, std::uint64_t number, std::string& out);

    const DbfTable& t_;
    const CodePage& cp_;
    const MemoFile& memo_;
    ReadWarnings warn_;
    std::uint64_t missingMemos_ = 0;
};

void RecordDecoder::value(const DbfColumn& c, std::string_view rec, std::uint64_t number,
                          std::string& out) {
    std::string_view v = rec.substr(c.offset, c.length);
    const unsigned char* p = bytes::uc(v);
    switch (c.type) {
        case 'C':
            appendDecoded(out, trimRight(v), cp_);
            return;
        case 'V':
        case 'Q':
            if (flagBit(rec, t_, c.varBit) && !v.empty())
                v = v.substr(0, std::min<std::size_t>(p[v.size() - 1], v.size() - 1));
            if (c.type == 'V')
                appendDecoded(out, c.varBit >= 0 ? v : trimRight(v), cp_);
            else
                out += vt::base64(v);
            return;
        case 'M':
        case 'G':
        case 'P':
        case 'W':
            memoValue(c, v, number, out);
            return;
        case 'B':
            if (t_.visualFoxPro) break;  // a double, read below
            memoValue(c, v, number, out);
            return;
        default:
            break;
    }
    if (fixedValue(c, v, out)) return;
    out.clear();
    std::string shown;
    if (c.type == 'D') appendDecoded(shown, trimBoth(v), cp_);
    warn_.value(number, c.name, shown,
                c.type == 'D' ? "is not a date" : "holds no date and time that can be read");
}

// Values stored in the record itself; false when the bytes are not a value of
// the column's type.
bool RecordDecoder::fixedValue(const DbfColumn& c, std::string_view v, std::string& out) {
    const unsigned char* p = bytes::uc(v);
    switch (c.type) {
        case 'N':
        case 'F':
            appendNumberText(out, v);
            return true;
        case 'L':
            if (!v.empty()) {
                char b = v[0];
                if (b == 'T' || b == 't' || b == 'Y' || b == 'y')
                    out += "true";
                else if (b == 'F' || b == 'f' || b == 'N' || b == 'n')
                    out += "false";
            }
            return true;
        case 'D':
            return appendDateText(out, v);
        case 'T':
            return v.size() != 8 || appendFoxDateTime(out, p);
        case '@':
            return v.size() != 8 || appendTimestamp(out, p);
        case 'I':
        case '+':
            if (v.size() != 4) return true;
            if (!t_.dbase7)
                out += vt::integer(static_cast<std::int32_t>(le32(p)));
            else if (be32(p) != 0)
                out += vt::integer(static_cast<std::int32_t>(be32(p) ^ 0x80000000u));
            return true;
        case 'O':
            if (v.size() == 8 && be64(p) != 0) {
                std::uint64_t bits = be64(p);
                bits = (bits & (1ull << 63)) ? bits ^ (1ull << 63) : ~bits;
                out += vt::floating(bytes::doubleFromBits(bits));
            }
            return true;
        case 'Y':
            if (v.size() == 8) out += vt::decimalScaled(static_cast<std::int64_t>(le64(p)), 4);
            return true;
        case 'B':  // Visual FoxPro double
            if (v.size() == 8) out += vt::floating(bytes::doubleFromBits(le64(p)));
            return true;
        default:
            appendDecoded(out, trimRight(v), cp_);
            return true;
    }
}

void RecordDecoder::memoValue(const DbfColumn& c, std::string_view v, std::uint64_t number,
                              std::string& out) {
    std::uint64_t block = memoPointer(v);
    if (block == 0) return;
    if (!memo_.present()) {
        ++missingMemos_;
        return;
    }
    std::string problem;
    std::string_view content = memo_.block(block, problem);
    if (!problem.empty()) warn_.value(number, c.name, {}, problem);
    if (c.type == 'M')
        appendDecoded(out, content, cp_);
    else
        out += vt::base64(content);
}

void RecordDecoder::finish(std::uint64_t present) {
    warn_.recordsShort(present, t_.declaredCount);
    if (missingMemos_ > 0) {
        warn_.table("the memo file '" + memo_.fileName() +
                    "' is missing: " + std::to_string(missingMemos_) +
                    (missingMemos_ == 1 ? " memo is" : " memos are") + " left empty");
    }
    warn_.finish();
}

}  // namespace

void readDbf(const DbfTable& t, std::string_view data, const MemoFile& memo, RecordSink& sink) {
    sink.begin(fieldsOf(t));
    RecordDecoder decoder(t, memo, sink);
    const std::size_t n = t.columns.size();
    std::vector<std::string> text(n);
    std::vector<std::string_view> views(n);
    std::uint64_t present = t.recordCount;
    for (std::uint64_t r = 0; r < t.recordCount; ++r) {
        const std::string_view rec =
            data.substr(t.headerLength + r * t.recordLength, t.recordLength);
        if (!rec.empty() && rec[0] == '*') continue;
        if (rec.empty() || rec[0] == '\x1a') {  // end-of-file mark where a record was promised
            present = r;
            break;
        }
        for (std::size_t i = 0; i < n; ++i) {
            const DbfColumn& c = t.columns[i];
            text[i].clear();
            if (flagBit(rec, t, c.nullBit)) {
                views[i] = {};
                continue;
            }
            decoder.value(c, rec, r + 1, text[i]);
            views[i] = text[i];
        }
        sink.row(views.data(), n);
    }
    decoder.finish(present);
    sink.end();
}

}  // namespace rq::dbase
