// What all cell documents share: a sink that turns bands into rows of one grid.
#ifndef QBSVR_QBSVRL6_SHEET_CELL_SINK_H
#define QBSVR_QBSVRL6_SHEET_CELL_SINK_H

#include <span>

#include "qbsvrl6/sheet/cell_grid.h"
#include "qbsvrl6/sheet/writers.h"

namespace qbsvrl6 {

class CellSink : public PageSink {
public:
    void beginPage(const PageInfo& page) final {
        grid_.beginPage(page.margins.top);
        openPage(page, pages_++ == 0);
    }
    void band(Band&& band, Micrometres x, Micrometres y) final {
        const std::span<const CellRow> rows = grid_.place(band, x, y);
        if (!rows.empty()) writeRows(band, rows);
    }
    void endPage() final { closePage(); }
    void finish(PendingTexts& pending) final {
        grid_.reportLosses();
        close(pending);
    }

protected:
    CellSink(const SheetOptions& options, bool floatPictures)
        : grid_(options.cuts, options.page.paper.width, floatPictures) {}

    const CellGrid& grid() const { return grid_; }

private:
    virtual void openPage(const PageInfo&, bool /*isFirst*/) {}
    // At least one row. Late texts may be moved out of their items.
    virtual void writeRows(const Band& band, std::span<const CellRow> rows) = 0;
    virtual void closePage() {}
    // Settles the late texts and completes the document.
    virtual void close(PendingTexts& pending) = 0;

    CellGrid grid_;
    int pages_ = 0;
};

}  // namespace qbsvrl6

#endif
