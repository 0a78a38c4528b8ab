#include "qbsvrl6/sheet/package/package_pictures.h"

namespace qbsvrl6 {

std::string pictureFile(std::string_view start, std::uint64_t number, const Picture& picture) {
    std::string name(start);
    name += std::to_string(number);
    return name += picture.encoding == Picture::Encoding::Jpeg ? ".jpeg" : ".png";
}

void addPictures(ZipWriter& zip, std::string_view start,
                 const std::vector<std::shared_ptr<const Picture>>& pictures) {
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        zip.addStored(pictureFile(start, i + 1, *pictures[i]), pictures[i]->bytes);
    }
}

}  // namespace qbsvrl6
