// The Paradox reader with an in-memory table and blob file.
#include "fuzztarget.h"

ROWQUILL_FUZZ_TARGET(rq::fuzz::paradoxInput)
