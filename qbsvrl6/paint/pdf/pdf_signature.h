// Signs documents: PAdES baseline signatures (ETSI EN 319 142-1) of level B-B, or B-T with a time stamp.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_SIGNATURE_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_SIGNATURE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "qbsvrl6/paint/pdf/signing_key.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

struct PdfSignatureOptions {
    SigningKeySource key;
    std::u16string reason, location;
    std::string date;     // as PDF writes it
    bool hasBox = false;  // the report has a box that shows where the signature is
    // Sends a request to a time-stamp server (RFC 3161) and returns its answer; null: no time stamp.
    std::function<std::string(const std::string& request)> askTime;
};

class PdfSigner {
public:
    // Raises EngineError if the key can't be read.
    explicit PdfSigner(const PdfSignatureOptions& options);

    // The signature's dictionary, with room for what is known at the end.
    const std::string& dictionary() const { return dictionary_; }

    // Signs the document, which has the dictionary at `offset`.
    void sign(Spool& document, std::uint64_t offset) const;

private:
    std::string signatureOf(std::string_view hash) const;
    std::string timeStampOf(std::string_view signature) const;

    SigningKey key_;
    std::function<std::string(const std::string& request)> askTime_;
    std::string dictionary_;
    std::size_t rangeAt_ = 0, rangeSize_ = 0;        // of the byte range in the dictionary
    std::size_t contentsAt_ = 0, contentsSize_ = 0;  // of the signature, its brackets included
};

}  // namespace qbsvrl6

#endif
