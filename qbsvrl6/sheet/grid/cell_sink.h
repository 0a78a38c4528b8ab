// The base of all sinks for cell documents: converts bands into rows of one grid.
#ifndef QBSVR_QBSVRL6_SHEET_GRID_CELL_SINK_H
#define QBSVR_QBSVRL6_SHEET_GRID_CELL_SINK_H

#include <span>
#include <vector>

#include "qbsvrl6/sheet/grid/band_strip.h"
#include "qbsvrl6/sheet/grid/cell_grid.h"
#include "qbsvrl6/sheet/writers.h"

namespace qbsvrl6 {

class CellSink : public PageSink {
public:
    void beginPage(const PageInfo& page) final;
    void band(Band&& band, Micrometres x, Micrometres y) final;
    void endPage() final;
    void finish(PendingTexts& pending) final;

protected:
    CellSink(const SheetOptions& options, GridFit fit)
        : grid_(options.columnEdges, options.page.paper.width, fit),
          columnMoves_(options.columnMoves),
          isPaged_(options.paged) {}

    const CellGrid& grid() const { return grid_; }

private:
    virtual void openPage(const PageInfo&, bool /*isFirst*/) {}
    // Whether the sink handles the band itself: it may then move from it, and no rows are made.
    virtual bool keepBand(Band&, Micrometres /*x*/, Micrometres /*y*/) { return false; }
    // Writes the rows of a band, at least one. It may move pending texts out of their items.
    virtual void writeRows(const Band& band, std::span<const CellRow> rows) = 0;
    virtual void closePage() {}
    // Settles the pending texts and completes the document.
    virtual void close(PendingTexts& pending) = 0;

    void moveColumns(Band& band) const;
    void writeBand(Band& band, Micrometres x, Micrometres y);
    void writeStrip();

    CellGrid grid_;
    std::vector<ColumnMove> columnMoves_;
    bool isPaged_;
    int pages_ = 0;
    BandStrip strip_;
};

}  // namespace qbsvrl6

#endif
