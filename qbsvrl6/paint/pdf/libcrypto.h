// Hashes, ciphers and random bytes by OpenSSL, which is loaded on first use: few documents are encrypted or
// signed. All functions raise EngineError if the library is missing or refuses.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_LIBCRYPTO_H
#define QBSVR_QBSVRL6_PAINT_PDF_LIBCRYPTO_H

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "qbsvrl6/support/lazy_library.h"

namespace qbsvrl6 {

struct Libcrypto {
    LazyLibrary library{"libcrypto.so.3", "libssl3"};
    QBSVR_LAZY_FUNCTION(library, EVP_CIPHER_CTX_free);
    QBSVR_LAZY_FUNCTION(library, EVP_CIPHER_CTX_new);
    QBSVR_LAZY_FUNCTION(library, EVP_CIPHER_CTX_set_padding);
    QBSVR_LAZY_FUNCTION(library, EVP_Digest);
    QBSVR_LAZY_FUNCTION(library, EVP_EncryptFinal_ex);
    QBSVR_LAZY_FUNCTION(library, EVP_EncryptInit_ex);
    QBSVR_LAZY_FUNCTION(library, EVP_EncryptUpdate);
    QBSVR_LAZY_FUNCTION(library, EVP_aes_128_cbc);
    QBSVR_LAZY_FUNCTION(library, EVP_aes_256_cbc);
    QBSVR_LAZY_FUNCTION(library, EVP_sha256);
    QBSVR_LAZY_FUNCTION(library, EVP_sha384);
    QBSVR_LAZY_FUNCTION(library, EVP_sha512);
    QBSVR_LAZY_FUNCTION(library, RAND_bytes);
};

const Libcrypto& libcrypto();

std::string randomBytes(std::size_t count);

// SHA-2 with a result of 256, 384 or 512 bits.
std::string sha2(std::string_view bytes, int bits = 256);

// AES in cipher block chaining, with a key of 16 or 32 bytes. Without padding, the size of the bytes is a
// multiple of 16.
std::string encryptAes(std::string_view bytes, std::string_view key, std::string_view start, bool padded);

}  // namespace qbsvrl6

#endif
