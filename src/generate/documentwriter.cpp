#include "generate/documentwriter.h"

#include <algorithm>
#include <optional>

#include <sys/mman.h>

#include "generate/escape.h"
#include "layout/defaultlayout.h"

namespace rq {

std::string completingRowText(int i, int n) {
    return "Completing Row:" + std::to_string(i) + " of " + std::to_string(n);
}

namespace {

// The bound column of a working-table row, or nullopt when its text is not a
// whole number naming a column of the sheet (the value then stays empty).
std::optional<int> boundColumn(const std::string& text, const DataSheet& sheet) {
    if (text.empty() || text.size() > 9) return std::nullopt;
    int v = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        v = v * 10 + (c - '0');
    }
    if (v >= sheet.cols()) return std::nullopt;
    return v;
}

std::string replaceAll(std::string s, std::string_view from, std::string_view to) {
    std::size_t pos = 0;
    while ((pos = s.find(from, pos)) != std::string::npos) {
        s.replace(pos, from.size(), to);
        pos += to.size();
    }
    return s;
}

}  // namespace

void loadRecordValues(WorkingTable& work, const DataSheet& sheet, int row) {
    if (row < 0 || row >= sheet.rows()) return;
    for (int r : work.bindings) {
        if (!work.has(r)) continue;
        auto c = boundColumn(work.cell(r, 3), sheet);
        if (c) work.setCell(r, 2, std::string(sheet.cell(row, *c)));
    }
}

void appendRecordLines(const LayoutTree& tree, WorkingTable& work, StringBuilder& builder) {
    int n = tree.count();
    for (int i = 3; i <= n; ++i) {
        const LayoutNode* node = tree.numbered(i);
        if (!node || !isAttributeKind(node->kind) || !node->parent) continue;
        int p = nodeNumber(node->parent->key);
        if (!work.has(p) || !work.has(i)) continue;
        std::string v = work.cell(i, 2);
        if (!v.empty()) v = escapeXml(v);
        work.setCell(p, 1, work.cell(p, 1) + " " + work.cell(i, 1) + "=\"" + v + "\"");
    }
    n = tree.count();
    for (int i = 3; i <= n; ++i) {
        const LayoutNode* node = tree.numbered(i);
        if (!node || !isElementKind(node->kind)) continue;
        const LayoutNode* prev = tree.numbered(i - 1);
        int level = nodeLevel(node);
        std::string prefix;
        if (!work.cell(i - 1, 4).empty()) {
            prefix = tabs(level);
        } else if (prev && prev->kind >= kKindDocument && prev->kind <= kKindDataElement) {
            if (!work.cell(i - 1, 2).empty())
                prefix.clear();
            else if (node->key == "3__")
                prefix = tabs(level);
            else
                prefix = "\r\n" + tabs(level);
        } else if (prev) {
            int parentRow = node->parent ? nodeNumber(node->parent->key) : 0;
            if (nodeLevel(prev) == level && work.cell(parentRow, 2).empty())
                prefix = "\r\n" + tabs(level);
        }
        std::string v = work.cell(i, 2);
        if (!v.empty()) v = escapeXml(v);
        std::string piece = prefix + "<" + work.cell(i, 1) + ">" + v;
        if (!work.cell(i, 4).empty()) piece += work.cell(i, 4) + "\r\n";
        builder.concat(piece);
    }
    n = tree.count();
    for (int i = 3; i <= n; ++i) {
        const LayoutNode* node = tree.numbered(i);
        if (node && isElementKind(node->kind) && work.has(i)) work.setCell(i, 1, work.cell(i, 5));
    }
}

std::string documentHead(const LayoutTree& tree, const WorkingTable& work) {
    const LayoutNode* doc = tree.numbered(1);
    if (!doc) doc = tree.documentNode();
    std::string head = doc ? replaceAll(doc->text, "><", ">\r\n<") : std::string();
    head += "\r\n\t<";
    head += work.cell(2, 1);
    head += tree.rootAttributes;
    head += ">\r\n";
    return head;
}

std::string documentTail(const WorkingTable& work) {
    return "\t</" + work.cell(2, 1) + ">\r\n";
}

std::string referenceDocument(const LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                              int first, int last) {
    std::string doc = documentHead(tree, work);
    StringBuilder builder;
    for (int r = first; r <= last; ++r) {
        loadRecordValues(work, sheet, r);
        appendRecordLines(tree, work, builder);
    }
    doc += builder.text();
    doc += documentTail(work);
    return doc;
}

// ---- the compiled record plan ---------------------------------------------------
//
// Every decision of the record passes depends only on the layout, except where
// a bound node's value is tested for emptiness; so one record's text is a fixed
// sequence of literal pieces, escaped cells, and choices between two literals
// by whether a cell is empty. The plan is built once per document and run per
// record.

namespace {

struct Op {
    enum Type : unsigned char { Literal, Cell, Choice } type;
    int column = 0;                  // Cell, Choice
    std::size_t off = 0, len = 0;    // Literal; Choice: when the cell is not empty
    std::size_t off2 = 0, len2 = 0;  // Choice: when the cell is empty
};

class RecordPlan {
  public:
    std::vector<Op> ops;
    std::string text;

    void literal(std::string_view s) {
        if (s.empty()) return;
        if (!ops.empty() && ops.back().type == Op::Literal &&
            ops.back().off + ops.back().len == text.size()) {
            text += s;
            ops.back().len += s.size();
            return;
        }
        ops.push_back({Op::Literal, 0, text.size(), s.size(), 0, 0});
        text += s;
    }
    void cell(int column) { ops.push_back({Op::Cell, column, 0, 0, 0, 0}); }
    void choice(int column, std::string_view ifFilled, std::string_view ifEmpty) {
        if (ifFilled == ifEmpty) return literal(ifFilled);
        Op op{Op::Choice, column, text.size(), ifFilled.size(), 0, 0};
        text += ifFilled;
        op.off2 = text.size();
        op.len2 = ifEmpty.size();
        text += ifEmpty;
        ops.push_back(op);
    }

    void run(const DataSheet& sheet, int row, std::string& out) const {
        const char* base = text.data();
        for (const Op& op : ops) {
            switch (op.type) {
                case Op::Literal:
                    out.append(base + op.off, op.len);
                    break;
                case Op::Cell: {
                    std::string_view v = sheet.cell(row, op.column);
                    if (needsEscaping(v))
                        appendEscaped(out, v);
                    else
                        out.append(v);
                    break;
                }
                case Op::Choice:
                    if (!sheet.cell(row, op.column).empty())
                        out.append(base + op.off, op.len);
                    else
                        out.append(base + op.off2, op.len2);
                    break;
            }
        }
    }
};

// What a node contributes as its value: nothing, a fixed text, or a cell.
struct ValueSource {
    bool bound = false;
    int column = -1;    // when bound and the column exists
    std::string fixed;  // when not bound
};

ValueSource valueOf(const WorkingTable& work, const DataSheet& sheet, int row, int kind) {
    ValueSource v;
    if (isDataKind(kind)) {
        v.bound = true;
        if (auto c = boundColumn(work.cell(row, 3), sheet)) v.column = *c;
    } else {
        v.fixed = work.cell(row, 2);
    }
    return v;
}

// Appends "ifFilled" or "ifEmpty" according to whether the value is empty.
void emitByEmptiness(RecordPlan& plan, const ValueSource& v, const std::string& ifFilled,
                     const std::string& ifEmpty) {
    if (!v.bound)
        plan.literal(v.fixed.empty() ? ifEmpty : ifFilled);
    else if (v.column < 0)
        plan.literal(ifEmpty);
    else
        plan.choice(v.column, ifFilled, ifEmpty);
}

void emitValue(RecordPlan& plan, const ValueSource& v) {
    if (!v.bound)
        plan.literal(escapeXml(v.fixed));
    else if (v.column >= 0)
        plan.cell(v.column);
}

// Builds the plan, or nothing when the layout has an attribute whose start tag
// is not written per record (an attribute of the root); such layouts go
// through the step-by-step writer.
std::optional<RecordPlan> compilePlan(const LayoutTree& tree, const WorkingTable& work,
                                      const DataSheet& sheet) {
    const int n = tree.count();
    std::vector<const LayoutNode*> nodes(static_cast<std::size_t>(n) + 1, nullptr);
    for (int i = 1; i <= n; ++i) {
        nodes[static_cast<std::size_t>(i)] = tree.numbered(i);
        if (i >= 3 && !nodes[static_cast<std::size_t>(i)]) return std::nullopt;
    }
    // Attributes of each element, in node order.
    std::vector<std::vector<int>> attrs(static_cast<std::size_t>(n) + 1);
    for (int i = 3; i <= n; ++i) {
        const LayoutNode* a = nodes[static_cast<std::size_t>(i)];
        if (!isAttributeKind(a->kind)) continue;
        int p = a->parent ? nodeNumber(a->parent->key) : 0;
        if (p < 3 || p > n || !isElementKind(nodes[static_cast<std::size_t>(p)]->kind))
            return std::nullopt;
        attrs[static_cast<std::size_t>(p)].push_back(i);
    }

    RecordPlan plan;
    for (int i = 3; i <= n; ++i) {
        const LayoutNode* node = nodes[static_cast<std::size_t>(i)];
        if (!isElementKind(node->kind)) continue;
        const LayoutNode* prev = nodes[static_cast<std::size_t>(i - 1)];
        const int level = nodeLevel(node);
        const std::string indent = tabs(level);
        const std::string breakIndent = "\r\n" + indent;

        if (!work.cell(i - 1, 4).empty()) {
            plan.literal(indent);
        } else if (prev && prev->kind >= kKindDocument && prev->kind <= kKindDataElement) {
            ValueSource pv = prev->kind == kKindDocument
                                 ? ValueSource{false, -1, work.cell(i - 1, 2)}
                                 : valueOf(work, sheet, i - 1, prev->kind);
            emitByEmptiness(plan, pv, "", node->key == "3__" ? indent : breakIndent);
        } else if (prev) {
            if (nodeLevel(prev) == level) {
                int pr = node->parent ? nodeNumber(node->parent->key) : 0;
                const LayoutNode* parent =
                    pr >= 1 && pr <= n ? nodes[static_cast<std::size_t>(pr)] : nullptr;
                ValueSource parentValue;
                if (parent && parent->kind != kKindDocument)
                    parentValue = valueOf(work, sheet, pr, parent->kind);
                else
                    parentValue.fixed = work.cell(pr, 2);
                emitByEmptiness(plan, parentValue, "", breakIndent);
            }
        }

        plan.literal("<");
        plan.literal(work.cell(i, 5));
        for (int a : attrs[static_cast<std::size_t>(i)]) {
            plan.literal(" ");
            plan.literal(work.cell(a, 1));
            plan.literal("=\"");
            emitValue(plan, valueOf(work, sheet, a, nodes[static_cast<std::size_t>(a)]->kind));
            plan.literal("\"");
        }
        plan.literal(">");
        emitValue(plan, valueOf(work, sheet, i, node->kind));
        if (!work.cell(i, 4).empty()) {
            plan.literal(work.cell(i, 4));
            plan.literal("\r\n");
        }
    }
    return plan;
}

constexpr std::size_t kChunk = 1 << 20;

// Reserves room for a large document and asks the kernel to back it with huge
// pages: on virtual machines every page fault is dear, and a document of a
// million records touches some sixty thousand small pages.
void reserveLarge(std::string& out, std::size_t bytes) {
    out.reserve(bytes);
    constexpr std::uintptr_t kHuge = 2u << 20;
    if (bytes < 4 * kHuge) return;
    auto begin = reinterpret_cast<std::uintptr_t>(out.data());
    std::uintptr_t first = (begin + kHuge - 1) & ~(kHuge - 1);
    std::uintptr_t last = (begin + out.capacity()) & ~(kHuge - 1);
    if (last > first) madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

}  // namespace

void writeDocument(const LayoutTree& tree, WorkingTable& work, const DataSheet& sheet, int first,
                   int last, std::string& out, const ChunkSink& sink,
                   const RecordProgress& progress) {
    first = std::max(first, 1);
    last = std::min(last, sheet.rows() - 1);
    out += documentHead(tree, work);
    const int total = last - first + 1;
    auto plan = compilePlan(tree, work, sheet);
    if (plan) {
        if (!sink && total > 0) {
            // Estimate the document from its first records to grow the text once.
            std::string sample;
            int probe = std::min(total, 64);
            for (int r = first; r < first + probe; ++r) plan->run(sheet, r, sample);
            reserveLarge(out, out.size() +
                                  sample.size() / static_cast<std::size_t>(probe) *
                                      static_cast<std::size_t>(total) * 5 / 4 +
                                  64);
        }
        for (int r = first; r <= last; ++r) {
            plan->run(sheet, r, out);
            if (sink && out.size() >= kChunk) sink(out);
            if (progress) progress(r - first + 1, total);
        }
    } else {
        StringBuilder builder;
        for (int r = first; r <= last; ++r) {
            loadRecordValues(work, sheet, r);
            appendRecordLines(tree, work, builder);
            if (sink && builder.fill() >= kChunk) {
                out += builder.text();
                builder.clear();
                sink(out);
            }
            if (progress) progress(r - first + 1, total);
        }
        out += builder.text();
    }
    out += documentTail(work);
    if (sink) sink(out);
}

std::string buildDocument(LayoutTree& tree, WorkingTable& work, const DataSheet& sheet, int n,
                          const RecordProgress& progress) {
    tidyLayout(tree, work);
    std::string doc;
    writeDocument(tree, work, sheet, 1, n, doc, {}, progress);
    return doc;
}

std::string buildDocumentRange(const LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                               int first, int last, const PercentProgress& progress) {
    std::string doc;
    RecordProgress each;
    if (progress && first != last)
        each = [&](int done, int) {
            int r = first + done - 1;
            progress(static_cast<double>(r - first) / static_cast<double>(last - first) * 100.0);
        };
    writeDocument(tree, work, sheet, first, last, doc, {}, each);
    return doc;
}

}  // namespace rq
