#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"
#include "tests/qbsvrl6/data/described.h"

namespace qbsvrl6 {
namespace {

using ReadSource = DataSet (*)(ByteSource&);

std::string read(ByteSource& source, ReadSource reads) {
    try {
        return describe(reads(source));
    } catch (const EngineError& error) {
        return std::string("! ") + error.what();
    }
}

std::string read(std::string_view bytes, ReadSource reads = readData) {
    const std::string result = read(*bytesOf(std::string(bytes), "f"), reads);
    SlowBytes slow(bytes);
    if (bytes.size() < 2'000) {
        EXPECT_EQ(read(slow, reads), result) << "byte by byte";
    }
    return result;
}

std::string utf16(std::u16string_view text, bool bigEndian) {
    std::string bytes;
    for (const char16_t unit : text) {
        const auto low = static_cast<char>(unit & 0xFF);
        const auto high = static_cast<char>(unit >> 8);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

TEST(ReadData, GivesTablesAndParameters) {
    const struct {
        std::string_view bytes, expected;
    } cases[] = {
        // JSON
        {R"([])", "(): "},
        {R"({})", ""},
        {R"( [{"a":1,"b":"x"},{"b":"y","c":null},{"a":true}] )", "(a,b,c):#1,x,-;-,y,-;yes,-,- "},
        {R"([{"n":1.10},{"n":-0.0e+5},{"n":12345678901234567890},{"n":0.1234567890123456789}])",
         "(n):#1.10;#-0.0e+5;#12345678901234567890;#0.1234567890123456789 "},
        {R"([{"n":1e999}])", "(n):1e999 "},
        {R"({"Shop":"A","rows":[{"x":1}],"deep":{"n":2,"more":[{"y":3}]},"none":[]})",
         "Shop=A deep.n=#2 rows(x):#1 deep.more(y):#3 none(): "},
        {R"([{"o":{"i":1,"j":{"k":"z"}},"l":[1, [{"m":[]}] , "]"]}])",
         R"((o.i,o.j.k,l):#1,z,[1, [{"m":[]}] , "]"] )"},
        {R"({"c":[{"n":1,"o":[{"i":1,"l":[{"a":1},{"a":2}]},{"i":2}]},{"n":2,"o":[]},)"
         R"({"n":3,"o":[{"l":[{"a":3}]}],"o":[{"i":4}]}]})",
         "c(n,o):#1,-;#2,-;#3,- c.o@0,0,2,2(i):#1;#2;-;#4 c.o.l@0,0,2(a):#1;#2;#3 "},
        {R"([{"v":["a"]},{"w":{"v":[1,{"m":[]},[{}],null]}}])",
         R"((v):["a"];- w.v@1,1,1,1(value,m):#1,-;-,-;[{}],-;-,- )"},
        {R"({"a":[{"b":[{"x":1}]}],"a.b":[2]})", "a(): a.b@0(x):#1 a.b(value):#2 "},
        {R"([1,"two",{"value":3}])", "(value):#1;two;#3 "},
        {R"([{"a":1,"a":2},{"A":3,"a":4}])", "(a,A):#2,-;#4,#3 "},
        {R"([{"\u0061\n":"\"\\\/\b\f\n\r\t\u4e2d\ud83d\ude00中😀"}])", "(a\n):\"\\/\b\f\n\r\t中😀中😀 "},
        {R"([{"\u007Fé߿":"ࠀक￼𐀀"}])", "(\x7Fé߿):ࠀक￼𐀀 "},
        {R"([{"lone":"\ud800x"}])", "(lone):\xEF\xBF\xBDx "},
        {"\xEF\xBB\xBF[{\"a\":\"\xE4\xB8\xAD\"}]", "(a):中 "},
        // XML
        {"<r/>", ""},
        {"<?xml version='1.0'?><r><t>x</t><row><a>1</a><b/></row><row c='2'/></r>",
         "t=x row(a,b,c):1,,-;-,-,2 "},
        {"<r v='1'><row><a>1</a></row></r>", "v=1 row(a):1 "},
        {"<r><List n='2'><Row><a>&lt;&#20013;</a></Row><Row><a><![CDATA[<b>]]></a></Row></List></r>",
         "List.n=2 Row(a):<中;<b> "},
        {"<r><row><a>1</a><in><c>2</c><d><e>3</e></d></in><a>4</a></row><row/></r>",
         "row(a,in.c,in.d.e):1, 4,2,3;-,-,- "},
        {"<r><v>1</v><v k='x'>2</v></r>", "v(value,k):1,-;2,x "},
        {"<r><c><n>1</n><o i='1'><l><a>1</a></l><l><a>2</a></l></o></c>"
         "<c><o i='2'/><o>x</o></c><c><o><l><a>3</a></l></o></c></r>",
         "c(n):1;-;- c.o@0,1,1,2(i,value):1,-;2,-;-,x;-,- c.o.l@0,0,3(a):1;2;3 "},
        {"<r><c><os><o><x>1</x></o></os></c><c><os><o><x>2</x></o><o><x>3</x></o><t>4</t><t>5</t></os></c></"
         "r>",
         "c(os.t):-;4, 5 c.os.o@0,1,1(x):1;2;3 "},
        {"<r><a><row><x>1</x></row></a><b><row><x>2</x></row></b></r>", "row(x):1 b.row(x):2 "},
        {"<r xmlns='u'><rows xmlns='u'><x:row xmlns:x='v' x:b='2'><a xmlns='w'>1</a></x:row></rows><z/></r>",
         "z= x:row(x:b,a):2,1 "},
        {"\xEF\xBB\xBF<r><!--c--><a> x<b/></a></r>", "a(b): "},
        {"<?xml version=\"1.0\" encoding=\"GB2312\"?><r><a>\xD6\xD0</a></r>", "a=中 "},
        {"<?xml version=\"1.0\" encoding='gb18030'?><r><a>\xD6\xD0\x94\x39\xFC\x36</a></r>", "a=中😀 "},
    };
    for (const auto& one : cases) EXPECT_EQ(read(one.bytes), one.expected) << one.bytes;

    const std::u16string text = u"\uFEFF[{\"a\":\"中😀\"}]";
    EXPECT_EQ(read(utf16(text, false)), "(a):中😀 ");
    EXPECT_EQ(read(utf16(text, true)), "(a):中😀 ");
}

TEST(ReadData, TellsThePlaceOfAFault) {
    const struct {
        std::string_view bytes, expected;
    } cases[] = {
        {"", "! f:1:1: the data is empty"},
        {" \n ", "! f:1:1: the data is empty"},
        {"\n hello", "! f:2:2: the data is neither JSON nor XML"},
        {"[{\"a\":1}\n] x", "! f:2:3: text after the end of the data"},
        {"[{\"a\":1}] []", "! f:1:11: text after the end of the data"},
        {"{}]", "! f:1:3: text after the end of the data"},
        {"[{\"a\":1},\n{\"a\":", "! f:2:6: the data ends early: the \"{\" of line 2 is not closed"},
        {"[{\"a\":1},\n{\"a\":2}\n}", "! f:3:1: this bracket closes the \"[\" of line 1; write \"]\""},
        {"{\"Rows\":\n[{\"a\":2}\n}}", "! f:3:1: this bracket closes the \"[\" of line 2; write \"]\""},
        {"{\"Rows\":[\n{\"a\":2]\n]}", "! f:2:7: this bracket closes the \"{\" of line 2; write \"}\""},
        {"[{\"a\":1},\n{\"a\":\"x]}", "! f:2:10: a string has no closing quote"},
        {"[{\"a\":1}\n,{\"中\" 2}]", "! f:2:7: the data is not valid JSON here"},
        {"[{\"a\":tru}]", "! f:1:7: a value is none of JSON's"},
        {"[{\"a\":01}]", "! f:1:7: a value is none of JSON's"},
        {"[{\"a\":1.}]", "! f:1:7: a value is none of JSON's"},
        {"[{\"a\":[1,-]}]", "! f:1:10: a value is none of JSON's"},
        {"[{\"a\":\n\"\\x\"}]", "! f:2:2: a backslash starts no escape that JSON knows"},
        {"[{\"a\":\"\\u12g4\"}]", "! f:1:8: a backslash starts no escape that JSON knows"},
        {"[{\"a\":\"x\ty\"}]", "! f:1:9: a control character in a string"},
        {"[\n\"\xE4\xB8\"]", "! f:2:2: the text is not UTF-8"},
        {"[\"\xD6\xD0\"]", "! f:1:3: the text is not UTF-8"},
        {"<a>\n<b></a>", "! f:2:6: the data is not valid XML here: Start-end tags mismatch"},
        {"<a/>\n<b/>", "! f:2:2: a second root element"},
        {"<a/>\nx", "! f:2:1: text outside the root element"},
        {"<!-- -->", "! f:1:9: the data has no root element"},
        {"<r v='1' v='2'/>", "! f:1:10: the attribute \"v\" is given twice"},
        {"<r><a b='1'\n c='2' b='3'/><a/></r>", "! f:2:8: the attribute \"b\" is given twice"},
        {"<?xml version='1.0' encoding='klingon'?><a/>",
         "! f:1:1: the encoding \"klingon\" is not supported"},
        {"<?xml version='1.0' encoding='GBK'?><a>\n\xD6\xFF</a>",
         "! f:2:1: the text is not GB18030, as it declares"},
    };
    for (const auto& one : cases) EXPECT_EQ(read(one.bytes), one.expected) << one.bytes;
    EXPECT_EQ(read(utf16(u"\uFEFF[]", false) + "x"), "! f:1:3: the UTF-16 text ends inside a character");
}

TEST(ReadData, RefusesWhatPassesALimit) {
    const auto repeated = [](const std::string& text, int count) {
        std::string all;
        for (int i = 0; i < count; ++i) all += text;
        return all;
    };
    EXPECT_EQ(read("[{\"a\":" + repeated("[", 500) + repeated("]", 500) + "}]"),
              "! f:1:205: nested deeper than 200 levels");
    EXPECT_EQ(read(repeated("{\"a\":", 500) + "1" + repeated("}", 500)),
              "! f:1:1001: nested deeper than 200 levels");
    EXPECT_EQ(read(repeated("<a>", 500) + repeated("</a>", 500)), "! f:1:602: nested deeper than 200 levels");
    EXPECT_EQ(read(repeated("[", 100'000)),
              "! f:1:100001: the data ends early: the \"[\" of line 1 is not closed");
    std::string wide = "[{";
    for (std::size_t i = 0; i <= limits::kDataColumns; ++i) wide += "\"c" + std::to_string(i) + "\":1,";
    wide.back() = '}';
    EXPECT_NE(read(wide + "]").find("more than 16384 columns"), std::string::npos);
    const std::string field = "{\"a\":\"" + std::string(limits::kDataRowBytes + (1u << 20), 'x') + "\"}";
    EXPECT_EQ(read("[{},\n" + field + "]"), "! f:1:5: a row of more than 64 MiB");
    EXPECT_EQ(read("{}\n" + field, readJsonLines), "! f:2:1: a row of more than 64 MiB");
    const std::string half(2'048, 'k');
    EXPECT_EQ(read("[{\"" + half + "\":{\"" + half + "\":1}}]"),
              "! f: the budget name-length of 4,096 is used up at the name of a column");
}

TEST(ReadJsonLines, GivesARowForEachLine) {
    const struct {
        std::string_view bytes, expected;
    } cases[] = {
        {"", "(): "},
        {"\xEF\xBB\xBF{\"a\":1}\r\n\r\n \t\n  {\"b\":[{\"c\":2}]} \n[3]",
         "(a,value):#1,-;-,-;-,[3] b@1(c):#2 "},
        {"{\"a\":1}\n{\"a\":\n", "! f:2:6: the data ends early: the \"{\" of line 2 is not closed"},
        {"{\"a\":1}\n{\"a\":\"中\n\"}\n", "! f:2:8: a string has no closing quote"},
        {"{\"a\":1}\n{\"a\":tru}\n", "! f:2:6: a value is none of JSON's"},
        {"{\"a\":1}}\n{}", "! f:1:8: the data is not valid JSON here"},
        {"\n1],[2\n", "! f:2:3: the data is not valid JSON here"},
        {"{} {}", "! f:1:4: the data is not valid JSON here"},
        {"]", "! f:1:2: the data is not valid JSON here"},
        {"{},{}", "! f:1:1: a line of more than one value"},
        {"{}\n\xFF", "! f:2:1: the text is not UTF-8"},
    };
    for (const auto& one : cases) EXPECT_EQ(read(one.bytes, readJsonLines), one.expected) << one.bytes;
    EXPECT_EQ(read(*bytesOf(utf16(u"\uFEFF{\"a\":\"中\"}\n{}", true), "f"), readJsonLines), "(a):中;- ");
}

// A cut file is reported as such wherever it is cut, and never read beyond.
TEST(ReadData, RefusesEveryTruncation) {
    const std::string json =
        R"({"t":[{"a":"\u4e2dx","b":-1.5e3,"c":[true,{"d":null}]},{"a":"y"}],"p":{"q":false}})";
    const std::string xml =
        "<?xml version='1.0'?><r a='1'><t><x>&amp;1</x></t><!-- c --><t><![CDATA[z]]></t></r>";
    for (const std::string& whole : {json, xml}) {
        EXPECT_NE(read(whole).front(), '!') << read(whole);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            EXPECT_EQ(read(whole.substr(0, length)).front(), '!') << whole.substr(0, length);
        }
    }
}

TEST(ReadData, FindsNamesExactlyThenWithoutCase) {
    const DataSet data = readData(R"({"T":[{"Name":1,"name":2,"Größe":3}]})", "f");
    const Table& table = *data.table(u"T");
    EXPECT_EQ(table.findColumn(u"name"), 1u);
    EXPECT_EQ(table.findColumn(u"NAME"), 0u);
    EXPECT_EQ(table.findColumn(u"gröSSe"), Table::npos);
    const DataSet nested = readData(R"([{"a.b":1,"a":{"B":2,"b":3,"c":{"d":4}},"":{"e":5}}])", "f");
    EXPECT_EQ(describe(nested), "(a.b,a.B,a.c.d,e):#3,#2,#4,#5 ") << "a point in a name is one between names";
    EXPECT_EQ(nested.table(u"")->findColumn(u"A.C.D"), 2u);
    EXPECT_EQ(data.table(u""), &table);
    EXPECT_EQ(data.table(u"t"), nullptr);
    EXPECT_TRUE(table.value(0, 7).isNull());
    EXPECT_TRUE(table.value(7, 0).isNull());
}

// Columns with few values are stored in another way than those with many.
TEST(ReadData, ReadsColumnsOfAnyDensity) {
    constexpr std::size_t kPeriods[] = {1, 2, 5, 40, 1'999, 0};
    const auto written = [](std::size_t row) {
        return row % 3 == 0 ? std::to_string(row) : row % 3 == 1 ? "\"t" + std::to_string(row) + '"' : "true";
    };
    const auto has = [](std::size_t row, std::size_t period) {
        return period == 0 ? row >= 100 : row % period == period - 1;
    };
    std::string json = "[";
    for (std::size_t row = 0; row < 2'000; ++row) {
        json += row == 0 ? "{" : "},{";
        const char* between = "";
        for (const std::size_t period : kPeriods) {
            if (!has(row, period)) continue;
            json += std::exchange(between, ",") + ('"' + std::to_string(period) + "\":0,\"") +
                    std::to_string(period) + "\":" + written(row);
        }
    }
    const DataSet data = readData(json + "}]", "f");
    const Table& table = *data.table(u"");
    for (std::size_t column = 0; column < table.columnCount(); ++column) {
        const std::size_t period = std::stoul(toUtf8(table.columnName(column)));
        for (std::size_t row = 0; row < table.rowCount(); ++row) {
            const Value value = table.value(row, column);
            const std::string expected = has(row, period) ? written(row) : "";
            ASSERT_EQ(value.type == ValueType::Text ? '"' + toUtf8(value.text) + '"' : toUtf8(value.text),
                      expected)
                << row << " of " << period;
            if (value.type == ValueType::Number) {
                ASSERT_EQ(value.number.toDouble(), static_cast<double>(row));
            }
        }
    }
}

TEST(ReadXmlText, KeepsXmlAndTurnsJsonIntoIt) {
    EXPECT_EQ(readXmlText("<r>\n<a>中</a></r>", "f"), u"<r>\n<a>中</a></r>");
    const std::u16string xml =
        readXmlText(R"({"p 1":"<&>","rows":[{"1st":"a\u0001\r","n":1.50},{"n":null}]})", "f");
    EXPECT_EQ(xml,
              u"<data>\n<p_1>&lt;&amp;&gt;</p_1>\n<rows><_1st>a\uFFFD&#13;</_1st><n>1.50</n></rows>\n"
              u"<rows></rows>\n</data>\n");
    EXPECT_EQ(read(toUtf8(readXmlText(R"({"c":[{"n":1,"o":[{"i":1},{"i":2}]},{"o":[{"i":3}]}]})", "f"))),
              "c(n):1;- c.o@0,0,1(i):1;2;3 ");
    EXPECT_EQ(read(toUtf8(xml)), "p_1=<&> rows(_1st,n):a\xEF\xBF\xBD\r,1.50;-,- ");
    EXPECT_THROW(readXmlText("<r>", "f"), EngineError);
    EXPECT_THROW(readXmlText("[", "f"), EngineError);
}

}  // namespace
}  // namespace qbsvrl6
