#include "datasource/access/jetformat.h"

#include <cmath>
#include <cstring>

#include "datasource/bytes.h"
#include "datasource/valuetext.h"

namespace rq::jet {

namespace {

using bytes::le32;

constexpr unsigned char kHeaderKey[4] = {0xC7, 0xDA, 0x39, 0x6B};

}  // namespace

void rc4(const unsigned char* key, std::size_t keyLen, unsigned char* data, std::size_t len) {
    unsigned char s[256];
    for (int i = 0; i < 256; ++i) s[i] = static_cast<unsigned char>(i);
    unsigned j = 0;
    for (unsigned i = 0; i < 256; ++i) {
        j = (j + s[i] + key[i % keyLen]) & 0xFF;
        std::swap(s[i], s[j]);
    }
    unsigned a = 0;
    j = 0;
    for (std::size_t k = 0; k < len; ++k) {
        a = (a + 1) & 0xFF;
        j = (j + s[a]) & 0xFF;
        std::swap(s[a], s[j]);
        data[k] ^= s[(s[a] + s[j]) & 0xFF];
    }
}

bool parseHeader(std::string_view page0, Header& out) {
    static const char kJet[] = "Standard Jet DB";
    static const char kAce[] = "Standard ACE DB";
    if (page0.size() < 2048) return false;
    const auto* p = reinterpret_cast<const unsigned char*>(page0.data());
    if (p[0] != 0x00 || p[1] != 0x01 || p[2] != 0x00 || p[3] != 0x00) return false;
    bool jetMagic = std::memcmp(p + 4, kJet, 16) == 0;
    bool aceMagic = std::memcmp(p + 4, kAce, 16) == 0;
    if (!jetMagic && !aceMagic) return false;
    std::uint32_t version = le32(p + 0x14);
    Header h;
    h.rawVersion = static_cast<int>(version);
    if (version == 0 && jetMagic) {
        h.version = Version::Jet3;
        h.pageSize = 2048;
    } else if (version == 1 && jetMagic) {
        h.version = Version::Jet4;
        h.pageSize = 4096;
    } else if (version >= 2 && version <= 0x0F && aceMagic) {
        h.version = Version::Ace;
        h.pageSize = 4096;
    } else {
        return false;
    }
    if (page0.size() < static_cast<std::size_t>(h.pageSize)) return false;

    // The bytes from 0x18 are masked with a fixed RC4 keystream.
    unsigned char hdr[0x18 + 128];
    std::memcpy(hdr, p, sizeof hdr);
    const std::size_t masked = h.version == Version::Jet3 ? 126 : 128;
    rc4(kHeaderKey, sizeof kHeaderKey, hdr + 0x18, masked);

    h.codePage = hdr[0x3C] | hdr[0x3D] << 8;
    h.encodingKey = le32(hdr + 0x3E);

    if (h.version == Version::Jet3) {
        for (int i = 0; i < 20 && hdr[0x42 + i] != 0; ++i)
            h.password += static_cast<char>(hdr[0x42 + i]);
    } else {
        // Jet 4 masks the password further with the creation date's whole days.
        double created;
        std::memcpy(&created, hdr + 0x72, sizeof created);
        std::int32_t days = 0;
        if (std::isfinite(created) && created > -2147483648.0 && created < 2147483648.0)
            days = static_cast<std::int32_t>(created);
        unsigned char mask[4];
        std::uint32_t ud = static_cast<std::uint32_t>(days);
        for (int i = 0; i < 4; ++i) mask[i] = static_cast<unsigned char>(ud >> (8 * i));
        std::string text;
        bytes::Utf16Decoder w(text);
        for (int i = 0; i < 40; i += 2) {
            std::uint16_t u = static_cast<std::uint16_t>((hdr[0x42 + i] ^ mask[i % 4]) |
                                                         (hdr[0x43 + i] ^ mask[(i + 1) % 4]) << 8);
            if (u == 0) break;
            w.unit(u);
        }
        h.password = std::move(text);
    }
    out = std::move(h);
    return true;
}

void appendUcs2Text(std::string& out, std::string_view bytes) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::size_t n = bytes.size();
    bytes::Utf16Decoder w(out);
    if (n >= 2 && p[0] == 0xFF && p[1] == 0xFE) {
        bool compressed = true;
        std::size_t i = 2;
        while (i < n) {
            if (p[i] == 0) {
                compressed = !compressed;
                ++i;
            } else if (compressed) {
                w.unit(p[i]);
                ++i;
            } else {
                if (i + 1 >= n) break;
                w.unit(static_cast<std::uint16_t>(p[i] | p[i + 1] << 8));
                i += 2;
            }
        }
        return;
    }
    for (std::size_t i = 0; i + 1 < n; i += 2)
        w.unit(static_cast<std::uint16_t>(p[i] | p[i + 1] << 8));
}

std::string decimalValue(std::string_view b, int scale) {
    if (b.size() < 17) return {};
    const auto* p = reinterpret_cast<const unsigned char*>(b.data());
    unsigned __int128 mag = 0;
    for (int word = 0; word < 4; ++word) mag = (mag << 32) | le32(p + 1 + 4 * word);
    std::string digits;
    if (mag == 0) digits = "0";
    while (mag > 0) {
        digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(mag % 10)));
        mag /= 10;
    }
    if (scale < 0 || scale > 38) scale = 0;
    return valuetext::decimalDigits((p[0] & 0x80) != 0, digits, scale);
}

bool usageMapIsSound(const unsigned char* map, std::size_t size) {
    if (map == nullptr || size < 1) return false;
    return map[0] != 0 || size >= 5;
}

std::string guidValue(std::string_view b) {
    if (b.size() < 16) return {};
    const auto* p = reinterpret_cast<const unsigned char*>(b.data());
    static const int order[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    static const char hex[] = "0123456789ABCDEF";
    std::string s = "{";
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) s += '-';
        s += hex[p[order[i]] >> 4];
        s += hex[p[order[i]] & 15];
    }
    s += '}';
    return s;
}

}  // namespace rq::jet
