#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qbsvrl6/paint/band_painter.h"
#include "qbsvrl6/paint/compressor.h"
#include "qbsvrl6/paint/raster/image_encoder.h"
#include "qbsvrl6/paint/raster/pixel_rows.h"
#include "qbsvrl6/paint/raster/raster.h"
#include "qbsvrl6/paint/raster/raster_canvas.h"
#include "qbsvrl6/support/budget.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

namespace {

enum class Pages { EachAnImage, EachAFile, AllInOne, FirstOnly };

constexpr std::uint32_t kWhite = 0xFFFFFF;

bool isGrey(const std::vector<std::uint32_t>& pixels) {
    return std::all_of(pixels.begin(), pixels.end(),
                       [](std::uint32_t p) {  // cairo does not define the fourth byte
                           return ((p >> 8) & 0xFF) == (p & 0xFF) && ((p >> 16) & 0xFF) == (p & 0xFF);
                       });
}

class RasterWriter : public PageSink {
public:
    RasterWriter(const RasterOptions& options, Pages pages, std::unique_ptr<ImageEncoder> encoder)
        : options_(options), pages_(pages), encoder_(std::move(encoder)) {}

    void beginPage(const PageInfo& page) override {
        ++pageCount_;
        if (isLeftOut()) return;
        resize(page.paper);
        pending_.clear();
        canvas_ = std::make_unique<RasterCanvas>(page_, options_.resolution, pictures_);
        const auto& background = page.background != nullptr ? page.background : options_.background;
        if (background != nullptr) canvas_->picture(background, {0, 0, page.paper.width, page.paper.height});
        paintWatermark(*canvas_, options_.watermark, page.paper);
    }

    void band(Band&& band, Micrometres x, Micrometres y) override {
        if (!isLeftOut()) paintBand(*canvas_, std::move(band), x, y, pending_);
    }

    void endPage() override {
        if (isLeftOut()) return;
        canvas_->finish();
        // Pages are written in order: one with pending texts delays those after it.
        if (pages_ != Pages::AllInOne && pending_.empty() && waiting_.empty()) {
            encode();
        } else {
            keep();
        }
    }

    void finish(PendingTexts& pending) override {
        if (pageCount_ == 0) {  // an image has at least one pixel
            beginPage({1, PageSetup().paper, {}});
            endPage();
        }
        for (WaitingPage& page : waiting_) {
            for (PendingItem& item : page.pending) pending.settle(item.item);
        }
        if (pages_ == Pages::AllInOne) {
            encodeAllInOne();
        } else {
            for (WaitingPage& page : waiting_) {
                restore(page);
                encode();
            }
        }
        encoder_->finish();
        if (pages_ == Pages::FirstOnly && pageCount_ > 1) {
            logWarning(
                "a PNG holds one picture: " + std::to_string(pageCount_ - 1) +
                " pages after the first are left out; a file per page, all pages in one image, or TIFF have "
                "them all");
        }
    }

private:
    // A page with pending texts, or one after such a page. Compressed, it takes about a hundredth of the
    // memory.
    struct WaitingPage {
        int width = 0, height = 0;
        bool grey = false;
        std::string compressed;
        std::vector<PendingItem> pending;
    };

    bool isLeftOut() const { return pages_ == Pages::FirstOnly && pageCount_ > 1; }

    void resize(Size paper) {
        const auto pixels = [&](Micrometres length) {
            return std::max(std::llround(length * options_.resolution / 25'400), 1LL);
        };
        const std::int64_t width = pixels(paper.width);
        const std::int64_t height = pixels(paper.height);
        if (width > limits::kImagePagePixels / height) {
            throw EngineError(ErrorCode::LimitExceeded, "a page of " + std::to_string(width) + " x " +
                                                            std::to_string(height) +
                                                            " pixels is more than an image may have (" +
                                                            std::to_string(limits::kImagePagePixels) +
                                                            "): lower the image's resolution");
        }
        checkFigure(&Budget::pixels, static_cast<std::uint64_t>(width * height), "one image");
        rows_ += height;
        if (pages_ == Pages::AllInOne && rows_ > limits::kImageRows) {
            throw EngineError(ErrorCode::LimitExceeded, "all pages in one image have more than " +
                                                            std::to_string(limits::kImageRows) +
                                                            " rows of pixels");
        }
        canvas_.reset();
        page_.width = static_cast<int>(width);
        page_.height = static_cast<int>(height);
        page_.pixels.assign(static_cast<std::size_t>(width * height), kWhite);
    }

    std::uint32_t* rowOf(int y) {
        return page_.pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(page_.width);
    }

    void keep() {
        const bool grey = isGrey(page_.pixels);
        const std::size_t rowBytes = packedBytes(page_.width, grey);
        packed_.resize(rowBytes * static_cast<std::size_t>(page_.height));
        for (int y = 0; y < page_.height; ++y) {
            packRow(rowOf(y), page_.width, grey, packed_.data() + static_cast<std::size_t>(y) * rowBytes);
        }
        const std::string_view bytes(reinterpret_cast<const char*>(packed_.data()), packed_.size());
        waiting_.push_back(
            {page_.width, page_.height, grey, std::string(compress(bytes)), std::move(pending_)});
        waitingBytes_ += waiting_.back().compressed.size();
        checkFigure(&Budget::documentBytes, waitingBytes_, "the pages of one image");
    }

    void restore(WaitingPage& page) {
        canvas_.reset();
        page_.width = page.width;
        page_.height = page.height;
        page_.pixels.resize(static_cast<std::size_t>(page.width) * static_cast<std::size_t>(page.height));
        const std::size_t rowBytes = packedBytes(page.width, page.grey);
        packed_.resize(rowBytes * static_cast<std::size_t>(page.height));
        decompress(page.compressed, packed_.data(), packed_.size());
        for (int y = 0; y < page.height; ++y) {
            unpackRow(packed_.data() + static_cast<std::size_t>(y) * rowBytes, page.width, page.grey,
                      rowOf(y));
        }
        page.compressed = {};
        RasterCanvas canvas(page_, options_.resolution, pictures_);
        for (const PendingItem& item : page.pending) paintText(canvas, item);
        canvas.finish();
        page.pending = {};
    }

    void encode() {
        if (pages_ == Pages::EachAFile && isFileBegun_) {
            encoder_->finish();
            // The earlier files are complete, so appending may move them.
            encoder_ = makePngEncoder(options_.resolution, options_.furtherPages->emplace_back());
        }
        isFileBegun_ = true;
        encoder_->begin(page_.width, page_.height, isGrey(page_.pixels));
        encodeRows(page_.width);
    }

    void encodeAllInOne() {
        int width = 0;
        int height = 0;
        bool grey = true;
        for (const WaitingPage& page : waiting_) {
            width = std::max(width, page.width);
            height += page.height;
            grey = grey && page.grey && std::all_of(page.pending.begin(), page.pending.end(), hasGreyText);
        }
        encoder_->begin(width, height, grey);
        for (WaitingPage& page : waiting_) {
            restore(page);
            encodeRows(width);
        }
    }

    static bool hasGreyText(const PendingItem& pending) {
        const auto* text = std::get_if<TextItem>(&pending.item.content);
        Color color;
        if (pending.item.style != nullptr) color = pending.item.style->color;
        if (text != nullptr && text->color) color = *text->color;
        return color.red == color.green && color.green == color.blue;
    }

    void encodeRows(int width) {
        std::vector<std::uint32_t> padded;
        for (int y = 0; y < page_.height; ++y) {
            const std::uint32_t* row = rowOf(y);
            if (page_.width < width) {
                padded.assign(static_cast<std::size_t>(width), kWhite);
                std::copy(row, row + page_.width, padded.begin());
                row = padded.data();
            }
            encoder_->row(row);
        }
    }

    RasterOptions options_;
    Pages pages_;
    std::unique_ptr<ImageEncoder> encoder_;
    bool isFileBegun_ = false;
    DecodedPictures pictures_;
    PixelPage page_;
    std::vector<std::uint8_t> packed_;  // scratch
    std::unique_ptr<RasterCanvas> canvas_;
    std::vector<PendingItem> pending_;
    std::vector<WaitingPage> waiting_;
    std::size_t waitingBytes_ = 0;
    int pageCount_ = 0;
    std::int64_t rows_ = 0;
};

}  // namespace

std::unique_ptr<PageSink> makePngWriter(const RasterOptions& options, Spool& output) {
    const Pages pages = options.allPagesInOne             ? Pages::AllInOne
                        : options.furtherPages != nullptr ? Pages::EachAFile
                                                          : Pages::FirstOnly;
    return std::make_unique<RasterWriter>(options, pages, makePngEncoder(options.resolution, output.end()));
}

std::unique_ptr<PageSink> makeTiffWriter(const RasterOptions& options, Spool& output) {
    return std::make_unique<RasterWriter>(options,
                                          options.allPagesInOne ? Pages::AllInOne : Pages::EachAnImage,
                                          makeTiffEncoder(options.resolution, output.end()));
}

}  // namespace qbsvrl6
