// What a laid-out band is made of: positioned items, ready to be painted or turned into cells.
#ifndef QBSVR_QBSVRL6_ITEMS_ITEMS_H
#define QBSVR_QBSVRL6_ITEMS_ITEMS_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "qbsvrl6/data/table.h"
#include "qbsvrl6/fonts/shaping.h"
#include "qbsvrl6/items/cell_value.h"
#include "qbsvrl6/items/page_field.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/model/style.h"
#include "qbsvrl6/picture/picture.h"

namespace qbsvrl6 {

struct PlacedLine {
    TextLine line;             // its units count in TextItem::lineText()
    Micrometres x = 0;         // of the line's start, relative to the item's box ahead of rotation: at 90 and
                               // 270 degrees that box has width and height swapped, and the turned box fills
                               // the item's
    Micrometres baseline = 0;  // relative to the same
    float wordSpacing = 0;     // 1/1000 em added at each blank of a justified line
    float letterSpacing = 0;   // 1/1000 em added behind each character of a justified line without blanks
};

struct TextItem {
    std::u16string text;
    std::u16string shown;  // what the lines are of, where it isn't `text`: cut with an ellipsis, or with ####
                           // in place of a number that is wider than the box
    CellValue value;
    double fontSize = 10;        // after shrinking to fit
    std::optional<Color> color;  // where a format's colour mark or condition overrides the style's
    std::vector<PlacedLine> lines;
    std::u16string link;
    std::vector<PageField> pageFields;  // in `text`, in order
    // The text holds the page count (or another total of the whole report) and is not laid out yet: a sink
    // keeps the item and asks PageSink's `settle` at the end.
    bool pending = false;
    std::uint32_t pendingKey = 0;  // names it to PendingTexts
    bool masked = false;           // `shown` has ####

    const std::u16string& lineText() const { return shown.empty() ? text : shown; }
};

struct LineItem {
    LineContent line;
};

struct BoxItem {
    BoxContent box;
};

struct PictureItem {
    std::shared_ptr<const Picture> picture;
    Rect placed;  // in the item's box, after fitting
    PictureFit fit = PictureFit::Contain;
    std::u16string alternateText = {};  // what a text export shows, and what is read aloud
};

// A vector drawing (chart, barcode): filled and stroked shapes and texts, in micrometres of the item's box.
struct Drawing {
    struct Path {
        struct Point {
            double x = 0, y = 0;
        };
        // M: 1 point, L: 1 point, C: 3 points (cubic), Z: none.
        std::string commands;
        std::vector<Point> points;
        std::optional<Color> fill;
        std::optional<Color> stroke;
        double strokeWidth = 0;
        double fillOpacity = 1;
    };
    struct Label {
        double x = 0, y = 0;  // of the base line at the anchor
        enum class Anchor { Start, Middle, End } anchor = Anchor::Start;
        double rotation = 0;  // degrees clockwise
        double fontSize = 8;  // points
        bool bold = false;
        std::u16string fontFamily;
        std::u16string text;
        Color color;
    };
    std::vector<std::variant<Path, Label>> elements;
};

// What a chart shows at its place.
struct ShownChart {
    ChartSettings settings;  // texts without placeholders
    std::shared_ptr<const ChartData> data;
};

struct DrawingItem {
    std::shared_ptr<const Drawing> drawing;
    std::u16string alternateText;      // as a picture's
    const Control* control = nullptr;  // of the barcode or chart; null: nothing that could be drawn again
    std::shared_ptr<const ShownChart> chart = nullptr;
};

struct Item {
    Rect box;  // relative to the band
    const ResolvedStyle* style =
        nullptr;  // background and border of the box, font of its text; lives for the export
    std::variant<TextItem, LineItem, BoxItem, PictureItem, DrawingItem> content;
    int column = -1;  // of the detail grid; -1: a free control
    int lastColumn = -1;
};

enum class BandKind {
    PageHeader,
    ReportHeader,
    GridTitle,
    GroupHeader,
    Row,
    BlankRow,
    GroupFooter,
    ReportFooter,
    PageFooter,
};

// One section or row, complete: its items are inside width x height.
struct Band {
    BandKind kind = BandKind::Row;
    bool inGrid = false;      // of the detail grid: title, row, group header and footer
    bool repeated = false;    // a title or group header that stands again on a later page
    int groupLevel = 0;       // of group bands, from 0
    std::u16string bookmark;  // of a group header: its value; empty: none
    std::optional<Color> background;
    Micrometres width = 0;
    Micrometres height = 0;
    std::vector<Item> items;
};

// A column of the detail grid with another place in the cells than on paper: x from the grid's left edge.
struct ColumnMove {
    Micrometres x = 0, width = 0;
    Micrometres newX = 0, newWidth = 0;
};

struct PageInfo {
    int number = 1;  // counted from 1 over the whole report
    Size paper;
    Edges margins;
};

// Answers what a pending item reads, once the whole report is laid out.
class PendingTexts {
public:
    virtual ~PendingTexts() = default;
    // Lays out the item's text: afterwards it isn't pending.
    virtual void settle(Item& item) = 0;
};

// Takes a report as it is laid out: beginPage, bands from top to bottom, endPage, for each page; then finish,
// once. A sink keeps what it needs: bands die with the call. The continuous layout has one page of unbounded
// height.
class PageSink {
public:
    virtual ~PageSink() = default;
    virtual void beginPage(const PageInfo& page) = 0;
    // x and y of the band's upper left corner on the paper.
    virtual void band(Band&& band, Micrometres x, Micrometres y) = 0;
    virtual void endPage() = 0;
    virtual void finish(PendingTexts& pending) = 0;
};

}  // namespace qbsvrl6

#endif
