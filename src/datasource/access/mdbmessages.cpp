#include "datasource/access/mdbmessages.h"

namespace rq {

std::string mdbMessageWarning(const std::string& file, std::string_view line) {
    auto has = [&](std::string_view s) { return line.find(s) != std::string_view::npos; };
    if (has("is beyond EOF"))
        return file + " ends before pages its tables use; the records on them are missing";
    if (has("from map doesn't match"))
        return file + ": a table lists a page that is not its own; the page was skipped";
    if (has("brute force read"))
        return file + ": a table's map of pages is damaged; its pages were found by searching";
    if (has("mdb_crack_row")) return file + ": damaged records were skipped";
    if (has("memo") || has("ole field")) return file + ": a memo or OLE value is damaged";
    if (has("reading page") || has("usage map type") || has("full page") || has("mdb_read_table") ||
        has("Unable to"))
        return {};
    return file + ": " + std::string(line);
}

}  // namespace rq
