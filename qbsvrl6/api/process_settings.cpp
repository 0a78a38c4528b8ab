#include "qbsvrl6/api/process_settings.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/settings.h"
#include "qbsvrl6/support/suggestion.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

std::string settingOf(const NamedFigure& named) { return "budget." + std::string(named.name); }

[[noreturn]] void failUnknown(const std::string& name) {
    std::vector<std::u16string> known;
    for (const NamedFigure& named : kBudgetFigures) known.push_back(toUtf16(settingOf(named)));
    const std::vector<std::u16string_view> names(known.begin(), known.end());
    throw EngineError(ErrorCode::NotSupported,
                      "there is no setting \"" + name + "\"; " + suggestion(toUtf16(name), names));
}

void apply(const Setting& setting, ProcessSettings& settings) {
    const auto named =
        std::find_if(kBudgetFigures.begin(), kBudgetFigures.end(),
                     [&](const NamedFigure& figure) { return setting.name == settingOf(figure); });
    if (named == kBudgetFigures.end()) failUnknown(setting.name);
    settings.budget.*named->figure = figureFrom(named->figure, setting.value);
}

ProcessSettings settingsOf(const std::string& setupPath) {
    ProcessSettings settings;
    for (const Setting& setting : readSettings(setupPath)) {
        try {
            apply(setting, settings);
        } catch (const EngineError& error) {
            throw EngineError(error.code(), error.what(), setting.place);
        }
    }
    return settings;
}

struct State {
    std::mutex mutex;
    bool isLoaded = false;
    ProcessSettings fromFile;
    ProcessSettings settings;
    std::string error;  // why there are none

    void load(const std::string& setupPath) {
        isLoaded = true;
        fromFile = {};
        error.clear();
        try {
            fromFile = settingsOf(setupPath);
        } catch (const EngineError& failure) {
            error = failure.what();
            logError(error);
        }
        settings = fromFile;
    }

    // Loads the user's own where no set-up folder was named.
    void require() {
        if (!isLoaded) load({});
        if (!error.empty()) throw EngineError(ErrorCode::NotSupported, error);
    }
};

// Never destroyed: reports may be used by destructors that run at the process's end.
State& state() {
    static State* const state = new State;
    return *state;
}

}  // namespace

void loadProcessSettings(const std::string& setupPath) {
    State& kept = state();
    const std::lock_guard lock(kept.mutex);
    kept.load(setupPath);
}

ProcessSettings processSettings() {
    State& kept = state();
    const std::lock_guard lock(kept.mutex);
    kept.require();
    return kept.settings;
}

void changeProcessSettings(
    const std::function<void(ProcessSettings& settings, const ProcessSettings& fromFile)>& change) {
    State& kept = state();
    const std::lock_guard lock(kept.mutex);
    kept.require();
    change(kept.settings, kept.fromFile);
}

}  // namespace qbsvrl6
