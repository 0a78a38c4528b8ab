#include "qbsvrl6/fonts/catalogue.h"

#include <fontconfig/fontconfig.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <set>
#include <system_error>
#include <utility>

#include "qbsvrl6/fonts/aliases.h"
#include "qbsvrl6/support/enough_memory.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// The full configuration of a machine is some forty files of rules for desktops, which take several times
// longer to read than the list of fonts. The table of aliases resolves names here, so the directories are
// enough.
constexpr const char* kDirectories =
    "<?xml version=\"1.0\"?><fontconfig>"
    "<dir>/usr/share/fonts</dir><dir>/usr/local/share/fonts</dir>"
    "<dir prefix=\"xdg\">fonts</dir><dir>~/.fonts</dir>"
    "<cachedir>/var/cache/fontconfig</cachedir><cachedir>/usr/lib/fontconfig/cache</cachedir>"
    "<cachedir prefix=\"xdg\">fontconfig</cachedir></fontconfig>";

std::string textOf(FcPattern* pattern, const char* object, int n = 0) {
    FcChar8* text = nullptr;
    if (FcPatternGetString(pattern, object, n, &text) != FcResultMatch) return {};
    return reinterpret_cast<const char*>(text);
}

int numberOf(FcPattern* pattern, const char* object, int fallback) {
    int number = fallback;
    return FcPatternGetInteger(pattern, object, 0, &number) == FcResultMatch ? number : fallback;
}

bool flagOf(FcPattern* pattern, const char* object) {
    FcBool flag = FcFalse;
    return FcPatternGetBool(pattern, object, 0, &flag) == FcResultMatch && flag == FcTrue;
}

// Files with fixed TrueType or CFF outlines; named instances of variable fonts are left out, since
// their outlines depend on settings that painting does not have.
bool isUsable(FcPattern* pattern) {
    const std::string format = textOf(pattern, FC_FONTFORMAT);
    if (format != "TrueType" && format != "CFF") return false;
    const std::string file = textOf(pattern, FC_FILE);
    const bool compressed = file.ends_with(".woff") || file.ends_with(".woff2") || file.ends_with(".pcf.gz");
    return !compressed && numberOf(pattern, FC_INDEX, 0) <= 0xFFFF && !flagOf(pattern, FC_VARIABLE) &&
           !flagOf(pattern, FC_COLOR);
}

InstalledFace describe(FcPattern* pattern) {
    constexpr int kBoldFrom = FC_WEIGHT_DEMIBOLD;
    InstalledFace face;
    face.file = textOf(pattern, FC_FILE);
    face.index = numberOf(pattern, FC_INDEX, 0);
    face.family = textOf(pattern, FC_FAMILY);
    const int weight = numberOf(pattern, FC_WEIGHT, FC_WEIGHT_REGULAR);
    face.bold = weight >= kBoldFrom;
    face.italic = numberOf(pattern, FC_SLANT, FC_SLANT_ROMAN) != FC_SLANT_ROMAN;
    face.rank = std::abs(weight - (face.bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR)) +
                2 * std::abs(numberOf(pattern, FC_WIDTH, FC_WIDTH_NORMAL) - FC_WIDTH_NORMAL);
    face.pattern = pattern;
    return face;
}

struct ConfigDeleter {
    void operator()(FcConfig* config) const { FcConfigDestroy(config); }
};
struct FontSetDeleter {
    void operator()(FcFontSet* set) const { FcFontSetDestroy(set); }
};
struct StringListDeleter {
    void operator()(FcStrList* list) const { FcStrListDone(list); }
};
struct CacheDeleter {
    void operator()(FcCache* cache) const { FcDirCacheUnload(cache); }
};
using ConfigPtr = std::unique_ptr<FcConfig, ConfigDeleter>;
using FontSetPtr = std::unique_ptr<FcFontSet, FontSetDeleter>;
using CachePtr = std::unique_ptr<FcCache, CacheDeleter>;

template <class Pointer>
Pointer required(Pointer pointer) {
    if (pointer == nullptr) throw std::bad_alloc();
    return pointer;
}

// The patterns of the fonts in some directories and their subdirectories. fontconfig's own walk skips
// directories that it can't open: a shortage of descriptors or memory would look like fewer fonts.
class DirectoryWalk {
public:
    DirectoryWalk(FcConfig* config, const std::vector<std::string>& folders) : config_(config) {
        for (const std::string& folder : folders) visit(reinterpret_cast<const FcChar8*>(folder.c_str()));
        const std::unique_ptr<FcStrList, StringListDeleter> directories(
            required(FcConfigGetFontDirs(config)));
        while (const FcChar8* directory = FcStrListNext(directories.get())) visit(directory);
    }

    std::vector<FcPattern*> patterns() const {
        std::vector<FcPattern*> all;
        for (const FontSetPtr& set : sets_) all.insert(all.end(), set->fonts, set->fonts + set->nfont);
        return all;
    }
    // Moves the owners of the patterns.
    void moveTo(std::vector<std::shared_ptr<void>>& owners) {
        for (FontSetPtr& set : sets_) owners.emplace_back(std::move(set));
    }

private:
    void visit(const FcChar8* directory) {
        struct stat status {};
        const FcChar8* const root = FcConfigGetSysRoot(config_);
        const std::string path = std::string(root != nullptr ? reinterpret_cast<const char*>(root) : "") +
                                 reinterpret_cast<const char*>(directory);
        if (::stat(path.c_str(), &status) != 0 || ::access(path.c_str(), R_OK | X_OK) != 0) {
            if (isShortage(errno)) fail(path);
            return;
        }
        // Links may form a circle.
        if (!S_ISDIR(status.st_mode) || !visited_.emplace(status.st_dev, status.st_ino).second) return;
        // The second attempt lists the directory again if no list of it was saved.
        CachePtr list(FcDirCacheLoad(directory, config_, nullptr));
        if (list == nullptr) list.reset(FcDirCacheRead(directory, FcFalse, config_));
        if (list == nullptr) fail(path);
        add(*list);
        for (int i = 0; i < FcCacheNumSubdir(list.get()); ++i) visit(FcCacheSubdir(list.get(), i));
    }

    void add(const FcCache& list) {
        const FontSetPtr& set = sets_.emplace_back(FcCacheCopySet(&list));
        if (set == nullptr || set->nfont != FcCacheNumFont(&list)) throw std::bad_alloc();
    }

    [[noreturn]] static void fail(const std::string& directory) {
        throw MachineError("the fonts in " + directory + " can't be listed" +
                           (isShortage(errno) ? ": " + std::generic_category().message(errno) : ""));
    }

    FcConfig* config_;
    std::set<std::pair<dev_t, ino_t>> visited_;
    std::vector<FontSetPtr> sets_;
};

ConfigPtr directoriesOnly() {
    ConfigPtr config(required(FcConfigCreate()));
    const auto* const text = reinterpret_cast<const FcChar8*>(kDirectories);
    if (FcConfigParseAndLoadFromMemory(config.get(), text, FcTrue) == FcFalse) throw std::bad_alloc();
    return config;
}

// A wrong slant is worse than a wrong weight: bold is easily synthesized.
int mismatch(const InstalledFace& face, bool bold, bool italic) {
    return (face.italic != italic ? (face.italic ? 4000 : 2000) : 0) + (face.bold != bold ? 1000 : 0) +
           face.rank;
}

}  // namespace

FontCatalogue::FontCatalogue(const std::vector<std::string>& folders) {
    const MemoryAtHand memory;  // fontconfig ends the process without it
    // If the user names a configuration, it is used.
    if (::secure_getenv("FONTCONFIG_FILE") == nullptr) {
        const ConfigPtr config = withEnoughMemory(directoriesOnly);
        read(config.get(), folders);
    }
    if (!faces_.empty()) return;
    // Fonts in directories that only the configuration names.
    const ConfigPtr config(required(FcInitLoadConfig()));
    read(config.get(), folders);
}

void FontCatalogue::read(_FcConfig* config, const std::vector<std::string>& folders) {
    DirectoryWalk walk(config, folders);
    for (FcPattern* pattern : walk.patterns()) {
        if (isUsable(pattern)) faces_.push_back(describe(pattern));
    }
    // Sorted, so that equal machines choose equal fonts.
    std::sort(faces_.begin(), faces_.end(), [](const InstalledFace& a, const InstalledFace& b) {
        return a.file != b.file ? a.file < b.file : a.index < b.index;
    });
    for (std::size_t i = 0; i < faces_.size(); ++i) {
        auto* pattern = static_cast<FcPattern*>(faces_[i].pattern);
        for (int n = 0;; ++n) {
            const std::string family = textOf(pattern, FC_FAMILY, n);
            if (family.empty()) break;
            byFamily_[foldFamily(toUtf16(family))].push_back(i);
        }
    }
    walk.moveTo(sets_);
}

std::vector<std::string> FontCatalogue::families() const {
    std::set<std::string> families;
    for (const InstalledFace& face : faces_) families.insert(face.family);
    return {families.begin(), families.end()};
}

const InstalledFace* FontCatalogue::find(std::string_view foldedFamily, bool bold, bool italic) const {
    const auto found = byFamily_.find(std::string(foldedFamily));
    if (found == byFamily_.end()) return nullptr;
    const auto best =
        std::min_element(found->second.begin(), found->second.end(), [&](std::size_t a, std::size_t b) {
            return mismatch(faces_[a], bold, italic) < mismatch(faces_[b], bold, italic);
        });
    return &faces_[*best];
}

const InstalledFace* FontCatalogue::covering(char32_t character, bool bold, bool italic) const {
    const InstalledFace* best = nullptr;
    for (const InstalledFace& face : faces_) {
        FcCharSet* characters = nullptr;
        auto* pattern = static_cast<FcPattern*>(face.pattern);
        if (FcPatternGetCharSet(pattern, FC_CHARSET, 0, &characters) != FcResultMatch) continue;
        if (FcCharSetHasChar(characters, character) == FcFalse) continue;
        if (best == nullptr || mismatch(face, bold, italic) < mismatch(*best, bold, italic)) best = &face;
    }
    return best;
}

}  // namespace qbsvrl6
