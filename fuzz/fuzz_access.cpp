// The Access reader over a whole file: every table and stored query is read.
#include "fuzztarget.h"

ROWQUILL_FUZZ_TARGET(rq::fuzz::accessInput)
