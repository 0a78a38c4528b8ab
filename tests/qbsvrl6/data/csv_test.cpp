#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "qbsvrl6/data/csv_reader.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "tests/qbsvrl6/data/described.h"

namespace qbsvrl6 {
namespace {

std::string readFrom(ByteSource& bytes, std::string_view options) {
    try {
        return describe(readCsv(bytes, csvFormFrom(options)));
    } catch (const EngineError& error) {
        return std::string("! ") + error.what();
    }
}

struct Case {
    std::string_view bytes, expected, options = {};
};

void check(const Case& one) {
    SlowBytes slow(one.bytes);  // divides every field, line end and character between two windows
    const std::string fromOne = readFrom(*bytesOf(std::string(one.bytes), "f"), one.options);
    EXPECT_EQ(fromOne, one.expected) << one.bytes;
    EXPECT_EQ(readFrom(slow, one.options), fromOne) << one.bytes;
}

TEST(ReadCsv, GivesOneTable) {
    const Case cases[] = {
        {"a,b\n1,x\n", "(a,b):1,x "},
        {"a,b\r\n1,x\r\n2,y", "(a,b):1,x;2,y "},
        {"a,b\r1,x\r2,y\r", "(a,b):1,x;2,y "},
        {"\n\na\n\n1\n\n\"\"\n2", "(a):1;;2 "},
        {"a,b,c\n,\"\",\n\n 00123 ,1e5,-0.10\n", "(a,b,c):-,,-; 00123 ,1e5,-0.10 "},
        {"a,b\n\"x\ny\",\"say \"\"hi\"\"\"\r\n\"\"\"\",\"a,b\"", "(a,b):x\ny,say \"hi\";\",a,b "},
        {"a,b\nx\"y,5\" pipe\n", "(a,b):x\"y,5\" pipe "},
        {"a,b,c\n1\n1,2,3,,\n1,", "(a,b,c):1,-,-;1,2,3;1,-,- "},
        {"a,, b ,a,\"A\",a\n1,2,3,4,5,6", "(a,Column2,b,a_2,A,a_3):1,2,3,4,5,6 "},
        {"a\n", "(a): "},
        // separators
        {"a;b,c;d\n1;2;3", "(a,b,c,d):1,2,3 "},
        {"a\tb\n\"1\t2\"\t3", "(a,b):1\t2,3 "},
        {"\"a;;;\"|b,c|d\n1|2|3", "(a;;;,b,c,d):1,2,3 "},
        {"sep=|\r\na;b|c\n1|2", "(a;b,c):1,2 "},
        {"a,b\n1,2", "(a,b):1,2 ", "separator=comma"},
        {"a,b;c\n1,2;3", "(a,b;c):1,2;3 ", "separator=,,header=yes"},
        {"a b\n1 2", "(a,b):1,2 ", "header=yes,separator=space"},
        {"1,x\n2,y,z\n", "(Column1,Column2,Column3):1,x,-;2,y,z ", "header=no"},
        {"", "(): ", "header=no"},
        // encodings
        {"\xEF\xBB\xBF"
         "a\n中😀",
         "(a):中😀 "},
        {"\xD6\xD0,b\n\x94\x39\xFC\x36,\x81\x40", "(中,b):😀,丂 ", "encoding=GBK"},
        {std::string_view("\xFF\xFE\x2D\x4E,\0b\0\n\0\x31\0,\0\x3D\xD8\x00\xDE", 18), "(中,b):1,😀 "},
        {std::string_view("\xFE\xFF\0a\0\n\x4E\x2D", 8), "(a):中 "},
        {std::string_view("a\0\n\0\x31\0", 6), "(a):1 ", "encoding=utf-16"},
        {"\xEF\xBB\xBF"
         "a\n中",
         "(a):中 ", "encoding=gbk"},
    };
    for (const Case& one : cases) check(one);
}

TEST(ReadCsv, NamesThePositionOfAnError) {
    const Case cases[] = {
        {"", "! f:1:1: the data is empty"},
        {"a,b\n中,\"x\ny\nz", "! f:2:3: this quote has no closing quote"},
        {"a\n\"x\ny\"z\n", "! f:3:3: text after the closing quote of a field"},
        {"a,b\n\"1\n2\",中,3\n", "! f:3:6: this row has more fields than the first line, which has 2"},
        {"a,b\r1,2\r1,2,3", "! f:3:5: this row has more fields than the first line, which has 2"},
        {"a\n1\n中\xD6\xD0", "! f:3:2: the text is not UTF-8; name another encoding: csv:encoding=gbk"},
        {"a\n1\n\xE4\xB8", "! f:3:1: the text is not UTF-8; name another encoding: csv:encoding=gbk"},
        {"a\n1\n2\xD6\xFF", "! f:3:2: the text is not GB18030", "encoding=gb2312"},
        {"a\n1\n2\xD6", "! f:3:2: the text is not GB18030", "encoding=gb2312"},
        {"a", "! f: the encoding \"klingon\" is not supported", "encoding=klingon"},
    };
    for (const Case& one : cases) check(one);
    for (const std::string option :
         {"separator=ab", "separator=\"", "header=maybe", "colour=red", "x", "encoding="}) {
        EXPECT_EQ(readFrom(*bytesOf("a", "f"), "header=yes," + option)
                      .find("! \"" + option + "\" is not an option"),
                  0u)
            << option;
    }
}

TEST(ReadCsv, EndsAtItsLimits) {
    std::string columns = "c";
    for (std::size_t i = 0; i < limits::kDataColumns; ++i) columns += ",c";
    EXPECT_EQ(readFrom(*bytesOf(columns, "f"), ""), "! f:1:32769: more than 16384 columns");
    const std::string field = "a,b\n1,\"" + std::string(limits::kCsvFieldBytes + (1u << 20), 'x');
    EXPECT_EQ(readFrom(*bytesOf(field, "f"), ""),
              "! f:2:3: a field is longer than 64 MiB; is its closing quote missing?");
}

}  // namespace
}  // namespace qbsvrl6
