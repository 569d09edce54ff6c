// Workbook bytes straight into the workbook reader; every table is read.
#include "fuzztarget.h"

ROWQUILL_FUZZ_TARGET(rq::fuzz::excelInput)
