#include "datasource/kindcontent.h"

#include <cctype>
#include <filesystem>

namespace rq {

namespace {

namespace fs = std::filesystem;

unsigned byteAt(std::string_view s, std::size_t i) {
    return i < s.size() ? static_cast<unsigned char>(s[i]) : 0u;
}

unsigned le16(std::string_view s, std::size_t i) {
    return byteAt(s, i) | (byteAt(s, i + 1) << 8);
}

// The version of a worksheet's first record (beginning of file, type 0, or
// 0xFF for the works spreadsheets of the same shape), 0 when there is none.
unsigned lotusVersion(const ContentProbe& p) {
    if (p.head.size() < 6) return 0;
    const unsigned type = le16(p.head, 0), length = le16(p.head, 2);
    if (type != 0 && type != 0xFF) return 0;
    if (length != 2 && length != 0x1A) return 0;
    return le16(p.head, 4);
}

bool isFoxProVersion(unsigned v) {
    return v == 0x30 || v == 0x31 || v == 0x32 || v == 0xF5 || v == 0xFB;
}

// A table header: a known version byte, a date of the last update, a header
// ended by 0x0D on a field descriptor boundary, and records that fit the file.
bool isDbfTable(const ContentProbe& p) {
    const std::string_view h = p.head;
    if (h.size() < 33) return false;
    const unsigned v = byteAt(h, 0);
    const bool dbase7 = (v & 0x07) == 0x04;
    if (!((v & 0x07) == 0x03 || dbase7 || isFoxProVersion(v))) return false;
    if (byteAt(h, 2) > 12 || byteAt(h, 3) > 31) return false;
    const unsigned headerLength = le16(h, 8), recordLength = le16(h, 10);
    const std::size_t first = dbase7 ? 68 : 32, step = dbase7 ? 48 : 32;
    if (headerLength < first + 1 || recordLength == 0 || headerLength > p.size) return false;
    for (std::size_t pos = first; pos < headerLength && pos < h.size(); pos += step)
        if (byteAt(h, pos) == 0x0D) return true;
    return headerLength > h.size();  // a header longer than the probe: trust the rest
}

}  // namespace

bool isJetDatabase(const ContentProbe& p) {
    if (p.head.size() < 19) return false;
    const std::string_view sig = p.head.substr(4, 15);
    return sig == "Standard Jet DB" || sig == "Standard ACE DB";
}

bool isCompoundFile(const ContentProbe& p) {
    return p.head.substr(0, 8) == std::string_view("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
}

bool isLotusWk1(const ContentProbe& p) {
    const unsigned v = lotusVersion(p);
    return v == 0x0404 || v == 0x0405 || v == 0x0406;
}
bool isLotusWk3(const ContentProbe& p) {
    return lotusVersion(p) == 0x1000;
}
bool isLotusWk4(const ContentProbe& p) {
    const unsigned v = lotusVersion(p);
    return v == 0x1002 || v == 0x1003 || v == 0x1005;
}

bool isDbaseTable(const ContentProbe& p) {
    return isDbfTable(p) && !isFoxProVersion(byteAt(p.head, 0));
}
bool isFoxProTable(const ContentProbe& p) {
    return isDbfTable(p) && isFoxProVersion(byteAt(p.head, 0));
}

bool isParadoxTable(const ContentProbe& p) {
    const std::string_view h = p.head;
    if (h.size() < 0x58) return false;
    const unsigned recordSize = le16(h, 0), headerSize = le16(h, 2);
    const unsigned fileType = byteAt(h, 4), blockKb = byteAt(h, 5), version = byteAt(h, 0x39);
    const unsigned fields = le16(h, 0x21);
    return (fileType == 0 || fileType == 2) && version >= 3 && version <= 12 && blockKb >= 1 &&
           blockKb <= 32 && recordSize > 0 && recordSize + 6 <= blockKb * 1024u &&
           headerSize >= 0x58 && headerSize <= p.size && fields > 0 && fields <= 1024;
}

// A dictionary of tables: FILE.DDF by name, or a data file of the engine
// (page size in its header, or the "FC" mark of later versions) with the
// field dictionary beside it.
bool isBtrieveDictionary(const ContentProbe& p) {
    const fs::path path(p.path);
    std::string name = path.filename().string();
    for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (name == "FILE.DDF") return true;
    const unsigned pageSize = le16(p.head, 8);
    const bool engineFile =
        p.head.substr(0, 2) == "FC" || (p.head.size() >= 16 && le16(p.head, 0) == 0 &&
                                        pageSize >= 512 && pageSize <= 4096 && pageSize % 512 == 0);
    if (!engineFile) return false;
    const fs::path folder = path.parent_path().empty() ? fs::path(".") : path.parent_path();
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        std::string other = it->path().filename().string();
        for (char& c : other) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (other == "FIELD.DDF") return true;
    }
    return false;
}

}  // namespace rq
