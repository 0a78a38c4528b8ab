// Reports over CSV files and databases, and the parameters of their queries.
#include <sqlite3.h>

#include <filesystem>
#include <string>

#include "engine/qbsvr_more.h"
#include "tests/qbsvrl6/api/api_fixture.h"

namespace api_test {
namespace {

namespace fs = std::filesystem;

std::string columns(const std::string& names) {
    std::string text = "<Columns>";
    for (const char name : names) {
        text += std::string("<Column name=\"") + name + "\" width=\"20mm\"><Content text=\"[" + name +
                "]\"/></Column>";
    }
    return text + "</Columns>";
}

// A template in "tpl/", with a database in the same folder.
class SourcesTest : public ApiTest {
protected:
    SourcesTest() {
        fs::create_directory("tpl");
        makeDatabase("tpl/shop.db");
    }

    static void makeDatabase(const char* path) {
        sqlite3* database = nullptr;
        sqlite3_open(path, &database);
        EXPECT_EQ(sqlite3_exec(database,
                               "CREATE TABLE O (n INTEGER, r TEXT, p DECIMAL(10,2));"
                               "INSERT INTO O VALUES (1, 'east', 2.5), (2, 'west', 10), (3, 'east', 0.1);"
                               "CREATE TABLE L (n INTEGER, a TEXT);"
                               "INSERT INTO L VALUES (1, 'tea'), (1, 'milk'), (3, 'salt')",
                               nullptr, nullptr, nullptr),
                  SQLITE_OK);
        sqlite3_close(database);
    }

    void load(const std::string& body) {
        write("tpl/t.qbf", "<Report version=\"1\">" + body + "</Report>");
        ASSERT_EQ(QBReportLoadFromFile(report_, u"tpl/t.qbf"), 1) << takeLog();
        takeLog();
    }
    void loadGrid(const std::string& data, const std::string& names, const std::string& before = "") {
        load(before + data + "<Grid titleHeight=\"0mm\">" + columns(names) + "</Grid>");
    }

    // The lines of the document, with ";" for their ends; what is wrong, if there is none.
    std::string lines(tagQBExportType type = QBExportType_CSV) {
        std::string text = exported(report_, type);
        if (text == "(null)") return "! " + takeLog();
        if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
        std::erase(text, '\r');
        std::replace(text.begin(), text.end(), '\n', ';');
        return text;
    }
    void expectFailure(const std::string& cause) {
        const std::string found = lines();
        EXPECT_NE(found.find(cause), std::string::npos) << found;
    }

    const OwnReport report_;
};

TEST_F(SourcesTest, FilesAreReadAsTheirConnectionSays) {
    write("tpl/a.csv", "a;b\n007;\"x, y\"\n1.50;\n");
    write("tpl/a.jsonl", "{\"a\":1,\"b\":\"x\"}\n{\"a\":2}\n");
    loadGrid(R"(<Data connection="csv" query="a.csv"/>)", "ab");
    EXPECT_EQ(lines(), "007,\"x, y\";1.50,;");
    loadGrid(R"(<Data connection="jsonl" query="a.jsonl"/>)", "ab");
    EXPECT_EQ(lines(), "1,x;2,;");
    QBReportSetConnectionString(report_, u"csv:colour=red");
    expectFailure("\"colour=red\" is not an option of CSV");
    QBReportSetConnectionString(report_, u"sqlite");
    expectFailure("there are xml, csv, jsonl, sqlite:FILE, odbc:DSN=NAME");
}

TEST_F(SourcesTest, QueriesRunPerRowOfTheOuterReport) {
    const std::string lines_ = R"(<Data query="SELECT a FROM L WHERE n = :N AND :Max > 0 ORDER BY rowid"/>)";
    const std::string inner =
        R"(<Column name="s" width="60mm"><Content><SubReport><Parameter name="N" expression="n"/><Report>
<Parameters><Parameter name="N" type="number"/><Parameter name="Max" type="number" value="5"/></Parameters>)" +
        lines_ + R"(<Grid titleHeight="0mm">)" + columns("a") +
        R"(</Grid><ReportFooter height="5mm"><Text width="20mm" height="5mm" text="[Count()] of [N]"/></ReportFooter>
</Report></SubReport></Content></Column>)";
    std::string all = columns("n");
    all.insert(all.find("</Columns>"), inner);
    load(R"(<Data connection="sqlite:shop.db" query="SELECT n FROM O ORDER BY n"/><Grid titleHeight="0mm">)" +
         all + "</Grid>");
    for (int time = 0; time < 2; ++time) {
        std::string text = lines(QBExportType_TXT);
        std::erase(text, ' ');
        EXPECT_EQ(text, "1tea;milk;2of1;20of2;3salt;1of3;");
    }
}

// Also in an order by them, and in lookups of the same rows.
TEST_F(SourcesTest, QueriesPerRowReturnValues) {
    write("tpl/p.json", R"([{"i":"tea"},{"i":"milk"},{"i":"salt"}])");
    const std::string inner = R"xml(<Column name="s" width="60mm"><Content><SubReport>
<Parameter name="Of" expression="n"/><Return name="Count" expression="LookupCount('', n = Of)"/>
<Return name="First" expression="Minimum(If(LookupCount('', a = i) > 0, i, null))"/>
<Report><Parameters><Parameter name="Of" type="number"/></Parameters><Data query="SELECT a, n FROM L WHERE n = :Of"/>
<Grid titleHeight="0mm"><Recordset connection="xml" query="p.json"/><Columns><Column name="i" width="20mm"><Content
text="[Lookup('', a = i, a)]"/></Column></Columns></Grid></Report></SubReport></Content></Column></Columns>)xml";
    std::string all = columns("n");
    all.replace(all.find("</Columns>"), 10,
                R"(<Column name="v" width="30mm"><Content text="[Count] [First]"/></Column>)" + inner);
    load(
        R"(<Data connection="sqlite:shop.db" query="SELECT n FROM O"/><Grid titleHeight="0mm" sort="Count desc">)" +
        all +
        R"xml(</Grid><ReportFooter height="5mm"><Text width="20mm" height="5mm" text="[Sum(Count)]"/></ReportFooter>)xml");
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(lines(), "1,2 milk,tea;,,milk;3,1 salt,;,,salt;2,0 ,;3,,;");
    }
}

TEST_F(SourcesTest, WarningsNameTheirPlaces) {
    const auto expectWarning = [&](const std::string& body, const std::string& warning) {
        load(R"(<Data connection="sqlite:shop.db" query="SELECT n, r FROM O ORDER BY n"/>)" + body);
        lines();
        const std::string log = takeLog();
        EXPECT_NE(log.find(warning), std::string::npos) << log;
    };
    expectWarning(R"(<ReportHeader height="5mm"><SubReport
height="5mm"><Return name="N" expression="1"/><Report/></SubReport></ReportHeader>)",
                  "t.qbf:2:22: the returned value \"N\" hides the field of this name");
    // Another text is equal to the key.
    expectWarning(
        R"(<Grid><Columns><Column name="r" width="20mm"><Content text="[r]" visibleWhen="r"/></Column>
</Columns><Groups><Group by="r"/></Groups></Grid>)",
        "t.qbf:2:26: the rows of the group \"r\" are not together: row 3 begins another group");
}

TEST_F(SourcesTest, ParametersOfTheProgramWinOverDataAndDefaults) {
    write("tpl/p.json", R"({"Region":"west","rows":[{"x":1}]})");
    const std::string declared = R"(<Parameters><Parameter name="Region" value="east"/>
<Parameter name="Least" type="number" value="0"/></Parameters>)";
    const std::string query =
        R"( connection="sqlite:shop.db" query="SELECT n, p FROM O WHERE r = :Region AND p > :Least"/>)";
    loadGrid("<Data" + query, "np", declared);
    EXPECT_EQ(lines(), "1,2.5;3,0.1;");
    EXPECT_EQ(QBXReportSetParameter(report_, "REGION", "west"), 1);
    EXPECT_EQ(lines(), "2,10;");
    EXPECT_EQ(QBXReportSetParameter(report_, "Least", "10"), 1);
    EXPECT_EQ(lines(), "");
    EXPECT_EQ(QBXReportSetParameter(report_, "Least", "ten"), 0);
    EXPECT_NE(takeLog().find("the parameter \"Least\" is \"ten\", which is not a number"), std::string::npos);
    EXPECT_EQ(QBXReportSetParameter(report_, "Least", nullptr), 1);
    EXPECT_EQ(QBXReportSetParameter(report_, "Region", "' OR '' = '"), 1);
    EXPECT_EQ(lines(), "");
    EXPECT_EQ(QBXReportSetParameter(report_, "", "x"), 0);
    EXPECT_EQ(QBXReportSetParameter(nullptr, "a", "x"), 0);

    load(declared + R"(<Data connection="xml" query="p.json"/><Grid titleHeight="0mm"><Recordset)" + query +
         columns("n") + "</Grid>");
    EXPECT_EQ(lines(), "") << "the program's";
    QBXReportSetParameter(report_, "Region", nullptr);
    EXPECT_EQ(lines(), "2;") << "the data";
}

TEST_F(SourcesTest, ParametersWithoutAValueAreNamed) {
    const std::string query =
        R"(<Data connection="sqlite:shop.db" query="SELECT n FROM O WHERE r = :Region"/>)";
    loadGrid(query, "n");
    expectFailure(
        "tpl/t.qbf:1:55: the query \"SELECT n FROM O WHERE r = :Region\" of tpl/shop.db: the query needs the "
        "parameter \"Region\", which is not declared, set or passed by an outer report");
    QBXReportSetParameter(report_, "Region", "west");
    EXPECT_EQ(lines(), "2;");
    QBXReportSetParameter(report_, "Region", nullptr);
    const std::string required =
        R"(<Parameters><Parameter name="Region" required="true" value="east"/></Parameters>)";
    loadGrid(query, "n", required);
    expectFailure("the query needs the parameter \"Region\", which is required and not set");
    write("tpl/p.json", R"([{"n":1}])");
    loadGrid(R"(<Data connection="xml" query="p.json"/>)", "n", required);
    expectFailure("the parameter \"Region\" is required, and neither the program nor the data sets it");
    QBXReportSetParameter(report_, "Region", "");
    EXPECT_EQ(lines(), "1;");
}

TEST_F(SourcesTest, TemplatesReachDatabasesOfTheirFolder) {
    const ScratchDirectory elsewhere;
    const std::string outside = elsewhere.path.string() + "/outside.db";
    makeDatabase(outside.c_str());
    fs::create_symlink(outside, "tpl/link.db");
    fs::create_directory_symlink(elsewhere.path, "tpl/folder");
    for (const std::string& name : {std::string("link.db"), std::string("folder/outside.db"), outside}) {
        SCOPED_TRACE(name);
        loadGrid("<Data connection=\"sqlite:" + name + "\" query=\"SELECT n FROM O\"/>", "n");
        expectFailure("outside the template's folder and the set-up folder; allow it with reach.folders");
    }
    QBReportSetConnectionString(report_, u"sqlite:tpl/link.db");
    EXPECT_EQ(lines(), "1;2;3;") << "the program follows links";
    QBReportSetConnectionString(report_, wide("sqlite:" + outside).c_str());
    EXPECT_EQ(lines(), "1;2;3;");
    loadGrid(
        R"(<Data connection="odbc:Driver=SQLite3;PWD=secret;Database=outside.db" query="SELECT n FROM O"/>)",
        "n");
    const std::string refused = lines();
    EXPECT_NE(refused.find("a template may not name an ODBC connection; allow it with reach.odbc"),
              std::string::npos)
        << refused;
    EXPECT_EQ(refused.find("secret"), std::string::npos) << refused;
    write("qbsvrl6.conf", "reach.odbc = yes\n");
    QBInitConfig(path("").c_str());
    const std::string allowed = lines();
    EXPECT_EQ(allowed.find("reach.odbc"), std::string::npos) << allowed;
}

TEST_F(SourcesTest, SavedCopiesNameTheSameDatabase) {
    loadGrid("<Data connection=\"sqlite:shop.db\"><Query>SELECT n\nFROM O WHERE p &lt; 5</Query></Data>",
             "n");
    EXPECT_EQ(lines(), "1;3;");
    ASSERT_EQ(QBReportSaveToFile(report_, u"some/where/copy.qbf"), 1);
    ASSERT_EQ(QBReportLoadFromFile(report_, u"some/where/copy.qbf"), 1);
    EXPECT_EQ(lines(), "1;3;");
    const std::string saved = read("some/where/copy.qbf");
    EXPECT_NE(saved.find("connection=\"sqlite:../../tpl/shop.db\""), std::string::npos) << saved;
    EXPECT_NE(saved.find("<Query>SELECT n\nFROM O WHERE p &lt; 5</Query>"), std::string::npos) << saved;
}

}  // namespace
}  // namespace api_test
