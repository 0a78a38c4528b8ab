#include "qbsvrl6/layout/content_texts.h"

#include <optional>
#include <utility>

#include "qbsvrl6/bind/number_format.h"
#include "qbsvrl6/layout/links.h"
#include "qbsvrl6/layout/log_words.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

void ContentTexts::evaluate(PlannedControl& control, RowView& view, const Position& position, Item& item) {
    if (auto* const text = std::get_if<PlannedText>(&control.content)) {
        if (text->link) std::get<TextItem>(item.content).link = link(control, view, position);
    } else if (auto* const picture = std::get_if<PlannedPicture>(&control.content)) {
        evaluate(*control.control, *picture, view, position, std::get<PictureItem>(item.content));
    } else if (auto* const barcode = std::get_if<PlannedBarcode>(&control.content)) {
        std::get<DrawingItem>(item.content).alternateText = read(barcode->text, view, position);
    } else if (auto* const chart = std::get_if<PlannedChart>(&control.content)) {
        evaluate(*chart, view, position, std::get<DrawingItem>(item.content));
    }
}

std::u16string ContentTexts::link(PlannedControl& control, RowView& view, const Position& position) {
    const std::u16string& address = read(*std::get<PlannedText>(control.content).link, view, position);
    CheckedLink checked = checkLink(address, options_.links);
    if (checked.refusal != nullptr && isNewWarning("link " + quoted(address))) {
        logWarning("the link " + quoted(address) + inRow(view.tableRow(position)) +
                       " is left out: " + checked.refusal,
                   control.control->position);
    }
    return std::move(checked.address);
}

void ContentTexts::evaluate(const Control& control, PlannedPicture& planned, RowView& view,
                            const Position& position, PictureItem& picture) {
    if (planned.source.parts.empty()) {
        picture.picture = pictures_.embedded(*planned.content);
    } else {
        const PictureSite site{control.position,
                               planned.source.isConstant() ? std::nullopt : view.tableRow(position)};
        picture.picture = pictures_.find(read(planned.source, view, position), planned.start, site);
    }
    if (!planned.alternateText.parts.empty()) {
        picture.alternateText = read(planned.alternateText, view, position);
    }
}

void ContentTexts::evaluate(PlannedChart& planned, RowView& view, const Position& position,
                            DrawingItem& drawing) {
    ChartSettings settings = planned.content->settings;
    settings.title = read(planned.title, view, position);
    settings.xTitle = read(planned.xTitle, view, position);
    settings.yTitle = read(planned.yTitle, view, position);
    drawing.alternateText = settings.title;
    if (!planned.alternateText.parts.empty()) {
        drawing.alternateText = read(planned.alternateText, view, position);
    } else if (drawing.chart && options_.structure != nullptr && options_.drawText) {
        drawing.alternateText = options_.drawings->describe(settings, *drawing.chart->data);
    }
    if (drawing.chart) {
        std::u16string format;
        if (options_.forWorkbook && !settings.valueFormat.empty())
            format = NumberFormat(settings.valueFormat).spreadsheetFormat();
        drawing.chart = std::make_shared<ShownChart>(
            ShownChart{std::move(settings), std::move(format), drawing.chart->data});
    }
}

const std::u16string& ContentTexts::read(TextTemplate& text, RowView& view, const Position& position) {
    view.evaluateText(text, position, evaluated_);
    return evaluated_.text;
}

}  // namespace qbsvrl6
