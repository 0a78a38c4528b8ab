// XLS workbooks. The stream consists of the part of the workbook (styles, names of sheets, texts) and one
// part per sheet. The former is built last: it contains the offsets of the latter, and texts that are known
// only at the end.
#include <algorithm>
#include <optional>
#include <utility>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/workbook/drawing_picture.h"
#include "qbsvrl6/sheet/workbook/workbook_sink.h"
#include "qbsvrl6/sheet/xls/biff.h"
#include "qbsvrl6/sheet/xls/compound_file.h"
#include "qbsvrl6/sheet/xls/shared_texts.h"
#include "qbsvrl6/sheet/xls/xls_sheet.h"
#include "qbsvrl6/sheet/xls/xls_styles.h"

namespace qbsvrl6 {

namespace {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;

u16 xfOf(int style) { return static_cast<u16>(kXlsFirstStyle + style); }

class XlsWriter final : public WorkbookSink {
public:
    XlsWriter(const SheetOptions& options, Spool& output)
        : WorkbookSink(options,
                       {XlsSheet::kMaxRows, XlsSheet::kMaxColumns, XlsSheet::kMaxUnits, kXlsMaxStyles}),
          output_(output) {
        sheets_.emplace_back();
    }

private:
    XlsSheet& sheet() { return sheets_.back(); }

    void beginSheet() override { sheets_.emplace_back(); }
    std::int64_t rowCount() const override { return sheets_.back().rowCount(); }
    void beginRow(Micrometres height, int outline) override { sheet().beginRow(height, outline); }
    void addBlank(int column, int style) override { sheet().addBlank(column, xfOf(style)); }
    void addValue(int column, int style, const SheetValue& value) override {
        switch (value.kind) {
            case SheetValue::Kind::Blank:
                sheet().addBlank(column, xfOf(style));
                break;
            case SheetValue::Kind::Text:
                sheet().addText(column, xfOf(style), texts_.add(cleanText(value.text, buffer_)));
                break;
            case SheetValue::Kind::Number:
                if (value.formula) {
                    sheet().addFormula(column, xfOf(style), value.number, *value.formula);
                } else if (value.laterFormula) {
                    sheet().addLaterFormula(column, xfOf(style), value.number, *value.laterFormula);
                } else {
                    sheet().addNumber(column, xfOf(style), value.number);
                }
                break;
            case SheetValue::Kind::Boolean:
                sheet().addBoolean(column, xfOf(style), value.boolean);
                break;
        }
    }
    void addPending(int column, int style, Item&& item) override {
        pending_.emplace_back(texts_.reserve(), std::move(item));
        sheet().addText(column, xfOf(style), pending_.back().first);
    }
    void endRow() override { sheet().endRow(); }
    void merge(int column, int columnSpan, int rowSpan) override {
        sheet().merge(column, columnSpan, rowSpan);
    }
    bool link(int column, int columnSpan, int rowSpan, std::u16string_view address) override {
        sheet().link(column, columnSpan, rowSpan, address);
        return true;
    }
    void breakPage() override { sheet().breakPage(); }
    void freezeAbove(std::int64_t row) override { sheet().freezeAbove(static_cast<int>(row)); }

    void addOverlay(const Overlay& overlay) override {
        std::optional<LineContent> line;
        std::uint32_t picture = 0;
        if (const auto* item = std::get_if<LineItem>(&overlay.item->content)) {
            line = item->line;
        } else if ((picture = pictures_.numberOf(*overlay.item)) == 0) {
            return;
        }
        const Rect box = pictureBox(*overlay.item);
        sheet().add({picture, pictureCut(*overlay.item), line, sheet().rowCount(), overlay.column,
                     std::max(overlay.x + box.x, 0), std::max(overlay.y + box.y, 0), box.width, box.height});
    }

    void close(PendingTexts& pending) override {
        for (auto& [number, item] : pending_) {
            settleCell(item, pending);
            texts_.set(number, cleanText(sheetValue(&item, XlsSheet::kMaxUnits).text, buffer_));
        }
        const std::vector<EscherSheet> drawings = numberShapes();
        std::vector<std::string> parts(1);
        std::size_t nextDrawing = 0;
        for (std::size_t i = 0; i < sheets_.size(); ++i) {
            const bool hasDrawing = sheets_[i].shapeCount() > 0;
            parts.push_back(sheets_[i].records(printSetup(i), featuresOf(i),
                                               hasDrawing ? drawings[nextDrawing++] : EscherSheet(),
                                               totals()));
        }
        parts[0] = workbookPart(parts, drawings);
        writeCompoundFile(output_.end(), u"Workbook", std::move(parts));
        reportLosses();
    }

    std::vector<EscherSheet> numberShapes() const {
        std::vector<EscherSheet> drawings;
        u32 cluster = 1;
        for (std::size_t i = 0; i < sheets_.size(); ++i) {
            if (sheets_[i].shapeCount() == 0) continue;
            drawings.push_back({static_cast<int>(drawings.size()) + 1, cluster,
                                static_cast<u32>(sheets_[i].shapeCount()) + 1});
            cluster += drawings.back().clusters();
        }
        return drawings;
    }

    std::string workbookPart(const std::vector<std::string>& parts,
                             const std::vector<EscherSheet>& drawings) const {
        std::string out;
        putBof(out, biff::kWorkbookPart);
        // CODEPAGE: u16.
        constexpr u16 kUtf16 = 1200;
        BiffRecord(out, biff::kCodePage).put(kUtf16);
        // WINDOW1:
        //   u16 left, top, width, height in 1/20 point | u16 flags | u16 sheet in view, first tab in view
        //   u16 selected sheets | u16 width of the tabs in 1/1000
        constexpr u16 kScrollBarsAndTabs = 0x0038;
        BiffRecord(out, biff::kWindow1)
            .put(u16{0}, u16{0}, u16{0x4000}, u16{0x2000}, kScrollBarsAndTabs, u16{0}, u16{0}, u16{1},
                 u16{600});
        writeXlsStyles(out, styles().styles());
        // BOUNDSHEET, for each sheet:
        //   u32 offset of its part | u8 visibility | u8 type
        //   u8 length of the name | u8 two bytes per unit | name
        const std::vector<std::u16string> names = sheetNames();
        std::vector<std::size_t> offsetPositions;
        for (std::size_t i = 0; i < sheets_.size(); ++i) {
            offsetPositions.push_back(out.size() + 4);
            BiffRecord(out, biff::kBoundSheet)
                .put(u32{0}, u8{0}, u8{0}, static_cast<u8>(names[i].size()), u8{1})
                .utf16(names[i]);
        }
        writeDefinedNames(out);
        if (!drawings.empty())
            putLongRecord(out, biff::kDrawingGroup, escherWorkbook(drawings, pictures_.pictures()));
        texts_.write(out);
        putEmptyRecord(out, biff::kEof);
        std::size_t offset = out.size();
        for (std::size_t i = 0; i < sheets_.size(); ++i) {
            const auto start = static_cast<u32>(offset);
            std::memcpy(out.data() + offsetPositions[i], &start, sizeof start);
            offset += parts[i + 1].size();
        }
        return out;
    }

    // A built-in name of one sheet, and its area.
    struct DefinedName {
        u8 name = 0;
        std::size_t sheet = 0;
        SheetArea area;
    };

    // What is printed, and the title rows that the spreadsheet repeats on each page. Printed pages contain their
    // titles.
    std::vector<DefinedName> definedNames() const {
        constexpr u8 kPrintArea = 6;
        constexpr u8 kPrintTitles = 7;
        const std::vector<TitleRows> titles = this->titles();
        std::vector<DefinedName> names;
        for (std::size_t i = 0; i < titles.size(); ++i) {
            const SheetFeatures features = featuresOf(i);
            if (features.printArea) names.push_back({kPrintArea, i, *features.printArea});
            if (options().paged || titles[i].last < titles[i].first) continue;
            names.push_back(
                {kPrintTitles, i, {titles[i].first, titles[i].last, 0, XlsSheet::kMaxColumns - 1}});
        }
        return names;
    }

    // Names refer to the workbook's list of sheets.
    // SUPBOOK: u16 sheets | u16 code of this workbook
    // EXTERNSHEET: u16 count, and for each u16 SUPBOOK | u16 first sheet, last sheet
    // NAME:
    //   u16 flags | u8 shortcut | u8 length of the name | u16 bytes of the formula | u16 unused | u16 sheet, from 1
    //   u8 lengths of menu, description, help, status text | u8 one byte per unit | name | formula
    // The formula is one area:
    //   u8 token | u16 EXTERNSHEET's entry | u16 first row, last row, first column, last column
    void writeDefinedNames(std::string& out) const {
        constexpr u8 kArea = 0x3B;
        constexpr u16 kBuiltIn = 0x0020;
        const std::vector<DefinedName> names = definedNames();
        if (names.empty()) return;
        std::vector<u16> sheets;
        for (const DefinedName& name : names) sheets.push_back(static_cast<u16>(name.sheet));
        sheets.erase(std::unique(sheets.begin(), sheets.end()), sheets.end());
        BiffRecord(out, biff::kSupBook).put(static_cast<u16>(sheets_.size()), u16{0x0401});
        {
            BiffRecord entries(out, biff::kExternSheet);
            entries.put(static_cast<u16>(sheets.size()));
            for (const u16 sheet : sheets) entries.put(u16{0}, sheet, sheet);
        }
        for (const DefinedName& name : names) {
            const auto sheet = static_cast<u16>(name.sheet);
            const auto entry = std::lower_bound(sheets.begin(), sheets.end(), sheet) - sheets.begin();
            const SheetArea& area = name.area;
            BiffRecord(out, biff::kName)
                .put(kBuiltIn, u8{0}, u8{1}, u16{11}, u16{0}, static_cast<u16>(sheet + 1), u8{0}, u8{0},
                     u8{0}, u8{0}, u8{0}, name.name, kArea, static_cast<u16>(entry),
                     static_cast<u16>(area.firstRow), static_cast<u16>(area.lastRow),
                     static_cast<u16>(area.firstColumn), static_cast<u16>(area.lastColumn));
        }
    }

    Spool& output_;
    std::vector<XlsSheet> sheets_;
    SharedTexts texts_;
    std::u16string buffer_;
    PictureList pictures_;
    std::vector<std::pair<u32, Item>> pending_;  // with the text's number
};

}  // namespace

std::unique_ptr<PageSink> makeXlsWriter(const SheetOptions& options, Spool& output) {
    return std::make_unique<XlsWriter>(options, output);
}

}  // namespace qbsvrl6
