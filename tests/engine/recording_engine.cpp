// The recording engine: handles of one type, the journal of the calls made with them, and a table of the 71
// functions.
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
#include <tuple>
#include <utility>

using namespace quillbrook;

namespace recording {
namespace {

struct Entry {
    unsigned order;
    bool violation;
    std::string text;
};

struct Node;

// The calls of one created report and everything that belongs to it, or the calls without a report. There is
// no lock, because it would order the caller's threads and hide the caller's races from ThreadSanitizer.
struct Journal {
    std::thread::id thread = std::this_thread::get_id();
    bool released = false;
    std::shared_ptr<Node> report{};  // kept after its release to detect later calls
    std::vector<Entry> entries{};

    void Add(bool violation, const std::string& text);
};

// What every handle points to.
struct Node {
    Node(Journal* ownJournal, std::string ownName, Node* ownReport)
        : journal(ownJournal), name(std::move(ownName)), report(ownReport) {}

    Journal* journal;
    std::string name;
    Node* report;          // that it belongs to; for a report, itself
    int type = 0;          // of a control or an export
    std::u16string value;  // query, label or printer's name
    std::string bytes;     // of a document; for a report, the path of its template
    std::map<std::string, std::unique_ptr<Node>> parts;
    std::unique_ptr<lkchar[]> text;  // freed at the next call, so that its later use is detected

    // Of a report.
    std::vector<Node*> controls, charts;
    std::size_t walk = 0;
    Node* option = nullptr;    // the latest
    Node* document = nullptr;  // the latest
    std::unique_ptr<CqbExportEventInfo> exportBegin;
    std::unique_ptr<CqbGeneralEventInfo> initialize;
    std::unique_ptr<CqbChartEventInfo> chartRequestData;

    // The part with this name, which is created on first use.
    Node* Get(const std::string& part) {
        std::unique_ptr<Node>& node = parts[part];
        if (!node) node = std::make_unique<Node>(journal, name + "." + part, report);
        return node.get();
    }
    // Adds a part of a kind: kind1, kind2 ...
    Node* Add(const std::string& kind) {
        int number = 1;
        while (parts.contains(kind + std::to_string(number))) ++number;
        return Get(kind + std::to_string(number));
    }
    Node* AddControl(int controlType) {
        Node* const control = controls.emplace_back(Add("control"));
        control->type = controlType;
        if (controlType == QBControlType_SubReport) {
            Node* const inner = Add("sub");
            control->Get("sub")->report = inner->report = inner;
        }
        return control;
    }
    Node* AddOption(int exportType) {
        option = Add("option");
        option->type = exportType;
        return option;
    }
    void Fill(const Template& content);
    void EndDocument() {
        if (document) std::string().swap(document->bytes);
    }
    Node* Export(const char* function);
};

struct State {
    std::mutex mutex;  // guards the two lists of journals
    std::deque<Journal> reports;
    Journal global;
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
        for (Journal& journal : reports) {
            if (!journal.released) journal.Add(true, journal.report->name + " was never released");
        }
        if (log >= 0) close(log);
    }
};

State& TheState() {
    static State state;
    return state;
}

// The state must exist before any thread, and until the process exits.
[[maybe_unused]] const State& g_State = TheState();

void Journal::Add(bool violation, const std::string& text) {
    State& state = TheState();
    entries.push_back({state.order.fetch_add(1, std::memory_order_relaxed), violation, text});
    if (state.log < 0) return;
    const std::string line = (violation ? "VIOLATION " : "") + text + "\n";
    if (write(state.log, line.data(), line.size()) < 0) std::abort();
}

bool Fits(const std::string& pattern, const std::string& subject) {
    return fnmatch(pattern.c_str(), subject.c_str(), 0) == 0;
}

bool Fails(const std::string& function, const std::string& subject) {
    const auto& failures = TheState().failures;
    return std::any_of(failures.begin(), failures.end(), [&](const auto& failure) {
        return failure.first == function && Fits(failure.second, subject);
    });
}

void Node::Fill(const Template& content) {
    // Options and documents stay, so that later calls with them are detected.
    std::erase_if(parts, [](const auto& part) {
        return !part.first.starts_with("option") && !part.first.starts_with("object");
    });
    controls.clear();
    charts.clear();
    value = content.query;
    if (content.hasGrid) Get("grid")->Get("recordset")->value = content.gridQuery;
    AddControl(QBControlType_StaticText);
    for (const Template& inner : content.subReports)
        AddControl(QBControlType_SubReport)->Get("sub")->report->Fill(inner);
    for (const std::u16string& chart : content.charts) charts.emplace_back(Add("chart"))->value = chart;
}

// Runs the handlers as an export does. Returns null if this export must fail.
Node* Node::Export(const char* function) {
    EndDocument();
    if (initialize) initialize->Execute();
    if (exportBegin) exportBegin->Execute(reinterpret_cast<tagQBExportOption*>(option));
    for (Node* chart : charts) {
        if (chartRequestData) chartRequestData->Execute(reinterpret_cast<tagQBChart*>(chart));
    }
    if (Fails(function, bytes)) return nullptr;
    document = Add("object");
    document->bytes = "type " + std::to_string(option->type) + " of " + bytes;
    return document;
}

std::string Utf8(const lkchar* text) { return std::filesystem::path(text ? text : u"").string(); }

template <class Handle>
Node* NodeOf(Handle* handle) {
    return reinterpret_cast<Node*>(handle);
}

template <class Argument>
constexpr bool IsHandle = std::is_pointer_v<Argument> && !std::is_same_v<Argument, const lkchar*>;

template <class Argument>
void Show(std::ostream& out, Argument argument) {
    if constexpr (std::is_same_v<Argument, const lkchar*>) {
        out << (argument ? '"' + Utf8(argument) + '"' : "null");
    } else if constexpr (IsHandle<Argument>) {
        out << (argument ? NodeOf(argument)->name : "null");
    } else {
        out << argument;
    }
}

// Records a call, and any violation of the rules.
void Record(const std::string& function, Node* node, const std::string& text) {
    State& state = TheState();
    std::unique_lock<std::mutex> lock;
    if (!node) lock = std::unique_lock(state.mutex);
    Journal& journal = node ? *node->journal : state.global;
    journal.Add(false, text);
    if (!state.configured.load(std::memory_order_relaxed) && function != "QBInitConfig")
        journal.Add(true, text + " before QBInitConfig");
    if (!node) return;
    if (journal.released) journal.Add(true, text + " after the release");
    if (journal.thread != std::this_thread::get_id()) journal.Add(true, text + " on another thread");
    // Only this call leaves the text of its handle valid.
    if (function != "QBRecordsetSetConnectionString") node->text.reset();
}

// Records the call. Returns whether it has a handle, if it needs one, and must not fail.
template <class... Arguments>
bool Call(const char* function, Arguments... arguments) {
    std::ostringstream out;
    const char* separator = "(";
    Node* node = nullptr;
    std::string subject;
    [[maybe_unused]] const auto look = [&](auto argument) {
        using Argument = decltype(argument);
        out << std::exchange(separator, ", ");
        Show(out, argument);
        if constexpr (std::is_same_v<Argument, const lkchar*>) {
            subject = Utf8(argument);
        } else if constexpr (IsHandle<Argument>) {
            node = node ? node : NodeOf(argument);
            if (node) subject = node->report->bytes;
        }
    };
    (look(arguments), ...);
    Record(function, node, function + out.str() + (sizeof...(arguments) == 0 ? "()" : ")"));
    return (node || !(IsHandle<Arguments> || ...)) && !Fails(function, subject);
}

// Converts to the handle that a function returns.
struct Handle {
    Node* node;
    template <class Type>
    operator Type*() const {
        return reinterpret_cast<Type*>(node);
    }
};

Handle Part(Node* node, const char* name) { return {node ? node->Get(name) : nullptr}; }

const lkchar* Give(Node* node, const std::u16string& answer) {
    node->text = std::make_unique<lkchar[]>(answer.size() + 1);
    std::copy(answer.begin(), answer.end(), node->text.get());
    return node->text.get();
}

Handle Create() {
    State& state = TheState();
    const auto report = std::make_shared<Node>(nullptr, "report", nullptr);
    report->report = report.get();
    {
        const std::lock_guard lock(state.mutex);
        report->name += std::to_string(state.reports.size() + 1);
        if (!Fails("QBReportCreate", report->name)) report->journal = &state.reports.emplace_back();
    }
    if (!report->journal) return Record("QBReportCreate", nullptr, "QBReportCreate() = null"), Handle{};
    report->journal->report = report;
    report->Fill({});
    Record("QBReportCreate", report.get(), "QBReportCreate() = " + report->name);
    return {report.get()};
}

void Release(Node* report) {
    if (!report) return;
    if (report->journal->report.get() != report)
        return report->journal->Add(true, report->name + " released without having been created");
    report->journal->released = true;
    report->EndDocument();
    report->exportBegin.reset();
    report->initialize.reset();
    report->chartRequestData.reset();
}

// Loads even if the call must fail, so that the calls of a caller who continues can be recorded.
void Load(Node* report, const lkchar* path) {
    if (!report) return;
    report->EndDocument();
    report->bytes = Utf8(path);
    const auto& templates = TheState().templates;
    const auto found = std::find_if(templates.rbegin(), templates.rend(),
                                    [&](const auto& entry) { return Fits(entry.first, report->bytes); });
    report->Fill(found == templates.rend() ? Template() : found->second);
}

Handle Walk(Node* report, std::size_t to) {
    if (!report || to >= report->controls.size()) return {};
    report->walk = to;
    return {report->controls[to]};
}

// Attaches the handler, or deletes it if there is no report.
template <class Handler>
void Attach(Node* report, Handler* handler, std::unique_ptr<Handler> Node::*slot) {
    std::unique_ptr<Handler> owned(handler);
    if (report) report->*slot = std::move(owned);
}

std::vector<std::string> Texts(bool violations) {
    std::map<unsigned, std::string> texts;
    const auto take = [&](const Journal& journal) {
        for (const Entry& entry : journal.entries) {
            if (entry.violation == violations) texts[entry.order] = entry.text;
        }
    };
    take(TheState().global);
    for (const Journal& journal : TheState().reports) take(journal);
    std::vector<std::string> sorted;
    for (const auto& [order, text] : texts) sorted.push_back(text);
    return sorted;
}

}  // namespace

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
    for (const Journal& journal : TheState().reports) {
        if (!journal.released) texts.push_back(journal.report->name + " was never released");
    }
    return texts;
}

}  // namespace recording

using namespace recording;

namespace {

template <class Function>
struct Signature;
template <class Answer, class... Arguments>
struct Signature<Answer(Arguments...)> {
    using Result = Answer;
    template <std::size_t i>
    using Argument = std::tuple_element_t<i, std::tuple<Arguments...>>;
};

}  // namespace

// The table has one line per function: its name, and the result that it returns after the call is recorded.
// In the result, `node` is the first argument, b, c, d and e are the others, and `done` is the result of
// Call.
#define ANSWER(name) Signature<decltype(name)>::Result
#define ARGUMENT(name, i) Signature<decltype(name)>::Argument<i>
#define BODY(name, answer, ...)                                      \
    {                                                                \
        [[maybe_unused]] const bool done = Call(#name, __VA_ARGS__); \
        [[maybe_unused]] Node* const node = NodeOf(a);               \
        return static_cast<ANSWER(name)>(answer);                    \
    }
#define FUNCTION1(name, answer) ANSWER(name) name(ARGUMENT(name, 0) a) BODY(name, answer, a)
#define FUNCTION2(name, answer) \
    ANSWER(name) name(ARGUMENT(name, 0) a, ARGUMENT(name, 1) b) BODY(name, answer, a, b)
#define FUNCTION3(name, answer) \
    ANSWER(name)                \
    name(ARGUMENT(name, 0) a, ARGUMENT(name, 1) b, ARGUMENT(name, 2) c) BODY(name, answer, a, b, c)
#define FUNCTION5(name, answer)                                                              \
    ANSWER(name)                                                                             \
    name(ARGUMENT(name, 0) a, ARGUMENT(name, 1) b, ARGUMENT(name, 2) c, ARGUMENT(name, 3) d, \
         ARGUMENT(name, 4) e) BODY(name, answer, a, b, c, d, e)
#define MODULE_TEXT(name, text) \
    const lkchar* name() { return Call(#name) ? text : nullptr; }
// The handler belongs to the engine; it is not part of the recorded call.
#define EVENT(name, slot) \
    void name(ARGUMENT(name, 0) a, ARGUMENT(name, 1) b) { Call(#name, a), Attach(NodeOf(a), b, &Node::slot); }

// clang-format off
int QBInitConfig(const lkchar* a) { Call(__func__, a); return !TheState().configured.exchange(true); }
MODULE_TEXT(QBGetModulePath, u"/引擎/libqbsvrl6.so")
MODULE_TEXT(QBGetModuleVersion, u"6.0 recording")
MODULE_TEXT(QBGetModuleInfo, u"any")

tagQBReport* QBReportCreate() { return Create(); }
FUNCTION1(QBReportRelease, Release(node))
FUNCTION2(QBObjectAssign, node && b ? node->bytes = NodeOf(b)->bytes : "")
FUNCTION2(QBReportLoadFromFile, (Load(node, b), done))
FUNCTION2(QBReportSaveToFile, done)
FUNCTION2(QBReportSetBackImageFile, done)

FUNCTION2(QBReportLoadDataFromURL, done)
FUNCTION2(QBReportExtractXMLFromURL, done ? Give(node, u"<数据 of=\"" + std::u16string(b) + u"\"/>") : nullptr)
FUNCTION1(QBReportGetQuerySQL, done ? Give(node, node->value) : node ? nullptr : u"")
FUNCTION2(QBReportSetQuerySQL, node ? node->value = b : u"")
FUNCTION2(QBReportSetConnectionString, done)
FUNCTION1(QBReportGetDetailGrid, node && node->parts.contains("grid") ? Part(node, "grid") : Handle{})
FUNCTION1(QBDetailGridGetRecordset, Part(node, "recordset"))
FUNCTION2(QBDetailGridSetPrintAdaptMethod, done)
FUNCTION1(QBRecordsetGetQuerySQL, done ? Give(node, node->value) : u"")
FUNCTION2(QBRecordsetSetQuerySQL, node ? node->value = b : u"")
FUNCTION2(QBRecordsetSetConnectionString, done)

FUNCTION2(QBReportExportDirectToBinaryObject, (node ? Handle{node->AddOption(b)->report->Export(__func__)} : Handle{}))
FUNCTION5(QBReportExportDirect, node && node->AddOption(b)->report->Export(__func__))
FUNCTION2(QBReportPrepareExport, (node ? Handle{node->AddOption(b)} : Handle{}))
FUNCTION1(QBReportExportToBinaryObject, (node ? Handle{node->Export(__func__)} : Handle{}))
FUNCTION2(QBReportExport, node && node->Export(__func__))
FUNCTION1(QBReportUnprepareExport, node && (node->EndDocument(), true))
FUNCTION1(QBBinaryObjectGetDataSize, node ? node->bytes.size() : 0)
FUNCTION1(QBBinaryObjectGetDataBuf, node ? node->bytes.data() : nullptr)

FUNCTION1(QBExportOptionGetExportType, node ? node->type : 0)
FUNCTION2(QBExportOptionSetFileName, done)
FUNCTION1(QBExportOptionGetAsE2CellOption, Part(node, "cell"))
FUNCTION1(QBExportOptionGetAsE2XLSOption, Part(node, "xls"))
FUNCTION1(QBExportOptionGetAsE2IMGOption, Part(node, "img"))
FUNCTION1(QBExportOptionGetAsE2PDFOption, Part(node, "pdf"))
FUNCTION2(QBE2CellOptionSetSameAsPrint, done)
FUNCTION2(QBE2CellOptionSetExportPageBreak, done)
FUNCTION2(QBE2CellOptionSetExportPageHeaderFooter, done)
FUNCTION2(QBE2CellOptionSetOnlyExportDetailGrid, done)
FUNCTION2(QBE2XLSOptionSetToXlsxFormat, done)
FUNCTION2(QBE2IMGOptionSetImageType, done)
FUNCTION2(QBE2IMGOptionSetAllInOne, done)
FUNCTION2(QBE2PDFOptionSetFontEmbedding, done)

FUNCTION1(QBReportGetReportHeaders, Part(node, "headers"))
FUNCTION1(QBReportHeadersAdd, (node ? Handle{node->report->Add("section")} : Handle{}))
FUNCTION2(QBSectionSetHeight, done)
FUNCTION2(QBSectionSetCanGrow, done)
FUNCTION1(QBSectionGetControls, Part(node, "controls"))
FUNCTION2(QBControlsAdd, (node ? Handle{node->report->AddControl(b)} : Handle{}))
FUNCTION1(QBControlGetControlType, node ? node->type : 0)
FUNCTION1(QBControlGetName, done ? Give(node, node->value) : nullptr)
FUNCTION1(QBControlGetAsSubReport, Part(node, "sub"))
FUNCTION1(QBSubReportGetReport, (node ? Handle{node->report} : Handle{}))
FUNCTION1(QBReportFindFirstControl, Walk(node, 0))
FUNCTION1(QBReportFindNextControl, Walk(node, node ? node->walk + 1 : 0))

FUNCTION1(QBReportGetPrinter, Part(node, "printer"))
FUNCTION1(QBPrinterGetPrinterName, !done ? nullptr : Give(node, node->value.empty() ? u"recording printer" : node->value))
FUNCTION2(QBPrinterSetPrinterName, node ? node->value = b : u"")
FUNCTION2(QBReportPrint, done)
FUNCTION1(QBReportGetFont, Part(node, "font"))

FUNCTION5(QBChartLoadDataFromXML, done)
FUNCTION3(QBChartLoadXYDataFromXML, done)
FUNCTION3(QBChartLoadXYZDataFromXML, done)
FUNCTION2(QBChartSetSeriesCount, done)
FUNCTION3(QBChartSetSeriesLabel, done)

EVENT(QBAttachEventExportBegin, exportBegin)
EVENT(QBAttachEventInitialize, initialize)
EVENT(QBAttachEventChartRequestData, chartRequestData)

FUNCTION1(QBReportGetUtility, Part(node, "utility"))
FUNCTION3(QBUtilityNumberFormat, done ? Give(node, u"一个数") : nullptr)
const lkchar* QBGenerateBarcodeGraph(const lkchar* a) { return Call(__func__, a) ? u"<svg>条码</svg>" : nullptr; }
// clang-format on
