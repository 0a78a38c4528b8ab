#include "qbsvrl6/paint/pdf/pdf_signature.h"

#include <openssl/evp.h>

#include <algorithm>
#include <memory>
#include <new>

#include "qbsvrl6/paint/pdf/der.h"
#include "qbsvrl6/paint/pdf/libcrypto.h"
#include "qbsvrl6/paint/pdf/pdf_syntax.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

// The signature is a SignedData of CMS (RFC 5652) about the bytes of the file around it. It has the
// certificates, and attributes that are signed: the type of the content, its hash, and the hash of the
// signer's certificate (RFC 5035). The time is in the dictionary, or in a time stamp about the signature.

namespace {

using namespace std::string_view_literals;

struct HashLibrary {
    const LazyLibrary& library = libcrypto().library;
    QBSVR_LAZY_FUNCTION(library, EVP_DigestFinal_ex);
    QBSVR_LAZY_FUNCTION(library, EVP_DigestInit_ex);
    QBSVR_LAZY_FUNCTION(library, EVP_DigestUpdate);
    QBSVR_LAZY_FUNCTION(library, EVP_MD_CTX_free);
    QBSVR_LAZY_FUNCTION(library, EVP_MD_CTX_new);
};

const HashLibrary& hashing() {
    static const HashLibrary& library = *new HashLibrary;
    return library;
}

// Object identifiers, encoded.
constexpr std::string_view kSignedData = "\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02"sv;
constexpr std::string_view kData = "\x2A\x86\x48\x86\xF7\x0D\x01\x07\x01"sv;
constexpr std::string_view kContentType = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x03"sv;
constexpr std::string_view kMessageDigest = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x04"sv;
constexpr std::string_view kSigningCertificate = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x02\x2F"sv;
constexpr std::string_view kTimeStamp = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x10\x02\x0E"sv;
constexpr std::string_view kSha256 = "\x60\x86\x48\x01\x65\x03\x04\x02\x01"sv;
constexpr std::string_view kRsa = "\x2A\x86\x48\x86\xF7\x0D\x01\x01\x01"sv;
constexpr std::string_view kEcdsaSha256 = "\x2A\x86\x48\xCE\x3D\x04\x03\x02"sv;

std::string object(std::string_view identifier) { return der::value(der::kObject, identifier); }

std::string attribute(std::string_view type, const std::string& value) {
    return der::sequence(object(type), der::value(der::kSet, value));
}

[[noreturn]] void fail(const std::string& cause) { throw cannotSign(cause); }

}  // namespace

PdfSigner::PdfSigner(const PdfSignatureOptions& options) : key_(options.key), askTime_(options.askTime) {
    constexpr std::size_t kRoom = 4'096, kRoomForTime = 16'384;
    ByteBuffer out;
    out.append("<</Type/Sig/Filter/Adobe.PPKLite/SubFilter/ETSI.CAdES.detached/M("sv);
    out.add(std::string_view(options.date), ')');
    const auto text = [&](std::string_view key, std::u16string_view value) {
        if (value.empty()) return;
        out.append(key);
        appendTextString(out, value);
    };
    text("/Name"sv, toUtf16(key_.holder()));
    text("/Reason"sv, options.reason);
    text("/Location"sv, options.location);
    out.append("/ByteRange"sv);
    rangeAt_ = out.size();
    rangeSize_ = 48;  // "[0 offset offset count]" with numbers of up to 14 digits
    out.append(std::string_view(std::string(rangeSize_, ' ')));
    out.append("/Contents"sv);
    contentsAt_ = out.size();
    contentsSize_ = 2 + 2 * (kRoom + key_.certificates().size() + (askTime_ ? kRoomForTime : 0));
    out.add('<', std::string_view(std::string(contentsSize_ - 2, '0')), ">>>"sv);
    dictionary_ = out.view();
}

std::string PdfSigner::signatureOf(std::string_view hash) const {
    const std::string sha256 = der::sequence(object(kSha256));
    const std::string name = der::sequence(der::value(der::kContext + 4, key_.issuer()));
    const std::string certificate = der::sequence(der::sequence(der::sequence(
        der::value(der::kOctets, sha2(key_.certificate())), der::sequence(name, key_.serial()))));
    std::string attributes = der::set({attribute(kContentType, object(kData)),
                                       attribute(kMessageDigest, der::value(der::kOctets, hash)),
                                       attribute(kSigningCertificate, certificate)});
    const std::string signature = key_.sign(attributes);
    attributes.front() = static_cast<char>(der::kContext);  // it is signed as a set
    const std::string algorithm = key_.isElliptic() ? der::sequence(object(kEcdsaSha256))
                                                    : der::sequence(object(kRsa), der::value(der::kNull, {}));
    std::string unsignedAttributes;
    if (askTime_) {
        unsignedAttributes = der::value(der::kContext + 1, attribute(kTimeStamp, timeStampOf(signature)));
    }
    const std::string signer =
        der::sequence(der::integer(1), der::sequence(key_.issuer(), key_.serial()), sha256, attributes,
                      algorithm, der::value(der::kOctets, signature), unsignedAttributes);
    const std::string data =
        der::sequence(der::integer(1), der::value(der::kSet, sha256), der::sequence(object(kData)),
                      der::value(der::kContext, key_.certificates()), der::value(der::kSet, signer));
    return der::sequence(object(kSignedData), der::value(der::kContext, data));
}

// The token in the answer to a request (RFC 3161), which says that the signature existed at a time.
std::string PdfSigner::timeStampOf(std::string_view signature) const {
    const std::string hash = sha2(signature);
    const std::string imprint = der::sequence(der::sequence(object(kSha256), der::value(der::kNull, {})),
                                              der::value(der::kOctets, hash));
    const std::string answer =
        askTime_(der::sequence(der::integer(1), imprint, der::value(der::kBoolean, "\xFF")));
    std::string_view rest(answer), response, status, code, token, whole;
    int tag = 0;
    const bool isRead = der::take(rest, tag, response, whole) && tag == der::kSequence &&
                        der::take(response, tag, status, whole) && tag == der::kSequence &&
                        der::take(status, tag, code, whole) && tag == der::kInteger && code.size() == 1;
    if (!isRead) fail("the time-stamp server gives no answer of RFC 3161");
    constexpr char kLastGranted = 1;
    if (code.front() < 0 || code.front() > kLastGranted || !der::take(response, tag, token, whole)) {
        fail("the time-stamp server refuses");
    }
    if (whole.find(hash) == std::string_view::npos) fail("the time stamp is about something else");
    return std::string(whole);
}

void PdfSigner::sign(Spool& document, std::uint64_t offset) const {
    const std::uint64_t before = offset + contentsAt_;
    const std::uint64_t after = before + contentsSize_;
    const std::uint64_t end = document.size();
    std::string range = "[0 " + std::to_string(before) + " " + std::to_string(after) + " " +
                        std::to_string(end - after) + "]";
    range.resize(rangeSize_, ' ');
    Spool signedDocument;
    signedDocument.append(document, 0, offset + rangeAt_);
    signedDocument.append(range);
    signedDocument.append(document, offset + rangeAt_ + rangeSize_, before);

    const HashLibrary& crypto = hashing();
    const std::unique_ptr<EVP_MD_CTX, decltype(crypto.EVP_MD_CTX_free)> context(crypto.EVP_MD_CTX_new(),
                                                                                crypto.EVP_MD_CTX_free);
    if (context == nullptr) throw std::bad_alloc();
    crypto.EVP_DigestInit_ex(context.get(), libcrypto().EVP_sha256(), nullptr);
    std::string part(256u << 10, '\0');
    const auto add = [&](const Spool& bytes, std::uint64_t first, std::uint64_t last) {
        while (first < last) {
            const std::size_t count =
                bytes.read(first, part.data(),
                           static_cast<std::size_t>(std::min<std::uint64_t>(part.size(), last - first)));
            crypto.EVP_DigestUpdate(context.get(), part.data(), count);
            first += count;
        }
    };
    add(signedDocument, 0, before);
    add(document, after, end);
    std::string hash(32, '\0');
    crypto.EVP_DigestFinal_ex(context.get(), reinterpret_cast<unsigned char*>(hash.data()), nullptr);

    const std::string signature = signatureOf(hash);
    ByteBuffer contents;
    contents.append('<');
    for (const char byte : signature) appendHex(contents, static_cast<unsigned char>(byte), 2);
    if (contents.size() >= contentsSize_) fail("the time stamp is too long");
    contents.append(std::string_view(std::string(contentsSize_ - 1 - contents.size(), '0')));
    contents.append('>');
    signedDocument.append(contents.view());
    signedDocument.append(document, after, end);
    document = std::move(signedDocument);
}

}  // namespace qbsvrl6
