#include "qbsvrl6/sheet/ods/page_regions.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "qbsvrl6/sheet/ods/ods_styles.h"
#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

// A text, a page number (u'P') or a page count (u'N') in one font.
struct Run {
    CellStyle font;
    char16_t field = 0;
    std::u16string text;
};

// Left, middle, right.
using Regions = std::array<std::vector<Run>, 3>;

// Reads the code of a header: "&L&9&"SimSun,Bold"page &P / &N".
class CodeReader {
public:
    explicit CodeReader(std::u16string_view code) : code_(code) {}

    Regions read() {
        while (at_ < code_.size()) {
            const bool isCommand = code_[at_] == u'&' && at_ + 1 < code_.size();
            if (isCommand) {
                at_ += 2;
                readCommand(code_[at_ - 1]);
            } else {
                addText(code_[at_++]);
            }
        }
        return std::move(regions_);
    }

private:
    void readCommand(char16_t command) {
        const std::size_t region = std::u16string_view(u"LCR").find(command);
        if (region != std::u16string_view::npos) {
            region_ = region;
            font_ = plainFont();
        } else if (command == u'P' || command == u'N') {
            regions_[region_].push_back({font_, command, {}});
        } else if (command == u'"') {
            const std::size_t end = std::min(code_.find(u'"', at_), code_.size());
            readFont(code_.substr(at_, end - at_));
            at_ = end + 1;
        } else if (isDigit(command)) {
            font_.fontSize = command - u'0';
            for (; at_ < code_.size() && isDigit(code_[at_]); ++at_) {
                font_.fontSize = 10 * font_.fontSize + (code_[at_] - u'0');
            }
        } else {
            addText(command);
        }
    }

    // "SimSun,Bold Italic"; "-" is the usual font.
    void readFont(std::u16string_view name) {
        const std::size_t comma = std::min(name.find(u','), name.size());
        if (name.substr(0, comma) != u"-") font_.fontFamily = name.substr(0, comma);
        font_.bold = name.substr(comma).find(u"Bold") != name.npos;
        font_.italic = name.substr(comma).find(u"Italic") != name.npos;
    }

    void addText(char16_t unit) {
        std::vector<Run>& runs = regions_[region_];
        if (runs.empty() || runs.back().field != 0 || !(runs.back().font == font_))
            runs.push_back({font_, 0, {}});
        runs.back().text += unit;
    }

    static CellStyle plainFont() {
        CellStyle font;
        font.fontFamily = u"Arial";
        return font;
    }

    std::u16string_view code_;
    std::size_t at_ = 0;
    Regions regions_;
    std::size_t region_ = 1;
    CellStyle font_ = plainFont();
};

class PageStyleWriter {
public:
    explicit PageStyleWriter(const std::vector<PrintSetup>& papers)
        : papers_(papers), print_(papers.front()) {}

    // The header and footer are the same on all paper.
    std::string part() {
        const std::string header = regionsOf(print_.header.text());
        const std::string footer = regionsOf(print_.footer.text());
        std::string part;
        XmlWriter xml(part);
        openOdsPart(xml, "office:document-styles").open("office:styles");
        xml.open("style:style").attribute("style:name", "Default").attribute("style:family", "table-cell");
        xml.close().close().open("office:automatic-styles").lineEnd();
        for (std::size_t i = 0; i < papers_.size(); ++i) {
            writeLayout(xml, papers_[i].page, i + 1, {!header.empty(), !footer.empty()});
        }
        xml.content() += fonts_;
        xml.close().open("office:master-styles");
        for (std::size_t i = 1; i <= papers_.size(); ++i) {
            xml.open("style:master-page").attribute("style:name", masterPage(i));
            xml.attribute("style:page-layout-name", "pm", i);
            writePart(xml, "style:header", header);
            writePart(xml, "style:footer", footer);
            xml.close();
        }
        xml.close().close().lineEnd();
        return part;
    }

private:
    static void writePart(XmlWriter& xml, const char* name, const std::string& regions) {
        xml.open(name);
        if (regions.empty()) xml.attribute("style:display", "false");
        xml.content() += regions;
        xml.close();
    }

    std::string regionsOf(std::u16string_view code) {
        constexpr std::array kNames = {"style:region-left", "style:region-center", "style:region-right"};
        std::string out;
        XmlWriter xml(out);
        const Regions regions = CodeReader(code).read();
        for (std::size_t i = 0; i < regions.size(); ++i) {
            if (regions[i].empty()) continue;
            xml.open(kNames[i]).open("text:p");
            for (const Run& run : regions[i]) writeRun(xml, run);
            xml.close().close();
        }
        return out;
    }

    void writeRun(XmlWriter& xml, const Run& run) {
        XmlWriter fonts(fonts_);
        fonts.open("style:style").attribute("style:name", "T", ++fontCount_);
        fonts.attribute("style:family", "text");
        writeTextProperties(fonts, run.font);
        fonts.close().lineEnd();
        std::u16string_view text = run.text;
        while (true) {
            const std::size_t end = std::min(text.find(u'\n'), text.size());
            xml.open("text:span").attribute("text:style-name", "T", fontCount_);
            if (run.field != 0) {
                xml.element(run.field == u'P' ? "text:page-number" : "text:page-count", 1);
            } else {
                xml.text(text.substr(0, end));
            }
            xml.close();
            if (end == text.size()) return;
            xml.close().open("text:p");
            text.remove_prefix(end + 1);
        }
    }

    // The header and footer are within the page margins.
    struct Has {
        bool header, footer;
    };
    void writeLayout(XmlWriter& xml, const PageSetup& page, std::size_t number, Has has) const {
        const Size paper = page.paper;
        const Edges& margins = page.margins;
        xml.open("style:page-layout").attribute("style:name", "pm", number);
        xml.open("style:page-layout-properties");
        xml.attribute("fo:page-width", OdsLength{paper.width})
            .attribute("fo:page-height", OdsLength{paper.height});
        xml.attribute("style:print-orientation", paper.width > paper.height ? "landscape" : "portrait");
        xml.attribute("fo:margin-top", OdsLength{std::max(margins.top, 0)});
        xml.attribute("fo:margin-bottom", OdsLength{std::max(margins.bottom, 0)});
        xml.attribute("fo:margin-left", OdsLength{std::max(margins.left, 0)});
        xml.attribute("fo:margin-right", OdsLength{std::max(margins.right, 0)});
        if (print_.paged) {
            xml.attribute("style:scale-to", papers_[number - 1].scale(), std::string_view("%"));
        } else {
            xml.attribute("style:scale-to-X", 1).attribute("style:scale-to-Y", 0);
        }
        xml.close();
        writeRoom(xml, "style:header-style", has.header ? print_.header.height() : 0);
        writeRoom(xml, "style:footer-style", has.footer ? print_.footer.height() : 0);
        xml.close().lineEnd();
    }

    static void writeRoom(XmlWriter& xml, const char* name, Micrometres height) {
        xml.open(name);
        if (height > 0) {
            xml.open("style:header-footer-properties").attribute("fo:min-height", OdsLength{height});
            xml.attribute("fo:margin-top", OdsLength{0}).attribute("fo:margin-bottom", OdsLength{0}).close();
        }
        xml.close();
    }

    const std::vector<PrintSetup>& papers_;
    const PrintSetup& print_;
    std::string fonts_;
    int fontCount_ = 0;
};

}  // namespace

void OdsPapers::add(PrintSetup print) {
    const auto known = std::find_if(papers_.begin(), papers_.end(), [&](const PrintSetup& paper) {
        return paper.page.paper == print.page.paper && paper.page.margins == print.page.margins;
    });
    ofSheets_.push_back(static_cast<std::size_t>(known - papers_.begin()) + 1);
    if (known == papers_.end()) papers_.push_back(std::move(print));
}

std::string masterPage(std::size_t paper) { return paper == 1 ? "Default" : "Page" + std::to_string(paper); }

std::string pageStyles(const std::vector<PrintSetup>& papers) { return PageStyleWriter(papers).part(); }

}  // namespace qbsvrl6
