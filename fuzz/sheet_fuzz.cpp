// Bands of any geometry and text, written in the cell format that the first byte selects. No document may
// fail; some are made twice and must be the same.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "qbsvrl6/sheet/writers.h"

using namespace qbsvrl6;

namespace {

// Reads values from the input; after its end, all are zero.
class Source {
public:
    Source(const std::uint8_t* data, std::size_t size) : data_(data), end_(data + size) {}
    bool isEmpty() const { return data_ == end_; }
    int byte() { return isEmpty() ? 0 : *data_++; }
    // From -3.7 m to 26 m, in steps that often coincide.
    Micrometres length() { return (byte() - 32) * (byte() % 4 == 0 ? 117'000 : 500); }
    std::u16string text() {
        std::u16string text;
        for (int left = byte() % 12; left > 0; --left) {
            const int high = byte();
            text += static_cast<char16_t>(high % 3 == 0 ? byte() << 8 | high : high % 128);
        }
        return text;
    }

private:
    const std::uint8_t* data_;
    const std::uint8_t* end_;
};

class Totals : public PendingTexts {
public:
    void settle(Item& item) override {
        auto& text = std::get<TextItem>(item.content);
        text.text += u"7";
        text.pending = false;
    }
};

Item itemFrom(Source& source, const ResolvedStyle* styles) {
    Item item;
    item.box = {source.length(), source.length(), source.length(), source.length()};
    item.style = source.byte() % 4 == 0 ? nullptr : &styles[source.byte() % 2];
    switch (source.byte() % 8) {
        case 0: {
            auto picture = std::make_shared<Picture>();
            picture->bytes = "bytes";
            picture->id = static_cast<std::uint64_t>(source.byte() % 3);
            item.content =
                PictureItem{picture, {source.length(), source.length(), source.length(), source.length()}};
            break;
        }
        case 1:
            item.content = LineItem{};
            break;
        case 2:
            item.content = BoxItem{};
            break;
        default: {
            TextItem text;
            text.text = source.text();
            text.pending = source.byte() % 5 == 0;
            text.value.type = static_cast<ValueType>(source.byte() % 5);
            text.value.number = source.byte() * (source.byte() % 2 == 0 ? 1e13 : 0.1);
            text.value.date = (source.byte() - 128) * 1'000'000'000LL;
            text.link = source.byte() % 9 == 0 ? u"http://" + source.text() : u"";
            item.content = std::move(text);
        }
    }
    return item;
}

std::unique_ptr<PageSink> makeJson(const SheetOptions& options, Spool& output) {
    return makeJsonWriter(options.info, std::make_shared<DocumentStructure>(), output);
}

std::unique_ptr<PageSink> makeDocx(const SheetOptions& options, Spool& output) {
    static const ReportDefinition report;
    return makeDocxWriter(options, report, output);
}

std::string document(Source source, std::unique_ptr<PageSink> (*make)(const SheetOptions&, Spool&)) {
    SheetOptions options;
    options.paged = source.byte() % 2 == 0;
    options.info.title = source.text();
    for (int left = source.byte() % 6; left > 0; --left)
        options.columnEdges.push_back(20'000 * left + source.byte() * 100);
    std::sort(options.columnEdges.begin(), options.columnEdges.end());
    ResolvedStyle styles[2];
    styles[0].rotation = 90 * (source.byte() % 4);
    styles[0].fontFamily = source.text();
    styles[1].background = Color{1, 2, 3};
    styles[1].border.top = {static_cast<Micrometres>(source.byte()) * 10, {}};
    Spool output;
    const auto sink = make(options, output);
    PageInfo page;
    page.paper = options.page.paper;
    sink->beginPage(page);
    while (!source.isEmpty()) {
        if (source.byte() % 8 == 0) {
            sink->endPage();
            ++page.number;
            sink->beginPage(page);
        }
        Band band;
        band.kind = static_cast<BandKind>(source.byte() % 9);
        const bool isOfGroup = band.kind == BandKind::GroupHeader || band.kind == BandKind::GroupFooter;
        if (isOfGroup && make == &makeJson)
            band.kind = BandKind::Row;  // a group has an entry in its structure
        band.inGrid = source.byte() % 2 == 0;
        band.width = 180'000;
        band.height = std::abs(source.length());
        if (source.byte() % 3 == 0) band.background = Color{9, 9, 9};
        for (int left = source.byte() % 7; left > 0; --left) band.items.push_back(itemFrom(source, styles));
        sink->band(std::move(band), source.length(), source.length());
    }
    sink->endPage();
    Totals totals;
    sink->finish(totals);
    return output.take();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 1000) return 0;  // more bands find nothing new
    static constexpr std::array kWriters{&makeCsvWriter, &makeTxtWriter, &makeHtmWriter,
                                         &makeRtfWriter, &makeXlsWriter, &makeOdsWriter,
                                         &makeJson,      &makeDocx,      &makeXlsxWriter};
    const auto make = kWriters[data[0] % kWriters.size()];
    const std::string first = document(Source(data + 1, size - 1), make);
    if (data[0] % 16 == 0 && document(Source(data + 1, size - 1), make) != first) std::abort();
    return 0;
}
