#include "tests/qbsvrl6/layout/recording_sink.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

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

std::string points(double size) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4gpt", size);
    return text;
}

std::string hexadecimal(const Color& color) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", color.red, color.green, color.blue);
    return text;
}

std::string lineOf(const RecordingSink::RecordedBand& recorded) {
    const Band& band = recorded.band;
    return std::string(nameOf(band.kind)) + " " + place(recorded.x, recorded.y, band.width, band.height) +
           (band.inGrid ? " grid" : "") + (band.repeated ? " again" : "") +
           (band.groupLevel > 0 ? " level " + std::to_string(band.groupLevel) : "") +
           (band.bookmark.empty() ? "" : " mark " + toUtf8(band.bookmark)) +
           (band.background ? " " + hexadecimal(*band.background) : "");
}

std::string describe(const TextItem& text, const Item& item) {
    std::string all = " \"" + textOf(item) + "\"";
    if (text.fontSize != 8) all += " " + points(text.fontSize);
    if (!text.link.empty()) all += " to " + toUtf8(text.link);
    return all;
}
std::string describe(const LineItem& item, const Item&) {
    return " " + millimetres(item.line.width) + (item.line.dashed ? " dashed" : "") +
           (item.line.rising ? " rising" : "");
}
std::string describe(const BoxItem& item, const Item&) {
    return " " + millimetres(item.box.line.width) + (item.box.fill ? " " + hexadecimal(*item.box.fill) : "") +
           (item.box.cornerRadius > 0 ? " round " + millimetres(item.box.cornerRadius) : "");
}
std::string describe(const PictureItem& item, const Item&) {
    return " at " + place(item.placed.x, item.placed.y, item.placed.width, item.placed.height) +
           (item.picture ? "" : " none") + " \"" + toUtf8(item.alternateText) + "\"";
}
std::string describe(const DrawingItem& item, const Item&) {
    std::string all = " \"" + toUtf8(item.alternateText) + "\"";
    if (item.drawing != nullptr && item.drawing->elements.size() == 1) {
        const auto* const note = std::get_if<Drawing::Label>(&item.drawing->elements[0]);
        if (note != nullptr) all += " " + toUtf8(note->text);
    }
    return all;
}

std::string describe(const Item& item) {
    static constexpr const char* kNames[] = {"text", "line", "box", "picture", "drawing"};
    return std::string(kNames[item.content.index()]) + " " +
           place(item.box.x, item.box.y, item.box.width, item.box.height) +
           std::visit([&](const auto& content) { return describe(content, item); }, item.content);
}

// Replaces a drawing with a text that describes it: its box and, for a chart, "title: a b; label 1 2; label
// (x,y,size)".
class DrawingNotes : public DrawingSource {
public:
    std::shared_ptr<const Drawing> barcode(const Control&, std::u16string_view text,
                                           const Rect& place) override {
        return note(place, toUtf8(text));
    }
    std::shared_ptr<const Drawing> chart(const Control&, const ChartSettings& settings, const ChartData& data,
                                         const Rect& at) override {
        std::ostringstream text;
        text << toUtf8(settings.title) << ':';
        for (const std::u16string& name : data.categories) text << ' ' << toUtf8(name);
        for (const ChartSeries& series : data.series) {
            text << "; " << toUtf8(series.label);
            for (const double value : series.values) text << ' ' << value;
            for (const ChartPoint& p : series.points)
                text << " (" << p.x << ',' << p.y << ',' << p.size << ')';
        }
        return note(at, text.str());
    }

private:
    static std::shared_ptr<const Drawing> note(const Rect& at, const std::string& text) {
        Drawing::Label label;
        label.text = toUtf16("at " + place(at.x, at.y, at.width, at.height) + " " + text);
        auto drawing = std::make_shared<Drawing>();
        drawing->elements.emplace_back(std::move(label));
        return drawing;
    }
};

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
    papers.push_back(page.paperKind == 0 ? ""
                                         : " on paper " + millimetres(page.paper.width) + 'x' +
                                               millimetres(page.paper.height));
}

void RecordingSink::band(Band&& band, Micrometres x, Micrometres y) {
    EXPECT_TRUE(inPage_);
    EXPECT_TRUE(pages.back().empty() || y >= pages.back().back().y);
    for (const Item& item : band.items) {
        EXPECT_NE(item.style, nullptr);
        EXPECT_GE(item.box.y, 0);
        EXPECT_LE(item.box.bottom(), band.height) << describe(item);
    }
    std::vector<std::string> colors;
    for (const Item& item : band.items) {
        const auto* const text = std::get_if<TextItem>(&item.content);
        const Color color = text != nullptr ? text->color.value_or(item.style->color) : Color{};
        colors.push_back((color == Color{} ? "" : " " + hexadecimal(color)) +
                         (item.style->background ? " on " + hexadecimal(*item.style->background) : ""));
    }
    pages.back().push_back({std::move(band), x, y, std::move(colors)});
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
                item.style = nullptr;  // is destroyed with the layout
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

std::string RecordingSink::everything() const {
    std::string all;
    for (const auto& page : pages) {
        const auto index = static_cast<std::size_t>(&page - pages.data());
        all += "page " + std::to_string(index + 1) + papers[index] + "\n";
        for (const RecordedBand& recorded : page) {
            all += " " + lineOf(recorded) + "\n";
            for (std::size_t i = 0; i < recorded.band.items.size(); ++i)
                all += "  " + describe(recorded.band.items[i]) + recorded.colors[i] + "\n";
        }
    }
    return all;
}

RecordingSink layOutText(const std::string& elements, const std::string& json, LayoutOptions options) {
    const ReportDefinition report = reportOf(elements);
    ReportData data;
    data.sets[&report] = std::make_shared<DataSet>(readData(json, "data"));
    DrawingNotes notes;
    options.drawings = &notes;
    RecordingSink sink;
    layOut(report, data, options, sink);
    EXPECT_TRUE(sink.finished);
    return sink;
}

std::string columnsOf(const std::string& elements, const LayoutOptions& options) {
    static constexpr std::pair<CellColumns, const char*> kKinds[] = {
        {CellColumns::Page, "edges"},
        {CellColumns::Grid, "edges of the grid"},
        {CellColumns::Records, "edges of records"}};
    const ReportDefinition report = reportOf(elements);
    std::string all, before;
    for (const auto& [kind, name] : kKinds) {
        std::string line;
        for (const Micrometres edge : columnEdges(report, options, kind)) line += " " + millimetres(edge);
        if (line != before) all += name + line + "\n";
        before = line;
        if (kind == CellColumns::Page) continue;
        for (const ColumnMove& move : columnMoves(report, options, kind))
            all += " " + millimetres(move.x) + "+" + millimetres(move.width) + " is at " +
                   millimetres(move.newX) + "+" + millimetres(move.newWidth) + "\n";
    }
    return all;
}

std::string numberedRows(int count) {
    std::string rows;
    for (int i = 1; i <= count; ++i) rows += (i > 1 ? "," : "") + ("{\"n\":" + std::to_string(i) + "}");
    return "[" + rows + "]";
}

}  // namespace qbsvrl6
