#include "driver/events.h"

#include <cstdio>

using namespace quillbrook;

wstr chartDataPath = L"/home/developer/tomcat/webapps/jspreport/server/07.Chart/RequestData/";

namespace {

void FeedBar(tagQBChart* chart, const lkchar* xml) { QBChartLoadDataFromXML(chart, xml, 1, 1, 1); }
void FeedPie(tagQBChart* chart, const lkchar* xml) { QBChartLoadDataFromXML(chart, xml, 0, 0, 1); }
void FeedScatterLine(tagQBChart* chart, const lkchar* xml) { QBChartLoadXYDataFromXML(chart, xml, 1); }
void FeedBubble(tagQBChart* chart, const lkchar* xml) { QBChartLoadXYZDataFromXML(chart, xml, 1); }

void PreparePie(tagQBChart* chart) {
    QBChartSetSeriesCount(chart, 3);
    QBChartSetSeriesLabel(chart, 0, u"张三");
    QBChartSetSeriesLabel(chart, 1, u"李四");
    QBChartSetSeriesLabel(chart, 2, u"王五");
}

struct ChartFeed {
    const lkchar* chartName;
    const wchar_t* dataFile;
    void (*prepare)(tagQBChart* chart);  // null: nothing to prepare
    void (*feed)(tagQBChart* chart, const lkchar* xml);
};

// The pie and the bars read files of the same form.
constexpr ChartFeed kFeeds[] = {
    {u"ChartBar", L"xmlBar1.txt", nullptr, FeedBar},
    {u"ChartPie", L"xmlBar2.txt", PreparePie, FeedPie},
    {u"ChartScatterLine", L"xmlXYScatter.txt", nullptr, FeedScatterLine},
    {u"ChartBubble", L"xmlXYZBubble.txt", nullptr, FeedBubble},
};

const ChartFeed* FindFeed(const lkstr& chartName) {
    for (const ChartFeed& entry : kFeeds) {
        if (chartName == entry.chartName) return &entry;
    }
    return nullptr;
}

// The engine accepts a chart wherever it accepts a control.
lkstr ChartName(tagQBChart* chart) {
    return RequireText(QBControlGetName(reinterpret_cast<tagQBControl*>(chart)), "QBControlGetName");
}

}  // namespace

void CqbExportBeginEventInfo::Execute(tagQBExportOption* option) {
    if (QBExportOptionGetExportType(option) != QBExportType_IMG) return;
    QBE2IMGOptionSetAllInOne(QBExportOptionGetAsE2IMGOption(option), true);
}

void CqbExportBeginEventInfo2::Execute(tagQBExportOption* option) {
    if (QBExportOptionGetExportType(option) != QBExportType_PDF) return;
    QBE2PDFOptionSetFontEmbedding(QBExportOptionGetAsE2PDFOption(option), true);
}

void CqbExportBeginEventXLSX::Execute(tagQBExportOption* option) {
    if (QBExportOptionGetExportType(option) != QBExportType_XLS) return;
    QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), true);
}

void CqbInitializeEventInfo::Execute() { std::puts("OnInitialize fired from CqbInitializeEventInfo."); }

void CqbChartRequestDataEventInfo::Execute(tagQBChart* chart) noexcept {
    const ChartFeed* entry = FindFeed(ChartName(chart));
    if (!entry) return;
    if (entry->prepare) entry->prepare(chart);
    const lkstr dataFile = EngineText(chartDataPath + entry->dataFile);
    const lkstr xml =
        RequireText(QBReportExtractXMLFromURL(report, dataFile.c_str()), "QBReportExtractXMLFromURL");
    entry->feed(chart, xml.c_str());
}
