#include "driver/events.h"

#include <cstdio>

using namespace quillbrook;

void CqbExportBeginEventInfo::Execute(tagQBExportOption* option) {
    if (QBExportOptionGetExportType(option) != QBExportType_IMG) return;
    QBE2IMGOptionSetAllInOne(QBExportOptionGetAsE2IMGOption(option), true);
}

void CqbExportBeginEventInfo2::Execute(tagQBExportOption* option) {
    if (QBExportOptionGetExportType(option) != QBExportType_PDF) return;
    QBE2PDFOptionSetFontEmbedding(QBExportOptionGetAsE2PDFOption(option), true);
}

void CqbExportBeginEventXLSX::Execute(tagQBExportOption* option) {
    if (QBExportOptionGetExportType(option) != QBExportType_XLS) return;
    QBE2XLSOptionSetToXlsxFormat(QBExportOptionGetAsE2XLSOption(option), true);
}

void CqbInitializeEventInfo::Execute() { std::puts("OnInitialize fired from CqbInitializeEventInfo."); }
