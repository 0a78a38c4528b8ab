#include "qbsvrl6/sheet/json/json_items.h"

#include <cmath>
#include <string_view>

#include "qbsvrl6/sheet/raw_value.h"

namespace qbsvrl6 {

using namespace std::string_view_literals;

namespace {

void appendDouble(JsonBuilder& json, double value) {
    if (std::isfinite(value)) {
        appendRawNumber(json.content(), Number(value));
    } else {
        json.literal("null");
    }
}

void appendPoint(JsonBuilder& json, const ChartPoint& point, bool hasSize) {
    json.open('[');
    appendDouble(json, point.x);
    appendDouble(json, point.y);
    if (hasSize) appendDouble(json, point.size);
    json.close();
}

void appendChart(JsonBuilder& json, const ShownChart& chart) {
    const ChartKind kind = chart.settings.kind;
    json.member("categories").open('[');
    if (!hasPoints(kind)) {
        for (const std::u16string& category : chart.data->categories) json.text(category);
    }
    json.close().member("series").open('[');
    for (const ChartSeries& series : chart.data->series) {
        json.open('{').member("name").text(series.label).member(hasPoints(kind) ? "points" : "values");
        json.open('[');
        if (hasPoints(kind)) {
            for (const ChartPoint& point : series.points) appendPoint(json, point, kind == ChartKind::Bubble);
        } else {
            for (const double value : series.values) appendDouble(json, value);
        }
        json.close().close();
    }
    json.close();
}

void appendText(JsonBuilder& json, const Item& item) {
    const auto& text = std::get<TextItem>(item.content);
    json.member("text").text(text.text).member("value");
    const char* const type = typeOf(item);
    if (type == nullptr) {
        json.literal("null");
    } else if (type == "text"sv) {
        json.text(text.text);
    } else if (type == "date"sv) {
        std::string& out = json.content() += '"';
        appendRawDate(out, text.value.date);
        out += '"';
        json.member("type").literal("\"date\"");
    } else {
        appendRawValue(json.content(), item);
    }
    if (!text.link.empty()) json.member("link").text(text.link);
}

}  // namespace

bool hasContent(const Item& item) {
    if (const auto* const text = std::get_if<TextItem>(&item.content)) {
        return text->pending || !text->text.empty();
    }
    return std::holds_alternative<PictureItem>(item.content) ||
           std::holds_alternative<DrawingItem>(item.content);
}

const char* typeOf(const Item& item) {
    const auto* const text = std::get_if<TextItem>(&item.content);
    if (text == nullptr || text->text.empty()) return nullptr;
    std::string date;
    switch (text->value.type) {
        case ValueType::Number:
            return text->value.number.isFinite() ? "number" : "text";
        case ValueType::Date:
            return appendRawDate(date, text->value.date) ? "date" : "text";
        case ValueType::Boolean:
            return "boolean";
        default:
            return "text";
    }
}

void appendMembers(JsonBuilder& json, const Item& item) {
    if (std::holds_alternative<TextItem>(item.content)) return appendText(json, item);
    if (const auto* const picture = std::get_if<PictureItem>(&item.content)) {
        json.member("kind").literal("\"picture\"").member("text").text(picture->alternateText);
    } else if (const auto* const drawing = std::get_if<DrawingItem>(&item.content)) {
        json.member("kind").literal(drawing->chart ? "\"chart\"" : "\"barcode\"");
        json.member("text").text(drawing->alternateText);
        if (drawing->chart) appendChart(json, *drawing->chart);
    }
}

}  // namespace qbsvrl6
