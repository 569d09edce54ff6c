// The rule every typed tag or attribute name passes through.
#pragma once

#include <string>
#include <string_view>

namespace rq {

// Blanks become "_", the first character is repaired (ascterep), then every
// character whose code page 1252 code is in 0-44, 46-47, 59-64, 91-96 (except
// 95) or 123-254 is removed. Characters the code page lacks are kept.
std::string cleanTagName(std::string_view typed);

// True when name is not empty and holds no blank and no character the rule
// above removes. The first-character repair is left out: a name the rule has
// made may still begin with a digit, "-" or ":".
bool isCleanName(std::string_view name);

}  // namespace rq
