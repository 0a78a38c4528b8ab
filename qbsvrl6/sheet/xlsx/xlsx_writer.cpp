// XLSX workbooks, streamed: a row is compressed and forgotten as soon as it is complete. Texts that are
// settled at the end (the page count) and pictures are in separate parts, which are built after the rows.
#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <utility>

#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/sheet/package/package_pictures.h"
#include "qbsvrl6/sheet/workbook/workbook_sink.h"
#include "qbsvrl6/sheet/xlsx/xlsx_chart.h"
#include "qbsvrl6/sheet/xlsx/xlsx_sheet.h"
#include "qbsvrl6/sheet/xlsx/xlsx_styles.h"

namespace qbsvrl6 {

namespace {

class XlsxWriter final : public WorkbookSink {
public:
    XlsxWriter(const SheetOptions& options, Spool& output)
        : WorkbookSink(options,
                       {XlsxSheet::kMaxRows, XlsxSheet::kMaxColumns, XlsxSheet::kMaxUnits, kMaxStyles}),
          output_(output) {
        sheets_.emplace_back();
    }

private:
    static constexpr int kMaxStyles = 64'000;
    static constexpr std::string_view kFilter = "_xlnm._FilterDatabase";

    XlsxSheet& sheet() { return sheets_.back(); }

    void beginSheet() override {
        sheet().fillGaps(totals());
        sheets_.emplace_back();
    }
    std::int64_t rowCount() const override { return sheets_.back().rowCount(); }
    void beginRow(Micrometres height, int outline) override { sheet().beginRow(height, outline); }
    void addBlank(int column, int style) override { sheet().addBlank(column, style + 1); }
    void addValue(int column, int style, const SheetValue& value) override {
        sheet().addValue(column, style + 1, value);
    }
    void addPending(int column, int style, Item&& item) override {
        sheet().addShared(column, style + 1, pending_.add(std::move(item)));
    }
    void endRow() override {
        sheet().endRow();
        if (totals().isSettled()) sheet().fillGaps(totals());
    }
    void merge(int column, int columnSpan, int rowSpan) override {
        sheet().merge(column, columnSpan, rowSpan);
    }
    bool link(int column, int columnSpan, int rowSpan, std::u16string_view address) override {
        return sheet().link(column, columnSpan, rowSpan, address);
    }
    bool comment(int column, std::u16string_view text) override { return sheet().comment(column, text); }
    void breakPage() override { sheet().breakPage(); }
    void freezeAbove(std::int64_t row) override { sheet().freezeAbove(row); }

    void addOverlay(const Overlay& overlay) override {
        std::string relation;
        if (const auto* item = std::get_if<PictureItem>(&overlay.item->content)) {
            if (item->picture == nullptr) return;
            pictures_.try_emplace(item->picture->id, item->picture);
            relation = "rId" + std::to_string(item->picture->id);
        } else if (const auto* drawing = std::get_if<DrawingItem>(&overlay.item->content)) {
            if (isNative(*drawing)) {
                charts_.push_back(numbers_->add(*drawing->chart, overlay.item->style));
                chartBytes_ += charts_.back().size();
                return sheet().addChart(overlay, charts_.size());
            }
            if (drawing->drawing == nullptr) return;
        }
        sheet().add(overlay, relation);
    }

    // Further charts of a document that has very many are drawn.
    bool isNative(const DrawingItem& drawing) {
        constexpr std::size_t kMostBytes = 64u << 20;
        const bool isAsked = options().workbook.charts == WorkbookCharts::Native;
        if (!isAsked || drawing.chart == nullptr || chartBytes_ > kMostBytes) return false;
        if (!numbers_) numbers_ = std::make_unique<XlsxChartNumbers>();
        return numbers_->canHold(*drawing.chart);
    }

    void close(PendingTexts& pending) override {
        sheet().fillGaps(totals());
        ZipWriter zip(output_);
        zip.add("[Content_Types].xml", contentTypes());
        zip.add("_rels/.rels", packageRelations());
        zip.add("docProps/core.xml", coreProperties(options().info));
        zip.add("xl/workbook.xml", workbook());
        zip.add("xl/_rels/workbook.xml.rels", workbookRelations());
        zip.add("xl/styles.xml", xlsxStyles(styles().styles()));
        if (!pending_.isEmpty()) zip.add("xl/sharedStrings.xml", sharedTexts(pending));
        PackageRelations pictures;
        for (const auto& [id, picture] : pictures_) {
            zip.addStored(pictureFile("xl/media/image", id, *picture), picture->bytes);
            pictures.add("rId" + std::to_string(id), "image", pictureFile("../media/image", id, *picture));
        }
        for (std::size_t i = 0; i < sheets_.size(); ++i) {
            sheets_[i].writeTo(zip, static_cast<int>(i) + 1, printSetup(i), featuresOf(i), pictures);
        }
        writeCharts(zip);
        zip.finish();
        reportLosses();
    }

    void writeCharts(ZipWriter& zip) {
        if (charts_.empty()) return;
        constexpr Micrometres kColumn = 25'000;
        PrintSetup print;
        print.page = options().page;
        print.columnWidths.assign(static_cast<std::size_t>(numbers_->columnCount()), kColumn);
        numbers_->sheet().writeTo(zip, static_cast<int>(sheets_.size()) + 1, print, {}, {});
        for (std::size_t i = 0; i < charts_.size(); ++i) {
            zip.add("xl/charts/chart" + std::to_string(i + 1) + ".xml", charts_[i]);
        }
    }

    // With that of the numbers of charts, which is the last one.
    std::size_t allSheets() const { return sheets_.size() + (charts_.empty() ? 0 : 1); }

    std::string contentTypes() const {
        std::string part;
        XmlWriter xml(part);
        xml.declare().open("Types").attribute("xmlns", kPackageNamespace, "/content-types").lineEnd();
        const auto addDefault = [&](const char* extension, const char* type) {
            xml.open("Default")
                .attribute("Extension", extension)
                .attribute("ContentType", type)
                .close()
                .lineEnd();
        };
        addDefault("rels", "application/vnd.openxmlformats-package.relationships+xml");
        addDefault("xml", "application/xml");
        addDefault("png", "image/png");
        addDefault("jpeg", "image/jpeg");
        if (std::any_of(sheets_.begin(), sheets_.end(),
                        [](const XlsxSheet& sheet) { return sheet.hasComments(); }))
            addDefault("vml", "application/vnd.openxmlformats-officedocument.vmlDrawing");
        const auto add = [&](std::string_view name, std::string_view type) {
            xml.open("Override").attribute("PartName", name);
            xml.attribute("ContentType", "application/vnd.openxmlformats-", type, "+xml").close().lineEnd();
        };
        add("/docProps/core.xml", "package.core-properties");
        add("/xl/workbook.xml", "officedocument.spreadsheetml.sheet.main");
        add("/xl/styles.xml", "officedocument.spreadsheetml.styles");
        if (!pending_.isEmpty()) add("/xl/sharedStrings.xml", "officedocument.spreadsheetml.sharedStrings");
        for (std::size_t i = 1; i <= allSheets(); ++i) {
            const std::string number = std::to_string(i) + ".xml";
            add("/xl/worksheets/sheet" + number, "officedocument.spreadsheetml.worksheet");
            if (i <= sheets_.size() && sheets_[i - 1].hasDrawing()) {
                add("/xl/drawings/drawing" + number, "officedocument.drawing");
            }
            if (i <= sheets_.size() && sheets_[i - 1].hasComments()) {
                add("/xl/comments" + number, "officedocument.spreadsheetml.comments");
            }
        }
        for (std::size_t i = 1; i <= charts_.size(); ++i) {
            add("/xl/charts/chart" + std::to_string(i) + ".xml", "officedocument.drawingml.chart");
        }
        xml.close().lineEnd();
        return part;
    }

    static std::string packageRelations() {
        PackageRelations relations;
        relations.add("rId1", "officeDocument", "xl/workbook.xml");
        relations.add("rId2", std::string(kPackageNamespace) + "/relationships/metadata/core-properties",
                      "docProps/core.xml");
        return relations.xml();
    }

    std::string workbookRelations() const {
        PackageRelations relations;
        relations.add("rIdStyles", "styles", "styles.xml");
        if (!pending_.isEmpty()) relations.add("rIdTexts", "sharedStrings", "sharedStrings.xml");
        for (std::size_t i = 1; i <= allSheets(); ++i) {
            const std::string number = std::to_string(i);
            relations.add("rId" + number, "worksheet", "worksheets/sheet" + number + ".xml");
        }
        return relations.xml();
    }

    std::string workbook() const {
        std::string part;
        XmlWriter xml(part);
        xml.declare().open("workbook").attribute("xmlns", kSpreadsheetNamespace);
        xml.attribute("xmlns:r", kRelationNamespace).lineEnd();
        xml.open("bookViews").open("workbookView").close().close().lineEnd();
        xml.open("sheets");
        const std::u16string_view ofNumbers = charts_.empty() ? u"" : kChartNumbersSheet;
        const std::vector<std::u16string> names = sheetNames(ofNumbers);
        for (std::size_t i = 1; i <= allSheets(); ++i) {
            const bool hasNumbers = i > names.size();
            xml.open("sheet").attribute("name", hasNumbers ? ofNumbers : names[i - 1]);
            xml.attribute("sheetId", i);
            if (hasNumbers && options().workbook.hideChartNumbers) xml.attribute("state", "hidden");
            xml.attribute("r:id", "rId", i).close();
        }
        xml.close().lineEnd();
        writeDefinedNames(xml, names);
        xml.close().lineEnd();
        return part;
    }

    // The titles that are printed on each page, what is printed, and what the filters cover. Printed pages
    // contain their titles.
    void writeDefinedNames(XmlWriter& xml, const std::vector<std::u16string>& names) const {
        const std::vector<TitleRows> titles = this->titles();
        bool any = false;
        const auto define = [&](std::size_t sheet, std::string_view name, const std::string& area) {
            if (!std::exchange(any, true)) xml.open("definedNames");
            std::u16string quoted;
            for (const char16_t c : names[sheet]) quoted.append(c == u'\'' ? 2 : 1, c);
            xml.open("definedName").attribute("name", name).attribute("localSheetId", sheet);
            if (name == kFilter) xml.attribute("hidden", 1);
            xml.text("'", quoted, "'!", area).close();
        };
        for (std::size_t i = 0; i < titles.size(); ++i) {
            const SheetFeatures features = featuresOf(i);
            if (features.filter) define(i, kFilter, areaName(*features.filter, "$"));
            if (features.printArea) define(i, "_xlnm.Print_Area", areaName(*features.printArea, "$"));
            if (options().paged || titles[i].last < titles[i].first) continue;
            define(i, "_xlnm.Print_Titles",
                   '$' + std::to_string(titles[i].first + 1) + ":$" + std::to_string(titles[i].last + 1));
        }
        if (any) xml.close().lineEnd();
    }

    std::string sharedTexts(PendingTexts& pending) {
        std::string part;
        XmlWriter xml(part);
        xml.declare().open("sst").attribute("xmlns", kSpreadsheetNamespace);
        xml.attribute("count", pending_.size()).attribute("uniqueCount", pending_.size()).lineEnd();
        for (std::size_t i = 0; i < pending_.size(); ++i) {
            Item item = pending_.item(i);
            settleCell(item, pending);
            xml.open("si").open("t").attribute("xml:space", "preserve");
            xml.text(Xstring{sheetValue(&item, XlsxSheet::kMaxUnits).text}).close().close().lineEnd();
        }
        xml.close().lineEnd();
        return part;
    }

    Spool& output_;
    std::deque<XlsxSheet> sheets_;
    std::map<std::uint64_t, std::shared_ptr<const Picture>> pictures_;
    PendingItems pending_;
    std::unique_ptr<XlsxChartNumbers> numbers_;  // of the native charts; null: no chart yet
    std::vector<std::string> charts_;            // their parts
    std::size_t chartBytes_ = 0;
};

}  // namespace

std::unique_ptr<PageSink> makeXlsxWriter(const SheetOptions& options, Spool& output) {
    return std::make_unique<XlsxWriter>(options, output);
}

}  // namespace qbsvrl6
