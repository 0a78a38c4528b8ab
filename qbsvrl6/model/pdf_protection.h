// Who may open and use a PDF, and who has signed it.
#ifndef QBSVR_QBSVRL6_MODEL_PDF_PROTECTION_H
#define QBSVR_QBSVRL6_MODEL_PDF_PROTECTION_H

#include <cstdint>
#include <string>

#include "qbsvrl6/model/secret.h"

namespace qbsvrl6 {

// What readers let those do who open the document without the owner's password; the bits of the document.
struct PdfPermissions {
    static constexpr std::uint32_t kPrintCoarsely = 1u << 2, kChange = 1u << 3, kCopy = 1u << 4,
                                   kAnnotate = 1u << 5, kFillForms = 1u << 8, kAssemble = 1u << 10,
                                   kPrint = 1u << 11;
    static constexpr std::uint32_t kAll =
        kPrintCoarsely | kChange | kCopy | kAnnotate | kFillForms | kAssemble | kPrint;
};

struct PdfProtection {
    Secret userPassword;   // opens the document; without one, everybody can
    Secret ownerPassword;  // lifts all restrictions; without one, nobody can
    std::uint32_t permissions = PdfPermissions::kAll;

    bool isSet() const {
        return userPassword.isSet() || ownerPassword.isSet() || permissions != PdfPermissions::kAll;
    }
};

// A signature by the holder of a key, which a reader can verify.
struct PdfSigning {
    // A file of PKCS#12 with the key, its certificate and those that lead to it, or the address of a key on a
    // token ("pkcs11:…"); empty: not signed.
    std::string key;
    Secret password;           // of the file, or the token's PIN
    std::string certificates;  // a file of further ones; empty: none
    std::string timeServer;    // the web address of a time-stamp server; empty: none
    std::u16string reason, location;

    bool isSet() const { return !key.empty(); }
    bool isOnToken() const { return key.starts_with("pkcs11:"); }
};

}  // namespace qbsvrl6

#endif
