// The pictures of one export, each read once while it is in use.
#ifndef QBSVR_QBSVRL6_LAYOUT_PICTURE_STORE_H
#define QBSVR_QBSVRL6_LAYOUT_PICTURE_STORE_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "qbsvrl6/model/report.h"
#include "qbsvrl6/picture/picture.h"
#include "qbsvrl6/support/address.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

// The position where a picture is named, for the log.
struct PictureSite {
    TextPosition position = {};
    std::optional<std::size_t> row = {};  // of the data
};

class PictureStore {
public:
    // `source` is a path or URL, a "data:" URL, or the Base64 text of a PNG or JPEG file; `start` has no
    // name: a relative path starts at its folder. Null, with a line in the log, if it can't be read or is out
    // of reach; the same source is then not tried again. Raises EngineError if the export must end.
    std::shared_ptr<const Picture> find(std::u16string_view source, const Address& start,
                                        const PictureSite& site);

    // The picture that the template itself contains.
    std::shared_ptr<const Picture> embedded(const PictureContent& content);

private:
    std::shared_ptr<const Picture> load(std::u16string_view source, const Address& start);
    void keep(const std::u16string& key, const std::shared_ptr<const Picture>& picture);

    std::unordered_map<std::u16string, std::shared_ptr<const Picture>> known_;  // by source and folder
    std::unordered_map<const PictureContent*, std::shared_ptr<const Picture>> embedded_;
    std::size_t keptBytes_ = 0;
    int failedFetches_ = 0;
};

// The position of a picture that is fitted into `place`.
Rect fitPicture(const Picture& picture, PictureFit fit, const Rect& place);

}  // namespace qbsvrl6

#endif
