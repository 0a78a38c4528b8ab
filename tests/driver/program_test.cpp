// The program as a shell runs it: arguments, printed lines, abnormal ends, and exports.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>
#include <map>
#include <set>

#include "driver/actions.h"
#include "tests/cases.h"
#include "tests/driver/driver_test.h"
#include "tests/source_directory.h"

namespace {

struct Finished {
    int status = 0;  // as waitpid reports it
    std::string output;
    std::string errors;
    std::string record;  // the calls and violations that the recording engine has recorded
};

const std::string kModule =
    "\nModule Architecture = any\nModule Version = 6.0 recording\nModule Path = /引擎/libqbsvrl6.so\n\n";
const std::string kModuleCalls = "QBGetModulePath()\nQBGetModuleVersion()\nQBGetModuleInfo()\n";

class Program : public testing::Test {
protected:
    void SetUp() override {
        setup = scratch.path / "setup";
        out = scratch.path / "out";
        SetList(R"([{"Items":[{"Name":"n"}]}])");
    }

    void SetList(const std::string& json) { WriteFile(setup / "Samples/Data/ReportListJson.txt", json); }

    // `words` are arguments as in a shell. SETUP and OUT represent the two directories, also in the results.
    Finished RunProgram(const std::string& words, const std::string& fail = "") {
        Finished run;
        waitpid(Start(words, fail), &run.status, 0);
        run.output = Portable(ReadFile(scratch.path / "stdout"));
        run.errors = Portable(ReadFile(scratch.path / "stderr"));
        run.record = Portable(ReadFile(scratch.path / "record"));
        return run;
    }

    // Returns the id of the process that runs the program.
    pid_t Start(std::string words, const std::string& fail = "") {
        Replace(words, "SETUP", setup.string());
        Replace(words, "OUT", out.string());
        const auto at = [this](const char* file) { return (scratch.path / file).string(); };
        std::filesystem::remove(at("record"));
        // The output goes to files, not to terminals: lines that are there after an abnormal end were
        // flushed.
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
        Replace(text, "\xFF", "\\377");
        return text;
    }

    static void Replace(std::string& text, const std::string& from, const std::string& to) {
        for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
            text.replace(at, from.size(), to);
    }

    ScratchDirectory scratch;
    std::filesystem::path setup, out;
};

// The first line contains the arguments, the others the functions that fail; the data is the report list.
// Every successful run ends with the module's texts, which are left out here.
TEST_F(Program, RunsAsWritten) {
    qbsvrl6::expectCases(
        QBSVR_SOURCE_DIR "/tests/driver/cases/program.txt",
        [this](const qbsvrl6::TextCase& one, const std::string&) {
            std::filesystem::remove_all(setup);
            std::filesystem::remove_all(out);
            if (one.data != "none\n") SetList(one.data.empty() ? R"([{"Items":[{"Name":"n"}]}])" : one.data);
            WriteFile(setup / "in/sales.txt", "data");
            const std::vector<std::string> before = FilesBelow(scratch.path);
            const std::size_t end = one.input.find('\n');
            const Finished run = RunProgram(one.input.substr(0, end), one.input.substr(end));
            const std::string ending = WIFSIGNALED(run.status) ? "" : kModule,
                              calls = ending.empty() ? "" : kModuleCalls;
            EXPECT_TRUE(run.output.ends_with(ending) && run.record.ends_with(calls)) << one.title;
            std::string text = run.output.substr(0, run.output.size() - ending.size()) + "[calls]\n" +
                               run.record.substr(0, run.record.size() - calls.size());
            if (!run.errors.empty()) text += "[errors]\n" + run.errors;
            if (run.status != 0) text += "[ended by] " + std::string(strsignal(WTERMSIG(run.status))) + "\n";
            for (const std::string& file : FilesBelow(scratch.path)) {
                if (file.find('/') == std::string::npos || std::ranges::binary_search(before, file)) continue;
                text += "[file] " + file + ": " + Portable(ReadFile(scratch.path / file)) + "\n";
            }
            return text;
        });
}

TEST_F(Program, Batches) {
    for (const std::string action : {"-a", "-b", "-m", "-s"}) {
        SCOPED_TRACE(action);
        std::filesystem::remove_all(out);
        const Finished run = RunProgram(action + " SETUP OUT");
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_EQ(run.record.find("VIOLATION"), std::string::npos) << run.record;
        EXPECT_EQ(FilesBelow(out).size(), action == "-s" ? 0U : 24U);
        const std::string first = action == "-m"   ? "开始多线程成批生成报表...\n"
                                  : action == "-s" ? "保存报表模板文件 OUT/auto/qbf/n.qbf 成功\n"
                                                   : "开始单线程成批生成报表...\n";
        EXPECT_TRUE(run.output.starts_with(first)) << run.output;
    }
}

TEST_F(Program, ThreadsThatCannotWriteEndIt) {
    WriteFile(out / "file", "not a directory");
    const Finished run = RunProgram("-m SETUP OUT/file");
    EXPECT_TRUE(WIFSIGNALED(run.status)) << run.status;
    EXPECT_EQ(run.output.find("Module"), std::string::npos) << run.output;
}

// The default tree rarely exists.
TEST_F(Program, NoWordMeansTheDefaultTree) {
    const std::string list = "/usr/local/qbsvr6/Samples/Data/ReportListJson.txt";
    if (std::filesystem::exists(list)) GTEST_SKIP() << list << " is there";
    const Finished run = RunProgram("");
    EXPECT_EQ(run.record, "QBInitConfig(\"/usr/local/qbsvr6\")\n");
    EXPECT_NE(run.errors.find(list), std::string::npos) << run.errors;
}

std::map<std::string, std::string> ContentsBelow(const std::filesystem::path& directory) {
    std::map<std::string, std::string> contents;
    for (const std::string& file : FilesBelow(directory)) contents[file] = ReadFile(directory / file);
    return contents;
}

// At moments throughout a batch, into an empty tree and over the files of an earlier run.
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

// The program contains both libraries completely, and exports their functions.
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
