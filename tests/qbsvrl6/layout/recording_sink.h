// Lays out a template over data and records, as text, what a sink receives.
#ifndef QBSVR_TESTS_QBSVRL6_LAYOUT_RECORDING_SINK_H
#define QBSVR_TESTS_QBSVRL6_LAYOUT_RECORDING_SINK_H

#include <string>
#include <vector>

#include "qbsvrl6/layout/cell_columns.h"
#include "qbsvrl6/layout/layout.h"

namespace qbsvrl6 {

// The record of each page:
//
//     page 1
//      ReportHeader 15,15 180x10
//       text 0,0 60x6 "Title"
//
// Lengths are in millimetres. A text shows its lines, "a|b", with its size unless that is 8 pt. Bands of the
// grid end in " grid", repeated ones in " again"; the group's level, bookmark, link and colour follow, if
// any.
class RecordingSink : public PageSink {
public:
    void beginPage(const PageInfo& page) override;
    void band(Band&& band, Micrometres x, Micrometres y) override;
    void endPage() override;
    void finish(PendingTexts& pending) override;

    // The texts of each page in order, separated by spaces: "Title 1 2 3".
    std::vector<std::string> pageTexts() const;
    std::string everything() const;

    struct RecordedBand {
        Band band;
        Micrometres x = 0;
        Micrometres y = 0;
        std::vector<std::string> colors;  // of its items
    };
    std::vector<std::vector<RecordedBand>> pages;
    std::vector<std::string> papers;  // of each page; empty: that of the report
    bool finished = false;

private:
    bool inPage_ = false;
};

// Lays out the elements of a template's Report over data in JSON. By default, a line of text is at most 4 mm
// high.
RecordingSink layOutText(const std::string& elements, const std::string& json = "[]",
                         LayoutOptions options = {});

// The column edges of cell documents: those of the page, then those of workbooks and CSV if they differ.
std::string columnsOf(const std::string& elements, const LayoutOptions& options);

// A list of `count` objects {"n": 1}, {"n": 2} and so on.
std::string numberedRows(int count);

std::string textOf(const Item& item);

}  // namespace qbsvrl6

#endif
