// What a template refers to, for programs that show or check templates.
#ifndef QBSVR_QBSVRL6_TEMPLATE_CONTENTS_H
#define QBSVR_QBSVRL6_TEMPLATE_CONTENTS_H

#include <cstddef>
#include <string>
#include <vector>

#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

struct Mention {
    std::u16string name;
    std::size_t count = 0;
    TextPosition position;  // of the text that mentions it first; unknown where a program has set that
};

// In the order of the template, sub-reports included, each name once.
struct TemplateContents {
    std::vector<Mention> names;  // in expressions and placeholders: fields, parameters
    std::vector<Mention> fonts;  // families
};

TemplateContents contentsOf(const ReportDefinition& report);

}  // namespace qbsvrl6

#endif
