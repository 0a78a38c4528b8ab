// Event handlers that the driver attaches to reports. A handler is made with `new` just before it is attached
// and belongs to the report from then on.
#ifndef QBSVR_DRIVER_EVENTS_H
#define QBSVR_DRIVER_EVENTS_H

#include "driver/engine.h"

// Images are exported with all pages in one.
class CqbExportBeginEventInfo : public quillbrook::CqbExportEventInfo {
public:
    void Execute(tagQBExportOption* option) override;
};

// PDF is exported with its fonts embedded.
class CqbExportBeginEventInfo2 : public quillbrook::CqbExportEventInfo {
public:
    void Execute(tagQBExportOption* option) override;
};

// Spreadsheets are exported as .xlsx, also by an export that has no step at which to set options.
class CqbExportBeginEventXLSX : public quillbrook::CqbExportEventInfo {
public:
    void Execute(tagQBExportOption* option) override;
};

// Prints that it was called.
class CqbInitializeEventInfo : public quillbrook::CqbGeneralEventInfo {
public:
    void Execute() override;
};

// The directory of "Chart.qbf" and its four data files, closed by "/". Independent of the command line.
extern wstr chartDataPath;

// Fills a chart that asks for its data while its report is exported, by its name: "ChartBar", "ChartPie",
// "ChartScatterLine" or "ChartBubble", case included. Other charts stay as they are.
class CqbChartRequestDataEventInfo : public quillbrook::CqbChartEventInfo {
public:
    // `servedReport` is the report to which the handler is attached; the data is read through it.
    explicit CqbChartRequestDataEventInfo(tagQBReport* servedReport = nullptr) : report(servedReport) {}

    // Ends the process with a clear message when the engine gives no name or no data: an exception must not
    // pass through the engine, which is the caller.
    void Execute(tagQBChart* chart) noexcept override;

    tagQBReport* report;
};

#endif
