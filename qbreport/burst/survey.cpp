#include "qbreport/burst/survey.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "qbreport/burst/digest.h"
#include "qbreport/burst/distinct.h"
#include "qbreport/failure.h"
#include "qbreport/interrupt.h"
#include "qbreport/suggestion.h"

namespace qbreport {

namespace {

constexpr std::uint64_t kDocumentsPerCall = 1024;

class Surveyor {
public:
    Surveyor(const DocumentSource& source, const OutputNames& names, const Shard& shard,
             const std::vector<std::string>& reserved)
        : source_(source), names_(names), shard_(shard), reserved_(reserved) {}

    // Nothing if keys or names do not ascend and have to be remembered.
    std::optional<Survey> survey(bool remembers, const std::function<void(double)>& onShare) const {
        Survey survey;
        Digest digest;
        Documents documents(source_, shard_, shard_.isWhole() ? &digest : nullptr);
        Distinct keys(remembers);
        Distinct names(remembers);
        const bool checksNames = !names_.isOneToOne(keyName());
        std::vector<std::string> missing = source_.columns.names;  // in all rows so far
        Document document;
        while (documents.next(document)) {
            add(survey, document);
            if (!missing.empty()) removeFound(missing, documents, document);
            const Distinct::Answer key = keys.add(document.key);
            if (key == Distinct::Answer::Known) failKey(documents, document);
            const std::string name = names_.nameOf(source_.columns.names, document.values);
            const Distinct::Answer answer = checksNames ? names.add(name) : Distinct::Answer::New;
            if (answer == Distinct::Answer::Known) {
                requireColumns(missing, documents);
                failName(documents, document, name);
            }
            if (key == Distinct::Answer::Unknown || answer == Distinct::Answer::Unknown) return std::nullopt;
            requireFree(documents, document, name);
            if (survey.documents % kDocumentsPerCall != 0) continue;
            onShare(documents.share());
            if (isInterrupted()) throw Failure("");
        }
        if (shard_.isWhole() && survey.documents > 0) requireColumns(missing, documents);
        if (shard_.isWhole()) survey.digest = digest.hex();
        return survey;
    }

private:
    const std::string& keyName() const { return source_.columns.names[source_.columns.key]; }

    void removeFound(std::vector<std::string>& missing, const Documents& documents,
                     const Document& document) const {
        const std::vector<std::string> known = documents.rows().columns();
        std::erase_if(missing, [&](const std::string& name) {
            const auto& names = source_.columns.names;
            const auto index =
                static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
            return !document.values[index].empty() ||
                   std::find(known.begin(), known.end(), name) != known.end();
        });
    }

    void requireColumns(const std::vector<std::string>& missing, const Documents& documents) const {
        if (missing.empty()) return;
        throw Failure("the rows have no column \"" + missing.front() + "\"" +
                      suggestion(missing.front(), documents.rows().columns(), "columns"));
    }

    [[noreturn]] void failKey(const Documents& documents, const Document& document) const {
        if (source_.isKeyList) {
            throw Failure("the query has the " + keyName() + " \"" + document.key +
                          "\" twice; each row is a document: write select distinct, or group by " +
                          keyName());
        }
        throw Failure(documents.placeOf(document) + ": the rows of the " + keyName() + " \"" + document.key +
                      "\" are not together: it has rows before others; sort the data by " + keyName());
    }

    [[noreturn]] void failName(const Documents& documents, const Document& document,
                               const std::string& name) const {
        Documents again(source_, shard_, nullptr);
        Document other;
        while (again.next(other) && names_.nameOf(source_.columns.names, other.values) != name) continue;
        throw Failure(documents.placeOf(document) + ": the documents of \"" + other.key + "\" and \"" +
                      document.key + "\" would both be \"" + names_.folder() + name + "\"; add {" +
                      keyName() + "} to the name in -o");
    }

    void requireFree(const Documents& documents, const Document& document, const std::string& name) const {
        if (names_.isArchive()) return;
        const std::string file = name.substr(name.rfind('/') + 1);  // npos + 1 is 0
        for (const std::string& path : reserved_) {
            if (!path.ends_with(file)) continue;
            const auto normal = [](const std::string& text) {
                return std::filesystem::absolute(text).lexically_normal();
            };
            if (normal(path) != normal(names_.folder() + name)) continue;
            throw Failure(documents.placeOf(document) + ": the document of \"" + document.key +
                          "\" would replace \"" + path + "\"; choose another name in -o");
        }
    }

    const DocumentSource& source_;
    const OutputNames& names_;
    const Shard& shard_;
    const std::vector<std::string>& reserved_;
};

}  // namespace

void add(Survey& survey, const Document& document) {
    ++survey.documents;
    survey.rows += document.rows;
    if (survey.total.add(document.total)) return;
    throw Failure("the total of all documents has more than 38 digits");
}

Survey surveyOf(const DocumentSource& source, const OutputNames& names, const Shard& shard,
                const std::vector<std::string>& reserved, const std::function<void(double)>& onShare) {
    const Surveyor surveyor(source, names, shard, reserved);
    std::optional<Survey> survey = surveyor.survey(false, onShare);
    if (!survey.has_value()) survey = surveyor.survey(true, onShare);
    if (survey->documents == 0 && shard.isWhole()) {
        throw Failure("\"" + source.source->name() + "\" has no rows, so there are no documents");
    }
    if (source.origin && shard.isWhole()) survey->digest = source.origin->digest;
    return *survey;
}

}  // namespace qbreport
