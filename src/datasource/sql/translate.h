// Translation of statements in the classic desktop dialect into SQLite's:
// a small tokenizer that respects string literals, [bracketed names] and
// #date# literals, and a token-by-token rewrite.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace rq::sql {

struct Translation {
    std::string sql;
    // Every name the statement mentions (bare words and bracketed names),
    // lower-case: the tables and queries it may need.
    std::vector<std::string> names;
};

// Throws DatabaseError for a construct that cannot be translated.
Translation translateStatement(std::string_view statement);

// The ISO form of the inside of a #date# literal ("1/31/95" -> "1995-01-31",
// "1995-01-31 13:45" -> "1995-01-31T13:45:00"); empty when it is not a date.
std::string dateLiteral(std::string_view inside);

// The dialect's Like: * any run, ? one character, # one digit, [abc], [a-z]
// and [!abc] one character of (not of) a set; letters match either case.
bool likeMatch(std::string_view value, std::string_view pattern);

// Lower-case ASCII folding, used for matching names.
std::string lowerName(std::string_view s);

}  // namespace rq::sql
