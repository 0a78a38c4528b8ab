// JSON for programs: the report as it is read, without paper. A section of free controls has items, a detail
// grid is a table with rows, and a sub-report is an item with sections of its own. What is open is a path of
// reports, from the document to the innermost sub-report.
#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "qbsvrl6/items/pending_items.h"
#include "qbsvrl6/items/structure.h"
#include "qbsvrl6/sheet/json/json_items.h"
#include "qbsvrl6/sheet/text_stream.h"
#include "qbsvrl6/sheet/writers.h"

namespace qbsvrl6 {

namespace {

constexpr int kShapeVersion = 1;

const char* nameOf(BandKind kind) {
    switch (kind) {
        case BandKind::PageHeader:
            return "\"pageHeader\"";
        case BandKind::ReportHeader:
            return "\"reportHeader\"";
        case BandKind::GroupHeader:
            return "\"groupHeader\"";
        case BandKind::GroupFooter:
            return "\"groupFooter\"";
        case BandKind::ReportFooter:
            return "\"reportFooter\"";
        case BandKind::PageFooter:
            return "\"pageFooter\"";
        default:
            return "\"row\"";
    }
}

// The columns of one table, as far as they are known.
struct TableHead {
    struct Column {
        std::vector<std::pair<Micrometres, std::u16string>> titles;  // from the top down
        const char* type = nullptr;                                  // of all values so far; null: none
        std::size_t index = 0;                                       // in the grid
    };
    std::vector<Column> columns;
    std::vector<int> positions;  // of the grid's columns; -1: not shown
    bool takesTitles = true;     // until the first row
    std::size_t gap = 0;         // where the columns are written
    std::shared_ptr<const std::vector<std::u16string>> names;
};

class JsonWriter final : public PageSink {
public:
    JsonWriter(const DocumentInfo& info, std::shared_ptr<const DocumentStructure> structure, Spool& output)
        : structure_(std::move(structure)), output_(output), stream_(&output) {
        json_.open('{').member("qbreport").number(kShapeVersion);
        const auto add = [&](std::string_view name, const std::u16string& text) {
            if (!text.empty()) json_.member(name).text(text);
        };
        add("title", info.title);
        add("author", info.author);
        add("subject", info.subject);
        add("keywords", info.keywords);
        add("language", info.language);
        json_.member("sections").open('[').lineEnd();
        path_.emplace_back();
    }

    void beginPage(const PageInfo&) override {}
    void endPage() override {}

    void band(Band&& band, Micrometres, Micrometres) override {
        if (band.repeated || band.kind == BandKind::BlankRow) return;
        if (band.structure == 0) {
            writePart(band);
        } else {
            writeRows(band);
        }
        flush();
        stream_.writeIfLarge();
    }

    void finish(PendingTexts& pending) override {
        closeTo(0);
        closeBand();
        closeTable();
        json_.close().close();
        buffer_ += '\n';
        flush();
        stream_.moveTo(output_, [&](std::size_t number, std::string& out) {
            const Gap& gap = gaps_[number];
            if (gap.isTable) {
                out += *heads_[gap.index];
                return;
            }
            Item item = pending_.item(gap.index);
            pending.settle(item);
            JsonBuilder json(out);
            json.resume(gap.hasMembers);
            appendMembers(json, item);
        });
    }

private:
    using Items = std::vector<Item*>;

    // One report that is open, and what is open in it.
    struct Level {
        std::uint32_t report = 0;  // 0: of a page header
        std::optional<TableHead> table;
        std::uint32_t band = 0;  // 0: none
        bool bandIsOpen = false;
        std::optional<std::uint32_t> part;  // the item that shows a sub-report
        bool partHasSections = false;
    };
    struct Gap {
        bool isTable;
        std::size_t index;        // in the columns of all tables, or of the pending text
        bool hasMembers = false;  // the item of the pending text has others before it
    };
    // What one control of a band shows: its item, or those of its sub-report.
    struct Part {
        const ItemRole* role = nullptr;
        Items items;
        bool isNested = false;
    };

    Level& level() { return path_.back(); }

    // A part of a page, or of the sub-reports in it, has no structure.
    void writePart(Band& band) {
        Items items = itemsOf(band);
        std::erase_if(items, [](const Item* item) { return !hasContent(*item); });
        if (items.empty()) return;
        closeTo(0);
        openForm(band.kind, 0);
        for (Item* const item : items) writeItem(*item, nullptr);
        closeBand();
    }

    static Items itemsOf(Band& band) {
        Items items;
        for (Item& item : band.items) {
            const bool isText = std::holds_alternative<TextItem>(item.content);
            if (isText || hasContent(item)) items.push_back(&item);
        }
        return items;
    }

    // A band of merged rows has an entry for each of them.
    void writeRows(Band& band) {
        const std::uint32_t report = structure_->band(band.structure).report;
        std::map<std::uint32_t, Items> rows;
        rows[band.structure];
        for (Item* const item : itemsOf(band)) {
            if (item->role.band == 0) continue;
            const ItemRole* role = &item->role;
            while (role->band != 0 && structure_->band(role->band).report != report) {
                role = &structure_->report(structure_->band(role->band).report).shownBy;
            }
            if (role->band != 0) rows[role->band].push_back(item);
        }
        above_.clear();
        isMerged_ = rows.size() > 1;
        for (const auto& [entry, items] : rows) place(entry, items);
        isMerged_ = false;
    }

    void place(std::uint32_t entry, const Items& items) {
        const DocumentStructure::BandEntry& band = structure_->band(entry);
        const bool inTable = isOfTable(entry);
        const bool hasAny =
            std::any_of(items.begin(), items.end(), [](Item* item) { return hasContent(*item); });
        if (!inTable && !hasAny) return;
        openReport(band.report);
        if (band.kind == BandKind::GridTitle) return inTable ? takeTitles(items) : writeForm(entry, items);
        if (band.kind == BandKind::Row && inTable && hasCells(entry, items)) return writeRow(entry, items);
        writeForm(entry, items);
    }

    // Free forms, as labels are, have controls instead of cells.
    bool hasCells(std::uint32_t entry, const Items& items) const {
        return !structure_->report(structure_->band(entry).report).columnNames->empty() &&
               std::all_of(items.begin(), items.end(), [&](const Item* item) {
                   const ItemRole* const role = roleIn(entry, *item);
                   return role == nullptr || role->column >= 0;
               });
    }

    bool isOfTable(std::uint32_t entry) const {
        const DocumentStructure::BandEntry& band = structure_->band(entry);
        const bool inGrid = band.kind == BandKind::GridTitle || band.kind == BandKind::Row ||
                            band.kind == BandKind::GroupHeader || band.kind == BandKind::GroupFooter;
        return inGrid && structure_->report(band.report).columnNames != nullptr;
    }

    // The path.

    void openReport(std::uint32_t report) {
        std::vector<std::uint32_t> chain;  // innermost first
        for (std::uint32_t at = report;;) {
            chain.push_back(at);
            const ItemRole& shownBy = structure_->report(at).shownBy;
            if (shownBy.band == 0) break;
            at = structure_->band(shownBy.band).report;
        }
        path_.front().report = chain.back();
        for (std::size_t depth = 0; depth + 1 < chain.size(); ++depth) {
            const std::uint32_t inner = chain[chain.size() - depth - 2];
            const ItemRole& shownBy = structure_->report(inner).shownBy;
            const Level& outer = path_[depth];
            const bool bandIsOpen = outer.bandIsOpen && outer.band == shownBy.band;
            const bool partIsOpen = bandIsOpen && outer.part == shownBy.index;
            const bool hasLevel = path_.size() > depth + 1;
            if (partIsOpen && hasLevel && path_[depth + 1].report == inner) continue;
            if (!partIsOpen || hasLevel) {
                closeTo(depth);
                closePart();
                if (!bandIsOpen) openForm(structure_->band(shownBy.band).kind, shownBy.band);
                openPart(shownBy);
            }
            level().partHasSections = true;
            json_.member("sections").open('[');
            path_.emplace_back().report = inner;
        }
        closeTo(chain.size() - 1);
    }

    // Closes the sub-reports below this depth.
    void closeTo(std::size_t depth) {
        while (path_.size() > depth + 1) {
            closeLevel();
            closePart();
        }
    }

    void closeLevel() {
        closeBand();
        closeTable();
        json_.close();
        path_.pop_back();
    }

    void closePart() {
        if (!level().part) return;
        if (!level().partHasSections) json_.member("sections").open('[').close();
        json_.close();
        level().part.reset();
    }

    void closeBand() {
        closePart();
        if (!level().bandIsOpen) return;
        json_.close().close();
        level().bandIsOpen = false;
        json_.lineEnd();
    }

    // Opens a section, or a row of the table, unless it is open.
    void openForm(BandKind kind, std::uint32_t entry, const char* content = "items") {
        closeBand();
        const bool inTable = entry != 0 && isOfTable(entry);
        if (inTable) {
            openTable(structure_->band(entry).report);
        } else {
            closeTable();
        }
        json_.open('{').member("kind").literal(nameOf(kind));
        if (kind == BandKind::GroupHeader || kind == BandKind::GroupFooter) addGroup(entry);
        json_.member(content).open('[');
        level().band = entry;
        level().bandIsOpen = true;
    }

    void addGroup(std::uint32_t entry) {
        const DocumentStructure::BandEntry& band = structure_->band(entry);
        const DetailGrid* const grid = structure_->report(band.report).grid;
        if (grid == nullptr || band.groupLevel < 0) return;
        const auto number = static_cast<std::size_t>(band.groupLevel);
        json_.member("level").number(band.groupLevel);
        if (number < grid->groups.size() && !grid->groups[number]->name.empty()) {
            json_.member("group").text(grid->groups[number]->name);
        }
    }

    void openPart(const ItemRole& role) {
        json_.open('{');
        addPlace(role);
        json_.member("kind").literal("\"report\"");
        level().part = role.index;
        level().partHasSections = false;
    }

    // Tables.

    void openTable(std::uint32_t report) {
        if (level().table) return;
        json_.open('{').member("kind").literal("\"table\"").member("columns").content();
        flush();
        TableHead head;
        head.names = structure_->report(report).columnNames;
        head.gap = addGap({true, 0});
        const std::shared_ptr<const std::vector<int>>& shown = structure_->report(report).columns;
        for (std::size_t i = 0; i < head.names->size(); ++i) {
            const bool isShown = !shown || i >= shown->size() || (*shown)[i] != DocumentStructure::kNoColumn;
            head.positions.push_back(isShown ? static_cast<int>(head.columns.size()) : -1);
            if (isShown) head.columns.push_back({{}, nullptr, i});
        }
        level().table = std::move(head);
        json_.member("rows").open('[').lineEnd();
    }

    // Many tables of sub-reports have the same columns, which are stored once.
    void closeTable() {
        if (!level().table) return;
        const TableHead head = std::move(*level().table);
        level().table.reset();
        json_.close().close().lineEnd();
        std::string text;
        appendColumns(text, head);
        const auto [known, isNew] = headIndex_.try_emplace(std::move(text), heads_.size());
        if (isNew) heads_.push_back(&known->first);
        gaps_[head.gap].index = known->second;
    }

    static void appendColumns(std::string& out, const TableHead& head) {
        JsonBuilder json(out);
        json.open('[');
        for (const TableHead::Column& column : head.columns) {
            json.lineEnd().open('{').member("name").text((*head.names)[column.index]);
            const auto& titles = column.titles;
            json.member("title").text(titles.empty() ? std::u16string() : titles.back().second);
            json.member("type").literal(column.type == nullptr ? "null"
                                                               : '"' + std::string(column.type) + '"');
            if (titles.size() > 1) {
                json.member("above").open('[');
                for (std::size_t i = 0; i + 1 < titles.size(); ++i) json.text(titles[i].second);
                json.close();
            }
            json.close();
        }
        json.close();
    }

    void takeTitles(const Items& items) {
        closeBand();
        openTable(level().report);
        TableHead& head = *level().table;
        if (!head.takesTitles) return;
        for (const Item* const item : items) {
            const auto* const text = std::get_if<TextItem>(&item->content);
            if (text == nullptr) continue;
            for (int column = item->role.column; column <= item->role.lastColumn; ++column) {
                const int position = positionOf(column);
                if (position < 0) continue;
                auto& titles = head.columns[static_cast<std::size_t>(position)].titles;
                const auto isHigher = [](const auto& a, const auto& b) { return a.first < b.first; };
                const std::pair<Micrometres, std::u16string> title{item->box.y, text->text};
                titles.insert(std::upper_bound(titles.begin(), titles.end(), title, isHigher), title);
            }
        }
    }

    // Of the grid's column in the open table; -1: none.
    int positionOf(int column) const {
        const std::vector<int>& positions = path_.back().table->positions;
        if (column < 0 || column >= static_cast<int>(positions.size())) return -1;
        return positions[static_cast<std::size_t>(column)];
    }

    // A row has a cell for each column; null: nothing is there, or another cell covers it.
    void writeRow(std::uint32_t entry, const Items& items) {
        openForm(BandKind::Row, entry, "cells");
        level().table->takesTitles = false;
        const std::size_t count = level().table->columns.size();
        const std::vector<Part> parts = partsOfRow(entry, items);
        std::vector<const Part*> cells(count, nullptr);
        Micrometres top = kLowest;
        for (const Part& part : parts) {
            const int position = positionOf(part.role->column);
            if (position >= 0) cells[static_cast<std::size_t>(position)] = &part;
            top = std::min(top, part.items.front()->box.y);
        }
        if (isMerged_) above_.resize(count, nullptr);
        for (std::size_t position = 0; position < count; ++position) {
            if (const Part* const part = cells[position]) {
                writeCell(entry, *part, position);
            } else {
                writeCovered(position, top);
            }
        }
        closeBand();
    }

    // In nearly all rows each item is a cell.
    std::vector<Part> partsOfRow(std::uint32_t entry, const Items& items) const {
        const bool isPlain = std::all_of(items.begin(), items.end(),
                                         [&](const Item* item) { return item->role.band == entry; });
        if (!isPlain) return partsOf(entry, items);
        std::vector<Part> parts;
        parts.reserve(items.size());
        for (Item* const item : items) parts.push_back({&item->role, {item}, false});
        return parts;
    }

    void writeCell(std::uint32_t entry, const Part& part, std::size_t position) {
        if (isMerged_) above_[position] = part.isNested ? nullptr : part.items.front();
        if (part.isNested) {
            openPart(*part.role);
            writeNested(entry, part);
        } else {
            noteType(position, *part.items.front());
            writeItem(*part.items.front(), part.role);
        }
    }

    // A merged cell of a row above may reach down to the row, which begins at `top`.
    void writeCovered(std::size_t position, Micrometres top) {
        const Item* const cell = isMerged_ ? above_[position] : nullptr;
        if (cell == nullptr || cell->box.bottom() <= top || isPending(*cell)) {
            json_.literal("null");
            return;
        }
        json_.open('{');
        appendMembers(json_, *cell);
        json_.member("merged").literal("true").close();
    }

    // Values of different types are texts to a column.
    void noteType(std::size_t position, const Item& item) {
        const char* const type = typeOf(item);
        const char*& known = level().table->columns[position].type;
        if (type == nullptr) return;
        known = known == nullptr || std::string_view(known) == type ? type : "text";
    }

    // Items.

    void writeForm(std::uint32_t entry, const Items& items) {
        const bool isOpen = level().bandIsOpen && level().band == entry;
        if (!isOpen) openForm(structure_->band(entry).kind, entry);
        closePart();
        for (const Part& part : partsOf(entry, items)) {
            if (part.isNested) {
                openPart(*part.role);
                writeNested(entry, part);
            } else if (hasContent(*part.items.front())) {
                writeItem(*part.items.front(), part.role);
            }
        }
    }

    // By control, as a person reads them: line by line, each from the left.
    std::vector<Part> partsOf(std::uint32_t entry, const Items& items) const {
        std::vector<Part> parts;
        std::unordered_map<std::uint32_t, std::size_t> byIndex;
        for (Item* const item : items) {
            const ItemRole* const role = roleIn(entry, *item);
            if (role == nullptr) continue;
            const auto [known, isNew] = byIndex.emplace(role->index, parts.size());
            if (isNew) parts.push_back({role, {}, false});
            Part& part = parts[known->second];
            // The box of a sub-report is decoration.
            if (role != &item->role && !part.isNested) part.items.clear();
            if (role == &item->role && part.isNested) continue;
            part.isNested = role != &item->role;
            part.items.push_back(item);
        }
        const auto isHigher = [](const Part& a, const Part& b) {
            return a.items.front()->box.y < b.items.front()->box.y;
        };
        const auto isFurtherLeft = [](const Part& a, const Part& b) {
            return a.items.front()->box.x < b.items.front()->box.x;
        };
        std::stable_sort(parts.begin(), parts.end(), isHigher);
        for (auto start = parts.begin(); start != parts.end();) {
            const Rect& box = start->items.front()->box;
            const Micrometres middle = box.y + box.height / 2;
            const auto end = std::find_if(
                start + 1, parts.end(), [&](const Part& part) { return part.items.front()->box.y > middle; });
            std::stable_sort(start, end, isFurtherLeft);
            start = end;
        }
        return parts;
    }

    // The role of the control of the band that shows the item; null: none does.
    const ItemRole* roleIn(std::uint32_t entry, const Item& item) const {
        const ItemRole* role = &item.role;
        while (role->band != 0 && role->band != entry) {
            role = &structure_->report(structure_->band(role->band).report).shownBy;
        }
        return role->band == 0 ? nullptr : role;
    }

    // The band of a sub-report in the band, which has the item, or shows it in turn.
    std::uint32_t nestedBand(std::uint32_t entry, const Item& item) const {
        for (std::uint32_t inner = item.role.band;;) {
            const std::uint32_t outer = structure_->report(structure_->band(inner).report).shownBy.band;
            if (outer == entry) return inner;
            inner = outer;
        }
    }

    // The bands of a sub-report are in their order.
    void writeNested(std::uint32_t entry, const Part& part) {
        const std::size_t depth = path_.size() - 1;
        for (std::size_t i = 0; i < part.items.size();) {
            const std::uint32_t inner = nestedBand(entry, *part.items[i]);
            Items items;
            for (; i < part.items.size() && nestedBand(entry, *part.items[i]) == inner; ++i) {
                items.push_back(part.items[i]);
            }
            const bool isMerged = std::exchange(isMerged_, false);
            place(inner, items);
            isMerged_ = isMerged;
        }
        closeTo(depth);
        closePart();
    }

    // The columns that the item covers, in the items of a table.
    void addPlace(const ItemRole& role) {
        if (!level().table || role.column < 0) return;
        const int position = positionOf(role.column);
        if (position < 0) return;
        int last = position;
        for (int column = role.column; column <= role.lastColumn; ++column) {
            last = std::max(last, positionOf(column));
        }
        const bool isCell = structure_->band(role.band).kind == BandKind::Row;
        if (!isCell) json_.member("column").number(position);
        if (last > position) json_.member("columns").number(last - position + 1);
    }

    void writeItem(Item& item, const ItemRole* role) {
        json_.open('{');
        const bool isCell = role != nullptr && structure_->band(role->band).kind == BandKind::Row &&
                            level().table.has_value();
        if (!isCell && item.control != nullptr && !item.control->name.empty()) {
            json_.member("name").text(item.control->name);
        }
        if (role != nullptr) addPlace(*role);
        if (isPending(item)) {
            flush();
            addGap({false, pending_.add(std::move(item)), json_.hasMembers()});
            json_.close();
        } else {
            appendMembers(json_, item);
            json_.close();
        }
    }

    static bool isPending(const Item& item) {
        const auto* const text = std::get_if<TextItem>(&item.content);
        return text != nullptr && text->pending;
    }

    std::size_t addGap(Gap gap) {
        stream_.mark();
        gaps_.push_back(gap);
        return gaps_.size() - 1;
    }

    void flush() {
        stream_.text() += buffer_;
        buffer_.clear();
    }

    static constexpr Micrometres kLowest = std::numeric_limits<Micrometres>::max();

    std::shared_ptr<const DocumentStructure> structure_;
    Spool& output_;
    TextStream stream_;
    std::string buffer_;  // what is not in the stream yet
    JsonBuilder json_{buffer_};
    std::vector<Level> path_;
    std::vector<Gap> gaps_;
    PendingItems pending_;
    std::unordered_map<std::string, std::size_t> headIndex_;
    std::vector<const std::string*> heads_;  // the columns of tables, each stored once
    bool isMerged_ = false;                  // the band has several rows
    std::vector<const Item*> above_;         // their last cells so far, by position
};

}  // namespace

std::unique_ptr<PageSink> makeJsonWriter(const DocumentInfo& info,
                                         std::shared_ptr<const DocumentStructure> structure, Spool& output) {
    return std::make_unique<JsonWriter>(info, std::move(structure), output);
}

}  // namespace qbsvrl6
