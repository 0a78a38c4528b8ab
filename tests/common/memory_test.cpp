// Exceptions, memory blocks, streams and packages.
#include "common/memory.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <new>
#include <thread>
#include <vector>

#include "common/bin_data_package.h"
#include "common/errors.h"
#include "common/memory_stream.h"

namespace larkspur {
namespace {

str TextOf(const ClkMemoryStream& stream) {
    return str(static_cast<const char*>(stream.Data()), static_cast<std::size_t>(stream.Size()));
}

TEST(Errors, TellTypeAndHint) {
    struct Case {
        int type;
        const lkchar* hint;
        const char* expected;
    } const cases[] = {
        {9, u"x", "Occured phase json failed, hint text: x"},
        {4, u"/tmp/中", "Occured open file failed for read, hint text: /tmp/中"},
        {3, nullptr, "Occured file name null"},
        {0, u"", "Occured "},
        {10, u"", "Occured std::exception"},
        {-1, u"", "Occured std::exception"},
    };
    for (const Case& c : cases) {
        const ClkException e(static_cast<LKExceptionType>(c.type), c.hint);
        EXPECT_STREQ(e.what(), c.expected);
        EXPECT_STREQ(e.what(), c.expected) << "a second call";
    }
    EXPECT_STREQ(ClkException(LKExceptionFunction, "\xE4").what(),
                 "Occured function failed, hint text: \xEF\xBF\xA4");
}

TEST(Errors, ThreadsThatFailAtOnceKeepTheirTexts) {
    std::vector<std::thread> threads;
    int rounds = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i, &rounds] {
            const str hint(static_cast<std::size_t>(100 * i + 1), static_cast<char>('a' + i));
            for (int round = 0; round < 200; ++round) {
                const char* const what = ClkException(LKExceptionFunction, hint.c_str()).what();
                EXPECT_EQ(what, "Occured function failed, hint text: " + hint);
                const ClkAutoMutex lock;
                ++rounds;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(rounds, 800);
}

TEST(Memory, RefusesWhatTheAllocatorRefuses) {
    EXPECT_THROW(memalloc(-1), std::bad_alloc);
    EXPECT_THROW(memrealloc(memalloc(4), 0), std::bad_alloc);
    ClkMemory memory;
    memory.SetSize(3);
    std::memcpy(memory.Data(), "abc", 3);
    memory.SetSize(100000);
    EXPECT_EQ(std::memcmp(memory.Data(), "abc", 3), 0);
    memory.SetSize(-5);
    EXPECT_EQ(memory.Size(), 0);
    EXPECT_EQ(memory.Data(), nullptr);
}

TEST(MemoryStream, GrowsByItsRule) {
    struct Case {
        int capacity, request, expected;
    } const cases[] = {
        {0, 1, 51200},          {0, 60000, 51200},          {100, 10, 200}, {100, 60, 220},
        {2000000, 10, 3024000}, {2000000, 600000, 3200000}, {100, -7, 200},
    };
    for (const Case& c : cases) {
        ClkMemoryStream stream;
        if (c.capacity > 0) stream.Resize(c.capacity);
        EXPECT_EQ(stream.ExpandBuffer(c.request), 0);
        EXPECT_EQ(stream.Capacity(), c.expected) << c.capacity << ' ' << c.request;
    }
    ClkMemoryStream stream;
    const str large(60000, 'x');
    stream.Write(large.data(), 60000);
    EXPECT_EQ(stream.Capacity(), 60000);  // one step is not enough: exactly as large as needed
    EXPECT_EQ(TextOf(stream), large);
    EXPECT_THROW(stream.AppendTrailData(0, INT_MAX), std::bad_alloc);
    EXPECT_THROW(stream.Write("x", INT_MAX), std::bad_alloc);
    EXPECT_EQ(TextOf(stream), large);
    stream.Reset();
    stream.Resize(100);
    stream.Write(large.data(), 100);
    EXPECT_EQ(stream.Capacity(), 100) << "there was room";
    stream.WriteC('y');
    EXPECT_EQ(stream.Capacity(), 612);  // grows by twice 256, the least for a single byte
    stream.AppendTrailData('x', 3'999'899);
    stream.WriteC('y');
    EXPECT_EQ(stream.Capacity(), 6'000'000);  // grows by twice a quarter
}

TEST(MemoryStream, ReadsAndWritesAtThePosition) {
    ClkMemoryStream stream;
    EXPECT_EQ(stream.Write(nullptr, 5), 0);
    EXPECT_EQ(stream.Size() + stream.Capacity() + stream.Position(), 0);
    EXPECT_EQ(stream.Write("hello", 5), 0);
    stream.WriteC('!');
    EXPECT_EQ(stream.Seek(4, 2), 0);
    EXPECT_EQ(stream.Position(), 2);
    stream.Write("LL", 2);
    char read[10] = {};
    EXPECT_EQ(stream.Read(read, 10), 2);
    EXPECT_STREQ(read, "o!");
    EXPECT_THROW(stream.ReadC(), ClkException);
    stream.Seek(-2, 1);
    EXPECT_EQ(stream.ReadC(), 'o');
    stream.AppendData("?", 1);
    stream.AppendTrailData('.', 2);
    stream.AppendByte('>');
    stream.WriteByte('H', 0);
    EXPECT_EQ(TextOf(stream), "HeLLo!?..>");
    EXPECT_EQ(stream.Position(), 10);
    stream.AppendData(static_cast<char*>(stream.Data()) + 1, 9);
    EXPECT_EQ(TextOf(stream), "HeLLo!?..>eLLo!?..>");
}

TEST(MemoryStream, SeeksBeyondItsEnd) {
    ClkMemoryStream stream;
    stream.Write("abc", 3);
    stream.Seek(100, 0);
    EXPECT_EQ(stream.Size(), 100);
    EXPECT_EQ(stream.Capacity(), 51200);
    stream.Seek(200000, 0);
    EXPECT_EQ(stream.Size(), 200000);
    EXPECT_GE(stream.Capacity(), 200000);
    stream.Seek(-1, 0);
    EXPECT_EQ(stream.Position(), 0);
    EXPECT_THROW(stream.Seek(INT_MIN, 2), std::bad_alloc);
    stream.Resize(2);
    EXPECT_EQ(TextOf(stream), "ab");
    // The unchecked writers drop bytes for which there is no space.
    stream.AppendByte('x');
    stream.WriteByte('x', 2);
    EXPECT_EQ(TextOf(stream), "ab");
    EXPECT_EQ(stream.Position(), 2);
}

TEST(MemoryStream, HandsItsBlockOverBothWays) {
    ClkMemoryStream stream;
    stream.Write("abc", 3);
    int n = 0;
    void* const block = stream.Detach(n);
    EXPECT_EQ(n, 3);
    EXPECT_EQ(stream.Capacity(), 0);
    ClkMemoryStream other;
    other.AttachData(block, n);
    EXPECT_EQ(TextOf(other), "abc");
    EXPECT_EQ(other.Position(), 3);
    other.AttachData(memalloc(4), 0);
    EXPECT_EQ(other.Capacity(), 0);

    stream.Resize(10);
    EXPECT_THROW(stream.Detach(n), std::bad_alloc);
    EXPECT_EQ(stream.Data(), nullptr);
    EXPECT_EQ(stream.Capacity(), 0);
}

TEST(BinDataPackage, RecordsTheSizesOfItsParts) {
    using Sizes = std::vector<int>;
    ClkBinDataPackage package;
    package.AssignData("abc", 3);
    package.AppendData("defg", 4);
    package.AppendData("", 0);
    EXPECT_EQ(package.PackageSizes(), (Sizes{3, 4, 0}));
    EXPECT_EQ(std::memcmp(package.Data(), "abcdefg", 7), 0);
    package.AppendData(package.Data(), package.Size());
    EXPECT_EQ(std::memcmp(package.Data(), "abcdefgabcdefg", 14), 0);
    package.ShrinkToFirstPackage();
    EXPECT_EQ(package.Size(), 3);
    EXPECT_EQ(package.PackageSizes(), (Sizes{3}));

    void* const block = memalloc(10);
    try {
        package.DirectAttach(block, 10, {4, 5});
        FAIL();
    } catch (const ClkException& e) {
        EXPECT_STREQ(
            e.what(),
            "Occured function argument invalid, hint text: DataBytes in BinDataPackage::DirectAttach.");
    }
    EXPECT_THROW(package.DirectAttach(nullptr, 10, {4, 6}), ClkException);
    EXPECT_EQ(package.Size(), 0);
    EXPECT_EQ(package.Data(), nullptr);
    EXPECT_TRUE(package.PackageSizes().empty());
    package.DirectAttach(block, 10, {0, 10});
    EXPECT_EQ(package.Data(), block);
    package.ShrinkToFirstPackage();
    EXPECT_EQ(package.Data(), nullptr);
    EXPECT_EQ(package.PackageSizes(), (Sizes{0}));

    package.Attach(memalloc(2), 2);
    EXPECT_EQ(package.PackageSizes(), (Sizes{2}));
    int n = 0;
    memfree(package.Detach(n));
    EXPECT_EQ(n, 2);
    EXPECT_TRUE(package.PackageSizes().empty());
    package.Attach(nullptr, 7);
    EXPECT_EQ(package.PackageSizes(), (Sizes{0}));
    package.AssignData("z", 1);
    EXPECT_EQ(*static_cast<char*>(package.Data()), 'z');
}

}  // namespace
}  // namespace larkspur
