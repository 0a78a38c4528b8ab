#include "qbsvrl6/api/process_settings.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <utility>
#include <vector>

#include "qbsvrl6/support/byte_size.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/settings.h"
#include "qbsvrl6/support/suggestion.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

std::string settingOf(const NamedFigure& named) { return "budget." + std::string(named.name); }

// Settings as they are read.
struct Draft {
    ProcessSettings settings;
    ReachRules reach;
};

// The settings that are not figures of the budget.
struct NamedSetting {
    const char* name;
    void (*apply)(Draft& draft, const std::string& value);
};
constexpr NamedSetting kSettings[] = {
    {"reach.folders", [](Draft& draft, const std::string& value) { draft.reach.setFolders(value); }},
    {"reach.hosts", [](Draft& draft, const std::string& value) { draft.reach.setHosts(value); }},
    {"reach.odbc", [](Draft& draft, const std::string& value) { draft.reach.setOdbc(switchFrom(value)); }},
    {"csv.defuse",
     [](Draft& draft, const std::string& value) { draft.settings.defuseFormulas = switchFrom(value); }},
    {"data.memory",
     [](Draft& draft, const std::string& value) {
         draft.settings.rowMemory = sizeFrom("data.memory", value);
     }},
};

[[noreturn]] void failUnknown(const std::string& name) {
    std::vector<std::u16string> known;
    for (const NamedFigure& named : kBudgetFigures) known.push_back(toUtf16(settingOf(named)));
    for (const NamedSetting& named : kSettings) known.push_back(toUtf16(named.name));
    const std::vector<std::u16string_view> names(known.begin(), known.end());
    throw EngineError(ErrorCode::NotSupported,
                      "there is no setting \"" + name + "\"; " + suggestion(toUtf16(name), names));
}

void apply(const Setting& setting, Draft& draft) {
    for (const NamedSetting& named : kSettings) {
        if (setting.name == named.name) return named.apply(draft, setting.value);
    }
    const auto named =
        std::find_if(kBudgetFigures.begin(), kBudgetFigures.end(),
                     [&](const NamedFigure& figure) { return setting.name == settingOf(figure); });
    if (named == kBudgetFigures.end()) failUnknown(setting.name);
    draft.settings.budget.*named->figure = figureFrom(named->figure, setting.value);
}

ProcessSettings settingsOf(const std::string& setupPath) {
    Draft draft;
    draft.reach.setSetupFolder(setupPath);
    for (const Setting& setting : readSettings(setupPath)) {
        try {
            apply(setting, draft);
        } catch (const EngineError& error) {
            throw EngineError(error.code(), error.what(), setting.place);
        }
    }
    draft.settings.reach = std::make_shared<const ReachRules>(std::move(draft.reach));
    return draft.settings;
}

struct State {
    std::mutex mutex;
    std::string setupPath;  // empty: the user's own settings hold
    bool isLoaded = false;
    ProcessSettings fromFile;
    ProcessSettings settings;
    std::string error;  // why there are none

    // What the machine lacks for reading the file passes: then nothing is loaded, and the next use tries
    // again.
    void load() {
        isLoaded = false;
        error.clear();
        try {
            fromFile = settingsOf(setupPath);
        } catch (const EngineError& failure) {
            error = failure.what();
            logError(error);
        }
        settings = fromFile;
        limitRowMemory(settings.rowMemory);
        isLoaded = true;
    }

    void require() {
        if (!isLoaded) load();
        if (!error.empty()) throw EngineError(ErrorCode::NotSupported, error);
    }
};

// Never destroyed: reports may be used by destructors that run at the process's end.
State& state() {
    static State* const state = new State;
    return *state;
}

}  // namespace

bool switchFrom(const std::string& value) {
    if (value == "yes") return true;
    if (value == "no") return false;
    throw EngineError(ErrorCode::NotSupported, "\"" + value + "\" is neither yes nor no");
}

void loadProcessSettings(const std::string& setupPath) {
    State& kept = state();
    const std::lock_guard lock(kept.mutex);
    kept.setupPath = setupPath;
    try {
        kept.load();
    } catch (const std::exception& failure) {
        logError(std::string("the settings are not read yet: ") + failure.what());
    }
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
