#include "datasource/text/textformat.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "datasource/valuetext.h"

namespace rq::text {

namespace {

std::string lower(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && (isBlank(s.front()) || s.front() == '\r' || s.front() == '\n'))
        s.remove_prefix(1);
    while (!s.empty() && (isBlank(s.back()) || s.back() == '\r' || s.back() == '\n'))
        s.remove_suffix(1);
    return s;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && lower(a) == lower(b);
}

std::string_view lastPathComponent(std::string_view s) {
    std::size_t cut = s.find_last_of("\\/");
    return cut == std::string_view::npos ? s : s.substr(cut + 1);
}

int charsetFromWord(std::string_view value) {
    std::string v = lower(trim(value));
    if (v == "ansi") return 1252;
    if (v == "oem") return 437;
    if (v == "utf-8" || v == "utf8") return 65001;
    if (v == "unicode") return 1200;
    int n = 0;
    auto [p, ec] = std::from_chars(v.data(), v.data() + v.size(), n);
    if (ec == std::errc() && p == v.data() + v.size() && n > 0) return n;
    return 0;
}

bool isTypeWord(std::string_view word) {
    static const char* const words[] = {"bit",    "boolean", "logical",  "yesno",    "byte",
                                        "short",  "integer", "long",     "currency", "single",
                                        "double", "float",   "datetime", "date",     "text",
                                        "char",   "memo",    "longchar", "decimal",  "numeric"};
    std::string w = lower(word);
    for (const char* k : words)
        if (w == k) return true;
    return false;
}

// "name type [Width n]", the name possibly quoted.
ColumnSpec parseColumn(std::string_view value) {
    ColumnSpec column;
    value = trim(value);
    std::string_view rest;
    if (!value.empty() && (value.front() == '"' || value.front() == '[')) {
        char close = value.front() == '"' ? '"' : ']';
        std::size_t end = value.find(close, 1);
        if (end == std::string_view::npos) end = value.size();
        column.name = std::string(value.substr(1, end - 1));
        rest = end < value.size() ? value.substr(end + 1) : std::string_view();
    } else {
        rest = value;
    }
    // Split the rest into words, remembering where each begins.
    std::vector<std::pair<std::size_t, std::string_view>> words;
    for (std::size_t i = 0; i < rest.size();) {
        while (i < rest.size() && isBlank(rest[i])) ++i;
        std::size_t start = i;
        while (i < rest.size() && !isBlank(rest[i])) ++i;
        if (i > start) words.emplace_back(start, rest.substr(start, i - start));
    }
    std::size_t count = words.size();
    if (count >= 2 && equalsIgnoringCase(words[count - 2].second, "width")) {
        int w = 0;
        auto sv = words[count - 1].second;
        auto [p, ec] = std::from_chars(sv.data(), sv.data() + sv.size(), w);
        if (ec == std::errc() && w > 0 && w <= 1 << 20) column.width = w;
        count -= 2;
    }
    // The type word is the last word left, unless it is the only word of an
    // unquoted name.
    std::size_t nameEnd = count;
    if (count >= 1 && isTypeWord(words[count - 1].second) && (!column.name.empty() || count >= 2)) {
        column.type = typeFromSchemaWord(words[count - 1].second);
        nameEnd = count - 1;
    }
    if (column.name.empty() && nameEnd > 0) {
        std::size_t from = words[0].first;
        std::size_t to = words[nameEnd - 1].first + words[nameEnd - 1].second.size();
        column.name = std::string(rest.substr(from, to - from));
    }
    return column;
}

}  // namespace

int typeFromSchemaWord(std::string_view word) {
    std::string w = lower(word);
    if (w == "bit" || w == "boolean" || w == "logical" || w == "yesno") return 1;
    if (w == "byte") return 2;
    if (w == "short") return 3;
    if (w == "long" || w == "integer") return 4;
    if (w == "currency") return 5;
    if (w == "single") return 6;
    if (w == "double" || w == "float") return 7;
    if (w == "datetime" || w == "date") return 8;
    if (w == "memo" || w == "longchar") return 12;
    if (w == "decimal" || w == "numeric") return 20;
    return 10;
}

SchemaIni::SchemaIni(std::string_view text) {
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t end = text.find_first_of("\r\n", pos);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = trim(text.substr(pos, end - pos));
        pos = end + 1;
        if (line.empty() || line.front() == ';') continue;
        if (line.front() == '[') {
            std::size_t close = line.rfind(']');
            if (close == std::string_view::npos || close == 0) close = line.size();
            sections_.push_back({std::string(trim(line.substr(1, close - 1))), {}});
            continue;
        }
        if (sections_.empty()) continue;
        std::size_t eq = line.find('=');
        if (eq == std::string_view::npos) continue;
        sections_.back().entries.emplace_back(lower(trim(line.substr(0, eq))),
                                              std::string(trim(line.substr(eq + 1))));
        if (sections_.back().entries.size() > 100000) break;
    }
}

TableSettings SchemaIni::settingsFor(const std::string& fileName) const {
    TableSettings s;
    const Section* found = nullptr;
    for (const auto& sec : sections_)
        if (equalsIgnoringCase(sec.title, fileName)) {
            found = &sec;
            break;
        }
    if (!found)
        for (const auto& sec : sections_)
            if (equalsIgnoringCase(lastPathComponent(sec.title), fileName)) {
                found = &sec;
                break;
            }
    if (!found) return s;
    s.fromSchema = true;
    std::vector<std::pair<int, ColumnSpec>> cols;
    for (const auto& [key, value] : found->entries) {
        if (key == "format") {
            std::string v = lower(value);
            if (v == "csvdelimited") {
                s.format = Format::Delimited;
                s.delimiter = ',';
            } else if (v == "tabdelimited") {
                s.format = Format::Delimited;
                s.delimiter = '\t';
            } else if (v == "fixedlength") {
                s.format = Format::FixedLength;
            } else if (v.rfind("delimited(", 0) == 0 && v.size() == 12 && v.back() == ')') {
                s.format = Format::Delimited;
                s.delimiter = value[10];
            }
        } else if (key == "colnameheader") {
            s.header = lower(value) != "false" && lower(value) != "no";
        } else if (key == "characterset") {
            s.charset = charsetFromWord(value);
        } else if (key == "datetimeformat") {
            s.dateTimeFormat = value;
        } else if (key == "textdelimiter") {
            std::string v = lower(value);
            s.qualifier = v == "none" || v.empty() ? '\0' : value[0];
        } else if (key.size() > 3 && key.compare(0, 3, "col") == 0) {
            int n = 0;
            auto [p, ec] = std::from_chars(key.data() + 3, key.data() + key.size(), n);
            if (ec == std::errc() && p == key.data() + key.size() && n >= 1 && n <= 16384)
                cols.emplace_back(n, parseColumn(value));
        }
    }
    int maxIndex = 0;
    for (const auto& c : cols) maxIndex = std::max(maxIndex, c.first);
    s.columns.resize(static_cast<std::size_t>(maxIndex));
    for (std::size_t i = 0; i < s.columns.size(); ++i) s.columns[i].name.clear();
    for (auto& [n, column] : cols) s.columns[static_cast<std::size_t>(n - 1)] = std::move(column);
    for (std::size_t i = 0; i < s.columns.size(); ++i)
        if (s.columns[i].name.empty()) s.columns[i].name = "F" + std::to_string(i + 1);
    return s;
}

// ---- scanning ----------------------------------------------------------------------

constexpr std::size_t kMaxFields = 16384;

RecordScanner::RecordScanner(std::string_view text, const TableSettings& settings)
    : text_(text), settings_(settings) {}

bool RecordScanner::next(std::vector<std::string_view>& fields) {
    fields.clear();
    const std::size_t n = text_.size();
    while (pos_ < n && (text_[pos_] == '\r' || text_[pos_] == '\n')) ++pos_;
    if (pos_ >= n) return false;
    return settings_.format == Format::FixedLength ? nextFixed(fields) : nextDelimited(fields);
}

bool RecordScanner::nextDelimited(std::vector<std::string_view>& fields) {
    const char* s = text_.data();
    const std::size_t n = text_.size();
    const char d = settings_.delimiter;
    const char q = settings_.qualifier;
    // Bytes that end an unquoted field.
    std::array<bool, 256> stop{};
    stop['\r'] = stop['\n'] = true;
    stop[static_cast<unsigned char>(d)] = true;
    std::size_t col = 0;
    for (;;) {
        if (col >= kMaxFields) throw std::length_error("a record has too many fields");
        if (scratch_.size() <= col) scratch_.resize(col + 1);
        if (q && pos_ < n && s[pos_] == q) {
            std::string& buf = scratch_[col];
            buf.clear();
            bool copied = false;
            std::string_view value;
            std::size_t start = ++pos_;
            for (;;) {
                const void* hit = std::memchr(s + pos_, q, n - pos_);
                if (!hit) {
                    // An unclosed qualifier takes the rest of the text.
                    if (copied) buf.append(s + start, n - start);
                    value = copied ? std::string_view(buf) : std::string_view(s + start, n - start);
                    pos_ = n;
                    unclosed_ = true;
                    break;
                }
                std::size_t k = static_cast<std::size_t>(static_cast<const char*>(hit) - s);
                if (k + 1 < n && s[k + 1] == q) {
                    buf.append(s + start, k + 1 - start);
                    copied = true;
                    pos_ = start = k + 2;
                    continue;
                }
                if (copied) buf.append(s + start, k - start);
                value = copied ? std::string_view(buf) : std::string_view(s + start, k - start);
                pos_ = k + 1;
                break;
            }
            // Text between the closing qualifier and the delimiter is kept as it stands.
            std::size_t tail = pos_;
            while (pos_ < n && !stop[static_cast<unsigned char>(s[pos_])]) ++pos_;
            if (pos_ > tail) {
                if (!copied) buf.assign(value);
                buf.append(s + tail, pos_ - tail);
                value = buf;
            }
            fields.push_back(value);
        } else {
            std::size_t start = pos_;
            while (pos_ < n && !stop[static_cast<unsigned char>(s[pos_])]) ++pos_;
            fields.emplace_back(s + start, pos_ - start);
        }
        if (pos_ >= n) return true;
        char c = s[pos_];
        if (c == d && c != '\r' && c != '\n') {
            ++pos_;
            ++col;
            continue;
        }
        ++pos_;
        if (c == '\r' && pos_ < n && s[pos_] == '\n') ++pos_;
        return true;
    }
}

bool RecordScanner::nextFixed(std::vector<std::string_view>& fields) {
    const char* s = text_.data();
    const std::size_t n = text_.size();
    std::size_t end = pos_;
    while (end < n && s[end] != '\r' && s[end] != '\n') ++end;
    std::string_view line(s + pos_, end - pos_);
    pos_ = end < n ? end + 1 : n;
    if (end < n && s[end] == '\r' && pos_ < n && s[pos_] == '\n') ++pos_;
    std::size_t at = 0;
    for (const auto& c : settings_.columns) {
        // Widths count characters: step over whole UTF-8 sequences.
        std::size_t from = at;
        for (int k = 0; k < c.width && at < line.size(); ++k) {
            ++at;
            while (at < line.size() && (static_cast<unsigned char>(line[at]) & 0xC0) == 0x80) ++at;
        }
        std::string_view v = line.substr(from, at - from);
        while (!v.empty() && v.back() == ' ') v.remove_suffix(1);
        fields.push_back(v);
    }
    if (settings_.columns.empty()) fields.push_back(line);
    return true;
}

// ---- typed values ------------------------------------------------------------------

namespace {

bool parseInteger(std::string_view v, std::int64_t& out) {
    if (!v.empty() && v.front() == '+') v.remove_prefix(1);
    if (v.empty()) return false;
    auto [p, ec] = std::from_chars(v.data(), v.data() + v.size(), out);
    return ec == std::errc() && p == v.data() + v.size();
}

bool parseDecimal(std::string_view v, std::string& out) {
    bool negative = false;
    if (!v.empty() && (v.front() == '+' || v.front() == '-')) {
        negative = v.front() == '-';
        v.remove_prefix(1);
    }
    std::string digits;
    int scale = -1;
    for (char c : v) {
        if (c >= '0' && c <= '9') {
            digits += c;
            if (scale >= 0) ++scale;
        } else if (c == '.' && scale < 0) {
            scale = 0;
        } else {
            return false;
        }
    }
    if (digits.empty()) return false;
    if (scale < 0) scale = 0;
    std::size_t lead = 0;
    while (lead + 1 < digits.size() - static_cast<std::size_t>(scale) && digits[lead] == '0')
        ++lead;
    digits.erase(0, lead);
    out = valuetext::decimalDigits(negative, digits, scale);
    return true;
}

struct DateParts {
    int year = -1, month = -1, day = -1, hour = -1, minute = -1, second = -1;
};

int daysInMonth(int y, int m) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (m == 2 && ((y % 4 == 0 && y % 100 != 0) || y % 400 == 0)) return 29;
    return days[m - 1];
}

bool matchFormat(std::string_view v, std::string_view f, DateParts& p) {
    std::size_t i = 0, j = 0;
    char previousUnit = 0;
    while (j < f.size()) {
        char fc = f[j];
        char lc = static_cast<char>(fc >= 'A' && fc <= 'Z' ? fc - 'A' + 'a' : fc);
        if (lc == 'y' || lc == 'm' || lc == 'd' || lc == 'h' || lc == 'n' || lc == 's') {
            std::size_t run = j;
            while (run < f.size() && f[run] == fc) ++run;
            std::size_t len = run - j;
            j = run;
            char unit = lc;
            // "mm" right after an hour means minutes.
            if (unit == 'm' && previousUnit == 'h') unit = 'n';
            if (unit == 'm' && len >= 3) {
                static const char* const months[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                                     "jul", "aug", "sep", "oct", "nov", "dec"};
                if (i + 3 > v.size()) return false;
                std::string word = lower(v.substr(i, 3));
                int m = 0;
                for (int k = 0; k < 12; ++k)
                    if (word == months[k]) m = k + 1;
                if (!m) return false;
                p.month = m;
                i += 3;
                while (i < v.size() &&
                       ((v[i] >= 'a' && v[i] <= 'z') || (v[i] >= 'A' && v[i] <= 'Z')))
                    ++i;
                previousUnit = 'm';
                continue;
            }
            std::size_t maxDigits = unit == 'y' ? (len <= 2 ? 2 : 4) : 2;
            std::size_t start = i;
            int value = 0;
            while (i < v.size() && i - start < maxDigits && v[i] >= '0' && v[i] <= '9')
                value = value * 10 + (v[i++] - '0');
            if (i == start) return false;
            switch (unit) {
                case 'y':
                    p.year = len <= 2 && i - start <= 2 ? (value < 30 ? 2000 + value : 1900 + value)
                                                        : value;
                    break;
                case 'm':
                    p.month = value;
                    break;
                case 'd':
                    p.day = value;
                    break;
                case 'h':
                    p.hour = value;
                    break;
                case 'n':
                    p.minute = value;
                    break;
                default:
                    p.second = value;
                    break;
            }
            previousUnit = unit;
            continue;
        }
        if (isBlank(fc)) {
            if (i >= v.size() || !isBlank(v[i])) return false;
            while (i < v.size() && isBlank(v[i])) ++i;
            while (j < f.size() && isBlank(f[j])) ++j;
            continue;
        }
        if (i >= v.size() || v[i] != fc) return false;
        ++i;
        ++j;
    }
    while (i < v.size() && isBlank(v[i])) ++i;
    return i == v.size();
}

bool formatParts(const DateParts& p, std::string& out) {
    bool hasDate = p.year >= 0 || p.month >= 0 || p.day >= 0;
    bool hasTime = p.hour >= 0 || p.minute >= 0 || p.second >= 0;
    int h = std::max(p.hour, 0), mi = std::max(p.minute, 0), s = std::max(p.second, 0);
    if (h > 23 || mi > 59 || s > 59) return false;
    if (hasDate) {
        if (p.year < 1 || p.year > 9999 || p.month < 1 || p.month > 12 || p.day < 1 ||
            p.day > daysInMonth(p.year, p.month))
            return false;
        out = hasTime ? valuetext::dateTime(p.year, p.month, p.day, h, mi, s)
                      : valuetext::date(p.year, p.month, p.day);
        return true;
    }
    if (!hasTime) return false;
    out = valuetext::time(h, mi, s);
    return true;
}

}  // namespace

bool parseDateTime(std::string_view value, const std::string& format, std::string& out) {
    value = trim(value);
    if (!format.empty()) {
        DateParts p;
        return matchFormat(value, format, p) && formatParts(p, out);
    }
    static const char* const defaults[] = {"yyyy-mm-dd",
                                           "yyyy-mm-dd hh:nn:ss",
                                           "yyyy-mm-ddThh:nn:ss",
                                           "yyyy-mm-dd hh:nn",
                                           "m/d/yyyy",
                                           "m/d/yyyy hh:nn:ss",
                                           "hh:nn:ss"};
    for (const char* f : defaults) {
        DateParts p;
        if (matchFormat(value, f, p)) return formatParts(p, out);
    }
    return false;
}

bool convertTyped(std::string_view value, int type, const std::string& dateTimeFormat,
                  std::string& out) {
    std::string_view v = trim(value);
    switch (type) {
        case 1: {
            std::string l = lower(v);
            if (l == "true" || l == "yes" || l == "on" || l == "1" || l == "-1") {
                out = valuetext::boolean(true);
                return true;
            }
            if (l == "false" || l == "no" || l == "off" || l == "0") {
                out = valuetext::boolean(false);
                return true;
            }
            return false;
        }
        case 2:
        case 3:
        case 4:
        case 16: {
            std::int64_t n = 0;
            if (!parseInteger(v, n)) return false;
            if ((type == 2 && (n < 0 || n > 255)) || (type == 3 && (n < -32768 || n > 32767)) ||
                (type == 4 && (n < INT32_MIN || n > INT32_MAX)))
                return false;
            out = valuetext::integer(n);
            return true;
        }
        case 5:
        case 20:
            return parseDecimal(v, out);
        case 6:
        case 7: {
            if (!v.empty() && v.front() == '+') v.remove_prefix(1);
            double d = 0;
            auto [p, ec] = std::from_chars(v.data(), v.data() + v.size(), d);
            if (ec != std::errc() || p != v.data() + v.size() || v.empty() || !std::isfinite(d))
                return false;
            out =
                type == 6 ? valuetext::singleFloat(static_cast<float>(d)) : valuetext::floating(d);
            return true;
        }
        case 8:
            return parseDateTime(v, dateTimeFormat, out);
        default:
            out.assign(value);
            return true;
    }
}

}  // namespace rq::text
