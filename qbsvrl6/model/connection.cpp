#include "qbsvrl6/model/connection.h"

#include <array>

namespace qbsvrl6 {

namespace {

struct Source {
    std::string_view shown;
    std::u16string_view name;
    SourceKind kind;
    enum class Rest { None, May, Must } rest;  // what follows the name
};

constexpr std::array kSources = {
    Source{"xml", u"xml", SourceKind::Document, Source::Rest::None},
    Source{"csv", u"csv", SourceKind::Csv, Source::Rest::May},
    Source{"jsonl", u"jsonl", SourceKind::JsonLines, Source::Rest::None},
    Source{"sqlite:FILE", u"sqlite", SourceKind::Sqlite, Source::Rest::Must},
    Source{"odbc:DSN=NAME", u"odbc", SourceKind::Odbc, Source::Rest::Must},
};

}  // namespace

std::optional<ConnectionParts> connectionParts(std::u16string_view connection) {
    for (const Source& source : kSources) {
        if (!connection.starts_with(source.name)) continue;
        const std::u16string_view rest = connection.substr(source.name.size());
        if (rest.empty() && source.rest != Source::Rest::Must) return ConnectionParts{source.kind, rest};
        if (rest.size() > 1 && rest.front() == u':' && source.rest != Source::Rest::None) {
            return ConnectionParts{source.kind, rest.substr(1)};
        }
    }
    return std::nullopt;
}

std::string knownConnections() {
    std::string list;
    for (const Source& source : kSources) list.append(list.empty() ? "" : ", ").append(source.shown);
    return list;
}

}  // namespace qbsvrl6
