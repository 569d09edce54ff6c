// The rule every typed tag or attribute name passes through.
#pragma once

#include <string>
#include <string_view>

namespace rq {

// Cleans a typed tag or attribute name (elemntnamchnge): blanks become "_",
// the first character is repaired (repairFirstCharacter), then every character
// whose code page 1252 code is in 0-44, 46-47, 59-64, 91-96 (except 95) or
// 123-254 is removed. Characters the code page lacks are kept.
std::string cleanTagName(std::string_view typed);

// Repairs the first character of a typed name (ascterep): drops it when its
// code is below 65 or above 122; then drops the new first character when its
// code lies between 91 and 96 and is not 95. Each rule drops at most one
// character.
std::string repairFirstCharacter(std::string_view name);

// True when name is not empty and holds no blank and no character the rule
// above removes. The first-character repair is left out: a name the rule has
// made may still begin with a digit, "-" or ":".
bool isCleanName(std::string_view name);

}  // namespace rq
