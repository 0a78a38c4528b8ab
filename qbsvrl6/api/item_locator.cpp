#include "qbsvrl6/api/item_locator.h"

#include <string>
#include <variant>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

struct Kind {
    const char* operator()(const TextContent&) const { return "text"; }
    const char* operator()(const LineContent&) const { return "line"; }
    const char* operator()(const BoxContent&) const { return "box"; }
    const char* operator()(const PictureContent&) const { return "picture"; }
    const char* operator()(const BarcodeContent&) const { return "barcode"; }
    const char* operator()(const ChartContent&) const { return "chart"; }
    const char* operator()(const SubReportContent&) const { return "sub-report"; }
};

std::u16string_view writtenIn(const ControlContent& content) {
    if (const auto* text = std::get_if<TextContent>(&content)) return text->text;
    if (const auto* barcode = std::get_if<BarcodeContent>(&content)) return barcode->text;
    if (const auto* picture = std::get_if<PictureContent>(&content)) return picture->source;
    return {};
}

class ItemLocator : public PageSink {
public:
    ItemLocator(QBXOnShownItem take, void* context) : take_(take), context_(context) {}

    void beginPage(const PageInfo& page) override { page_ = page; }
    void band(Band&& band, Micrometres x, Micrometres y) override {
        for (const Item& item : band.items) {
            if (item.control != nullptr) give(item, x, y);
        }
    }
    void endPage() override {}
    void finish(PendingTexts&) override {}

private:
    void give(const Item& item, Micrometres x, Micrometres y) {
        const Control& control = *item.control;
        const std::string content = toUtf8(writtenIn(control.content));
        const QBXShownItem shown{sizeof shown,
                                 static_cast<std::uint64_t>(page_.number),
                                 x + item.box.x,
                                 y + item.box.y,
                                 item.box.width,
                                 item.box.height,
                                 page_.paper.width,
                                 page_.paper.height,
                                 control.position.line,
                                 control.position.column,
                                 std::visit(Kind(), control.content),
                                 content.c_str()};
        if (take_(context_, &shown) == 0) throw EngineError(ErrorCode::Cancelled, "cancelled");
    }

    QBXOnShownItem take_;
    void* context_;
    PageInfo page_;
};

}  // namespace

std::unique_ptr<PageSink> makeItemLocator(QBXOnShownItem take, void* context) {
    return std::make_unique<ItemLocator>(take, context);
}

}  // namespace qbsvrl6
