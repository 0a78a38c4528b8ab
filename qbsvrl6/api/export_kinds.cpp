#include "qbsvrl6/api/export_kinds.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <utility>

#include "qbsvrl6/api/page_filter.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/layout/cell_columns.h"
#include "qbsvrl6/paint/pdf/pdf.h"
#include "qbsvrl6/paint/pdf/pdf_metadata.h"
#include "qbsvrl6/paint/raster/raster.h"
#include "qbsvrl6/sheet/writers.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/files.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

using Sink = std::unique_ptr<PageSink>;

bool isAccessible(const ReportDefinition& report, const ExportOptions& options) {
    return options.pdfAccessible.value_or(report.pdf.accessible);
}

// Attached files need PDF/A-3, and passwords no standard: a standard document can be read by
// everybody. A program may ask for another one than the template.
PdfStandard standardOf(const ExportJob& job) {
    const PdfSettings& settings = job.report.pdf;
    const bool hasFiles = !settings.attachments.empty();
    const bool isProtected = job.options.pdfProtection.isSet();
    const PdfStandard fallback = isProtected ? PdfStandard::None
                                 : hasFiles  ? PdfStandard::A3u
                                             : kDefaultStandard;
    const PdfStandard standard = job.options.pdfStandard.value_or(settings.standard.value_or(fallback));
    const Secret& password = job.options.pdfProtection.userPassword;
    if (password.isSet() && password.view().empty()) {
        throw EngineError(ErrorCode::NotSupported,
                          "user-password is empty: everybody could open the document");
    }
    if (isProtected && standard != PdfStandard::None) {
        throw EngineError(
            ErrorCode::NotSupported,
            "passwords and permissions exclude PDF/A, which everybody can read: the standard is \"none\"");
    }
    if (hasFiles && !allowsAttachments(standard)) {
        throw EngineError(
            ErrorCode::NotSupported,
            "this standard allows no attached files of any kind: \"a-3u\" and \"none\" do",
            {{}, job.report.placesOf(settings.attachments.front().name, TextUse::Address).front()});
    }
    if (isAccessible(job.report, job.options) && partOf(standard) == 1) {
        throw EngineError(ErrorCode::NotSupported,
                          "PDF/UA needs PDF 1.7, and \"a-1b\" is PDF 1.4: \"a-2a\" and \"a-2u\" go with it");
    }
    return standard;
}

// In UTC.
std::u16string now() {
    const std::time_t seconds = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(&text[0], sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return toUtf16(&text[0]);
}

bool hasSignatureBox(const ReportDefinition& report) {
    const std::vector<Control*> controls = allControls(const_cast<ReportDefinition&>(report));
    return std::any_of(controls.begin(), controls.end(), [](const Control* control) {
        if (const auto* inner = std::get_if<SubReportContent>(&control->content)) {
            return hasSignatureBox(inner->report->definition);
        }
        const auto* const box = std::get_if<BoxContent>(&control->content);
        return box != nullptr && box->isSignature;
    });
}

std::optional<PdfSignatureOptions> signatureOf(const ExportJob& job) {
    const PdfSigning& signing = job.options.pdfSigning;
    if (!signing.isSet()) {
        if (signing.password.isSet() || !signing.certificates.empty() || !signing.timeServer.empty()) {
            throw EngineError(ErrorCode::NotSupported, "there is no key to sign the document: set sign-key");
        }
        return std::nullopt;
    }
    if (job.options.pdfProtection.isSet()) {
        throw EngineError(ErrorCode::NotSupported,
                          "a document has either passwords and permissions or a signature");
    }
    constexpr std::size_t kMostBytes = 1u << 20;
    PdfSignatureOptions options;
    if (signing.isOnToken()) {
        options.key.token = signing.key;
    } else {
        options.key.container = readFile(signing.key, kMostBytes);
    }
    options.key.password = signing.password;
    if (!signing.certificates.empty()) options.key.certificates = readFile(signing.certificates, kMostBytes);
    options.reason = signing.reason;
    options.location = signing.location;
    options.date = pdfDate(job.options.created.empty() ? now() : job.options.created);
    options.hasBox = hasSignatureBox(job.report);
    if (signing.timeServer.empty()) return options;
    options.askTime = [server = toUtf16(signing.timeServer)](const std::string& request) {
        auto query = std::make_shared<WebRequest>();
        query->isPost = true;
        query->headers = {{"Content-Type", "application/timestamp-query"}};
        query->body = request;
        return fetch({server, {}, NamedBy::Program, {}, std::move(query)}, kMostBytes);
    };
    return options;
}

Sink makePdf(const ExportJob& job, Spool& output) {
    PdfOptions options;
    options.info = job.report.info;
    options.embedWholeFonts = job.options.embedWholeFonts;
    options.background = job.background;
    options.watermark = job.report.watermark;
    options.standard = standardOf(job);
    options.settings = job.report.pdf;
    options.protection = job.options.pdfProtection;
    options.signature = signatureOf(job);
    options.attachments = job.attachments;
    options.accessible = isAccessible(job.report, job.options);
    options.structure = job.structure;
    constexpr std::size_t kMostMetadata = 1u << 20;
    if (!job.options.pdfMetadata.empty()) {
        options.metadata = readMetadata(readFile(job.options.pdfMetadata, kMostMetadata));
    }
    if (!job.options.created.empty()) options.info.created = job.options.created;
    return makePdfWriter(options, output);
}

RasterOptions rasterOptions(const ExportJob& job) {
    return {job.options.imageResolution.value_or(job.report.imageResolution), job.options.allPagesInOneImage,
            job.background, job.report.watermark, job.furtherFiles};
}

Sink makePng(const ExportJob& job, Spool& output) { return makePngWriter(rasterOptions(job), output); }
Sink makeTiff(const ExportJob& job, Spool& output) { return makeTiffWriter(rasterOptions(job), output); }

WorkbookGrid workbookGridOf(const ExportJob& job) {
    WorkbookGrid result;
    const DetailGrid* const grid = job.grids->gridOf(job.report);
    if (grid == nullptr) return result;
    result.fixedColumns = grid->fixedColumns;
    for (const auto& column : grid->columns) result.columnOutlines.push_back(column->outline);
    result.hasSummariesAbove =
        !grid->groups.empty() && std::none_of(grid->groups.begin(), grid->groups.end(),
                                              [](const auto& group) { return group->footer; });
    const auto& cross = job.report.grid->cross;
    result.hasSummariesAtLeft =
        cross && std::any_of(cross->columns.begin(), cross->columns.end(), [](const CrossLevel& level) {
            return !level.total.empty() && level.totalPlace == TotalPlace::Before;
        });
    return result;
}

bool isWorkbook(ExportKind kind) { return kind == ExportKind::Xls || kind == ExportKind::Ods; }

SheetOptions sheetOptions(const ExportJob& job) {
    const CellColumns columns = isWorkbook(job.options.kind)          ? CellColumns::Grid
                                : job.options.kind == ExportKind::Csv ? CellColumns::Records
                                                                      : CellColumns::Page;
    const ReportDefinition& report = job.report;
    return {job.report.info,
            columnEdges(job.report, job.layout, columns, *job.grids),
            job.report.page,
            job.layout.paged,
            job.options.pageBreaks,
            job.background,
            job.report.watermark,
            job.options.onlyDetailGrid,
            completed(job.options.texts, job.options.kind == ExportKind::Txt ? report.txt : report.csv),
            job.options.defuseFormulas.value_or(job.report.defuseFormulas || job.defuseFormulas),
            columnMoves(job.report, job.layout, columns, *job.grids),
            job.report.workbook,
            workbookGridOf(job)};
}

Sink makeXlsx(const ExportJob& job, Spool& output) { return makeXlsxWriter(sheetOptions(job), output); }
Sink makeXls(const ExportJob& job, Spool& output) { return makeXlsWriter(sheetOptions(job), output); }
Sink makeOds(const ExportJob& job, Spool& output) { return makeOdsWriter(sheetOptions(job), output); }
Sink makeHtm(const ExportJob& job, Spool& output) { return makeHtmWriter(sheetOptions(job), output); }
Sink makeRtf(const ExportJob& job, Spool& output) { return makeRtfWriter(sheetOptions(job), output); }

// The writer, through a conversion if the document has another encoding.
template <class Make>
Sink makeText(const ExportJob& job, Spool& output, Make make) {
    const SheetOptions options = sheetOptions(job);
    if (options.texts.encoding.empty()) return make(options, output);
    return makeEncodedText(options.texts.encoding, output,
                           [&](Spool& plain) { return make(options, plain); });
}

Sink makeTxt(const ExportJob& job, Spool& output) { return makeText(job, output, makeTxtWriter); }
Sink makeCsv(const ExportJob& job, Spool& output) { return makeText(job, output, makeCsvWriter); }
Sink makeDocx(const ExportJob& job, Spool& output) {
    return makeDocxWriter(sheetOptions(job), job.report, output);
}
Sink makeJson(const ExportJob& job, Spool& output) {
    return makeJsonWriter(job.report.info, job.structure, output);
}

bool always(const ExportOptions&) { return true; }
bool asPng(const ExportOptions& options) { return options.imageKind == ImageKind::Png; }
bool asXlsx(const ExportOptions& options) { return options.xlsx; }

struct ExportForm {
    ExportKind kind;
    bool makesCells;
    bool (*chosen)(const ExportOptions& options);
    Sink (*make)(const ExportJob& job, Spool& output);
    LinkRules links;
};

constexpr LinkRules kNoLinks{0, false};
constexpr LinkRules kOfficeLinks{2'079, false};
constexpr LinkRules kHtmLinks{65'536, false};  // what every browser opens
constexpr LinkRules kPdfLinks{32'767, true};

// The first entry that fits the options makes the document.
constexpr ExportForm kForms[] = {
    {ExportKind::Pdf, false, always, makePdf, kPdfLinks},
    {ExportKind::Xls, true, asXlsx, makeXlsx, kOfficeLinks},
    {ExportKind::Xls, true, always, makeXls, kOfficeLinks},
    {ExportKind::Ods, true, always, makeOds, kOfficeLinks},
    {ExportKind::Htm, true, always, makeHtm, kHtmLinks},
    {ExportKind::Rtf, true, always, makeRtf, kOfficeLinks},
    {ExportKind::Txt, true, always, makeTxt, kNoLinks},
    {ExportKind::Csv, true, always, makeCsv, kNoLinks},
    {ExportKind::Docx, true, always, makeDocx, kOfficeLinks},
    {ExportKind::Json, true, always, makeJson, kHtmLinks},
    {ExportKind::Image, false, asPng, makePng, kNoLinks},
    {ExportKind::Image, false, always, makeTiff, kNoLinks},
};

// Null for a format without a writer.
const ExportForm* formFor(const ExportOptions& options) {
    const auto* const form =
        std::find_if(std::begin(kForms), std::end(kForms), [&](const ExportForm& candidate) {
            return candidate.kind == options.kind && candidate.chosen(options);
        });
    return form == std::end(kForms) ? nullptr : form;
}

}  // namespace

bool isCellKind(ExportKind kind) {
    return std::any_of(std::begin(kForms), std::end(kForms),
                       [&](const ExportForm& form) { return form.kind == kind && form.makesCells; });
}

LayoutOptions layoutOptionsFor(const ExportOptions& options) {
    LayoutOptions layout;
    if (const ExportForm* const form = formFor(options)) layout.links = form->links;
    if (!isCellKind(options.kind)) return layout;
    layout.drawText = false;
    layout.hidesText = isWorkbook(options.kind);
    layout.forWorkbook = isWorkbook(options.kind);
    // The grid alone is a table of data without pages, and JSON is data.
    layout.paged = options.sameAsPrint && !options.onlyDetailGrid && options.kind != ExportKind::Json;
    layout.pageHeadersAndFooters = options.pageHeadersAndFooters;
    layout.onlyDetailGrid = options.onlyDetailGrid;
    // Lines and page breaks don't matter to a table of plain text.
    layout.measureText = layout.paged || isWorkbook(options.kind) || options.kind == ExportKind::Rtf ||
                         options.kind == ExportKind::Docx;
    return layout;
}

std::shared_ptr<DocumentStructure> structureFor(const ReportDefinition& report,
                                                const ExportOptions& options) {
    if (options.kind == ExportKind::Json) return std::make_shared<DocumentStructure>();
    const PdfStandard standard = options.pdfStandard.value_or(report.pdf.standard.value_or(kDefaultStandard));
    const bool isTagged = levelOf(standard) == 'A' || isAccessible(report, options);
    if (options.kind != ExportKind::Pdf || !isTagged) return nullptr;
    return std::make_shared<DocumentStructure>();
}

std::unique_ptr<PageSink> makeSink(const ExportJob& job, Spool& output) {
    const ExportForm* const form = formFor(job.options);
    if (form == nullptr) {
        throw EngineError(ErrorCode::NotSupported, "this engine makes no documents of kind " +
                                                       std::to_string(static_cast<int>(job.options.kind)));
    }
    Sink sink = form->make(job, output);
    if (job.layout.paged && !job.options.pages.empty())
        return makePageFilter(job.options.pages, std::move(sink));
    return sink;
}

}  // namespace qbsvrl6
