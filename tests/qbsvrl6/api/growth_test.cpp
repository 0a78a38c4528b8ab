// The cost of an export grows no faster than its input: each shape of input is exported at n, 2n and 4n. The
// test counts memory rather than time, so that the result is the same on every machine.
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include "tests/qbsvrl6/api/api_fixture.h"

namespace {

thread_local std::size_t allocations = 0;
thread_local std::size_t allocatedBytes = 0;
thread_local std::size_t bytesInUse = 0;
thread_local std::size_t mostBytesInUse = 0;

void* allocate(std::size_t size) {
    ++allocations;
    allocatedBytes += size;
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) throw std::bad_alloc();
    bytesInUse += malloc_usable_size(memory);
    mostBytesInUse = std::max(mostBytesInUse, bytesInUse);
    return memory;
}

void release(void* memory) noexcept {
    bytesInUse -= malloc_usable_size(memory);
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }

namespace api_test {
namespace {

// "#" is the number of the round.
std::string repeated(int count, const std::string& text, const std::string& between = "") {
    std::string all;
    for (int i = 0; i < count; ++i) {
        if (i > 0) all += between;
        for (const char c : text) all += c == '#' ? std::to_string(i) : std::string(1, c);
    }
    return all;
}

const std::string kText = R"(<Text width="20mm" height="5mm" text="[a]"/>)";
const std::string kSub = R"(<SubReport width="20mm" height="5mm"><Report><Data table="t#"/><ReportHeader>)" +
                         kText + "</ReportHeader></Report></SubReport>";
const std::string kChart = R"(<Chart width="20mm" height="9mm"><Series label="s" value="a"/></Chart>)";
const std::string kJoined =
    R"x(<Grid><Recordset table="m"/><Columns><Column name="c" width="80mm"><Content><SubReport><Parameter name="p"
    expression="id"/><Report><Grid filter="v &gt;= 0 and (k = p and true)"><Recordset table="d"/><Columns>
    <Column name="v" width="30mm"><Content text="[v]"/></Column></Columns></Grid></Report></SubReport></Content>
    </Column></Columns></Grid>)x";

const std::string kNested =
    R"x(<Grid><Recordset table="c"/><Columns><Column name="c" width="80mm"><Content><SubReport><Report><Grid>
    <Recordset table="c.o"/><Columns><Column name="v" width="30mm"><Content text="[c.id] [v] [Sum(v)]"/></Column>
    </Columns></Grid></Report></SubReport></Content></Column><Column name="s" width="9mm"><Content
    text="[Sum(o.v)]"/></Column></Columns></Grid>)x";

// A cell of many pages, and cuts between its rows.
const std::string kLongCell =
    R"x(<Grid rowHeight="5mm"><Recordset table="m"/><Columns><Column name="c" width="80mm"><Content><SubReport>
    <Report><Grid rowHeight="5mm"><Recordset table="d"/><Columns><Column name="v" width="30mm"><Content text="[v]"/>
    </Column></Columns></Grid></Report></SubReport></Content></Column></Columns></Grid>)x";

struct Shape {
    const char* name;
    std::function<std::string(int)> data;
    std::function<std::string(int)> report;  // the content of its template
    tagQBExportType type = QBExportType_CSV;
    int mostCounted = 1'600;  // the largest n whose instructions are counted
};

std::string header(const std::string& controls) { return "<ReportHeader>" + controls + "</ReportHeader>"; }

const Shape kShapes[] = {
    {"rows without values, then one with many columns",
     [](int n) { return "[" + repeated(n, "{},") + "{" + repeated(n, R"("c#":1)", ",") + "}]"; },
     {}},
    {"a long key around many",
     [](int n) {
         return "[{\"" + std::string(static_cast<std::size_t>(n), 'k') + "\":{" +
                repeated(n, R"("c#":1)", ",") + "}}]";
     },
     {}},
    {"a child repeated in a row",
     [](int n) { return "<d><r>" + repeated(n, "<a>xyz</a>") + "</r><r/></d>"; },
     {}},
    {"attributes", [](int n) { return "<d " + repeated(n, "a#='1' ") + "><r a='1'/></d>"; }, {}},
    {"tables", [](int n) { return "{" + repeated(n, R"("t#":[{"a":1}])", ",") + "}"; },
     [](int n) { return header(repeated(n, kSub)); }},
    {"tables of one name", [](int n) { return "<d>" + repeated(n, "<c#><t a='1'/></c#>") + "</d>"; }, {}},
    {"parameters of the data and sub-reports",
     [](int n) { return "{" + repeated(n, R"("p#":1)", ",") + R"(,"t":[{"a":1}]})"; },
     [](int n) { return header(repeated(n, kSub)); }},
    {"parameters, fields and charts",
     {},
     [](int n) {
         return "<Parameters>" + repeated(n, "<Parameter name='p#'/>") + "</Parameters><Fields>" +
                repeated(n, "<Field name='f#'/>") + "</Fields>" + header(repeated(n, kChart));
     }},
    {"a chain of styles",
     {},
     [](int n) {
         return "<Styles><Style name='s'/>" + repeated(n, "<Style name='s#' parent='s'/>") + "</Styles>" +
                header(repeated(n, "<Text style='s#' width='20mm' height='5mm'/>"));
     }},
    {"styles and parameters that sub-reports inherit",
     {},
     [](int n) {
         return "<Styles>" + repeated(n, "<Style name='s#'/>") + "</Styles><Parameters>" +
                repeated(n, "<Parameter name='p#' value='#'/>") + "</Parameters>" +
                header(repeated(
                    n,
                    "<SubReport width='20mm' height='5mm'><Parameter name='q' "
                    "expression='p#'/><Report><ReportHeader>"
                    "<SubReport width='20mm' height='5mm'><Report><ReportHeader><Text style='s#' "
                    "width='20mm' "
                    "height='5mm' text='[p#] "
                    "[q]'/></ReportHeader></Report></SubReport></ReportHeader></Report></SubReport>"));
     }},
    {"a filter for each row",
     [](int n) {
         return R"({"m":[)" + repeated(n, R"({"id":#})", ",") + R"(],"d":[)" +
                repeated(n, R"({"k":#,"v":#})", ",") + "]}";
     },
     [](int) { return kJoined; }},
    {"rows within rows",
     [](int n) { return R"({"c":[)" + repeated(n, R"({"id":#,"o":[{"v":1},{"v":2}]})", ",") + "]}"; },
     [](int) { return kNested; }},
    {"tables within rows", [](int n) { return "[" + repeated(n, R"({"t#":[{"b":#}]})", ",") + "]"; },
     [](int n) { return header(repeated(n, "<Text text='[Sum(t#.b)] [t#.c]'/>")); }, QBExportType_CSV, 960},
    {"rows of a sub-report in one cell",
     [](int n) { return R"({"m":[{"id":1}],"d":[)" + repeated(n, R"({"v":#})", ",") + "]}"; },
     [](int) { return kLongCell; }, QBExportType_PDF},
    {"sums of pages and of those before", [](int n) { return "[" + repeated(n, R"({"a":#})", ",") + "]"; },
     [](int) {
         return std::string(
             "<Grid rowHeight='130mm'><Columns><Column name='a' width='60mm'><Content text='[Sum(a, Page)] "
             "[Sum(a, BroughtForward)]'/></Column></Columns></Grid>");
     },
     QBExportType_PDF},
    {"texts side by side",
     {},
     [](int n) { return header(repeated(n, "<Text x='#mm' width='1.5mm' height='5mm' text='x'/>")); }},
    {"texts beside rows of texts",
     {},
     [](int n) {
         return header(repeated(n, "<Text x='#mm' width='1.5mm' height='1600mm' text='x'/>") +
                       repeated(n, "<Text y='#mm' width='9mm' height='1mm' text='x'/>"));
     }},
    {"unknown names", {}, [](int n) { return header(repeated(n, "<Text text='[u#]'/>")); }},
};

class GrowthTest : public ApiTest {
protected:
    static std::string dataOf(const Shape& shape, int n) {
        return shape.data ? shape.data(n) : R"([{"a":1}])";
    }
    static std::string reportOf(const Shape& shape, int n, const std::string& data) {
        return "<Report version='1'><Data connection='xml' query='" + data + "'/>" +
               (shape.report ? shape.report(n) : header("<Text text='x'/>")) + "</Report>";
    }

    // Measures loading the template and its data, and exporting the report.
    void measure(const Shape& shape, int n, std::size_t& count, std::size_t& bytes) {
        write("growth.txt", dataOf(shape, n));
        write("growth.qbf", reportOf(shape, n, "growth.txt"));
        const OwnReport report;
        const std::size_t countBefore = allocations;
        const std::size_t bytesBefore = allocatedBytes;
        ASSERT_EQ(QBReportLoadFromFile(report, path("growth.qbf").c_str()), 1) << shape.name << takeLog();
        ASSERT_NE(exported(report, shape.type), "(null)") << shape.name << takeLog();
        count = allocations - countBefore;
        bytes = allocatedBytes - bytesBefore;
    }
};

TEST_F(GrowthTest, IsLinearInTheInput) {
    constexpr int kLeast = 150;
    for (const Shape& shape : kShapes) {
        std::size_t counts[3] = {};
        std::size_t bytes[3] = {};
        measure(shape, kLeast, counts[0], bytes[0]);  // fills the caches
        for (int i = 0; i < 3; ++i) measure(shape, kLeast << i, counts[i], bytes[i]);
        // All three contain the constant part. The second step is twice the first if the rest is linear, and
        // four times as large if it is quadratic.
        EXPECT_LE(counts[2] - counts[1], 3 * (counts[1] - counts[0]) + 50)
            << shape.name << ": allocations " << counts[0] << " " << counts[1] << " " << counts[2];
        EXPECT_LE(bytes[2] - bytes[1], 3 * (bytes[1] - bytes[0]) + 10'000)
            << shape.name << ": bytes " << bytes[0] << " " << bytes[1] << " " << bytes[2];
    }
}

// For growth_test.py, which counts instructions.
TEST_F(GrowthTest, WritesItsInputs) {
    const char* const folder = std::getenv("QBSVR_GROWTH_INPUTS");
    if (folder == nullptr) GTEST_SKIP() << "only with QBSVR_GROWTH_INPUTS";
    for (const Shape& shape : kShapes) {
        for (const int n : {shape.mostCounted / 4, shape.mostCounted / 2, shape.mostCounted}) {
            const std::string format = shape.type == QBExportType_PDF ? " pdf" : " csv";
            const std::string name = shape.name + (" " + std::to_string(n)) + format;
            WriteFile(std::string(folder) + "/" + name + ".txt", dataOf(shape, n));
            WriteFile(std::string(folder) + "/" + name + ".qbf", reportOf(shape, n, name + ".txt"));
        }
    }
}

// Rows, groups and pages with their count: one more row takes far less than itself. Small documents are in memory,
// in a string that grows to twice its size, and CSV keeps its text once more until the page count is known.
TEST_F(GrowthTest, MemoryDoesNotGrowWithTheRows) {
    constexpr int kRows = 20'000, kBytesOfARow = 24;
    write("qbsvrl6.conf", "data.memory = 0");
    QBInitConfig(path("").c_str());
    write("rows.qbf", R"x(<Report version='1'><Data connection='xml' query='rows.txt'/><Grid><Columns>
        <Column name="a" width="40mm"><Content text="[a]"/></Column><Column name="b" width="60mm"><Content text="[b]"/>
        </Column></Columns><Groups><Group name="g" by="g"><Footer height="5mm"><Text width="40mm" height="5mm"
        text="[Sum(a)]"/></Footer></Group></Groups></Grid><PageFooter height="5mm"><Text width="40mm" height="5mm"
        text="[PageNumber] / [PageCount]"/></PageFooter></Report>)x");
    for (const tagQBExportType type : {QBExportType_PDF, QBExportType_CSV}) {
        std::size_t most[3] = {}, documents[3] = {};
        for (int i = 0; i < 3; ++i) {  // the first one fills the caches
            const int rows = i == 0 ? 100 : i * kRows;
            write("rows.txt",
                  "[" + repeated(rows, R"({"g":"g","a":#,"b":"some thirty characters of text"})", ",") + "]");
            const OwnReport report;
            mostBytesInUse = bytesInUse;
            const std::size_t before = bytesInUse;
            ASSERT_EQ(QBReportLoadFromFile(report, path("rows.qbf").c_str()), 1) << takeLog();
            ASSERT_EQ(QBReportExportDirect(report, type, path("rows.out").c_str(), 0, 0), 1) << takeLog();
            most[i] = mostBytesInUse - before;
            documents[i] = read("rows.out").size();
        }
        const std::size_t allowed = kRows * kBytesOfARow + 4 * (documents[2] - documents[1]);
        EXPECT_LE(most[2], most[1] + allowed) << type << " " << documents[1] << " " << documents[2];
    }
    write("qbsvrl6.conf", "");
    QBInitConfig(path("").c_str());
}

}  // namespace
}  // namespace api_test
