// The layout-file reader; an accepted layout must write out and read back unchanged.
#include "fuzztarget.h"

ROWQUILL_FUZZ_TARGET(rq::fuzz::layoutInput)
