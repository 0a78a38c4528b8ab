// The installed fonts. All calls of fontconfig are here; the caller holds the same lock during every call.
#ifndef QBSVR_QBSVRL6_FONTS_CATALOGUE_H
#define QBSVR_QBSVRL6_FONTS_CATALOGUE_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct _FcConfig;

namespace qbsvrl6 {

struct InstalledFace {
    std::string file;
    int index = 0;  // in a collection
    std::string family;
    bool bold = false;
    bool italic = false;
    int rank = 0;             // distance from regular or bold weight and normal width: smaller is plainer
    void* pattern = nullptr;  // fontconfig's; belongs to the catalogue
};

class FontCatalogue {
public:
    // Reads the list of the machine's fonts and of those in `folders`. Raises MachineError or std::bad_alloc
    // if it can't be read completely.
    explicit FontCatalogue(const std::vector<std::string>& folders);

    // The nearest face of a folded family; null if the family isn't installed.
    const InstalledFace* find(std::string_view foldedFamily, bool bold, bool italic) const;

    // A face that has the character; null if there is none.
    const InstalledFace* covering(char32_t character, bool bold, bool italic) const;

    // Sorted, each once.
    std::vector<std::string> families() const;

private:
    void read(_FcConfig* config, const std::vector<std::string>& folders);

    std::vector<std::shared_ptr<void>> sets_;  // of fontconfig's patterns
    std::vector<InstalledFace> faces_;
    std::unordered_map<std::string, std::vector<std::size_t>> byFamily_;  // folded name: indexes in faces_
};

}  // namespace qbsvrl6

#endif
