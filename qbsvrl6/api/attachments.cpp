#include "qbsvrl6/api/attachments.h"

#include <algorithm>
#include <string>
#include <utility>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/clock.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/values.h"

namespace qbsvrl6 {

namespace {

// The names of a report that sources may have.
ReportDefinition namesOf(const ReportDefinition& report) {
    ReportDefinition names;
    names.parameters = report.parameters;
    names.fields = report.fields;
    names.places = report.places;
    return names;
}

DataSources sourcesOf(const ReportDefinition& report, const ReportData& data) {
    DataSources sources;
    if (const auto found = data.sets.find(&report); found != data.sets.end()) {
        sources.data = found->second.get();
        sources.rows = sources.data->table(report.data.table);
    }
    const auto set = data.setParameters.find(&report);
    if (set != data.setParameters.end()) sources.set = set->second.get();
    return sources;
}

// Base64 is longer than any path that is made of its characters alone.
bool looksLikeBase64(std::string_view source) {
    constexpr std::size_t kShortest = 64;
    return source.size() >= kShortest && std::all_of(source.begin(), source.end(), [](char c) {
               return isLatinLetter(c) || isDigit(c) || c == '+' || c == '/' || c == '=' || c == '\r' ||
                      c == '\n';
           });
}

// `start` is where a relative source starts.
std::string bytesOf(const std::u16string& source, Address start) {
    const std::string text = toUtf8(source);
    if (text.starts_with("data:")) {
        const std::size_t comma = text.find(',');
        if (comma == std::string::npos || !std::string_view(text).substr(0, comma).ends_with(";base64")) {
            throw EngineError(ErrorCode::BadData, "only Base64 is known in data URLs");
        }
        return readBase64(std::string_view(text).substr(comma + 1));
    }
    if (looksLikeBase64(text)) return readBase64(text);
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && (text[first] == '<' || text.compare(first, 4, "\xEF\xBB\xBF<") == 0)) {
        return text;  // XML
    }
    start.name = source;
    return fetch(start, limits::kPictureBytes);
}

Address startOf(const Attachment& attachment, const TextTemplate& source) {
    Address start = attachment.folder;
    start.folder = folderAt(attachment.folder);
    if (!source.isConstant()) start.namedBy = NamedBy::Data;
    return start;
}

}  // namespace

std::vector<PdfAttachment> loadAttachments(const ReportDefinition& report, const ReportData& data) {
    std::vector<PdfAttachment> loaded;
    if (report.pdf.attachments.empty()) return loaded;
    const ReportDefinition names = namesOf(report);
    Binding binding(names, sourcesOf(report, data), {});
    std::vector<TextTemplate> sources;
    for (const Attachment& attachment : report.pdf.attachments) {
        sources.push_back(binding.compileText(attachment.source));
    }
    RowView view(binding, {}, localTime());
    EvaluatedText source;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const Attachment& attachment = report.pdf.attachments[i];
        const auto fail = [&](ErrorCode code, const std::string& cause) {
            return EngineError(code,
                               "the attachment \"" + toUtf8(attachment.name) + "\" can't be read: " + cause,
                               {{}, report.placesOf(attachment.name, TextUse::Address).front()});
        };
        try {
            view.evaluateText(sources[i], {}, source);
            if (source.text.empty() && attachment.embedded.empty()) {
                throw EngineError(ErrorCode::BadData, "its source is empty");
            }
            loaded.push_back({attachment, source.text.empty()
                                              ? attachment.embedded
                                              : bytesOf(source.text, startOf(attachment, sources[i]))});
        } catch (const ValueError& error) {
            throw fail(ErrorCode::BadData, error.what());
        } catch (const EngineError& error) {
            if (error.endsExport()) throw;
            throw fail(error.code(), error.what());
        }
    }
    return loaded;
}

}  // namespace qbsvrl6
