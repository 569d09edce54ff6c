// The delimited-text reader with its schema.ini.
#include "fuzztarget.h"

ROWQUILL_FUZZ_TARGET(rq::fuzz::textInput)
