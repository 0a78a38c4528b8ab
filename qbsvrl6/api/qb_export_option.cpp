// Options of an export.
#include "qbsvrl6/api/export_kinds.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

// The options behind the handle under another type, if they are of a fitting kind.
template <class View, class Fits>
View* viewIf(tagQBExportOption* handle, Fits&& fits) {
    ExportOptions* options = optionsFrom(handle);
    return options != nullptr && fits(options->kind) ? toHandle<View>(options) : nullptr;
}

template <class Handle>
void setSwitch(Handle* handle, bool ExportOptions::*option, int on) {
    if (ExportOptions* options = optionsFrom(handle)) options->*option = on != 0;
}

}  // namespace

tagQBExportType QBExportOptionGetExportType(tagQBExportOption* option) {
    const ExportOptions* options = optionsFrom(option);
    return static_cast<tagQBExportType>(options == nullptr ? 0 : static_cast<int>(options->kind));
}

void QBExportOptionSetFileName(tagQBExportOption* option, const lkchar* file) {
    guarded("QBExportOptionSetFileName", [&] {
        if (ExportOptions* options = optionsFrom(option)) options->fileName = textFrom(file);
    });
}

tagQBE2CellOption* QBExportOptionGetAsE2CellOption(tagQBExportOption* option) {
    return viewIf<tagQBE2CellOption>(option, isCellKind);
}

tagQBE2XLSOption* QBExportOptionGetAsE2XLSOption(tagQBExportOption* option) {
    return viewIf<tagQBE2XLSOption>(option, [](ExportKind kind) { return kind == ExportKind::Xls; });
}

tagQBE2IMGOption* QBExportOptionGetAsE2IMGOption(tagQBExportOption* option) {
    return viewIf<tagQBE2IMGOption>(option, [](ExportKind kind) { return kind == ExportKind::Image; });
}

tagQBE2PDFOption* QBExportOptionGetAsE2PDFOption(tagQBExportOption* option) {
    return viewIf<tagQBE2PDFOption>(option, [](ExportKind kind) { return kind == ExportKind::Pdf; });
}

void QBE2CellOptionSetSameAsPrint(tagQBE2CellOption* option, int on) {
    setSwitch(option, &ExportOptions::sameAsPrint, on);
}

void QBE2CellOptionSetExportPageBreak(tagQBE2CellOption* option, int on) {
    setSwitch(option, &ExportOptions::pageBreaks, on);
}

void QBE2CellOptionSetExportPageHeaderFooter(tagQBE2CellOption* option, int on) {
    setSwitch(option, &ExportOptions::pageHeadersAndFooters, on);
}

void QBE2CellOptionSetOnlyExportDetailGrid(tagQBE2CellOption* option, int on) {
    setSwitch(option, &ExportOptions::onlyDetailGrid, on);
}

void QBE2XLSOptionSetToXlsxFormat(tagQBE2XLSOption* option, int on) {
    setSwitch(option, &ExportOptions::xlsx, on);
}

void QBE2IMGOptionSetImageType(tagQBE2IMGOption* option, tagQBImageType type) {
    if (ExportOptions* options = optionsFrom(option)) {
        options->imageKind = type == QBImageType_PNG ? ImageKind::Png : ImageKind::Tiff;
    }
}

void QBE2IMGOptionSetAllInOne(tagQBE2IMGOption* option, int on) {
    setSwitch(option, &ExportOptions::allPagesInOneImage, on);
}

void QBE2PDFOptionSetFontEmbedding(tagQBE2PDFOption* option, int on) {
    setSwitch(option, &ExportOptions::embedWholeFonts, on);
}
