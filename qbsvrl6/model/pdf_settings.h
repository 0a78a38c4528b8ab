// What a template or a program may ask of a PDF.
#ifndef QBSVR_QBSVRL6_MODEL_PDF_SETTINGS_H
#define QBSVR_QBSVRL6_MODEL_PDF_SETTINGS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qbsvrl6/support/address.h"

namespace qbsvrl6 {

// The parts and levels of ISO 19005 (PDF/A). Level b keeps the appearance of a document, u also its text, and
// a also its structure.
enum class PdfStandard : std::uint8_t { None, A1b, A2a, A2b, A2u, A3a, A3b, A3u };

// 1, 2 or 3; 0 for none.
constexpr int partOf(PdfStandard standard) {
    switch (standard) {
        case PdfStandard::A1b:
            return 1;
        case PdfStandard::A2a:
        case PdfStandard::A2b:
        case PdfStandard::A2u:
            return 2;
        case PdfStandard::A3a:
        case PdfStandard::A3b:
        case PdfStandard::A3u:
            return 3;
        case PdfStandard::None:
            break;
    }
    return 0;
}

constexpr char levelOf(PdfStandard standard) {
    if (standard == PdfStandard::A2a || standard == PdfStandard::A3a) return 'A';
    return standard == PdfStandard::A2u || standard == PdfStandard::A3u ? 'U' : 'B';
}

constexpr bool allowsAttachments(PdfStandard standard) {
    return standard == PdfStandard::None || partOf(standard) == 3;
}

// What an attached file is to the document.
enum class AttachmentRelation : std::uint8_t { Unspecified, Data, Source, Alternative, Supplement };

// A file inside the document, as an electronic invoice has its XML.
struct Attachment {
    std::u16string source;  // file or URL with placeholders, or Base64 data, as that of a picture
    Address folder;         // where a relative source starts; without a name: the template's folder
    std::string embedded;   // the bytes, held in the template itself; used when source is empty
    std::u16string name;
    AttachmentRelation relation = AttachmentRelation::Unspecified;
    std::u16string description;
    std::u16string type;      // MIME; empty: by the ending of the name
    std::u16string modified;  // a date as DocumentInfo::created; empty: none
    // Of an invoice: the profile of Factur-X and ZUGFeRD, "EN 16931"; empty: the file is no invoice.
    std::u16string invoiceProfile;
};

// What a reader proposes when the document is printed.
enum class PdfDuplex : std::uint8_t { Unset, Simplex, LongEdge, ShortEdge };

struct PdfSettings {
    std::optional<PdfStandard> standard;  // none: kDefaultStandard
    PdfDuplex duplex = PdfDuplex::Unset;
    bool unscaled = false;    // printed at its size, not fitted to the paper
    bool accessible = false;  // tagged, as PDF/UA-1 asks for
    std::vector<Attachment> attachments;
};

inline constexpr PdfStandard kDefaultStandard = PdfStandard::A2u;

}  // namespace qbsvrl6

#endif
