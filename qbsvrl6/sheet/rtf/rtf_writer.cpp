// RTF with real tables. Each printed page's header and footer are those of a section; as long as the next
// page has the same ones but for its number, the section goes on, and the numbers are fields that the word
// processor counts. What is the same is known when all pages are there, so that the places between pages are
// filled last, and the tables of fonts and colours with the head of the file.
#include <algorithm>
#include <utility>

#include "qbsvrl6/sheet/grid/cell_sink.h"
#include "qbsvrl6/sheet/rtf/rtf_table.h"
#include "qbsvrl6/sheet/text_stream.h"
#include "qbsvrl6/sheet/workbook/page_frames.h"

namespace qbsvrl6 {

namespace {

// Gaps below this are rounding.
constexpr Micrometres kLeastGap = 500;
// A page leaves this to the word processor, whose rows are a trace higher than ours.
constexpr Micrometres kSlack = 4'000;

// The widest paper that word processors take: 22 inches.
constexpr Micrometres kMaxPaper = 558'800;

// A paragraph of just this height; it ends the table before it.
void appendGap(std::string& out, Micrometres height, const char* content = "") {
    appendCommand(out, "\\pard\\plain\\fs2\\sl-", std::max(twips(height), 20));
    out += "\\slmult0";
    out += content;
    out += "\\par\n";
}

class RtfWriter final : public CellSink {
public:
    RtfWriter(const SheetOptions& options, std::string& output)
        : CellSink(options, GridFit::Exact),
          options_(options),
          output_(output),
          frameGrid_(options.cuts, options.page.paper.width, GridFit::Exact),
          table_(grid(), options.cuts.empty() ? 0 : options.cuts.front() - options.page.margins.left) {}

private:
    // What is written last: the beginning of a page, or a late text.
    struct OpenPlace {
        bool isPage;
        std::size_t index;
    };
    enum class Part { None, Rows, Titles };

    void openPage(const PageInfo&, bool) override {
        open({true, frames_.size()});
        frames_.emplace_back();
        part_ = Part::None;
        headerHeight_ = 0;
    }

    void open(OpenPlace place) {
        stream_.mark();
        places_.push_back(place);
    }

    bool keepBand(Band& band, Micrometres x, Micrometres y) override {
        const bool isHeader = band.kind == BandKind::PageHeader;
        if (!options_.paged || (!isHeader && band.kind != BandKind::PageFooter)) return false;
        PlacedBand& kept = (isHeader ? frames_.back().header : frames_.back().footer).emplace_back();
        for (const Item& item : band.items) kept.late.push_back(isPending(item));
        if (isHeader) {
            headerHeight_ = std::max(headerHeight_, y + band.height - options_.page.margins.top);
        }
        kept.band = std::move(band);
        kept.x = x;
        kept.y = y;
        return true;
    }

    void writeRows(const Band& band, std::span<const CellRow> rows) override {
        // Titles that repeat must be the first rows of a table.
        const Part part = band.kind == BandKind::GridTitle ? Part::Titles : Part::Rows;
        const bool beginsTable = part == Part::Titles && part_ == Part::Rows;
        // The first rows of a page follow its header.
        const Micrometres gap = rows.front().gap - (part_ == Part::None ? headerHeight_ : 0);
        if (beginsTable || gap >= kLeastGap) appendGap(stream_.text(), gap);
        part_ = part;
        table_.append(stream_.text(), rows, part == Part::Titles && !options_.paged,
                      [&](std::string& out, Item& item) { appendText(out, item); });
        stream_.breathe();
    }

    static const char* lineEndOf(const Item& item) {
        const bool justified = item.style && item.style->align == HorizontalAlign::Justify;
        return justified ? kParagraph : kLineBreak;
    }

    void appendText(std::string& out, Item& item) {
        if (isPending(item)) {
            open({false, late_.size()});
            late_.push_back(std::move(item));
        } else {
            appendRtf(out, textOf(item), lineEndOf(item));
        }
    }

    void close(PendingTexts& pending) override {
        for (PageFrame& frame : frames_) {
            settle(frame.header, pending);
            settle(frame.footer, pending);
        }
        const std::vector<std::string> pages = pageBeginnings();
        output_ += "{\\rtf1\\ansi\\ansicpg1252\\uc1\\deff0\n";
        table_.looks().appendTables(output_);
        appendInfo(output_);
        appendPaper(output_);
        stream_.moveTo(output_, [&](std::size_t number, std::string& out) {
            const OpenPlace& place = places_[number];
            if (place.isPage) {
                out += pages[place.index];
            } else {
                pending.settle(late_[place.index]);
                appendRtf(out, textOf(late_[place.index]), lineEndOf(late_[place.index]));
            }
        });
        // The last paragraph, which must not make a page of its own.
        output_ += "\\pard\\plain\\fs2\\sl-20\\slmult0\n}\n";
    }

    static void settle(std::vector<PlacedBand>& bands, PendingTexts& pending) {
        for (PlacedBand& placed : bands) {
            for (Item& item : placed.band.items) {
                if (isPending(item)) pending.settle(item);
            }
        }
    }

    // For each page: a section's beginning, or a page break within its section.
    std::vector<std::string> pageBeginnings() {
        std::vector<std::string> pages;
        std::size_t sectionStart = 0;
        for (std::size_t i = 0; i < frames_.size(); ++i) {
            std::string& out = pages.emplace_back();
            if (i > 0 && sameFrame(frames_[sectionStart], static_cast<int>(sectionStart) + 1, frames_[i],
                                   static_cast<int>(i) + 1)) {
                if (options_.pageBreaks) appendGap(out, 0, "\\page");
                continue;
            }
            if (i > 0) {
                appendGap(out, 0);
                out += options_.pageBreaks ? "\\sect" : "\\sect\\sbknone";
            }
            sectionStart = i;
            if (options_.paged) appendSection(out, i);
        }
        return pages;
    }

    void appendSection(std::string& out, std::size_t index) {
        const PageFrame& frame = frames_[index];
        const PageSetup& page = options_.page;
        Micrometres top = page.margins.top;
        for (const PlacedBand& placed : frame.header) top = std::max(top, placed.y + placed.band.height);
        Micrometres bottom = page.margins.bottom;
        for (const PlacedBand& placed : frame.footer) bottom = std::max(bottom, page.paper.height - placed.y);
        out += options_.pageBreaks || index == 0 ? "\\sectd\\sbkpage" : "\\sectd\\sbknone";
        appendCommand(out, "\\headery", twips(page.margins.top));
        appendCommand(out, "\\footery", twips(std::max(page.margins.bottom - kSlack, 0)));
        appendCommand(out, "\\margtsxn", twips(top));
        // Where no footer stands, all of the margin is left: the page ends by its break.
        const Micrometres slack = frame.footer.empty() ? bottom : kSlack;
        appendCommand(out, "\\margbsxn", twips(std::max(bottom - slack, 0)));
        out += '\n';
        // The next page tells which numbers are the page's own.
        const std::size_t next =
            index + 1 < frames_.size() && sameFrame(frame, static_cast<int>(index) + 1, frames_[index + 1],
                                                    static_cast<int>(index) + 2)
                ? index + 1
                : index;
        appendFramePart(out, "{\\header\n", frames_[index].header, frames_[next].header, index, next);
        appendFramePart(out, "{\\footer\n", frames_[index].footer, frames_[next].footer, index, next);
    }

    void appendFramePart(std::string& out, const char* start, std::vector<PlacedBand>& bands,
                         const std::vector<PlacedBand>& others, std::size_t index, std::size_t next) {
        if (bands.empty()) return;
        out += start;
        frameGrid_.beginPage(bands.front().y);
        for (std::size_t i = 0; i < bands.size(); ++i) {
            PlacedBand& placed = bands[i];
            const std::span<const CellRow> rows = frameGrid_.place(placed.band, placed.x, placed.y);
            table_.append(out, rows, false, [&](std::string& text, Item& item) {
                const auto number = static_cast<std::size_t>(&item - placed.band.items.data());
                appendNumbered(text, item, others[i].band.items[number], placed.late[number], index, next);
            });
        }
        appendGap(out, 0);
        out += "}\n";
    }

    // A text with fields for the numbers in it.
    void appendNumbered(std::string& out, const Item& item, const Item& other, bool mayCount,
                        std::size_t index, std::size_t next) {
        const std::u16string_view text = textOf(item);
        const auto fields =
            findNumbers(text, static_cast<int>(index) + 1, textOf(other), static_cast<int>(next) + 1,
                        mayCount ? static_cast<int>(frames_.size()) : 0);
        std::size_t from = 0;
        if (fields) {
            for (const NumberField& field : *fields) {
                appendRtf(out, text.substr(from, field.start - from));
                out += field.kind == NumberField::Kind::Page
                           ? "{\\field{\\*\\fldinst{ PAGE }}{\\fldrslt{"
                           : "{\\field{\\*\\fldinst{ NUMPAGES }}{\\fldrslt{";
                appendRtf(out, text.substr(field.start, field.length));
                out += "}}}";
                from = field.start + field.length;
            }
        }
        appendRtf(out, text.substr(from));
    }

    void appendInfo(std::string& out) const {
        out += "{\\info";
        const auto add = [&](const char* start, const std::u16string& text) {
            if (text.empty()) return;
            out += start;
            appendRtf(out, text);
            out += '}';
        };
        add("{\\title ", options_.info.title);
        add("{\\subject ", options_.info.subject);
        add("{\\author ", options_.info.author);
        add("{\\keywords ", options_.info.keywords);
        out += "}\n";
    }

    // Where tables run on, a paper too narrow for them would cut them off.
    Micrometres paperWidth() const {
        if (options_.paged || options_.cuts.empty()) return options_.page.paper.width;
        const Micrometres wanted = options_.cuts.back() + options_.page.margins.right;
        return std::max(options_.page.paper.width, std::min(wanted, kMaxPaper));
    }

    void appendPaper(std::string& out) const {
        const PageSetup& page = options_.page;
        appendCommand(out, "\\paperw", twips(paperWidth()));
        appendCommand(out, "\\paperh", twips(page.paper.height));
        if (paperWidth() > page.paper.height) out += "\\landscape";
        appendCommand(out, "\\margl", twips(page.margins.left));
        appendCommand(out, "\\margr", twips(page.margins.right));
        appendCommand(out, "\\margt", twips(page.margins.top));
        appendCommand(out, "\\margb", twips(page.margins.bottom));
        out += "\n";
    }

    SheetOptions options_;
    std::string& output_;
    CellGrid frameGrid_;
    RtfTable table_;
    TextStream stream_;
    std::vector<OpenPlace> places_;  // by the stream's marks
    std::vector<PageFrame> frames_;  // by page
    std::vector<Item> late_;
    Micrometres headerHeight_ = 0;  // of the page under way
    Part part_ = Part::None;
};

}  // namespace

std::unique_ptr<PageSink> makeRtfWriter(const SheetOptions& options, std::string& output) {
    return std::make_unique<RtfWriter>(options, output);
}

}  // namespace qbsvrl6
