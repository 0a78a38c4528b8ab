// The program as a shell runs it: argument words, lines, abnormal ends, and what it exports.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <map>
#include <set>

#include "driver/actions.h"
#include "tests/driver/driver_test.h"

namespace {

struct Finished {
    int status = 0;  // as waitpid reports it
    std::string output;
    std::string errors;
    std::string record;  // the calls and broken promises of the recording engine
};

class Program : public testing::Test {
protected:
    void SetUp() override {
        setup = scratch.path / "setup";
        out = scratch.path / "out";
        SetList(R"([{"Items":[{"Name":"n"}]}])");
    }

    void SetList(const std::string& json) { WriteFile(setup / "Samples/Data/ReportListJson.txt", json); }

    // The words are a shell's. SETUP and OUT stand for the two directories, in the results too.
    Finished RunProgram(const std::string& words, const std::string& fail = "") {
        Finished run;
        waitpid(Start(words, fail), &run.status, 0);
        run.output = Portable(ReadFile(scratch.path / "stdout"));
        run.errors = Portable(ReadFile(scratch.path / "stderr"));
        run.record = Portable(ReadFile(scratch.path / "record"));
        return run;
    }

    // The number of the process that runs the program.
    pid_t Start(std::string words, const std::string& fail = "") {
        Replace(words, "SETUP", setup.string());
        Replace(words, "OUT", out.string());
        const auto at = [this](const char* file) { return (scratch.path / file).string(); };
        std::filesystem::remove(at("record"));
        // Files, not terminals, take the lines: what an abnormal end leaves in them was flushed line by line.
        const std::string command =
            "exec env -i LD_LIBRARY_PATH=" RECORDING_ENGINE_DIR " QBSVR_RECORDING_LOG=" + at("record") +
            " QBSVR_RECORDING_FAIL='" + fail + "' " QBSVRTEST_PROGRAM " " + words + " >" + at("stdout") +
            " 2>" + at("stderr");
        const pid_t process = fork();
        if (process == 0) {
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        return process;
    }

    std::string Portable(std::string text) const {
        Replace(text, setup.string(), "SETUP");
        Replace(text, out.string(), "OUT");
        return text;
    }

    static void Replace(std::string& text, const std::string& from, const std::string& to) {
        for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
            text.replace(at, from.size(), to);
    }

    ScratchDirectory scratch;
    std::filesystem::path setup, out;
};

const std::string kModule =
    "\nModule Architecture = any\nModule Version = 6.0 recording\nModule Path = /引擎/libqbsvrl6.so\n\n";
const std::string kModuleCalls = "QBGetModulePath()\nQBGetModuleVersion()\nQBGetModuleInfo()\n";
const std::string kUsage = "usage: qbsvrtest -action setupPath outPath\n";
const std::string kShortUsage = "usage: qbsvrtest -gen_short setupPath dir filename type\n";
const std::string kFullUsage = "usage: qbsvrtest -gen_full path_file_qbf path_file_txt path_file_out type\n";
std::string Paths(const std::string& output) {
    return "\nReport Template File Path = SETUP/Samples/Reports/\nExport FilePath = " + output + "\n\n";
}
const std::string kPaths = Paths("OUT/");
const std::string kCreated = "Report object created successfully.\n";
const std::string kCreateCalls = "QBReportCreate() = report1\nQBReportRelease(report1)\n";

TEST_F(Program, NamesWhatItCannotRead) {
    const struct {
        const char* words;
        const char* list;
        const char* errors;
    } cases[] = {
        {"-gen_short SETUP OUT/名 n pdf", "[]", ""},
        {"-gen_short SETUP OUT/𠮷 n pdf", "[]",
         "qbsvrtest: word 3, \"OUT/𠮷\", can't be used: byte @ begins a character above U+FFFF or is not "
         "UTF-8\n"},
        {"-gen_short SETUP OUT $(printf 'a\\377') pdf", "[]",
         "qbsvrtest: word 4, \"a\xFF\", can't be used: byte 2 begins a character above U+FFFF or is not "
         "UTF-8\n"},
        {"-create SETUP OUT", "[\n{\"Items\":[],\"名😀\":1}]",
         "qbsvrtest: SETUP/Samples/Data/ReportListJson.txt:2:15: a character above U+FFFF, or bytes that are "
         "not "
         "UTF-8: the file can't be read whole\n"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.words);
        SetList(test.list);
        std::filesystem::remove_all(out);
        std::string expected = test.errors;
        Replace(expected, "@", std::to_string(out.string().size() + 2));
        const Finished run = RunProgram(test.words);
        EXPECT_EQ(run.errors.substr(0, run.errors.find('\n') + 1), expected);
        EXPECT_EQ(FilesBelow(out).empty(), *test.errors != 0);
    }
}

TEST_F(Program, Actions) {
    const struct {
        std::string words;
        std::string output;
        std::string engineCalls;  // between QBInitConfig and the module's texts
        std::string enginePath = "SETUP";
        std::string fail = "";
    } kCases[] = {
        {"-v", "", "", "/usr/local/qbsvr6"},
        {"-v SETUP", "", ""},
        {"-v '\"\"' OUT more", "", "", "/usr/local/qbsvr6"},
        {"-v /\xE4", "", "", "/\xEF\xBF\xA4"},
        {"-create SETUP OUT", kCreated + kPaths, kCreateCalls},
        {"-create SETUP OUT", "Create report failed, please view log file to find reason.\n" + kPaths,
         "QBReportCreate() = null\n", "SETUP", "QBReportCreate *"},
        {"-create SETUP/", kCreated + Paths("/usr/local/qbsvr6/out/"), kCreateCalls, "SETUP/"},
        {"-create SETUP '\"\"'", kCreated + Paths("/usr/local/qbsvr6/out/"), kCreateCalls},
        {"-create SETUP 'OUT\\'", kCreated + Paths("OUT\\"), kCreateCalls},
        {"'' SETUP OUT", kUsage + kPaths, ""},
        {"'\"\"' SETUP OUT", kUsage + kPaths, ""},
        {"-x SETUP OUT", kUsage + kPaths, ""},
        {"-A SETUP OUT more", kUsage + kPaths, ""},
        {"-gen_short SETUP dir", kShortUsage, ""},
        {"-gen_short SETUP '' n pdf", kShortUsage, ""},
        {"-gen_short SETUP dir '' pdf", kShortUsage, ""},
        {"-gen_short", kShortUsage, "", "/usr/local/qbsvr6"},
        {"-gen_full SETUP a.qbf b.txt", kFullUsage, ""},
        {"-gen_full SETUP '' b.txt c.pdf pdf", kFullUsage, ""},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.words);
        const Finished run = RunProgram(test.words, test.fail);
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_EQ(run.output, test.output + kModule);
        EXPECT_EQ(run.record,
                  "QBInitConfig(\"" + test.enginePath + "\")\n" + test.engineCalls + kModuleCalls);
    }
}

TEST_F(Program, Batches) {
    for (const std::string action : {"-a", "-b", "-m", "-s"}) {
        SCOPED_TRACE(action);
        std::filesystem::remove_all(out);
        const Finished run = RunProgram(action + " SETUP OUT");
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_TRUE(run.output.ends_with(kPaths + kModule)) << run.output;
        EXPECT_EQ(run.record.find("VIOLATION"), std::string::npos) << run.record;
        EXPECT_EQ(FilesBelow(out).size(), action == "-s" ? 0U : 24U);
        const std::string first = action == "-m"   ? "开始多线程成批生成报表...\n"
                                  : action == "-s" ? "保存报表模板文件 OUT/auto/qbf/n.qbf 成功\n"
                                                   : "开始单线程成批生成报表...\n";
        EXPECT_TRUE(run.output.starts_with(first)) << run.output;
    }
}

TEST_F(Program, OneReport) {
    WriteFile(out / "sales.txt", "data");
    const std::string kLine = "模板：OUT/sales.qbf，数据: OUT/sales.txt, 导出：OUT/sales.";
    const std::string kLoads =
        "QBReportCreate() = report1\nQBReportLoadFromFile(report1, \"OUT/sales.qbf\")\n"
        "QBReportLoadDataFromURL(report1, \"OUT/sales.txt\")\n";
    const std::string kSaved =
        "QBBinaryObjectGetDataSize(report1.object1)\nQBBinaryObjectGetDataBuf(report1.object1)\n";
    const std::string kXlsx =
        "QBAttachEventExportBegin(report1)\nQBReportExportDirectToBinaryObject(report1, 1)\n"
        "QBExportOptionGetExportType(report1.option1)\nQBExportOptionGetAsE2XLSOption(report1.option1)\n"
        "QBE2XLSOptionSetToXlsxFormat(report1.option1.xls, 1)\n";
    const struct {
        std::string words;
        std::string output, calls, file;
        std::string fail = "";
    } kCases[] = {
        {"-gen_short SETUP OUT sales XLSX", kLine + "xlsx\n", kLoads + kXlsx + kSaved, "sales.xlsx"},
        {"-gen_short SETUP OUT/ sales html", kLine + "pdf\n",
         kLoads + "QBReportExportDirectToBinaryObject(report1, 5)\n" + kSaved, "sales.pdf"},
        {"-gen_full SETUP OUT/sales.qbf OUT/none.txt OUT/新/x.bin xlsx",
         "模板：OUT/sales.qbf，数据: OUT/none.txt, 导出：OUT/新/x.bin\n",
         kLoads.substr(0, kLoads.find("QBReportLoadData")) + kXlsx + kSaved, "新/x.bin"},
        {"-gen_full SETUP OUT/sales.qbf OUT/sales.txt '' csv",
         "载入报表模板文件 OUT/sales.qbf 失败。\n载入报表数据文件 OUT/sales.txt "
         "失败。\n模板：OUT/sales.qbf，数据: OUT/sales.txt, 导出：\n",
         kLoads + "QBReportExportDirectToBinaryObject(report1, 6)\n", "",
         "QBReportLoadFromFile * QBReportLoadDataFromURL * QBReportExportDirectToBinaryObject *"},
        {"-gen_full SETUP OUT/sales.qbf OUT/sales.txt OUT/x.xlsx xlsx",
         "载入报表模板文件 OUT/sales.qbf 失败。\n载入报表数据文件 OUT/sales.txt 失败。\n"
         "模板：OUT/sales.qbf，数据: OUT/sales.txt, 导出：OUT/x.xlsx\n",
         "QBReportCreate() = null\nQBReportLoadFromFile(null, "
         "\"OUT/sales.qbf\")\nQBReportLoadDataFromURL(null, \"OUT/sales.txt\")\n"
         "QBAttachEventExportBegin(null)\nQBReportExportDirectToBinaryObject(null, "
         "1)\nQBReportRelease(null)\n",
         "", "QBReportCreate *"},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.words);
        const Finished run = RunProgram(test.words, test.fail);
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_EQ(run.output, test.output + kModule);
        const std::string release =
            test.calls.ends_with("QBReportRelease(null)\n") ? "" : "QBReportRelease(report1)\n";
        EXPECT_EQ(run.record, "QBInitConfig(\"SETUP\")\n" + test.calls + release + kModuleCalls);
        EXPECT_TRUE(test.file.empty() || std::filesystem::exists(out / test.file)) << test.file;
    }
}

TEST_F(Program, AbnormalEndsSayWhyAndLoseNoLine) {
    std::filesystem::create_directories(out);
    WriteFile(out / "file", "not a directory");
    const std::string kTwo = R"([{"Items":[{"Name":"n"}]},{"Dir":"x"}])";
    const struct {
        std::string list;  // empty for none
        std::string words;
        std::string output;  // all that standard output may hold
        std::string lastCall;
        std::string error;
        std::string fail = "";
    } kCases[] = {
        {"", "-create SETUP OUT", "", "QBInitConfig(\"SETUP\")\n", "ReportListJson.txt"},
        {"", "-x SETUP OUT", "", "QBInitConfig(\"SETUP\")\n", "ReportListJson.txt"},
        {"[] x", "-create SETUP OUT", "", "QBInitConfig(\"SETUP\")\n", "数据尾部存在无法解析的数据"},
        {kTwo, "-s SETUP OUT", "保存报表模板文件 OUT/auto/qbf/n.qbf 成功\n",
         "QBReportSaveToFile(report1, \"OUT/auto/qbf/n.qbf\")\n", "no \"Items\" array"},
        {"[5]", "-s SETUP OUT", "", "QBReportCreate() = report1\n", "a group is no object"},
        {R"([{"Items":{}}])", "-s SETUP OUT", "", "QBReportCreate() = report1\n", "no \"Items\" array"},
        {R"([{"Items":["x"]}])", "-s SETUP OUT", "", "QBReportCreate() = report1\n", "is no object"},
        {"[]", "-gen_short SETUP OUT n", "", "QBInitConfig(\"SETUP\")\n",
         "the word for the export type is missing"},
        {"[]", "-gen_full SETUP a.qbf b.txt c.pdf", "", "QBInitConfig(\"SETUP\")\n",
         "the word for the export type is missing"},
        {"[]", "-gen_full SETUP a.qbf b.txt OUT/file/c.pdf pdf", "",
         "QBBinaryObjectGetDataBuf(report1.object1)\n", "OUT/file/c.pdf"},
        {"[]", "-v", "", "QBGetModuleVersion()\n", "QBGetModuleVersion gave no text", "QBGetModuleVersion *"},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.words + " " + test.list);
        SetList(test.list);
        if (test.list.empty()) std::filesystem::remove(setup / "Samples/Data/ReportListJson.txt");
        const Finished run = RunProgram(test.words, test.fail);
        EXPECT_TRUE(WIFSIGNALED(run.status) && WTERMSIG(run.status) == SIGABRT) << run.status;
        EXPECT_EQ(run.output, test.output);
        EXPECT_TRUE(run.record.ends_with(test.lastCall)) << run.record;
        EXPECT_NE(run.errors.find(test.error), std::string::npos) << run.errors;
    }
    // No word at all: the default tree, which is rarely there.
    if (!std::filesystem::exists("/usr/local/qbsvr6/Samples/Data/ReportListJson.txt")) {
        const Finished run = RunProgram("");
        EXPECT_EQ(run.record, "QBInitConfig(\"/usr/local/qbsvr6\")\n");
        EXPECT_NE(run.errors.find("/usr/local/qbsvr6/Samples/Data/ReportListJson.txt"), std::string::npos)
            << run.errors;
    }
    // Sixteen threads that can't write end the process just so.
    SetList(R"([{"Items":[{"Name":"n"}]}])");
    const Finished run = RunProgram("-m SETUP OUT/file");
    EXPECT_TRUE(WIFSIGNALED(run.status)) << run.status;
    EXPECT_EQ(run.output.find("Module"), std::string::npos) << run.output;
}

std::map<std::string, std::string> ContentsBelow(const std::filesystem::path& directory) {
    std::map<std::string, std::string> contents;
    for (const std::string& file : FilesBelow(directory)) contents[file] = ReadFile(directory / file);
    return contents;
}

// At moments all over a batch, into an empty tree and over the files of a run before.
TEST_F(Program, AKillLeavesNoPartOfAFile) {
    std::string items;
    for (int i = 0; i < 20; ++i) items += "{\"Name\":\"n" + std::to_string(i) + "\"},";
    SetList("[{\"Items\":[" + items + "]}]");
    RunProgram("-m SETUP OUT");
    const auto whole = ContentsBelow(out);
    EXPECT_EQ(whole.size(), 480U);
    for (int moment = 0; moment < 6; ++moment) {
        SCOPED_TRACE(moment);
        const bool again = moment % 2 != 0;
        if (!again) std::filesystem::remove_all(out);
        for (const auto& [file, bytes] : whole) {
            if (again) WriteFile(out / file, "before");
        }
        const std::filesystem::path awaited = out / ("auto/csv/n" + std::to_string(moment * 3) + ".csv");
        const pid_t process = Start("-m SETUP OUT");
        int status = 0;
        pid_t ended = 0;
        do {
            ended = waitpid(process, &status, WNOHANG);
        } while (ended == 0 && (again ? ReadFile(awaited) == "before" : !std::filesystem::exists(awaited)));
        if (ended == 0) {
            const int signal = std::array{SIGTERM, SIGINT, SIGHUP}[static_cast<std::size_t>(moment) % 3];
            kill(process, signal);
            waitpid(process, &status, 0);
            EXPECT_TRUE(status == 0 || (WIFSIGNALED(status) && WTERMSIG(status) == signal)) << status;
        }
        for (const auto& [file, bytes] : ContentsBelow(out)) {
            const auto expected = whole.find(file);
            ASSERT_NE(expected, whole.end()) << file;
            EXPECT_TRUE(bytes == expected->second || (again && bytes == "before")) << file << ": " << bytes;
        }
    }
}

// A list whose root is no array is an empty list.
TEST_F(Program, EmptyLists) {
    for (const char* list : {"[]", "{}", "", " \n"}) {
        SCOPED_TRACE(list);
        SetList(list);
        std::string expected = "开始单线程成批生成报表...\n";
        for (int i = 0; i < 16; ++i) expected += "Batch Export finished, ReportCount=0.\n";
        EXPECT_EQ(RunProgram("-a SETUP OUT").output, expected + kPaths + kModule);
    }
}

std::string CommandOutput(const std::string& command) {
    std::string output;
    std::FILE* pipe = popen(command.c_str(), "r");
    for (int c; (c = std::getc(pipe)) != EOF;) output += static_cast<char>(c);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

std::set<std::string> FunctionNames(const std::string& nmCommand) {
    std::istringstream lines(CommandOutput(nmCommand));
    std::set<std::string> names;
    for (std::string address, kind, name; std::getline(lines, address, '\n');) {
        std::istringstream line(address);
        if (line >> address >> kind >> name && (kind == "T" || kind == "B" || kind == "D"))
            names.insert(name);
    }
    return names;
}

// The program holds both libraries whole, and whoever loads it may call them.
TEST(ProgramFile, ExportsEveryFunction) {
    const std::set<std::string> exported = FunctionNames("nm -D --defined-only " QBSVRTEST_PROGRAM);
    for (const std::string library : {DRIVER_LIBRARY, LARKSPUR_LIBRARY}) {
        const std::set<std::string> names = FunctionNames("nm -g --defined-only " + library + " 2>/dev/null");
        EXPECT_GT(names.size(), 100U) << library;
        for (const std::string& name : names) EXPECT_TRUE(exported.contains(name)) << name;
    }
}

TEST(ProgramFile, FindsItsEngineBesideItselfAndTakesAnother) {
    const std::string dynamic = CommandOutput("readelf -d " QBSVRTEST_PROGRAM);
    EXPECT_NE(dynamic.find("Shared library: [libqbsvrl6.so]"), std::string::npos) << dynamic;
    EXPECT_NE(dynamic.find("(RUNPATH)            Library runpath: [$ORIGIN/../lib"), std::string::npos)
        << dynamic;
}

TEST(Words, ExportTypes) {
    const struct {
        const char* word;
        int type;
        const char16_t* text;
    } kCases[] = {{"xls", 1, u"xls"}, {"XlsX", 1, u"xlsx"}, {"TXT", 2, u"txt"}, {"csv", 6, u"csv"},
                  {"pdf", 5, u"pdf"}, {"html", 5, u"pdf"},  {"", 5, u"pdf"},    {"xls ", 5, u"pdf"}};
    for (const auto& test : kCases) {
        lkstr text = u"stale";
        EXPECT_EQ(ParseExportType(test.word, text), test.type) << test.word;
        EXPECT_EQ(text, test.text) << test.word;
    }
}

TEST(Words, Paths) {
    ConfigPath(nullptr, "");
    EXPECT_EQ(setupRoot, L"/usr/local/qbsvr6/");
    EXPECT_EQ(exportBatchDir, L"/usr/local/qbsvr6/out/auto/");
    ConfigPath("D:\\x\\", "/o");
    EXPECT_EQ(samplesRoot, L"D:\\x\\Samples/");
    EXPECT_EQ(reportPath, L"D:\\x\\Samples/Reports/");
    EXPECT_EQ(dataPath, L"D:\\x\\Samples/Data/");
    EXPECT_EQ(outPath, L"/o/");
}

}  // namespace
