#include "datasource/dbase/dbftable.h"

#include <algorithm>
#include <array>

#include "datasource/bytes.h"
#include "datasource/codepage.h"
#include "datasource/dbase/dbftext.h"
#include "datasource/valuetext.h"

namespace rq::dbase {

namespace vt = rq::valuetext;
using bytes::be32;
using bytes::le16;
using bytes::le32;

namespace {

constexpr std::uint32_t kMaxColumns = 2048;

[[noreturn]] void fail(const std::string& path, const std::string& why, int code = kErrGeneric) {
    throw DatabaseError("The table '" + path + "' cannot be read: " + why, code);
}

bool isVisualFoxPro(unsigned v) {
    return v == 0x30 || v == 0x31 || v == 0x32;
}
bool isDbase7(unsigned v) {
    return (v & 0x07) == 0x04;
}
bool isFoxPro2(unsigned v) {
    return v == 0xF5 || v == 0xFB;
}

bool recognisedVersion(unsigned v) {
    return v == 0x02 || (v & 0x07) == 0x03 || isDbase7(v) || isVisualFoxPro(v) || isFoxPro2(v);
}

bool isMemoType(char t, bool vfp) {
    return t == 'M' || t == 'G' || t == 'P' || t == 'W' || (t == 'B' && !vfp);
}

int engineTypeOf(char t, std::uint32_t length, int decimals, bool vfp) {
    switch (t) {
        case 'C':
        case 'V':
            return kText;
        case 'M':
            return kMemo;
        case 'N':
        case 'F':
            return (decimals == 0 && length <= 9) ? kLong : kDecimal;
        case 'L':
            return kBoolean;
        case 'D':
        case 'T':
        case '@':
            return kDateTime;
        case 'I':
        case '+':
            return kLong;
        case 'B':
            return vfp ? kDouble : kLongBinary;
        case 'O':
            return kDouble;
        case 'Y':
            return kCurrency;
        case 'G':
        case 'P':
        case 'W':
            return kLongBinary;
        case 'Q':
            return kBinary;
        default:
            return kText;
    }
}

// When the file names no code page: UTF-8 when the text is valid UTF-8 with
// non-ASCII characters, code page 850 when most high bytes are the accented
// letters of the DOS code pages (0x80..0xA5), else 1252.
int guessCodepage(std::string_view data, const DbfTable& t,
                  const std::vector<std::string_view>& rawNames) {
    std::size_t high = 0, dosLetters = 0;
    bool allUtf8 = true;
    auto look = [&](std::string_view s) {
        s = trimRight(s);
        bool any = false;
        for (char c : s) {
            auto b = static_cast<unsigned char>(c);
            if (b >= 0x80) {
                any = true;
                ++high;
                if (b <= 0xA5) ++dosLetters;
            }
        }
        if (any && !vt::isValidUtf8(s)) allUtf8 = false;
    };
    for (auto n : rawNames) look(n);
    const std::uint64_t sample = std::min<std::uint64_t>(t.recordCount, 20000);
    for (std::uint64_t r = 0; r < sample; ++r) {
        std::size_t base = t.headerLength + r * t.recordLength;
        for (const auto& c : t.columns)
            if (c.type == 'C' || c.type == 'V') look(data.substr(base + c.offset, c.length));
    }
    if (high == 0) return 1252;
    if (allUtf8) return 65001;
    if (dosLetters * 2 > high) return 850;
    return 1252;
}

}  // namespace

int codepageOfLanguageDriver(int ldid) {
    switch (ldid) {
        case 0x01:
        case 0x09:
        case 0x0B:
        case 0x0D:
        case 0x0F:
        case 0x11:
        case 0x15:
        case 0x18:
        case 0x19:
        case 0x1B:
            return 437;
        case 0x02:
        case 0x0A:
        case 0x0E:
        case 0x10:
        case 0x12:
        case 0x14:
        case 0x16:
        case 0x1A:
        case 0x1D:
        case 0x25:
        case 0x37:
            return 850;
        case 0x03:
        case 0x57:
        case 0x58:
        case 0x59:
            return 1252;
        case 0x04:
            return 10000;
        case 0x08:
        case 0x17:
        case 0x66:
            return 865;
        case 0x13:
        case 0x7B:
            return 932;
        case 0x1C:
        case 0x6C:
            return 863;
        case 0x1F:
        case 0x22:
        case 0x23:
        case 0x40:
        case 0x64:
        case 0x87:
            return 852;
        case 0x24:
            return 860;
        case 0x26:
        case 0x65:
            return 866;
        case 0x4D:
        case 0x7A:
            return 936;
        case 0x4E:
        case 0x79:
            return 949;
        case 0x4F:
        case 0x78:
            return 950;
        case 0x50:
        case 0x7C:
            return 874;
        case 0x67:
            return 861;
        case 0x68:
            return 895;  // Kamenicky
        case 0x69:
            return 620;  // Mazovia
        case 0x6A:
        case 0x86:
            return 737;
        case 0x6B:
        case 0x88:
            return 857;
        case 0x7D:
            return 1255;
        case 0x7E:
            return 1256;
        case 0x96:
            return 10007;
        case 0x97:
            return 10029;
        case 0x98:
            return 10006;
        case 0xC8:
            return 1250;
        case 0xC9:
            return 1251;
        case 0xCA:
            return 1254;
        case 0xCB:
            return 1253;
        case 0xCC:
            return 1257;
        default:
            return 0;
    }
}

DbfTable parseDbf(std::string_view data, const std::string& path, int codepage) {
    DbfTable t;
    t.path = path;
    if (data.empty()) fail(path, "the file is empty.", kErrUnrecognisedFormat);
    t.version = static_cast<unsigned char>(data[0]);
    if (!recognisedVersion(t.version))
        fail(path, "it is not a dBase or FoxPro table.", kErrUnrecognisedFormat);
    t.visualFoxPro = isVisualFoxPro(t.version);
    t.dbase7 = isDbase7(t.version);

    struct RawField {
        std::string_view name;
        char type;
        std::uint32_t length;
        int decimals;
        unsigned flags;
    };
    std::vector<RawField> raw;
    std::uint32_t declaredCount = 0;

    if (t.version == 0x02) {
        // dBase II: 16-byte descriptors after an 8-byte header.
        if (data.size() < 8) fail(path, "the header is cut short.", kErrUnrecognisedFormat);
        declaredCount = le16(bytes::uc(data, 1));
        t.recordLength = le16(bytes::uc(data, 6));
        std::size_t pos = 8;
        while (raw.size() < 32 && bytes::fits(data, pos, 1) && data[pos] != '\x0d') {
            if (!bytes::fits(data, pos, 16)) fail(path, "a field descriptor is cut short.");
            const unsigned char* d = bytes::uc(data, pos);
            std::string_view name = data.substr(pos, 11);
            name = name.substr(0, std::min(name.find('\0'), name.size()));
            raw.push_back({name, static_cast<char>(d[11]), d[12], d[15], 0});
            pos += 16;
        }
        t.headerLength = 521;
    } else {
        if (data.size() < 32) fail(path, "the header is cut short.", kErrUnrecognisedFormat);
        const unsigned char* h = bytes::uc(data);
        declaredCount = le32(h + 4);
        t.headerLength = le16(h + 8);
        t.recordLength = le16(h + 10);
        t.languageDriver = h[29];
        const std::size_t descSize = t.dbase7 ? 48 : 32;
        std::size_t pos = t.dbase7 ? 68 : 32;
        const std::size_t end = std::min<std::size_t>(t.headerLength, data.size());
        while (pos < end && data[pos] != '\x0d') {
            if (pos + descSize > end) fail(path, "a field descriptor is cut short.");
            if (raw.size() >= kMaxColumns) fail(path, "it declares too many fields.");
            const unsigned char* d = bytes::uc(data, pos);
            RawField f{};
            if (t.dbase7) {
                f.name = data.substr(pos, 32);
                f.type = static_cast<char>(d[32]);
                f.length = d[33];
                f.decimals = d[34];
            } else {
                f.name = data.substr(pos, 11);
                f.type = static_cast<char>(d[11]);
                f.length = d[16];
                f.decimals = d[17];
                f.flags = d[18];
                // Character fields longer than 255 keep the high byte in the decimals.
                if (f.type == 'C' && !t.visualFoxPro) {
                    f.length += static_cast<std::uint32_t>(f.decimals) * 256;
                    f.decimals = 0;
                }
            }
            f.name = f.name.substr(0, std::min(f.name.find('\0'), f.name.size()));
            raw.push_back(f);
            pos += descSize;
        }
    }
    if (t.headerLength > data.size()) fail(path, "the header is longer than the file.");
    if (t.recordLength == 0 && !raw.empty()) fail(path, "the record length is zero.");

    // Columns at consecutive offsets after the deletion flag.
    std::uint32_t offset = 1;
    std::vector<std::string_view> rawNames;
    int bit = 0;
    std::vector<std::pair<RawField, DbfColumn>> all;
    for (const RawField& f : raw) {
        DbfColumn c;
        c.type = f.type;
        c.offset = offset;
        c.length = f.length;
        c.decimals = f.decimals;
        offset += f.length;
        if (offset > t.recordLength) fail(path, "its fields are longer than its records.");
        all.push_back({f, c});
    }
    for (auto& [f, c] : all) {
        std::string_view nameNoBlanks = trimRight(f.name);
        if (t.visualFoxPro && (c.type == '0' || (f.flags & 0x01))) {
            if (nameNoBlanks == "_NullFlags") {
                t.nullFlagsOffset = c.offset;
                t.nullFlagsLength = c.length;
            }
            continue;
        }
        if (t.visualFoxPro) {
            if (c.type == 'V' || c.type == 'Q') c.varBit = bit++;
            if (f.flags & 0x02) c.nullBit = bit++;
        }
        c.engineType = engineTypeOf(c.type, c.length, c.decimals, t.visualFoxPro);
        if (isMemoType(c.type, t.visualFoxPro))
            t.memoKind = (t.visualFoxPro || isFoxPro2(t.version)) ? MemoKind::Fpt : MemoKind::Dbt;
        rawNames.push_back(nameNoBlanks);
        c.name = std::string(nameNoBlanks);
        t.columns.push_back(std::move(c));
    }
    if (t.nullFlagsLength * 8 < static_cast<std::uint32_t>(bit)) {
        // Too few flag bits for the nullable fields: read them all as present.
        for (auto& c : t.columns) c.nullBit = c.varBit = -1;
    }

    const std::uint64_t room = data.size() - t.headerLength;
    const std::uint64_t fit = t.recordLength ? room / t.recordLength : declaredCount;
    t.declaredCount = declaredCount;
    t.recordCount = std::min<std::uint64_t>(declaredCount, fit);

    int cp = codepage;
    if (cp == 0) cp = codepageOfLanguageDriver(t.languageDriver);
    if (cp == 0) cp = guessCodepage(data, t, rawNames);
    t.codepage = cp;
    const CodePage& page = CodePage::get(cp);
    for (std::size_t i = 0; i < t.columns.size(); ++i) {
        std::string decoded;
        appendDecoded(decoded, rawNames[i], page);
        t.columns[i].name = std::move(decoded);
    }
    return t;
}

std::vector<Field> fieldsOf(const DbfTable& table) {
    std::vector<Field> out;
    out.reserve(table.columns.size());
    for (const auto& c : table.columns) out.push_back({c.name, c.engineType});
    return out;
}

// ---------------------------------------------------------------- memo file

MemoFile::MemoFile(std::string bytes, MemoKind kind, std::string path)
    : bytes_(std::move(bytes)), kind_(kind), path_(std::move(path)) {
    if (kind_ == MemoKind::Fpt) {
        if (bytes_.size() >= 8) blockSize_ = be32(bytes::uc(bytes_, 4)) & 0xFFFF;
        if (blockSize_ == 0) blockSize_ = 1;
    } else if (kind_ == MemoKind::Dbt) {
        std::uint32_t declared = bytes_.size() >= 22 ? le16(bytes::uc(bytes_, 20)) : 0;
        // dBase III memo files leave this word zero; their blocks are 512 bytes.
        blockSize_ = declared >= 64 ? declared : 512;
    }
}

std::string MemoFile::fileName() const {
    const std::size_t slash = path_.find_last_of('/');
    return slash == std::string::npos ? path_ : path_.substr(slash + 1);
}

MemoFile MemoFile::absent(std::string expectedPath) {
    MemoFile m;
    m.path_ = std::move(expectedPath);
    return m;
}

std::string_view MemoFile::block(std::uint64_t number, std::string& problem) const {
    const std::uint64_t start = number * blockSize_;
    const std::string where =
        "block " + std::to_string(number) + " of the memo file '" + fileName();
    if (number == 0 || start >= bytes_.size() || start / blockSize_ != number) {
        problem = where + "' lies outside it";
        return {};
    }
    std::string_view rest = std::string_view(bytes_).substr(static_cast<std::size_t>(start));
    auto cut = [&](std::uint64_t length, std::size_t skip) {
        if (length > rest.size() - skip) problem = where + "' is cut short";
        return rest.substr(skip, std::min<std::uint64_t>(length, rest.size() - skip));
    };
    if (kind_ == MemoKind::Fpt) {
        if (rest.size() < 8) {
            problem = where + "' is cut short";
            return {};
        }
        return cut(be32(bytes::uc(rest, 4)), 8);
    }
    const unsigned char* p = bytes::uc(rest);
    if (rest.size() >= 8 && p[0] == 0xFF && p[1] == 0xFF && p[2] == 0x08 && p[3] == 0x00) {
        std::uint32_t length = le32(p + 4);  // counts the 8 bytes of the block header
        if (length < 8) return {};
        return cut(length - 8, 8);
    }
    std::size_t end = rest.find('\x1a');
    return rest.substr(0, end == std::string_view::npos ? rest.size() : end);
}

}  // namespace rq::dbase
