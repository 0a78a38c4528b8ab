// The named limits of the engine that never change (budget.h has those that an export's keeper sets). Templates and data are untrusted: whatever exceeds a limit is rejected with
// ErrorCode::LimitExceeded and a cause in the log, and never ends the process.
#ifndef QBSVR_QBSVRL6_SUPPORT_LIMITS_H
#define QBSVR_QBSVRL6_SUPPORT_LIMITS_H

#include <cstddef>
#include <cstdint>

namespace qbsvrl6::limits {

inline constexpr std::size_t kTemplateBytes = 64u << 20;
inline constexpr std::size_t kTemplateElements = 1'000'000;
inline constexpr std::size_t kTemplateErrors = 50;  // reported of one template
inline constexpr std::size_t kDataBytes = 1u << 30;
inline constexpr std::size_t kPictureBytes = 64u << 20;
inline constexpr std::int64_t kPicturePixels = 100'000'000;
inline constexpr std::int64_t kImagePagePixels = 100'000'000;  // of one page as an image
inline constexpr int kImageRows = 1'000'000;                   // of all pages in one image
inline constexpr int kXmlDepth = 200;
inline constexpr int kDataDepth = 200;
inline constexpr int kSubReportDepth = 16;
inline constexpr int kExpressionDepth = 100;
inline constexpr std::size_t kExpressionUnits = 16'384;  // of one expression's text
inline constexpr std::size_t kTextUnits = 1u << 24;      // of a text that expressions make or a page shows
inline constexpr std::size_t kGridColumns = 2'000;
inline constexpr std::size_t kGroups = 64;
inline constexpr std::size_t kDataColumns = 16'384;
inline constexpr std::size_t kChartSeries = 1'000;
inline constexpr std::size_t kChartPoints = 100'000;           // or values, of all series together
inline constexpr std::size_t kLogBytes = 8u << 20;             // then it becomes the old log
inline constexpr std::size_t kResultBytesInMemory = 1u << 28;  // of one report; further ones go to files
inline constexpr std::int32_t kPaperMicrometres = 5'000'000;
inline constexpr std::int32_t kBandMicrometres = 500'000'000;  // height of a section, width of a grid
inline constexpr std::size_t kLinesOfAKind = 50;      // in the log, of one export; the others are counted
inline constexpr std::size_t kKnownWarnings = 1'000;  // of one export, each reported once
inline constexpr int kFetchSeconds = 30;
inline constexpr int kFetchRedirects = 5;

}  // namespace qbsvrl6::limits

#endif
