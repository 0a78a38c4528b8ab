// Printing, and the report's printer and font.
#include <string>

#include "qbsvrl6/api/export.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/printing.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;
using namespace quillbrook;

tagQBPrinter* QBReportGetPrinter(tagQBReport* handle) {
    return guarded("QBReportGetPrinter", static_cast<tagQBPrinter*>(nullptr),
                   [&] { return toHandle<tagQBPrinter>(reportFrom(handle)); });
}

const lkchar* QBPrinterGetPrinterName(tagQBPrinter* handle) {
    return guarded("QBPrinterGetPrinterName", u"", [&] {
        Report* report = reportFrom(handle);
        if (report == nullptr) return u"";
        const std::u16string& used = runtimeOf(*report).printerUsed;
        return used.empty() ? report->definition.printer.name.c_str() : used.c_str();
    });
}

void QBPrinterSetPrinterName(tagQBPrinter* handle, const lkchar* name) {
    guarded("QBPrinterSetPrinterName", [&] {
        Report* report = reportFrom(handle);
        if (report == nullptr) return;
        report->definition.printer.name = textFrom(name);
        runtimeOf(*report).printerUsed.clear();
    });
}

// The switch would show the printer's dialog ahead, on a machine with a desktop.
void QBReportPrint(tagQBReport* handle, int) {
    guarded("QBReportPrint", [&] {
        Report* report = reportFrom(handle);
        if (report == nullptr) return;
        Runtime& runtime = runtimeOf(*report);
        const std::string document = printedReport(runtime);
        const ReportDefinition& definition = report->definition;
        const std::string title = definition.info.title.empty() ? "Report" : toUtf8(definition.info.title);
        runtime.printerUsed = toUtf16(printDocument(toUtf8(definition.printer.name), title, document));
    });
}

tagQBFont* QBReportGetFont(tagQBReport* handle) {
    return guarded("QBReportGetFont", static_cast<tagQBFont*>(nullptr), [&]() -> tagQBFont* {
        Report* report = reportFrom(handle);
        return report == nullptr ? nullptr : toHandle<tagQBFont>(&report->definition.font);
    });
}
