// Templates that have been read before: programs load one for document after document.
#ifndef QBSVR_QBSVRL6_TEMPLATE_KNOWN_TEMPLATES_H
#define QBSVR_QBSVRL6_TEMPLATE_KNOWN_TEMPLATES_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/repetition.h"

namespace qbsvrl6 {

// The definitions of the process's latest templates, for all threads. Only for templates that are read without
// messages and without other files, so that reading them again would do nothing else.
class KnownTemplates {
public:
    static KnownTemplates& ofProcess();

    // A copy of the definition; nothing if the template is not known, or has more elements than the budget
    // allows.
    std::optional<ReportDefinition> find(std::string_view bytes, const std::string& origin);
    // Keeps a copy from the second time on: most programs read a template once.
    void add(std::string_view bytes, const std::string& origin, const ReportDefinition& definition,
             std::uint64_t elements);

private:
    struct Known {
        std::string bytes;
        std::string origin;
        ReportDefinition definition;
        std::uint64_t elements = 0;
    };

    std::mutex mutex_;
    std::list<std::shared_ptr<const Known>> known_;  // the latest first
    Repetition read_;
};

}  // namespace qbsvrl6

#endif
