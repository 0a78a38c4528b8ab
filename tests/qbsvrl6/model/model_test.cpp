#include <gtest/gtest.h>

#include <map>
#include <string>

#include "qbsvrl6/model/named_styles.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {
namespace {

TEST(Styles, ComeFromTheReportThenTheParentsThenTheControl) {
    ReportDefinition report;
    report.font.fontFamily = u"KaiTi";
    report.font.fontSize = 9;
    report.styles = {
        {u"base", u"", {}}, {u"cell", u"base", {}}, {u"a", u"b", {}}, {u"b", u"a", {}}, {u"tail", u"b", {}}};
    report.styles[0].style.fontSize = 12;
    report.styles[0].style.bold = true;
    report.styles[1].style.bold = false;
    report.styles[2].style.fontSize = 20;
    report.styles[2].style.underline = true;
    report.styles[3].style.fontSize = 30;
    Style own;
    own.italic = true;

    NamedStyles styles(report);
    const ResolvedStyle cell = styles.resolve(u"cell", own);
    EXPECT_EQ(cell.fontFamily, u"KaiTi");
    EXPECT_EQ(cell.fontSize, 12);
    EXPECT_FALSE(cell.bold);
    EXPECT_TRUE(cell.italic);
    EXPECT_EQ(styles.resolve(u"unknown", {}).fontSize, 9);
    for (const auto& [name, size] : std::map<std::u16string, double>{{u"a", 20}, {u"b", 30}, {u"tail", 30}}) {
        EXPECT_EQ(styles.resolve(name, {}).fontSize, size)
            << toUtf8(name) << ": a cycle ends where it closes";
    }
    EXPECT_TRUE(styles.resolve(u"b", {}).underline) << "of its parent, which inherits from it";
}

TEST(Reports, WalkTheirControlsInTheTemplatesOrder) {
    const auto section = [](const char16_t* name) {
        auto made = std::make_unique<Section>();
        made->controls.items.push_back(std::make_unique<Control>());
        made->controls.items.back()->name = name;
        return made;
    };
    ReportDefinition report;
    report.pageFooter = section(u"page footer");
    report.pageHeader = section(u"page header");
    report.reportFooters.push_back(section(u"report footer"));
    report.reportHeaders.push_back(section(u"report header 1"));
    report.reportHeaders.push_back(section(u"report header 2"));
    report.grid = std::make_unique<DetailGrid>();
    for (const char16_t* name : {u"1", u"2"}) {
        auto& column = *report.grid->columns.emplace_back(std::make_unique<Column>());
        column.title.name = std::u16string(u"title ") + name;
        column.content.name = std::u16string(u"content ") + name;
    }
    auto& group = *report.grid->groups.emplace_back(std::make_unique<Group>());
    group.header = section(u"group header");

    std::u16string walk;
    for (const Control* control : allControls(report)) walk += control->name + u"; ";
    EXPECT_EQ(walk,
              u"report header 1; report header 2; page header; title 1; title 2; content 1; content 2; "
              u"group header; report footer; page footer; ");
}

}  // namespace
}  // namespace qbsvrl6
