// The key of a signature, with its certificate: from a file of PKCS#12, or on a token of PKCS#11 (a smart
// card, a hardware security module), which the key never leaves.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_SIGNING_KEY_H
#define QBSVR_QBSVRL6_PAINT_PDF_SIGNING_KEY_H

#include <memory>
#include <string>
#include <string_view>

#include "qbsvrl6/model/secret.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

struct SigningKeySource {
    std::string container;     // the bytes of a file of PKCS#12; empty: the key is on a token
    std::string token;         // "pkcs11:…" (RFC 7512); "module-path" in it names the token's library
    Secret password;           // of the file, or the token's PIN
    std::string certificates;  // further ones in PEM: the signer's, if the key has none, and those above it
};

class SigningKey {
public:
    // Raises EngineError if the key can't be read, or has no certificate.
    explicit SigningKey(const SigningKeySource& source);
    ~SigningKey();
    SigningKey(const SigningKey&) = delete;
    SigningKey& operator=(const SigningKey&) = delete;

    bool isElliptic() const;  // else it is of RSA
    std::string holder() const;
    // Over SHA-256 of the bytes.
    std::string sign(std::string_view bytes) const;

    // In DER.
    const std::string& certificate() const { return certificate_; }
    const std::string& certificates() const { return certificates_; }  // the signer's first
    const std::string& issuer() const { return issuer_; }
    const std::string& serial() const { return serial_; }

private:
    struct Parts;

    std::unique_ptr<Parts> parts_;
    std::string certificate_, certificates_, issuer_, serial_;
};

// What a document can't be signed for.
EngineError cannotSign(const std::string& cause);

}  // namespace qbsvrl6

#endif
