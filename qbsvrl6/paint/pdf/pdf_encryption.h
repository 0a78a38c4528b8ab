// Encryption of documents with passwords: AES with keys of 256 bits, revision 6 of the standard security
// handler (ISO 32000-2, 7.6.4).
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_ENCRYPTION_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_ENCRYPTION_H

#include <string>
#include <string_view>

#include "qbsvrl6/model/pdf_protection.h"

namespace qbsvrl6 {

class PdfEncryption {
public:
    explicit PdfEncryption(const PdfProtection& protection);
    ~PdfEncryption();
    PdfEncryption(const PdfEncryption&) = delete;
    PdfEncryption& operator=(const PdfEncryption&) = delete;

    std::string encrypt(std::string_view stream) const;
    const std::string& dictionary() const { return dictionary_; }

private:
    std::string key_;
    std::string dictionary_;
};

}  // namespace qbsvrl6

#endif
