// The fixed limits of the engine; budget.h has those that can be configured. Templates and data are
// untrusted: input that exceeds a limit is rejected with ErrorCode::LimitExceeded and a line in the log, and
// never ends the process.
#ifndef QBSVR_QBSVRL6_SUPPORT_LIMITS_H
#define QBSVR_QBSVRL6_SUPPORT_LIMITS_H

#include <cstddef>
#include <cstdint>

namespace qbsvrl6::limits {

inline constexpr std::size_t kTemplateBytes = 64u << 20;
inline constexpr std::size_t kTemplateErrors = 50;       // reported per template
inline constexpr std::size_t kLibraries = 64;            // that a template includes
inline constexpr std::size_t kIncludeDepth = 8;          // of libraries that include libraries
inline constexpr std::size_t kDataBytes = 1u << 30;      // of data that is not read in a window
inline constexpr std::size_t kDataRowBytes = 64u << 20;  // of a row that is read in a window
inline constexpr std::size_t kPictureBytes = 64u << 20;
inline constexpr std::int64_t kPicturePixels = 100'000'000;
inline constexpr std::int64_t kImagePagePixels = 100'000'000;  // of a page as an image
inline constexpr int kImageRows = 1'000'000;                   // of all pages in one image
inline constexpr int kXmlDepth = 200;
inline constexpr int kDataDepth = 200;
inline constexpr int kSubReportDepth = 16;
inline constexpr std::size_t kInheritedValues = 64;  // that a sub-report is passed and its own ones inherit
inline constexpr int kExpressionDepth = 100;
inline constexpr int kLookupDepth = 16;                  // lookups within the rows of lookups
inline constexpr std::size_t kExpressionUnits = 16'384;  // of one expression's text
inline constexpr std::size_t kTextUnits = 1u << 24;      // of an expression's result or a text on a page
inline constexpr std::size_t kGridColumns = 2'000;
inline constexpr std::size_t kNamedSheets = 500;  // of a workbook
inline constexpr std::size_t kTitleLevels = 16;
inline constexpr int kLabelCopies = 100'000;    // of one row
inline constexpr std::size_t kNamedPages = 64;  // of a template
inline constexpr std::size_t kGroups = 64;
inline constexpr std::size_t kCrossLevels = 16;  // of the rows, and of the columns, of a cross-table
inline constexpr std::size_t kCrossMeasures = 64;
inline constexpr std::size_t kCrossCells = 4'000'000;  // of a cross-table, totals included
inline constexpr std::size_t kMergedRows = 1'000;      // that merged cells hold together
inline constexpr std::size_t kMergedItems = 100'000;   // of such rows
inline constexpr std::size_t kSortTerms = 64;
inline constexpr std::size_t kGroupKeysWatched = 65'536;  // per level, for keys that occur in two groups
inline constexpr std::size_t kLookupResults = 65'536;     // known per lookup
inline constexpr std::size_t kDataColumns = 16'384;
inline constexpr std::size_t kNestedTables = 1'000;       // within one table
inline constexpr std::size_t kCsvFieldBytes = 64u << 20;  // in UTF-8
inline constexpr std::size_t kChartSeries = 1'000;
inline constexpr std::size_t kChartPoints = 100'000;           // or values, of all series of a chart
inline constexpr std::size_t kLogBytes = 8u << 20;             // then the file becomes the old log
inline constexpr std::size_t kResultBytesInMemory = 1u << 28;  // of one report; further ones go to files
inline constexpr std::int32_t kPaperMicrometres = 5'000'000;
inline constexpr std::int32_t kBandMicrometres = 500'000'000;  // height of a section, width of a grid
inline constexpr std::size_t kLinesOfAKind = 50;      // in the log, per export; further ones are counted
inline constexpr std::size_t kKnownWarnings = 1'000;  // per export; each is reported once
inline constexpr std::size_t kKeptMessages = 10'000;  // with a report, for its program
inline constexpr int kFetchSeconds = 30;
inline constexpr int kFetchRedirects = 5;
inline constexpr int kQuerySeconds = 300;              // of one query of a database
inline constexpr int kLockSeconds = 5;                 // for a database that somebody else writes to
inline constexpr std::size_t kQueryRows = 50'000'000;  // of one query
inline constexpr int kDatabaseValueBytes = 256 << 20;

}  // namespace qbsvrl6::limits

#endif
