// Options of an export.
#include "qbsvrl6/api/export_kinds.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

// The handle's options as another type of handle, if the format fits it.
template <class View, class Fits>
View* viewIf(const char* function, tagQBExportOption* handle, Fits&& fits) {
    return withObject(function, handle, [&](ExportOptions& options, Runtime& owner) {
        return fits(options.kind) ? toHandle<View>(&options, owner) : nullptr;
    });
}

template <class Handle>
void setSwitch(const char* function, Handle* handle, bool ExportOptions::*option, int on) {
    withObject(function, handle, [&](ExportOptions& options) { options.*option = on != 0; });
}

}  // namespace

tagQBExportType QBExportOptionGetExportType(tagQBExportOption* handle) {
    return withObject(__func__, handle, [](const ExportOptions& options) {
        return static_cast<tagQBExportType>(static_cast<int>(options.kind));
    });
}

void QBExportOptionSetFileName(tagQBExportOption* handle, const lkchar* file) {
    withObject(__func__, handle, [&](ExportOptions& options) { options.fileName = textFrom(file); });
}

tagQBE2CellOption* QBExportOptionGetAsE2CellOption(tagQBExportOption* handle) {
    return viewIf<tagQBE2CellOption>(__func__, handle, isCellKind);
}

tagQBE2XLSOption* QBExportOptionGetAsE2XLSOption(tagQBExportOption* handle) {
    return viewIf<tagQBE2XLSOption>(__func__, handle,
                                    [](ExportKind kind) { return kind == ExportKind::Xls; });
}

tagQBE2IMGOption* QBExportOptionGetAsE2IMGOption(tagQBExportOption* handle) {
    return viewIf<tagQBE2IMGOption>(__func__, handle,
                                    [](ExportKind kind) { return kind == ExportKind::Image; });
}

tagQBE2PDFOption* QBExportOptionGetAsE2PDFOption(tagQBExportOption* handle) {
    return viewIf<tagQBE2PDFOption>(__func__, handle,
                                    [](ExportKind kind) { return kind == ExportKind::Pdf; });
}

void QBE2CellOptionSetSameAsPrint(tagQBE2CellOption* handle, int on) {
    setSwitch(__func__, handle, &ExportOptions::sameAsPrint, on);
}

void QBE2CellOptionSetExportPageBreak(tagQBE2CellOption* handle, int on) {
    setSwitch(__func__, handle, &ExportOptions::pageBreaks, on);
}

void QBE2CellOptionSetExportPageHeaderFooter(tagQBE2CellOption* handle, int on) {
    setSwitch(__func__, handle, &ExportOptions::pageHeadersAndFooters, on);
}

void QBE2CellOptionSetOnlyExportDetailGrid(tagQBE2CellOption* handle, int on) {
    setSwitch(__func__, handle, &ExportOptions::onlyDetailGrid, on);
}

void QBE2XLSOptionSetToXlsxFormat(tagQBE2XLSOption* handle, int on) {
    setSwitch(__func__, handle, &ExportOptions::xlsx, on);
}

void QBE2IMGOptionSetImageType(tagQBE2IMGOption* handle, tagQBImageType type) {
    withObject(__func__, handle, [&](ExportOptions& options) {
        options.imageKind = type == QBImageType_PNG ? ImageKind::Png : ImageKind::Tiff;
    });
}

void QBE2IMGOptionSetAllInOne(tagQBE2IMGOption* handle, int on) {
    setSwitch(__func__, handle, &ExportOptions::allPagesInOneImage, on);
}

void QBE2PDFOptionSetFontEmbedding(tagQBE2PDFOption* handle, int on) {
    setSwitch(__func__, handle, &ExportOptions::embedWholeFonts, on);
}
