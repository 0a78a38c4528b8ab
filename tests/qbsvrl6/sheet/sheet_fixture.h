// Handmade bands for cell documents, as layout would send them.
#ifndef QBSVR_TESTS_QBSVRL6_SHEET_SHEET_FIXTURE_H
#define QBSVR_TESTS_QBSVRL6_SHEET_SHEET_FIXTURE_H

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qbsvrl6/sheet/writers.h"

namespace qbsvrl6 {

inline constexpr Micrometres kMm = kMicrometresPerMillimetre;

// Settles each pending text by replacing its "#" with a total.
class Totals : public PendingTexts {
public:
    explicit Totals(std::u16string total) : total_(std::move(total)) {}
    void settle(Item& item) override {
        auto& text = std::get<TextItem>(item.content);
        const std::size_t place = text.text.find(u'#');
        if (place != std::u16string::npos) text.text.replace(place, 1, total_);
        text.pending = false;
    }

private:
    std::u16string total_;
};

// A text in a box whose unit is the millimetre.
inline Item textAt(Rect box, std::u16string text, const ResolvedStyle* style = nullptr) {
    Item item;
    item.box = {box.x * kMm, box.y * kMm, box.width * kMm, box.height * kMm};
    item.style = style;
    TextItem content;
    content.text = std::move(text);
    if (style != nullptr) content.fontSize = style->fontSize;
    item.content = std::move(content);
    return item;
}

inline Item pendingAt(Rect box, std::u16string text, const ResolvedStyle* style = nullptr) {
    Item item = textAt(box, std::move(text), style);
    std::get<TextItem>(item.content).pending = true;
    return item;
}

inline Band bandOf(BandKind kind, Micrometres heightMm, std::vector<Item> items) {
    Band band;
    band.kind = kind;
    band.inGrid = kind == BandKind::GridTitle || kind == BandKind::Row || kind == BandKind::GroupHeader ||
                  kind == BandKind::GroupFooter || kind == BandKind::BlankRow;
    band.width = 180 * kMm;
    band.height = heightMm * kMm;
    band.items = std::move(items);
    return band;
}

// Feeds bands to a sink, one below the other on A4 paper with margins of 15 mm.
class SheetFeed {
public:
    using Maker = std::unique_ptr<PageSink> (*)(const SheetOptions&, Spool&);

    SheetFeed(Maker make, std::vector<Micrometres> edgesMm, bool paged = false,
              const std::function<void(SheetOptions&)>& change = {}) {
        for (const Micrometres edge : edgesMm) options.columnEdges.push_back((edge + 15) * kMm);
        options.paged = paged;
        options.info.title = u"A <title>";
        if (change) change(options);
        sink_ = make(options, output_);
        newPage();
    }

    void newPage() {
        if (page_.number > 0 && open_) sink_->endPage();
        page_.number = open_ ? page_.number + 1 : 1;
        open_ = true;
        page_.paper = {210 * kMm, 297 * kMm};
        page_.margins = {15 * kMm, 15 * kMm, 15 * kMm, 15 * kMm};
        y_ = page_.margins.top;
        sink_->beginPage(page_);
    }
    void put(Band band) {
        const Micrometres height = band.height;
        sink_->band(std::move(band), 15 * kMm, y_);
        y_ += height;
    }
    // In millimetres from the upper left corner of the area between the margins.
    void putAt(Micrometres x, Micrometres y, Band band) {
        sink_->band(std::move(band), (15 + x) * kMm, page_.margins.top + y * kMm);
    }
    // Texts side by side in columns of 30 mm, 6 mm high.
    void row(BandKind kind, const std::vector<std::u16string>& texts, const ResolvedStyle* style = nullptr) {
        std::vector<Item> items;
        for (std::size_t i = 0; i < texts.size(); ++i) {
            items.push_back(textAt({static_cast<Micrometres>(30 * i), 0, 30, 6}, texts[i], style));
            items.back().column = items.back().lastColumn = static_cast<int>(i);
        }
        put(bandOf(kind, 6, std::move(items)));
    }

    std::string finish(std::u16string total = u"9") {
        sink_->endPage();
        Totals totals(std::move(total));
        sink_->finish(totals);
        return output_.take();
    }

    SheetOptions options;

private:
    Spool output_;
    std::unique_ptr<PageSink> sink_;
    PageInfo page_;
    bool open_ = false;
    Micrometres y_ = 0;
};

}  // namespace qbsvrl6

#endif
