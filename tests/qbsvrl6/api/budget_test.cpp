#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "engine/qbsvr_more.h"
#include "tests/qbsvrl6/api/api_fixture.h"

namespace api_test {
namespace {

using namespace std::chrono_literals;

class OnBegin : public CqbExportEventInfo {
public:
    explicit OnBegin(std::function<void()> action) : action_(std::move(action)) {}
    void Execute(tagQBExportOption*) override { action_(); }

private:
    std::function<void()> action_;
};

QBXBudget sized() {
    QBXBudget budget = {};
    budget.size = sizeof budget;
    return budget;
}

class BudgetTest : public ApiTest {
protected:
    BudgetTest() {
        std::string rows;
        for (int i = 0; i < 200; ++i) rows += std::string(i == 0 ? "" : ",") + R"({"Name":"n","Amount":1})";
        write("list.txt", R"({"Rows":[)" + rows + "]}");
        QBReportLoadFromFile(report_, path("list.qbf").c_str());
        good_ = exported(report_, QBExportType_CSV);
        takeLog();
    }

    OwnReport report_;
    std::string good_;
};

TEST_F(BudgetTest, EndsAnExportAtEachFigureAndIsForgotten) {
    struct Case {
        uint64_t QBXBudget::*figure;
        uint64_t value;
        tagQBExportType type;
        const char* told;
    };
    const auto kDocx = static_cast<tagQBExportType>(QBXExportType_DOCX);
    const auto kOds = static_cast<tagQBExportType>(QBXExportType_ODS);
    const auto kJson = static_cast<tagQBExportType>(QBXExportType_JSON);
    const Case cases[] = {
        {&QBXBudget::wallMilliseconds, 1, QBExportType_CSV, "the budget wall-time of 1 ms is used up"},
        {&QBXBudget::pages, 2, QBExportType_PDF, "the budget pages of 2 is used up"},
        {&QBXBudget::pageItems, 1, QBExportType_PDF, "the budget page-items of 1 is used up at one page"},
        {&QBXBudget::pixels, 1'000'000, QBExportType_IMG,
         "the budget pixels of 1,000,000 is used up at one image"},
        {&QBXBudget::documentBytes, 100, QBExportType_CSV,
         "the budget document-size of 100 bytes is used up"},
        {&QBXBudget::pages, 2, kDocx, "the budget pages of 2 is used up"},
        {&QBXBudget::pages, 2, kOds, "the budget pages of 2 is used up"},
        {&QBXBudget::wallMilliseconds, 1, kJson, "the budget wall-time of 1 ms is used up"},
        {&QBXBudget::documentBytes, 100, kDocx, "the budget document-size of 100 bytes is used up"},
        {&QBXBudget::documentBytes, 100, kOds, "the budget document-size of 100 bytes is used up"},
        {&QBXBudget::documentBytes, 100, kJson, "the budget document-size of 100 bytes is used up"},
    };
    QBAttachEventExportBegin(report_, new OnBegin([] { std::this_thread::sleep_for(5ms); }));
    for (const Case& c : cases) {
        QBXBudget budget = sized();
        budget.*c.figure = c.value;
        EXPECT_EQ(QBXReportSetBudget(report_, &budget), 1);
        EXPECT_EQ(exported(report_, c.type), "(null)") << c.told;
        EXPECT_NE(takeLog().find(c.told), std::string::npos) << c.told;
        EXPECT_EQ(QBXReportSetBudget(report_, nullptr), 1);
        EXPECT_EQ(exported(report_, QBExportType_CSV), good_) << c.told;
    }
}

TEST_F(BudgetTest, HandlersAndOtherThreadsCancel) {
    const std::function<void()> cancels[] = {
        [&] { EXPECT_EQ(QBXReportCancel(report_), 1); },
        [&] { std::thread([&] { EXPECT_EQ(QBXReportCancel(report_), 1); }).join(); },
    };
    for (const auto& cancel : cancels) {
        QBAttachEventExportBegin(report_, new OnBegin(cancel));
        EXPECT_EQ(exported(report_, QBExportType_CSV), "(null)");
        EXPECT_NE(takeLog().find("the export was cancelled"), std::string::npos);
        QBAttachEventExportBegin(report_, nullptr);
        EXPECT_EQ(QBXReportCancel(report_), 0);
        EXPECT_EQ(exported(report_, QBExportType_CSV), good_);
    }
}

TEST_F(BudgetTest, TheSettingsFileIsReadWithTheSetUpFolder) {
    const auto exportWith = [&](const std::string& settings) {
        write("qbsvrl6.conf", settings);
        QBInitConfig(path("").c_str());
        return exported(report_, QBExportType_PDF) == "(null)" ? takeLog() : "";
    };
    const std::pair<const char*, const char*> cases[] = {
        {"# few\nbudget.pages = 1 # page\n", "the budget pages of 1 is used up"},
        {"budget.wall-time = 2 parsecs", R"(qbsvrl6.conf:1: "2 parsecs" is not a value of wall-time)"},
        {"\nbudget.page = 1",
         R"(qbsvrl6.conf:2: there is no setting "budget.page"; did you mean "budget.pages"?)"},
        {"budget.pages", "qbsvrl6.conf:1: a setting has the form name = value"},
    };
    for (const auto& [settings, told] : cases) {
        EXPECT_NE(exportWith(settings).find(told), std::string::npos) << settings;
    }
    QBXBudget none = sized();
    QBXMessage reason = {};
    reason.size = sizeof reason;
    EXPECT_EQ(QBXSetBudget(&none), 0);
    ASSERT_EQ(QBXGetLastError(&reason), 1);
    EXPECT_NE(std::string(reason.text).find("qbsvrl6.conf:1: a setting has the form"), std::string::npos);
    EXPECT_EQ(exportWith("budget.wall-time = 1 min\nbudget.document-size = 1 GiB"), "");
    QBXBudget budget = sized();
    EXPECT_EQ(QBXGetBudget(&budget), 1);
    EXPECT_EQ(budget.wallMilliseconds, 60'000u);
    EXPECT_EQ(budget.documentBytes, 1u << 30);
    budget.size = offsetof(QBXBudget, cpuMilliseconds);
    budget.wallMilliseconds = 7;
    budget.cpuMilliseconds = 8;
    EXPECT_EQ(QBXSetBudget(&budget), 1) << "a caller of an older, shorter structure";
    budget = sized();
    EXPECT_EQ(QBXGetBudget(&budget), 1);
    EXPECT_EQ(budget.wallMilliseconds, 7u);
    EXPECT_EQ(budget.cpuMilliseconds, 3'600'000u);
    EXPECT_EQ(exportWith(""), "");
}

}  // namespace
}  // namespace api_test
