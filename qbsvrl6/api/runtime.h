// What the C interface keeps with a report besides its definition.
#ifndef QBSVR_QBSVRL6_API_RUNTIME_H
#define QBSVR_QBSVRL6_API_RUNTIME_H

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "engine/qbsvr.h"
#include "qbsvrl6/api/data_cache.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/model/export_options.h"
#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

struct BinaryObject {
    std::string bytes;
};

// Event handlers that belong to a report.
struct EventHandlers {
    std::unique_ptr<quillbrook::CqbExportEventInfo> exportBegin;
    std::unique_ptr<quillbrook::CqbGeneralEventInfo> initialize;
    std::unique_ptr<quillbrook::CqbChartEventInfo> chartRequestData;
};

struct Runtime : ReportRuntime {
    // Makes the report known as alive, for as long as its runtime lives.
    explicit Runtime(Report& owner);
    ~Runtime() override;
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;

    // Forgets what belongs to the template that is about to be replaced; handlers stay.
    void forgetTemplate();

    // Keeps the bytes of an export for the caller until they are dropped. limits.h tells how much is kept for
    // a caller that never drops them.
    BinaryObject* keepResult(std::string bytes);
    void dropResults();

    Report& report;
    bool created = false;        // by QBReportCreate, so that QBReportRelease may free it
    std::string templateFile;    // where the definition came from (UTF-8), for the log; empty: from nowhere
    std::string failedTemplate;  // the file that the last call could not load; empty: it could

    EventHandlers handlers;
    std::vector<EventHandlers> retiredHandlers;  // replaced during an export

    std::vector<Control*> walk;    // the controls of the walk under way ...
    std::size_t walkPosition = 0;  // ... and the next one

    bool prepared = false;
    ExportOptions preparedOptions;
    ExportOptions directOptions;  // handed to the event of an export without a prepare

    std::shared_ptr<const DataSet> loadedData;  // of QBReportLoadDataFromURL
    DataCache dataCache;

    // Texts handed out.
    std::u16string extractedXml;
    std::u16string formattedNumber;
    std::u16string printerUsed;

private:
    std::deque<BinaryObject> results_;
    std::size_t keptBytes_ = 0;
};

// The report's runtime, made if there is none yet.
Runtime& runtimeOf(Report& report);

// Null where the report has none, as sub-reports that nobody has asked for.
Runtime* findRuntime(Report& report);

}  // namespace qbsvrl6

#endif
