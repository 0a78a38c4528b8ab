// The names of larkspur and of the engine that the driver's declarations use, at global scope like the
// driver.
#ifndef QBSVR_DRIVER_DRIVER_TYPES_H
#define QBSVR_DRIVER_DRIVER_TYPES_H

#include "common/text.h"
#include "engine/qbsvr.h"
#include "engine/report_handle.h"

using larkspur::lkchar;
using larkspur::lkstr;
using larkspur::str;
using larkspur::wstr;

using quillbrook::CQBReportHandle;
using quillbrook::tagQBBarcodeType;
using quillbrook::tagQBBinaryObject;
using quillbrook::tagQBChart;
using quillbrook::tagQBColumnPrintAdaptMethod;
using quillbrook::tagQBExportOption;
using quillbrook::tagQBExportType;
using quillbrook::tagQBReport;
using quillbrook::tagQBUtility;

#endif
