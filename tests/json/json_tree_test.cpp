#include "json/json_tree.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>
#include <thread>

#include "larkspur.h"

namespace larkspur {
namespace {

// The document as JSON text; after an error, the part that was read, and the error.
template <class Json>
lkstr Outcome(Json& json, const lkstr& text, const lkchar* separator = nullptr) {
    const std::vector<lkchar> units(text.begin(), text.end());  // an exact copy: detects overruns
    lkstr error;
    try {
        json.Parse(units.data(), static_cast<int>(units.size()));
    } catch (const ClkException& e) {
        EXPECT_EQ(e.Type(), LKExceptionJson);
        error = u" !" + e.HintText();
    }
    return json.Stringify(separator) + error;
}

lkstr ObjectOutcome(const lkstr& text) {
    ClkObjectJson json;
    return Outcome(json, text);
}

lkstr ArrayOutcome(const lkstr& text) {
    ClkArrayJson json;
    return Outcome(json, text);
}

struct Case {
    const lkchar* text;
    const lkchar* outcome;
};

TEST(JsonTree, ReadsTheDialect) {
    const Case objects[] = {
        {u"", u"{}"},
        {u" \t\r\n", u"{}"},
        {u"[1]", u"{}"},
        {u"\u0001{}", u"{}"},
        {u"  { }  ", u"{}"},
        {u"{\"a\":1,}", u"{\"a\":1}"},
        {u"{\"a\":1 \"b\":2}", u"{\"a\":1,\"b\":2}"},
        {u"{\"b\":[1],\"a\":\"x\"}", u"{\"a\":\"x\",\"b\":[1]}"},
        {u"{\"a\":tru,\"b\":-1.50e7,\"c\":\u0001\u4E2D}", u"{\"a\":tru,\"b\":-1.50e7,\"c\":\u0001\u4E2D}"},
        {u"{\"a\":}", u"{\"a\":}"},
        {u"{\"a\":1,\"a\":{\"x\":1},\"a\":2}", u"{\"a\":2}"},
        {u"{\"ab\":1,\"\":2,\"a\":3,\"\uFFFF\":4,\"\xD800\":5}",
         u"{\"\":2,\"a\":3,\"ab\":1,\"\xD800\":5,\"\uFFFF\":4}"},
        {u"{\"a\\n\\\":\"\\\\x\\\"y\\nz\\r\\t\"}", u"{\"a\\n\\\":\"\\\\x\\\"y\\nz\\r\\t\"}"},
        {u"{\"a\" : \"line\nend\"}", u"{\"a\":\"line\\nend\"}"},
    };
    for (const Case& c : objects) EXPECT_EQ(ObjectOutcome(c.text), c.outcome) << UnicodeTextToPrintf(c.text);
    const Case arrays[] = {
        {u"{}", u"[]"},           {u"[1 2]", u"[1,2]"},         {u"[1,]", u"[1]"},
        {u"[1,,2]", u"[1,,2]"},   {u"[[],[{}]]", u"[[],[{}]]"}, {u"[\"\"\"x\"12x]", u"[\"\",\"x\",12x]"},
        {u" [ abc ] ", u"[abc]"},
    };
    for (const Case& c : arrays) EXPECT_EQ(ArrayOutcome(c.text), c.outcome) << UnicodeTextToPrintf(c.text);

    ClkArrayJson json;
    Outcome(json, u"[,]");
    ASSERT_EQ(json.Root().Items().size(), 1u) << "one empty literal";
    Outcome(json, lkstr(u"[\"a\0b\\n\",c\0d]", 13));
    const auto textAt = [&json](std::size_t i) {
        return static_cast<ClkJsonAtomNode&>(*json.Root().Items()[i]).Text();
    };
    EXPECT_EQ(textAt(0), u"a") << "a string ends at its first zero unit";
    EXPECT_EQ(textAt(1), lkstr(u"c\0d", 3));
    json.Parse(nullptr, 5);
    EXPECT_TRUE(json.Root().Items().empty());
}

// After an error, the part before it remains.
TEST(JsonTree, ReportsErrors) {
    const lkchar* const kData = u"。\\r\\n数据：";
    const lkchar* const kNoQuote = u"此位置预料的 '\"' 字符没有出现";
    const lkchar* const kNoColon = u"此位置预料的 ':' 字符没有出现";
    const lkchar* const kNoBrace = u"此位置预料的 '}' 字符没有出现";
    const lkchar* const kNoBracket = u"此位置预料的 ']' 字符没有出现";
    const lkchar* const kBadEscape = u"在转义引导符号‘\\’之后应该是JSON的特殊字符(\\ \" \\r \\n \\t)之一。";
    const struct {
        const lkchar* text;
        const lkchar* left;
        const lkchar* message;
        const lkchar* context;
    } cases[] = {
        {u"{} x", u"{}", u"数据尾部存在无法解析的数据", u"x"},
        {u"{\"a\":1 2}", u"{\"a\":1}", kNoQuote, u"2}"},
        {u"{\"b", u"{}", kNoQuote, u""},
        {u"{,}", u"{}", kNoQuote, u",}"},
        {u"{\"a\" 1}", u"{}", kNoColon, u"1}"},
        {u"{\"a\"\u0001:1}", u"{}", kNoColon, u"\u0001:1}"},
        {u"{\"a\"", u"{}", kNoColon, u""},
        {u"{\"a\":1", u"{\"a\":1}", kNoBrace, u""},
        {u"{\"a\":", u"{\"a\":}", kNoBrace, u""},
        {u"{", u"{}", kNoBrace, u""},
        {u"{\"a\":1,\"b\":[1", u"{\"a\":1,\"b\":[1]}", kNoBracket, u""},
        {u"{\"b\":[{\"z\":1},}]}", u"{\"b\":[{\"z\":1}]}", kNoBracket, u"}]}"},
        {u"{\"b\":[}", u"{\"b\":[]}", kNoBracket, u"}"},
        {u"{\"b\":1,\"a\":\"x", u"{\"a\":\"\",\"b\":1}", kNoQuote, u""},
        {u"{\"a\":\"", u"{\"a\":\"\"}", kNoQuote, u""},
        {u"{\"a\":\"\\u0041\"}", u"{\"a\":\"\"}", kBadEscape, u"u0041\"}"},
        {u"{\"a\":\"x\\", u"{\"a\":\"\"}", kBadEscape, u""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ObjectOutcome(c.text), lkstr(c.left) + u" !" + c.message + kData + c.context)
            << UnicodeTextToPrintf(c.text);
    }
    const lkstr tail(200, u'x');
    EXPECT_EQ(ArrayOutcome(u"[]" + tail),
              lkstr(u"[] !数据尾部存在无法解析的数据") + kData + tail.substr(0, 128));
}

TEST(JsonTree, TheSeparatorReplacesLineBreaks) {
    ClkObjectJson json;
    EXPECT_EQ(Outcome(json, u"{\"b\":[1],\"a\":\"x\"}", u"S"), u"{S\"a\":\"x\"S,S\"b\":[S1SS]S}");
    EXPECT_EQ(Outcome(json, u"{}", u"S"), u"{S}");
    lkstr out = u"x=";
    json.Root().AddAtomMember(u"a")->StringifyAppend(out, u"\n");
    EXPECT_EQ(out, u"x=\"\"\n");
}

TEST(JsonTree, MembersAreAddedReplacedAndFoundByKind) {
    ClkObjectJson json;
    ClkJsonObjectNode& root = json.Root();
    root.AddStringMember(u"text", u"a\"b");
    root.AddBooleanMember(u"flag", true);
    root.AddIntegerMember(u"count", -7);
    root.AddFloatMember(u"float", 1.5);
    root.AddAtomMember(u"atom")->SetText(u"filled");
    root.AddObjectMember(u"object")->AddArrayMember(u"array");
    EXPECT_EQ(json.Stringify(nullptr),
              u"{\"atom\":\"filled\",\"count\":-7,\"flag\":true,\"float\":1.500000,"
              u"\"object\":{\"array\":[]},\"text\":\"a\\\"b\"}");
    EXPECT_EQ(root.AtomByName(u"flag")->Kind(), ClkJsonLiteral);
    EXPECT_EQ(root.AtomByName(u"object"), nullptr);
    EXPECT_EQ(root.ArrayByName(u"object"), nullptr);
    EXPECT_EQ(root.ObjectByName(u"missing"), nullptr);
    const ClkJsonArrayNode* array = root.ObjectByName(u"object")->ArrayByName(u"array");
    EXPECT_EQ(array->Parent(), root.ObjectByName(u"object"));
    EXPECT_EQ(array->Parent()->Parent(), &root);
    EXPECT_EQ(root.Parent(), nullptr);

    // The name and text of the replaced member may be passed.
    root.AddStringMember(root.Members().begin()->first, root.AtomByName(u"atom")->Text().c_str());
    root.AddIntegerMember(u"object", 1);
    EXPECT_EQ(root.Members().size(), 6u);
    EXPECT_EQ(static_cast<ClkJsonAtomNode&>(*root.Members().at(u"atom")).Text(), u"filled");
    EXPECT_THROW(root.AddStringMember(u"text", nullptr), std::logic_error);
    EXPECT_NE(root.AtomByName(u"text"), nullptr);
    EXPECT_THROW(root.Members().at(u"missing"), std::out_of_range);
    json.Root().Clear();
    EXPECT_EQ(json.Stringify(nullptr), u"{}");
}

TEST(JsonTree, NodesParseOnTheirOwnAndOntoWhatIsThere) {
    const lkstr text = u"{\"b\":1,\"a\":2}[3]\"x\\n\"tail ";
    const lkchar* end = text.data() + text.size();
    const auto object = std::make_unique<ClkJsonObjectNode>();
    object->AddIntegerMember(u"c", 0);
    object->AddObjectMember(u"b");
    const lkchar* p = object->Parse(text.data(), end);
    ClkJsonArrayNode array;
    array.Parse(p, end);
    p = array.Parse(p, end);
    ClkJsonAtomNode atom;
    p = atom.Parse(p, end);
    EXPECT_EQ(atom.Text(), u"x\n");
    p = atom.Parse(p, end);
    EXPECT_EQ(atom.Text(), u"tail");
    EXPECT_EQ(end - p, 1);
    lkstr out;
    object->StringifyAppend(out, nullptr);
    array.StringifyAppend(out, nullptr);
    EXPECT_EQ(out, u"{\"a\":2,\"b\":1,\"c\":0}[3,3]");
    EXPECT_THROW(object->Parse(end, end), ClkException);
}

// Around the size at which the writer flushes its buffer.
TEST(JsonTree, TextsOfAnyLengthAreWritten) {
    for (std::size_t n = 2030; n < 2060; ++n) {
        lkstr run(n, u'x');
        run[n - 9] = u'"';
        ClkObjectJson json;
        json.Root().AddStringMember(lkstr(n * 2, u'n'), run.c_str());
        json.Root().AddAtomMember(lkstr(n, u'm'))->Parse(run.data(), run.data() + n);
        run.insert(n - 9, 1, u'\\');
        EXPECT_EQ(json.Stringify(nullptr), u"{\"" + lkstr(n, u'm') + u"\":" + lkstr(run).erase(n - 9, 1) +
                                               u",\"" + lkstr(n * 2, u'n') + u"\":\"" + run + u"\"}")
            << n;
    }
}

// Random lists of objects against std::map: few names and many, equal names, long and short, again and again.
TEST(JsonTree, MembersAgreeWithAMap) {
    std::mt19937 random(7);
    const auto below = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    for (int round = 0; round < 150; ++round) {
        const std::size_t nameKinds = std::size_t{1} << below(12);
        lkstr text = u"[";
        std::vector<std::map<lkstr, lkstr>> expected;
        for (std::size_t rows = below(8); rows > 0; --rows) {
            expected.emplace_back();
            text += u'{';
            for (std::size_t members = below(300); members > 0; --members) {
                const lkstr name =
                    lkstr(below(3) * 5, u'n') + lkstr_fromi(static_cast<int>(below(nameKinds)));
                const lkstr value = lkstr_fromi(static_cast<int>(members));
                text.append(u"\"").append(name).append(u"\":").append(value).append(u",");
                expected.back()[name] = value;
            }
            text += u"},";
        }
        ClkArrayJson json;
        Outcome(json, text + u"]");
        ASSERT_EQ(json.Root().Items().size(), expected.size());
        for (std::size_t row = 0; row < expected.size(); ++row) {
            std::map<lkstr, lkstr> members;
            lkstr before;
            for (const auto& [name, node] :
                 static_cast<ClkJsonObjectNode&>(*json.Root().Items()[row]).Members()) {
                EXPECT_TRUE(members.empty() || before < name) << round;
                members[before = name] = static_cast<ClkJsonAtomNode&>(*node).Text();
            }
            EXPECT_EQ(members, expected[row]) << "round " << round << ": " << UnicodeTextToPrintf(text);
        }
    }
}

// Reads every other object and array below the node, beginning with it.
void ReadEveryOther(const ClkJsonNode& node, unsigned int& count) {
    if (node.Kind() == ClkJsonObject && ++count % 2 == 0) {
        for (const auto& [name, child] : static_cast<const ClkJsonObjectNode&>(node).Members()) {
            EXPECT_EQ(child->Parent(), &node);
            ReadEveryOther(*child, count);
        }
    } else if (node.Kind() == ClkJsonArray && ++count % 2 == 0) {
        for (const auto& item : static_cast<const ClkJsonArrayNode&>(node).Items()) {
            EXPECT_EQ(item->Parent(), &node);
            ReadEveryOther(*item, count);
        }
    }
}

// Nodes are created when they are read: a document doesn't depend on what was read of it, in any order.
TEST(JsonTree, PartlyReadDocumentsAreWholeAndCanBeChanged) {
    const lkstr text =
        u"{\"c\":[{\"x\":[1,\"a text of some length\"],\"w\":{}},[],[[\"\\n\"]]],\"a\":{\"y\":{\"z\":[{}]}},"
        u"\"b\":{\"z\":1,\"a\":[2,[3]]}}";
    const lkstr written =
        u"{\"a\":{\"y\":{\"z\":[{}]}},\"b\":{\"a\":[2,[3]],\"z\":1},"
        u"\"c\":[{\"w\":{},\"x\":[1,\"a text of some length\"]},[],[[\"\\n\"]]]}";
    for (unsigned int reads = 0; reads < 6; ++reads) {
        ClkObjectJson json;
        EXPECT_EQ(Outcome(json, text), written);
        unsigned int count = 1;
        for (unsigned int i = 0; i < reads; ++i) ReadEveryOther(json.Root(), count);
        EXPECT_EQ(json.Stringify(nullptr), written) << reads;

        const lkstr more = u"{\"b\":{\"q\":[]},\"bb\":[{\"r\":0}]}";
        json.Root().Parse(more.data(), more.data() + more.size());
        ClkJsonObjectNode* a = json.Root().ObjectByName(u"a");
        a->Parse(more.data(), more.data() + more.size());
        a->AddIntegerMember(u"y", 1);
        json.Root().ArrayByName(u"c")->Clear();
        EXPECT_EQ(json.Stringify(nullptr),
                  u"{\"a\":{\"b\":{\"q\":[]},\"bb\":[{\"r\":0}],\"y\":1},\"b\":{\"q\":[]},"
                  u"\"bb\":[{\"r\":0}],\"c\":[]}")
            << reads;
    }
}

TEST(JsonTree, AnyDepthIsReadWrittenAndDestroyed) {
    constexpr std::size_t kDepth = 1'000'000;
    lkstr text;
    for (std::size_t i = 0; i < kDepth / 2; ++i) text += u"[{\"a\":";
    ClkArrayJson cut;
    EXPECT_THROW(cut.Parse(text.c_str(), static_cast<int>(text.size())), ClkException);
    text += u"x";
    for (std::size_t i = 0; i < kDepth / 2; ++i) text += u"}]";
    ClkArrayJson json;
    EXPECT_TRUE(Outcome(json, text) == text);

    // Destroyed from the middle, and built again in the freed memory.
    ClkJsonObjectNode* outer = static_cast<ClkJsonObjectNode*>(json.Root().Items()[0].get());
    outer->AddIntegerMember(u"a", 1);
    EXPECT_EQ(json.Stringify(nullptr), u"[{\"a\":1}]");
    ClkJsonObjectNode* inner = outer;
    for (std::size_t i = 0; i < kDepth; ++i) inner = inner->AddObjectMember(u"a");
    outer->Clear();
    EXPECT_EQ(json.Stringify(nullptr), u"[{}]");
}

// A leak checker detects memory that a node owns outside the tree's and loses.
TEST(JsonTree, AllMemoryIsTakenBackAndUsedAgain) {
    lkstr text = u"[";
    for (int i = 0; i < 300; ++i)
        text += u"{\"a\":\"a text of some length\",\"b\":[\"another long text\",[1]],\"c\":\"x\"},";
    lkstr members = u"{";
    for (int i = 0; i < 200; ++i) members += u"\"" + lkstr_fromi(1000 + i) + u"\":\"also long enough\",";
    text += members + u"}]";
    ClkArrayJson json;
    lkstr once;
    for (int round = 0; round < 3; ++round) {
        Outcome(json, text);
        const auto objectAt = [&json](std::size_t i) {
            return static_cast<ClkJsonObjectNode*>(json.Root().Items()[i].get());
        };
        objectAt(0)->AtomByName(u"c")->SetText(u"a short text that becomes long");
        objectAt(1)->AddIntegerMember(u"a", 1);
        objectAt(2)->Clear();
        objectAt(2)->AddArrayMember(u"list")->Parse(text.data(), text.data() + text.size());
        objectAt(300)->AddObjectMember(u"1100");
        objectAt(300)->Clear();
        objectAt(3)->ArrayByName(u"b")->Clear();
        if (round == 0) once = json.Stringify(nullptr);
        EXPECT_EQ(json.Stringify(nullptr), once) << round;
    }
}

TEST(JsonTree, FilesContainTheDocument) {
    const lkstr path = lkstr_fromascii((testing::TempDir() + "json_tree_test.txt").c_str());
    ClkObjectJson json;
    json.Root().AddStringMember(u"名", u"值\n");
    for (const TextEncodeMode mode : {TextEncodeUtf8Bom, TextEncodeUtf16Bom, TextEncodeUtf8}) {
        json.SaveToFile(path.c_str(), mode);
        ClkObjectJson loaded;
        loaded.LoadFromFile(path.c_str());
        EXPECT_EQ(loaded.Stringify(nullptr), u"{\"名\":\"值\\n\"}") << mode;
    }
    try {
        json.LoadFromFile(u"/nonexistent/list.txt");
        ADD_FAILURE() << "loaded a missing file";
    } catch (const ClkException& e) {
        EXPECT_EQ(e.Type(), LKExceptionFileOpenRead);
    }
}

// ThreadSanitizer detects a lookup that writes.
TEST(JsonTree, ThreadsReadOneDocument) {
    lkstr text = u"[";
    for (int i = 0; i < 200; ++i)
        text += u"{\"Name\":\"a name of some length\",\"Dir\":\"d\",\"Items\":[1,2]},";
    ClkArrayJson json;
    Outcome(json, text + u"]");
    std::vector<std::thread> threads(16);
    for (std::thread& thread : threads) {
        thread = std::thread([&json] {
            for (const auto& item : json.Root().Items()) {
                const auto& row = static_cast<const ClkJsonObjectNode&>(*item);
                EXPECT_EQ(row.AtomByName(u"Dir")->Text(), u"d");
                EXPECT_EQ(row.ArrayByName(u"Items")->Items().size(), 2u);
                EXPECT_EQ(row.ObjectByName(u"Name"), nullptr);
            }
            EXPECT_FALSE(json.Stringify(nullptr).empty());
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace larkspur
