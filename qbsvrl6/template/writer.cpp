#include <algorithm>
#include <span>

#include "qbsvrl6/model/connection.h"
#include "qbsvrl6/support/character_forms.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/xml_writer.h"
#include "qbsvrl6/template/schema.h"
#include "qbsvrl6/template/template_io.h"

namespace qbsvrl6 {

namespace {

// What all elements of a template share.
struct Writing {
    std::string& out;
    Relocation relocation;
    std::u16string connection;  // of the report that is being written
};

// One element being written: its start tag stays open until the first child.
class WriteElement {
public:
    WriteElement(Writing& writing, int depth, const char* name, int reportDepth)
        : writing_(writing), out_(writing.out), depth_(depth), name_(name), reportDepth_(reportDepth) {
        out_.append(2 * static_cast<std::size_t>(depth_), ' ');
        out_ += '<';
        out_ += name_;
        bare_ = out_.size();
    }

    template <class T, class Codec>
    void attribute(const char* name, const T& value, const T& fallback, const Codec& codec) {
        if (!(value == fallback)) write(name, codec.write(value));
    }

    template <class T, class Codec>
    void attribute(const char* name, const std::optional<T>& value, const Codec& codec) {
        if (value) write(name, codec.write(*value));
    }

    template <class T, class Codec>
    void required(const char* name, const T& value, const Codec& codec) {
        write(name, codec.write(value));
    }

    void address(const char* name, const Address& value) {
        if (!value.empty()) write(name, toUtf8(writing_.relocation.nameOf(value)));
    }
    void connection(const char* name, const Address& value, TextUse use) {
        connection_ = value.empty() ? writing_.connection : value.name;
        if (use == TextUse::ReportTable) writing_.connection = connection_;
        if (value.empty()) return;
        const std::optional<ConnectionParts> parts = connectionParts(value.name);
        if (!parts || parts->kind != SourceKind::Sqlite) return write(name, toUtf8(value.name));
        Address file = value;
        file.name = parts->rest;
        write(name, "sqlite:" + toUtf8(writing_.relocation.nameOf(file)));
    }
    // SQL of several lines is an element, where they remain lines.
    void query(const char* name, const Address& value) {
        const std::optional<ConnectionParts> parts = connectionParts(connection_);
        if (!parts || !parts->readsSql()) return address(name, value);
        if (!value.empty() && !hasLines(value)) write(name, toUtf8(value.name));
    }
    void queryText(const char* name, const Address& value) {
        const std::optional<ConnectionParts> parts = connectionParts(connection_);
        if (parts && parts->readsSql() && hasLines(value)) text(name, value.name);
    }
    void startingFolder(const char* name, const Address& value, const std::u16string& source) {
        if (!isRelative(source)) return;
        const std::u16string folder = writing_.relocation.nameOf(value);
        if (!folder.empty()) write(name, toUtf8(folder));
    }

    void styleReference(const char* name, const std::u16string& value) {
        attribute(name, value, {}, TextCodec{});
    }
    void columnReference(const char* name, const std::u16string& value) {
        attribute(name, value, {}, TextCodec{});
    }
    void pageReference(const char* name, const std::u16string& value) {
        attribute(name, value, {}, TextCodec{});
    }

    void tableName(const char* name, const std::u16string& value, TextUse) {
        attribute(name, value, {}, TextCodec{});
    }
    void returnName(const char* name, const std::u16string& value) { required(name, value, TextCodec{}); }
    void innerExpression(const char* name, const std::u16string& value) {
        required(name, value, ExpressionCodec{});
    }

    void placedName(const char* name, const std::u16string& value) {
        attribute(name, value, {}, TextCodec{});
    }

    void borders(const std::optional<BorderLine>& left, const std::optional<BorderLine>& top,
                 const std::optional<BorderLine>& right, const std::optional<BorderLine>& bottom) {
        if (left && left == top && left == right && left == bottom) {
            attribute("border", left, BorderLineCodec{});
            return;
        }
        attribute("borderLeft", left, BorderLineCodec{});
        attribute("borderTop", top, BorderLineCodec{});
        attribute("borderRight", right, BorderLineCodec{});
        attribute("borderBottom", bottom, BorderLineCodec{});
    }

    void paper(const PageSetup& page, const Size& own = PageSetup().paper);

    // An element with nothing in it is left out.
    template <class Describe>
    void child(const char* name, Describe&& describe) {
        const std::size_t start = out_.size();
        const bool wasOpen = hasContent_;
        WriteElement element = begin(name);
        describe(element);
        if (element.hasContent_ || out_.size() > element.bare_) {
            element.end();
        } else {
            out_.resize(start);
            hasContent_ = wasOpen;
        }
    }

    template <class Describe>
    void childWithout(const char* name, const char*, Describe&& describe) {
        child(name, describe);
    }

    template <class T, class Describe>
    void pointer(const char* name, const Owned<T>& value, Describe&& describe) {
        if (value) always(name, [&](WriteElement& element) { describe(element, *value); });
    }

    template <class T, class Describe>
    void pointerIf(bool applies, const char* name, const Owned<T>& value, Describe&& describe) {
        if (applies) pointer(name, value, describe);
    }

    template <class DescribeColumn, class DescribeSpan>
    void columnTree(const char* columnName, const char* spanName, const std::vector<Owned<Column>>& columns,
                    DescribeColumn&& describeColumn, DescribeSpan&& describeSpan) {
        writeColumns({columnName, spanName, 0}, columns, describeColumn, describeSpan);
    }

    template <class T, class Describe>
    void list(const char* name, const std::vector<T>& values, Describe&& describe) {
        for (const T& value : values) {
            always(name, [&](WriteElement& element) { describe(element, describedIn(value)); });
        }
    }

    template <class T, class IsOfKind, class Describe>
    void listOf(const char* name, const std::vector<T>& values, IsOfKind&&, Describe&& describe) {
        list(name, values, describe);
    }

    template <class T, class Describe>
    void namedList(const char* name, const std::vector<T>& values, std::size_t, Describe&& describe) {
        list(name, values, describe);
    }

    void refuse(bool, const char*) {}
    template <class Describe>
    void withoutReturns(Describe&& describe) {
        describe();
    }

    void bytes(const char* name, const std::string& value);
    void text(const char* name, const std::u16string& value);
    void controls(const ControlList& list);
    void library(const Include&) {}
    void cell(const char* name, const Control& control);
    void nestedReport(const char* name, const Owned<Report>& report);
    void checkReferences(const ReportDefinition&) {}
    void refuseChildren(std::initializer_list<const char*>, const char*) {}

    void end();

private:
    static bool hasLines(const Address& query) { return query.name.find(u'\n') != std::u16string::npos; }

    void write(const char* name, std::string_view value) {
        out_ += ' ';
        out_ += name;
        out_ += "=\"";
        const std::size_t start = out_.size();
        appendXmlValue(out_, value);
        reportReplaced(name, start, countReplacements(value));
        out_ += '"';
    }

    static std::size_t countReplacements(std::string_view text) {
        std::size_t count = 0;
        for (std::size_t at = 0; (at = text.find(kReplacementCharacter, at)) != std::string_view::npos; ++at)
            ++count;
        return count;
    }
    // Logs that the value, written from `start` on, has more replacement characters than it was given with.
    void reportReplaced(const char* name, std::size_t start, std::size_t given) const {
        if (countReplacements(std::string_view(out_).substr(start)) == given) return;
        logWarningOnce("\"" + std::string(name) + "\" of " + name_ +
                       " has characters that XML can't hold; they are saved as U+FFFD");
    }

    WriteElement begin(const char* name) {
        if (!hasContent_) out_ += ">\n";
        hasContent_ = true;
        return {writing_, depth_ + 1, name, reportDepth_};
    }

    template <class Describe>
    void always(const char* name, Describe&& describe) {
        WriteElement element = begin(name);
        describe(element);
        element.end();
    }

    struct ColumnTree {
        const char *columnName, *spanName;
        std::size_t level;  // of the titles that are written next
    };

    // Columns that are all below the same titles of the levels before.
    template <class DescribeColumn, class DescribeSpan>
    void writeColumns(const ColumnTree& tree, std::span<const Owned<Column>> columns,
                      DescribeColumn& describeColumn, DescribeSpan& describeSpan) {
        const auto spanOf = [&tree](const Owned<Column>& column) {
            return tree.level < column->titleSpans.size() ? column->titleSpans[tree.level].get() : nullptr;
        };
        while (!columns.empty()) {
            const TitleSpan* const span = spanOf(columns.front());
            const auto end = std::find_if(columns.begin() + 1, columns.end(), [&](const auto& column) {
                return span == nullptr || spanOf(column) != span;
            });
            const auto count = static_cast<std::size_t>(end - columns.begin());
            always(span == nullptr ? tree.columnName : tree.spanName, [&](WriteElement& element) {
                if (span == nullptr) return describeColumn(element, *columns.front());
                describeSpan(element, *span);
                element.writeColumns({tree.columnName, tree.spanName, tree.level + 1}, columns.first(count),
                                     describeColumn, describeSpan);
            });
            columns = columns.subspan(count);
        }
    }

    void writeControl(const Control& control, bool inCell);

    Writing& writing_;
    std::string& out_;
    int depth_;
    const char* name_;
    int reportDepth_;
    std::size_t bare_ = 0;  // the output's size after the element's name
    bool hasContent_ = false;
    std::u16string connection_;  // of a source of data, its own or an inherited one
};

void WriteElement::end() {
    if (!hasContent_) {
        out_ += "/>\n";
        return;
    }
    out_.append(2 * static_cast<std::size_t>(depth_), ' ');
    out_ += "</";
    out_ += name_;
    out_ += ">\n";
}

void WriteElement::paper(const PageSetup& page, const Size& own) {
    static const PageSetup defaults;
    const auto named = [&](bool landscape) {
        const Size portrait = landscape ? Size{page.paper.height, page.paper.width} : page.paper;
        return std::find_if(kPaperSizes.begin(), kPaperSizes.end(),
                            [&](const Word<Size>& word) { return word.value == portrait; });
    };
    if (page.paper == own) {
        // left out, like every default
    } else if (named(false) != kPaperSizes.end()) {
        write("size", named(false)->text);
    } else if (named(true) != kPaperSizes.end()) {
        write("size", named(true)->text);
        write("orientation", "landscape");
    } else {
        write("width", LengthCodec{}.write(page.paper.width));
        write("height", LengthCodec{}.write(page.paper.height));
    }
    attribute("margins", page.margins, defaults.margins, EdgesCodec{});
}

void WriteElement::bytes(const char* name, const std::string& value) {
    if (value.empty()) return;
    begin(name);
    out_ += '>';
    out_ += writeBase64(value);
    out_ += "</";
    out_ += name;
    out_ += ">\n";
}

void WriteElement::text(const char* name, const std::u16string& value) {
    if (value.empty()) return;
    begin(name);
    out_ += '>';
    const std::size_t start = out_.size();
    appendXmlText(out_, value);
    reportReplaced(name, start, static_cast<std::size_t>(std::count(value.begin(), value.end(), u'\uFFFD')));
    out_ += "</";
    out_ += name;
    out_ += ">\n";
}

void WriteElement::writeControl(const Control& control, bool inCell) {
    forEachControlKind([&](const char* name, auto&& empty, auto describeContent) {
        using Content = std::decay_t<decltype(empty)>;
        const Content* content = std::get_if<Content>(&control.content);
        if (content == nullptr) return;
        always(name, [&](WriteElement& element) {
            describeControlFrame(element, control, inCell);
            describeContent(element, *content);
            describeConditions(element, control);
        });
    });
}

// The controls of a part follow one another.
void WriteElement::controls(const ControlList& list) {
    const PartUse* written = nullptr;
    for (const auto& control : list.items) {
        const PartUse* const part = control->part.get();
        if (part == nullptr) {
            writeControl(*control, false);
        } else if (part != written) {
            always(kUsePart, [&](WriteElement& element) { describePartUse(element, *part); });
        }
        written = part;
    }
}

void WriteElement::cell(const char* name, const Control& control) {
    child(name, [&](WriteElement& element) {
        const auto* text = std::get_if<TextContent>(&control.content);
        if (text == nullptr) {
            element.writeControl(control, true);
            return;
        }
        describeControlFrame(element, control, true);
        describeText(element, *text);
        describeConditions(element, control);
    });
}

void WriteElement::nestedReport(const char* name, const Owned<Report>& report) {
    child(name, [&](WriteElement& element) {
        if (++element.reportDepth_ > limits::kSubReportDepth) {
            throw EngineError(ErrorCode::LimitExceeded, "sub-reports are nested deeper than " +
                                                            std::to_string(limits::kSubReportDepth));
        }
        const std::u16string outer = writing_.connection;
        describeReport(element, report->definition, ReportPlace::SubReport);
        writing_.connection = outer;
    });
}

}  // namespace

std::string writeTemplate(const ReportDefinition& definition, const std::string& folder) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    Writing writing{text, Relocation(folder), {}};
    WriteElement root(writing, 0, "Report", 0);
    root.required("version", kTemplateVersion, IntegerCodec{0, kTemplateVersion});
    describeReport(root, definition, ReportPlace::Root);
    root.end();
    return text;
}

void saveTemplate(const ReportDefinition& definition, const std::string& path) {
    const LogSubject subject(path);
    writeFile(path, writeTemplate(definition, directoryOf(path)));
}

}  // namespace qbsvrl6
