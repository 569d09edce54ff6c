// The lines libmdb prints on stderr while it reads, as warnings for the user:
// the ones that say records are missing or damaged. Lines that come with an
// error the reader reports itself, or that repeat another line, give "".
#pragma once

#include <string>
#include <string_view>

namespace rq {

std::string mdbMessageWarning(const std::string& file, std::string_view line);

}  // namespace rq
