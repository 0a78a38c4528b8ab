#include "tests/qbsvrl6/api/api_fixture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "qbsvrl6/support/utf.h"

namespace api_test {

namespace {

constexpr const char* kList = R"(<?xml version="1.0" encoding="UTF-8"?>
<Report version="1">
  <Data connection="xml" query="list.txt" table="Rows"/>
  <ReportHeader height="10mm">
    <Text name="Title" width="100mm" height="8mm" text="Report of [Year]"/>
    <Chart name="ChartBar" x="110mm" width="50mm" height="8mm">
      <Category name="own"/>
      <Series label="own" values="1"/>
    </Chart>
    <SubReport name="Inner" y="9mm" width="100mm" height="1mm">
      <Report>
        <ReportHeader height="5mm">
          <Chart name="InnerChart" width="50mm" height="5mm" category="[Name]">
            <Series label="rows" value="Amount"/>
          </Chart>
        </ReportHeader>
      </Report>
    </SubReport>
  </ReportHeader>
  <Grid>
    <Columns>
      <Column name="Name" width="60mm">
        <Title text="Name"/>
        <Content name="NameCell" text="[Name]"/>
      </Column>
      <Column name="Amount" width="40mm">
        <Title text="Amount"/>
        <Content name="AmountCell" text="[Amount:0.00]"/>
      </Column>
    </Columns>
  </Grid>
</Report>
)";

constexpr const char* kBare = R"(<Report version="1"><ReportHeader height="10mm">
  <Text width="50mm" height="8mm" text="bare"/></ReportHeader></Report>)";

constexpr const char* kData =
    R"({"Year":2024,"Rows":[{"Name":"张三","Amount":1.5},{"Name":"Li","Amount":20}]})";

}  // namespace

const char* const kEverything = R"(<Report version="1" imageResolution="10">
  <Info title="T"/><Page width="100mm" height="60mm" margins="5mm"/><Watermark text="W"/>
  <Data connection="xml" query="list.txt" table="Rows"/>
  <PageFooter height="5mm"><Text width="50mm" height="5mm" text="[PageNumber]/[PageCount]"/></PageFooter>
  <ReportHeader height="20mm">
    <Text width="30mm" height="5mm" text="链接 [Year]" link="http://a/" underline="true" border="0.2mm"/>
    <Line x="30mm" width="5mm" height="5mm"/><Box x="35mm" width="5mm" height="5mm" fill="#ff0000"/>
    <Barcode x="40mm" width="20mm" height="8mm" type="52" text="[Year]"/>
    <Picture x="60mm" width="5mm" height="5mm"><Embedded>iVBORw0KGgoAAAANSUhEUgAAAAIAAAABCAYAAAD0In+KAAAAEUlEQVR4nGP4z8DQwMDw/z8ADX4DfuoeFyEAAAAASUVORK5CYII=</Embedded></Picture>
    <Chart y="8mm" width="30mm" height="10mm"><Category name="c"/><Series label="s" values="1"/></Chart>
  </ReportHeader>
  <Grid>
    <Columns><Column name="N" width="40mm"><Title text="N"/><Content text="[Name]"/></Column></Columns>
    <Groups><Group name="G" by="Name"><Footer height="5mm">
      <Text column="N" height="5mm" text="[Sum(Amount):0.00]"/></Footer></Group></Groups>
  </Grid>
  <ReportFooter height="5mm"><SubReport width="50mm" height="5mm"><Report>
    <ReportHeader height="5mm"><Text width="20mm" height="5mm" text="inner"/></ReportHeader>
  </Report></SubReport></ReportFooter>
</Report>)";

std::u16string wide(const std::string& utf8) { return qbsvrl6::toUtf16(utf8); }
std::string narrow(const lkchar* text) { return text == nullptr ? "(null)" : qbsvrl6::toUtf8(text); }

ApiTest::ApiTest() : before_(std::filesystem::current_path()) {
    ::setenv("CUPS_SERVER", (directory_ + "no.sock").c_str(), 1);  // use no printer of the machine
    std::filesystem::current_path(directory_);
    QBInitConfig(path("").c_str());
    write("list.qbf", kList);
    write("bare.qbf", kBare);
    write("list.txt", kData);
}

ApiTest::~ApiTest() {
    QBInitConfig(u"/dev/null");
    std::filesystem::current_path(before_);
}

void ApiTest::write(const std::string& name, const std::string& contents) const {
    WriteFile(directory_ + name, contents);
}

std::string ApiTest::read(const std::string& name) const { return ReadFile(directory_ + name); }

bool ApiTest::exists(const std::string& name) const { return std::filesystem::exists(directory_ + name); }

std::string ApiTest::takeLog() {
    const std::string log = exists("log/qbsvrl6.log") ? read("log/qbsvrl6.log") : "";
    std::istringstream lines(log.substr(std::exchange(logRead_, log.size())));
    std::string news;
    for (std::string line; std::getline(lines, line);) {
        // Logged once per process, in whichever test runs first.
        if (line.find(" is not installed; ") == std::string::npos) news += line + "\n";
    }
    return news;
}

std::string ApiTest::bytesOf(tagQBBinaryObject* object) {
    if (object == nullptr) return "(null)";
    return {static_cast<const char*>(QBBinaryObjectGetDataBuf(object)),
            static_cast<std::size_t>(QBBinaryObjectGetDataSize(object))};
}

}  // namespace api_test
