#include "tests/engine/handles.h"

using recording::Call;
using recording::Fails;
using namespace quillbrook;

namespace {

// Attaches, or deletes a handler that no report wants.
template <class Handler>
void Attach(const char* function, tagQBReport* report, std::unique_ptr<Handler> tagQBReport::*slot,
            Handler* handler) {
    std::unique_ptr<Handler> owned(handler);
    if (Call(function, report)) report->*slot = std::move(owned);
}

template <class Option>
Option* Narrow(const char* function, tagQBExportOption* option, Option tagQBExportOption::*part, bool fits) {
    if (!Call(function, option)) return nullptr;
    if (!fits) option->books->Violation(option->name + ": " + function + " of another kind of export");
    return &(option->*part);
}

bool IsOpen(tagQBExportOption* option) {
    if (!option->open) option->books->Violation(option->name + " used after its export");
    return option->open;
}

template <class Option, class Value>
void SetOption(const char* function, Option* option, Value value) {
    if (Call(function, option, static_cast<int>(value))) IsOpen(option->option);
}

bool IsValid(tagQBBinaryObject* object) {
    if (!object->valid) object->books->Violation(object->name + " used after its end");
    return object->valid;
}

template <class... Arguments>
int ChartCall(const char* function, tagQBChart* chart, const Arguments&... arguments) {
    if (!Call(function, chart, arguments...)) return 0;
    if (!chart->asking) chart->books->Violation(chart->name + " fed outside its event");
    return 1;
}

template <class Part>
Part* PartOf(const char* function, tagQBReport* report, Part tagQBReport::*part) {
    return Call(function, report) ? &(report->*part) : nullptr;
}

bool ExpectUnprepared(tagQBReport* report, const char* what) {
    if (report->Prepared())
        report->books->Violation(report->name + ": " + what + " inside a prepared export");
    return true;
}

const lkchar* ModuleText(const char* function, const lkchar* text) {
    recording::RecordGlobal(function, recording::CallText(function));
    return Fails(function, "") ? nullptr : text;
}

}  // namespace

// ---- Configuration and module information

int QBInitConfig(const lkchar* setupPath) {
    recording::RecordGlobal("QBInitConfig", recording::CallText("QBInitConfig", setupPath));
    return recording::Configure();
}

const lkchar* QBGetModulePath() { return ModuleText("QBGetModulePath", u"/引擎/libqbsvrl6.so"); }
const lkchar* QBGetModuleVersion() { return ModuleText("QBGetModuleVersion", u"6.0 recording"); }
const lkchar* QBGetModuleInfo() { return ModuleText("QBGetModuleInfo", u"any"); }

// ---- Reports

tagQBReport* QBReportCreate() {
    recording::Books* books = recording::NewBooks();
    if (!books) {
        recording::RecordGlobal("QBReportCreate", "QBReportCreate() = null");
        return nullptr;
    }
    const auto report = std::make_shared<tagQBReport>(books, books->name, true);
    report->Fill({});
    books->report = report;
    recording::Record("QBReportCreate", report.get(), "QBReportCreate() = " + books->name);
    return report.get();
}

void QBReportRelease(tagQBReport* report) {
    if (!Call("QBReportRelease", report)) return;
    if (!report->created) {
        report->books->Violation(report->name + " released without having been created");
        return;
    }
    ExpectUnprepared(report, "release");
    report->books->released = true;
    report->EndObjects();
    report->exportBegin.reset();
    report->initialize.reset();
    report->chartRequestData.reset();
}

void QBObjectAssign(tagQBReport* target, tagQBReport* source) {
    if (Call("QBObjectAssign", target, static_cast<Handle*>(source)) && source) target->path = source->path;
}

int QBReportLoadFromFile(tagQBReport* report, const lkchar* path) {
    if (!Call("QBReportLoadFromFile", report, path)) return 0;
    ExpectUnprepared(report, "load");
    report->EndObjects();
    report->path = recording::Utf8(path);
    if (Fails("QBReportLoadFromFile", report->path)) return 0;
    report->Fill(recording::TemplateOf(report->path));
    return 1;
}

int QBReportSaveToFile(tagQBReport* report, const lkchar* path) {
    return Call("QBReportSaveToFile", report, path) && !Fails("QBReportSaveToFile", recording::Utf8(path));
}

void QBReportSetBackImageFile(tagQBReport* report, const lkchar* path) {
    Call("QBReportSetBackImageFile", report, path);
}

// ---- Data

int QBReportLoadDataFromURL(tagQBReport* report, const lkchar* url) {
    return Call("QBReportLoadDataFromURL", report, url) &&
           !Fails("QBReportLoadDataFromURL", recording::Utf8(url));
}

const lkchar* QBReportExtractXMLFromURL(tagQBReport* report, const lkchar* url) {
    if (!Call("QBReportExtractXMLFromURL", report, url)) return nullptr;
    if (Fails("QBReportExtractXMLFromURL", recording::Utf8(url))) return nullptr;
    return report->Give(u"<数据 of=\"" + std::u16string(url) + u"\"/>");
}

const lkchar* QBReportGetQuerySQL(tagQBReport* report) {
    if (!Call("QBReportGetQuerySQL", report)) return u"";
    return Fails("QBReportGetQuerySQL", report->path) ? nullptr : report->Give(report->query);
}

void QBReportSetQuerySQL(tagQBReport* report, const lkchar* query) {
    if (Call("QBReportSetQuerySQL", report, query)) report->query = query;
}

void QBReportSetConnectionString(tagQBReport* report, const lkchar* connection) {
    Call("QBReportSetConnectionString", report, connection);
}

tagQBDetailGrid* QBReportGetDetailGrid(tagQBReport* report) {
    return Call("QBReportGetDetailGrid", report) ? report->grid.get() : nullptr;
}

tagQBRecordset* QBDetailGridGetRecordset(tagQBDetailGrid* grid) {
    return Call("QBDetailGridGetRecordset", grid) ? &grid->recordset : nullptr;
}

void QBDetailGridSetPrintAdaptMethod(tagQBDetailGrid* grid, tagQBColumnPrintAdaptMethod method) {
    Call("QBDetailGridSetPrintAdaptMethod", grid, static_cast<int>(method));
}

const lkchar* QBRecordsetGetQuerySQL(tagQBRecordset* recordset) {
    return Call("QBRecordsetGetQuerySQL", recordset) ? recordset->Give(recordset->query) : u"";
}

void QBRecordsetSetQuerySQL(tagQBRecordset* recordset, const lkchar* query) {
    if (Call("QBRecordsetSetQuerySQL", recordset, query)) recordset->query = query;
}

void QBRecordsetSetConnectionString(tagQBRecordset* recordset, const lkchar* connection) {
    Call("QBRecordsetSetConnectionString", recordset, connection);
}

// ---- Export

tagQBBinaryObject* QBReportExportDirectToBinaryObject(tagQBReport* report, tagQBExportType type) {
    if (!Call("QBReportExportDirectToBinaryObject", report, static_cast<int>(type))) return nullptr;
    return report->ExportDirect("QBReportExportDirectToBinaryObject", type);
}

int QBReportExportDirect(tagQBReport* report, tagQBExportType type, const lkchar* file, int firstSwitch,
                         int secondSwitch) {
    if (!Call("QBReportExportDirect", report, static_cast<int>(type), file, firstSwitch, secondSwitch))
        return 0;
    return report->ExportDirect("QBReportExportDirect", type) != nullptr;
}

tagQBExportOption* QBReportPrepareExport(tagQBReport* report, tagQBExportType type) {
    if (!Call("QBReportPrepareExport", report, static_cast<int>(type))) return nullptr;
    ExpectUnprepared(report, "second prepare");
    return &report->AddOption(type);
}

tagQBBinaryObject* QBReportExportToBinaryObject(tagQBReport* report) {
    if (!Call("QBReportExportToBinaryObject", report)) return nullptr;
    if (report->Prepared()) return report->Export("QBReportExportToBinaryObject", report->options.back());
    report->books->Violation(report->name + ": export without a prepare");
    return nullptr;
}

int QBReportExport(tagQBReport* report, int showOptions) {
    if (!Call("QBReportExport", report, showOptions)) return 0;
    if (report->Prepared()) return report->Export("QBReportExport", report->options.back()) != nullptr;
    report->books->Violation(report->name + ": export without a prepare");
    return 0;
}

int QBReportUnprepareExport(tagQBReport* report) {
    if (!Call("QBReportUnprepareExport", report)) return 0;
    if (!report->Prepared()) {
        report->books->Violation(report->name + ": unprepare without a prepare");
        return 0;
    }
    report->options.back().open = false;
    report->EndObjects();
    return 1;
}

int QBBinaryObjectGetDataSize(tagQBBinaryObject* object) {
    if (!Call("QBBinaryObjectGetDataSize", object) || !IsValid(object)) return 0;
    return static_cast<int>(object->bytes.size());
}

const void* QBBinaryObjectGetDataBuf(tagQBBinaryObject* object) {
    return Call("QBBinaryObjectGetDataBuf", object) && IsValid(object) ? object->bytes.data() : nullptr;
}

// ---- Export options

tagQBExportType QBExportOptionGetExportType(tagQBExportOption* option) {
    return Call("QBExportOptionGetExportType", option) ? option->type : tagQBExportType{};
}

void QBExportOptionSetFileName(tagQBExportOption* option, const lkchar* file) {
    if (Call("QBExportOptionSetFileName", option, file)) IsOpen(option);
}

tagQBE2CellOption* QBExportOptionGetAsE2CellOption(tagQBExportOption* option) {
    return Narrow("QBExportOptionGetAsE2CellOption", option, &tagQBExportOption::cell,
                  option && option->type != QBExportType_PDF && option->type != QBExportType_IMG);
}

tagQBE2XLSOption* QBExportOptionGetAsE2XLSOption(tagQBExportOption* option) {
    return Narrow("QBExportOptionGetAsE2XLSOption", option, &tagQBExportOption::xls,
                  option && option->type == QBExportType_XLS);
}

tagQBE2IMGOption* QBExportOptionGetAsE2IMGOption(tagQBExportOption* option) {
    return Narrow("QBExportOptionGetAsE2IMGOption", option, &tagQBExportOption::img,
                  option && option->type == QBExportType_IMG);
}

tagQBE2PDFOption* QBExportOptionGetAsE2PDFOption(tagQBExportOption* option) {
    return Narrow("QBExportOptionGetAsE2PDFOption", option, &tagQBExportOption::pdf,
                  option && option->type == QBExportType_PDF);
}

void QBE2CellOptionSetSameAsPrint(tagQBE2CellOption* option, int on) {
    SetOption("QBE2CellOptionSetSameAsPrint", option, on);
}

void QBE2CellOptionSetExportPageBreak(tagQBE2CellOption* option, int on) {
    SetOption("QBE2CellOptionSetExportPageBreak", option, on);
}

void QBE2CellOptionSetExportPageHeaderFooter(tagQBE2CellOption* option, int on) {
    SetOption("QBE2CellOptionSetExportPageHeaderFooter", option, on);
}

void QBE2CellOptionSetOnlyExportDetailGrid(tagQBE2CellOption* option, int on) {
    SetOption("QBE2CellOptionSetOnlyExportDetailGrid", option, on);
}

void QBE2XLSOptionSetToXlsxFormat(tagQBE2XLSOption* option, int on) {
    SetOption("QBE2XLSOptionSetToXlsxFormat", option, on);
}

void QBE2IMGOptionSetImageType(tagQBE2IMGOption* option, tagQBImageType type) {
    SetOption("QBE2IMGOptionSetImageType", option, type);
}

void QBE2IMGOptionSetAllInOne(tagQBE2IMGOption* option, int on) {
    SetOption("QBE2IMGOptionSetAllInOne", option, on);
}

void QBE2PDFOptionSetFontEmbedding(tagQBE2PDFOption* option, int on) {
    SetOption("QBE2PDFOptionSetFontEmbedding", option, on);
}

// ---- Sections and controls

tagQBReportHeaders* QBReportGetReportHeaders(tagQBReport* report) {
    return PartOf("QBReportGetReportHeaders", report, &tagQBReport::headers);
}

tagQBSection* QBReportHeadersAdd(tagQBReportHeaders* headers) {
    if (!Call("QBReportHeadersAdd", headers)) return nullptr;
    tagQBReport* report = headers->report;
    tagQBSection& section = report->sections.emplace_back(
        report->books, report->name + ".section" + std::to_string(report->sections.size() + 1));
    section.controls.report = report;
    return &section;
}

void QBSectionSetHeight(tagQBSection* section, double height) { Call("QBSectionSetHeight", section, height); }

void QBSectionSetCanGrow(tagQBSection* section, int on) { Call("QBSectionSetCanGrow", section, on); }

tagQBControls* QBSectionGetControls(tagQBSection* section) {
    return Call("QBSectionGetControls", section) ? &section->controls : nullptr;
}

tagQBControl* QBControlsAdd(tagQBControls* controls, tagQBControlType type) {
    return Call("QBControlsAdd", controls, static_cast<int>(type)) ? controls->report->AddControl(type)
                                                                   : nullptr;
}

tagQBControlType QBControlGetControlType(tagQBControl* control) {
    return Call("QBControlGetControlType", control) ? control->type : tagQBControlType{};
}

const lkchar* QBControlGetName(tagQBControl* control) {
    return Call("QBControlGetName", control) ? control->Give(control->label) : nullptr;
}

tagQBSubReport* QBControlGetAsSubReport(tagQBControl* control) {
    if (!Call("QBControlGetAsSubReport", control)) return nullptr;
    if (control->type == QBControlType_SubReport) return &control->subReport;
    control->books->Violation(control->name + " taken for a sub-report");
    return nullptr;
}

tagQBReport* QBSubReportGetReport(tagQBSubReport* subReport) {
    return Call("QBSubReportGetReport", subReport) ? subReport->report : nullptr;
}

tagQBControl* QBReportFindFirstControl(tagQBReport* report) {
    if (!Call("QBReportFindFirstControl", report)) return nullptr;
    report->walk = 0;
    return report->controls.empty() ? nullptr : &report->controls.front();
}

tagQBControl* QBReportFindNextControl(tagQBReport* report) {
    if (!Call("QBReportFindNextControl", report) || report->walk + 1 >= report->controls.size())
        return nullptr;
    return &report->controls[++report->walk];
}

// ---- Printing

tagQBPrinter* QBReportGetPrinter(tagQBReport* report) {
    return PartOf("QBReportGetPrinter", report, &tagQBReport::printer);
}

const lkchar* QBPrinterGetPrinterName(tagQBPrinter* printer) {
    if (!Call("QBPrinterGetPrinterName", printer) || Fails("QBPrinterGetPrinterName", "")) return nullptr;
    return printer->Give(printer->printerName);
}

void QBPrinterSetPrinterName(tagQBPrinter* printer, const lkchar* name) {
    if (Call("QBPrinterSetPrinterName", printer, name)) printer->printerName = name;
}

void QBReportPrint(tagQBReport* report, int showDialog) { Call("QBReportPrint", report, showDialog); }

tagQBFont* QBReportGetFont(tagQBReport* report) {
    return PartOf("QBReportGetFont", report, &tagQBReport::font);
}

// ---- Charts

int QBChartLoadDataFromXML(tagQBChart* chart, const lkchar* xml, int firstSwitch, int secondSwitch,
                           int thirdSwitch) {
    return ChartCall("QBChartLoadDataFromXML", chart, xml, firstSwitch, secondSwitch, thirdSwitch);
}

int QBChartLoadXYDataFromXML(tagQBChart* chart, const lkchar* xml, int firstSwitch) {
    return ChartCall("QBChartLoadXYDataFromXML", chart, xml, firstSwitch);
}

int QBChartLoadXYZDataFromXML(tagQBChart* chart, const lkchar* xml, int firstSwitch) {
    return ChartCall("QBChartLoadXYZDataFromXML", chart, xml, firstSwitch);
}

void QBChartSetSeriesCount(tagQBChart* chart, int seriesCount) {
    ChartCall("QBChartSetSeriesCount", chart, seriesCount);
}

void QBChartSetSeriesLabel(tagQBChart* chart, int seriesIndex, const lkchar* label) {
    ChartCall("QBChartSetSeriesLabel", chart, seriesIndex, label);
}

// ---- Events

void QBAttachEventExportBegin(tagQBReport* report, CqbExportEventInfo* handler) {
    Attach("QBAttachEventExportBegin", report, &tagQBReport::exportBegin, handler);
}

void QBAttachEventInitialize(tagQBReport* report, CqbGeneralEventInfo* handler) {
    Attach("QBAttachEventInitialize", report, &tagQBReport::initialize, handler);
}

void QBAttachEventChartRequestData(tagQBReport* report, CqbChartEventInfo* handler) {
    Attach("QBAttachEventChartRequestData", report, &tagQBReport::chartRequestData, handler);
}

// ---- Utility

tagQBUtility* QBReportGetUtility(tagQBReport* report) {
    return PartOf("QBReportGetUtility", report, &tagQBReport::utility);
}

const lkchar* QBUtilityNumberFormat(tagQBUtility* utility, const lkchar* format, double number) {
    if (!Call("QBUtilityNumberFormat", utility, format, number)) return nullptr;
    return Fails("QBUtilityNumberFormat", "") ? nullptr : utility->Give(u"一个数");
}

const lkchar* QBGenerateBarcodeGraph(const lkchar* json) {
    recording::RecordGlobal("QBGenerateBarcodeGraph", recording::CallText("QBGenerateBarcodeGraph", json));
    return Fails("QBGenerateBarcodeGraph", recording::Utf8(json)) ? nullptr : u"<svg>条码</svg>";
}
