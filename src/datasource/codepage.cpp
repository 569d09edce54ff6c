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

}  // namespace

bool CodePage::isSupported(int number) {
    iconv_t cd = iconv_open("UTF-8", iconvNameFor(number).c_str());
    if (cd == reinterpret_cast<iconv_t>(-1)) return false;
    iconv_close(cd);
    return true;
}

CodePage::CodePage(int number) : number_(number) {
    if (!isSupported(number)) number_ = 1252;
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
            out.append(kReplacement);
            ++ip;
            --il;
            iconv(cd, nullptr, nullptr, nullptr, nullptr);
        }
    }
    iconv_close(cd);
}

}  // namespace rq
