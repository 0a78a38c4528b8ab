#include "qbsvrl6/sheet/text/htm_rules.h"

#include <algorithm>
#include <cmath>

#include "qbsvrl6/sheet/text/css.h"
#include "qbsvrl6/support/append.h"

namespace qbsvrl6 {

namespace {

// On a screen, each page is a sheet of paper. If the screen is narrower than that, the detail grid scrolls
// sideways, together with the totals below it, and the columns of free controls share the width of the screen
// in proportion; on a phone, free controls wrap row by row, or block by block.
constexpr const char* kRules = R"(:root{color-scheme:only light}
body{margin:0;background:#e8e8e8;color:#000}
.page{display:flex;flex-direction:column;box-sizing:border-box;width:max-content;min-width:var(--paper);
min-height:var(--height);padding:var(--padding);margin:4mm auto;background:#fff;box-shadow:0 0 2mm #999}
table{border-collapse:collapse;table-layout:fixed;width:var(--table)}
td,th{box-sizing:border-box;white-space:pre-wrap;overflow-wrap:anywhere;font-weight:normal}
.n{white-space:nowrap}
[dir=auto]{unicode-bidi:plaintext}
a{color:inherit}
svg{display:block;margin:0 0 -1mm}
.grid thead{position:sticky;top:0;z-index:1;background:#fff}
.foot{margin-top:auto}
.r90,.r180,.r270{display:inline-block}
.r90,.r270{writing-mode:vertical-rl;text-orientation:sideways}
.r180,.r270{transform:rotate(180deg)}
@media screen and (prefers-color-scheme:dark){body{background:#2a2a2a}}
@media print{.cut{max-height:var(--cut);overflow:hidden}
body{background:none}.page{margin:0;box-shadow:none}tr{break-inside:avoid}
.grid thead{position:static;background:none}
*{print-color-adjust:exact;-webkit-print-color-adjust:exact}}
)";
constexpr const char* kNarrowRules =
    R"(.page{width:auto;min-width:0;min-height:0;margin:2mm 0;padding:3mm;box-shadow:none;background:#fff}
.page::before{content:none!important}
.page{--rows:.5}
.grid{--rows:1;overflow-x:auto}
.free{width:100%;max-width:var(--table);--text:.75;--rows:.6}
.free svg{max-width:100%;height:auto!important}
)";
// Of the paper's width: on a narrower screen, proportional columns would be too narrow to read.
constexpr double kPhoneShare = 0.75;
// 600 pixels: on narrower screens, charts and figures are always below one another.
constexpr Micrometres kPhoneWidth = 158'750;
constexpr const char* kPhoneRules = R"(.free{--text:.8}
.free,.free tbody{display:block}
.free colgroup,.free td:empty{display:none}
.free tr{display:flex;flex-wrap:wrap;column-gap:2mm;height:auto}
.free td{flex:1 1 auto;min-width:0;max-width:100%}
.free .b{display:grid;grid-template-columns:repeat(24,minmax(0,1fr));row-gap:1mm}
.free .b tr{display:contents}
.free .b td{grid-row:var(--r);grid-column:var(--c)}
.free div{position:static!important}
.free .wide{overflow-x:auto}
.free .wide svg{max-width:none}
)";
// What is a little higher than on paper must not start another page: it reaches into the margin at the bottom, which
// is painted only if the page has a background.
constexpr const char* kSheetRules = R"(@media print{.page:not(:last-child){break-after:page}}
)";
constexpr const char* kPlainSheets =
    R"(@media print{.page{min-height:calc(var(--height) - var(--bottom) - 2px);padding-bottom:0;margin-bottom:var(--bottom)}}
)";
constexpr const char* kPaintedSheets = R"(@media print{.page{min-height:calc(var(--height) - 2px)}}
)";
constexpr const char* kContinuousRules =
    R"(@media print{.page{display:block;min-width:0;min-height:0;padding:0}}
)";
// A long table scrolls below its titles, in both directions.
constexpr const char* kNarrowTable = R"(.grid{max-height:90vh;overflow-y:auto}
)";

void appendLength(std::string& out, const std::string& rule, Micrometres length) {
    out += rule;
    appendMillimetres(out, length);
    out += "}\n";
}

void appendEdges(std::string& out, const char* rule, const Edges& edges) {
    out += rule;
    for (const Micrometres side : {edges.top, edges.right, edges.bottom, edges.left}) {
        appendMillimetres(out, std::max(side, 0));
        out += ' ';
    }
    out += "}\n";
}

void appendBackground(std::string& out, const std::string& selector, const Picture& picture) {
    out += selector + "{background:#fff 0 0/var(--paper) var(--height) no-repeat url(";
    appendDataAddress(out, picture);
    out += ")}\n";
}

// The background and watermark, which are painted below the texts of each page.
void appendBackdrop(std::string& out, const SheetOptions& options) {
    if (options.background != nullptr) appendBackground(out, ".page", *options.background);
    const Watermark& watermark = options.watermark;
    if (watermark.text.empty() || watermark.fontSize <= 0) return;
    out += ".page{position:relative;isolation:isolate;overflow:hidden}\n.page::before{content:'";
    appendCssText(out, watermark.text);
    out +=
        "';position:absolute;z-index:-1;left:calc(var(--paper)/2);top:calc(var(--height)/2);transform:"
        "translate(-50%,-50%) rotate(";
    appendNumber(out, -std::atan2(options.page.paper.height, options.page.paper.width), kCssDecimals);
    out += "rad);white-space:pre;font:";
    appendNumber(out, watermark.fontSize, kCssDecimals);
    out += "pt/1 ";
    appendFontFamily(out, u"SimHei");
    out += ";color:";
    appendColor(out, watermark.color);
    out += "}\n";
}

// Of pages on other paper than the report's.
void appendPaperRules(std::string& out, const SheetOptions& options, const PageInfo& page) {
    const std::string name = "paper" + std::to_string(page.paperKind);
    const Micrometres left = options.columnEdges.empty() ? 0 : options.columnEdges.front();
    appendLength(out, "." + name + "{--paper:", page.paper.width);
    appendLength(out, "." + name + "{--height:", page.paper.height);
    appendLength(out, "." + name + "{--bottom:", std::max(page.margins.bottom, 0));
    appendEdges(out, ("." + name + "{--padding:").c_str(),
                {left, page.margins.top, page.margins.right, page.margins.bottom});
    if (page.background != nullptr) appendBackground(out, ".page." + name, *page.background);
    out += "." + name + "{page:" + name + "}\n@page " + name + "{size:";
    appendMillimetres(out, page.paper.width);
    out += ' ';
    appendMillimetres(out, page.paper.height);
    appendEdges(out, ";margin:", options.pageBreaks ? Edges{} : page.margins);
}

}  // namespace

void appendPageRules(std::string& out, const SheetOptions& options, const CellGrid& grid,
                     const std::map<int, PageInfo>& papers) {
    const PageSetup& page = options.page;
    const Edges& margins = page.margins;
    Micrometres width = 0;
    for (int column = 0; column < grid.columnCount(); ++column) width += grid.columnWidth(column);
    const Micrometres left = options.columnEdges.empty() ? 0 : options.columnEdges.front();
    out += ":root{--text:1;--rows:1}\n";
    appendLength(out, ":root{--table:", width);
    appendLength(out, ":root{--paper:", page.paper.width);
    appendLength(out, ":root{--height:", options.paged ? page.paper.height : 0);
    appendLength(out, ":root{--bottom:", std::max(margins.bottom, 0));
    appendEdges(out, ":root{--padding:", {left, margins.top, margins.right, margins.bottom});
    out += kRules;
    for (int column = 0; column < grid.columnCount(); ++column) {
        appendLength(out, ".c" + std::to_string(column) + "{width:", grid.columnWidth(column));
    }
    if (options.paged) appendBackdrop(out, options);
    const Micrometres paper = std::max(page.paper.width, left + width + margins.right);
    out += "@media screen and (max-width:";
    appendMillimetres(out, paper);
    out += "){";
    out += kNarrowRules;
    if (!options.paged) out += kNarrowTable;
    for (int column = 0; column < grid.columnCount(); ++column) {
        out += ".free .c" + std::to_string(column) + "{width:";
        appendNumber(out, 100.0 * grid.columnWidth(column) / std::max(width, 1), kCssDecimals);
        out += "%}\n";
    }
    out += "}\n@media screen and (max-width:";
    appendMillimetres(out,
                      std::max(static_cast<Micrometres>(paper * kPhoneShare), std::min(paper, kPhoneWidth)));
    out += "){";
    out += kPhoneRules;
    out += "}\n";
    // Pages of the report contain their margins; without them, the printer makes the pages and the
    // margins.
    out += "@page{size:";
    appendMillimetres(out, page.paper.width);
    out += ' ';
    appendMillimetres(out, page.paper.height);
    const bool sheets = options.paged && options.pageBreaks;
    appendEdges(out, ";margin:", sheets ? Edges{} : margins);
    out += sheets ? kSheetRules : kContinuousRules;
    const bool isPainted = options.background != nullptr || !options.watermark.text.empty() ||
                           std::any_of(papers.begin(), papers.end(),
                                       [](const auto& other) { return other.second.background != nullptr; });
    if (sheets) out += isPainted ? kPaintedSheets : kPlainSheets;
    for (const auto& [kind, info] : papers) appendPaperRules(out, options, info);
}

}  // namespace qbsvrl6
