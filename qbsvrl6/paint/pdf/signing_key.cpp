#include "qbsvrl6/paint/pdf/signing_key.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include <mutex>
#include <new>
#include <optional>

#include "qbsvrl6/paint/pdf/libcrypto.h"
#include "qbsvrl6/paint/pdf/signing_token.h"

namespace qbsvrl6 {

namespace {

struct KeyLibrary {
    const LazyLibrary& library = libcrypto().library;
    QBSVR_LAZY_FUNCTION(library, BIO_free);
    QBSVR_LAZY_FUNCTION(library, BIO_new_mem_buf);
    QBSVR_LAZY_FUNCTION(library, EVP_DigestSign);
    QBSVR_LAZY_FUNCTION(library, EVP_DigestSignInit);
    QBSVR_LAZY_FUNCTION(library, EVP_MD_CTX_free);
    QBSVR_LAZY_FUNCTION(library, EVP_MD_CTX_new);
    QBSVR_LAZY_FUNCTION(library, EVP_PKEY_free);
    QBSVR_LAZY_FUNCTION(library, EVP_PKEY_get_base_id);
    QBSVR_LAZY_FUNCTION(library, OPENSSL_sk_free);
    QBSVR_LAZY_FUNCTION(library, OPENSSL_sk_num);
    QBSVR_LAZY_FUNCTION(library, OPENSSL_sk_value);
    QBSVR_LAZY_FUNCTION(library, PEM_read_bio_X509);
    QBSVR_LAZY_FUNCTION(library, PKCS12_free);
    QBSVR_LAZY_FUNCTION(library, PKCS12_parse);
    QBSVR_LAZY_FUNCTION(library, X509_NAME_get_text_by_NID);
    QBSVR_LAZY_FUNCTION(library, X509_check_private_key);
    QBSVR_LAZY_FUNCTION(library, X509_free);
    QBSVR_LAZY_FUNCTION(library, X509_get0_serialNumber);
    QBSVR_LAZY_FUNCTION(library, X509_get_issuer_name);
    QBSVR_LAZY_FUNCTION(library, X509_get_subject_name);
    QBSVR_LAZY_FUNCTION(library, d2i_PKCS12);
    QBSVR_LAZY_FUNCTION(library, i2d_ASN1_INTEGER);
    QBSVR_LAZY_FUNCTION(library, i2d_X509);
    QBSVR_LAZY_FUNCTION(library, i2d_X509_NAME);
};

const KeyLibrary& keys() {
    static const KeyLibrary& library = *new KeyLibrary;
    return library;
}

template <class Encode, class Object>
std::string encoded(Encode encode, Object* object) {
    const int size = encode(object, nullptr);
    if (size <= 0) throw cannotSign("its certificate can't be encoded");
    std::string bytes(static_cast<std::size_t>(size), '\0');
    auto* to = reinterpret_cast<unsigned char*>(bytes.data());
    encode(object, &to);
    return bytes;
}

}  // namespace

struct SigningKey::Parts {
    EVP_PKEY* key = nullptr;
    X509* certificate = nullptr;
    STACK_OF(X509) * chain = nullptr;
    bool isOnToken = false;

    Parts() = default;
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;
    ~Parts() {
        const KeyLibrary& crypto = keys();
        const std::unique_lock lock = lockToken();
        if (key != nullptr) crypto.EVP_PKEY_free(key);
        if (certificate != nullptr) crypto.X509_free(certificate);
        auto* const stack = reinterpret_cast<OPENSSL_STACK*>(chain);
        if (stack == nullptr) return;
        for (int i = 0; i < crypto.OPENSSL_sk_num(stack); ++i) {
            crypto.X509_free(static_cast<X509*>(crypto.OPENSSL_sk_value(stack, i)));
        }
        crypto.OPENSSL_sk_free(stack);
    }

    std::unique_lock<std::mutex> lockToken() const {
        return isOnToken ? std::unique_lock(tokenMutex()) : std::unique_lock<std::mutex>();
    }

    void readContainer(const std::string& file, const Secret& password) {
        const KeyLibrary& crypto = keys();
        const auto* from = reinterpret_cast<const unsigned char*>(file.data());
        const std::unique_ptr<PKCS12, decltype(crypto.PKCS12_free)> container(
            crypto.d2i_PKCS12(nullptr, &from, static_cast<long>(file.size())), crypto.PKCS12_free);
        if (container == nullptr) throw cannotSign("its key is no file of PKCS#12 (.p12, .pfx)");
        std::string text(password.view());
        const int isRead = crypto.PKCS12_parse(container.get(), text.c_str(), &key, &certificate, &chain);
        Secret::clear(text);
        if (isRead != 1) throw cannotSign("the password of its key is wrong, or the file uses an old cipher");
        if (key == nullptr) throw cannotSign("the file of its key has no key");
    }

    // Returns those in PEM but the signer's, in DER.
    std::string readFurther(const std::string& file) {
        const KeyLibrary& crypto = keys();
        const std::unique_ptr<BIO, decltype(crypto.BIO_free)> source(
            crypto.BIO_new_mem_buf(file.data(), static_cast<int>(file.size())), crypto.BIO_free);
        if (source == nullptr) throw std::bad_alloc();
        std::string further;
        bool hasAny = false;
        while (X509* const next = crypto.PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr)) {
            hasAny = true;
            if (certificate == nullptr && crypto.X509_check_private_key(next, key) == 1) {
                certificate = next;
                continue;
            }
            const std::unique_ptr<X509, decltype(crypto.X509_free)> owner(next, crypto.X509_free);
            further += encoded(crypto.i2d_X509, next);
        }
        if (!hasAny) throw cannotSign("the file of \"sign-certificates\" has none in PEM");
        return further;
    }
};

SigningKey::SigningKey(const SigningKeySource& source) : parts_(std::make_unique<Parts>()) {
    const KeyLibrary& crypto = keys();
    parts_->isOnToken = source.container.empty();
    if (parts_->isOnToken) {
        const TokenKey opened = openTokenKey(source.token, source.password);
        parts_->key = opened.key;
        parts_->certificate = opened.certificate;
    } else {
        parts_->readContainer(source.container, source.password);
    }
    const int kind = crypto.EVP_PKEY_get_base_id(parts_->key);
    if (kind != EVP_PKEY_RSA && kind != EVP_PKEY_EC) {
        throw cannotSign("its key is neither of RSA nor of an elliptic curve");
    }
    const std::string further =
        source.certificates.empty() ? std::string() : parts_->readFurther(source.certificates);
    X509* const signer = parts_->certificate;
    if (signer == nullptr)
        throw cannotSign("its key has no certificate: name a file with \"sign-certificates\"");
    certificate_ = encoded(crypto.i2d_X509, signer);
    issuer_ = encoded(crypto.i2d_X509_NAME, crypto.X509_get_issuer_name(signer));
    serial_ = encoded(crypto.i2d_ASN1_INTEGER, crypto.X509_get0_serialNumber(signer));
    certificates_ = certificate_;
    const auto* const stack = reinterpret_cast<const OPENSSL_STACK*>(parts_->chain);
    for (int i = 0; stack != nullptr && i < crypto.OPENSSL_sk_num(stack); ++i) {
        certificates_ += encoded(crypto.i2d_X509, static_cast<X509*>(crypto.OPENSSL_sk_value(stack, i)));
    }
    certificates_ += further;
}

SigningKey::~SigningKey() = default;

bool SigningKey::isElliptic() const { return keys().EVP_PKEY_get_base_id(parts_->key) == EVP_PKEY_EC; }

std::string SigningKey::holder() const {
    char name[200] = {};
    const KeyLibrary& crypto = keys();
    crypto.X509_NAME_get_text_by_NID(crypto.X509_get_subject_name(parts_->certificate), NID_commonName,
                                     &name[0], sizeof name);
    return name;
}

std::string SigningKey::sign(std::string_view bytes) const {
    const KeyLibrary& crypto = keys();
    const std::unique_lock lock = parts_->lockToken();
    const std::unique_ptr<EVP_MD_CTX, decltype(crypto.EVP_MD_CTX_free)> context(crypto.EVP_MD_CTX_new(),
                                                                                crypto.EVP_MD_CTX_free);
    if (context == nullptr) throw std::bad_alloc();
    const auto* const from = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t size = 0;
    if (crypto.EVP_DigestSignInit(context.get(), nullptr, libcrypto().EVP_sha256(), nullptr, parts_->key) !=
            1 ||
        crypto.EVP_DigestSign(context.get(), nullptr, &size, from, bytes.size()) != 1) {
        throw cannotSign("its key can't sign");
    }
    std::string signature(size, '\0');
    if (crypto.EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &size, from,
                              bytes.size()) != 1) {
        throw cannotSign("its key can't sign");
    }
    signature.resize(size);
    return signature;
}

EngineError cannotSign(const std::string& cause) {
    return EngineError(ErrorCode::NotSupported, "the document can't be signed: " + cause);
}

}  // namespace qbsvrl6
