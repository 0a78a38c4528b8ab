// Charts that ask for their data while their report is exported, and the sample that feeds them.
#ifndef QBSVR_DRIVER_CHART_DATA_H
#define QBSVR_DRIVER_CHART_DATA_H

#include "driver/driver_types.h"

// The directory of "Chart.qbf" and its four data files, closed by "/". Independent of the command line.
extern wstr chartDataPath;

// Feeds a chart by its name: "ChartBar", "ChartPie", "ChartScatterLine" or "ChartBubble", case included.
// Other charts stay as they are.
class CqbChartRequestDataEventInfo : public quillbrook::CqbChartEventInfo {
public:
    // `servedReport` is the report to which the handler gets attached; the data is read through it.
    explicit CqbChartRequestDataEventInfo(tagQBReport* servedReport = nullptr) : report(servedReport) {}

    // Ends the process with a clear text when the engine gives no name or no data: an exception must not
    // travel through the engine that called.
    void Execute(tagQBChart* chart) noexcept override;

    tagQBReport* report;
};

// Exports "Chart.qbf" as "qb-datafromurl.pdf" below outPath. Raises ClkException when that can't be written.
void TestChartLoadDataFromURL();

#endif
