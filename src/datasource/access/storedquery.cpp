#include "datasource/access/storedquery.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "datasource/sql/translate.h"

namespace rq::jet {

namespace {

enum Attribute {
    kType = 1,
    kParameter = 2,
    kFlags = 3,
    kTable = 5,
    kColumn = 6,
    kJoin = 7,
    kWhere = 8,
    kGroupBy = 9,
    kHaving = 10,
    kOrderBy = 11,
};

enum SelectFlags { kSelectStar = 1, kDistinct = 2, kDistinctRow = 8, kTop = 16, kPercent = 32 };

std::string bracket(const std::string& name) {
    return "[" + name + "]";
}

std::string lower(std::string s) {
    for (auto& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

std::string trimmed(const std::string& s) {
    std::size_t b = s.find_first_not_of(" \t\r\n");
    if (b == std::string::npos) return {};
    std::size_t e = s.find_last_not_of(" \t\r\n;");
    if (e == std::string::npos || e < b) return {};
    return s.substr(b, e - b + 1);
}

std::string joinList(const std::vector<std::string>& parts, const char* sep) {
    std::string out;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i) out += sep;
        out += parts[i];
    }
    return out;
}

bool isPlainReference(const std::string& expr) {
    // table.field, [table].[field], field: the engine names the column itself.
    for (char c : expr)
        if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || c == '[' ||
              c == ']' || c == ' ' || c == '*' || static_cast<unsigned char>(c) >= 0x80))
            return false;
    return true;
}

struct FromItem {
    std::string text;
    std::vector<std::string> keys;  // lower-case names and aliases it holds
    bool isJoin = false;
};

int findItem(const std::vector<FromItem>& items, const std::string& name) {
    std::string key = lower(name);
    for (std::size_t i = 0; i < items.size(); ++i)
        if (std::find(items[i].keys.begin(), items[i].keys.end(), key) != items[i].keys.end())
            return static_cast<int>(i);
    return -1;
}

std::string fromClause(const std::vector<QueryRow>& rows) {
    std::vector<FromItem> items;
    for (const auto& r : rows) {
        if (r.attribute != kTable) continue;
        FromItem item;
        if (r.name1.empty() && !r.expression.empty()) {
            item.text = "(" + trimmed(r.expression) + ")";
        } else {
            item.text = bracket(r.name1);
            item.keys.push_back(lower(r.name1));
        }
        if (!r.name2.empty()) {
            item.text += " AS " + bracket(r.name2);
            item.keys.push_back(lower(r.name2));
        }
        items.push_back(std::move(item));
    }
    for (const auto& r : rows) {
        if (r.attribute != kJoin) continue;
        const char* kind = r.flag == 2   ? " LEFT JOIN "
                           : r.flag == 3 ? " RIGHT JOIN "
                                         : " INNER JOIN ";
        int li = findItem(items, r.name1);
        if (li < 0) {
            items.push_back({bracket(r.name1), {lower(r.name1)}, false});
            li = static_cast<int>(items.size()) - 1;
        }
        int ri = findItem(items, r.name2);
        if (ri < 0) {
            items.push_back({bracket(r.name2), {lower(r.name2)}, false});
            ri = static_cast<int>(items.size()) - 1;
        }
        if (li == ri) {  // a further condition between tables already joined
            items[static_cast<std::size_t>(li)].text += " AND (" + r.expression + ")";
            continue;
        }
        FromItem& left = items[static_cast<std::size_t>(li)];
        FromItem& right = items[static_cast<std::size_t>(ri)];
        FromItem merged;
        merged.isJoin = true;
        merged.text = (left.isJoin ? "(" + left.text + ")" : left.text) + kind +
                      (right.isJoin ? "(" + right.text + ")" : right.text) + " ON " + r.expression;
        merged.keys = left.keys;
        merged.keys.insert(merged.keys.end(), right.keys.begin(), right.keys.end());
        int keep = std::min(li, ri), drop = std::max(li, ri);
        items[static_cast<std::size_t>(keep)] = std::move(merged);
        items.erase(items.begin() + drop);
    }
    std::vector<std::string> texts;
    for (const auto& it : items) texts.push_back(it.text);
    return joinList(texts, ", ");
}

std::vector<std::string> expressions(const std::vector<QueryRow>& rows, int attribute) {
    std::vector<std::string> out;
    for (const auto& r : rows)
        if (r.attribute == attribute && !r.expression.empty()) out.push_back(r.expression);
    return out;
}

std::string orderByClause(const std::vector<QueryRow>& rows) {
    std::vector<std::string> parts;
    for (const auto& r : rows) {
        if (r.attribute != kOrderBy || r.expression.empty()) continue;
        std::string n = lower(r.name1);
        parts.push_back(r.expression + (n == "d" || n == "desc" ? " DESC" : ""));
    }
    return parts.empty() ? std::string() : " ORDER BY " + joinList(parts, ", ");
}

const QueryRow* flagsRow(const std::vector<QueryRow>& rows) {
    for (const auto& r : rows)
        if (r.attribute == kFlags) return &r;
    return nullptr;
}

std::string selectQuery(const std::vector<QueryRow>& rows) {
    const QueryRow* fr = flagsRow(rows);
    int flags = fr ? fr->flag : 0;
    std::string sql = "SELECT ";
    if (flags & kDistinct)
        sql += "DISTINCT ";
    else if (flags & kDistinctRow)
        sql += "DISTINCTROW ";
    if ((flags & kTop) && fr && !fr->name1.empty()) {
        sql += "TOP " + fr->name1 + " ";
        if (flags & kPercent) sql += "PERCENT ";
    }
    std::vector<std::string> cols;
    if (flags & kSelectStar) cols.push_back("*");
    int exprNo = 1000;
    for (const auto& r : rows) {
        if (r.attribute != kColumn || r.expression.empty()) continue;
        std::string c = r.expression;
        if (!r.name1.empty())
            c += " AS " + bracket(r.name1);
        else if (!isPlainReference(r.expression))
            c += " AS [Expr" + std::to_string(exprNo++) + "]";
        cols.push_back(std::move(c));
    }
    if (cols.empty()) cols.push_back("*");
    sql += joinList(cols, ", ");
    std::string from = fromClause(rows);
    if (!from.empty()) sql += " FROM " + from;
    auto where = expressions(rows, kWhere);
    if (!where.empty()) sql += " WHERE " + joinList(where, " AND ");
    auto group = expressions(rows, kGroupBy);
    if (!group.empty()) sql += " GROUP BY " + joinList(group, ", ");
    auto having = expressions(rows, kHaving);
    if (!having.empty()) sql += " HAVING " + joinList(having, " AND ");
    sql += orderByClause(rows);
    return sql;
}

std::string unionQuery(const std::vector<QueryRow>& rows) {
    std::string part1, part2;
    for (const auto& r : rows) {
        if (r.attribute != kTable) continue;
        if (r.name2 == "X7YZ_____1") part1 = trimmed(r.expression);
        if (r.name2 == "X7YZ_____2") part2 = trimmed(r.expression);
    }
    if (part1.empty() || part2.empty()) return {};
    const QueryRow* fr = flagsRow(rows);
    bool distinct = fr && (fr->flag & 2);
    return part1 + " UNION " + (distinct ? "" : "ALL ") + part2 + orderByClause(rows);
}

std::string crossTabQuery(const std::vector<QueryRow>& rows) {
    std::string value, pivot;
    std::vector<std::string> heads, groups;
    for (const auto& r : rows) {
        if (r.attribute == kColumn) {
            std::string c = r.expression + (r.name1.empty() ? "" : " AS " + bracket(r.name1));
            if (r.flag == 0)
                value = c;
            else if (r.flag == 1)
                pivot = r.expression;
            else
                heads.push_back(c);
        } else if (r.attribute == kGroupBy && r.flag == 2) {
            groups.push_back(r.expression);
        }
    }
    std::string sql = "TRANSFORM " + value + " SELECT " + joinList(heads, ", ");
    std::string from = fromClause(rows);
    if (!from.empty()) sql += " FROM " + from;
    auto where = expressions(rows, kWhere);
    if (!where.empty()) sql += " WHERE " + joinList(where, " AND ");
    if (!groups.empty()) sql += " GROUP BY " + joinList(groups, ", ");
    sql += " PIVOT " + pivot;
    return sql;
}

}  // namespace

QueryKind queryKindFromObjectFlags(int objectFlags) {
    switch (objectFlags & 0xF0) {
        case 0:
            return QueryKind::Select;
        case 16:
            return QueryKind::CrossTab;
        case 128:
            return QueryKind::Union;
        default:
            return QueryKind::Action;
    }
}

std::string rebuildQuerySql(const std::vector<QueryRow>& rows, int objectFlags) {
    QueryKind kind = queryKindFromObjectFlags(objectFlags);
    for (const auto& r : rows) {
        if (r.attribute != kType || !r.hasFlag) continue;
        kind = r.flag == 1   ? QueryKind::Select
               : r.flag == 6 ? QueryKind::CrossTab
               : r.flag == 9 ? QueryKind::Union
                             : QueryKind::Action;
    }
    switch (kind) {
        case QueryKind::Select:
            return selectQuery(rows);
        case QueryKind::Union:
            return unionQuery(rows);
        case QueryKind::CrossTab:
            return crossTabQuery(rows);
        case QueryKind::Action:
            break;
    }
    return {};
}

std::vector<QueryParameter> declaredParameters(const std::vector<QueryRow>& rows) {
    std::vector<QueryParameter> out;
    for (const auto& r : rows)
        if (r.attribute == kParameter && !r.name1.empty())
            out.push_back({r.name1, r.hasFlag ? r.flag : static_cast<int>(kText)});
    return out;
}

namespace {

bool sameText(std::string_view a, std::string_view b) {
    return a.size() == b.size() && lower(std::string(a)) == lower(std::string(b));
}

// A parameter's name without the brackets it may be written with:
// "[Forms]![Orders]![OrderID]" is "Forms!Orders!OrderID".
std::string unbracketed(std::string_view name) {
    std::string out;
    for (char c : name)
        if (c != '[' && c != ']') out += c;
    return out;
}

// The bracketed form of a name: "[Beginning Date]", "[Forms]![Orders]![OrderID]".
std::string bracketed(std::string_view name) {
    std::string out = "[";
    for (char c : unbracketed(name)) out += c == '!' ? std::string("]![") : std::string(1, c);
    return out + "]";
}

bool isWordChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

std::string parameterLiteral(const QueryParameter& p, const std::string& value,
                             const std::string& queryName) {
    auto refuse = [&](const char* what) {
        return DatabaseError("The value '" + value + "' given for the parameter [" + p.name +
                             "] of the stored query '" + queryName + "' is not " + what + ".");
    };
    switch (p.type) {
        case kBoolean: {
            const std::string v = lower(value);
            if (v == "true" || v == "yes" || v == "-1" || v == "1") return "True";
            if (v == "false" || v == "no" || v == "0") return "False";
            throw refuse("true or false");
        }
        case kByte:
        case kInteger:
        case kLong:
        case kBigInt: {
            std::size_t i = (!value.empty() && (value[0] == '-' || value[0] == '+')) ? 1 : 0;
            if (i == value.size()) throw refuse("a whole number");
            for (std::size_t j = i; j < value.size(); ++j)
                if (!std::isdigit(static_cast<unsigned char>(value[j])))
                    throw refuse("a whole number");
            return value;
        }
        case kCurrency:
        case kSingle:
        case kDouble:
        case kDecimal: {
            char* end = nullptr;
            std::strtod(value.c_str(), &end);
            if (value.empty() || end != value.c_str() + value.size() ||
                value.find_first_of("xXnN") != std::string::npos)
                throw refuse("a number");
            return value;
        }
        case kDateTime:
            if (sql::dateLiteral(value).empty()) throw refuse("a date");
            return "#" + value + "#";
        default: {
            std::string quoted = "'";
            for (char c : value) {
                quoted += c;
                if (c == '\'') quoted += '\'';
            }
            return quoted + "'";
        }
    }
}

}  // namespace

std::string bindParameters(const std::string& sql, const std::vector<QueryParameter>& declared,
                           const ParameterValues& values, const std::string& queryName) {
    if (declared.empty()) return sql;
    // Each parameter as it may be written: bracketed, and as declared.
    struct Reference {
        std::string text;
        bool bare;  // a plain word: must not continue a longer word
        std::size_t parameter;
    };
    std::vector<Reference> refs;
    for (std::size_t i = 0; i < declared.size(); ++i) {
        const std::string n = unbracketed(declared[i].name);
        refs.push_back({bracketed(n), false, i});
        bool word = !n.empty();
        for (char c : n) word = word && isWordChar(c);
        if (word) refs.push_back({n, true, i});
    }
    std::stable_sort(refs.begin(), refs.end(), [](const Reference& a, const Reference& b) {
        return a.text.size() > b.text.size();
    });
    std::vector<std::string> literals(declared.size());
    auto literalFor = [&](std::size_t i) -> const std::string& {
        if (literals[i].empty()) {
            const QueryParameter& p = declared[i];
            auto v = std::find_if(values.begin(), values.end(), [&](const auto& kv) {
                return sameText(unbracketed(kv.first), unbracketed(p.name));
            });
            if (v == values.end())
                throw DatabaseError("The stored query '" + queryName +
                                        "' needs a value for the parameter [" + p.name + "].",
                                    kErrParameterMissing);
            literals[i] = parameterLiteral(p, v->second, queryName);
        }
        return literals[i];
    };
    std::string out;
    out.reserve(sql.size());
    char quote = 0;
    for (std::size_t i = 0; i < sql.size();) {
        const char c = sql[i];
        if (quote) {
            out += c;
            if (c == quote) quote = 0;
            ++i;
            continue;
        }
        if (c == '\'' || c == '"') {
            quote = c;
            out += c;
            ++i;
            continue;
        }
        const Reference* hit = nullptr;
        // A name after a dot is a column of a table, never a parameter.
        const bool afterDot = i > 0 && sql[i - 1] == '.';
        for (const Reference& r : refs) {
            if (afterDot) break;
            if (sql.size() - i < r.text.size() ||
                !sameText(std::string_view(sql).substr(i, r.text.size()), r.text))
                continue;
            if (r.bare && ((i > 0 && isWordChar(sql[i - 1])) ||
                           (i + r.text.size() < sql.size() && isWordChar(sql[i + r.text.size()]))))
                continue;
            hit = &r;
            break;
        }
        if (hit) {
            out += literalFor(hit->parameter);
            i += hit->text.size();
        } else if (c == '[') {
            // Another bracketed name is copied whole, so that a parameter's
            // name inside it is not taken for the parameter.
            const std::size_t close = sql.find(']', i);
            const std::size_t stop = close == std::string::npos ? sql.size() : close + 1;
            out.append(sql, i, stop - i);
            i = stop;
        } else {
            out += c;
            ++i;
        }
    }
    return out;
}

std::vector<QueryParameter> queryParameters(const std::vector<QueryRow>& rows,
                                            const std::string& sql) {
    std::vector<QueryParameter> out = declaredParameters(rows);
    auto known = [&out](const std::string& name) {
        for (const QueryParameter& p : out)
            if (sameText(unbracketed(p.name), name)) return true;
        return false;
    };
    // References to a form's controls ("[Forms]![Orders]![OrderID]") name no
    // column or table: they are parameters even when none is declared.
    char quote = 0;
    for (std::size_t i = 0; i < sql.size(); ++i) {
        const char c = sql[i];
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else if (c == '[') {
            std::size_t end = i;
            int parts = 0;
            while (end < sql.size() && sql[end] == '[') {
                const std::size_t close = sql.find(']', end);
                if (close == std::string::npos) break;
                ++parts;
                end = close + 1;
                if (end + 1 < sql.size() && sql[end] == '!' && sql[end + 1] == '[')
                    ++end;
                else
                    break;
            }
            if (parts >= 2 && (i == 0 || sql[i - 1] != '.')) {
                const std::string name = unbracketed(std::string_view(sql).substr(i, end - i));
                if (!known(name)) out.push_back({name, kText});
            }
            if (end > i) i = end - 1;
        }
    }
    return out;
}

}  // namespace rq::jet
