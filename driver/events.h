// Event handlers that the driver attaches to reports. A handler is created with `new` just before it is
// attached; from then on, it belongs to the report.
#ifndef QBSVR_DRIVER_EVENTS_H
#define QBSVR_DRIVER_EVENTS_H

#include "driver/engine.h"

// Exports images with all pages in one.
class CqbExportBeginEventInfo : public quillbrook::CqbExportEventInfo {
public:
    void Execute(tagQBExportOption* option) override;
};

// Exports PDF with embedded fonts.
class CqbExportBeginEventInfo2 : public quillbrook::CqbExportEventInfo {
public:
    void Execute(tagQBExportOption* option) override;
};

// Exports spreadsheets as .xlsx, even in exports that have no step for setting options.
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

// Fills a chart during the export of its report, according to the chart's name: "ChartBar", "ChartPie",
// "ChartScatterLine" or "ChartBubble", case-sensitive. Other charts are not changed.
class CqbChartRequestDataEventInfo : public quillbrook::CqbChartEventInfo {
public:
    // `servedReport` is the report to which the handler is attached; the data is read through it.
    explicit CqbChartRequestDataEventInfo(tagQBReport* servedReport = nullptr) : report(servedReport) {}

    // Ends the process with a message if the engine returns no name or no data: an exception must not pass
    // through the engine, which is the caller.
    void Execute(tagQBChart* chart) noexcept override;

    tagQBReport* report;
};

#endif
