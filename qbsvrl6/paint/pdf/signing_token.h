// Keys on tokens of PKCS#11, by the module that OpenSSL loads for them.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_SIGNING_TOKEN_H
#define QBSVR_QBSVRL6_PAINT_PDF_SIGNING_TOKEN_H

#include <mutex>
#include <string>

#include <openssl/evp.h>
#include <openssl/x509.h>

#include "qbsvrl6/model/secret.h"

namespace qbsvrl6 {

// Both are the caller's.
struct TokenKey {
    EVP_PKEY* key = nullptr;
    X509* certificate = nullptr;  // null: the token has none for the key
};

// Opens the key that the address names (RFC 7512). A process uses the library of one token: that of its first
// address. Raises EngineError.
TokenKey openTokenKey(const std::string& address, const Secret& pin);

// Held while a key of a token is used or freed: few libraries of tokens serve several threads.
std::mutex& tokenMutex();

}  // namespace qbsvrl6

#endif
