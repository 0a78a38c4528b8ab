#include <gtest/gtest.h>

#include "qbsvrl6/support/error.h"
#include "tests/qbsvrl6/bind/sample_data.h"

namespace qbsvrl6 {
namespace {

// Only what a program that counts pages would show itself is a page field.
TEST(Placeholder, NotesPageFields) {
    const struct {
        const char16_t* text;
        const char* fields;  // "N" the number, "C" the count, with start, length and value
    } cases[] = {
        {u"Page [PageNumber] of [PageCount], form 5", "N5+2=12 C11+3=345 "},
        {u"[pagenumber:0]/[PageCount:#]", "N0+2=12 C3+3=345 "},
        {u"[PageNumber:000]", ""},
        {u"[PageNumber:$$]", ""},
        {u"[PageNumber + 1] [PageCount - 1] 12", ""},
        {u"[If(PageNumber > 1, PageNumber, '')]", ""},
        {u"[[PageNumber] [Count('12')]", ""},
    };
    Orders orders;
    Position position;
    position.pageNumber = 12;
    position.pageCount = 345;
    for (const auto& one : cases) {
        orders.show(one.text, position);
        std::string fields;
        for (const PageField& field : orders.last.pageFields) {
            fields += (field.kind == PageField::Kind::Number ? "N" : "C") + std::to_string(field.start) +
                      "+" + std::to_string(field.length) + "=" + std::to_string(field.value) + " ";
        }
        EXPECT_EQ(fields, one.fields) << toUtf8(one.text);
    }
}

TEST(Placeholder, StandsInTexts) {
    struct Case {
        const char16_t* text;
        const char* shown;
        std::size_t row = 0;
    };
    const Case cases[] = {
        {u"", ""},
        {u"no placeholder", "no placeholder"},
        {u"[City]-[No:0000]!", "上海-0007!"},
        {u"[[City] [City]", "[City] 上海"},
        {u"a]b]]", "a]b]]"},
        {u"[']:' & City]", "]:上海"},
        {u"[`City`:x]", "上海"},
        {u"[2 * [Price]:0.00]", "2.20"},
        // Formats by the type of the value.
        {u"[Price:#,##0.00]", "1.10"},
        {u"[Price:#,##0.00]", "", 2},
        {u"[Price]", "1.10"},
        {u"[When:HH:mm]", "14:07", 4},
        {u"[When:yyyy]", "no date", 3},
        {u"[When]", "2024-03-05 14:07:09", 4},
        {u"[Paid:是的:没有]", "是的"},
        {u"[Paid:是的:没有]", "没有", 1},
        {u"[Paid:是的:没有]", "", 2},
        {u"[Paid]", "否", 1},
        {u"[Count:{2=两个,4=四个}]", "两个"},
        {u"[No]", "12345678901234567890", 4},
        {u"[1:.E+0]", ".E+1"},  // no places before the exponent
        // Texts that read as what the format is for.
        {u"['2024-03-05':M/d]", "03-05"},
        {u"['1234.5':#,##0.00]", "1,234.50"},
        {u"['true':on:off]", "on"},
        {u"['abc':0.00]", "abc"},
        // The colour mark is a colour, never text.
        {u"[Price:rgb(255,0,0)0.00]", "<255,0,0> 1.10"},
        {u"[Price:rgb(1,2,3)e0.0]", "<1,2,3> 1.1e+0"},
        {u"[Count:rgb(1,2,3)0$$$$$]", "<1,2,3> 贰"},
    };
    Orders orders;
    for (const Case& test : cases) {
        Position position;
        position.row = test.row;
        EXPECT_EQ(orders.show(test.text, position), test.shown) << toUtf8(test.text) << " at " << test.row;
    }
}

TEST(Placeholder, AloneKeepsItsTypedValue) {
    struct Case {
        const char16_t* text;
        ValueType type;
        const char* format;
        std::size_t row = 0;
    };
    const Case cases[] = {
        {u"[Price:#,##0.00]", ValueType::Number, "#,##0.00"},
        {u"[Price:0.0 元;亏 (0.0)]", ValueType::Number, "0.0\" 元\";\"亏 \"(0.0)"},
        {u"[Price]", ValueType::Number, "0.00"},
        {u"[Count]", ValueType::Number, ""},
        {u"[No]", ValueType::Text, "", 4},
        {u"[When:yyyy年M月d日 HH:mm:ss]", ValueType::Date, "yyyy\"年\"mm\"月\"dd\"日\" hh:mm:ss"},
        {u"[When:dd//MM/yy t]", ValueType::Date, "dd/mm-yy AM/PM"},
        {u"[When:h:mm t]", ValueType::Date, "hh:mm AM/PM"},
        {u"[When:h:mm]", ValueType::Text, ""},
        {u"[When:HH:mm t]", ValueType::Text, ""},
        {u"[When]", ValueType::Date, "yyyy-mm-dd"},
        {u"[When]", ValueType::Date, "yyyy-mm-dd hh:mm:ss", 4},
        {u"[Paid]", ValueType::Boolean, ""},
        {u"[City]", ValueType::Text, ""},
        {u" [Price:0.00]", ValueType::Text, ""},
        {u"[Price:0.00]", ValueType::Text, "", 2},
    };
    Orders orders;
    for (const Case& test : cases) {
        Position position;
        position.row = test.row;
        orders.show(test.text, position);
        EXPECT_EQ(orders.last.cell.type, test.type) << toUtf8(test.text);
        EXPECT_EQ(toUtf8(orders.last.cell.spreadsheetFormat), test.format) << toUtf8(test.text);
    }
}

TEST(Placeholder, TellsFaultsWithTheirColumnInTheText) {
    struct Fault {
        const char16_t* text;
        int column;
    };
    const Fault faults[] = {
        {u"abc [City", 5}, {u"[", 1},        {u"[]", 2},
        {u"No. [1 +]", 9}, {u"[a][b c]", 7}, {u"[Sum(Price, Nowhere)]", 12},
    };
    Orders orders;
    for (const Fault& fault : faults) {
        try {
            orders.show(fault.text);
            ADD_FAILURE() << toUtf8(fault.text) << " was accepted";
        } catch (const EngineError& error) {
            EXPECT_EQ(error.code(), ErrorCode::BadExpression) << toUtf8(fault.text);
            EXPECT_EQ(error.place().position.column, fault.column)
                << toUtf8(fault.text) << ": " << error.what();
        }
    }
}

}  // namespace
}  // namespace qbsvrl6
