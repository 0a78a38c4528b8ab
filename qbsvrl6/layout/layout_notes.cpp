#include <string>
#include <utility>

#include "qbsvrl6/layout/layout_context.h"
#include "qbsvrl6/layout/log_words.h"
#include "qbsvrl6/layout/text_layout.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

void LayoutNotes::hiddenNumber(const PlannedControl& control, const Item& item) {
    if (!hidden_.insert(control.control).second) return;
    const WideNumber number = widestNumber(std::get<TextItem>(item.content), PooledStyle::of(*item.style),
                                           {item.box.width, item.box.height});
    logWarning(quoted(number.text) + " in " + (control.gridColumn ? "column " : "control ") +
               quoted(control.gridColumn ? *control.gridColumn : control.control->name) + " needs " +
               inMillimetres(number.needed) + " and has " + inMillimetres(number.available) +
               ": it shows as ####");
}

void LayoutNotes::madeSmaller() {
    if (std::exchange(madeSmaller_, true)) return;
    logWarning("a picture, chart, barcode or turned text is higher than its page: it is made smaller");
}

}  // namespace qbsvrl6
