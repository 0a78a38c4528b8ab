// XLSX workbooks, streamed: a row is compressed and forgotten as soon as it is complete. A library that
// writes rows in order couldn't take texts that are settled at the end (the page count), nor the sizes of
// pictures in rows that it has forgotten; both are simple here, since the parts of the package may be written
// in any order.
#include <map>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/workbook/workbook_sink.h"
#include "qbsvrl6/sheet/xlsx/xlsx_sheet.h"
#include "qbsvrl6/sheet/xlsx/xlsx_styles.h"

namespace qbsvrl6 {

namespace {

constexpr const char* kXmlHead = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr const char* kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr const char* kPackage = "http://schemas.openxmlformats.org/package/2006";
constexpr const char* kDocument = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
class XlsxWriter final : public WorkbookSink {
public:
    XlsxWriter(const SheetOptions& options, std::string& output)
        : WorkbookSink(options,
                       {XlsxSheet::kMaxRows, XlsxSheet::kMaxColumns, XlsxSheet::kMaxUnits, kMaxStyles}),
          output_(output) {
        sheets_.emplace_back();
    }

private:
    static constexpr int kMaxStyles = 64'000;

    XlsxSheet& sheet() { return sheets_.back(); }

    void beginSheet() override { sheets_.emplace_back(); }
    std::int64_t rowCount() const override { return sheets_.back().rowCount(); }
    void beginRow(Micrometres height) override { sheet().beginRow(height); }
    void addBlank(int column, int style) override { sheet().addBlank(column, style + 1); }
    void addValue(int column, int style, const SheetValue& value) override {
        sheet().addValue(column, style + 1, value);
    }
    void addLate(int column, int style, Item&& item) override {
        sheet().addShared(column, style + 1, late_.size());
        late_.push_back(std::move(item));
    }
    void endRow() override { sheet().endRow(); }
    void merge(int column, int columnSpan, int rowSpan) override {
        sheet().merge(column, columnSpan, rowSpan);
    }
    bool link(int column, int columnSpan, int rowSpan, std::u16string_view address) override {
        return sheet().link(column, columnSpan, rowSpan, address);
    }
    void breakPage() override { sheet().breakPage(); }
    void freezeAbove(std::int64_t row) override { sheet().freezeAbove(row); }

    void addFloating(const Floating& floating) override {
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
        zip.add("xl/styles.xml", xlsxStyles(styles().styles()));
        if (!late_.empty()) zip.add("xl/sharedStrings.xml", sharedTexts(pending));
        std::string pictures;
        for (const auto& [id, picture] : pictures_) {
            zip.addStored("xl/media/" + mediaName(*picture), picture->bytes);
            pictures += "<Relationship Id=\"rId" + std::to_string(id) + "\" Type=\"" + kDocument +
                        "/image\" Target=\"../media/" + mediaName(*picture) + "\"/>\n";
        }
        for (std::size_t i = 0; i < sheets_.size(); ++i) {
            sheets_[i].writeTo(zip, static_cast<int>(i) + 1, printSetup(i == 0), pictures);
        }
        zip.finish();
        reportLosses();
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
        add("dc:title", options().info.title);
        add("dc:subject", options().info.subject);
        add("dc:creator", options().info.author);
        add("cp:keywords", options().info.keywords);
        return xml + "</cp:coreProperties>\n";
    }

    std::string workbook() const {
        const std::u16string name = sheetName(options().info.title);
        std::string xml = std::string(kXmlHead) + "<workbook xmlns=\"" + kMain + "\" xmlns:r=\"" + kDocument +
                          "\">\n<bookViews><workbookView/></bookViews>\n<sheets>";
        for (std::size_t i = 1; i <= sheets_.size(); ++i) {
            const std::string number = std::to_string(i);
            xml += "<sheet name=\"";
            appendMarkup(xml, name);
            if (i > 1) xml += " (" + number + ")";
            xml += "\" sheetId=\"";
            xml += number;
            xml += "\" r:id=\"rId";
            xml += number;
            xml += "\"/>";
        }
        xml += "</sheets>\n";
        // Printed pages bring their titles with them.
        if (titles().last >= titles().first && !options().paged) {
            std::u16string quoted;
            for (const char16_t c : name) quoted.append(c == u'\'' ? 2 : 1, c);
            xml += "<definedNames><definedName name=\"_xlnm.Print_Titles\" localSheetId=\"0\">'";
            appendMarkup(xml, quoted);
            xml += "'!$" + std::to_string(titles().first + 1) + ":$" + std::to_string(titles().last + 1) +
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

    std::string& output_;
    std::vector<XlsxSheet> sheets_;
    std::map<std::uint64_t, std::shared_ptr<const Picture>> pictures_;
    std::vector<Item> late_;
};

}  // namespace

std::unique_ptr<PageSink> makeXlsxWriter(const SheetOptions& options, std::string& output) {
    return std::make_unique<XlsxWriter>(options, output);
}

}  // namespace qbsvrl6
