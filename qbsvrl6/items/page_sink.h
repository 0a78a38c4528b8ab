// The interface of everything that receives a laid-out report: one sink per document format.
#ifndef QBSVR_QBSVRL6_ITEMS_PAGE_SINK_H
#define QBSVR_QBSVRL6_ITEMS_PAGE_SINK_H

#include <memory>

#include "qbsvrl6/items/band.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct PageInfo {
    int number = 1;  // of the sheet of paper in the document, from 1, whatever number the page shows
    Size paper;
    Edges margins;
    int shownNumber = 1;             // that the page shows: groups may restart it
    std::u16string_view sheet = {};  // of a workbook, that the page begins; empty: none
    int paperKind = 0;               // 0: the paper of the report; otherwise the number of another one
    std::shared_ptr<const Picture> background = {};  // in place of that of the document; null: that one
};

// Settles pending items when the whole report has been laid out.
class PendingTexts {
public:
    virtual ~PendingTexts() = default;
    // Lays out the item's text, which is no longer pending then. Does nothing for any other item.
    virtual void settle(Item& item) = 0;
};

// Receives a report while it is laid out: beginPage, the bands and endPage for each page, then finish once. A
// sink may move from the bands that it receives; what it leaves in them serves for further bands. Styles are
// valid for the whole export.
//
// The bands of a page come from top to bottom: page header, body, page footer. The continuous layout has one
// page of unbounded height: y stops growing at a large value, and the order of the bands counts instead.
class PageSink {
public:
    virtual ~PageSink() = default;
    virtual void beginPage(const PageInfo& page) = 0;
    // x and y of the band's upper left corner, from the upper left corner of the paper.
    virtual void band(Band&& band, Micrometres x, Micrometres y) = 0;
    virtual void endPage() = 0;
    // `pending` settles the items that the sink has kept; it is valid during the call.
    virtual void finish(PendingTexts& pending) = 0;
};

}  // namespace qbsvrl6

#endif
