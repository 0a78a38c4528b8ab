// Text documents in other encodings than UTF-8.
#include <utility>

#include "qbsvrl6/sheet/writers.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/text_encoder.h"

namespace qbsvrl6 {

namespace {

class EncodedText final : public PageSink {
public:
    EncodedText(const std::string& encoding, Spool& output,
                const std::function<std::unique_ptr<PageSink>(Spool&)>& make)
        : encoding_(encoding), encoder_(encoding), output_(output), sink_(make(plain_)) {}

    void beginPage(const PageInfo& page) override { sink_->beginPage(page); }
    void band(Band&& band, Micrometres x, Micrometres y) override {
        constexpr std::uint64_t kPart = 64 * 1024;
        sink_->band(std::move(band), x, y);
        if (plain_.size() >= kPart) drain();
    }
    void endPage() override { sink_->endPage(); }
    void finish(PendingTexts& pending) override {
        sink_->finish(pending);
        drain();
        if (encoder_.lostCount() == 0) return;
        logWarning(std::to_string(encoder_.lostCount()) + " characters do not exist in " + encoding_ +
                   " and are question marks: " + encoder_.lostCharacters());
    }

private:
    void drain() {
        std::string block(64 * 1024, '\0');
        for (std::uint64_t at = 0; at < plain_.size();) {
            const std::size_t size = plain_.read(at, block.data(), block.size());
            encoder_.append(output_.end(), {block.data(), size});
            output_.writeIfLarge();
            at += size;
        }
        plain_ = Spool();
    }

    std::string encoding_;
    TextEncoder encoder_;
    Spool& output_;
    Spool plain_;
    std::unique_ptr<PageSink> sink_;
};

}  // namespace

std::unique_ptr<PageSink> makeEncodedText(const std::string& encoding, Spool& output,
                                          const std::function<std::unique_ptr<PageSink>(Spool&)>& make) {
    return std::make_unique<EncodedText>(encoding, output, make);
}

}  // namespace qbsvrl6
