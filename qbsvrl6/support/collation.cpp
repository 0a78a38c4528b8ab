#include "qbsvrl6/support/collation.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/lazy_library.h"

namespace qbsvrl6 {

namespace {

// The parts of ICU's stable C interface that are used here. Its functions end in the number of the version,
// as its file does: ucol_open_72 in libicui18n.so.72.
struct Icu {
    using Open = void*(const char*, int*);
    using Close = void(void*);
    using SortKey = std::int32_t(const void*, const char16_t*, std::int32_t, std::uint8_t*, std::int32_t);
    using LocaleOf = const char*(const void*, int, int*);

    Open* open;
    Close* close;
    SortKey* sortKey;
    LocaleOf* localeOf;

    static const Icu& library() {
        static const Icu loaded = load();
        return loaded;
    }

private:
    static Icu load() {
        constexpr int kNewest = 99;
        constexpr int kOldest = 50;
        for (int version = kNewest; version >= kOldest; --version) {
            const std::string number = std::to_string(version);
            const auto library = open_(number);
            if (!library) continue;
            const auto named = [&](const char* name) { return name + ("_" + number); };
            return {library->function<Open>(named("ucol_open").c_str()),
                    library->function<Close>(named("ucol_close").c_str()),
                    library->function<SortKey>(named("ucol_getSortKey").c_str()),
                    library->function<LocaleOf>(named("ucol_getLocaleByType").c_str())};
        }
        throw EngineError(ErrorCode::MissingLibrary,
                          "\"collate\" needs the library libicui18n, which is not installed: install the "
                          "package libicu72 (Debian 12), or sort without \"collate\"");
    }

    static std::optional<LazyLibrary> open_(const std::string& version) {
        try {
            return LazyLibrary("libicui18n.so." + version, "libicu72");
        } catch (const EngineError&) {
            return std::nullopt;
        }
    }
};

std::string localeOf(const std::string& name) {
    constexpr std::array<std::string_view, 6> kChinese = {"pinyin", "stroke",    "zhuyin",
                                                          "unihan", "gb2312han", "big5han"};
    const bool isChinese = std::find(kChinese.begin(), kChinese.end(), name) != kChinese.end();
    return isChinese ? "zh@collation=" + name : name;
}

}  // namespace

Collation::Collation(const std::string& name) {
    constexpr int kUsesDefault = -127;  // a warning: there is nothing of this name
    constexpr int kValidLocale = 1;
    const Icu& icu = Icu::library();
    int status = 0;
    const std::string locale = localeOf(name);
    collator_.reset(icu.open(locale.c_str(), &status), icu.close);
    const bool hasType = locale.find('@') != std::string::npos;
    const bool isUnknownType = hasType && status == kUsesDefault;
    int found = 0;
    const char* const valid = collator_ ? icu.localeOf(collator_.get(), kValidLocale, &found) : nullptr;
    const bool isKnown = valid != nullptr && (std::string_view(valid) != "root" || locale == "root");
    if (status > 0 || !isKnown || isUnknownType) {
        throw EngineError(
            ErrorCode::NotSupported,
            "there is no collation \"" + name +
                "\"; there are languages (de, sv, ja, zh), pinyin, stroke and zhuyin, and others "
                "such as de@collation=phonebook");
    }
}

void Collation::appendKey(std::u16string_view text, std::string& key) {
    if (lastKey_.empty() || text != last_) {
        const Icu& icu = Icu::library();
        const auto units = static_cast<std::int32_t>(text.size());
        const auto make = [&] {
            return icu.sortKey(collator_.get(), text.data(), units,
                               reinterpret_cast<std::uint8_t*>(lastKey_.data()),
                               static_cast<std::int32_t>(lastKey_.size()));
        };
        lastKey_.resize(std::max<std::size_t>(lastKey_.capacity(), 64));
        std::int32_t size = make();
        if (static_cast<std::size_t>(size) > lastKey_.size()) {
            lastKey_.resize(static_cast<std::size_t>(size));
            size = make();
        }
        if (size == 0) throw std::bad_alloc();
        lastKey_.resize(static_cast<std::size_t>(size));
        last_ = text;
    }
    key += lastKey_;
}

}  // namespace qbsvrl6
