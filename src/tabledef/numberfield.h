// The two number fields of the Define Table wizard: what may be typed, what a
// change leaves in them, and what their up and down buttons write back.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace rq {

// Removes every character that is not a digit (the filter run on every change
// of a number field, which also catches pasted text).
std::string digitsOnly(std::string_view text);

// Whether a typed character is let into a number field: the digits only.
// Backspace, Enter and keys that type nothing are the caller's to handle.
inline bool isNumberFieldCharacter(char32_t ch) {
    return ch >= U'0' && ch <= U'9';
}

// The up button: the field's number + 1, as text. An empty field counts as 0.
// Works on the decimal text itself, so there is no upper bound.
std::string numberUp(std::string_view field);  // cmdupk, Command2

// The down button: a field whose number is exactly 1 is left as it is;
// otherwise the number - 1, passed through the digit filter, so that an empty
// field (0) goes to "-1" and ends as "1".
std::string numberDown(std::string_view field);  // cmddownk, Command1

// The field read as a sheet count: empty when the field is empty or its
// number does not fit a signed 32-bit count.
std::optional<int> fieldCount(std::string_view field);

}  // namespace rq
