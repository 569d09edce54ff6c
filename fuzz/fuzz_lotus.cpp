// The Lotus reader over a worksheet file of each kind.
#include "fuzztarget.h"

ROWQUILL_FUZZ_TARGET(rq::fuzz::lotusInput)
