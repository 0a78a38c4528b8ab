// The texts of an item's content besides the text of a control itself: links, the texts of barcodes, the
// sources of pictures, the titles of charts.
#ifndef QBSVR_QBSVRL6_LAYOUT_CONTENT_TEXTS_H
#define QBSVR_QBSVRL6_LAYOUT_CONTENT_TEXTS_H

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/layout/layout_options.h"
#include "qbsvrl6/layout/picture_store.h"
#include "qbsvrl6/layout/report_plan.h"

namespace qbsvrl6 {

class ContentTexts {
public:
    ContentTexts(PictureStore& pictures, const LayoutOptions& options)
        : pictures_(pictures), options_(options) {}

    // Evaluates the texts at the position and stores them in the item, whose content is that of the control.
    // Draws nothing.
    void evaluate(PlannedControl& control, RowView& view, const Position& position, Item& item);

private:
    std::u16string link(PlannedControl& control, RowView& view, const Position& position);
    void evaluate(const Control& control, PlannedPicture& planned, RowView& view, const Position& position,
                  PictureItem& picture);
    void evaluate(PlannedChart& planned, RowView& view, const Position& position, DrawingItem& drawing);
    const std::u16string& read(TextTemplate& text, RowView& view, const Position& position);

    PictureStore& pictures_;
    const LayoutOptions& options_;
    EvaluatedText evaluated_;
};

}  // namespace qbsvrl6

#endif
