// The interface of everything that receives a laid-out report: one sink per document format.
#ifndef QBSVR_QBSVRL6_ITEMS_PAGE_SINK_H
#define QBSVR_QBSVRL6_ITEMS_PAGE_SINK_H

#include "qbsvrl6/items/band.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/support/units.h"

namespace qbsvrl6 {

struct PageInfo {
    int number = 1;  // sheet of paper, from 1 over the whole report, whatever number the page shows
    Size paper;
    Edges margins;
};

// Settles pending items, once the whole report is laid out.
class PendingTexts {
public:
    virtual ~PendingTexts() = default;
    // Lays out the item's text; after that it is not pending. Does nothing for an item that is not pending.
    virtual void settle(Item& item) = 0;
};

// Receives a report while it is laid out: for each page beginPage, its bands, endPage; after the last page
// finish, once. A sink keeps what it needs: a band is its own after the call, and styles live as long as the
// export. Memory is the sink's affair: layout forgets each band that it has passed on.
//
// The bands of a page come from top to bottom: page header, body, page footer. The continuous layout has one
// page of unbounded height; there y stops growing at a large value, and the order of the bands counts.
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
