#include "qbsvrl6/template/reference_checks.h"

#include <unordered_set>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/bind/cross_expression.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/white_space.h"
#include "qbsvrl6/template/values.h"

namespace qbsvrl6 {

namespace {

// A style of the report that is being read, or one that it inherits.
bool isStyle(Reading& reading, const std::u16string& name) {
    for (auto around = reading.reports.rbegin(); around != reading.reports.rend(); ++around) {
        if (around->hasStyle(name)) return true;
        if (!around->report->inherits) return false;
    }
    return false;
}

void checkReturns(Reading& reading) {
    std::unordered_set<std::u16string> names;
    for (const NotedReturn& returned : reading.returns) {
        if (names.insert(lowerCase(returned.name)).second) continue;
        reading.addError(ErrorCode::BadTemplate, "another <Return> is named " + quoted(toUtf8(returned.name)),
                         returned.offset);
    }
}

// The report's names without its data and columns.
ReportDefinition namesOf(const ReportDefinition& report) {
    ReportDefinition names;
    names.fields = report.fields;
    names.grid = std::make_unique<DetailGrid>();
    if (!report.grid) return names;
    for (const auto& group : report.grid->groups) {
        names.grid->groups.push_back(std::make_unique<Group>());
        names.grid->groups.back()->name = group->name;
        names.grid->groups.back()->by = u"null";
    }
    return names;
}

void checkFormats(Reading& reading, const TextTemplate& text, std::size_t offset) {
    for (const TextPart& part : text.parts) {
        const std::string problem = part.format.problem();
        if (problem.empty()) continue;
        reading.warnings.push_back(
            {"the format " + quoted(toUtf8(part.format.text())) + ' ' + problem, offset});
    }
}

void checkReturn(const Expression& expression) {
    if (!expression.usesPage && !expression.usesPageCount) return;
    throw EngineError(ErrorCode::BadExpression,
                      "returned values are of rows, not of pages: no page number, page count or page total");
}

// Rows are chosen and sorted while only some groups are known.
void checkKnownGroups(const Binding& binding, const Expression& expression, const NotedExpression& noted,
                      const ReportDefinition& report) {
    if (!report.grid) return;
    const bool isSort = noted.kind == NotedExpression::Kind::Sort;
    if ((isSort ? report.grid->sort : report.grid->filter) == noted.text) {
        binding.checkKnownGroups(expression, -1);
    }
    int level = 0;
    for (const auto& group : report.grid->groups) {
        if ((isSort ? group->sort : group->by) == noted.text) {
            binding.checkKnownGroups(expression, isSort ? level : level - 1);
        }
        ++level;
    }
}

void checkPageUse(const Expression& expression, const NotedExpression& noted) {
    if (noted.knowsPage || (!expression.usesPage && !expression.usesPageCount)) return;
    throw EngineError(ErrorCode::BadExpression,
                      "rows are chosen before there are pages: no page number, page count or page total");
}

// Binds all expressions to the report without its data. This finds aggregates over groups that don't exist, and
// calculated fields that need themselves.
void checkExpressions(Reading& reading, const ReportDefinition& report) {
    ReportDefinition names = namesOf(report);
    const Table noRows{u""};
    Binding binding(names, {nullptr, &noRows, nullptr}, {}, &report);
    for (const NotedExpression& noted : reading.expressions) {
        if (trimmed(noted.text).empty()) continue;
        try {
            switch (noted.kind) {
                case NotedExpression::Kind::Placeholders:
                    checkFormats(reading, binding.compileText(noted.text), noted.offset);
                    break;
                case NotedExpression::Kind::Sort:
                    for (const SortTerm& term : binding.compileSort(noted.text)) {
                        checkPageUse(term.expression, noted);
                        checkKnownGroups(binding, term.expression, noted, report);
                    }
                    break;
                case NotedExpression::Kind::Cross:
                    if (report.grid && report.grid->cross) {
                        checkCrossExpression(Expression::parse(noted.text), *report.grid->cross, noted.text);
                    }
                    break;
                case NotedExpression::Kind::Return:
                    checkReturn(binding.compile(noted.text));
                    break;
                case NotedExpression::Kind::Expression: {
                    const Expression expression = binding.compile(noted.text);
                    checkPageUse(expression, noted);
                    checkKnownGroups(binding, expression, noted, report);
                    break;
                }
            }
        } catch (const EngineError& error) {
            reading.addError(
                error.code() == ErrorCode::BadExpression ? ErrorCode::BadTemplate : error.code(),
                noted.attribute + "=" + quoted(toUtf8(noted.text)) + ": " + expressionError(error),
                noted.offset);
            // Texts that show a calculated field are not reported for its error.
            for (Field& field : names.fields) {
                if (field.expression == noted.text) field.expression.clear();
            }
        }
    }
}

}  // namespace

void checkReferences(Reading& reading, const ReportDefinition& report) {
    std::unordered_set<std::u16string_view> columns;
    std::unordered_set<std::u16string_view> pages;
    for (const NamedPage& page : report.namedPages) pages.insert(page.name);
    if (report.grid) {
        for (const auto& column : report.grid->columns) columns.insert(column->name);
    }
    for (const Reference& reference : reading.references) {
        const bool toStyle = reference.to == Reference::To::Style;
        const bool toPage = reference.to == Reference::To::Page;
        if (toStyle ? isStyle(reading, reference.name) : (toPage ? pages : columns).contains(reference.name))
            continue;
        const char* const where = toPage && reading.reports.size() > 1
                                      ? ": a section of a sub-report is on the paper of the section around it"
                                      : "";
        reading.addError(ErrorCode::BadTemplate,
                         std::string("no ") +
                             (toStyle  ? "style"
                              : toPage ? "page"
                                       : "column") +
                             " is named " + quoted(toUtf8(reference.name)) + where,
                         reference.offset);
    }
    checkReturns(reading);
    checkExpressions(reading, report);
}

}  // namespace qbsvrl6
