#include "qbsvrl6/paint/pdf/libcrypto.h"

#include <limits>
#include <memory>

#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* bytesOf(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }

void require(int result, const char* what) {
    if (result != 1) throw EngineError(ErrorCode::Internal, std::string("libcrypto refuses ") + what);
}

}  // namespace

const Libcrypto& libcrypto() {
    static const Libcrypto& library = *new Libcrypto;
    return library;
}

std::string randomBytes(std::size_t count) {
    std::string bytes(count, '\0');
    require(libcrypto().RAND_bytes(bytesOf(bytes), static_cast<int>(count)), "random bytes");
    return bytes;
}

std::string sha2(std::string_view bytes, int bits) {
    const Libcrypto& crypto = libcrypto();
    const EVP_MD* const kind = bits == 512   ? crypto.EVP_sha512()
                               : bits == 384 ? crypto.EVP_sha384()
                                             : crypto.EVP_sha256();
    std::string hash(static_cast<std::size_t>(bits) / 8, '\0');
    require(crypto.EVP_Digest(bytes.data(), bytes.size(), bytesOf(hash), nullptr, kind, nullptr), "SHA-2");
    return hash;
}

std::string encryptAes(std::string_view bytes, std::string_view key, std::string_view start, bool padded) {
    constexpr std::size_t kBlock = 16;
    if (bytes.size() > std::numeric_limits<int>::max() - kBlock) {
        throw EngineError(ErrorCode::LimitExceeded, "a part of the document is too large to be encrypted");
    }
    const Libcrypto& crypto = libcrypto();
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(crypto.EVP_CIPHER_CTX_free)> context(
        crypto.EVP_CIPHER_CTX_new(), crypto.EVP_CIPHER_CTX_free);
    if (context == nullptr) throw std::bad_alloc();
    const EVP_CIPHER* const kind = key.size() == kBlock ? crypto.EVP_aes_128_cbc() : crypto.EVP_aes_256_cbc();
    require(crypto.EVP_EncryptInit_ex(context.get(), kind, nullptr, bytesOf(key), bytesOf(start)), "AES");
    crypto.EVP_CIPHER_CTX_set_padding(context.get(), padded ? 1 : 0);
    std::string encrypted(bytes.size() + kBlock, '\0');
    int size = 0, rest = 0;
    require(crypto.EVP_EncryptUpdate(context.get(), bytesOf(encrypted), &size, bytesOf(bytes),
                                     static_cast<int>(bytes.size())),
            "AES");
    require(crypto.EVP_EncryptFinal_ex(context.get(), bytesOf(encrypted) + size, &rest), "AES");
    encrypted.resize(static_cast<std::size_t>(size + rest));
    return encrypted;
}

}  // namespace qbsvrl6
