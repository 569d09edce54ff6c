// The .dbf reader with an in-memory table and memo file.
#include "fuzztarget.h"

ROWQUILL_FUZZ_TARGET(rq::fuzz::dbaseInput)
