// The structure of a document: which band belongs to which report, and which item shows that report.
//
// Layout fills it while it builds bands, if a sink asks for it. The sink finds the entry of an item through
// its ItemRole: both parts of an item that a page break divides have the same one.
#ifndef QBSVR_QBSVRL6_ITEMS_STRUCTURE_H
#define QBSVR_QBSVRL6_ITEMS_STRUCTURE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "qbsvrl6/items/band.h"
#include "qbsvrl6/items/item_role.h"

namespace qbsvrl6 {

// Entries have numbers from 1, in the order of their addition; 0 is none.
class DocumentStructure {
public:
    // A report, or one place where a sub-report is shown.
    struct Report {
        ItemRole shownBy;  // an item of the report around it; without a band: this is the outermost report
        // The column group of each column of its grid; kNoColumn: it is left out. Null: the grid is no table.
        std::shared_ptr<const std::vector<int>> columns;
        int headingLevel = 1;  // of its title
        int rowHeads = 0;      // the first columns that say what a row is about: those of a cross-table
        const DetailGrid* grid = nullptr;                                // null: the report has none
        std::shared_ptr<const std::vector<std::u16string>> columnNames;  // of all columns that are laid out
    };
    static constexpr int kEveryGroup = -1;  // the column is in each column group
    static constexpr int kNoColumn = -2;

    // Pages, columns and page breaks divide bands; all parts have one entry.
    struct BandEntry {
        std::uint32_t report = 0;
        std::uint32_t heading = 0;  // the item that is a heading, from 1; 0: none
        std::uint8_t headingLevel = 0;
        std::int16_t groupLevel = -1;  // of a group's header or footer; -1: of no group
        BandKind kind = BandKind::Row;
    };

    std::uint32_t addReport(Report report) {
        reports_.push_back(std::move(report));
        return static_cast<std::uint32_t>(reports_.size());
    }
    std::uint32_t addBand(BandKind kind, std::uint32_t report, int groupLevel = -1) {
        bands_.push_back({report, 0, 0, static_cast<std::int16_t>(groupLevel), kind});
        return static_cast<std::uint32_t>(bands_.size());
    }
    const Report& report(std::uint32_t number) const { return reports_[number - 1]; }
    const BandEntry& band(std::uint32_t number) const { return bands_[number - 1]; }
    BandEntry& band(std::uint32_t number) { return bands_[number - 1]; }

private:
    std::vector<Report> reports_;
    std::vector<BandEntry> bands_;
};

}  // namespace qbsvrl6

#endif
