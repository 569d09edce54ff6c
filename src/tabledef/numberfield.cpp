#include "tabledef/numberfield.h"

#include <climits>

namespace rq {

namespace {

// The digits of a field without its leading zeros ("" for zero).
std::string_view significant(std::string_view digits) {
    while (!digits.empty() && digits.front() == '0') digits.remove_prefix(1);
    return digits;
}

std::string decrementPositive(std::string digits) {
    std::size_t i = digits.size();
    while (i > 0 && digits[i - 1] == '0') digits[--i] = '9';
    --digits[i - 1];
    const std::string_view kept = significant(digits);
    return kept.empty() ? std::string("0") : std::string(kept);
}

}  // namespace

std::string digitsOnly(std::string_view text) {
    std::string out;
    for (char ch : text)
        if (isNumberFieldCharacter(static_cast<unsigned char>(ch))) out += ch;
    return out;
}

std::string numberUp(std::string_view field) {
    std::string digits(significant(digitsOnly(field)));
    std::size_t i = digits.size();
    while (i > 0 && digits[i - 1] == '9') digits[--i] = '0';
    if (i == 0)
        digits.insert(digits.begin(), '1');
    else
        ++digits[i - 1];
    return digits;
}

std::string numberDown(std::string_view field) {
    const std::string digits(significant(digitsOnly(field)));
    if (digits == "1") return std::string(field);
    // Zero goes to -1, which the digit filter turns into 1.
    if (digits.empty()) return digitsOnly("-1");
    return decrementPositive(digits);
}

std::optional<int> fieldCount(std::string_view field) {
    const std::string digits(significant(digitsOnly(field)));
    if (digitsOnly(field).empty()) return std::nullopt;
    long long value = 0;
    for (char ch : digits) {
        value = value * 10 + (ch - '0');
        if (value > INT_MAX) return std::nullopt;
    }
    return static_cast<int>(value);
}

}  // namespace rq
