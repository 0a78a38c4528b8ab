#include "qbsvrl6/api/page_filter.h"

#include <algorithm>
#include <string>
#include <utility>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

class PageFilter final : public PageSink {
public:
    PageFilter(std::vector<PageRange> ranges, std::unique_ptr<PageSink> sink)
        : ranges_(std::move(ranges)), sink_(std::move(sink)) {}

    void beginPage(const PageInfo& page) override {
        ++pages_;
        isShown_ = std::any_of(ranges_.begin(), ranges_.end(), [&](const PageRange& range) {
            return range.first <= pages_ && pages_ <= range.last;
        });
        if (!isShown_) return;
        PageInfo shown = page;
        shown.number = ++shownPages_;
        sink_->beginPage(shown);
    }
    void band(Band&& band, Micrometres x, Micrometres y) override {
        if (isShown_) sink_->band(std::move(band), x, y);
    }
    void endPage() override {
        if (isShown_) sink_->endPage();
    }
    void finish(PendingTexts& pending) override {
        if (shownPages_ == 0) {
            throw EngineError(
                ErrorCode::NotSupported,
                "none of the pages asked for exists; the document has " + std::to_string(pages_));
        }
        sink_->finish(pending);
    }

private:
    std::vector<PageRange> ranges_;
    std::unique_ptr<PageSink> sink_;
    int pages_ = 0;
    int shownPages_ = 0;
    bool isShown_ = false;
};

}  // namespace

std::unique_ptr<PageSink> makePageFilter(std::vector<PageRange> ranges, std::unique_ptr<PageSink> sink) {
    return std::make_unique<PageFilter>(std::move(ranges), std::move(sink));
}

}  // namespace qbsvrl6
