// The words and ranges of attributes in the vocabulary of templates.
#ifndef QBSVR_QBSVRL6_TEMPLATE_SCHEMA_WORDS_H
#define QBSVR_QBSVRL6_TEMPLATE_SCHEMA_WORDS_H

#include <array>
#include <limits>

#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/template/values.h"

namespace qbsvrl6 {

// The words of enumerated attributes, with their values. Case matters. The first word is written for a
// value that has none: programs can set any number through the C interface.

// Vertical formats, in micrometres. Other papers have a width and a height instead of a size.
inline constexpr std::array<Word<Size>, 6> kPaperSizes = {{{"A3", {297'000, 420'000}},
                                                           {"A4", {210'000, 297'000}},
                                                           {"A5", {148'000, 210'000}},
                                                           {"A6", {105'000, 148'000}},
                                                           {"Letter", {215'900, 279'400}},
                                                           {"Legal", {215'900, 355'600}}}};
// Whether width and height of the size are exchanged.
inline constexpr std::array<Word<bool>, 2> kOrientations = {{{"portrait", false}, {"landscape", true}}};
inline constexpr std::array<Word<HttpMethod>, 2> kHttpMethods = {
    {{"GET", HttpMethod::Get}, {"POST", HttpMethod::Post}}};
// The types of fields and parameters. Their values are converted to it when they are read.
inline constexpr std::array<Word<DataType>, 4> kDataTypes = {{{"text", DataType::Text},
                                                              {"number", DataType::Number},
                                                              {"boolean", DataType::Boolean},
                                                              {"date", DataType::Date}}};
inline constexpr std::array<Word<PdfDuplex>, 4> kDuplexes = {{{"unset", PdfDuplex::Unset},
                                                              {"simplex", PdfDuplex::Simplex},
                                                              {"longEdge", PdfDuplex::LongEdge},
                                                              {"shortEdge", PdfDuplex::ShortEdge}}};
inline constexpr std::array<Word<WorkbookFreeze>, 3> kFreezes = {
    {{"titles", WorkbookFreeze::Titles}, {"both", WorkbookFreeze::Both}, {"none", WorkbookFreeze::None}}};
inline constexpr std::array<Word<WorkbookCharts>, 2> kWorkbookCharts = {
    {{"native", WorkbookCharts::Native}, {"drawn", WorkbookCharts::Drawn}}};
inline constexpr std::array<Word<AttachmentRelation>, 5> kRelations = {
    {{"Unspecified", AttachmentRelation::Unspecified},
     {"Data", AttachmentRelation::Data},
     {"Source", AttachmentRelation::Source},
     {"Alternative", AttachmentRelation::Alternative},
     {"Supplement", AttachmentRelation::Supplement}}};
// Of ideographs, which have other forms in each language. `auto` decides by the text and the font.
inline constexpr std::array<Word<TextLanguage>, 4> kLanguages = {{{"auto", TextLanguage::Unknown},
                                                                  {"zh", TextLanguage::Chinese},
                                                                  {"ja", TextLanguage::Japanese},
                                                                  {"ko", TextLanguage::Korean}}};
inline constexpr std::array<Word<HorizontalAlign>, 4> kAligns = {{{"left", HorizontalAlign::Left},
                                                                  {"center", HorizontalAlign::Center},
                                                                  {"right", HorizontalAlign::Right},
                                                                  {"justify", HorizontalAlign::Justify}}};
inline constexpr std::array<Word<VerticalAlign>, 3> kVerticalAligns = {
    {{"top", VerticalAlign::Top}, {"middle", VerticalAlign::Middle}, {"bottom", VerticalAlign::Bottom}}};
inline constexpr std::array<Word<TextFit>, 4> kFits = {{{"grow", TextFit::Grow},
                                                        {"clip", TextFit::Clip},
                                                        {"ellipsis", TextFit::Ellipsis},
                                                        {"shrink", TextFit::Shrink}}};
// Degrees clockwise.
inline constexpr std::array<Word<int>, 4> kRotations = {{{"0", 0}, {"90", 90}, {"180", 180}, {"270", 270}}};
// The scope that has to be complete before a text is evaluated.
inline constexpr std::array<Word<TextContent::Evaluate>, 4> kEvaluations = {
    {{"now", TextContent::Evaluate::Now},
     {"page", TextContent::Evaluate::Page},
     {"group", TextContent::Evaluate::Group},
     {"report", TextContent::Evaluate::Report}}};
inline constexpr std::array<Word<PictureFit>, 3> kPictureFits = {
    {{"contain", PictureFit::Contain}, {"stretch", PictureFit::Stretch}, {"clip", PictureFit::Clip}}};
inline constexpr std::array<Word<ChartKind>, 5> kChartKinds = {{{"bar", ChartKind::Bar},
                                                                {"pie", ChartKind::Pie},
                                                                {"line", ChartKind::Line},
                                                                {"scatterLine", ChartKind::ScatterLine},
                                                                {"bubble", ChartKind::Bubble}}};
// How the values of the rows of one category become one number.
inline constexpr std::array<Word<ChartAggregate>, 5> kChartAggregates = {
    {{"sum", ChartAggregate::Sum},
     {"average", ChartAggregate::Average},
     {"count", ChartAggregate::Count},
     {"minimum", ChartAggregate::Minimum},
     {"maximum", ChartAggregate::Maximum}}};
// Whether the rows of a sub-report are those of the section around it.
inline constexpr std::array<Word<bool>, 2> kSubReportRows = {{{"table", false}, {"section", true}}};
// What happens to columns that are wider than the page (docs/column-adapt.md). The methods with `Ex`
// put the remaining columns after all rows, the others after the rows of each page; `RepeatFixed` repeats the
// first `fixedColumns` columns on them.
inline constexpr std::array<Word<ColumnAdapt>, 9> kAdapts = {
    {{"discard", ColumnAdapt::Discard},
     {"wrap", ColumnAdapt::Wrap},
     {"resizeToFit", ColumnAdapt::ResizeToFit},
     {"shrinkToFit", ColumnAdapt::ShrinkToFit},
     {"toNewPage", ColumnAdapt::ToNewPage},
     {"toNewPageEx", ColumnAdapt::ToNewPageEx},
     {"toNewPageRepeatFixed", ColumnAdapt::ToNewPageRepeatFixed},
     {"toNewPageRepeatFixedEx", ColumnAdapt::ToNewPageRepeatFixedEx},
     {"wrapExcludeGroup", ColumnAdapt::WrapExcludeGroup}}};

// Whether labels follow one another downwards.
inline constexpr std::array<Word<bool>, 2> kFlows = {{{"across", false}, {"down", true}}};
// The numbers of pages that a section starts on.
inline constexpr std::array<Word<PageSide>, 3> kPageSides = {
    {{"any", PageSide::Any}, {"odd", PageSide::Odd}, {"even", PageSide::Even}}};
inline constexpr std::array<Word<TotalPlace>, 2> kTotalPlaces = {
    {{"after", TotalPlace::After}, {"before", TotalPlace::Before}}};

// x and y are relative to the upper left corner of the section, which begins at the left margin. They may be
// negative: controls may begin in the margin.
inline constexpr LengthCodec kPosition{-limits::kPaperMicrometres, limits::kPaperMicrometres};
// Finite: the grammar of numbers has no other.
inline constexpr NumberCodec kAnyNumber{-std::numeric_limits<double>::max(),
                                        std::numeric_limits<double>::max()};

}  // namespace qbsvrl6

#endif
