#include "qbsvrl6/fonts/font_library.h"

#include <hb.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "qbsvrl6/fonts/aliases.h"
#include "qbsvrl6/fonts/catalogue.h"
#include "qbsvrl6/fonts/font_choices.h"
#include "qbsvrl6/fonts/font_face.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

// More names than ordinary reports use; bounds the tables if hostile reports use any number of names.
constexpr std::size_t kRememberedNames = 1024;
constexpr std::size_t kRememberedCharacters = 65'536;
constexpr std::size_t kToldCharacters = 50;

constexpr const char* kNoFont =
    "no font is installed that can be used; install fonts such as the packages fonts-dejavu and "
    "fonts-noto-cjk, and "
    "start the program again";

struct Request {
    std::u16string_view family;
    bool bold = false;
    bool italic = false;
    TextLanguage language = TextLanguage::Unknown;
};

// The key is the family name and one unit for the style.
using RequestMap = std::unordered_map<std::u16string, const FontSet*>;

// The key of a request, in a buffer of the thread: finding a known font allocates nothing.
const std::u16string& keyOf(const Request& request) {
    thread_local std::u16string key;
    key.assign(request.family);
    key += static_cast<char16_t>((request.bold ? 1 : 0) + (request.italic ? 2 : 0) +
                                 4 * static_cast<int>(request.language));
    return key;
}

// The process-wide cache of fonts. Returned objects are never freed, so no references are counted; the number
// of font files bounds them.
class FontLibrary {
public:
    FontLibrary() : choices_(takeFontChoices()), catalogue_(choices_.folders) {}

    std::vector<std::string> families() const { return catalogue_.families(); }

    const FontSet& resolve(const Request& request) {
        const std::lock_guard lock(mutex_);
        const std::u16string& key = keyOf(request);
        if (const auto found = resolved_.find(key); found != resolved_.end()) return *found->second;
        const FontSet& set = intern(choose(request));
        if (resolved_.size() >= kRememberedNames) resolved_.clear();
        resolved_.emplace(key, &set);
        return set;
    }

    const FontSet::Member* covering(char32_t character, const FontSet::Member& like) {
        const std::lock_guard lock(mutex_);
        const bool bold = like.syntheticBold || isBold(like.face);
        const bool italic = like.syntheticItalic || like.face->italicAngle != 0;
        if (covering_.size() >= kRememberedCharacters) covering_.clear();
        const std::tuple key(character, bold, italic);
        if (const auto known = covering_.find(key); known != covering_.end()) return known->second;
        const FontSet::Member* member = nullptr;
        Members members;
        if (add(members, catalogue_.covering(character, bold, italic), bold, italic)) {
            auto set = std::make_unique<FontSet>();
            set->first = members.front();
            member = &intern(std::move(set)).first;
        }
        if (member == nullptr) tellLacking(character);
        covering_.emplace(key, member);
        return member;
    }

    // The members after the first one.
    const std::vector<FontSet::Member>& furtherMembers(const FontSet& set) {
        const std::lock_guard lock(mutex_);
        if (const auto known = further_.find(&set); known != further_.end()) return known->second;
        Members members{set.first};  // so that it is not added again
        addFirst(members, set.fallback, set.bold, set.italic);
        addFirst(members, FamilyKind::Verdana, set.bold, set.italic);  // the widest choice of symbols
        members.erase(members.begin());
        return further_.emplace(&set, std::move(members)).first->second;
    }

private:
    using Members = std::vector<FontSet::Member>;

    // The first member is the requested family or its substitute. If neither is installed, it is the best
    // member to fall back on.
    std::unique_ptr<FontSet> choose(const Request& request) {
        const std::string wanted = foldFamily(request.family);
        const FamilyKind kind = familyKind(wanted);
        auto set = std::make_unique<FontSet>();
        set->isLanguageGiven = request.language != TextLanguage::Unknown;
        set->language = set->isLanguageGiven ? request.language : languageOfFamily(wanted);
        set->fallback = fallbackOf(kind);
        set->bold = request.bold;
        set->italic = request.italic;
        Members members;
        const auto addNamed = [&](const std::string& family) {
            add(members, catalogue_.find(family, request.bold, request.italic), request.bold, request.italic);
        };
        addNamed(wanted);
        if (const auto alias = choices_.aliases.find(wanted);
            members.empty() && alias != choices_.aliases.end()) {
            addNamed(alias->second);
        }
        const bool installed = !members.empty();
        for (const FamilyKind other : {kind, set->fallback, FamilyKind::Verdana}) {
            if (members.empty()) addFirst(members, other, request.bold, request.italic);
        }
        if (members.empty()) {
            add(members, catalogue_.covering(U'A', request.bold, request.italic), request.bold,
                request.italic);
        }
        if (members.empty()) {
            set->first.face = &builtIn();
            return set;
        }
        set->first = members.front();
        if (!installed) tellReplaced(request.family, wanted, *set->first.face);
        return set;
    }

    // Adds the best installed family of the kind.
    void addFirst(Members& members, FamilyKind kind, bool bold, bool italic) {
        for (const std::string_view family : familiesOf(kind)) {
            if (add(members, catalogue_.find(family, bold, italic), bold, italic)) return;
        }
    }

    bool add(Members& members, const InstalledFace* installed, bool bold, bool italic) {
        if (installed == nullptr) return false;
        const FontFace* face = open(*installed);
        if (face == nullptr) return false;
        const auto isSame = [face](const FontSet::Member& member) { return member.face == face; };
        if (std::any_of(members.begin(), members.end(), isSame)) return true;
        members.push_back({face, bold && !installed->bold, italic && !installed->italic});
        return true;
    }

    // Null if the file has no such face; this is remembered.
    const FontFace* open(const InstalledFace& installed) {
        const std::pair key(installed.file, installed.index);
        if (const auto known = faces_.find(key); known != faces_.end()) return known->second.face.get();
        auto face = openFontFace(installed.file, installed.index);
        if (face == nullptr) logWarning("font file " + installed.file + " can't be used");
        const OpenFace& kept = faces_[key] = {std::move(face), installed.bold};
        return kept.face.get();
    }

    const FontFace& builtIn() {
        if (builtIn_ == nullptr) {
            builtIn_ = makeBuiltInFace();
            logWarning(std::string("columns and lines have estimated widths: ") + kNoFont);
        }
        return *builtIn_;
    }

    bool isBold(const FontFace* face) const {
        const auto found = faces_.find({face->file, face->index});
        return found != faces_.end() && found->second.bold;
    }

    // Equal sets are shared, so that any number of unknown names costs no memory.
    const FontSet& intern(std::unique_ptr<FontSet> set) {
        const FontSet::Member& first = set->first;
        const SetKey key(first.face, first.syntheticBold, first.syntheticItalic, set->language,
                         set->isLanguageGiven, set->fallback, set->bold, set->italic);
        std::unique_ptr<const FontSet>& kept = sets_[key];
        if (kept == nullptr) {
            const LineMetrics metrics = lineMetricsOf(*first.face);
            set->ascent = metrics.ascent;
            set->descent = metrics.descent;
            set->lineHeight = metrics.lineHeight;
            kept = std::move(set);
        }
        return *kept;
    }

    void tellReplaced(std::u16string_view family, const std::string& folded, const FontFace& face) {
        if (replaced_.size() >= kRememberedNames || !replaced_.insert(folded).second) return;
        logWarning("font \"" + toUtf8(family) + "\" is not installed; \"" + face.familyName +
                   "\" is used instead");
    }

    void tellLacking(char32_t character) {
        if (lacking_.size() >= kToldCharacters || !lacking_.insert(character).second) return;
        std::u16string text;
        appendCharacter(text, character);
        char code[16];
        std::snprintf(code, sizeof code, "U+%04X", static_cast<unsigned>(character));
        logWarning("no installed font has " + std::string(code) + " \"" + toUtf8(text) +
                   "\": a box is shown instead" +
                   (lacking_.size() == kToldCharacters ? "; further characters are not reported" : ""));
    }

    struct OpenFace {
        std::unique_ptr<const FontFace> face;
        bool bold = false;
    };

    using SetKey = std::tuple<const FontFace*, bool, bool, TextLanguage, bool, FamilyKind, bool, bool>;

    const FontChoices choices_;
    std::mutex mutex_;
    FontCatalogue catalogue_;
    RequestMap resolved_;
    std::map<std::pair<std::string, int>, OpenFace> faces_;
    std::unique_ptr<const FontFace> builtIn_;
    std::map<SetKey, std::unique_ptr<const FontSet>> sets_;
    std::map<const FontSet*, Members> further_;
    std::map<std::tuple<char32_t, bool, bool>, const FontSet::Member*> covering_;
    std::set<std::string> replaced_;
    std::set<char32_t> lacking_;  // reported in the log
};

// Never destroyed: threads may still draw while the process ends.
FontLibrary& fontLibrary() {
    static FontLibrary& library = *new FontLibrary;
    return library;
}

}  // namespace

std::vector<std::string> fontFamilies() { return fontLibrary().families(); }

void requireDrawable(const FontFace& face) {
    if (face.bytes.empty()) throw MachineError(kNoFont);
}

const FontSet::Member* FontSet::member(std::size_t index) const {
    if (index == 0) return &first;
    const std::vector<Member>* further = further_.load(std::memory_order_acquire);
    if (further == nullptr) {
        further = &fontLibrary().furtherMembers(*this);
        further_.store(further, std::memory_order_release);
    }
    return index <= further->size() ? &(*further)[index - 1] : nullptr;
}

const FontSet::Member& FontSet::memberFor(char32_t character) const {
    hb_codepoint_t glyph = 0;
    for (std::size_t i = 0; const Member* const candidate = member(i); ++i) {
        if (hb_font_get_nominal_glyph(candidate->face->font, character, &glyph) != 0) return *candidate;
    }
    const Member* other = fontLibrary().covering(character, first);
    return other != nullptr ? *other : first;
}

const FontSet& resolveFont(const std::u16string& family, bool bold, bool italic, TextLanguage language) {
    thread_local RequestMap known;
    const Request request{family, bold, italic, language};
    if (const auto found = known.find(keyOf(request)); found != known.end()) return *found->second;
    const FontSet& set = fontLibrary().resolve(request);
    if (known.size() >= kRememberedNames) known.clear();
    known.emplace(keyOf(request), &set);
    return set;
}

}  // namespace qbsvrl6
