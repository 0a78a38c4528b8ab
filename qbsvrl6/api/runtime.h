// The state that the C interface stores with a report besides its definition.
#ifndef QBSVR_QBSVRL6_API_RUNTIME_H
#define QBSVR_QBSVRL6_API_RUNTIME_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/data_cache.h"
#include "qbsvrl6/api/known_handles.h"
#include "qbsvrl6/api/report_items.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/model/export_options.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/messages.h"
#include "qbsvrl6/support/reach.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

// The result of an export. Its bytes never move.
class BinaryObject {
public:
    // Bytes that are in a file stay there. Raises MachineError if that file can't be mapped into memory.
    explicit BinaryObject(Spool bytes);
    ~BinaryObject();
    BinaryObject(const BinaryObject&) = delete;
    BinaryObject& operator=(const BinaryObject&) = delete;

    std::string_view bytes() const { return mapped_.empty() ? std::string_view(memory_) : mapped_; }
    // Moves bytes in memory to a temporary file. If that fails, they stay in memory and the result is false.
    // Call it before the address of the bytes is passed on.
    [[nodiscard]] bool moveToFile();

private:
    void map(const TemporaryFile& file);

    std::string memory_;
    std::string_view mapped_;
};

// The handlers of one event. Only the last one attached is called. The others live as long as the report:
// they may be running, and the program may still refer to them.
template <class Handler>
class HandlerSlot {
public:
    // Takes ownership, unless it raises. Null: none is called.
    void set(Handler* handler) {
        if (handler != nullptr) {
            const auto [place, isNew] = owned_.try_emplace(handler);
            if (isNew) place->second.reset(handler);
        }
        current_ = handler;
    }
    Handler* current() const { return current_; }

private:
    Handler* current_ = nullptr;
    std::unordered_map<Handler*, std::unique_ptr<Handler>> owned_;
};

// Event handlers that belong to a report.
struct EventHandlers {
    HandlerSlot<quillbrook::CqbExportEventInfo> exportBegin;
    HandlerSlot<quillbrook::CqbGeneralEventInfo> initialize;
    HandlerSlot<quillbrook::CqbChartEventInfo> chartRequestData;
};

struct Runtime : ReportRuntime {
    // Makes the report's handle known, for the report's lifetime.
    explicit Runtime(Report& owner);
    ~Runtime() override = default;
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;

    // Drops everything that belongs to the template, which is about to be replaced. Handlers stay attached.
    void forgetTemplate();

    // Stores the bytes of an export for the caller until they are dropped: in memory up to a limit, after
    // that in files.
    BinaryObject* keepResult(Spool bytes);
    void dropResults();

    // The handles of a report that is released read as null from here on.
    void forgetHandles() noexcept;

    HandleList ownHandles{*this};       // of the report and its export options
    HandleList templateHandles{*this};  // of what the definition consists of
    HandleList resultHandles{*this};

    Messages messages;  // about the report, for the program
    Report& report;
    bool created = false;                     // by QBReportCreate, so that QBReportRelease may free it
    std::string templateFile;                 // the definition's file (UTF-8), for the log; empty: none
    std::optional<Budget> budget;             // of this report's exports; none: that of the process
    std::shared_ptr<const ReachRules> reach;  // the same; null: those of the process
    std::string failedTemplate;  // the file that the last load failed to load; empty: it succeeded

    EventHandlers handlers;

    std::vector<Control*> walk;    // the controls of the current walk ...
    std::size_t walkPosition = 0;  // ... and the next one

    bool prepared = false;
    ExportOptions preparedOptions;
    ExportOptions directOptions;  // passed to the event of an export without a prepare

    std::uint64_t pageCount = 0;  // of the last export
    QBXOnProgress onProgress = nullptr;
    void* progressContext = nullptr;

    std::vector<ReportItem> items;  // of the last list that the program asked for
    int itemKind = 0;               // a QBXItemKind; 0: none

    std::shared_ptr<DataSet> ownRows;                     // of QBXReportLoadRows; it may be loadedData
    std::shared_ptr<const DataSet> loadedData;            // of QBReportLoadDataFromURL
    std::map<std::u16string, std::u16string> parameters;  // that the program has set, by name in lower case
    DataCache dataCache;

    // Texts returned to the caller.
    std::u16string extractedXml;
    std::u16string formattedNumber;
    std::u16string printerUsed;

private:
    std::deque<BinaryObject> results_;
    std::size_t bytesInMemory_ = 0;
};

// The report's runtime, made on first use.
Runtime& runtimeOf(Report& report);

// Null for a report without one, such as a sub-report that no program has accessed.
Runtime* findRuntime(Report& report);

}  // namespace qbsvrl6

#endif
