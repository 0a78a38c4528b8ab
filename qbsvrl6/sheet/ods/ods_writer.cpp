// ODS spreadsheets (OpenDocument 1.3). The rows are written as they come; what is known only at the end, names
// and print ranges of sheets, repeated titles and pending texts, are gaps in them, and the styles come before
// them in the file.
#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <map>
#include <utility>

#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/sheet/ods/ods_chart.h"
#include "qbsvrl6/sheet/ods/ods_sheet.h"
#include "qbsvrl6/sheet/ods/page_regions.h"
#include "qbsvrl6/sheet/package/package_pictures.h"
#include "qbsvrl6/sheet/package/zip.h"
#include "qbsvrl6/sheet/text_stream.h"
#include "qbsvrl6/sheet/workbook/cell_names.h"
#include "qbsvrl6/sheet/workbook/chart_block.h"
#include "qbsvrl6/sheet/workbook/drawing_picture.h"
#include "qbsvrl6/sheet/workbook/workbook_sink.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr std::string_view kMediaType = "application/vnd.oasis.opendocument.spreadsheet";
constexpr std::size_t kMaxUnits = 32'767;  // of a text: as in the other workbooks
constexpr int kMaxStyles = 64'000;
constexpr std::string_view kFrameStyle = "fr1";  // of pictures and charts
constexpr std::string_view kPictures = "Pictures/";
constexpr std::string_view kNumbersStyle = "taNumbers";  // of the table of the numbers of charts
// Titles that begin further down are not repeated on printed pages.
constexpr std::int64_t kTitlesWithin = 200;

// "'Sheet1'.A1:'Sheet1'.B2"
std::u16string rangeName(const std::u16string& sheet, const SheetArea& area) {
    std::u16string start = u"'";
    for (const char16_t c : sheet) start.append(c == u'\'' ? 2 : 1, c);
    start += u"'.";
    const auto corner = [&](std::int64_t row, int column) {
        return start + toUtf16(columnName(column) + std::to_string(row + 1));
    };
    return corner(area.firstRow, area.firstColumn) + u':' + corner(area.lastRow, area.lastColumn);
}

// Ends and begins groups that fold, from one level to another.
void appendGroups(std::string& out, const char* name, int from, int to) {
    for (; from > to; --from) out += std::string("</") + name + ">\n";
    for (; from < to; ++from) out += std::string("<") + name + ">\n";
}

class OdsWriter final : public WorkbookSink {
public:
    OdsWriter(const SheetOptions& options, Spool& output)
        : WorkbookSink(options, {OdsSheet::kMaxRows, OdsSheet::kMaxColumns, kMaxUnits, kMaxStyles}),
          output_(output) {
        openSheet();
    }

private:
    // Where text is inserted at the end.
    struct Gap {
        enum class Kind { SheetStart, Row, Pending, Formula } kind = Kind::Row;
        std::size_t sheet = 0;
        std::int64_t row = 0;   // of the sheet: that begins here
        std::size_t later = 0;  // of the pending text, or of the formula
        std::u16string link = {};
        int outline = 0, outlineBefore = 0;  // of the row, and of the one before it
    };

    OdsSheet& sheet() { return sheets_.back(); }
    std::string& out() { return stream_.text(); }

    void addGap(Gap gap) {
        stream_.mark();
        gaps_.push_back(std::move(gap));
    }

    void openSheet() {
        sheets_.emplace_back(styles_);
        addGap({Gap::Kind::SheetStart, sheets_.size() - 1});
    }

    void closeSheet() {
        if (sheet().rowCount() == 0) out() += "<table:table-row><table:table-cell/></table:table-row>\n";
        addRowGap(0);
        out() += "</table:table>\n";
    }

    void addRowGap(int outline) {
        addGap({Gap::Kind::Row, sheets_.size() - 1, rowCount(), 0, {}, outline, outline_});
        outline_ = outline;
    }

    void beginSheet() override {
        closeSheet();
        openSheet();
    }
    std::int64_t rowCount() const override { return sheets_.back().rowCount(); }
    void beginRow(Micrometres height, int outline) override {
        if (rowCount() < kTitlesWithin) {
            addRowGap(outline);
        } else {
            appendGroups(out(), "table:table-row-group", std::exchange(outline_, outline), outline);
        }
        sheet().beginRow(height);
    }
    void addBlank(int column, int style) override { sheet().addBlank(column, style); }
    void addValue(int column, int style, const SheetValue& value) override {
        sheet().addValue(column, style, value, value.isNumber() ? kindOf(style) : OdsValueKind::Number);
    }
    void addPending(int column, int style, Item&& item) override {
        std::u16string link = std::get<TextItem>(item.content).link;
        sheet().addPending(column, style, pending_.add(std::move(item)), std::move(link));
    }
    void endRow() override {
        for (OdsSheet::RowPart& part : sheet().endRow()) {
            out() += part.text;
            if (part.formula != OdsSheet::kNone) {
                addGap({Gap::Kind::Formula, 0, 0, part.formula});
            } else if (part.pending != OdsSheet::kNone) {
                addGap({Gap::Kind::Pending, 0, 0, part.pending, std::move(part.link)});
            }
        }
        stream_.writeIfLarge();
    }
    void merge(int column, int columnSpan, int rowSpan) override {
        sheet().merge(column, columnSpan, rowSpan);
    }
    bool link(int, int, int, std::u16string_view address) override {
        sheet().link(address);
        return true;
    }
    void breakPage() override { sheet().breakPage(); }
    void freezeAbove(std::int64_t row) override { sheet().frozenRows = row; }

    // What the number format of a style shows.
    OdsValueKind kindOf(int style) {
        const auto index = static_cast<std::size_t>(style);
        while (kinds_.size() <= index) {
            const std::u16string& format = styles().styles()[kinds_.size()]->numberFormat;
            kinds_.push_back(format.empty() ? OdsValueKind::Number : styles_.formats().of(format).kind);
        }
        return kinds_[index];
    }

    // A chart or a picture; empty: it can't be shown.
    std::string contentOf(const Item& item, Size size) {
        const auto* const drawing = std::get_if<DrawingItem>(&item.content);
        const bool isNative = drawing != nullptr && drawing->chart != nullptr &&
                              options().workbook.charts == WorkbookCharts::Native;
        if (isNative && charts_.canHold(*drawing->chart))
            return charts_.add(*drawing->chart, size, item.style);
        std::string content;
        const std::uint32_t number = pictures_.numberOf(item);
        if (number == 0) return content;
        XmlWriter xml(content);
        xml.open("draw:image");
        xml.attribute("xlink:href", pictureFile(kPictures, number, *pictures_.pictures()[number - 1]));
        xml.attribute("xlink:type", "simple").attribute("xlink:show", "embed");
        xml.attribute("xlink:actuate", "onLoad").close();
        return content;
    }

    // The style of a frame whose picture is cut off, by the lengths from its edges.
    std::string frameStyle(const Item& item) {
        const PictureCut cut = pictureCut(item);
        std::string name(kFrameStyle);
        if (cut.isEmpty()) return name;
        const auto lengthOf = [](double share, Micrometres shown) {
            return OdsLength{static_cast<Micrometres>(std::lround(shown / (1 - share) * share))};
        };
        const Rect box = pictureBox(item);
        std::string clip = "rect(0mm, ";
        lengthOf(cut.right, box.width).appendTo(clip);
        clip += ", ";
        lengthOf(cut.bottom, box.height).appendTo(clip);
        clip += ", 0mm)";
        const auto style = cutFrames_.try_emplace(std::move(clip), cutFrames_.size() + 1).first;
        return name += "c" + std::to_string(style->second);
    }

    void addOverlay(const Overlay& overlay) override {
        std::string object;
        XmlWriter xml(object);
        const Rect box = pictureBox(*overlay.item);
        if (const auto* const line = std::get_if<LineItem>(&overlay.item->content)) {
            const OdsLength top{overlay.y}, bottom{overlay.y + box.height};
            xml.open("draw:line").attribute("draw:style-name", "gr", styles_.lineStyle(line->line));
            xml.attribute("draw:z-index", objects_++).attribute("svg:x1", OdsLength{overlay.x});
            xml.attribute("svg:y1", line->line.rising ? bottom : top);
            xml.attribute("svg:x2", OdsLength{overlay.x + box.width});
            xml.attribute("svg:y2", line->line.rising ? top : bottom).close();
        } else {
            const std::string content = contentOf(*overlay.item, {box.width, box.height});
            if (content.empty()) return;
            xml.open("draw:frame").attribute("draw:style-name", frameStyle(*overlay.item));
            xml.attribute("draw:z-index", objects_++);
            xml.attribute("svg:x", OdsLength{std::max(overlay.x + box.x, 0)});
            xml.attribute("svg:y", OdsLength{std::max(overlay.y + box.y, 0)});
            xml.attribute("svg:width", OdsLength{box.width}).attribute("svg:height", OdsLength{box.height});
            xml.content() += content;
            if (!textOf(*overlay.item).empty()) xml.element("svg:desc", textOf(*overlay.item));
            xml.close();
        }
        sheet().addObject(overlay.column, object);
    }

    void close(PendingTexts& pending) override {
        closeSheet();
        for (std::size_t i = 0; i < sheets_.size(); ++i) papers_.add(printSetup(i));
        const std::vector<TitleRows> titles = repeatedTitles();
        const std::vector<std::u16string> names =
            sheetNames(charts_.isEmpty() ? std::u16string_view() : kChartNumbersSheet);
        Spool body;
        stream_.moveTo(body, [&](std::size_t number, std::string& out) {
            const Gap& gap = gaps_[number];
            if (gap.kind == Gap::Kind::SheetStart) {
                writeSheetStart(out, gap.sheet, names[gap.sheet]);
            } else if (gap.kind == Gap::Kind::Row) {
                writeRowStart(out, gap, titles[gap.sheet]);
            } else if (gap.kind == Gap::Kind::Formula) {
                const std::optional<SheetFormula>& formula = totals().laterFormula(gap.later);
                if (formula) appendOdsFormula(out, *formula);
            } else {
                Item item = pending_.item(gap.later);
                settleCell(item, pending);
                appendOdsText(out, sheetValue(&item, kMaxUnits).text, gap.link);
            }
        });
        if (!charts_.isEmpty()) charts_.writeNumbers(body, kNumbersStyle);
        writePackage(body, names);
        reportLosses();
    }

    void writeSheetStart(std::string& out, std::size_t number, const std::u16string& name) {
        const OdsSheet& sheet = sheets_[number];
        XmlWriter xml(out);
        xml.open("table:table")
            .attribute("table:name", name)
            .attribute("table:style-name", "ta", papers_.ofSheet(number));
        // Pictures may reach beyond the last cell.
        const SheetArea whole{0, std::max<std::int64_t>(sheet.rowCount() - 1, 0), 0,
                              std::max(static_cast<int>(columnWidths().size()) - 1, 0)};
        xml.attribute("table:print-ranges", rangeName(name, whole)).lineEnd();
        const std::vector<int> outlines = featuresOf(number).columnOutlines;
        int outline = 0;
        std::size_t column = 0;
        for (const Micrometres width : columnWidths()) {
            const int own = column < outlines.size() ? outlines[column] : 0;
            appendGroups(out, "table:table-column-group", std::exchange(outline, own), own);
            XmlWriter columns(out);
            columns.open("table:table-column")
                .attribute("table:style-name", "co", styles_.columnStyle(width));
            columns.close();
            ++column;
        }
        appendGroups(out, "table:table-column-group", outline, 0);
        out += '\n';
    }

    // Printed pages contain their titles, and titles are not divided between groups that fold.
    std::vector<TitleRows> repeatedTitles() const {
        std::vector<TitleRows> titles = this->titles();
        for (TitleRows& rows : titles) {
            if (options().paged || rows.last + 1 >= kTitlesWithin) rows = {};
        }
        for (const Gap& gap : gaps_) {
            TitleRows& rows = titles[gap.sheet];
            const bool divides = gap.kind == Gap::Kind::Row && gap.outline != gap.outlineBefore;
            if (divides && gap.row > rows.first && gap.row <= rows.last) rows = {};
        }
        return titles;
    }

    static void writeRowStart(std::string& out, const Gap& gap, const TitleRows& titles) {
        const bool repeats = titles.last >= titles.first;
        if (repeats && gap.row == titles.last + 1) out += "</table:table-header-rows>\n";
        appendGroups(out, "table:table-row-group", gap.outlineBefore, gap.outline);
        if (repeats && gap.row == titles.first) out += "<table:table-header-rows>\n";
    }

    // The package. Its type is stored first, as readers expect it.
    void writePackage(const Spool& body, const std::vector<std::u16string>& names) {
        ZipWriter zip(output_);
        zip.addStored("mimetype", kMediaType);
        zip.add("META-INF/manifest.xml", manifest());
        zip.add("meta.xml", properties());
        zip.add("settings.xml", settings(names));
        zip.add("styles.xml", pageStyles(papers_.all()));
        addPictures(zip, kPictures, pictures_.pictures());
        for (std::size_t i = 0; i < charts_.parts().size(); ++i) {
            zip.add("Object " + std::to_string(i + 1) + "/content.xml", charts_.parts()[i]);
        }
        writeContent(zip, body, names);
        zip.finish();
    }

    // The titles with buttons that filter the rows. Spreadsheet programs know the filter of a sheet by this name.
    std::string filters(const std::vector<std::u16string>& names) const {
        std::string ranges;
        XmlWriter xml(ranges);
        int count = 0;
        for (std::size_t i = 0; i < names.size(); ++i) {
            const std::optional<SheetArea> area = featuresOf(i).filter;
            if (!area) continue;
            if (count++ == 0) xml.open("table:database-ranges");
            xml.open("table:database-range").attribute("table:name", "__Anonymous_Sheet_DB__", i);
            xml.attribute("table:target-range-address", rangeName(names[i], *area));
            xml.attribute("table:display-filter-buttons", "true").close();
        }
        if (count > 0) xml.close().lineEnd();
        return ranges;
    }

    void writeContent(ZipWriter& zip, const Spool& body, const std::vector<std::u16string>& names) {
        std::string head;
        XmlWriter xml(head);
        openOdsPart(xml, "office:document-content").open("office:automatic-styles").lineEnd();
        const auto addTable = [&](std::string_view name, std::size_t paper, bool isHidden) {
            xml.open("style:style").attribute("style:name", name).attribute("style:family", "table");
            xml.attribute("style:master-page-name", masterPage(paper)).open("style:table-properties");
            xml.attribute("table:display", isHidden ? "false" : "true").close().close().lineEnd();
        };
        for (std::size_t i = 1; i <= papers_.all().size(); ++i) addTable("ta" + std::to_string(i), i, false);
        if (!charts_.isEmpty()) addTable(kNumbersStyle, 1, options().workbook.hideChartNumbers);
        // Readers draw a border around a chart that has no style.
        const auto addFrame = [&xml](std::string_view name, std::string_view clip) {
            xml.open("style:style").attribute("style:name", name).attribute("style:family", "graphic");
            xml.open("style:graphic-properties").attribute("draw:stroke", "none");
            xml.attribute("draw:fill", "none");
            if (!clip.empty()) xml.attribute("fo:clip", clip);
            xml.close().close().lineEnd();
        };
        addFrame(kFrameStyle, {});
        for (const auto& [clip, number] : cutFrames_) {
            addFrame(std::string(kFrameStyle) + "c" + std::to_string(number), clip);
        }
        xml.content() += styles_.xml(styles().styles());
        xml.close().open("office:body").open("office:spreadsheet").lineEnd();
        DeflateStream first;
        first.append(head);
        DeflateStream rest;
        std::string block(256 * 1024, '\0');
        for (std::uint64_t at = 0; at < body.size();) {
            const std::size_t size = body.read(at, block.data(), block.size());
            rest.append({block.data(), size});
            at += size;
        }
        rest.append(filters(names));
        rest.append("</office:spreadsheet></office:body></office:document-content>\n");
        zip.add("content.xml", std::move(first), std::move(rest));
    }

    std::string manifest() const {
        std::string part;
        XmlWriter xml(part);
        xml.declare().open("manifest:manifest");
        xml.attribute("xmlns:manifest", "urn:oasis:names:tc:opendocument:xmlns:manifest:1.0");
        xml.attribute("manifest:version", "1.3").lineEnd();
        const auto add = [&](std::string_view path, std::string_view type) {
            xml.open("manifest:file-entry").attribute("manifest:full-path", path);
            xml.attribute("manifest:media-type", type).close().lineEnd();
        };
        add("/", kMediaType);
        for (const char* const name : {"content.xml", "styles.xml", "meta.xml", "settings.xml"}) {
            add(name, "text/xml");
        }
        const auto& pictures = pictures_.pictures();
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            const bool isJpeg = pictures[i]->encoding == Picture::Encoding::Jpeg;
            add(pictureFile(kPictures, i + 1, *pictures[i]), isJpeg ? "image/jpeg" : "image/png");
        }
        for (std::size_t i = 1; i <= charts_.parts().size(); ++i) {
            const std::string folder = "Object " + std::to_string(i) + '/';
            add(folder, "application/vnd.oasis.opendocument.chart");
            add(folder + "content.xml", "text/xml");
        }
        xml.close().lineEnd();
        return part;
    }

    // No times: the same report gives the same bytes.
    std::string properties() const {
        std::string part;
        XmlWriter xml(part);
        openOdsPart(xml, "office:document-meta").open("office:meta");
        const auto add = [&](std::string_view name, const std::u16string& text) {
            if (!text.empty()) xml.element(name, text);
        };
        const DocumentInfo& info = options().info;
        add("dc:title", info.title);
        add("dc:subject", info.subject);
        add("meta:initial-creator", info.author);
        add("dc:creator", info.author);
        add("meta:keyword", info.keywords);
        add("dc:language", info.language);
        xml.close().close().lineEnd();
        return part;
    }

    // The titles that stay on the screen.
    std::string settings(const std::vector<std::u16string>& names) const {
        std::string part;
        XmlWriter xml(part);
        const auto item = [&](std::string_view name, std::string_view type, const auto& value) {
            xml.open("config:config-item").attribute("config:name", name);
            xml.attribute("config:type", type).text(value).close();
        };
        openOdsPart(xml, "office:document-settings").open("office:settings");
        xml.open("config:config-item-set").attribute("config:name", "ooo:view-settings");
        xml.open("config:config-item-map-indexed").attribute("config:name", "Views");
        xml.open("config:config-item-map-entry");
        item("ViewId", "string", "view1");
        xml.open("config:config-item-map-named").attribute("config:name", "Tables");
        for (std::size_t i = 0; i < sheets_.size(); ++i) {
            const std::int64_t rows = sheets_[i].frozenRows;
            const int columns = featuresOf(i).frozenColumns;
            if (rows == 0 && columns == 0) continue;
            constexpr int kFrozen = 2;
            xml.open("config:config-item-map-entry").attribute("config:name", names[i]);
            item("HorizontalSplitMode", "short", columns > 0 ? kFrozen : 0);
            if (columns > 0) item("HorizontalSplitPosition", "int", columns);
            item("VerticalSplitMode", "short", rows > 0 ? kFrozen : 0);
            if (rows > 0) item("VerticalSplitPosition", "int", rows);
            item("ActiveSplitRange", "short", columns == 0 ? 2 : rows == 0 ? 1 : 3);
            if (columns > 0) {
                item("PositionLeft", "int", 0);
                item("PositionRight", "int", columns);
            }
            item("PositionTop", "int", 0);
            item("PositionBottom", "int", rows);
            xml.close();
        }
        xml.close().close().close().close().close().close().lineEnd();
        return part;
    }

    Spool& output_;
    TextStream stream_;
    std::vector<Gap> gaps_;
    OdsStyles styles_;
    std::deque<OdsSheet> sheets_;
    std::vector<OdsValueKind> kinds_;  // by style
    OdsPapers papers_;
    PictureList pictures_;
    std::map<std::string, std::size_t> cutFrames_;  // numbered by what is cut off
    OdsCharts charts_;
    int objects_ = 0;
    int outline_ = 0;  // of the last row
    PendingItems pending_;
};

}  // namespace

std::unique_ptr<PageSink> makeOdsWriter(const SheetOptions& options, Spool& output) {
    return std::make_unique<OdsWriter>(options, output);
}

}  // namespace qbsvrl6
