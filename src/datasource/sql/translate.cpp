#include "datasource/sql/translate.h"

#include <cctype>
#include <cstdint>
#include <map>

#include "datasource/database.h"
#include "datasource/valuetext.h"

namespace rq::sql {

namespace {

enum class Kind { Space, Word, Bracket, String, Date, Punct };

struct Token {
    Kind kind;
    std::string text;   // as written
    std::string value;  // String: the unquoted text; Date: the ISO form
    bool doubleQuoted = false;
};

bool isWordByte(unsigned char c) {
    return std::isalnum(c) || c == '_' || c == '$' || c >= 0x80;
}

std::string upper(std::string_view s) {
    std::string u(s);
    for (auto& c : u)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return u;
}

std::vector<Token> tokenize(std::string_view s) {
    std::vector<Token> out;
    std::size_t i = 0, n = s.size();
    while (i < n) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        std::size_t start = i;
        if (std::isspace(c)) {
            while (i < n && std::isspace(static_cast<unsigned char>(s[i]))) ++i;
            out.push_back({Kind::Space, std::string(s.substr(start, i - start)), {}});
        } else if (c == '\'' || c == '"') {
            const char q = static_cast<char>(c);
            std::string value;
            ++i;
            while (i < n) {
                if (s[i] == q) {
                    if (i + 1 < n && s[i + 1] == q) {
                        value += q;
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                value += s[i++];
            }
            Token t{Kind::String, std::string(s.substr(start, i - start)), value};
            t.doubleQuoted = q == '"';
            out.push_back(std::move(t));
        } else if (c == '[') {
            std::size_t close = s.find(']', i + 1);
            i = close == std::string_view::npos ? n : close + 1;
            out.push_back({Kind::Bracket, std::string(s.substr(start, i - start)), {}});
        } else if (c == '#') {
            std::size_t close = s.find('#', i + 1);
            std::string iso;
            if (close != std::string_view::npos && close - i <= 40)
                iso = dateLiteral(s.substr(i + 1, close - i - 1));
            if (!iso.empty()) {
                i = close + 1;
                out.push_back({Kind::Date, std::string(s.substr(start, i - start)), iso});
            } else {
                ++i;
                out.push_back({Kind::Punct, "#", {}});
            }
        } else if (isWordByte(c)) {
            while (i < n && isWordByte(static_cast<unsigned char>(s[i]))) ++i;
            out.push_back({Kind::Word, std::string(s.substr(start, i - start)), {}});
        } else {
            ++i;
            if (i < n) {
                std::string two{static_cast<char>(c), s[i]};
                if (two == "<>" || two == "<=" || two == ">=" || two == "!=" || two == "||") ++i;
            }
            out.push_back({Kind::Punct, std::string(s.substr(start, i - start)), {}});
        }
    }
    return out;
}

const std::map<std::string, std::string>& functionNames() {
    static const std::map<std::string, std::string> m = {
        {"UCASE", "rq_ucase"},   {"LCASE", "rq_lcase"},   {"LEFT", "rq_left"},
        {"RIGHT", "rq_right"},   {"MID", "rq_mid"},       {"LEN", "rq_len"},
        {"TRIM", "trim"},        {"LTRIM", "ltrim"},      {"RTRIM", "rtrim"},
        {"IIF", "iif"},          {"NZ", "rq_nz"},         {"YEAR", "rq_year"},
        {"MONTH", "rq_month"},   {"DAY", "rq_day"},       {"HOUR", "rq_hour"},
        {"MINUTE", "rq_minute"}, {"SECOND", "rq_second"}, {"NOW", "rq_now"},
        {"TIME", "rq_time"},     {"CCUR", "rq_ccur"},     {"CDBL", "rq_cdbl"},
        {"CSNG", "rq_cdbl"},     {"CLNG", "rq_cint"},     {"CINT", "rq_cint"},
        {"CSTR", "rq_cstr"},     {"VAL", "rq_val"},       {"INSTR", "rq_instr"},
        {"INT", "rq_int"},       {"FIX", "rq_fix"},       {"UCASE$", "rq_ucase"},
        {"LCASE$", "rq_lcase"},  {"LEFT$", "rq_left"},    {"RIGHT$", "rq_right"},
        {"MID$", "rq_mid"},      {"TRIM$", "trim"},
    };
    return m;
}

bool allDigits(std::string_view s) {
    if (s.empty()) return false;
    for (char c : s)
        if (!std::isdigit(static_cast<unsigned char>(c))) return false;
    return true;
}

}  // namespace

std::string lowerName(std::string_view s) {
    std::string l(s);
    for (auto& c : l)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return l;
}

Translation translateStatement(std::string_view statement) {
    std::vector<Token> toks = tokenize(statement);
    Translation t;
    std::string& out = t.sql;
    // Significant (non-space) neighbours of token i.
    auto nextSig = [&](std::size_t i) {
        for (std::size_t j = i + 1; j < toks.size(); ++j)
            if (toks[j].kind != Kind::Space) return j;
        return toks.size();
    };
    auto isPunct = [&](std::size_t j, const char* p) {
        return j < toks.size() && toks[j].kind == Kind::Punct && toks[j].text == p;
    };
    struct Limit {
        int depth;
        std::string count;
    };
    std::vector<Limit> limits;
    int depth = 0;
    std::string prevWord;   // upper-case text of the previous significant word
    std::string prevPunct;  // the previous significant punctuation, "" after anything else
    bool first = true;

    for (std::size_t i = 0; i < toks.size(); ++i) {
        const Token& tk = toks[i];
        if (tk.kind == Kind::Space) {
            out += tk.text;
            continue;
        }
        std::string thisWord, thisPunct;
        switch (tk.kind) {
            case Kind::Space:
                break;
            case Kind::Bracket:
                out += tk.text;
                if (tk.text.size() >= 2 && tk.text.back() == ']')
                    t.names.push_back(lowerName(tk.text.substr(1, tk.text.size() - 2)));
                break;
            case Kind::String:
                if (tk.doubleQuoted) {
                    out += '\'';
                    for (char c : tk.value) {
                        if (c == '\'') out += '\'';
                        out += c;
                    }
                    out += '\'';
                } else {
                    out += tk.text;
                }
                break;
            case Kind::Date:
                out += "'" + tk.value + "'";
                break;
            case Kind::Punct: {
                thisPunct = tk.text;
                if (tk.text == "&") {
                    out += "||";
                } else if (tk.text == "(") {
                    ++depth;
                    out += tk.text;
                } else if (tk.text == ")") {
                    if (!limits.empty() && limits.back().depth == depth) {
                        out += " LIMIT " + limits.back().count;
                        limits.pop_back();
                    }
                    if (depth > 0) --depth;
                    out += tk.text;
                } else if (tk.text == ";" && depth == 0) {
                    if (!limits.empty() && limits.back().depth == 0) {
                        out += " LIMIT " + limits.back().count;
                        limits.pop_back();
                    }
                    out += tk.text;
                } else {
                    out += tk.text;
                }
                break;
            }
            case Kind::Word: {
                const std::string u = upper(tk.text);
                thisWord = u;
                const std::size_t nx = nextSig(i);
                const bool qualified = prevPunct == "." || isPunct(nx, ".");
                if (first && u == "TRANSFORM")
                    throw DatabaseError("Crosstab queries (TRANSFORM ... PIVOT) cannot be run.");
                if (first && u == "PARAMETERS")
                    throw DatabaseError(
                        "The statement asks for parameters, which cannot be given here.");
                t.names.push_back(lowerName(tk.text));
                if (qualified) {
                    out += tk.text;
                } else if (u == "DISTINCTROW") {
                    // Whole-row distinctness over the underlying tables: the plain
                    // select gives the same rows.
                    thisWord = prevWord;
                } else if (u == "TOP" &&
                           (prevWord == "SELECT" || prevWord == "DISTINCT" || prevWord == "ALL") &&
                           nx < toks.size() && toks[nx].kind == Kind::Word &&
                           allDigits(toks[nx].text)) {
                    std::size_t after = nextSig(nx);
                    if (after < toks.size() && upper(toks[after].text) == "PERCENT")
                        throw DatabaseError("TOP ... PERCENT is not supported.");
                    limits.push_back({depth, toks[nx].text});
                    i = nx;
                    thisWord = prevWord;
                } else if ((u == "TRUE" || u == "YES") && !isPunct(nx, "(")) {
                    out += "1";
                } else if ((u == "FALSE" || u == "NO") && !isPunct(nx, "(")) {
                    out += "0";
                } else if (u == "MOD") {
                    out += "%";
                } else if (isPunct(nx, "(")) {
                    auto f = functionNames().find(u);
                    if (u == "DATE" && isPunct(nextSig(nx), ")"))
                        out += "rq_today";
                    else if (f != functionNames().end())
                        out += f->second;
                    else
                        out += tk.text;
                } else {
                    out += tk.text;
                }
                break;
            }
        }
        first = false;
        prevWord = thisWord;
        prevPunct = thisPunct;
    }
    while (!limits.empty()) {
        // Before any trailing semicolons and blanks.
        std::size_t end = out.size();
        while (end > 0 &&
               (out[end - 1] == ';' || std::isspace(static_cast<unsigned char>(out[end - 1]))))
            --end;
        out.insert(end, " LIMIT " + limits.back().count);
        limits.pop_back();
    }
    return t;
}

namespace {

// Reads an unsigned number of at most maxDigits digits.
bool readNumber(std::string_view s, std::size_t& i, int& v, int maxDigits) {
    std::size_t start = i;
    v = 0;
    while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])) &&
           static_cast<int>(i - start) < maxDigits)
        v = v * 10 + (s[i++] - '0');
    return i > start;
}

void skipBlanks(std::string_view s, std::size_t& i) {
    while (i < s.size() && s[i] == ' ') ++i;
}

bool parseTime(std::string_view s, std::size_t& i, int& h, int& mi, int& sec) {
    sec = 0;
    if (!readNumber(s, i, h, 2) || i >= s.size() || s[i] != ':') return false;
    ++i;
    if (!readNumber(s, i, mi, 2)) return false;
    if (i < s.size() && s[i] == ':') {
        ++i;
        if (!readNumber(s, i, sec, 2)) return false;
    }
    skipBlanks(s, i);
    std::string rest = upper(s.substr(i));
    if (rest.rfind("AM", 0) == 0 || rest.rfind("PM", 0) == 0) {
        if (h < 1 || h > 12) return false;
        if (rest[0] == 'P' && h != 12) h += 12;
        if (rest[0] == 'A' && h == 12) h = 0;
        i += 2;
    }
    return h < 24 && mi < 60 && sec < 60;
}

bool validDate(int y, int m, int d) {
    if (y < 1 || y > 9999 || m < 1 || m > 12 || d < 1) return false;
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return d <= days[m - 1] + (m == 2 && leap ? 1 : 0);
}

}  // namespace

std::string dateLiteral(std::string_view in) {
    std::size_t i = 0;
    skipBlanks(in, i);
    std::size_t probe = i;
    int a = 0;
    if (!readNumber(in, probe, a, 4)) return {};
    int y = 0, m = 0, d = 0, h = 0, mi = 0, sec = 0;
    bool hasDate = false, hasTime = false;
    if (probe < in.size() && in[probe] == ':') {
        if (!parseTime(in, i, h, mi, sec)) return {};
        hasTime = true;
    } else {
        const std::size_t firstLen = probe - i;
        int b = 0, c = 0;
        i = probe;
        if (i >= in.size() || (in[i] != '/' && in[i] != '-')) return {};
        char sep = in[i++];
        if (!readNumber(in, i, b, 2) || i >= in.size() || in[i] != sep) return {};
        ++i;
        std::size_t yStart = i;
        if (!readNumber(in, i, c, 4)) return {};
        if (firstLen == 4) {
            y = a, m = b, d = c;
        } else {
            m = a, d = b, y = c;
            if (i - yStart <= 2) y += y < 30 ? 2000 : 1900;
        }
        if (!validDate(y, m, d)) return {};
        hasDate = true;
        skipBlanks(in, i);
        if (i < in.size() && (in[i] == 'T' || in[i] == 't')) ++i;
        if (i < in.size()) {
            if (!parseTime(in, i, h, mi, sec)) return {};
            hasTime = true;
        }
    }
    skipBlanks(in, i);
    if (i != in.size()) return {};
    if (hasDate && hasTime && (h || mi || sec)) return valuetext::dateTime(y, m, d, h, mi, sec);
    if (hasDate) return valuetext::date(y, m, d);
    return valuetext::time(h, mi, sec);
}

namespace {

std::vector<std::uint32_t> codePoints(std::string_view s) {
    std::vector<std::uint32_t> out;
    out.reserve(s.size());
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    std::size_t i = 0, n = s.size();
    while (i < n) {
        unsigned c = p[i];
        int len = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 1;
        if (i + static_cast<std::size_t>(len) > n) len = 1;
        std::uint32_t cp = len == 1   ? c
                           : len == 2 ? (c & 0x1F)
                           : len == 3 ? (c & 0x0F)
                                      : (c & 0x07);
        for (int k = 1; k < len; ++k) cp = (cp << 6) | (p[i + static_cast<std::size_t>(k)] & 0x3F);
        out.push_back(cp);
        i += static_cast<std::size_t>(len);
    }
    return out;
}

std::uint32_t fold(std::uint32_t c) {
    if (c >= 'A' && c <= 'Z') return c + 32;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
    if (c >= 0x391 && c <= 0x3A9) return c + 32;
    if (c >= 0x410 && c <= 0x42F) return c + 32;
    if (c >= 0x400 && c <= 0x40F) return c + 80;
    return c;
}

struct LikeItem {
    enum Kind { Star, One, Digit, Char, Set } kind;
    std::uint32_t ch = 0;
    bool negate = false;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> ranges;
    explicit LikeItem(Kind k, std::uint32_t c = 0) : kind(k), ch(c) {}
    bool matches(std::uint32_t c) const {
        switch (kind) {
            case One:
                return true;
            case Digit:
                return c >= '0' && c <= '9';
            case Char:
                return fold(c) == ch;
            case Set: {
                bool in = false;
                std::uint32_t f = fold(c);
                for (auto& r : ranges)
                    if ((c >= r.first && c <= r.second) ||
                        (f >= fold(r.first) && f <= fold(r.second)))
                        in = true;
                return in != negate;
            }
            case Star:
                return false;
        }
        return false;
    }
};

}  // namespace

bool likeMatch(std::string_view value, std::string_view pattern) {
    std::vector<std::uint32_t> pat = codePoints(pattern), val = codePoints(value);
    std::vector<LikeItem> items;
    for (std::size_t i = 0; i < pat.size(); ++i) {
        std::uint32_t c = pat[i];
        if (c == '*') {
            items.emplace_back(LikeItem::Star);
        } else if (c == '?') {
            items.emplace_back(LikeItem::One);
        } else if (c == '#') {
            items.emplace_back(LikeItem::Digit);
        } else if (c == '[') {
            std::size_t close = i + 1;
            while (close < pat.size() && pat[close] != ']') ++close;
            if (close >= pat.size()) {  // no closing bracket: a plain character
                items.emplace_back(LikeItem::Char, fold(c));
                continue;
            }
            LikeItem set(LikeItem::Set);
            std::size_t j = i + 1;
            if (j < close && pat[j] == '!') {
                set.negate = true;
                ++j;
            }
            for (; j < close; ++j) {
                if (j + 2 < close && pat[j + 1] == '-') {
                    set.ranges.push_back(
                        {std::min(pat[j], pat[j + 2]), std::max(pat[j], pat[j + 2])});
                    j += 2;
                } else {
                    set.ranges.push_back({pat[j], pat[j]});
                }
            }
            i = close;
            if (set.ranges.empty() && !set.negate) continue;  // [] matches nothing: skip it
            items.push_back(std::move(set));
        } else {
            items.emplace_back(LikeItem::Char, fold(c));
        }
    }
    std::size_t v = 0, p = 0, starP = std::string::npos, starV = 0;
    while (v < val.size()) {
        if (p < items.size() && items[p].kind == LikeItem::Star) {
            starP = p++;
            starV = v;
        } else if (p < items.size() && items[p].matches(val[v])) {
            ++p;
            ++v;
        } else if (starP != std::string::npos) {
            p = starP + 1;
            v = ++starV;
        } else {
            return false;
        }
    }
    while (p < items.size() && items[p].kind == LikeItem::Star) ++p;
    return p == items.size();
}

}  // namespace rq::sql
