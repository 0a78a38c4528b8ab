#include "qbsvrl6/api/formats.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "qbsvrl6/api/process_settings.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/suggestion.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/text_values.h"
#include "qbsvrl6/template/values.h"

namespace qbsvrl6 {

namespace {

constexpr Format kFormats[] = {
    {"pdf", "", "PDF document", ExportKind::Pdf},
    {"xlsx", "", "Excel workbook", ExportKind::Xls, ImageKind::Tiff, true},
    {"xls", "", "Excel 97-2003 workbook", ExportKind::Xls},
    {"ods", "", "OpenDocument spreadsheet", ExportKind::Ods},
    {"docx", "", "Word document", ExportKind::Docx},
    {"rtf", "", "RTF document", ExportKind::Rtf},
    {"html", "htm", "web page", ExportKind::Htm},
    {"txt", "text", "plain text", ExportKind::Txt},
    {"csv", "", "comma-separated values", ExportKind::Csv},
    {"json", "", "rows, totals and texts for programs", ExportKind::Json},
    {"tiff", "tif", "TIFF image, all pages in one file", ExportKind::Image, ImageKind::Tiff},
    {"png", "", "PNG image, one file per page", ExportKind::Image, ImageKind::Png},
};

[[noreturn]] void fail(const std::string& message) { throw EngineError(ErrorCode::NotSupported, message); }

// The name in quotes among those that exist.
std::string unknown(std::string_view what, std::string_view name, std::span<const std::string_view> names) {
    std::vector<std::u16string> wide;
    for (const std::string_view known : names) wide.push_back(toUtf16(known));
    const std::vector<std::u16string_view> views(wide.begin(), wide.end());
    return "there is no " + std::string(what) + " \"" + std::string(name) + "\"; " +
           suggestion(toUtf16(name), views);
}

int numberFrom(std::string_view digits, std::string_view range) {
    int number = 0;
    for (const char c : digits) {
        if (!isDigit(c) || number > 100'000'000) number = -1;
        if (number < 0) break;
        number = 10 * number + (c - '0');
    }
    if (digits.empty() || number <= 0) {
        fail("\"" + std::string(range) +
             "\" is no range of pages; ranges look like \"3\", \"1-3\" and \"2-\"");
    }
    return number;
}

std::vector<PageRange> rangesFrom(std::string_view text) {
    std::vector<PageRange> ranges;
    std::string plain(text);
    std::erase(plain, ' ');
    for (std::string_view rest = plain; !rest.empty();) {
        const std::size_t comma = rest.find(',');
        std::string_view range = rest.substr(0, comma);
        rest.remove_prefix(comma == std::string_view::npos ? rest.size() : comma + 1);
        const std::size_t dash = range.find('-');
        PageRange pages;
        pages.first = numberFrom(range.substr(0, dash), range);
        pages.last = dash == std::string_view::npos ? pages.first
                     : dash + 1 == range.size()     ? std::numeric_limits<int>::max()
                                                    : numberFrom(range.substr(dash + 1), range);
        if (pages.last < pages.first) fail("the range of pages \"" + std::string(range) + "\" is backwards");
        ranges.push_back(pages);
    }
    return ranges;
}

void setLayout(ExportOptions& options, std::string_view value) {
    if (value != "pages" && value != "table" && value != "grid") {
        fail("the layout \"" + std::string(value) + "\" is none of \"pages\", \"table\", \"grid\"");
    }
    options.sameAsPrint = value == "pages";
    options.onlyDetailGrid = value == "grid";
}

void setResolution(ExportOptions& options, std::string_view value) {
    constexpr int kLeast = 36, kMost = 1'200;
    int dots = 0;
    for (const char c : value) dots = isDigit(c) && dots <= kMost ? 10 * dots + (c - '0') : kMost + 1;
    if (dots < kLeast || dots > kMost) {
        fail("the resolution \"" + std::string(value) + "\" is no whole number from " +
             std::to_string(kLeast) + " to " + std::to_string(kMost));
    }
    options.imageResolution = dots;
}

struct Option {
    std::string_view name;
    void (*set)(ExportOptions& options, std::string_view value);
};

template <bool ExportOptions::*member>
void setSwitch(ExportOptions& options, std::string_view value) {
    options.*member = switchFrom(std::string(value));
}

// A value as templates have it.
template <class Codec, auto member>
void setValue(ExportOptions& options, std::string_view value) {
    try {
        options.*member = Codec{}.read(value);
    } catch (const ValueError& error) {
        fail('"' + std::string(value) + "\": " + error.what());
    }
}

template <class Codec, auto member>
void setText(ExportOptions& options, std::string_view value) {
    try {
        options.texts.*member = Codec{}.read(value);
    } catch (const ValueError& error) {
        fail('"' + std::string(value) + "\": " + error.what());
    }
}

// A list of what is allowed.
void setPermissions(ExportOptions& options, std::string_view value) {
    using P = PdfPermissions;
    constexpr std::pair<std::string_view, std::uint32_t> kKnown[] = {
        {"none", 0},
        {"print", P::kPrint | P::kPrintCoarsely},
        {"print-coarsely", P::kPrintCoarsely},
        {"copy", P::kCopy},
        {"change", P::kChange | P::kAnnotate | P::kFillForms | P::kAssemble},
        {"annotate", P::kAnnotate | P::kFillForms},
        {"fill-forms", P::kFillForms},
        {"assemble", P::kAssemble}};
    options.pdfProtection.permissions = 0;
    while (!value.empty()) {
        const std::string_view name = value.substr(0, value.find(','));
        value.remove_prefix(std::min(value.size(), name.size() + 1));
        const auto* const known = std::find_if(std::begin(kKnown), std::end(kKnown),
                                               [&](const auto& one) { return one.first == name; });
        if (known == std::end(kKnown)) {
            std::vector<std::string_view> names;
            for (const auto& one : kKnown) names.push_back(one.first);
            fail(unknown("permission", name, names));
        }
        options.pdfProtection.permissions |= known->second;
    }
}

constexpr Option kOptions[] = {
    {"pages", [](ExportOptions& options, std::string_view value) { options.pages = rangesFrom(value); }},
    {"layout", setLayout},
    {"page-breaks", setSwitch<&ExportOptions::pageBreaks>},
    {"page-headers", setSwitch<&ExportOptions::pageHeadersAndFooters>},
    {"resolution", setResolution},
    {"all-in-one", setSwitch<&ExportOptions::allPagesInOneImage>},
    {"whole-fonts", setSwitch<&ExportOptions::embedWholeFonts>},
    {"ua", [](ExportOptions& options,
              std::string_view value) { options.pdfAccessible = switchFrom(std::string(value)); }},
    {"standard", setValue<PdfStandardCodec, &ExportOptions::pdfStandard>},
    {"created", setValue<MomentCodec, &ExportOptions::created>},
    {"xmp", [](ExportOptions& options, std::string_view value) { options.pdfMetadata = value; }},
    {"user-password", [](ExportOptions& options,
                         std::string_view value) { options.pdfProtection.userPassword = Secret(value); }},
    {"owner-password", [](ExportOptions& options,
                          std::string_view value) { options.pdfProtection.ownerPassword = Secret(value); }},
    {"permissions", setPermissions},
    {"sign-key", [](ExportOptions& options, std::string_view value) { options.pdfSigning.key = value; }},
    {"sign-certificates",
     [](ExportOptions& options, std::string_view value) { options.pdfSigning.certificates = value; }},
    {"sign-password",
     [](ExportOptions& options, std::string_view value) { options.pdfSigning.password = Secret(value); }},
    {"sign-reason",
     [](ExportOptions& options, std::string_view value) { options.pdfSigning.reason = toUtf16(value); }},
    {"sign-location",
     [](ExportOptions& options, std::string_view value) { options.pdfSigning.location = toUtf16(value); }},
    {"sign-time-server",
     [](ExportOptions& options, std::string_view value) { options.pdfSigning.timeServer = value; }},
    {"csv.values", setText<CsvValuesCodec, &TextSettings::values>},
    {"csv.separator", setText<CsvSeparatorCodec, &TextSettings::separator>},
    {"csv.quotes", setText<CsvQuotesCodec, &TextSettings::quotes>},
    {"text.line-ends", setText<LineEndsCodec, &TextSettings::lineEnds>},
    {"text.encoding", setText<TextEncodingCodec, &TextSettings::encoding>},
    {"txt.widths", setText<TextWidthsCodec, &TextSettings::widths>},
    {"csv.defuse", [](ExportOptions& options,
                      std::string_view value) { options.defuseFormulas = switchFrom(std::string(value)); }},
};

}  // namespace

std::span<const Format> formats() { return kFormats; }

ExportOptions optionsFor(std::string_view formatName) {
    const std::string name = toUtf8(lowerCase(toUtf16(formatName)));
    const auto* const format =
        std::find_if(std::begin(kFormats), std::end(kFormats), [&](const Format& known) {
            return name == known.name || (name == known.otherName && !name.empty());
        });
    if (format == std::end(kFormats)) {
        std::vector<std::string_view> names;
        for (const Format& known : kFormats) names.push_back(known.name);
        fail(unknown("format", formatName, names));
    }
    ExportOptions options;
    options.kind = format->kind;
    options.imageKind = format->imageKind;
    options.xlsx = format->xlsx;
    return options;
}

void setOption(ExportOptions& options, std::string_view name, std::string_view value) {
    const auto* const option = std::find_if(std::begin(kOptions), std::end(kOptions),
                                            [&](const Option& known) { return known.name == name; });
    if (option == std::end(kOptions)) {
        std::vector<std::string_view> names;
        for (const Option& known : kOptions) names.push_back(known.name);
        fail(unknown("option", name, names));
    }
    option->set(options, value);
}

}  // namespace qbsvrl6
