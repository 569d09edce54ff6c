// The document writer: turns records of the sheet into XML text through the
// layout. Every line ends with "\r\n" and is indented one tab per level; an
// element's end tag stands on the line of its last descendant.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "generate/stringbuilder.h"
#include "layout/layouttree.h"
#include "layout/workingtable.h"
#include "sheet/datasheet.h"

namespace rq {

// Called after each record with the record's position (1-based) and the count.
using RecordProgress = std::function<void(int done, int total)>;
// Called with a percentage.
using PercentProgress = std::function<void(double percent)>;
// Receives finished text in chunks during a streaming run; it may keep or move
// the text and must leave the string empty or with what it did not take.
using ChunkSink = std::function<void(std::string& chunk)>;

// "Completing Row:" i " of " n.
std::string completingRowText(int i, int n);

// Copies the cells of sheet row `row` into the value column of the bound nodes.
void loadRecordValues(WorkingTable& work, const DataSheet& sheet, int row);  // buildouxml
// Appends the current record's lines to the builder (attribute, tag and
// restore passes over the nodes 3 and up).
void appendRecordLines(const LayoutTree& tree, WorkingTable& work,
                       StringBuilder& builder);  // getflxgrd

// The head of a document: the prolog, one item a line, and the root's start line.
std::string documentHead(const LayoutTree& tree, const WorkingTable& work);
// The root's end line.
std::string documentTail(const WorkingTable& work);

// buildDocument (cmdsedfinfunc): the whole document over records 1..n, after tidying the layout
// (clenzr). progress, when given, is called after every record.
std::string buildDocument(LayoutTree& tree, WorkingTable& work, const DataSheet& sheet, int n,
                          const RecordProgress& progress = {});
// buildDocumentRange (cmdsedfinseprat): the document over records first..last; the caller has
// tidied the layout. progress gets (r - first) / (last - first) * 100 after each record, not at all
// when first equals last.
std::string buildDocumentRange(const LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                               int first, int last, const PercentProgress& progress = {});

// The same document as cmdsedfinseprat, streamed: head, records and tail are
// appended to `out`, and `sink` (when given) is called whenever out has grown
// past about a megabyte and once more at the end.
void writeDocument(const LayoutTree& tree, WorkingTable& work, const DataSheet& sheet, int first,
                   int last, std::string& out, const ChunkSink& sink = {},
                   const RecordProgress& progress = {});

// The record text done step by step through the working table, exactly as
// getflxgrd does it; the fast writer must give the same bytes.
std::string referenceDocument(const LayoutTree& tree, WorkingTable& work, const DataSheet& sheet,
                              int first, int last);

}  // namespace rq
