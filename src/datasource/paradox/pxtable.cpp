#include "datasource/paradox/pxtable.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "datasource/bytes.h"
#include "datasource/codepage.h"
#include "datasource/valuetext.h"

namespace rq::paradox {

namespace vt = rq::valuetext;
using bytes::be16;
using bytes::be32;
using bytes::be64;
using bytes::le16;
using bytes::le32;

namespace {

// Field type codes of the table file.
enum : unsigned {
    kAlpha = 0x01,
    kDate = 0x02,
    kShort = 0x03,
    kLongInt = 0x04,
    kMoney = 0x05,
    kNumber = 0x06,
    kLogical = 0x09,
    kMemoBlob = 0x0C,
    kBinaryBlob = 0x0D,
    kFormattedMemo = 0x0E,
    kOle = 0x0F,
    kGraphic = 0x10,
    kTime = 0x14,
    kTimestamp = 0x15,
    kAutoInc = 0x16,
    kBcd = 0x17,
    kBytes = 0x18,
};

constexpr std::uint32_t kBcdBytes = 17;
// Days from 0000-12-31 (day 0 of the date fields) to 1970-01-01.
constexpr std::int64_t kDayZeroTo1970 = 719163;
constexpr std::int64_t kMillisPerDay = 86400000;

[[noreturn]] void fail(const std::string& path, const std::string& why, int code = kErrGeneric) {
    throw DatabaseError("The table '" + path + "' cannot be read: " + why, code);
}

bool isBlobType(unsigned t) {
    return t == kMemoBlob || t == kBinaryBlob || t == kFormattedMemo || t == kOle || t == kGraphic;
}

int engineTypeOf(unsigned t) {
    switch (t) {
        case kAlpha:
            return kText;
        case kDate:
            return kDateTime;
        case kShort:
            return kInteger;
        case kLongInt:
            return kLong;
        case kMoney:
            return kCurrency;
        case kNumber:
            return kDouble;
        case kLogical:
            return kBoolean;
        case kMemoBlob:
            return kMemo;
        case kFormattedMemo:
            return kMemo;
        case kBinaryBlob:
        case kOle:
        case kGraphic:
            return kLongBinary;
        case kTime:
        case kTimestamp:
            return kDateTime;
        case kAutoInc:
            return kLong;
        case kBcd:
            return kDecimal;
        case kBytes:
            return kBinary;
        default:
            return 0;
    }
}

bool allZero(std::string_view v) {
    for (char c : v)
        if (c != 0) return false;
    return true;
}

// Numbers are stored big-endian with the sign bit inverted, so that their bytes
// sort like their values; negative doubles have every bit inverted.
bool flippedDouble(const unsigned char* p, double& out) {
    std::uint64_t bits = be64(p);
    if (bits == 0) return false;
    bits = (bits & (1ull << 63)) ? bits ^ (1ull << 63) : ~bits;
    out = bytes::doubleFromBits(bits);
    return true;
}

void appendDate(std::string& out, std::int64_t dayNumber) {
    int y, m, d;
    vt::civilFromDays(dayNumber - kDayZeroTo1970, y, m, d);
    if (y < 1 || y > 9999) return;
    out += vt::date(y, m, d);
}

void appendTimeOfDay(std::string& out, std::int64_t ms) {
    if (ms < 0 || ms >= kMillisPerDay) return;
    auto secs = static_cast<int>(ms / 1000);
    out += vt::time(secs / 3600, secs / 60 % 60, secs % 60, static_cast<int>(ms % 1000) * 1000000);
}

// The bytes a field of a fixed-size type takes in a record, 0 for the types
// whose size the header gives (text, bytes, blobs).
std::uint32_t fixedWidth(unsigned type) {
    switch (type) {
        case kLogical:
            return 1;
        case kShort:
            return 2;
        case kDate:
        case kLongInt:
        case kTime:
        case kAutoInc:
            return 4;
        case kMoney:
        case kNumber:
        case kTimestamp:
            return 8;
        case kBcd:
            return kBcdBytes;
        default:
            return 0;
    }
}

// Reads the field list at pos: type and size of each field, laid out one after
// the other in the record.
void parseFieldList(PxTable& t, std::string_view header, std::size_t pos, std::uint32_t count) {
    const std::string& path = t.path;
    if (!bytes::fits(header, pos, count * 2u)) fail(path, "its field list is cut short.");
    const unsigned char* h = bytes::uc(header);
    std::uint32_t offset = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::string field = "field " + std::to_string(i + 1);
        PxColumn c;
        c.type = h[pos + 2 * i];
        c.size = h[pos + 2 * i + 1];
        c.offset = offset;
        c.engineType = engineTypeOf(c.type);
        if (c.engineType == 0) fail(path, field + " has an unknown type.");
        // A BCD field's size byte is its number of decimal places, not its width.
        const std::uint32_t fixed = fixedWidth(c.type);
        if (fixed != 0 && c.type != kBcd && c.size != fixed)
            fail(path, field + " has a size its type cannot have.");
        const std::uint32_t width = fixed != 0 ? fixed : c.size;
        if (width == 0) fail(path, field + " has no size.");
        if (isBlobType(c.type) && width < 10) fail(path, "a blob field is too small.");
        offset += width;
        if (isBlobType(c.type)) t.hasBlobs = true;
        t.columns.push_back(std::move(c));
    }
    if (offset > t.recordSize) fail(path, "its fields are longer than its records.");
}

}  // namespace

PxTable parseParadox(std::string_view data, const std::string& path, int codepage) {
    PxTable t;
    t.path = path;
    if (data.size() < 0x58) fail(path, "the header is cut short.", kErrUnrecognisedFormat);
    const unsigned char* h = bytes::uc(data);
    t.recordSize = le16(h);
    t.headerSize = le16(h + 2);
    const unsigned fileType = h[4];
    const unsigned blockKb = h[5];
    t.declaredRecords = le32(h + 6);
    t.fileBlocks = le16(h + 0x0C);
    t.firstBlock = le16(h + 0x0E);
    const std::uint32_t fieldCount = le16(h + 0x21);
    t.version = h[0x39];
    if (fileType != 0 && fileType != 2)
        fail(path, "it is not a Paradox data table.", kErrUnrecognisedFormat);
    if (t.version < 3 || t.version > 12)
        fail(path, "its version is not one this reader understands.", kErrUnrecognisedFormat);
    if (blockKb < 1 || blockKb > 32) fail(path, "its block size is damaged.");
    t.blockSize = blockKb * 1024u;
    if (t.recordSize == 0) fail(path, "its record size is zero.");
    if (t.recordSize + 6 > t.blockSize) fail(path, "its records are larger than its blocks.");
    if (fieldCount == 0 || fieldCount > 1024) fail(path, "its field count is damaged.");

    // Version 4 and later tables have a longer fixed header before the field list.
    const bool extended = t.version >= 5;
    const std::size_t fieldList = extended ? 0x78 : 0x58;
    if (t.headerSize < fieldList || t.headerSize > data.size())
        fail(path, "its header size is damaged.");
    if (extended) {
        t.encryption = le32(h + 0x5C);
        const int cp = le16(h + 0x6A);
        if (cp != 0) t.codepage = cp;
    } else {
        t.encryption = le32(h + 0x25);
    }
    t.scrambled = t.encryption != 0;
    if (codepage != 0) t.codepage = codepage;

    std::string_view header = data.substr(0, t.headerSize);
    parseFieldList(t, header, fieldList, fieldCount);

    // Field names follow the table-name pointer, one pointer per field and the
    // table's own name, as zero-terminated strings.
    std::size_t pos =
        fieldList + fieldCount * 2u + 4 + fieldCount * 4u + (t.version >= 12 ? 261 : 79);
    const CodePage& page = CodePage::get(t.codepage);
    for (auto& c : t.columns) {
        if (pos >= header.size()) fail(path, "its field names are cut short.");
        std::size_t end = header.find('\0', pos);
        if (end == std::string_view::npos) fail(path, "its field names are cut short.");
        c.name = page.toUtf8(header.substr(pos, end - pos));
        pos = end + 1;
    }
    return t;
}

std::vector<Field> fieldsOf(const PxTable& table) {
    std::vector<Field> out;
    for (const auto& c : table.columns) out.push_back({c.name, c.engineType});
    return out;
}

namespace {

// Reads blob values: from the record's leader when they fit there, else from
// the blob file (a block of its own, or a slot of a shared block). Counts the
// values that needed a blob file that is missing.
class BlobReader {
  public:
    explicit BlobReader(const PxBlobs& file) : file_(file) {}
    std::string_view bytesOf(std::string_view field);
    std::uint64_t lost() const { return lost_; }

  private:
    DatabaseError damaged(const char* why) const {
        return DatabaseError("The blob file '" + file_.path + "' is damaged: " + why);
    }
    const PxBlobs& file_;
    std::uint64_t lost_ = 0;
};

std::string_view BlobReader::bytesOf(std::string_view field) {
    const std::size_t leader = field.size() - 10;
    const unsigned char* p = bytes::uc(field, leader);
    const std::uint32_t where = le32(p);
    const std::uint32_t length = le32(p + 4);
    if (length == 0) return {};
    if (length <= leader) return field.substr(0, length);
    if (file_.missing) {
        ++lost_;
        return {};
    }
    const std::string_view blobs = file_.bytes;
    const std::uint32_t index = where & 0xFF;
    const std::size_t block = where & 0xFFFFFF00u;
    if (!bytes::fits(blobs, block, 12)) throw damaged("a blob lies outside it.");
    const unsigned char* b = bytes::uc(blobs, block);
    std::size_t start;
    if (index == 0xFF) {
        if (b[0] != 2) throw damaged("a blob points at a block of the wrong kind.");
        start = block + 9;
    } else {
        if (b[0] != 3 || index >= 64) throw damaged("a blob points at a block of the wrong kind.");
        if (!bytes::fits(blobs, block + 12 + index * 5, 5))
            throw damaged("a blob lies outside it.");
        start = block + b[12 + index * 5] * 16u;
    }
    if (!bytes::fits(blobs, start, length)) throw damaged("a blob runs past its end.");
    return blobs.substr(start, length);
}

// A formatted memo holds its plain text after a fixed 44-byte preamble whose
// second word is the text's length (with its closing zero); the formatting runs
// follow the text. Anything else is shown as stored.
std::string_view formattedMemoText(std::string_view b) {
    constexpr std::size_t kPreamble = 44;
    if (b.size() < kPreamble || le32(bytes::uc(b)) != 7) return b;
    const std::uint32_t length = le32(bytes::uc(b, 4));
    if (length > b.size() - kPreamble) return b;
    std::string_view text = b.substr(kPreamble, length);
    return text.substr(0, std::min(text.find('\0'), text.size()));
}

// Graphic and OLE blobs are stored after an 8-byte prefix: a word naming the
// kind of object and a word giving the length of what follows. Both kinds are
// given without it: the prefix wraps the value in the blob file rather than
// being part of it (the copy of a graphic kept in the record's leader starts
// after it), and without it a graphic is a complete image file and an OLE value
// the object's own stream. A blob whose prefix does not fit is given as stored.
std::string_view withoutObjectPrefix(std::string_view b) {
    if (b.size() >= 8 && le32(bytes::uc(b, 4)) == b.size() - 8) return b.substr(8);
    return b;
}

void appendBcd(std::string& out, std::string_view v) {
    const unsigned char* p = bytes::uc(v);
    if (allZero(v)) return;
    const bool negative = (p[0] & 0x80) == 0;
    const int scale = p[0] & 0x3F;
    if (scale > 32) return;
    std::array<char, 32> digits{};
    std::size_t n = 0;
    for (std::size_t i = 0; i < 32; ++i) {
        unsigned nibble = (p[1 + i / 2] >> (i % 2 ? 0 : 4)) & 0x0F;
        if (negative) nibble = 15 - nibble;
        // Beyond the digits the writer keeps, the nibbles are not decimal.
        if (nibble > 9) break;
        digits[n++] = static_cast<char>('0' + nibble);
    }
    for (; n < 32; ++n) digits[n] = '0';
    out += vt::decimalDigits(negative, std::string_view(digits.data(), n), scale);
}

void appendTimestamp(std::string& out, double ms) {
    if (!(ms >= 0 && ms < 1e15)) return;
    auto whole = static_cast<std::int64_t>(ms + 0.5);
    std::int64_t day = whole / kMillisPerDay;
    std::int64_t rest = whole % kMillisPerDay;
    int y, m, d;
    vt::civilFromDays(day - kDayZeroTo1970, y, m, d);
    if (y < 1 || y > 9999) return;
    auto secs = static_cast<int>(rest / 1000);
    out += rest == 0 ? vt::date(y, m, d)
                     : vt::dateTime(y, m, d, secs / 3600, secs / 60 % 60, secs % 60,
                                    static_cast<int>(rest % 1000) * 1000000);
}

// Appends the text of one stored value; v is the field's bytes in the record,
// as wide as parseFieldList() checked its type needs.
void appendValue(std::string& out, const PxColumn& c, std::string_view v, const CodePage& cp,
                 BlobReader& blobs) {
    const unsigned char* p = bytes::uc(v);
    double d;
    switch (c.type) {
        case kAlpha: {
            std::size_t len = std::min(v.find('\0'), v.size());
            while (len > 0 && v[len - 1] == ' ') --len;
            cp.appendUtf8(out, v.substr(0, len));
            break;
        }
        case kDate:
            if (be32(p) != 0) appendDate(out, static_cast<std::int32_t>(be32(p) ^ 0x80000000u));
            break;
        case kShort:
            if (be16(p) != 0) out += vt::integer(static_cast<std::int16_t>(be16(p) ^ 0x8000u));
            break;
        case kLongInt:
        case kAutoInc:
            if (be32(p) != 0) out += vt::integer(static_cast<std::int32_t>(be32(p) ^ 0x80000000u));
            break;
        case kMoney:
            // Money is kept to the four places of a currency value.
            if (flippedDouble(p, d) && std::fabs(d) < 9e14)
                out += vt::decimalScaled(std::llround(d * 10000.0), 4);
            break;
        case kNumber:
            if (flippedDouble(p, d)) out += vt::floating(d);
            break;
        case kLogical:
            if (p[0] != 0) out += vt::boolean((p[0] & 0x7F) != 0);
            break;
        case kTime:
            if (be32(p) != 0)
                appendTimeOfDay(out, static_cast<std::int32_t>(be32(p) ^ 0x80000000u));
            break;
        case kTimestamp:
            if (flippedDouble(p, d)) appendTimestamp(out, d);
            break;
        case kBcd:
            appendBcd(out, v);
            break;
        case kBytes:
            if (!allZero(v)) out += vt::base64(v);
            break;
        case kMemoBlob:
        case kFormattedMemo: {
            std::string_view b = blobs.bytesOf(v);
            if (c.type == kFormattedMemo) b = formattedMemoText(b);
            while (!b.empty() && b.back() == '\0') b.remove_suffix(1);
            cp.appendUtf8(out, b);
            break;
        }
        case kGraphic:
        case kOle:
            out += vt::base64(withoutObjectPrefix(blobs.bytesOf(v)));
            break;
        default:  // binary blobs
            out += vt::base64(blobs.bytesOf(v));
            break;
    }
}

}  // namespace

void readParadox(const PxTable& t, std::string_view data, const PxBlobs& blobFile,
                 RecordSink& sink) {
    if (t.scrambled)
        fail(t.path, "it is protected with a password and has not been unlocked.",
             kErrPasswordRequired);
    sink.begin(fieldsOf(t));
    const CodePage& cp = CodePage::get(t.codepage);
    BlobReader blobs(blobFile);
    const std::size_t n = t.columns.size();
    std::vector<std::string> text(n);
    std::vector<std::string_view> views(n);
    const std::size_t body = data.size() - std::min<std::size_t>(data.size(), t.headerSize);
    const std::uint64_t blockCount = (body + t.blockSize - 1) / t.blockSize;
    std::vector<bool> seen(blockCount + 1, false);
    const std::uint32_t perBlock = (t.blockSize - 6) / t.recordSize;
    std::uint64_t read = 0;
    for (std::uint32_t block = t.firstBlock; block != 0;) {
        if (block > blockCount || seen[block]) break;  // cut short, or a loop in the chain
        seen[block] = true;
        const std::size_t start = t.headerSize + std::size_t{block - 1} * t.blockSize;
        std::string_view bytesOfBlock = data.substr(start, t.blockSize);
        if (bytesOfBlock.size() < 6) break;
        const unsigned char* bh = bytes::uc(bytesOfBlock);
        const auto lastOffset = static_cast<std::int16_t>(le16(bh + 4));
        std::uint32_t records =
            lastOffset < 0 ? 0 : static_cast<std::uint32_t>(lastOffset) / t.recordSize + 1;
        records = std::min(records, perBlock);
        for (std::uint32_t r = 0; r < records; ++r) {
            const std::size_t at = 6 + std::size_t{r} * t.recordSize;
            if (!bytes::fits(bytesOfBlock, at, t.recordSize)) break;
            std::string_view rec = bytesOfBlock.substr(at, t.recordSize);
            for (std::size_t i = 0; i < n; ++i) {
                const PxColumn& c = t.columns[i];
                text[i].clear();
                const std::uint32_t width = c.type == kBcd ? kBcdBytes : c.size;
                appendValue(text[i], c, rec.substr(c.offset, width), cp, blobs);
                views[i] = text[i];
            }
            sink.row(views.data(), n);
            ++read;
        }
        block = le16(bh);
    }
    if (read < t.declaredRecords)
        sink.warning(t.path + ": " + std::to_string(read) + " of " +
                     std::to_string(t.declaredRecords) + " records read");
    if (blobs.lost() != 0)
        sink.warning(blobFile.path + ": the blob file is missing; " + std::to_string(blobs.lost()) +
                     " values kept there are empty");
    sink.end();
}

}  // namespace rq::paradox
