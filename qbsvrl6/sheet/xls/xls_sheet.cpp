#include "qbsvrl6/sheet/xls/xls_sheet.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "qbsvrl6/sheet/escape.h"
#include "qbsvrl6/sheet/workbook/sheet_value.h"
#include "qbsvrl6/sheet/xls/biff.h"
#include "qbsvrl6/sheet/xls/xls_styles.h"

namespace qbsvrl6 {

namespace {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;

double inches(Micrometres length) { return std::max(length, 0) / 25400.0; }

// A row's height in twentieths of a point, rounded up to quarters of a point so that no text is cut off.
u16 twips(Micrometres height) {
    return static_cast<u16>(std::clamp(std::ceil(points(height) * 4) * 5, 5.0, 8190.0));
}

// Cells have a fixed size and are written by the million: they are assembled on the stack.
template <typename... Values>
void putCell(std::string& out, u16 number, Values... values) {
    char raw[4 + (sizeof(Values) + ...)];
    char* at = &raw[0];
    const auto put = [&](auto value) {
        std::memcpy(at, &value, sizeof value);
        at += sizeof value;
    };
    put(number);
    put(static_cast<u16>(sizeof raw - 4));
    (put(values), ...);
    out.append(&raw[0], sizeof raw);
}

// Whole numbers of 30 bits have a short form. Negative zero has none.
bool shortForm(double number, u32& rk) {
    if (number == 0 && std::signbit(number)) return false;
    if (std::abs(number) >= 1 << 29 || number != std::trunc(number)) return false;
    rk = static_cast<u32>(static_cast<std::int32_t>(number)) << 2 | 2;
    return true;
}

void putPageNumbers(std::string& out, u16 number, const PageNumberCode& code) {
    if (code.text().empty()) {
        putEmptyRecord(out, number);
        return;
    }
    std::u16string buffer;
    const std::u16string_view text = cleanText(code.text(), buffer);
    BiffRecord(out, number).put(static_cast<u16>(text.size()), u8{1}).utf16(text);
}

}  // namespace

// ROW:
//   u16 row | u16 first column, end | u16 height | u16 unused, unused | u16 flags | u16 style
void XlsSheet::beginRow(Micrometres height, int outline) {
    constexpr u16 kCustomHeight = 0x0140;  // the lowest bits are the outline
    const auto row = static_cast<u16>(rows_);
    rowHeights_.push_back(height);
    putCell(cells_, biff::kRow, row, u16{0}, u16{kMaxColumns}, twips(height), u16{0}, u16{0},
            static_cast<u16>(kCustomHeight | outline), kXlsPlainStyle);
}

// All cells begin with their position and style:
//   u16 row | u16 column | u16 style
// BLANK has nothing more, RK a short number (u32), NUMBER a double, BOOLERR u8 value and u8 "is an error",
// LABELSST the number of a shared text (u32).
void XlsSheet::addBlank(int column, u16 style) {
    columns_ = std::max(columns_, column + 1);
    putCell(cells_, biff::kBlank, static_cast<u16>(rows_), static_cast<u16>(column), style);
}

XlsSheet::CellPlace XlsSheet::place(int column, u16 style) {
    columns_ = std::max(columns_, column + 1);
    return {static_cast<u16>(rows_), static_cast<u16>(column), style};
}

void XlsSheet::addNumber(int column, u16 style, double number) {
    putNumber(cells_, place(column, style), number);
}

void XlsSheet::addFormula(int column, u16 style, double number, const SheetFormula& formula) {
    putFormula(cells_, place(column, style), number, formula);
}

void XlsSheet::addLaterFormula(int column, u16 style, double number, std::size_t formula) {
    gaps_.push_back({cells_.size(), place(column, style), number, formula});
}

void XlsSheet::putNumber(std::string& out, const CellPlace& cell, double number) {
    u32 rk = 0;
    if (shortForm(number, rk)) {
        putCell(out, biff::kRk, cell.row, cell.column, cell.style, rk);
    } else {
        putCell(out, biff::kNumber, cell.row, cell.column, cell.style, number);
    }
}

// FORMULA, after the position and style:
//   double value | u16 flags | u32 unused | u16 bytes of the formula | the formula, in postfix notation:
//   u8 token, u16 number of the subtotal's function | u8 token, u16 first row, last row, first column, last
//   column | u8 token, u8 count of arguments, u16 function
void XlsSheet::putFormula(std::string& out, const CellPlace& cell, double number,
                          const SheetFormula& formula) {
    struct Function {
        u16 plain, subtotal;
    };
    constexpr std::array<Function, 5> kFunctions = {{{4, 9}, {5, 1}, {0, 2}, {6, 5}, {7, 4}}};
    constexpr u16 kSubtotal = 344;
    constexpr u8 kInteger = 0x1E;
    constexpr u8 kArea = 0x25;
    constexpr u8 kCall = 0x42;
    constexpr int kRelative = 0xC000;  // row and column
    const Function& function = kFunctions[static_cast<std::size_t>(formula.function)];
    std::string tokens;
    ByteWriter writer(tokens);
    if (formula.isSubtotal) writer.put(kInteger, function.subtotal);
    writer.put(kArea, static_cast<u16>(formula.firstRow), static_cast<u16>(formula.lastRow),
               static_cast<u16>(formula.column | kRelative), static_cast<u16>(formula.column | kRelative));
    writer.put(kCall, static_cast<u8>(formula.isSubtotal ? 2 : 1),
               formula.isSubtotal ? kSubtotal : function.plain);
    BiffRecord(out, biff::kFormula)
        .put(cell.row, cell.column, cell.style, number, u16{0}, u32{0}, static_cast<u16>(tokens.size()))
        .bytes(tokens);
}

void XlsSheet::addBoolean(int column, u16 style, bool value) {
    columns_ = std::max(columns_, column + 1);
    putCell(cells_, biff::kBoolean, static_cast<u16>(rows_), static_cast<u16>(column), style,
            static_cast<u8>(value ? 1 : 0), u8{0});
}

void XlsSheet::addText(int column, u16 style, u32 text) {
    columns_ = std::max(columns_, column + 1);
    putCell(cells_, biff::kLabelSst, static_cast<u16>(rows_), static_cast<u16>(column), style, text);
}

XlsSheet::Range XlsSheet::rangeOf(int column, int columnSpan, int rowSpan) const {
    return {static_cast<u16>(rows_), static_cast<u16>(std::min(rows_ + rowSpan, kMaxRows) - 1),
            static_cast<u16>(column), static_cast<u16>(column + columnSpan - 1)};
}

void XlsSheet::merge(int column, int columnSpan, int rowSpan) {
    merges_.push_back(rangeOf(column, columnSpan, rowSpan));
}

// HLINK:
//   u16 first row, last row, first column, last column | 16 bytes class | u32 version | u32 flags, and then
//   16 bytes class of the address | u32 its bytes | the address with a zero, or for a place in the workbook
//   u32 its units | the place with a zero
void XlsSheet::link(int column, int columnSpan, int rowSpan, std::u16string_view address) {
    constexpr u32 kVersion = 2;
    constexpr u32 kHasAddress = 1;
    constexpr u32 kIsAbsolute = 2;
    constexpr u32 kHasPlace = 8;
    constexpr std::array<u32, 4> kStandardLink = {0x79EAC9D0, 0x11CEBAF9, 0xAA00828C, 0x0BA94B00};
    constexpr std::array<u32, 4> kAddress = {0x79EAC9E0, 0x11CEBAF9, 0xAA00828C, 0x0BA94B00};
    const Range range = rangeOf(column, columnSpan, rowSpan);
    BiffRecord record(links_, biff::kHyperlink);
    record.put(range.firstRow, range.lastRow, range.firstColumn, range.lastColumn);
    for (const u32 part : kStandardLink) record.put(part);
    if (address.starts_with(u'#')) {
        record.put(kVersion, kHasPlace).put(static_cast<u32>(address.size()));
        record.utf16(address.substr(1)).put(u16{0});
        return;
    }
    const bool isAbsolute = address.substr(0, address.find_first_of(u"/?#")).find(u':') != address.npos;
    record.put(kVersion, isAbsolute ? kHasAddress | kIsAbsolute : kHasAddress);
    for (const u32 part : kAddress) record.put(part);
    record.put(static_cast<u32>(2 * (address.size() + 1))).utf16(address).put(u16{0});
}

void XlsSheet::breakPage() {
    constexpr std::size_t kMaxBreaks = 1026;
    if (rows_ == 0 || rows_ >= kMaxRows || breaks_.size() >= kMaxBreaks) return;
    if (breaks_.empty() || breaks_.back() != rows_) breaks_.push_back(static_cast<u16>(rows_));
}

std::string XlsSheet::records(const PrintSetup& print, const SheetFeatures& features,
                              const EscherSheet& drawing, const ColumnTotals& totals) {
    std::string out;
    writeHead(out, print, features);
    std::string tail;
    writeTail(tail, print, features, drawing);
    out.reserve(out.size() + cells_.size() + tail.size());
    std::size_t from = 0;
    for (const Gap& gap : gaps_) {
        out.append(cells_, from, gap.at - from);
        from = gap.at;
        const std::optional<SheetFormula>& formula = totals.laterFormula(gap.formula);
        if (formula) {
            putFormula(out, gap.cell, gap.number, *formula);
        } else {
            putNumber(out, gap.cell, gap.number);
        }
    }
    out.append(cells_, from);
    cells_ = {};
    out += tail;
    return out;
}

// GUTS: u16 width of the outline of rows, of columns | u16 its levels, with that of the rest
// WSBOOL: u16 flags.
// HORIZONTALPAGEBREAKS: u16 count, and for each
//   u16 first row of the page | u16 first column, last column
// COLINFO:
//   u16 first column, last column | u16 width in 1/256 of a digit | u16 style | u16 flags | u16 unused
// DIMENSIONS:
//   u32 first row, end | u16 first column, end | u16 unused
void XlsSheet::writeHead(std::string& out, const PrintSetup& print, const SheetFeatures& features) const {
    constexpr u16 kFitToPages = 0x0100;
    constexpr u16 kUsual = 0x0001;
    constexpr u16 kSummariesBelow = 0x0040;
    constexpr u16 kSummariesAtRight = 0x0080;
    putBof(out, biff::kSheetPart);
    const std::vector<int>& outlines = features.columnOutlines;
    const int columnLevels = outlines.empty() ? 0 : *std::max_element(outlines.begin(), outlines.end());
    if (features.rowOutlines > 0 || columnLevels > 0) {
        const auto levels = [](int count) { return static_cast<u16>(count > 0 ? count + 1 : 0); };
        const auto width = [](int count) { return static_cast<u16>(count > 0 ? 17 + 12 * count : 0); };
        BiffRecord(out, biff::kGuts)
            .put(width(features.rowOutlines), width(columnLevels), levels(features.rowOutlines),
                 levels(columnLevels));
    }
    BiffRecord(out, biff::kWsBool)
        .put(static_cast<u16>(kUsual | (features.hasSummariesAbove ? 0 : kSummariesBelow) |
                              (features.hasSummariesAtLeft ? 0 : kSummariesAtRight) |
                              (print.paged ? 0 : kFitToPages)));
    if (!breaks_.empty()) {
        BiffRecord record(out, biff::kHorizontalPageBreaks);
        record.put(static_cast<u16>(breaks_.size()));
        for (const u16 row : breaks_) record.put(row, u16{0}, u16{kMaxColumns - 1});
    }
    writePageSetup(out, print);
    u16 column = 0;
    for (const int pixels : print.columnPixels()) {
        // In 1/256 of a digit.
        const auto width = static_cast<u16>(std::lround(pixels * 256.0 / kPixelsPerDigit));
        const int outline = column < outlines.size() ? outlines[column] : 0;
        BiffRecord(out, biff::kColInfo)
            .put(column, column, width, kXlsPlainStyle, static_cast<u16>(outline << 8), u16{0});
        ++column;
    }
    BiffRecord(out, biff::kDimensions)
        .put(u32{0}, static_cast<u32>(rows_), u16{0}, static_cast<u16>(columns_), u16{0});
}

// HEADER, FOOTER: the code as a text of two bytes per unit; empty: none.
// LEFTMARGIN, RIGHTMARGIN, TOPMARGIN, BOTTOMMARGIN: a double, in inches.
// SETUP:
//   u16 paper | u16 scale in percent | u16 number of the first page | u16 pages in width, in height
//   u16 flags | u16 resolution across, down | double margin of the header, of the footer | u16 copies
void XlsSheet::writePageSetup(std::string& out, const PrintSetup& print) const {
    const Size paper = print.page.paper;
    const Edges margins = print.margins();
    putPageNumbers(out, biff::kHeader, print.header);
    putPageNumbers(out, biff::kFooter, print.footer);
    BiffRecord(out, biff::kLeftMargin).put(inches(margins.left));
    BiffRecord(out, biff::kRightMargin).put(inches(margins.right));
    BiffRecord(out, biff::kTopMargin).put(inches(margins.top));
    BiffRecord(out, biff::kBottomMargin).put(inches(margins.bottom));
    constexpr u16 kFirstPage = 1;
    constexpr u16 kOnePageWide = 1;
    constexpr u16 kAnyHeight = 0;
    constexpr u16 kPortrait = 2;
    constexpr u16 kResolution = 600;
    constexpr u16 kCopies = 1;
    const u16 flags = paper.width <= paper.height ? kPortrait : 0;
    BiffRecord(out, biff::kSetup)
        .put(static_cast<u16>(print.paperNumber()), static_cast<u16>(print.scale()), kFirstPage, kOnePageWide,
             kAnyHeight, flags, kResolution, kResolution, inches(print.headerMargin()),
             inches(print.footerMargin()), kCopies);
}

// WINDOW2:
//   u16 flags | u16 first row, column in view | u32 colour of grid lines | u16 zoom as pages, as a sheet
//   u32 unused
// PANE:
//   u16 columns at the left | u16 rows at the top | u16 first row below, column at the right | u8 active pane
//   u8 unused
// MERGECELLS: u16 count, and for each
//   u16 first row, last row, first column, last column
void XlsSheet::writeTail(std::string& out, const PrintSetup& print, const SheetFeatures& features,
                         const EscherSheet& drawing) const {
    constexpr u16 kUsualView = 0x04B6;  // visible, with grid lines, headings, zeros and default colours
    constexpr u32 kAutomaticColor = 64;
    constexpr u16 kFrozen = 0x0108;
    constexpr u16 kSelected = 0x0200;
    constexpr u8 kLowerRightPane = 0;
    constexpr u8 kRightPane = 1;
    constexpr u8 kLowerPane = 2;
    const auto rows = static_cast<u16>(frozenRows_);
    const auto columns = static_cast<u16>(features.frozenColumns);
    const bool isFrozen = rows > 0 || columns > 0;
    if (!shapes_.empty()) writeDrawing(out, print, drawing);
    BiffRecord(out, biff::kWindow2)
        .put(static_cast<u16>(kUsualView | (isFrozen ? kFrozen : 0) | (print.isFirstSheet ? kSelected : 0)),
             u16{0}, u16{0}, kAutomaticColor, u16{0}, u16{0}, u32{0});
    if (isFrozen) {
        const u8 active = columns == 0 ? kLowerPane : rows == 0 ? kRightPane : kLowerRightPane;
        BiffRecord(out, biff::kPane).put(columns, rows, rows, columns, active, u8{0});
    }
    constexpr std::size_t kMergesPerRecord = 1026;
    for (std::size_t i = 0; i < merges_.size(); i += kMergesPerRecord) {
        const std::size_t end = std::min(merges_.size(), i + kMergesPerRecord);
        BiffRecord record(out, biff::kMergeCells);
        record.put(static_cast<u16>(end - i));
        for (std::size_t k = i; k < end; ++k) {
            const Range& merge = merges_[k];
            record.put(merge.firstRow, merge.lastRow, merge.firstColumn, merge.lastColumn);
        }
    }
    out += links_;
    putEmptyRecord(out, biff::kEof);
}

// The first MSODRAWING record contains the frame of all shapes; each shape is followed by its OBJ, whose
// parts are a number, a length and bytes:
//   common data    u16 type | u16 number | u16 flags | 12 bytes unused
//   clipboard      u16 format
//   picture flags  u16
//   end
void XlsSheet::writeDrawing(std::string& out, const PrintSetup& print, const EscherSheet& drawing) const {
    constexpr u16 kEnd = 0x0000;
    constexpr u16 kClipboardFormat = 0x0007;
    constexpr u16 kPictureFlags = 0x0008;
    constexpr u16 kCommonData = 0x0015;
    constexpr u16 kPictureType = 8;
    constexpr u16 kUsualFlags = 0x6011;  // locked, printed, with automatic fill and line
    constexpr u16 kNoFormat = 0xFFFF;
    constexpr u16 kIsSized = 1;
    std::vector<std::string> shapes;
    std::size_t shapeBytes = 0;
    for (const XlsShape& shape : shapes_) {
        const auto number = static_cast<u32>(shapes.size()) + 1;
        const std::string place = anchor(shape, print.columnWidths);
        shapes.push_back(shape.line ? escherLine(drawing, number, *shape.line, place)
                                    : escherPicture(drawing, number, shape.picture, shape.cut, place));
        shapeBytes += shapes.back().size();
    }
    const std::string frame = escherFrame(drawing, shapeBytes);
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        BiffRecord(out, biff::kDrawing).bytes(i == 0 ? frame + shapes[0] : shapes[i]);
        BiffRecord(out, biff::kObj)
            .put(kCommonData, u16{18}, kPictureType, static_cast<u16>(i + 1), kUsualFlags)
            .zeros(12)
            .put(kClipboardFormat, u16{2}, kNoFormat, kPictureFlags, u16{2}, kIsSized, kEnd, u16{0});
    }
}

// The cells of two corners, with offsets in 1/1024 of the column's width and 1/256 of the row's height.
std::string XlsSheet::anchor(const XlsShape& shape, const std::vector<Micrometres>& columnWidths) const {
    const auto widthOf = [&](int column) {
        constexpr Micrometres kDefaultWidth = 17'000;
        const auto index = static_cast<std::size_t>(column);
        return std::max(index < columnWidths.size() ? columnWidths[index] : kDefaultWidth, 1);
    };
    const auto heightOf = [&](int row) {
        constexpr Micrometres kDefaultHeight = 4'500;
        const auto index = static_cast<std::size_t>(row);
        return std::max(
            index < rowHeights_.size() ? std::min(rowHeights_[index], kMaxRowHeight) : kDefaultHeight, 1);
    };
    struct Point {
        int cell;
        std::int64_t offset;
    };
    // A corner on an edge belongs to the cell before it: a shape that ends there must not extend into the
    // next.
    const auto walk = [](Point point, int last, auto sizeOf) {
        while (point.cell < last && point.offset > sizeOf(point.cell)) point.offset -= sizeOf(point.cell++);
        point.offset = std::min<std::int64_t>(point.offset, sizeOf(point.cell));
        return point;
    };
    const Point left = walk({shape.column, shape.x}, kMaxColumns - 1, widthOf);
    const Point top = walk({shape.row, shape.y}, kMaxRows - 1, heightOf);
    const Point right = walk({left.cell, left.offset + shape.width}, kMaxColumns - 1, widthOf);
    const Point bottom = walk({top.cell, top.offset + shape.height}, kMaxRows - 1, heightOf);
    // Two units before the edge: a reader that rounds up would count the next cell as used and print a page
    // for it.
    const auto part = [](const Point& point, std::int64_t whole, Micrometres size) {
        return static_cast<u16>(std::min(point.offset * whole / size, whole - 2));
    };
    std::string out;
    ByteWriter(out).put(static_cast<u16>(left.cell), part(left, 1024, widthOf(left.cell)),
                        static_cast<u16>(top.cell), part(top, 256, heightOf(top.cell)),
                        static_cast<u16>(right.cell), part(right, 1024, widthOf(right.cell)),
                        static_cast<u16>(bottom.cell), part(bottom, 256, heightOf(bottom.cell)));
    return out;
}

}  // namespace qbsvrl6
