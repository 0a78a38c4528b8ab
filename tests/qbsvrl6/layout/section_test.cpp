#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qbsvrl6/layout/section_arrangement.h"

namespace qbsvrl6 {
namespace {

std::string show(const std::vector<ArrangedBox>& boxes, Micrometres height) {
    std::string text;
    for (const ArrangedBox& box : boxes)
        text += std::to_string(box.top) + "+" + std::to_string(box.height) + " ";
    return text + "= " + std::to_string(height);
}

// top, height, needed, shrinks, stretches
TEST(Section, ArrangesItsBoxes) {
    struct Case {
        const char* name;
        std::vector<ArrangedBox> boxes;
        bool canGrow;
        const char* expected;
    };
    const Case cases[] = {
        {"all fits", {{0, 10, 8, false, false}, {10, 10, 0, false, false}}, true, "0+10 10+10 = 30"},
        {"what is below moves down",
         {{0, 10, 15, false, false}, {10, 10, 0, false, false}},
         true,
         "0+15 15+10 = 35"},
        {"by the most of the line",
         {{0, 10, 15, false, false}, {0, 10, 30, false, false}, {12, 5, 0, false, false}},
         true,
         "0+15 0+30 32+5 = 50"},
        {"growth adds up",
         {{0, 10, 12, false, false}, {10, 10, 13, false, false}, {20, 5, 6, false, false}},
         true,
         "0+12 12+13 25+6 = 36"},
        {"what is beside stays",
         {{0, 10, 15, false, false}, {5, 10, 0, false, false}},
         true,
         "0+15 5+10 = 35"},
        {"a section that can't grow",
         {{0, 10, 15, false, false}, {10, 10, 0, false, false}},
         false,
         "0+10 10+10 = 30"},
        {"a frame stretches", {{0, 30, 0, false, true}, {5, 10, 20, false, false}}, true, "0+40 5+20 = 40"},
        {"a line below moves", {{5, 10, 20, false, false}, {16, 0, 0, false, true}}, true, "5+20 26+0 = 40"},
        {"a removed line closes up",
         {{0, 10, 0, true, false}, {10, 10, 0, false, false}},
         true,
         "0+0 0+10 = 20"},
        {"two of them",
         {{0, 10, 0, true, false}, {10, 10, 0, true, false}, {20, 10, 0, false, false}},
         true,
         "0+0 0+0 0+10 = 10"},
        {"unless something is beside it",
         {{0, 10, 0, true, false}, {0, 10, 5, false, false}, {10, 10, 0, false, false}},
         true,
         "0+10 0+10 10+10 = 30"},
        {"a shrinking text", {{0, 10, 4, true, false}, {10, 10, 0, false, false}}, true, "0+4 4+10 = 24"},
        {"shrinking and growing",
         {{0, 10, 4, true, false}, {10, 10, 15, false, false}, {20, 5, 0, false, false}},
         true,
         "0+4 4+15 19+5 = 29"},
        {"in any order", {{20, 5, 0, false, false}, {0, 10, 14, false, false}}, true, "24+5 0+14 = 34"},
    };
    for (const Case& test : cases) {
        std::vector<ArrangedBox> boxes = test.boxes;
        const Micrometres height = arrangeBoxes(boxes, 30, test.canGrow);
        EXPECT_EQ(show(boxes, height), test.expected) << test.name;
    }
}

}  // namespace
}  // namespace qbsvrl6
