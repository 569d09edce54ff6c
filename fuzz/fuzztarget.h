// Defines the libFuzzer entry points of a target over one of the functions of
// fuzzinputs.h. The readers run in this process, so that the sanitizers see
// into every library call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "datasource/isolatedread.h"
#include "fuzzinputs.h"

#define ROWQUILL_FUZZ_TARGET(function)                                                  \
    extern "C" int LLVMFuzzerInitialize(int*, char***) {                                \
        rq::setIsolatedReads(false);                                                    \
        return 0;                                                                       \
    }                                                                                   \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) { \
        function(std::string_view(reinterpret_cast<const char*>(data), size));          \
        return 0;                                                                       \
    }
