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
    return withObject(__func__, handle,
                      [](Report& report, Runtime& owner) { return toHandle<tagQBPrinter>(&report, owner); });
}

const lkchar* QBPrinterGetPrinterName(tagQBPrinter* handle) {
    return withObjectOr(__func__, handle, u"", [](Report& report) {
        const std::u16string& used = runtimeOf(report).printerUsed;
        return used.empty() ? report.definition.printer.name.c_str() : used.c_str();
    });
}

void QBPrinterSetPrinterName(tagQBPrinter* handle, const lkchar* name) {
    withObject(__func__, handle, [&](Report& report) {
        report.definition.printer.name = textFrom(name);
        runtimeOf(report).printerUsed.clear();
    });
}

// The switch asks for the printer's dialog: there is no desktop here.
void QBReportPrint(tagQBReport* handle, int) {
    withObject(__func__, handle, [](Report& report) {
        Runtime& runtime = runtimeOf(report);
        const std::string document = printedReport(runtime).take();
        const ReportDefinition& definition = report.definition;
        const std::string title = definition.info.title.empty() ? "Report" : toUtf8(definition.info.title);
        runtime.printerUsed = toUtf16(printDocument(toUtf8(definition.printer.name), title, document));
    });
}

tagQBFont* QBReportGetFont(tagQBReport* handle) {
    return withObject(__func__, handle, [](Report& report, Runtime& owner) {
        return toHandle<tagQBFont>(&report.definition.font, owner);
    });
}
