#include "datasource/sql/tablestore.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <unordered_set>

#include "datasource/sql/translate.h"

namespace rq::sql {

namespace {

// Declared column types: they give SQLite the affinity that makes numbers
// compare as numbers, and give the field type back for result columns that
// are plain column references.
struct TypeName {
    int code;
    const char* decl;
    Affinity affinity;
};
constexpr TypeName kTypeNames[] = {
    {kBoolean, "BOOLEAN", Affinity::Numeric},   {kByte, "BYTEINT", Affinity::Integer},
    {kInteger, "SMALLINT", Affinity::Integer},  {kLong, "INTEGER", Affinity::Integer},
    {kCurrency, "CURRENCY", Affinity::Numeric}, {kSingle, "SINGLEFLOAT", Affinity::Real},
    {kDouble, "DOUBLE", Affinity::Real},        {kDateTime, "DATETEXT", Affinity::Text},
    {kBinary, "BINBLOB", Affinity::None},       {kText, "TEXT", Affinity::Text},
    {kLongBinary, "OLEBLOB", Affinity::None},   {kMemo, "MEMOTEXT", Affinity::Text},
    {kGuid, "GUIDTEXT", Affinity::Text},        {kBigInt, "BIGINT", Affinity::Integer},
    {kDecimal, "DECIMAL", Affinity::Numeric},
};

bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// 0: not a number; 1: an integer literal; 2: a literal with a point or exponent.
// [b, e) is the text without the blanks around it.
int numberForm(std::string_view s, std::size_t& b, std::size_t& e) {
    std::size_t i = 0, n = s.size();
    while (i < n && isBlank(s[i])) ++i;
    while (n > i && isBlank(s[n - 1])) --n;
    b = i;
    e = n;
    if (i < n && (s[i] == '+' || s[i] == '-')) ++i;
    std::size_t digits = 0;
    int form = 1;
    for (; i < n && isDigit(s[i]); ++i) ++digits;
    if (i < n && s[i] == '.') {
        form = 2;
        for (++i; i < n && isDigit(s[i]); ++i) ++digits;
    }
    if (digits == 0) return 0;
    if (i < n && (s[i] == 'e' || s[i] == 'E')) {
        form = 2;
        ++i;
        if (i < n && (s[i] == '+' || s[i] == '-')) ++i;
        std::size_t expDigits = 0;
        for (; i < n && isDigit(s[i]); ++i) ++expDigits;
        if (expDigits == 0) return 0;
    }
    return i == n ? form : 0;
}

// A whole double that fits a 64-bit integer with room at both ends.
bool wholeInt64(double r, std::int64_t* out) {
    if (!(r > -9223372036854775808.0 && r < 9223372036854775808.0)) return false;
    auto i = static_cast<std::int64_t>(r);
    if (static_cast<double>(i) != r) return false;
    *out = i;
    return true;
}

Value numericValue(std::string_view text, Affinity a) {
    Value v;
    v.kind = Value::Text;
    v.text = text;
    std::size_t b = 0, e = 0;
    int form = numberForm(text, b, e);
    if (form == 0) return v;
    std::string lit(text.substr(b, e - b));
    if (form == 1) {
        errno = 0;
        long long i = std::strtoll(lit.c_str(), nullptr, 10);
        if (errno == 0) {
            v.kind = Value::Integer;
            v.i = i;
        }
    }
    if (v.kind == Value::Text) {
        v.kind = Value::Real;
        v.r = std::strtod(lit.c_str(), nullptr);
        if (a != Affinity::Real && wholeInt64(v.r, &v.i)) v.kind = Value::Integer;
    }
    if (a == Affinity::Real && v.kind == Value::Integer) {
        v.kind = Value::Real;
        v.r = static_cast<double>(v.i);
    }
    v.text = {};
    return v;
}

void putVarint(std::string& out, std::uint64_t v) {
    while (v >= 0x80) {
        out += static_cast<char>((v & 0x7F) | 0x80);
        v >>= 7;
    }
    out += static_cast<char>(v);
}

std::uint64_t getVarint(const char*& p) {
    std::uint64_t v = 0;
    for (int shift = 0;; shift += 7) {
        auto c = static_cast<unsigned char>(*p++);
        v |= static_cast<std::uint64_t>(c & 0x7F) << shift;
        if (!(c & 0x80)) return v;
    }
}

// Cell encoding: a tag byte, then the value. Short texts carry their length
// in the tag.
enum Tag : unsigned char { kTagNull = 0, kTagInt = 1, kTagReal = 2, kTagLongText = 3 };
constexpr unsigned kShortText = 4;
constexpr std::size_t kMaxShortText = 255 - kShortText;

void encode(std::string& out, const Value& v) {
    switch (v.kind) {
        case Value::Null:
            out += static_cast<char>(kTagNull);
            break;
        case Value::Integer: {
            out += static_cast<char>(kTagInt);
            auto u = static_cast<std::uint64_t>(v.i);
            putVarint(out, (u << 1) ^ (v.i < 0 ? ~std::uint64_t{0} : 0));
            break;
        }
        case Value::Real: {
            out += static_cast<char>(kTagReal);
            char b[sizeof(double)];
            std::memcpy(b, &v.r, sizeof b);
            out.append(b, sizeof b);
            break;
        }
        case Value::Text:
            if (v.text.size() <= kMaxShortText) {
                out += static_cast<char>(kShortText + v.text.size());
            } else {
                out += static_cast<char>(kTagLongText);
                putVarint(out, v.text.size());
            }
            out.append(v.text);
            break;
    }
}

Value decodeOne(const char*& p) {
    Value v;
    auto tag = static_cast<unsigned char>(*p++);
    if (tag == kTagNull) return v;
    if (tag == kTagInt) {
        std::uint64_t u = getVarint(p);
        v.kind = Value::Integer;
        v.i = static_cast<std::int64_t>((u >> 1) ^ (~(u & 1) + 1));
        return v;
    }
    if (tag == kTagReal) {
        v.kind = Value::Real;
        std::memcpy(&v.r, p, sizeof(double));
        p += sizeof(double);
        return v;
    }
    std::size_t len = tag == kTagLongText ? getVarint(p) : tag - kShortText;
    v.kind = Value::Text;
    v.text = {p, len};
    p += len;
    return v;
}

// What equality looks at, loosened so that values equal under any built-in
// collation and either side's affinity share a key: numbers (and texts that
// read as numbers) by value, other texts ignoring ASCII case and trailing blanks.
struct Key {
    int cls = 0;  // 0 null, 1 number, 2 text
    double num = 0;
    std::string_view text;
};

Key keyOf(const Value& v) {
    Key k;
    switch (v.kind) {
        case Value::Null:
            break;
        case Value::Integer:
            k.cls = 1;
            k.num = static_cast<double>(v.i);
            break;
        case Value::Real:
            k.cls = 1;
            k.num = v.r;
            break;
        case Value::Text:
            if (readsAsDecimal(v.text, &k.num)) {
                k.cls = 1;
            } else {
                k.cls = 2;
                k.text = v.text;
                while (!k.text.empty() && k.text.back() == ' ') k.text.remove_suffix(1);
            }
            break;
    }
    return k;
}

int compareKeys(const Key& a, const Key& b) {
    if (a.cls != b.cls) return a.cls < b.cls ? -1 : 1;
    if (a.cls == 1) return a.num < b.num ? -1 : a.num > b.num ? 1 : 0;
    std::size_t n = std::min(a.text.size(), b.text.size());
    for (std::size_t i = 0; i < n; ++i) {
        char x = a.text[i], y = b.text[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x + 32);
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y + 32);
        if (x != y) return static_cast<unsigned char>(x) < static_cast<unsigned char>(y) ? -1 : 1;
    }
    return a.text.size() < b.text.size() ? -1 : a.text.size() > b.text.size() ? 1 : 0;
}

// Lookups of one column answered by scanning before its index is built: a
// lone lookup is cheaper as a scan, a join's repeated lookups are not.
constexpr int kScansBeforeIndex = 2;

}  // namespace

bool readsAsDecimal(std::string_view text, double* value) {
    std::size_t b = 0, e = 0;
    if (numberForm(text, b, e) == 0) return false;
    *value = std::strtod(std::string(text.substr(b, e - b)).c_str(), nullptr);
    return true;
}

Value columnValue(std::string_view text, Affinity a, bool boolean) {
    Value v;
    if (text.empty()) return v;
    if (boolean && (text == "true" || text == "false")) {
        v.kind = Value::Integer;
        v.i = text == "true" ? 1 : 0;
        return v;
    }
    if (a == Affinity::Numeric || a == Affinity::Integer || a == Affinity::Real)
        return numericValue(text, a);
    v.kind = Value::Text;
    v.text = text;
    return v;
}

const char* declaredType(int fieldType) {
    for (const auto& t : kTypeNames)
        if (t.code == fieldType) return t.decl;
    return "TEXT";
}

int fieldTypeOfDeclared(const char* declared) {
    if (!declared) return 0;
    std::string d(declared);
    for (auto& c : d)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    for (const auto& t : kTypeNames)
        if (d == t.decl) return t.code;
    return 0;
}

Affinity affinityOf(int fieldType) {
    for (const auto& t : kTypeNames)
        if (t.code == fieldType) return t.affinity;
    return Affinity::Text;
}

TableStore::TableStore(const std::vector<Field>& fields) {
    std::unordered_set<std::string> seen;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        std::string name = fields[i].name;
        name.erase(std::remove(name.begin(), name.end(), '\0'), name.end());
        if (name.empty()) name = "F" + std::to_string(i + 1);
        std::string key = lowerName(name);
        for (int k = 2; seen.count(key); ++k) key = lowerName(name + "_" + std::to_string(k));
        if (key != lowerName(name)) name += key.substr(name.size());
        seen.insert(key);
        fields_.push_back({name, fields[i].type});
        affinity_.push_back(affinityOf(fields[i].type));
        boolean_.push_back(fields[i].type == kBoolean);
    }
    // A table without fields still has a column, and no records.
    if (fields_.empty()) {
        fields_.push_back({"F1", kText});
        affinity_.push_back(Affinity::Text);
        boolean_.push_back(false);
        noFields_ = true;
    }
    index_.resize(fields_.size());
    indexed_.resize(fields_.size());
    lookups_.resize(fields_.size());
}

char* TableStore::allocate(std::size_t n) {
    constexpr std::size_t kChunk = 1 << 20;
    if (n > kChunk / 4) {
        largeBlocks_.push_back(std::make_unique<char[]>(n));
        bytes_ += n;
        return largeBlocks_.back().get();
    }
    if (chunks_.empty() || chunkUsed_ + n > kChunk) {
        chunks_.push_back(std::make_unique<char[]>(kChunk));
        chunkUsed_ = 0;
        bytes_ += kChunk;
    }
    char* p = chunks_.back().get() + chunkUsed_;
    chunkUsed_ += n;
    return p;
}

std::size_t TableStore::bytes() const {
    std::size_t n = bytes_ + rows_.capacity() * sizeof(const char*);
    for (const auto& idx : index_) n += idx.capacity() * sizeof(std::uint32_t);
    return n;
}

void TableStore::append(const std::string_view* cells, std::size_t count) {
    if (noFields_) return;
    if (rows_.size() >= UINT32_MAX)
        throw DatabaseError("The table has more records than a statement can read.");
    scratch_.clear();
    for (std::size_t c = 0; c < fields_.size(); ++c)
        encode(scratch_,
               columnValue(c < count ? cells[c] : std::string_view(), affinity_[c], boolean_[c]));
    char* p = allocate(scratch_.size());
    std::memcpy(p, scratch_.data(), scratch_.size());
    rows_.push_back(p);
}

void TableStore::decode(std::size_t row, std::vector<Value>& out) const {
    out.resize(fields_.size());
    const char* p = rows_[row];
    for (auto& v : out) v = decodeOne(p);
}

Value TableStore::valueAt(std::size_t row, std::size_t col) const {
    const char* p = rows_[row];
    for (std::size_t c = 0; c < col; ++c) decodeOne(p);
    return decodeOne(p);
}

void TableStore::buildIndex(std::size_t col) {
    std::vector<std::uint32_t>& idx = index_[col];
    idx.resize(rows_.size());
    for (std::size_t r = 0; r < idx.size(); ++r) idx[r] = static_cast<std::uint32_t>(r);
    std::stable_sort(idx.begin(), idx.end(), [&](std::uint32_t a, std::uint32_t b) {
        return compareKeys(keyOf(valueAt(a, col)), keyOf(valueAt(b, col))) < 0;
    });
    indexed_[col] = true;
}

std::pair<const std::uint32_t*, const std::uint32_t*> TableStore::candidates(
    std::size_t col, const Value& v, std::vector<std::uint32_t>& scratch) {
    const Key key = keyOf(v);
    scratch.clear();
    if (key.cls == 0 || col >= fields_.size()) return {scratch.data(), scratch.data()};
    if (!indexed_[col] && lookups_[col] < kScansBeforeIndex) {
        ++lookups_[col];
        for (std::size_t r = 0; r < rows_.size(); ++r)
            if (compareKeys(keyOf(valueAt(r, col)), key) == 0)
                scratch.push_back(static_cast<std::uint32_t>(r));
        return {scratch.data(), scratch.data() + scratch.size()};
    }
    if (!indexed_[col]) buildIndex(col);
    const std::vector<std::uint32_t>& idx = index_[col];
    auto lo = std::partition_point(idx.begin(), idx.end(), [&](std::uint32_t r) {
        return compareKeys(keyOf(valueAt(r, col)), key) < 0;
    });
    auto hi = std::partition_point(lo, idx.end(), [&](std::uint32_t r) {
        return compareKeys(keyOf(valueAt(r, col)), key) == 0;
    });
    return {idx.data() + (lo - idx.begin()), idx.data() + (hi - idx.begin())};
}

}  // namespace rq::sql
