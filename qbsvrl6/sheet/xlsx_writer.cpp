// XLSX workbooks, streamed: a row is compressed and forgotten as soon as it is complete. A library that
// writes rows in order couldn't take texts that are settled at the end (the page count), nor the sizes of
// pictures in rows that it has forgotten; both are simple here, since the parts of the package may be written
// in any order.
#include <algorithm>
#include <map>

#include "qbsvrl6/sheet/cell_sink.h"
#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/xlsx_sheet.h"
#include "qbsvrl6/sheet/xlsx_styles.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr const char* kXmlHead = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr const char* kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr const char* kPackage = "http://schemas.openxmlformats.org/package/2006";
constexpr const char* kDocument = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
// Titles lower than this would leave little of a screen to the rows that move below them.
constexpr Micrometres kMaxFrozenHeight = 100'000;

class XlsxWriter final : public CellSink {
public:
    XlsxWriter(const SheetOptions& options, std::string& output)
        : CellSink(options, true), options_(options), output_(output) {
        sheets_.emplace_back();
        for (int column = 0; column < std::min(grid().columnCount(), XlsxSheet::kMaxColumns); ++column) {
            columnWidths_.push_back(grid().columnWidth(column));
        }
    }

private:
    // Rows of the titles that stand above the rows of the grid.
    struct TitleRows {
        std::int64_t first = 0, last = 0;
        bool known = false;
    };

    // A cell below the first row of its span.
    struct Below {
        int column, style, rowsLeft;
    };

    XlsxSheet& sheet() { return sheets_.back(); }

    void openPage(const PageInfo&, bool isFirst) override {
        if (!isFirst && options_.paged && options_.pageBreaks) sheet().breakPage();
    }

    void writeRows(const Band& band, std::span<const CellRow> rows) override {
        if (sheet().rowCount() + static_cast<std::int64_t>(rows.size()) > XlsxSheet::kMaxRows)
            sheets_.emplace_back();
        below_.clear();
        for (const CellRow& row : rows) writeRow(row);
        if (!rows.back().floats.empty()) padBelow(rows.back().height);
        if (band.kind == BandKind::GridTitle && sheets_.size() == 1)
            noteTitle(static_cast<std::int64_t>(rows.size()));
    }

    void noteTitle(std::int64_t rows) {
        const std::int64_t end = sheet().rowCount();
        const bool isFurther = titles_.known && titles_.last + 1 == end - rows;
        if (titles_.known && !isFurther) return;
        if (!isFurther) titles_.first = end - rows;
        titles_.last = end - 1;
        titles_.known = true;
        if (height_ <= kMaxFrozenHeight) sheet().freezeAbove(end);
    }

    void writeRow(const CellRow& row) {
        sheet().beginRow(row.height);
        std::size_t next = 0;
        const auto writeBelowUpTo = [&](int column) {
            for (; next < below_.size() && below_[next].column < column; ++next) {
                if (below_[next].rowsLeft-- > 0) sheet().addBlank(below_[next].column, below_[next].style);
            }
        };
        newBelow_.clear();
        for (const Cell& cell : row.cells) {
            if (cell.column >= XlsxSheet::kMaxColumns) break;
            writeBelowUpTo(cell.column);
            writeCell(cell);
        }
        writeBelowUpTo(XlsxSheet::kMaxColumns);
        addBelow();
        for (const Floating& floating : row.floats) addFloating(floating);
        sheet().endRow();
        height_ = std::min(height_ + row.height, kMaxFrozenHeight + 1);
    }

    // What floats may be higher than any row can be.
    void padBelow(Micrometres height) {
        while ((height -= XlsxSheet::kMaxRowHeight) > 0) {
            sheet().beginRow(height);
            sheet().endRow();
        }
    }

    void writeCell(const Cell& cell) {
        const int columnSpan = std::min(cell.columnSpan, XlsxSheet::kMaxColumns - cell.column);
        const SheetValue value = sheetValue(cell.item, XlsxSheet::kMaxUnits);
        const int style = styleOf(cell, value);
        const TextItem* text = cell.item == nullptr ? nullptr : std::get_if<TextItem>(&cell.item->content);
        if (text != nullptr && text->text.size() > XlsxSheet::kMaxUnits) ++cutTexts_;
        if (text != nullptr && isSafeLink(text->link) && !sheet().link(cell.column, text->link)) ++lostLinks_;
        if (columnSpan > 1 || cell.rowSpan > 1) sheet().merge(cell.column, columnSpan, cell.rowSpan);
        if (text != nullptr && text->pending) {
            sheet().addShared(cell.column, style, late_.size());
            late_.push_back(std::move(*cell.item));
        } else {
            sheet().addValue(cell.column, style, value);
        }
        // The other cells of a span bear its borders.
        for (int column = cell.column + 1; column < cell.column + columnSpan; ++column) {
            sheet().addBlank(column, style);
        }
        for (int column = cell.column; cell.rowSpan > 1 && column < cell.column + columnSpan; ++column) {
            newBelow_.push_back({column, style, cell.rowSpan - 1});
        }
    }

    int styleOf(const Cell& cell, const SheetValue& value) {
        constexpr int kMaxStyles = 64'000;
        return std::min(styles_.idOf(cell, value.isNumber(), value.format) + 1, kMaxStyles);
    }

    void addBelow() {
        if (newBelow_.empty()) return;
        below_.insert(below_.end(), newBelow_.begin(), newBelow_.end());
        std::erase_if(below_, [](const Below& cell) { return cell.rowsLeft <= 0; });
        std::sort(below_.begin(), below_.end(),
                  [](const Below& a, const Below& b) { return a.column < b.column; });
    }

    void addFloating(const Floating& floating) {
        std::string relation;
        if (const auto* item = std::get_if<PictureItem>(&floating.item->content)) {
            if (item->picture == nullptr) return;
            pictures_.try_emplace(item->picture->id, item->picture);
            relation = "rId" + std::to_string(item->picture->id);
        } else if (const auto* drawing = std::get_if<DrawingItem>(&floating.item->content)) {
            if (drawing->drawing == nullptr) return;
        }
        sheet().add(floating, relation);
    }

    void close(PendingTexts& pending) override {
        ZipWriter zip(output_);
        zip.add("[Content_Types].xml", contentTypes());
        zip.add("_rels/.rels", packageRelations());
        zip.add("docProps/core.xml", coreProperties());
        zip.add("xl/workbook.xml", workbook());
        zip.add("xl/_rels/workbook.xml.rels", workbookRelations());
        zip.add("xl/styles.xml", xlsxStyles(styles_.styles()));
        if (!late_.empty()) zip.add("xl/sharedStrings.xml", sharedTexts(pending));
        std::string pictures;
        for (const auto& [id, picture] : pictures_) {
            zip.addStored("xl/media/" + mediaName(*picture), picture->bytes);
            pictures += "<Relationship Id=\"rId" + std::to_string(id) + "\" Type=\"" + kDocument +
                        "/image\" Target=\"../media/" + mediaName(*picture) + "\"/>\n";
        }
        for (std::size_t i = 0; i < sheets_.size(); ++i) {
            sheets_[i].writeTo(zip, static_cast<int>(i) + 1,
                               {columnWidths_, options_.page, options_.paged && options_.pageBreaks, i == 0},
                               pictures);
        }
        zip.finish();
        reportLosses();
    }

    void reportLosses() const {
        if (cutTexts_ > 0) {
            logWarning(std::to_string(cutTexts_) + " texts were cut at the " +
                       std::to_string(XlsxSheet::kMaxUnits) + " characters that a cell of a workbook holds");
        }
        if (lostLinks_ > 0) {
            logWarning(std::to_string(lostLinks_) + " links were left out, since a sheet holds " +
                       std::to_string(XlsxSheet::kMaxLinks));
        }
    }

    static std::string mediaName(const Picture& picture) {
        return "image" + std::to_string(picture.id) +
               (picture.encoding == Picture::Encoding::Jpeg ? ".jpeg" : ".png");
    }

    std::string contentTypes() const {
        const std::string sheetType = "application/vnd.openxmlformats-officedocument.spreadsheetml.";
        std::string xml = std::string(kXmlHead) + "<Types xmlns=\"" + kPackage + "/content-types\">\n" +
                          "<Default Extension=\"rels\" "
                          "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>\n"
                          "<Default Extension=\"xml\" ContentType=\"application/xml\"/>\n"
                          "<Default Extension=\"png\" ContentType=\"image/png\"/>\n"
                          "<Default Extension=\"jpeg\" ContentType=\"image/jpeg\"/>\n";
        const auto add = [&](const std::string& part, const std::string& type) {
            xml += "<Override PartName=\"" + part + "\" ContentType=\"" + type + "\"/>\n";
        };
        add("/docProps/core.xml", "application/vnd.openxmlformats-package.core-properties+xml");
        add("/xl/workbook.xml", sheetType + "sheet.main+xml");
        add("/xl/styles.xml", sheetType + "styles+xml");
        if (!late_.empty()) add("/xl/sharedStrings.xml", sheetType + "sharedStrings+xml");
        for (std::size_t i = 1; i <= sheets_.size(); ++i) {
            add("/xl/worksheets/sheet" + std::to_string(i) + ".xml", sheetType + "worksheet+xml");
            if (sheets_[i - 1].hasDrawing()) {
                add("/xl/drawings/drawing" + std::to_string(i) + ".xml",
                    "application/vnd.openxmlformats-officedocument.drawing+xml");
            }
        }
        return xml + "</Types>\n";
    }

    static std::string relation(const std::string& id, const std::string& type, const std::string& target) {
        return "<Relationship Id=\"" + id + "\" Type=\"" + type + "\" Target=\"" + target + "\"/>\n";
    }
    static std::string relations(const std::string& elements) {
        return std::string(kXmlHead) + "<Relationships xmlns=\"" + kPackage + "/relationships\">\n" +
               elements + "</Relationships>\n";
    }

    static std::string packageRelations() {
        return relations(relation("rId1", std::string(kDocument) + "/officeDocument", "xl/workbook.xml") +
                         relation("rId2", std::string(kPackage) + "/relationships/metadata/core-properties",
                                  "docProps/core.xml"));
    }

    std::string workbookRelations() const {
        const std::string type = std::string(kDocument) + "/";
        std::string elements = relation("rIdStyles", type + "styles", "styles.xml");
        if (!late_.empty()) elements += relation("rIdTexts", type + "sharedStrings", "sharedStrings.xml");
        for (std::size_t i = 1; i <= sheets_.size(); ++i) {
            const std::string number = std::to_string(i);
            elements += relation("rId" + number, type + "worksheet", "worksheets/sheet" + number + ".xml");
        }
        return relations(elements);
    }

    // No times: the same report gives the same bytes.
    std::string coreProperties() const {
        std::string xml = std::string(kXmlHead) + "<cp:coreProperties xmlns:cp=\"" + kPackage +
                          "/metadata/core-properties\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n";
        const auto add = [&](const std::string& element, const std::u16string& text) {
            if (text.empty()) return;
            xml += "<" + element + ">";
            appendMarkup(xml, text);
            xml += "</" + element + ">\n";
        };
        add("dc:title", options_.info.title);
        add("dc:subject", options_.info.subject);
        add("dc:creator", options_.info.author);
        add("cp:keywords", options_.info.keywords);
        return xml + "</cp:coreProperties>\n";
    }

    std::string workbook() const {
        const std::u16string name = sheetName(options_.info.title);
        std::string xml = std::string(kXmlHead) + "<workbook xmlns=\"" + kMain + "\" xmlns:r=\"" + kDocument +
                          "\">\n<bookViews><workbookView/></bookViews>\n<sheets>";
        for (std::size_t i = 1; i <= sheets_.size(); ++i) {
            const std::string number = std::to_string(i);
            xml += "<sheet name=\"";
            appendMarkup(xml, name);
            if (i > 1) xml += " (" + number + ")";
            xml += "\" sheetId=\"" + number + "\" r:id=\"rId" + number + "\"/>";
        }
        xml += "</sheets>\n";
        // Printed pages bring their titles with them.
        if (titles_.known && !options_.paged) {
            std::u16string quoted;
            for (const char16_t c : name) quoted.append(c == u'\'' ? 2 : 1, c);
            xml += "<definedNames><definedName name=\"_xlnm.Print_Titles\" localSheetId=\"0\">'";
            appendMarkup(xml, quoted);
            xml += "'!$" + std::to_string(titles_.first + 1) + ":$" + std::to_string(titles_.last + 1) +
                   "</definedName></definedNames>\n";
        }
        return xml + "</workbook>\n";
    }

    std::string sharedTexts(PendingTexts& pending) {
        const std::string count = std::to_string(late_.size());
        std::string xml = std::string(kXmlHead) + "<sst xmlns=\"" + kMain + "\" count=\"" + count +
                          "\" uniqueCount=\"" + count + "\">\n";
        for (Item& item : late_) {
            pending.settle(item);
            xml += "<si><t xml:space=\"preserve\">";
            appendXstring(xml, sheetValue(&item, XlsxSheet::kMaxUnits).text);
            xml += "</t></si>\n";
        }
        return xml + "</sst>\n";
    }

    SheetOptions options_;
    std::string& output_;
    std::vector<Micrometres> columnWidths_;
    std::vector<XlsxSheet> sheets_;
    StyleTable styles_;
    std::map<std::uint64_t, std::shared_ptr<const Picture>> pictures_;
    std::vector<Item> late_;
    std::vector<Below> below_, newBelow_;
    TitleRows titles_;
    Micrometres height_ = 0;  // of the rows so far, while they might be frozen
    int cutTexts_ = 0;
    int lostLinks_ = 0;
};

}  // namespace

std::unique_ptr<PageSink> makeXlsxWriter(const SheetOptions& options, std::string& output) {
    return std::make_unique<XlsxWriter>(options, output);
}

}  // namespace qbsvrl6
