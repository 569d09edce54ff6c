#include "datasource/excel/biffworkbook.h"

#include <cmath>
#include <cstring>
#include <string_view>

#include "datasource/bytes.h"
#include "datasource/codepage.h"
#include "datasource/excel/numberformat.h"
#include "datasource/readwarnings.h"
#include "datasource/valuetext.h"

namespace rq::excel {

namespace {

// Record identifiers.
enum : std::uint16_t {
    kBof2 = 0x0009,
    kBof3 = 0x0209,
    kBof4 = 0x0409,
    kBof = 0x0809,
    kEof = 0x000A,
    kContinue = 0x003C,
    kCodePage = 0x0042,
    kDateMode = 0x0022,
    kFilePass = 0x002F,
    kBoundSheet = 0x0085,
    kSst = 0x00FC,
    kLabelSst = 0x00FD,
    kFormat2 = 0x001E,
    kFormat = 0x041E,
    kXf2 = 0x0043,
    kXf3 = 0x0243,
    kXf4 = 0x0443,
    kXf = 0x00E0,
    kBlank2 = 0x0001,
    kInteger2 = 0x0002,
    kNumber2 = 0x0003,
    kLabel2 = 0x0004,
    kBoolErr2 = 0x0005,
    kFormula = 0x0006,
    kString2 = 0x0007,
    kBlank = 0x0201,
    kNumber = 0x0203,
    kLabel = 0x0204,
    kBoolErr = 0x0205,
    kFormula3 = 0x0206,
    kString = 0x0207,
    kFormula4 = 0x0406,
    kRk = 0x027E,
    kRkOld = 0x007E,
    kMulRk = 0x00BD,
    kMulBlank = 0x00BE,
    kRString = 0x00D6,
};

// Cells beyond the largest sheet any generation can hold are ignored.
constexpr std::uint32_t kMaxColumns = 256;
constexpr std::uint32_t kMaxRows = 65536;

[[noreturn]] void damaged(const std::string& why) {
    throw WorkbookError(WorkbookError::Damaged, why);
}

std::uint16_t u16(std::string_view b, std::size_t at) {
    if (at + 2 > b.size()) damaged("a record is shorter than its contents");
    const auto* p = reinterpret_cast<const unsigned char*>(b.data() + at);
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
std::uint32_t u32(std::string_view b, std::size_t at) {
    if (at + 4 > b.size()) damaged("a record is shorter than its contents");
    const auto* p = reinterpret_cast<const unsigned char*>(b.data() + at);
    return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}
std::uint8_t u8(std::string_view b, std::size_t at) {
    if (at >= b.size()) damaged("a record is shorter than its contents");
    return static_cast<std::uint8_t>(b[at]);
}
double f64(std::string_view b, std::size_t at) {
    if (at + 8 > b.size()) damaged("a record is shorter than its contents");
    double v;
    std::memcpy(&v, b.data() + at, 8);
    return v;
}

double rkValue(std::uint32_t rk) {
    double v;
    if (rk & 2) {
        v = static_cast<double>(static_cast<std::int32_t>(rk) >> 2);
    } else {
        std::uint64_t bits = static_cast<std::uint64_t>(rk & 0xFFFFFFFCu) << 32;
        std::memcpy(&v, &bits, 8);
    }
    return (rk & 1) ? v / 100.0 : v;
}

// Reads across a record and the CONTINUE records after it. Character data
// that runs into a CONTINUE record starts there with a new option byte.
class Segments {
  public:
    void add(std::string_view s) { segs_.push_back(s); }
    bool atEnd() {
        settle();
        return seg_ >= segs_.size();
    }
    std::uint8_t byte() {
        settle();
        if (seg_ >= segs_.size()) damaged("a string runs past the end of its record");
        return static_cast<std::uint8_t>(segs_[seg_][pos_++]);
    }
    std::uint16_t word() {
        std::uint16_t lo = byte();
        return static_cast<std::uint16_t>(lo | (byte() << 8));
    }
    std::uint32_t dword() {
        std::uint32_t lo = word();
        return lo | (static_cast<std::uint32_t>(word()) << 16);
    }
    void skip(std::size_t n) {
        while (n > 0) {
            settle();
            if (seg_ >= segs_.size()) damaged("a string runs past the end of its record");
            std::size_t take = std::min(n, segs_[seg_].size() - pos_);
            pos_ += take;
            n -= take;
        }
    }
    // A Unicode string: character count (8 or 16 bits), option byte, characters.
    std::string unicodeString(bool longCount) {
        std::size_t count = longCount ? word() : byte();
        std::uint8_t flags = byte();
        std::size_t runs = (flags & 0x08) ? word() : 0;
        std::size_t ext = (flags & 0x04) ? dword() : 0;
        bool wide = flags & 0x01;
        std::string out;
        out.reserve(count);
        {
            bytes::Utf16Decoder b(out);
            while (count > 0) {
                if (seg_ < segs_.size() && pos_ >= segs_[seg_].size()) {
                    // Characters continue in the next record, behind a fresh option byte.
                    ++seg_;
                    pos_ = 0;
                    if (seg_ >= segs_.size()) damaged("a string runs past the end of its record");
                    wide = byte() & 0x01;
                }
                if (seg_ >= segs_.size()) damaged("a string runs past the end of its record");
                std::string_view s = segs_[seg_];
                const auto* p = reinterpret_cast<const unsigned char*>(s.data());
                std::size_t avail = (s.size() - pos_) / (wide ? 2 : 1);
                if (avail == 0) {
                    if (pos_ < s.size()) damaged("a character is split between records");
                    continue;
                }
                std::size_t take = std::min(avail, count);
                for (std::size_t k = 0; k < take; ++k) {
                    if (wide) {
                        b.unit(static_cast<std::uint16_t>(p[pos_] | (p[pos_ + 1] << 8)));
                        pos_ += 2;
                    } else {
                        b.unit(p[pos_++]);
                    }
                }
                count -= take;
            }
        }
        skip(runs * 4);
        skip(ext);
        return out;
    }

  private:
    void settle() {
        while (seg_ < segs_.size() && pos_ >= segs_[seg_].size()) {
            ++seg_;
            pos_ = 0;
        }
    }
    std::vector<std::string_view> segs_;
    std::size_t seg_ = 0, pos_ = 0;
};

struct Record {
    std::uint16_t id = 0;
    std::string_view data;
    std::size_t next = 0;  // offset of the record after this one
};

// The record at pos, or false at the end of the stream. A record that runs
// past the end of the stream is damage; when cut is given it ends the stream
// instead and sets *cut.
bool readRecord(std::string_view s, std::size_t pos, Record& r, bool* cut = nullptr) {
    if (pos + 4 > s.size()) {
        if (cut && pos < s.size()) *cut = true;  // part of a record header
        return false;
    }
    r.id = u16(s, pos);
    std::size_t len = u16(s, pos + 2);
    if (pos + 4 + len > s.size()) {
        if (!cut) damaged("a record runs past the end of the workbook");
        *cut = true;
        return false;
    }
    r.data = s.substr(pos + 4, len);
    r.next = pos + 4 + len;
    return true;
}

const char* errorText(std::uint8_t code) {
    switch (code) {
        case 0x00:
            return "#NULL!";
        case 0x07:
            return "#DIV/0!";
        case 0x0F:
            return "#VALUE!";
        case 0x17:
            return "#REF!";
        case 0x1D:
            return "#NAME?";
        case 0x24:
            return "#NUM!";
        case 0x2A:
            return "#N/A";
        case 0x2B:
            return "#GETTING_DATA";
        default:
            return "#N/A";
    }
}

// "B7" for row 6, column 1.
std::string cellName(std::uint32_t row, std::uint32_t col) {
    std::string letters;
    for (std::uint32_t c = col + 1; c > 0; c = (c - 1) / 26)
        letters.insert(letters.begin(), static_cast<char>('A' + (c - 1) % 26));
    return letters + std::to_string(row + 1);
}

int codepageNumber(int stored) {
    switch (stored) {
        case 367:
            return 1252;  // ASCII
        case 1200:
            return 1252;  // Unicode workbooks do not use it
        case 32768:
            return 10000;  // Apple Roman
        case 32769:
            return 1252;
        default:
            return CodePage::isSupported(stored) ? stored : 1252;
    }
}

}  // namespace

BiffWorkbook::BiffWorkbook(std::string stream, const std::string& singleSheetName, int codepage)
    : stream_(std::move(stream)), codepageOverride_(codepage) {
    Record first;
    const std::uint16_t firstId =
        stream_.size() >= 2
            ? static_cast<std::uint16_t>(static_cast<unsigned char>(stream_[0]) |
                                         (static_cast<unsigned char>(stream_[1]) << 8))
            : 0;
    if ((firstId != kBof && firstId != kBof2 && firstId != kBof3 && firstId != kBof4) ||
        !readRecord(stream_, 0, first) ||
        (first.id != kBof && first.id != kBof2 && first.id != kBof3 && first.id != kBof4))
        throw WorkbookError(WorkbookError::NotAWorkbook, "the file is not a workbook");
    if (first.id == kBof2 || first.id == kBof3 || first.id == kBof4) {
        version_ = first.id == kBof2 ? 2 : first.id == kBof3 ? 3 : 4;
        // A worksheet file; the workbook files of this generation are not read.
        if (first.data.size() >= 4 && u16(first.data, 2) == 0x0100)
            throw WorkbookError(WorkbookError::NotAWorkbook,
                                "workbooks of this early version cannot be read, only worksheets");
        singleSheet_ = true;
    } else {
        const std::uint16_t v = first.data.size() >= 2 ? u16(first.data, 0) : 0;
        version_ = v == 0x0600 ? 8 : 5;
        if (first.data.size() >= 4 && u16(first.data, 2) == 0x0010) singleSheet_ = true;
    }
    readGlobals();
    if (singleSheet_) {
        names_.push_back(singleSheetName);
        offsets_.push_back(0);
    }
}

void BiffWorkbook::readGlobals() {
    std::vector<std::string> rawNames;
    std::vector<std::uint8_t> kinds;
    int formatOrder = 0;
    int depth = 0;
    std::size_t pos = 0;
    Record r;
    bool cut = false;  // a workbook cut short: reading its sheets says so
    while (readRecord(stream_, pos, r, &cut)) {
        pos = r.next;
        switch (r.id) {
            case kBof2:
            case kBof3:
            case kBof4:
            case kBof:
                ++depth;
                break;
            case kEof:
                --depth;
                break;
            case kFilePass:
                throw WorkbookError(WorkbookError::Protected,
                                    "the workbook is protected with a password");
            case kCodePage:
                codepage_ = codepageNumber(u16(r.data, 0));
                break;
            case kDateMode:
                date1904_ = u16(r.data, 0) != 0;
                break;
            case kXf:
                xfFormat_.push_back(u16(r.data, 2));
                break;
            case kXf3:
            case kXf4:
                xfFormat_.push_back(u8(r.data, 1));
                break;
            case kXf2:
                xfFormat_.push_back(u8(r.data, 2) & 0x3F);
                break;
            case kFormat2:
            case kFormat: {
                std::uint16_t index;
                std::string code;
                if (version_ == 8) {
                    index = u16(r.data, 0);
                    Segments s;
                    s.add(r.data.substr(2));
                    code = s.unicodeString(true);
                } else {
                    std::size_t at = 0;
                    if (version_ == 5) {
                        index = u16(r.data, 0);
                        at = 2;
                    } else {
                        index = static_cast<std::uint16_t>(formatOrder);
                        at = version_ == 4 ? 2 : 0;
                    }
                    std::size_t len = u8(r.data, at);
                    code = std::string(r.data.substr(at + 1, len));
                }
                ++formatOrder;
                formatIsDate_.push_back({index, isDateFormatCode(code)});
                break;
            }
            case kBoundSheet: {
                if (singleSheet_) break;
                offsets_.push_back(u32(r.data, 0));
                kinds.push_back(u8(r.data, 5));
                if (version_ == 8) {
                    Segments s;
                    s.add(r.data.substr(6));
                    rawNames.push_back(s.unicodeString(false));
                } else {
                    std::size_t len = u8(r.data, 6);
                    if (7 + len > r.data.size()) damaged("a sheet name runs past its record");
                    rawNames.push_back(std::string(r.data.substr(7, len)));
                }
                break;
            }
            case kSst: {
                if (version_ != 8) break;
                Segments s;
                s.add(r.data);
                Record c;
                while (readRecord(stream_, pos, c, &cut) && c.id == kContinue) {
                    s.add(c.data);
                    pos = c.next;
                }
                s.skip(4);
                std::uint32_t unique = s.dword();
                sst_.reserve(std::min<std::size_t>(unique, stream_.size() / 3));
                for (std::uint32_t i = 0; i < unique && !s.atEnd(); ++i)
                    sst_.push_back(s.unicodeString(true));
                break;
            }
            default:
                break;
        }
        if (depth <= 0 && r.id == kEof) break;
    }
    if (codepageOverride_ != 0) codepage_ = codepageOverride_;
    if (singleSheet_) return;
    const CodePage& cp = CodePage::get(codepage_);
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i < rawNames.size(); ++i) {
        if (kinds[i] != 0) continue;  // chart, macro sheet or module
        names_.push_back(version_ == 8 ? rawNames[i] : cp.toUtf8(rawNames[i]));
        offsets.push_back(offsets_[i]);
    }
    offsets_ = std::move(offsets);
}

std::vector<SheetCell> BiffWorkbook::readSheet(std::size_t index, ReadWarnings* warnings) const {
    if (index >= offsets_.size()) damaged("no such sheet");
    std::vector<SheetCell> cells;
    scan(index, &cells, warnings);
    return cells;
}

void BiffWorkbook::scan(std::size_t index, std::vector<SheetCell>* cells,
                        ReadWarnings* warnings) const {
    const std::string sheetLabel = "sheet '" + names_[index] + "'";
    const CodePage& cp = CodePage::get(codepage_);
    const bool biff2 = version_ == 2;

    auto isDateXf = [&](std::uint32_t formatIndex) {
        for (auto it = formatIsDate_.rbegin(); it != formatIsDate_.rend(); ++it)
            if (it->first == formatIndex) return it->second;
        return version_ >= 5 && isBuiltInDateFormat(formatIndex);
    };
    // The format index of a cell: BIFF2 cells carry it in their attributes,
    // later ones point at an XF record.
    auto formatOf = [&](std::string_view d) -> std::uint32_t {
        if (biff2) return u8(d, 5) & 0x3F;
        std::uint16_t xf = u16(d, 4);
        return xf < xfFormat_.size() ? xfFormat_[xf] : 0;
    };
    auto byteString = [&](std::string_view d, std::size_t at, bool longCount) {
        std::size_t len = longCount ? u16(d, at) : u8(d, at);
        std::size_t start = at + (longCount ? 2 : 1);
        if (start + len > d.size()) damaged("a text runs past its record");
        return cp.toUtf8(d.substr(start, len));
    };
    auto add = [&](std::uint32_t row, std::uint32_t col, CellKind kind, std::string text) {
        if (row >= kMaxRows || col >= kMaxColumns) return;
        cells->push_back({row, col, kind, std::move(text)});
    };
    auto addNumber = [&](std::uint32_t row, std::uint32_t col, std::uint32_t format, double v) {
        // Serial numbers count from 1899-12-30: a negative one is no date.
        if (v >= 0 && isDateXf(format)) {
            double serial = v;
            if (date1904_)
                serial += 1462;
            else if (serial >= 1 && serial < 61)
                serial += 1;  // the 1900 system counts a 29 February 1900 that never was
            add(row, col, CellKind::Date, valuetext::serialDateTime(serial));
        } else {
            add(row, col, CellKind::Number, valuetext::floating(v));
        }
    };
    // A cell of a formula whose text result follows in a STRING record.
    std::size_t pendingString = SIZE_MAX;

    int depth = 0;
    std::size_t pos = offsets_[index];
    Record r;
    bool cut = false, ended = false;
    while (readRecord(stream_, pos, r, &cut)) {
        pos = r.next;
        const std::string_view d = r.data;
        if (r.id == kBof || r.id == kBof2 || r.id == kBof3 || r.id == kBof4) {
            ++depth;
            continue;
        }
        if (r.id == kEof) {
            ended = --depth <= 0;
            if (ended) break;
            continue;
        }
        if (depth > 1) continue;  // an embedded chart
        if (r.id != kString && r.id != kString2 && r.id != kContinue && r.id != 0x04BC &&
            r.id != 0x0221 && r.id != 0x0021)
            pendingString = SIZE_MAX;
        switch (r.id) {
            case kNumber2:
                if (biff2) addNumber(u16(d, 0), u16(d, 2), formatOf(d), f64(d, 7));
                break;
            case kInteger2:
                if (biff2) addNumber(u16(d, 0), u16(d, 2), formatOf(d), u16(d, 7));
                break;
            case kNumber:
                addNumber(u16(d, 0), u16(d, 2), formatOf(d), f64(d, 6));
                break;
            case kRk:
            case kRkOld:
                addNumber(u16(d, 0), u16(d, 2), formatOf(d), rkValue(u32(d, 6)));
                break;
            case kMulRk: {
                if (d.size() < 6) damaged("a record is shorter than its contents");
                std::uint32_t row = u16(d, 0), col = u16(d, 2);
                std::size_t n = (d.size() - 6) / 6;
                for (std::size_t k = 0; k < n; ++k) {
                    std::uint16_t xf = u16(d, 4 + 6 * k);
                    std::uint32_t fmt = xf < xfFormat_.size() ? xfFormat_[xf] : 0;
                    addNumber(row, col + static_cast<std::uint32_t>(k), fmt,
                              rkValue(u32(d, 6 + 6 * k)));
                }
                break;
            }
            case kBlank2:
                if (biff2) add(u16(d, 0), u16(d, 2), CellKind::Blank, {});
                break;
            case kBlank:
                add(u16(d, 0), u16(d, 2), CellKind::Blank, {});
                break;
            case kMulBlank: {
                if (d.size() < 6) damaged("a record is shorter than its contents");
                std::uint32_t row = u16(d, 0), col = u16(d, 2);
                std::size_t n = (d.size() - 6) / 2;
                for (std::size_t k = 0; k < n; ++k)
                    add(row, col + static_cast<std::uint32_t>(k), CellKind::Blank, {});
                break;
            }
            case kLabel2:
                if (biff2) add(u16(d, 0), u16(d, 2), CellKind::Text, byteString(d, 7, false));
                break;
            case kLabel:
            case kRString: {
                std::string text;
                if (version_ == 8) {
                    Segments s;
                    s.add(d.substr(std::min<std::size_t>(6, d.size())));
                    text = s.unicodeString(true);
                } else {
                    text = byteString(d, 6, true);
                }
                add(u16(d, 0), u16(d, 2), CellKind::Text, std::move(text));
                break;
            }
            case kLabelSst: {
                std::uint32_t i = u32(d, 6);
                if (i >= sst_.size() && warnings)
                    warnings->limited(sheetLabel + ", cell " + cellName(u16(d, 0), u16(d, 2)) +
                                      ": shared string " + std::to_string(i) + " does not exist");
                add(u16(d, 0), u16(d, 2), CellKind::Text,
                    i < sst_.size() ? sst_[i] : std::string());
                break;
            }
            case kBoolErr2:
            case kBoolErr: {
                if (r.id == kBoolErr2 && !biff2) break;
                std::size_t at = biff2 ? 7 : 6;
                std::uint8_t value = u8(d, at), isError = u8(d, at + 1);
                if (isError)
                    add(u16(d, 0), u16(d, 2), CellKind::Error, errorText(value));
                else
                    add(u16(d, 0), u16(d, 2), CellKind::Boolean, valuetext::boolean(value != 0));
                break;
            }
            case kFormula:
            case kFormula3:
            case kFormula4: {
                if (r.id == kFormula && version_ != 2 && version_ < 5) break;
                std::size_t at = biff2 ? 7 : 6;
                std::uint32_t row = u16(d, 0), col = u16(d, 2);
                if (at + 8 > d.size()) damaged("a record is shorter than its contents");
                if (u16(d, at + 6) == 0xFFFF) {
                    switch (u8(d, at)) {
                        case 0:  // text, in the STRING record that follows
                            add(row, col, CellKind::Text, {});
                            if (row < kMaxRows && col < kMaxColumns)
                                pendingString = cells->size() - 1;
                            break;
                        case 1:
                            add(row, col, CellKind::Boolean,
                                valuetext::boolean(u8(d, at + 2) != 0));
                            break;
                        case 2:
                            add(row, col, CellKind::Error, errorText(u8(d, at + 2)));
                            break;
                        default:
                            add(row, col, CellKind::Text, {});
                            break;
                    }
                } else {
                    addNumber(row, col, formatOf(d), f64(d, at));
                }
                break;
            }
            case kString:
            case kString2: {
                if (pendingString == SIZE_MAX) break;
                std::string text;
                if (version_ == 8) {
                    Segments s;
                    s.add(d);
                    Record c;
                    while (readRecord(stream_, pos, c, &cut) && c.id == kContinue) {
                        s.add(c.data);
                        pos = c.next;
                    }
                    text = s.unicodeString(true);
                } else {
                    text = byteString(d, 0, r.id == kString);
                }
                (*cells)[pendingString].text = std::move(text);
                pendingString = SIZE_MAX;
                break;
            }
            default:
                break;
        }
    }
    if (!ended && warnings)
        warnings->table(sheetLabel + " is cut short: the file ends before the sheet does (" +
                        std::to_string(cells->size()) + " cells read)");
}

}  // namespace rq::excel
