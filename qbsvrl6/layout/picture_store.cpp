#include "qbsvrl6/layout/picture_store.h"

#include <algorithm>
#include <cmath>

#include "common/base64.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/layout/log_words.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kKeptBytes = 64u << 20;
constexpr std::size_t kLongestKey = 4'096;  // pictures inside the data are rarely repeated
constexpr int kMostFailedFetches = 20;
constexpr double kMicrometresPerInch = 25'400;

std::string decodeBase64(std::u16string_view text) {
    constexpr std::size_t kLongest = limits::kPictureBytes / 2 * 3;  // line breaks included
    if (text.size() > kLongest) throw EngineError(ErrorCode::LimitExceeded, "the Base64 text is too long");
    larkspur::ClkMemory bytes;
    larkspur::Base64_DecodeFromWideText(text.data(), static_cast<int>(text.size()), bytes);
    if (bytes.Size() == 0) return {};
    return {static_cast<const char*>(bytes.Data()), static_cast<std::size_t>(bytes.Size())};
}

// Recognises Base64 text of a PNG or JPEG file by its first bytes. No path is as long as the shortest
// picture.
bool looksLikeBase64(std::u16string_view source) {
    constexpr std::size_t kShortestPicture = 64;
    return source.size() >= kShortestPicture &&
           (source.starts_with(u"iVBORw0KGgo") || source.starts_with(u"/9j/"));
}

std::string shownSource(std::u16string_view source) {
    constexpr std::size_t kShown = 120;
    return toUtf8(source.substr(0, kShown)) + (source.size() > kShown ? "..." : "");
}

void logLeftOut(std::u16string_view source, const PictureSite& site, const EngineError& error) {
    const std::string message =
        "picture \"" + shownSource(source) + "\"" + inRow(site.row) + " is left out: " + error.what();
    if (error.code() == ErrorCode::NotAllowed) {
        logError(message, site.position);
    } else {
        logWarning(message, site.position);
    }
}

}  // namespace

std::shared_ptr<const Picture> PictureStore::find(std::u16string_view source, const Address& start,
                                                  const PictureSite& site) {
    if (source.empty()) return nullptr;
    std::u16string key;
    if (source.size() <= kLongestKey) {
        key = source;
        key += u'\0';
        for (const std::string* folder : {&start.folder, &start.home}) {
            key.append(folder->begin(), folder->end());
            key += u'\0';
        }
        const auto known = known_.find(key);
        if (known != known_.end()) return known->second;
    }
    std::shared_ptr<const Picture> picture;
    try {
        picture = load(source, start);
    } catch (const EngineError& error) {
        if (error.endsExport()) throw;
        if (isWebAddress(source)) ++failedFetches_;
        logLeftOut(source, site, error);
    }
    if (!key.empty()) keep(key, picture);
    return picture;
}

std::shared_ptr<const Picture> PictureStore::load(std::u16string_view source, const Address& start) {
    std::u16string_view encoded;
    if (source.starts_with(u"data:")) {
        const std::size_t comma = source.find(u',');
        if (comma == std::u16string_view::npos || !source.substr(0, comma).ends_with(u";base64")) {
            throw EngineError(ErrorCode::BadPicture, "only Base64 is known in data URLs");
        }
        encoded = source.substr(comma + 1);
    } else if (looksLikeBase64(source)) {
        encoded = source;
    }
    if (!encoded.empty()) return loadPicture(decodeBase64(encoded), "in the data");
    // A server that does not answer would delay the export at each row.
    if (isWebAddress(source) && failedFetches_ >= kMostFailedFetches) {
        throw EngineError(ErrorCode::LimitExceeded, "too many pictures could not be fetched already");
    }
    Address address = start;
    address.name = source;
    return loadPicture(fetch(address, limits::kPictureBytes), shownAddress(address));
}

// When the store is full, all pictures are dropped: sinks hold references to those that they need.
void PictureStore::keep(const std::u16string& key, const std::shared_ptr<const Picture>& picture) {
    const std::size_t bytes = key.size() * 2 + (picture ? picture->bytes.size() : 0);
    if (keptBytes_ + bytes > kKeptBytes) {
        known_.clear();
        keptBytes_ = 0;
    }
    known_.emplace(key, picture);
    keptBytes_ += bytes;
}

std::shared_ptr<const Picture> PictureStore::embedded(const PictureContent& content) {
    const auto known = embedded_.find(&content);
    if (known != embedded_.end()) return known->second;
    std::shared_ptr<const Picture> picture;
    try {
        if (!content.embedded.empty()) picture = loadPicture(content.embedded, "in the template");
    } catch (const EngineError& error) {
        if (error.endsExport()) throw;
        logWarning(std::string("a picture in the template is left out: ") + error.what());
    }
    embedded_.emplace(&content, picture);
    return picture;
}

Rect fitPicture(const Picture& picture, PictureFit fit, const Rect& place) {
    if (fit == PictureFit::Stretch) return place;
    const double dots = picture.dotsPerInch > 0 ? picture.dotsPerInch : 96;
    double width = picture.pixelWidth * kMicrometresPerInch / dots;
    double height = picture.pixelHeight * kMicrometresPerInch / dots;
    if (fit == PictureFit::Clip) {
        // The sink clips what is beyond the box.
        const double most = limits::kBandMicrometres;
        return {place.x, place.y, static_cast<Micrometres>(std::min(width, most)),
                static_cast<Micrometres>(std::min(height, most))};
    }
    const double factor = std::min(place.width / width, place.height / height);
    width *= factor;
    height *= factor;
    return {place.x + static_cast<Micrometres>(std::lround((place.width - width) / 2)),
            place.y + static_cast<Micrometres>(std::lround((place.height - height) / 2)),
            static_cast<Micrometres>(std::lround(width)), static_cast<Micrometres>(std::lround(height))};
}

}  // namespace qbsvrl6
