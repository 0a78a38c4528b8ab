// The recording engine: handles, the books of the calls made with them, and the 71 functions.
#include "tests/engine/recording_engine.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <thread>
#include <utility>

namespace recording {

using quillbrook::lkchar;
using quillbrook::tagQBReport;

struct Entry {
    unsigned order = 0;
    bool violation = false;
    std::string text;
};

// The books of one created report and all that hangs from it, or of the calls that concern no report. Without
// a lock, so that the engine puts no order between threads that its caller didn't: a race in the caller stays
// visible to ThreadSanitizer.
struct Books {
    std::string name;
    std::thread::id thread = std::this_thread::get_id();
    bool released = false;
    std::shared_ptr<tagQBReport> report;  // kept beyond its release, so that later calls are seen
    std::vector<Entry> entries;

    void Add(bool violation, const std::string& text);
    void Violation(const std::string& text) { Add(true, text); }
};

// What every handle points at. Its last text is freed at the next call, so that a caller who keeps it is
// found out.
struct Node {
    virtual ~Node() = default;

    Books* books = nullptr;
    std::string name;
    tagQBReport* report = nullptr;  // from which it hangs; a report's own is itself
    int type = 0;                   // of a control or an export
    std::u16string value;           // query, label or printer's name
    std::map<std::string, std::unique_ptr<Node>> parts;
    std::unique_ptr<lkchar[]> text;

    const lkchar* Give(const std::u16string& answer) {
        text = std::make_unique<lkchar[]>(answer.size() + 1);
        std::copy(answer.begin(), answer.end(), text.get());
        return text.get();
    }

    // The part of that name, made when it is first asked for.
    template <class Part>
    Part* Get(const std::string& part) {
        std::unique_ptr<Node>& node = parts[part];
        if (!node) {
            node = std::make_unique<Part>();
            node->books = books;
            node->name = name + "." + part;
            node->report = report;
        }
        return static_cast<Part*>(node.get());
    }

    // One more part of a kind: kind1, kind2 ...
    template <class Part>
    Part* Add(const std::string& kind) {
        int number = 1;
        while (parts.contains(kind + std::to_string(number))) ++number;
        return Get<Part>(kind + std::to_string(number));
    }
};

namespace {

struct State {
    std::mutex mutex;  // guards the two lists of books
    std::deque<Books> reports;
    Books global;
    std::vector<std::pair<std::string, std::string>> failures;
    std::vector<std::pair<std::string, Template>> templates;
    std::atomic<bool> configured{false};
    std::atomic<unsigned> order{0};
    int log = -1;

    State() {
        if (const char* path = std::getenv("QBSVR_RECORDING_LOG"))
            log = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        const char* lines = std::getenv("QBSVR_RECORDING_FAIL");
        std::istringstream in(lines ? lines : "");
        for (std::string function, pattern; in >> function >> pattern;)
            failures.emplace_back(function, pattern);
    }
    ~State() {
        for (Books& books : reports) {
            if (!books.released) books.Violation(books.name + " was never released");
        }
        if (log >= 0) close(log);
    }
};

State& TheState() {
    static State state;
    return state;
}

// The state must be there before any thread and be gone at exit only.
[[maybe_unused]] const State& g_State = TheState();

bool Fits(const std::string& pattern, const std::string& subject) {
    return fnmatch(pattern.c_str(), subject.c_str(), 0) == 0;
}

bool Fails(const std::string& function, const std::string& subject) {
    const auto& failures = TheState().failures;
    return std::any_of(failures.begin(), failures.end(), [&](const auto& failure) {
        return failure.first == function && Fits(failure.second, subject);
    });
}

Template TemplateOf(const std::string& path) {
    const auto& templates = TheState().templates;
    const auto found = std::find_if(templates.rbegin(), templates.rend(),
                                    [&](const auto& entry) { return Fits(entry.first, path); });
    return found == templates.rend() ? Template() : found->second;
}

std::vector<std::string> Texts(bool violations) {
    std::map<unsigned, std::string> texts;
    const auto take = [&](const Books& books) {
        for (const Entry& entry : books.entries) {
            if (entry.violation == violations) texts[entry.order] = entry.text;
        }
    };
    take(TheState().global);
    for (const Books& books : TheState().reports) take(books);
    std::vector<std::string> sorted;
    for (const auto& [order, text] : texts) sorted.push_back(text);
    return sorted;
}

std::string Utf8(const lkchar* text) { return std::filesystem::path(text ? text : u"").string(); }

void Show(std::ostream& out, const Node* handle) { out << (handle ? handle->name : "null"); }
void Show(std::ostream& out, const lkchar* text) { out << (text ? '"' + Utf8(text) + '"' : "null"); }
void Show(std::ostream& out, int value) { out << value; }
void Show(std::ostream& out, double value) { out << value; }

// Writes a call down that concerns no report.
void RecordGlobal(const std::string& function, const std::string& text) {
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    state.global.Add(false, text);
    if (!state.configured && function != "QBInitConfig")
        state.global.Violation(text + " ahead of QBInitConfig");
}

// Writes a call down and looks whether it may come at all.
void Record(const std::string& function, Node* handle, const std::string& text) {
    if (!handle) return RecordGlobal(function, text);
    Books& books = *handle->books;
    books.Add(false, text);
    if (!TheState().configured.load(std::memory_order_relaxed))
        books.Violation(text + " ahead of QBInitConfig");
    if (books.released) books.Violation(text + " after the release");
    if (books.thread != std::this_thread::get_id()) books.Violation(text + " on another thread");
    // The one text that outlives a call with its handle.
    if (function != "QBRecordsetSetConnectionString") handle->text.reset();
}

template <class... Arguments>
std::string CallText(const std::string& function, const Arguments&... arguments) {
    std::ostringstream out;
    out << function << '(';
    [[maybe_unused]] const char* separator = "";
    ((out << separator, Show(out, arguments), separator = ", "), ...);
    out << ')';
    return out.str();
}

// False for a null handle, with which an engine does nothing.
template <class... Arguments>
bool Call(const char* function, Node* handle, const Arguments&... arguments) {
    Record(function, handle, CallText(function, handle, arguments...));
    return handle != nullptr;
}

template <class Part>
Part* CallForPart(const char* function, Node* handle, const char* part) {
    return Call(function, handle) ? handle->Get<Part>(part) : nullptr;
}

}  // namespace

void Books::Add(bool violation, const std::string& text) {
    State& state = TheState();
    entries.push_back({state.order.fetch_add(1, std::memory_order_relaxed), violation, text});
    if (state.log < 0) return;
    const std::string line = (violation ? "VIOLATION " : "") + text + "\n";
    if (write(state.log, line.data(), line.size()) < 0) std::abort();
}

void Reset(bool configured) {
    State& state = TheState();
    state.reports.clear();
    state.global.entries.clear();
    state.failures.clear();
    state.templates.clear();
    state.configured = configured;
}

void Fail(const std::string& function, const std::string& pattern) {
    TheState().failures.emplace_back(function, pattern);
}

void SetTemplate(const std::string& pattern, const Template& content) {
    TheState().templates.emplace_back(pattern, content);
}

std::vector<std::string> Calls() { return Texts(false); }

std::vector<std::string> Violations() {
    std::vector<std::string> texts = Texts(true);
    for (const Books& books : TheState().reports) {
        if (!books.released) texts.push_back(books.name + " was never released");
    }
    return texts;
}

}  // namespace recording

namespace quillbrook {

using recording::Node;

struct tagQBRecordset : Node {};
struct tagQBDetailGrid : Node {};
struct tagQBSubReport : Node {};
struct tagQBControl : Node {};
struct tagQBChart : tagQBControl {};  // a control, as QBControlGetName wants it
struct tagQBControls : Node {};
struct tagQBSection : Node {};
struct tagQBReportHeaders : Node {};
struct tagQBExportOption : Node {};
struct tagQBE2CellOption : Node {};
struct tagQBE2XLSOption : Node {};
struct tagQBE2IMGOption : Node {};
struct tagQBE2PDFOption : Node {};
struct tagQBPrinter : Node {};
struct tagQBFont : Node {};
struct tagQBUtility : Node {};
struct tagQBBinaryObject : Node {
    std::string bytes;
};

struct tagQBReport : Node {
    std::string path;
    std::vector<tagQBControl*> controls;
    std::vector<tagQBChart*> charts;
    std::size_t walk = 0;
    tagQBExportOption* option = nullptr;  // the latest
    tagQBBinaryObject* object = nullptr;  // the latest
    std::unique_ptr<CqbExportEventInfo> exportBegin;
    std::unique_ptr<CqbGeneralEventInfo> initialize;
    std::unique_ptr<CqbChartEventInfo> chartRequestData;

    tagQBReport() { report = this; }

    tagQBControl* AddControl(int controlType) {
        tagQBControl* control = controls.emplace_back(Add<tagQBControl>("control"));
        control->type = controlType;
        if (controlType == QBControlType_SubReport) {
            tagQBReport* inner = Add<tagQBReport>("sub");
            inner->report = inner;
            control->Get<tagQBSubReport>("sub")->report = inner;
        }
        return control;
    }

    void Fill(const recording::Template& content) {
        // Options and objects stay behind their end, so that later calls with them are seen.
        std::erase_if(parts, [](const auto& part) {
            return !part.first.starts_with("option") && !part.first.starts_with("object");
        });
        controls.clear();
        charts.clear();
        value = content.query;
        if (content.hasGrid)
            Get<tagQBDetailGrid>("grid")->Get<tagQBRecordset>("recordset")->value = content.gridQuery;
        AddControl(QBControlType_StaticText);
        for (const recording::Template& inner : content.subReports) {
            AddControl(QBControlType_SubReport)->Get<tagQBSubReport>("sub")->report->Fill(inner);
        }
        for (const std::u16string& chart : content.charts) {
            charts.emplace_back(Add<tagQBChart>("chart"))->value = chart;
        }
    }

    // What a load, an export or the end of one makes of the bytes handed out before.
    void EndObject() {
        if (object) std::string().swap(object->bytes);
    }

    tagQBExportOption* AddOption(tagQBExportType exportType) {
        option = Add<tagQBExportOption>("option");
        option->type = exportType;
        return option;
    }

    // Runs the handlers as an export does; null when this export was told to fail.
    tagQBBinaryObject* Export(const char* function) {
        EndObject();
        if (initialize) initialize->Execute();
        if (exportBegin) exportBegin->Execute(option);
        for (tagQBChart* chart : charts) {
            if (chartRequestData) chartRequestData->Execute(chart);
        }
        if (recording::Fails(function, path)) return nullptr;
        object = Add<tagQBBinaryObject>("object");
        object->bytes = "type " + std::to_string(option->type) + " of " + path;
        return object;
    }
};

}  // namespace quillbrook

using namespace quillbrook;
using recording::Call;
using recording::CallForPart;
using recording::Fails;
using recording::Utf8;

namespace {

template <class... Arguments>
void GlobalCall(const char* function, const Arguments&... arguments) {
    recording::RecordGlobal(function, recording::CallText(function, arguments...));
}

const lkchar* ModuleText(const char* function, const lkchar* text) {
    GlobalCall(function);
    return Fails(function, "") ? nullptr : text;
}

// Attaches, or deletes a handler that no report wants.
template <class Handler>
void Attach(const char* function, tagQBReport* report, std::unique_ptr<Handler> tagQBReport::*slot,
            Handler* handler) {
    std::unique_ptr<Handler> owned(handler);
    if (Call(function, report)) report->*slot = std::move(owned);
}

}  // namespace

// ---- Configuration and module information

int QBInitConfig(const lkchar* setupPath) {
    GlobalCall(__func__, setupPath);
    return !recording::TheState().configured.exchange(true);
}
const lkchar* QBGetModulePath() { return ModuleText(__func__, u"/引擎/libqbsvrl6.so"); }
const lkchar* QBGetModuleVersion() { return ModuleText(__func__, u"6.0 recording"); }
const lkchar* QBGetModuleInfo() { return ModuleText(__func__, u"any"); }

// ---- Reports

tagQBReport* QBReportCreate() {
    const auto report = std::make_shared<tagQBReport>();
    {
        recording::State& state = recording::TheState();
        const std::lock_guard lock(state.mutex);
        report->name = "report" + std::to_string(state.reports.size() + 1);
        if (!Fails(__func__, report->name)) report->books = &state.reports.emplace_back();
    }
    if (!report->books) {
        recording::RecordGlobal(__func__, "QBReportCreate() = null");
        return nullptr;
    }
    report->books->name = report->name;
    report->books->report = report;
    report->Fill({});
    recording::Record(__func__, report.get(), "QBReportCreate() = " + report->name);
    return report.get();
}
void QBReportRelease(tagQBReport* report) {
    if (!Call(__func__, report)) return;
    if (report->books->report.get() != report) {
        report->books->Violation(report->name + " released without having been created");
        return;
    }
    report->books->released = true;
    report->EndObject();
    report->exportBegin.reset();
    report->initialize.reset();
    report->chartRequestData.reset();
}
void QBObjectAssign(tagQBReport* target, tagQBReport* source) {
    if (Call(__func__, target, source) && source) target->path = source->path;
}
int QBReportLoadFromFile(tagQBReport* report, const lkchar* path) {
    if (!Call(__func__, report, path)) return 0;
    report->EndObject();
    report->path = Utf8(path);
    // Also of a load that is told to fail, so that a caller who goes on can be followed.
    report->Fill(recording::TemplateOf(report->path));
    return !Fails(__func__, report->path);
}
int QBReportSaveToFile(tagQBReport* report, const lkchar* path) {
    return Call(__func__, report, path) && !Fails(__func__, Utf8(path));
}
void QBReportSetBackImageFile(tagQBReport* report, const lkchar* path) { Call(__func__, report, path); }

// ---- Data

int QBReportLoadDataFromURL(tagQBReport* report, const lkchar* url) {
    return Call(__func__, report, url) && !Fails(__func__, Utf8(url));
}
const lkchar* QBReportExtractXMLFromURL(tagQBReport* report, const lkchar* url) {
    if (!Call(__func__, report, url) || Fails(__func__, Utf8(url))) return nullptr;
    return report->Give(u"<数据 of=\"" + std::u16string(url) + u"\"/>");
}
const lkchar* QBReportGetQuerySQL(tagQBReport* report) {
    if (!Call(__func__, report)) return u"";
    return Fails(__func__, report->path) ? nullptr : report->Give(report->value);
}
void QBReportSetQuerySQL(tagQBReport* report, const lkchar* query) {
    if (Call(__func__, report, query)) report->value = query;
}
void QBReportSetConnectionString(tagQBReport* report, const lkchar* connection) {
    Call(__func__, report, connection);
}
tagQBDetailGrid* QBReportGetDetailGrid(tagQBReport* report) {
    if (!Call(__func__, report) || !report->parts.contains("grid")) return nullptr;
    return report->Get<tagQBDetailGrid>("grid");
}
tagQBRecordset* QBDetailGridGetRecordset(tagQBDetailGrid* grid) {
    return CallForPart<tagQBRecordset>(__func__, grid, "recordset");
}
void QBDetailGridSetPrintAdaptMethod(tagQBDetailGrid* grid, tagQBColumnPrintAdaptMethod method) {
    Call(__func__, grid, method);
}
const lkchar* QBRecordsetGetQuerySQL(tagQBRecordset* recordset) {
    return Call(__func__, recordset) ? recordset->Give(recordset->value) : u"";
}
void QBRecordsetSetQuerySQL(tagQBRecordset* recordset, const lkchar* query) {
    if (Call(__func__, recordset, query)) recordset->value = query;
}
void QBRecordsetSetConnectionString(tagQBRecordset* recordset, const lkchar* connection) {
    Call(__func__, recordset, connection);
}

// ---- Export

tagQBBinaryObject* QBReportExportDirectToBinaryObject(tagQBReport* report, tagQBExportType type) {
    return Call(__func__, report, type) ? report->AddOption(type)->report->Export(__func__) : nullptr;
}
int QBReportExportDirect(tagQBReport* report, tagQBExportType type, const lkchar* file, int firstSwitch,
                         int secondSwitch) {
    return Call(__func__, report, type, file, firstSwitch, secondSwitch) &&
           report->AddOption(type)->report->Export(__func__);
}
tagQBExportOption* QBReportPrepareExport(tagQBReport* report, tagQBExportType type) {
    return Call(__func__, report, type) ? report->AddOption(type) : nullptr;
}
tagQBBinaryObject* QBReportExportToBinaryObject(tagQBReport* report) {
    return Call(__func__, report) ? report->Export(__func__) : nullptr;
}
int QBReportExport(tagQBReport* report, int showOptions) {
    return Call(__func__, report, showOptions) && report->Export(__func__);
}
int QBReportUnprepareExport(tagQBReport* report) {
    if (!Call(__func__, report)) return 0;
    report->EndObject();
    return 1;
}
int QBBinaryObjectGetDataSize(tagQBBinaryObject* object) {
    return Call(__func__, object) ? static_cast<int>(object->bytes.size()) : 0;
}
const void* QBBinaryObjectGetDataBuf(tagQBBinaryObject* object) {
    return Call(__func__, object) ? object->bytes.data() : nullptr;
}

// ---- Export options

tagQBExportType QBExportOptionGetExportType(tagQBExportOption* option) {
    return Call(__func__, option) ? static_cast<tagQBExportType>(option->type) : tagQBExportType{};
}
void QBExportOptionSetFileName(tagQBExportOption* option, const lkchar* file) {
    Call(__func__, option, file);
}
tagQBE2CellOption* QBExportOptionGetAsE2CellOption(tagQBExportOption* option) {
    return CallForPart<tagQBE2CellOption>(__func__, option, "cell");
}
tagQBE2XLSOption* QBExportOptionGetAsE2XLSOption(tagQBExportOption* option) {
    return CallForPart<tagQBE2XLSOption>(__func__, option, "xls");
}
tagQBE2IMGOption* QBExportOptionGetAsE2IMGOption(tagQBExportOption* option) {
    return CallForPart<tagQBE2IMGOption>(__func__, option, "img");
}
tagQBE2PDFOption* QBExportOptionGetAsE2PDFOption(tagQBExportOption* option) {
    return CallForPart<tagQBE2PDFOption>(__func__, option, "pdf");
}
void QBE2CellOptionSetSameAsPrint(tagQBE2CellOption* option, int on) { Call(__func__, option, on); }
void QBE2CellOptionSetExportPageBreak(tagQBE2CellOption* option, int on) { Call(__func__, option, on); }
void QBE2CellOptionSetExportPageHeaderFooter(tagQBE2CellOption* option, int on) {
    Call(__func__, option, on);
}
void QBE2CellOptionSetOnlyExportDetailGrid(tagQBE2CellOption* option, int on) { Call(__func__, option, on); }
void QBE2XLSOptionSetToXlsxFormat(tagQBE2XLSOption* option, int on) { Call(__func__, option, on); }
void QBE2IMGOptionSetImageType(tagQBE2IMGOption* option, tagQBImageType type) {
    Call(__func__, option, type);
}
void QBE2IMGOptionSetAllInOne(tagQBE2IMGOption* option, int on) { Call(__func__, option, on); }
void QBE2PDFOptionSetFontEmbedding(tagQBE2PDFOption* option, int on) { Call(__func__, option, on); }

// ---- Sections and controls

tagQBReportHeaders* QBReportGetReportHeaders(tagQBReport* report) {
    return CallForPart<tagQBReportHeaders>(__func__, report, "headers");
}
tagQBSection* QBReportHeadersAdd(tagQBReportHeaders* headers) {
    return Call(__func__, headers) ? headers->report->Add<tagQBSection>("section") : nullptr;
}
void QBSectionSetHeight(tagQBSection* section, double height) { Call(__func__, section, height); }
void QBSectionSetCanGrow(tagQBSection* section, int on) { Call(__func__, section, on); }
tagQBControls* QBSectionGetControls(tagQBSection* section) {
    return CallForPart<tagQBControls>(__func__, section, "controls");
}
tagQBControl* QBControlsAdd(tagQBControls* controls, tagQBControlType type) {
    return Call(__func__, controls, type) ? controls->report->AddControl(type) : nullptr;
}
tagQBControlType QBControlGetControlType(tagQBControl* control) {
    return Call(__func__, control) ? static_cast<tagQBControlType>(control->type) : tagQBControlType{};
}
const lkchar* QBControlGetName(tagQBControl* control) {
    return Call(__func__, control) ? control->Give(control->value) : nullptr;
}
tagQBSubReport* QBControlGetAsSubReport(tagQBControl* control) {
    return CallForPart<tagQBSubReport>(__func__, control, "sub");
}
tagQBReport* QBSubReportGetReport(tagQBSubReport* subReport) {
    return Call(__func__, subReport) ? subReport->report : nullptr;
}
tagQBControl* QBReportFindFirstControl(tagQBReport* report) {
    if (!Call(__func__, report)) return nullptr;
    report->walk = 0;
    return report->controls.front();
}
tagQBControl* QBReportFindNextControl(tagQBReport* report) {
    if (!Call(__func__, report) || report->walk + 1 >= report->controls.size()) return nullptr;
    return report->controls[++report->walk];
}

// ---- Printing

tagQBPrinter* QBReportGetPrinter(tagQBReport* report) {
    return CallForPart<tagQBPrinter>(__func__, report, "printer");
}
const lkchar* QBPrinterGetPrinterName(tagQBPrinter* printer) {
    if (!Call(__func__, printer) || Fails(__func__, "")) return nullptr;
    return printer->Give(printer->value.empty() ? u"recording printer" : printer->value);
}
void QBPrinterSetPrinterName(tagQBPrinter* printer, const lkchar* name) {
    if (Call(__func__, printer, name)) printer->value = name;
}
void QBReportPrint(tagQBReport* report, int showDialog) { Call(__func__, report, showDialog); }
tagQBFont* QBReportGetFont(tagQBReport* report) { return CallForPart<tagQBFont>(__func__, report, "font"); }

// ---- Charts

int QBChartLoadDataFromXML(tagQBChart* chart, const lkchar* xml, int firstSwitch, int secondSwitch,
                           int thirdSwitch) {
    return Call(__func__, chart, xml, firstSwitch, secondSwitch, thirdSwitch);
}
int QBChartLoadXYDataFromXML(tagQBChart* chart, const lkchar* xml, int firstSwitch) {
    return Call(__func__, chart, xml, firstSwitch);
}
int QBChartLoadXYZDataFromXML(tagQBChart* chart, const lkchar* xml, int firstSwitch) {
    return Call(__func__, chart, xml, firstSwitch);
}
void QBChartSetSeriesCount(tagQBChart* chart, int seriesCount) { Call(__func__, chart, seriesCount); }
void QBChartSetSeriesLabel(tagQBChart* chart, int seriesIndex, const lkchar* label) {
    Call(__func__, chart, seriesIndex, label);
}

// ---- Events

void QBAttachEventExportBegin(tagQBReport* report, CqbExportEventInfo* handler) {
    Attach(__func__, report, &tagQBReport::exportBegin, handler);
}
void QBAttachEventInitialize(tagQBReport* report, CqbGeneralEventInfo* handler) {
    Attach(__func__, report, &tagQBReport::initialize, handler);
}
void QBAttachEventChartRequestData(tagQBReport* report, CqbChartEventInfo* handler) {
    Attach(__func__, report, &tagQBReport::chartRequestData, handler);
}

// ---- Utility

tagQBUtility* QBReportGetUtility(tagQBReport* report) {
    return CallForPart<tagQBUtility>(__func__, report, "utility");
}
const lkchar* QBUtilityNumberFormat(tagQBUtility* utility, const lkchar* format, double number) {
    if (!Call(__func__, utility, format, number)) return nullptr;
    return Fails(__func__, "") ? nullptr : utility->Give(u"一个数");
}
const lkchar* QBGenerateBarcodeGraph(const lkchar* json) {
    GlobalCall(__func__, json);
    return Fails(__func__, Utf8(json)) ? nullptr : u"<svg>条码</svg>";
}
