#include <string>
#include <utility>

#include "qbsvrl6/layout/layout_context.h"
#include "qbsvrl6/layout/log_words.h"
#include "qbsvrl6/layout/text_layout.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

std::string shownName(const PlannedControl& control) {
    return control.gridColumn ? "column " + quoted(*control.gridColumn) : nameForLog(*control.control);
}

}  // namespace

void LayoutNotes::placed(const PlannedControl& control, const Item& item, std::size_t linesLeftOut) {
    if (!hidesText_) return;
    const TextItem& text = std::get<TextItem>(item.content);
    if (text.masked) hiddenNumber(control, item);
    const bool isWanted = item.style->fit == TextFit::Clip;
    if (linesLeftOut == 0 || isWanted || !leftOut_.insert(control.control).second) return;
    logWarning(shownName(control) + " is " + inMillimetres(item.box.width) + " wide and " +
                   inMillimetres(item.box.height) + " high and cannot grow: " + std::to_string(linesLeftOut) +
                   (linesLeftOut == 1 ? " line" : " lines") + " of " + quoted(text.text) +
                   (linesLeftOut == 1 ? " is" : " are") + " left out",
               control.control->position);
}

void LayoutNotes::hiddenNumber(const PlannedControl& control, const Item& item) {
    if (!hidden_.insert(control.control).second) return;
    const WideNumber number = widestNumber(std::get<TextItem>(item.content), PooledStyle::of(*item.style),
                                           {item.box.width, item.box.height});
    std::string message = quoted(number.text) + " in " + shownName(control) + " needs " +
                          inMillimetres(number.needed) + " and has " + inMillimetres(number.available);
    if (control.offPaper > 0) {
        message += ", since " + inMillimetres(control.offPaper) + " of its box are off the paper";
    }
    logWarning(message + ": it shows as ####; a wider box or a smaller font shows it",
               control.control->position);
}

void LayoutNotes::madeSmaller() {
    if (std::exchange(madeSmaller_, true)) return;
    logWarning("a picture, chart, barcode or turned text is higher than its page: it is made smaller");
}

}  // namespace qbsvrl6
