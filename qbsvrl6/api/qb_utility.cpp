// Number formatting and barcodes outside of reports.
#include <optional>
#include <string>

#include "qbsvrl6/api/barcode_request.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/bind/number_format.h"

using namespace qbsvrl6;
using namespace quillbrook;

tagQBUtility* QBReportGetUtility(tagQBReport* handle) {
    return withObject(__func__, handle,
                      [](Report& report, Runtime& owner) { return toHandle<tagQBUtility>(&report, owner); });
}

const lkchar* QBUtilityNumberFormat(tagQBUtility* handle, const lkchar* format, double number) {
    return withObject(__func__, handle, [&](Report& report) {
        NumberFormat parsed(textFrom(format));
        std::u16string& kept = runtimeOf(report).formattedNumber;
        std::optional<Color> color;
        kept.clear();
        parsed.append(number, kept, color);
        return kept.c_str();
    });
}

const lkchar* QBGenerateBarcodeGraph(const lkchar* json) {
    return guarded(__func__, static_cast<const lkchar*>(nullptr), [&] {
        thread_local std::u16string kept;
        kept = barcodeSvg(parseBarcodeRequest(textFrom(json)));
        // NOLINTNEXTLINE(clang-analyzer-cplusplus.InnerPointer): kept lives as long as the thread
        return kept.c_str();
    });
}
