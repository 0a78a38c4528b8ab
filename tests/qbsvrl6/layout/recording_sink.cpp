#include "tests/qbsvrl6/layout/recording_sink.h"

#include <gtest/gtest.h>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/template_io.h"

namespace qbsvrl6 {

namespace {

const char* nameOf(BandKind kind) {
    switch (kind) {
        case BandKind::PageHeader:
            return "PageHeader";
        case BandKind::ReportHeader:
            return "ReportHeader";
        case BandKind::GridTitle:
            return "GridTitle";
        case BandKind::GroupHeader:
            return "GroupHeader";
        case BandKind::Row:
            return "Row";
        case BandKind::BlankRow:
            return "BlankRow";
        case BandKind::GroupFooter:
            return "GroupFooter";
        case BandKind::ReportFooter:
            return "ReportFooter";
        case BandKind::PageFooter:
            return "PageFooter";
    }
    return "?";
}

std::string millimetres(Micrometres length) {
    std::string text = std::to_string(length / 1000);
    if (length % 1000 == 0) return text;
    std::string rest = std::to_string(std::abs(length % 1000));
    rest.insert(0, 3 - rest.size(), '0');
    rest.erase(rest.find_last_not_of('0') + 1);
    return (length < 0 && length > -1000 ? "-" : "") + text + "." + rest;
}

std::string place(Micrometres x, Micrometres y, Micrometres width, Micrometres height) {
    return millimetres(x) + "," + millimetres(y) + " " + millimetres(width) + "x" + millimetres(height);
}

std::string lineOf(const RecordingSink::RecordedBand& recorded) {
    const Band& band = recorded.band;
    return std::string(nameOf(band.kind)) + " " + place(recorded.x, recorded.y, band.width, band.height) +
           (band.inGrid ? " grid" : "") + (band.repeated ? " again" : "");
}

std::string describe(const Item& item) {
    static constexpr const char* kNames[] = {"text", "line", "box", "picture", "drawing"};
    std::string text = std::string(kNames[item.content.index()]) + " " +
                       place(item.box.x, item.box.y, item.box.width, item.box.height);
    if (std::holds_alternative<TextItem>(item.content)) text += " \"" + textOf(item) + "\"";
    return text;
}

ReportDefinition reportOf(const std::string& elements) {
    const std::string head =
        "<Report version=\"1\"><DefaultStyle font=\"DejaVu Sans\" fontSize=\"8pt\" padding=\"0mm\"/>";
    return readTemplate(head + elements + "</Report>", "test");
}

}  // namespace

std::string textOf(const Item& item) {
    const auto* const text = std::get_if<TextItem>(&item.content);
    if (text == nullptr) return {};
    if (text->lines.empty()) return toUtf8(text->text);
    std::string shown;
    for (const PlacedLine& line : text->lines) {
        if (!shown.empty()) shown += "|";
        shown +=
            toUtf8(std::u16string_view(text->lineText()).substr(line.line.firstUnit, line.line.unitCount));
    }
    return shown;
}

void RecordingSink::beginPage(const PageInfo& page) {
    EXPECT_FALSE(inPage_);
    inPage_ = true;
    pages.emplace_back();
    EXPECT_EQ(page.number, static_cast<int>(pages.size()));
}

void RecordingSink::band(Band&& band, Micrometres x, Micrometres y) {
    EXPECT_TRUE(inPage_);
    EXPECT_TRUE(pages.back().empty() || y >= pages.back().back().y);
    for (const Item& item : band.items) {
        EXPECT_NE(item.style, nullptr);
        EXPECT_GE(item.box.y, 0) << lineOf({band, x, y});
        EXPECT_LE(item.box.bottom(), band.height) << lineOf({band, x, y}) << describe(item);
    }
    pages.back().push_back({std::move(band), x, y});
}

void RecordingSink::endPage() {
    EXPECT_TRUE(inPage_);
    inPage_ = false;
}

void RecordingSink::finish(PendingTexts& pending) {
    EXPECT_FALSE(inPage_ || finished);
    finished = true;
    for (auto& page : pages) {
        for (RecordedBand& recorded : page) {
            for (Item& item : recorded.band.items) {
                pending.settle(item);
                const auto* const text = std::get_if<TextItem>(&item.content);
                EXPECT_FALSE(text != nullptr && text->pending);
                item.style = nullptr;  // dies with the layout
            }
        }
    }
}

std::vector<std::string> RecordingSink::pageTexts() const {
    std::vector<std::string> texts;
    for (const auto& page : pages) {
        std::string& all = texts.emplace_back();
        for (const RecordedBand& recorded : page) {
            for (const Item& item : recorded.band.items) {
                const std::string text = textOf(item);
                if (text.empty()) continue;
                all += (all.empty() ? "" : " ") + text;
            }
        }
    }
    return texts;
}

std::vector<std::string> RecordingSink::bandLines() const {
    std::vector<std::string> lines;
    for (const auto& page : pages) {
        lines.push_back("page " + std::to_string(&page - pages.data() + 1));
        for (const RecordedBand& recorded : page) lines.push_back(lineOf(recorded));
    }
    return lines;
}

std::string RecordingSink::everything() const {
    std::string all;
    for (const auto& page : pages) {
        all += "page " + std::to_string(&page - pages.data() + 1) + "\n";
        for (const RecordedBand& recorded : page) {
            all += " " + lineOf(recorded) + "\n";
            for (const Item& item : recorded.band.items) all += "  " + describe(item) + "\n";
        }
    }
    return all;
}

RecordingSink layOutText(const std::string& elements, const std::string& json, const LayoutOptions& options) {
    RecordingSink sink;
    layOutInto(elements, json, options, sink);
    EXPECT_TRUE(sink.finished);
    return sink;
}

void layOutInto(const std::string& elements, const std::string& json, const LayoutOptions& options,
                PageSink& sink) {
    const ReportDefinition report = reportOf(elements);
    ReportData data;
    data.sets[&report] = std::make_shared<DataSet>(readData(json, "data"));
    layOut(report, data, options, sink);
}

std::vector<Micrometres> cutsOf(const std::string& elements, const LayoutOptions& options) {
    return columnEdges(reportOf(elements), options);
}

std::string numberedRows(int count) {
    std::string rows;
    for (int i = 1; i <= count; ++i) rows += (i > 1 ? "," : "") + ("{\"n\":" + std::to_string(i) + "}");
    return "[" + rows + "]";
}

}  // namespace qbsvrl6
