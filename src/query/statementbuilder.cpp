#include "query/statementbuilder.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

namespace rq {

namespace {

const std::array<std::pair<const char*, const char*>, 7> kOperators{{
    {"equals", "="},
    {"does not equal", "<>"},
    {"is greater than", ">"},
    {"is greater than or equal to", ">="},
    {"is less than", "<"},
    {"is less than or equal to", "<="},
    {"is Like", "Like"},
}};

std::string trimBlanks(std::string_view s) {
    std::size_t b = 0, e = s.size();
    while (b < e && s[b] == ' ') ++b;
    while (e > b && s[e - 1] == ' ') --e;
    return std::string(s.substr(b, e - b));
}

std::string upper(std::string s) {
    for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

std::string join(const std::vector<std::string>& parts, std::string_view sep) {
    std::string out;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i) out += sep;
        out += parts[i];
    }
    return out;
}

// Carriage returns become blanks, line feeds go, trailing blanks go.
std::string flattenLines(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        if (c == '\r')
            out += ' ';
        else if (c != '\n')
            out += c;
    }
    while (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
}

}  // namespace

const std::vector<std::string>& operatorPhrases() {
    static const std::vector<std::string> phrases = [] {
        std::vector<std::string> v;
        for (const auto& op : kOperators) v.emplace_back(op.first);
        return v;
    }();
    return phrases;
}

std::string operatorSql(std::string_view phrase) {
    for (const auto& op : kOperators)
        if (phrase == op.first) return op.second;
    return {};
}

std::string bracketName(const std::string& name) {
    if (name.find(' ') != std::string::npos && (name.empty() || name.front() != '['))
        return "[" + name + "]";
    return name;
}

std::string nextWord(std::string& rest, char delimiter) {
    std::size_t delim = rest.find(delimiter);
    const std::size_t quote = rest.find('"');
    if (quote != std::string::npos && (delim == std::string::npos || quote < delim)) {
        // A quoted stretch is one word; an unclosed quote runs to the end.
        const std::size_t closing = rest.find('"', quote + 1);
        delim =
            closing == std::string::npos ? std::string::npos : rest.find(delimiter, closing + 1);
    }
    std::string word;
    if (delim != std::string::npos) {
        word = trimBlanks(std::string_view(rest).substr(0, delim));
        rest.erase(0, delim + 1);
    } else {
        word = trimBlanks(rest);
        rest.clear();
    }
    if (!word.empty() && word.front() == '"') {
        word.erase(0, 1);
        if (!word.empty() && word.back() == '"') word.pop_back();
    }
    return word;
}

std::string splitQualified(const std::string& item, bool wantField) {
    std::string s = item;
    const std::size_t first = s.find('.');
    if (first != std::string::npos && s.find('.', first + 1) != std::string::npos)
        s.erase(0, first + 1);
    const std::size_t dot = s.find('.');
    if (dot == std::string::npos) return wantField ? std::string() : s;
    return wantField ? s.substr(dot + 1) : s.substr(0, dot);
}

bool isQuotedFieldType(QuerySourceKind kind, int type) {
    if (kind == QuerySourceKind::FileDatabase) return type == 8 || type == 10 || type == 12;
    return type == 200 || type == 201 || type == 135;
}

std::string appendCriterion(const std::string& criteria, bool orJoin, const std::string& field,
                            std::string_view operatorPhrase, const std::string& value,
                            bool quoted) {
    std::string out = criteria;
    if (!out.empty()) out += orJoin ? "\r\n Or " : "\r\nAnd ";
    out += field + " " + operatorSql(operatorPhrase);
    out += quoted ? " '" + value + "'" : " " + value;
    return out;
}

std::string whereClause(const std::string& criteria) {
    if (criteria.empty()) return {};
    const std::size_t start = criteria.find_first_not_of(' ');
    std::string rest = flattenLines(
        "AND " + (start == std::string::npos ? std::string() : criteria.substr(start)));

    std::string out;
    bool groupOpened = false;
    while (!rest.empty()) {
        const std::string word = nextWord(rest, ' ');
        // Consecutive blanks give empty words; each word is followed by one blank.
        if (word.empty()) continue;
        const std::string spaced = word + " ";
        const std::string key = upper(spaced);
        if (key == "AND " && !groupOpened) {
            out += spaced + "(";
            groupOpened = true;
        } else if (key == "AND ") {
            out += ") " + spaced + "(";
        } else if (key == "OR" || key == "IN " || key == "LIKE") {
            // Only "IN " can match here: the word carries its blank.
            out += " " + spaced;
        } else {
            out += spaced;
        }
    }
    out += ")";
    nextWord(out, ' ');  // the leading AND
    return " Where " + out;
}

std::string buildStatement(const QueryChoices& choices) {
    if (choices.fieldItems.empty()) return {};
    std::string fields;
    if (!choices.selectedFields.empty()) {
        fields = join(choices.selectedFields, ",");
    } else if (!choices.selectedTables.empty()) {
        std::vector<std::string> all;
        for (const std::string& t : choices.selectedTables) all.push_back(bracketName(t) + ".*");
        fields = join(all, ",");
    } else {
        fields = "*";
    }
    std::vector<std::string> tables;
    for (const std::string& t : choices.selectedTables) tables.push_back(bracketName(t));
    return "Select " + fields + " From " + join(tables, ",") + whereClause(choices.criteria);
}

}  // namespace rq
