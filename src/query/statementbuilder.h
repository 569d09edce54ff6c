// Building a Select statement from the choices of the Visual SQL wizard: the
// tables and fields picked, and the criteria lines typed or appended one by
// one. Plain text in, plain text out; no data source is touched here.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace rq {

// Which kind of source a statement is built for; it decides which field
// types take their criterion value in single quotes.
enum class QuerySourceKind { FileDatabase, Odbc };

// The operator phrases offered to the user, in the order they are listed.
const std::vector<std::string>& operatorPhrases();

// The SQL text for an operator phrase ("is greater than" -> ">"); empty for a
// phrase that is not one of operatorPhrases().
std::string operatorSql(std::string_view phrase);  // revscbo

// "[" + name + "]" for a name holding a blank and not already starting with
// "["; any other name unchanged.
std::string bracketName(const std::string& name);  // bracketname

// The next word of rest, up to delimiter, and rest shortened past it. A
// double-quoted stretch is not split; the word is trimmed of blanks and
// loses one opening and one closing double quote.
std::string nextWord(std::string& rest, char delimiter);  // nextword

// The table part (before the first ".") or, with wantField, the field part
// (after it) of a "table.field" item. An item with a further "." beyond the
// first is first shortened past its first ".".
std::string splitQualified(const std::string& item, bool wantField);  // splitqual

// True when a value compared with a field of this type is written in quotes:
// date/time, text and memo for a file database; variable and long variable
// character and timestamp for an ODBC source.
bool isQuotedFieldType(QuerySourceKind kind, int type);

// The criteria box's text after one more criterion: "And " or " Or " on a new
// line when the box already holds text, then field, operator and value, the
// value quoted as given (embedded quotes are not doubled).
std::string appendCriterion(const std::string& criteria, bool orJoin, const std::string& field,
                            std::string_view operatorPhrase, const std::string& value,
                            bool quoted);  // cmdAnddao, cmdAndado, cmdordao, cmdorado

// The " Where (...) And (...)" part for the criteria text; empty when the text is.
std::string whereClause(const std::string& criteria);

// What the wizard's pages hold when the statement is built.
struct QueryChoices {
    std::vector<std::string> fieldItems;      // every "table.field" item listed
    std::vector<std::string> selectedFields;  // the selected ones, in list order
    std::vector<std::string> selectedTables;  // in list order, bare names
    std::string criteria;                     // the criteria box's text
};

// The statement for the choices; empty when no field is listed at all.
std::string buildStatement(const QueryChoices& choices);  // querystrymakr

}  // namespace rq
