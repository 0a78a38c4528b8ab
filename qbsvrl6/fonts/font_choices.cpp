#include "qbsvrl6/fonts/font_choices.h"

#include <filesystem>
#include <mutex>
#include <system_error>

#include "qbsvrl6/fonts/aliases.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

struct Choices {
    std::mutex mutex;
    FontChoices chosen;
    bool areFinal = false;

    void requireOpen() const {
        if (areFinal)
            throw EngineError(ErrorCode::NotSupported, "the fonts of the process are in use already");
    }
};

// Never destroyed: threads may still draw while the process ends.
Choices& choices() {
    static Choices& all = *new Choices;
    return all;
}

}  // namespace

void addFontFolder(const std::string& path) {
    Choices& all = choices();
    const std::lock_guard lock(all.mutex);
    std::error_code failed;
    const std::filesystem::path folder = std::filesystem::absolute(path, failed);
    if (failed || !std::filesystem::is_directory(folder, failed)) {
        throw EngineError(ErrorCode::FileNotFound, "there is no such folder", {path});
    }
    all.requireOpen();
    all.chosen.folders.push_back(folder.string());
}

void setFontAlias(std::u16string_view name, std::u16string_view family) {
    Choices& all = choices();
    const std::lock_guard lock(all.mutex);
    all.requireOpen();
    all.chosen.aliases.insert_or_assign(foldFamily(name), foldFamily(family));
}

FontChoices takeFontChoices() {
    Choices& all = choices();
    const std::lock_guard lock(all.mutex);
    all.areFinal = true;
    return all.chosen;
}

}  // namespace qbsvrl6
