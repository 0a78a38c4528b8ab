// What a document says about itself: the information dictionary, and the same as XMP.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_METADATA_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_METADATA_H

#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/model/pdf_settings.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/paint/pdf/further_metadata.h"

namespace qbsvrl6 {

inline constexpr std::u16string_view kPdfProducer = u"qbsvrl6";

// The texts as both forms can hold them: without control characters, and of limited length.
DocumentInfo plainInfo(const DocumentInfo& info);

// The dictionary, without the entries of empty texts.
std::string infoDictionary(const DocumentInfo& info);

// What a document complies with.
struct PdfClaims {
    PdfStandard standard = kDefaultStandard;
    bool accessible = false;              // PDF/UA-1
    const Attachment* invoice = nullptr;  // the electronic invoice among the attached files; null: none
    const std::vector<MetadataProperty>* further = nullptr;
};

// The packet in UTF-8, with what the dictionary has, and the claims.
std::string xmpPacket(const DocumentInfo& info, const PdfClaims& claims);

// A date as PDF writes it, from one as `created` has it: "D:20260301093000+08'00'".
std::string pdfDate(std::u16string_view date);

}  // namespace qbsvrl6

#endif
