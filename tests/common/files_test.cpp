// Paths and files.
#include "common/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include "common/errors.h"
#include "common/paths.h"
#include "common/unicode.h"

namespace larkspur {
namespace {

// A separate directory for each test, removed afterwards.
class Files : public testing::Test {
protected:
    Files() {
        str name = testing::TempDir() + "larkspur-XXXXXX";
        m_Root = Utf8ToUnicode(mkdtemp(name.data()), static_cast<int>(name.size())) + u"/";
    }
    ~Files() override { std::filesystem::remove_all(UnicodeTextToPrintf(m_Root)); }

    lkstr Path(const lkchar* name) const { return m_Root + name; }

    void Save(const lkchar* name, const str& bytes) const {
        SaveBinDataToLocalFile(Path(name).c_str(), bytes.data(), static_cast<int>(bytes.size()));
    }
    str Load(const lkchar* name) const {
        ClkMemory memory;
        LoadBinDataFromLocalFile(Path(name).c_str(), memory);
        return str(static_cast<const char*>(memory.Data()), static_cast<std::size_t>(memory.Size()));
    }

    lkstr m_Root;
};

const str kMark8 = "\xEF\xBB\xBF", kMark16 = "\xFF\xFE";

// The message of the exception that an action raises.
str Raised(const std::function<void()>& action) {
    try {
        action();
    } catch (const ClkException& e) {
        return e.what();
    }
    return "nothing";
}

TEST(Paths, SplitIntoParts) {
    struct Case {
        const lkchar *path, *drive, *dir, *name, *ext, *filePath, *fileName;
    } const cases[] = {
        {u"/a/b.tar.gz", u"", u"/a", u"b.tar", u"gz", u"/a", u"b.targz"},
        {u"ab:c/d.e", u"ab", u"c", u"d", u"e", u"ab:/c", u"de"},
        {u"C:/x/y.txt", u"C", u"/x", u"y", u"txt", u"C:/x", u"ytxt"},
        {u"C:y.txt", u"C", u"", u"y", u"txt", u"C:", u"ytxt"},
        {u":ab/c", u"", u":ab", u"c", u"", u":ab", u"c"},
        {u"abc:d/e", u"", u"abc:d", u"e", u"", u"abc:d", u"e"},
        {u"a/", u"", u"a", u"", u"", u"a", u""},
        {u"/abc.txt", u"", u"", u"/abc", u"txt", u"", u"/abctxt"},
        {u"a.txt", u"", u"", u"a", u"txt", u"", u"atxt"},
        {u"/home/x/a.txt", u"", u"/home/x", u"a", u"txt", u"/home/x", u"atxt"},
        {u"/x.d/y", u"", u"/x.d", u"y", u"", u"/x.d", u"y"},
        {u"d/.profile", u"", u"d", u"", u"profile", u"d", u"profile"},
        {u"a.", u"", u"", u"a", u"", u"", u"a"},
        {u"a//b", u"", u"a/", u"b", u"", u"a", u"b"},
        {u"a", u"", u"", u"a", u"", u"", u"a"},
        {u"", u"", u"", u"", u"", u"", u""},
    };
    for (const Case& c : cases) {
        const str path = UnicodeTextToPrintf(c.path);
        lkchar drive[3], dir[256], name[256], ext[256];
        lk_splitpath(c.path, drive, dir, name, ext);
        EXPECT_EQ(lkstr(drive), c.drive) << path;
        EXPECT_EQ(lkstr(dir), c.dir) << path;
        EXPECT_EQ(lkstr(name), c.name) << path;
        EXPECT_EQ(lkstr(ext), c.ext) << path;
        EXPECT_EQ(ExtractFilePath(c.path), c.filePath) << path;
        EXPECT_EQ(ExtractFileName(c.path), c.fileName) << path;
        EXPECT_EQ(IsExistExtFileName(c.path), *c.ext != 0) << path;
    }
    EXPECT_EQ(ExtractFilePath(nullptr), u"");

    const lkstr longName(300, u'n');
    lkchar name[256];
    lk_splitpath((u"d/" + longName).c_str(), nullptr, nullptr, name, nullptr);
    EXPECT_EQ(lkstr(name), longName.substr(0, 255));
    EXPECT_EQ(ExtractFilePath((longName + u"/x").c_str()), longName);
}

TEST(Paths, Join) {
    struct Case {
        const lkchar *drive, *dir, *name, *ext;
        lkstr expected;
    } const cases[] = {
        {u"C", u"d/", u"n", u"e", u"C:/d/n.e"},
        {u"C:", u"/d/", u"n", u".e", u"C:/d/n.e"},
        {nullptr, nullptr, u"n", nullptr, u"n"},
        // After a directory without "/", the rest follows a zero unit.
        {u"", u"d", u"n", u"e", lkstr(u"d/\0n.e", 6)},
    };
    for (const Case& c : cases) {
        lkchar buffer[16] = u"###############";
        lk_makepath(buffer, c.drive, c.dir, c.name, c.ext);
        EXPECT_EQ(lkstr(buffer, c.expected.size() + 1), c.expected + u'\0');
    }
}

TEST(Paths, JudgeCharacters) {
    for (int c = 0; c < 0x100; ++c) {
        const auto unit = static_cast<lkchar>(c);
        const bool always = c != 0 && str("\"*,/<>?[]|").find(static_cast<char>(c)) != str::npos;
        EXPECT_EQ(IsValidPathNameChar(unit), !always && c != ';') << c;
        EXPECT_EQ(IsValidFileNameChar(unit), !always && c != ';' && c != ':') << c;
        EXPECT_EQ(IsValidPathFileChar(unit), !always && c != ':') << c;
    }
    struct Case {
        const lkchar* path;
        bool valid;
        const lkchar* conformed;
    } const cases[] = {
        {u"C:/a", true, u"Ca"}, {u"a/b:c", false, u"abc"}, {u"a:b:c", false, u"abc"},
        {u"a;b", true, u"a;b"}, {u"a?b", false, u"ab"},    {u"", false, u""},
        {nullptr, false, u""},  {u"中/\\", true, u"中\\"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(IsPathFileValid(c.path), c.valid) << UnicodeTextToPrintf(c.path);
        EXPECT_EQ(ConformPathFile(c.path), c.conformed) << UnicodeTextToPrintf(c.path);
    }
}

TEST_F(Files, SavingMakesDirectories) {
    Save(u"x/y/z.bin", "data");
    EXPECT_EQ(Load(u"x/y/z.bin"), "data");
    AppendBinDataToLocalFile(Path(u"x/new/a").c_str(), "12", 2);
    AppendBinDataToLocalFile(Path(u"x/new/a").c_str(), "3", 1);
    EXPECT_EQ(Load(u"x/new/a"), "123");
    Save(u"empty", "");
    EXPECT_EQ(Load(u"empty"), "");
    EXPECT_EQ(GetFileSize(Path(u"x/new/a").c_str()), 3);
    EXPECT_EQ(GetFileSize(Path(u"missing").c_str()), -1);
    EXPECT_TRUE(IsFileExist(Path(u"x/y").c_str()));
    EXPECT_TRUE(CreateLocalDirOnNeed(Path(u"a//b/").c_str()));
    EXPECT_TRUE(IsFileExist(Path(u"a/b").c_str()));
    EXPECT_FALSE(CreateLocalDir(Path(u"p/q").c_str()));
    EXPECT_FALSE(CreateLocalDir(nullptr));
    EXPECT_FALSE(CreateLocalDirOnNeed(Path(u"empty/below").c_str()));
    ASSERT_EQ(chdir(UnicodeTextToPrintf(Path(u"x")).c_str()), 0);
    EXPECT_EQ(lkstr_len(GetCurrentWorkPath().c_str()), static_cast<int>(GetCurrentWorkPath().size()));
    EXPECT_TRUE(GetCurrentWorkPath().ends_with(u"/x"));
}

TEST_F(Files, FailuresNameThePath) {
    ClkMemory memory;
    Save(u"file", "x");
    const auto save = [](const lkstr& path) { SaveBinDataToLocalFile(path.c_str(), "ab", 2); };
    // The path is in the block that is replaced.
    const auto load = [&memory](const lkstr& path) {
        memory.SetSize(static_cast<int>((path.size() + 1) * sizeof(lkchar)));
        lkstr_cpy(static_cast<lkchar*>(memory.Data()), path);
        LoadBinDataFromLocalFile(static_cast<const lkchar*>(memory.Data()), memory);
    };
    const str below = UnicodeTextToPrintf(Path(u"file/x")), missing = UnicodeTextToPrintf(Path(u"none"));
    EXPECT_EQ(Raised([&] { save(u""); }), "Occured file name null");
    EXPECT_EQ(Raised([&] { load(u""); }), "Occured file name null");
    EXPECT_EQ(Raised([&] { AppendBinDataToLocalFile(nullptr, "", 0); }), "Occured file name null");
    EXPECT_EQ(Raised([&] { AppendBinDataToLocalFile(u"", "", 0); }), "Occured open file failed for write");
    EXPECT_EQ(Raised([&] { save(Path(u"file/x")); }),
              "Occured open file failed for write, hint text: " + below);
    EXPECT_EQ(Raised([&] { save(m_Root); }).substr(0, 34), "Occured open file failed for write");
    EXPECT_EQ(Raised([&] { load(Path(u"none")); }),
              "Occured open file failed for read, hint text: " + missing);
    EXPECT_EQ(memory.Size(), 0);
    // Two bytes stay in the stream's buffer until it is flushed; only then is the disk full.
    EXPECT_EQ(Raised([&] { save(u"/dev/full"); }), "Occured write file failed, hint text: /dev/full");
    // A file of more than 2 GiB; it is sparse and needs no space.
    ASSERT_EQ(truncate(UnicodeTextToPrintf(Path(u"file")).c_str(), (1LL << 32) + 5), 0);
    EXPECT_EQ(GetFileSize(Path(u"file").c_str()), 5);
    EXPECT_EQ(Raised([&] { load(Path(u"file")); }).substr(0, 24), "Occured read file failed");
}

// The number of files in a directory, whatever their names.
std::ptrdiff_t Entries(const lkstr& directory) {
    return std::distance(std::filesystem::directory_iterator(UnicodeTextToPrintf(directory)), {});
}

TEST_F(Files, WholeFilesKeepLinksRightsAndWhatTheyFailToReplace) {
    const auto save = [&](const lkchar* name, const str& bytes) {
        return Raised([&] {
            SaveWholeBinDataToLocalFile(Path(name).c_str(), bytes.data(), static_cast<int>(bytes.size()));
        });
    };
    const auto real = [&](const lkchar* name) { return UnicodeTextToPrintf(Path(name)); };
    const auto mode = [&](const lkchar* name) {
        struct stat status {};
        stat(real(name).c_str(), &status);
        return status.st_mode & 07777;
    };
    const mode_t mask = umask(027);
    EXPECT_EQ(save(u"new/f", "first"), "nothing");
    umask(mask);
    EXPECT_EQ(mode(u"new/f"), 0640U);
    chmod(real(u"new/f").c_str(), 0604);
    const lkstr longName = u"new/" + lkstr(255, u'n');
    for (const lkchar* name : {u"new/f", u"new/link", u"new/chain", u"new/dangling", longName.c_str()}) {
        const str label = UnicodeTextToPrintf(name);
        if (label == "new/link") std::filesystem::create_symlink("f", real(name));
        if (label == "new/chain") std::filesystem::create_symlink(real(u"new/link"), real(name));
        if (label == "new/dangling") std::filesystem::create_symlink("made", real(name));
        const bool isLink = std::filesystem::is_symlink(real(name));
        EXPECT_EQ(save(name, "bytes of " + label), "nothing") << label;
        EXPECT_EQ(Load(name), "bytes of " + label);
        EXPECT_EQ(std::filesystem::is_symlink(real(name)), isLink) << label;
    }
    EXPECT_EQ(Load(u"new/f"), "bytes of new/chain");
    EXPECT_EQ(mode(u"new/f"), 0604U);
    EXPECT_TRUE(std::filesystem::exists(real(u"new/made")));

    // Files that are not regular are written directly; a pipe without a reader fails immediately.
    ASSERT_EQ(mkfifo(real(u"new/pipe").c_str(), 0600), 0);
    EXPECT_EQ(save(u"new/pipe", "x").substr(0, 34), "Occured open file failed for write");
    const int reader = open(real(u"new/pipe").c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(save(u"new/pipe", "x"), "nothing");
    char byte = 0;
    EXPECT_EQ(read(reader, &byte, 1), 1);
    close(reader);
    std::filesystem::create_symlink("/dev/full", real(u"new/full"));
    EXPECT_EQ(save(u"new/full", "x").substr(0, 25), "Occured write file failed");

    std::filesystem::create_symlink("loop", real(u"new/loop"));
    for (const lkchar* name : {u"new/loop", u"new/f/x", u"new", u"new/"}) {
        EXPECT_EQ(save(name, "x").substr(0, 34), "Occured open file failed for write")
            << UnicodeTextToPrintf(name);
    }
    EXPECT_EQ(save(u"", "x").substr(0, 7), "Occured");
    EXPECT_EQ(Raised([&] { SaveWholeBinDataToLocalFile(u"", "x", 1); }), "Occured file name null");

    // A disk that becomes full in the middle of a file.
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1'000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    for (const lkchar* name : {u"new/f", u"new/none"}) {
        EXPECT_EQ(save(name, str(5'000, 'x')).substr(0, 25), "Occured write file failed");
    }
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(Load(u"new/f"), "bytes of new/chain");
    EXPECT_EQ(Entries(Path(u"new/")), 9) << "no leftovers";
}

// The permissions do not restrict root.
TEST_F(Files, WholeFilesAreWrittenInPlaceWhereTheDirectoryIsClosed) {
    Save(u"closed/f", "old");
    Save(u"open/f", "old");
    const auto real = [&](const lkchar* name) { return UnicodeTextToPrintf(Path(name)); };
    chmod(real(u"").c_str(), 0755);
    chmod(real(u"closed").c_str(), 0555);
    chmod(real(u"closed/f").c_str(), 0666);
    chmod(real(u"open").c_str(), 0777);
    chmod(real(u"open/f").c_str(), 0444);
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (getuid() == 0 && setuid(kNobody) != 0) _exit(1);
        const auto save = [&](const lkchar* name) {
            return Raised([&] { SaveWholeBinDataToLocalFile(Path(name).c_str(), "n", 1); }).substr(0, 20);
        };
        if (save(u"closed/f") != "nothing") _exit(2);
        if (save(u"closed/g") != "Occured open file fa") _exit(3);
        if (save(u"open/f") != "Occured open file fa") _exit(4);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << WEXITSTATUS(status);
    EXPECT_EQ(Load(u"closed/f"), "n");
    EXPECT_EQ(Load(u"open/f"), "old") << "may not be written, though its directory may";
    chmod(real(u"closed").c_str(), 0755);
}

TEST_F(Files, ClosedStreamsAnswerNothing) {
    ClkFile file;
    char byte = 0;
    file.Open(Path(u"none").c_str(), ClkFile::OpenRead);
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.Read(&byte, 1), 0);
    EXPECT_EQ(file.Write(&byte, 1), 0);
    EXPECT_EQ(file.Length(), -1);
    file.Open(Path(u"new").c_str(), static_cast<ClkFile::OpenMode>(5));
    EXPECT_FALSE(IsFileExist(Path(u"new").c_str()));
    file.Open(Path(u"new").c_str(), ClkFile::OpenWrite);
    EXPECT_EQ(file.Write("abc", 3), 3);
    EXPECT_EQ(file.Length(), 3);
    EXPECT_EQ(file.Write("d", 1), 1);
    file.Close();
    EXPECT_EQ(Load(u"new"), "abcd");
}

TEST_F(Files, WorkersMayMakeTheSameDirectories) {
    for (int round = 0; round < 20; ++round) {
        const lkstr path = Path(u"r") + static_cast<lkchar>(u'a' + round) + u"/s/t";
        std::vector<std::thread> workers;
        for (int i = 0; i < 8; ++i) {
            workers.emplace_back([path] { EXPECT_TRUE(CreateLocalDirOnNeed(path.c_str())); });
        }
        for (std::thread& worker : workers) worker.join();
    }
}

TEST_F(Files, TextFilesKeepTheirEncoding) {
    struct Case {
        const char* name;
        str bytes;
        lkstr text;
        int mode;
    } const cases[] = {
        {"mark of 8 bits", kMark8 + "a中", u"a中", TextEncodeUtf8Bom},
        {"mark of 16 bits", kMark16 + str("a\0\x2D\x4E", 4), u"a中", TextEncodeUtf16Bom},
        {"no mark", "a中", u"a中", TextEncodeUtf8},
        {"odd last byte", kMark16 + str("a\0b", 3), u"a", TextEncodeUtf16Bom},
        {"high byte first", str("\xFE\xFF\0a", 4), u"", TextEncodeMbs},
        {"another encoding", "\xD6\xD0", {0x0590}, TextEncodeMbs},
        {"cut off", "a\xE4\xB8", u"", TextEncodeUtf8},
        {"nothing", "", u"", 77},
    };
    for (const Case& c : cases) {
        Save(u"f.txt", c.bytes);
        lkstr text = u"old";
        auto mode = static_cast<TextEncodeMode>(77);
        LoadStrFromTextFile2(Path(u"f.txt").c_str(), text, mode);
        EXPECT_EQ(text, c.text) << c.name;
        EXPECT_EQ(static_cast<int>(mode), c.mode) << c.name;

        const auto saveBack = [&] {
            SaveStrToTextFile(text.c_str(), lkstr_len(text.c_str()), mode, Path(u"g.txt").c_str());
        };
        if (text == u"a中") {
            saveBack();
            EXPECT_EQ(Load(u"g.txt"), c.bytes) << c.name;
        } else if (!text.empty() && mode == TextEncodeMbs) {
            EXPECT_EQ(Raised(saveBack), "Occured function failed, hint text: UnicodeToMbs") << c.name;
        }
    }
    for (const int mode : {1, 2, 3, 4}) {
        SaveStrToTextFile(u"", 0, static_cast<TextEncodeMode>(mode), Path(u"e.txt").c_str());
        EXPECT_EQ(Load(u"e.txt"), "") << mode;
    }
    // Units at an odd address, and nothing after the block.
    const std::vector<char> block = {0, '\xFF', '\xFE', 'a', 0};
    lkstr text;
    auto mode = TextEncodeUtf8;
    LoadStrFromMemoryBuf(block.data() + 1, 4, text, mode);
    EXPECT_EQ(text, u"a");
}

TEST_F(Files, ReplacingTextNeverLosesWhatCannotBeRead) {
    struct Case {
        const char* name;
        str bytes, expected;
        const char* raised;
    } const cases[] = {
        {"marked", kMark8 + "aXbX", kMark8 + "aYYbYY", "nothing"},
        {"to nothing", "X", "YY", "nothing"},
        {"another encoding", "X\xD6\xD0\xFF", "X\xD6\xD0\xFF",
         "Occured function failed, hint text: UnicodeToMbs"},
        {"marked but broken", kMark8 + "X\xFF", kMark8 + "X\xFF", "nothing"},
        {"cut off", "X\xE4", "X\xE4", "nothing"},
    };
    for (const Case& c : cases) {
        Save(u"f.txt", c.bytes);
        EXPECT_EQ(Raised([&] { FileReplaceText(Path(u"f.txt").c_str(), u"X", u"YY"); }), c.raised) << c.name;
        EXPECT_EQ(Load(u"f.txt"), c.expected) << c.name;
    }
}

}  // namespace
}  // namespace larkspur
