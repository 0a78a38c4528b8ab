// A program of calls of the C interface: each line of the input is a letter for the call and its argument. No call
// ends the process, whatever came before; nothing is read from files or the network.
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include "engine/qbsvr_more.h"
#include "fuzz/whole_engine.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/support/utf.h"

using namespace quillbrook;

namespace {

constexpr int kMostExports = 2;  // of one input
constexpr int kMostCalls = 100;

class Report {
public:
    Report() : report_(QBReportCreate()) { limit(); }
    ~Report() { QBReportRelease(report_); }
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;
    operator tagQBReport*() const { return report_; }

    void limit() {
        qbsvrl6::Budget budget = qbsvrl6::smallBudget();
        budget.pixels = 20'000;  // engine_fuzz draws larger pages
        qbsvrl6::runtimeOf(*reinterpret_cast<qbsvrl6::Report*>(report_)).budget = budget;
    }

private:
    tagQBReport* report_;
};

int numberIn(std::string_view text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

// Options that read files, or compress whole fonts of this machine. The keys of a protected document take
// milliseconds and are random, so that each of them looks new: those of the first options are enough.
bool isLeftOut(const std::string& option) {
    static int protections = 0;
    const bool isProtection = option == "permissions" || option.ends_with("er-password");
    return option.starts_with("sign-") || option == "whole-fonts" || option == "xmp" ||
           (isProtection && ++protections > 3);
}

struct TakesThem {
    static int document(void* context, const void* bytes, std::uint64_t size) {
        if (size > 0 && bytes == nullptr) std::abort();
        return ++*static_cast<int*>(context) < 3;
    }
    static int progress(void* context, const QBXProgress*) { return ++*static_cast<int*>(context) < 20; }
};

// The rest of a line, divided at "|".
class Arguments {
public:
    explicit Arguments(std::string_view text) : rest_(text) {}
    std::string next() {
        const std::string_view part = rest_.substr(0, rest_.find('|'));
        rest_.remove_prefix(std::min(rest_.size(), part.size() + 1));
        return std::string(part);
    }
    std::string rest() const { return std::string(rest_); }

private:
    std::string_view rest_;
};

// Two rows, in the types of the interface.
struct Rows {
    std::string value;
    int left = 2;

    static int next(void* context, QBXRow* row) {
        Rows& rows = *static_cast<Rows*>(context);
        if (rows.left-- == 0) return rows.value == "fail" ? -1 : 0;
        QBXRowSetText(row, 0, rows.value.data(), rows.value.size());
        QBXRowSetInteger(row, 1, numberIn(rows.value));
        QBXRowSetNumber(row, 2, numberIn(rows.value) / 7.0);
        QBXRowSetDecimal(row, 3, rows.value.c_str());
        QBXRowSetBoolean(row, 4, rows.left);
        QBXRowSetDate(row, 5, rows.value.c_str());
        return 1;
    }
};

// Fills charts with the XML of the input, or throws.
class OnChart : public CqbChartEventInfo {
public:
    explicit OnChart(std::string_view xml) : xml_(qbsvrl6::toUtf16(xml)) {}
    void Execute(tagQBChart* chart) override {
        if (xml_.empty()) throw std::runtime_error("a handler's");
        QBChartSetSeriesCount(chart, 2);
        QBChartSetSeriesLabel(chart, 1, xml_.c_str());
        QBChartLoadDataFromXML(chart, xml_.c_str(), 1, 1, 1);
        QBChartLoadXYDataFromXML(chart, xml_.c_str(), 1);
        QBChartLoadXYZDataFromXML(chart, xml_.c_str(), 0);
    }

private:
    std::u16string xml_;
};

class OnExport : public CqbExportEventInfo {
public:
    void Execute(tagQBExportOption* option) override {
        QBE2CellOptionSetSameAsPrint(QBExportOptionGetAsE2CellOption(option), 1);
        QBE2PDFOptionSetFontEmbedding(QBExportOptionGetAsE2PDFOption(option), 0);
        QBE2IMGOptionSetImageType(QBExportOptionGetAsE2IMGOption(option), QBImageType_PNG);
    }
};

class OnInitialize : public CqbGeneralEventInfo {
public:
    OnInitialize(tagQBReport* report, bool cancels) : report_(report), cancels_(cancels) {}
    void Execute() override {
        QBReportFindFirstControl(report_);
        QBXReportLoadTemplate(report_, "", 0, "");  // refused
        if (cancels_) QBXReportCancel(report_);
    }

private:
    tagQBReport* report_;
    bool cancels_;
};

class Session {
public:
    void call(char letter, const std::string& text) {
        if (++calls_ > kMostCalls) return;
        Arguments arguments(text);
        const std::u16string wide = qbsvrl6::toUtf16(text);
        switch (letter) {
            case 'T':
                QBXReportLoadTemplate(report_, text.data(), text.size(), "fuzz");
                break;
            case 'D': {
                const std::string kind = arguments.next(), data = arguments.rest();
                QBXReportLoadData(report_, kind.c_str(), data.data(), data.size(), "data");
                break;
            }
            case 'R':
                loadRows(arguments.next(), arguments.next());
                break;
            case 'P': {
                const std::string name = arguments.next();
                QBXReportSetParameter(report_, name.c_str(), arguments.rest().c_str());
                break;
            }
            case 'F':
                QBXReportPrepareExport(report_, text.c_str());
                break;
            case 'O': {
                const std::string name = arguments.next();
                if (isLeftOut(name)) break;
                QBXReportSetExportOption(report_, name.c_str(), arguments.rest().c_str());
                break;
            }
            case 'Y': {
                const int type = numberIn(arguments.next());
                const std::string name = arguments.next();
                if (!isLeftOut(name)) prepare(type, name, arguments.rest());
                break;
            }
            case 'X':
                if (++exports_ <= kMostExports) exportAs(numberIn(text));
                break;
            case 'C':
                QBAttachEventChartRequestData(report_, new OnChart(text));
                break;
            case 'E':
                QBAttachEventExportBegin(report_, new OnExport());
                QBAttachEventInitialize(report_, new OnInitialize(report_, text == "cancel"));
                break;
            case 'A':
                addControls(numberIn(text));
                break;
            case 'Q':
                query(wide);
                break;
            case 'U':
                QBUtilityNumberFormat(QBReportGetUtility(report_), wide.c_str(), numberIn(text) / 16.0);
                break;
            case 'B':
                QBGenerateBarcodeGraph(wide.c_str());
                break;
            case 'S': {
                const Report other;
                QBObjectAssign(other, report_);
                QBObjectAssign(report_, other);
                report_.limit();
                break;
            }
            case 'K':
                setLimits(static_cast<unsigned>(numberIn(text)));
                break;
            case 'G':
                QBDetailGridSetPrintAdaptMethod(QBReportGetDetailGrid(report_),
                                                static_cast<tagQBColumnPrintAdaptMethod>(numberIn(text)));
                break;
            case 'W': {
                const std::string folders = arguments.next(), hosts = arguments.rest();
                const QBXReach reach = {sizeof reach, folders.c_str(), hosts.c_str()};
                QBXReportSetReach(report_, &reach);
                break;
            }
            case 'L':
                loadFrom(arguments.next(), arguments.rest());
                break;
            default:
                describe();
        }
        QBXMessage error = {};
        error.size = sizeof error;
        if (QBXReportGetLastError(report_, &error) != 0 && error.text == nullptr) std::abort();
    }

private:
    void loadRows(const std::string& table, const std::string& value) {
        constexpr std::array<const char*, 6> kColumns{"t", "n", "v", "d", "b", "at"};
        Rows rows{value};
        QBXReportLoadRows(report_, table.c_str(), kColumns.data(), kColumns.size(), &Rows::next, &rows);
    }

    // Prepares an export by its type, with all options of the interface.
    void prepare(int type, const std::string& name, const std::string& value) {
        tagQBExportOption* const option = QBReportPrepareExport(report_, static_cast<tagQBExportType>(type));
        QBXExportOptionSet(option, name.c_str(), value.c_str());
        QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option),
                                     static_cast<int>(value.size() % 2));
        QBE2CellOptionSetExportPageBreak(QBExportOptionGetAsE2CellOption(option), 1);
        QBE2CellOptionSetExportPageHeaderFooter(QBExportOptionGetAsE2CellOption(option), 0);
        QBE2CellOptionSetOnlyExportDetailGrid(QBExportOptionGetAsE2CellOption(option), 1);
        QBE2IMGOptionSetAllInOne(QBExportOptionGetAsE2IMGOption(option), 1);
        QBExportOptionSetFileName(option, u"");
        QBExportOptionGetExportType(option);
    }

    void exportAs(int type) {
        int count = 0;
        const void* bytes = nullptr;
        std::uint64_t size = 0;
        QBXReportSetProgress(report_, &TakesThem::progress, &count);
        if (type == 0) {
            if (QBXReportExportToMemory(report_, &bytes, &size) != 0 && bytes == nullptr) std::abort();
        } else if (type == 8) {
            QBXReportExportToWriter(report_, &TakesThem::document, &count);
        } else if (type == 9) {
            QBReportExportToBinaryObject(report_);
        } else {
            tagQBBinaryObject* const object =
                QBReportExportDirectToBinaryObject(report_, static_cast<tagQBExportType>(type));
            if (object != nullptr && QBBinaryObjectGetDataBuf(object) == nullptr) std::abort();
            QBBinaryObjectGetDataSize(object);
        }
        QBXReportSetProgress(report_, nullptr, nullptr);
        QBXReportGetPageCount(report_);
    }

    // A header with a control of a type, then the same in the report of a sub-report.
    void addControls(int type) {
        tagQBReport* report = report_;
        for (int depth = 0; depth < 2 && report != nullptr; ++depth) {
            tagQBSection* const section = QBReportHeadersAdd(QBReportGetReportHeaders(report));
            QBSectionSetHeight(section, type / 4.0);
            QBSectionSetCanGrow(section, type % 2);
            tagQBControl* const control =
                QBControlsAdd(QBSectionGetControls(section), static_cast<tagQBControlType>(type % 11));
            QBControlGetName(control);
            report = QBSubReportGetReport(QBControlGetAsSubReport(control));
        }
    }

    void query(const std::u16string& text) {
        tagQBRecordset* const recordset = QBDetailGridGetRecordset(QBReportGetDetailGrid(report_));
        QBReportSetQuerySQL(report_, text.c_str());
        QBRecordsetSetQuerySQL(recordset, QBReportGetQuerySQL(report_));
        QBReportSetQuerySQL(report_, QBRecordsetGetQuerySQL(recordset));
        QBReportSetBackImageFile(report_, text.c_str());
        QBPrinterSetPrinterName(QBReportGetPrinter(report_), text.c_str());
        QBPrinterGetPrinterName(QBReportGetPrinter(report_));
    }

    // Only what reads no database.
    void loadFrom(const std::string& connection, const std::string& name) {
        if (connection.find(':') != std::string::npos) return;
        const std::u16string wide = qbsvrl6::toUtf16(connection);
        QBXReportLoadDataFrom(report_, connection.c_str(), name.c_str());
        QBReportLoadDataFromURL(report_, qbsvrl6::toUtf16(name).c_str());
        QBReportExtractXMLFromURL(report_, qbsvrl6::toUtf16(name).c_str());
        QBReportSetConnectionString(report_, wide.c_str());
        QBRecordsetSetConnectionString(QBDetailGridGetRecordset(QBReportGetDetailGrid(report_)),
                                       wide.c_str());
    }

    // Limits of another report, and of the process for a moment.
    void setLimits(std::uint64_t figure) {
        QBXBudget budget = {};
        budget.size = figure % (2 * sizeof budget);
        budget.pages = budget.cells = budget.fetches = budget.documentBytes = figure;
        const Report other;
        QBXReportSetBudget(other, &budget);
        QBXReportSetBudget(other, nullptr);
        QBXSetBudget(&budget);
        if (QBXGetBudget(&budget) != 0 && budget.pages == 0) std::abort();
        QBXSetBudget(nullptr);
        const QBXReach reach = {sizeof reach, nullptr, "none"};
        QBXSetReach(&reach);
        QBXReportSetReach(other, &reach);
        QBXReportSetReach(other, nullptr);
        QBXSetReach(nullptr);
        QBXMessage error = {};
        error.size = sizeof error;
        QBXGetLastError(&error);
    }

    // What the engine can do.
    static void describeEngine() {
        QBXFormat format = {};
        format.size = sizeof format;
        for (std::uint64_t i = 0; QBXGetFormat(i, &format) != 0; ++i) {
            if (format.name == nullptr || format.description == nullptr) std::abort();
        }
        QBXGetFontFamily(0);
        QBGetModulePath();
        QBGetModuleVersion();
        QBGetModuleInfo();
    }

    // Reads everything that a program can ask for.
    void describe() {
        describeEngine();
        QBReportGetFont(report_);
        QBXReportCheck(report_);
        QBXReportLocateItems(
            report_, [](void*, const QBXShownItem* item) { return item->line < 50 ? 1 : 0; }, nullptr);
        for (int kind = QBXItemKind_Parameter; kind <= QBXItemKind_File; ++kind) {
            const auto known = static_cast<QBXItemKind>(kind);
            const std::uint64_t count = QBXReportGetItemCount(report_, known);
            for (std::uint64_t i = 0; i < count; ++i) {
                QBXItem item = {};
                item.size = sizeof item;
                if (QBXReportGetItem(report_, known, i, &item) == 0 || item.name == nullptr) std::abort();
            }
        }
        for (std::uint64_t i = QBXReportGetMessageCount(report_); i > 0; --i) {
            QBXMessage message = {};
            message.size = sizeof message;
            if (QBXReportGetMessage(report_, i - 1, &message) == 0 || message.text == nullptr) std::abort();
        }
        for (tagQBControl* control = QBReportFindFirstControl(report_); control != nullptr;
             control = QBReportFindNextControl(report_)) {
            QBControlGetControlType(control);
        }
        QBXReportClearMessages(report_);
    }

    Report report_;
    int calls_ = 0, exports_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    qbsvrl6::leaveNoLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size > qbsvrl6::kMaxSize) return 0;
    std::string_view lines(reinterpret_cast<const char*>(bytes), size);
    Session session;
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(std::min(lines.size(), line.size() + 1));
        if (!line.empty()) session.call(line.front(), std::string(line.substr(1)));
    }
    return 0;
}
