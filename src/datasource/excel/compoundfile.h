// Reading one stream out of a compound document (the container format of
// .xls workbooks): sectors, the allocation table, the directory and the small
// stream for short streams. Every offset and chain taken from the file is
// checked; a damaged container throws std::runtime_error with a short reason.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace rq::excel {

// True when the bytes begin with the compound document signature.
bool isCompoundFile(std::string_view bytes);

// The contents of the first stream whose name matches one of names
// (case-insensitive, in the order given), or nullopt when there is none.
std::optional<std::string> readCompoundStream(std::string_view bytes,
                                              std::initializer_list<std::string_view> names);

}  // namespace rq::excel
