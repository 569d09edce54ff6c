// The Btrieve data-file reader and the decoding of every field type.
#include "fuzztarget.h"

ROWQUILL_FUZZ_TARGET(rq::fuzz::btrieveInput)
