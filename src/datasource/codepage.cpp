#include "datasource/codepage.h"

#include <iconv.h>

#include <cerrno>

#include <map>
#include <mutex>

namespace rq {

namespace {

std::string iconvNameFor(int number) {
    switch (number) {
        case 65001:
            return "UTF-8";
        case 1200:
            return "UTF-16LE";
        case 1201:
            return "UTF-16BE";
        case 10000:
            return "MACINTOSH";
        case 20866:
            return "KOI8-R";
        case 28591:
            return "ISO-8859-1";
        case 932:
            return "CP932";
        case 936:
            return "CP936";
        case 949:
            return "CP949";
        case 950:
            return "CP950";
        default:
            return "CP" + std::to_string(number);
    }
}

bool isMultiByte(int number) {
    return number == 65001 || number == 1200 || number == 1201 || number == 932 || number == 936 ||
           number == 949 || number == 950;
}

const char kReplacement[] = "\xEF\xBF\xBD";

// The upper half shared by the DOS code pages below: box drawing, Greek and
// mathematical signs from 0xB0 on.
constexpr char16_t kDosUpperB0[80] = {
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557,
    0x255D, 0x255C, 0x255B, 0x2510, 0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567, 0x2568, 0x2564, 0x2565, 0x2559,
    0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,
    0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4, 0x03A6, 0x0398, 0x03A9, 0x03B4,
    0x221E, 0x03C6, 0x03B5, 0x2229, 0x2261, 0x00B1, 0x2265, 0x2264, 0x2320, 0x2321, 0x00F7, 0x2248,
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0,
};

// Polish DOS text (Mazovia, code page 620): bytes 0x80..0xAF.
constexpr char16_t kMazovia80[48] = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x0105, 0x00E7, 0x00EA, 0x00EB, 0x00E8, 0x00EF,
    0x00EE, 0x0107, 0x00C4, 0x0104, 0x0118, 0x0119, 0x0142, 0x00F4, 0x00F6, 0x0106, 0x00FB, 0x00F9,
    0x015A, 0x00D6, 0x00DC, 0x00A2, 0x0141, 0x00A5, 0x015B, 0x0192, 0x0179, 0x017B, 0x00F3, 0x00D3,
    0x0144, 0x0143, 0x017A, 0x017C, 0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,
};

// Czech and Slovak DOS text (Kamenicky, code page 895): bytes 0x80..0xAF.
constexpr char16_t kKamenicky80[48] = {
    0x010C, 0x00FC, 0x00E9, 0x010F, 0x00E4, 0x010E, 0x0164, 0x010D, 0x011B, 0x011A, 0x0139, 0x00CD,
    0x013E, 0x013A, 0x00C4, 0x00C1, 0x00C9, 0x017E, 0x017D, 0x00F4, 0x00F6, 0x00D3, 0x016F, 0x00DA,
    0x00FD, 0x00D6, 0x00DC, 0x0160, 0x013D, 0x00DD, 0x0158, 0x0165, 0x00E1, 0x00ED, 0x00F3, 0x00FA,
    0x0148, 0x0147, 0x016E, 0x00D4, 0x0161, 0x0159, 0x0155, 0x0154, 0x00BC, 0x00A7, 0x00AB, 0x00BB,
};

// The first 48 characters of the upper half of a code page this file defines
// itself (iconv has no table for them), or nullptr.
const char16_t* ownUpperHalf(int number) {
    switch (number) {
        case 620:
            return kMazovia80;
        case 895:
            return kKamenicky80;
        default:
            return nullptr;
    }
}

// The UTF-8 bytes of a code point below 0x10000; returns their count.
std::size_t encodeUtf8(char16_t c, char* out) {
    if (c < 0x80) {
        out[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        out[0] = static_cast<char>(0xC0 | (c >> 6));
        out[1] = static_cast<char>(0x80 | (c & 0x3F));
        return 2;
    }
    out[0] = static_cast<char>(0xE0 | (c >> 12));
    out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out[2] = static_cast<char>(0x80 | (c & 0x3F));
    return 3;
}

}  // namespace

bool CodePage::isSupported(int number) {
    if (ownUpperHalf(number)) return true;
    iconv_t cd = iconv_open("UTF-8", iconvNameFor(number).c_str());
    if (cd == reinterpret_cast<iconv_t>(-1)) return false;
    iconv_close(cd);
    return true;
}

CodePage::CodePage(int number) : number_(number) {
    if (!isSupported(number)) number_ = 1252;
    if (const char16_t* upper = ownUpperHalf(number_)) {
        for (int b = 0; b < 256; ++b) {
            char16_t c = b < 0x80   ? static_cast<char16_t>(b)
                         : b < 0xB0 ? upper[b - 0x80]
                                    : kDosUpperB0[b - 0xB0];
            len_[b] = static_cast<unsigned char>(encodeUtf8(c, table_[b].data()));
        }
        return;
    }
    iconvName_ = iconvNameFor(number_);
    singleByte_ = !isMultiByte(number_);
    if (!singleByte_) return;
    iconv_t cd = iconv_open("UTF-8", iconvName_.c_str());
    for (int b = 0; b < 256; ++b) {
        char in = static_cast<char>(b);
        char outBuf[8];
        char* ip = &in;
        size_t il = 1;
        char* op = outBuf;
        size_t ol = sizeof outBuf;
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        size_t r = iconv(cd, &ip, &il, &op, &ol);
        size_t n = static_cast<size_t>(op - outBuf);
        if (r == static_cast<size_t>(-1) || n == 0 || n > 4) {
            // Bytes the code page leaves unassigned keep their own code point.
            if (b < 0x80) {
                outBuf[0] = static_cast<char>(b);
                n = 1;
            } else {
                outBuf[0] = static_cast<char>(0xC0 | (b >> 6));
                outBuf[1] = static_cast<char>(0x80 | (b & 0x3F));
                n = 2;
            }
        }
        for (size_t k = 0; k < n; ++k) table_[b][k] = outBuf[k];
        len_[b] = static_cast<unsigned char>(n);
    }
    iconv_close(cd);
}

const CodePage& CodePage::get(int number) {
    static std::mutex m;
    static std::map<int, std::unique_ptr<CodePage>> pages;
    std::lock_guard<std::mutex> lock(m);
    auto& slot = pages[number];
    if (!slot) slot = std::make_unique<CodePage>(number);
    return *slot;
}

void CodePage::appendUtf8(std::string& out, std::string_view bytes) const {
    if (singleByte_) {
        bool ascii = true;
        for (unsigned char c : bytes)
            if (c >= 0x80) {
                ascii = false;
                break;
            }
        if (ascii) {
            out.append(bytes);
            return;
        }
        for (unsigned char c : bytes) out.append(table_[c].data(), len_[c]);
        return;
    }
    iconv_t cd = iconv_open("UTF-8", iconvName_.c_str());
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        out.append(bytes);
        return;
    }
    char* ip = const_cast<char*>(bytes.data());
    size_t il = bytes.size();
    char buf[4096];
    while (il > 0) {
        char* op = buf;
        size_t ol = sizeof buf;
        size_t r = iconv(cd, &ip, &il, &op, &ol);
        out.append(buf, static_cast<size_t>(op - buf));
        if (r == static_cast<size_t>(-1) && errno != E2BIG) {
            // An invalid or truncated sequence: replace one byte and go on.
            // iconv may report one after taking every byte (a sequence it
            // cannot finish): then there is nothing left to skip.
            out.append(kReplacement);
            if (il == 0) break;
            ++ip;
            --il;
            iconv(cd, nullptr, nullptr, nullptr, nullptr);
        }
    }
    iconv_close(cd);
}

}  // namespace rq
