#include "qbsvrl6/paint/pdf/pdf_encryption.h"

#include <numeric>

#include "qbsvrl6/paint/pdf/libcrypto.h"
#include "qbsvrl6/paint/pdf/pdf_syntax.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kSalt = 8, kBlock = 16, kKey = 32;

// Algorithm 2.B. `owner`: the entry U, for the owner's password.
std::string hashOf(std::string_view password, std::string_view salt, std::string_view owner) {
    constexpr int kLeastRounds = 64;
    constexpr std::size_t kRepeats = 64;
    std::string input = std::string(password) + std::string(salt) + std::string(owner);
    std::string hash = sha2(input);
    std::string encrypted;
    for (int round = 0;; ++round) {
        if (round >= kLeastRounds && static_cast<unsigned char>(encrypted.back()) <= round - 32) break;
        const std::string once = std::string(password) + hash + std::string(owner);
        Secret::clear(input);
        for (std::size_t i = 0; i < kRepeats; ++i) input += once;
        const std::string_view key(hash);
        encrypted = encryptAes(input, key.substr(0, kBlock), key.substr(kBlock, kBlock), false);
        // The remainder of the first 16 bytes as one number; 256 leaves 1 when it is divided by 3.
        const int remainder =
            std::accumulate(encrypted.begin(), encrypted.begin() + kBlock, 0,
                            [](int sum, char byte) { return sum + static_cast<unsigned char>(byte); }) %
            3;
        hash = sha2(encrypted, 256 + 128 * remainder);
    }
    Secret::clear(input);
    return hash.substr(0, kKey);
}

struct Entries {
    std::string verifier;   // U or O: a hash of the password, and two salts
    std::string encrypted;  // UE or OE: the key of the document
};

Entries entriesOf(std::string_view password, std::string_view owner, std::string_view key) {
    const std::string salts = randomBytes(2 * kSalt);
    const std::string_view check = std::string_view(salts).substr(0, kSalt);
    std::string passwordKey = hashOf(password, std::string_view(salts).substr(kSalt), owner);
    Entries entries{hashOf(password, check, owner) + salts,
                    encryptAes(key, passwordKey, std::string(kBlock, '\0'), false)};
    Secret::clear(passwordKey);
    return entries;
}

std::string_view passwordOf(const Secret& secret) {
    constexpr std::size_t kMostBytes = 127;
    return secret.view().substr(0, kMostBytes);
}

}  // namespace

PdfEncryption::PdfEncryption(const PdfProtection& protection) : key_(randomBytes(kKey)) {
    std::string unknown;
    if (!protection.ownerPassword.isSet()) unknown = randomBytes(kKey);
    const Entries user = entriesOf(passwordOf(protection.userPassword), {}, key_);
    const Entries owner =
        entriesOf(unknown.empty() ? passwordOf(protection.ownerPassword) : std::string_view(unknown),
                  user.verifier, key_);
    Secret::clear(unknown);
    // All bits without a meaning are set, and the one for screen readers.
    constexpr std::uint32_t kAlways = 0xFFFFF0C0u | 1u << 9;
    const std::uint32_t permissions = kAlways | protection.permissions;
    std::string check;
    for (int shift = 0; shift < 32; shift += 8) check += static_cast<char>(permissions >> shift & 0xFF);
    check += "\xFF\xFF\xFF\xFFTadb";  // for all of the document, its metadata included
    check += randomBytes(4);
    ByteBuffer out;
    const auto entry = [&](std::string_view name, std::string_view bytes) {
        out.add(name, '<');
        for (const char byte : bytes) appendHex(out, static_cast<unsigned char>(byte), 2);
        out.append('>');
    };
    out.append(std::string_view(
        "<</Filter/Standard/V 5/R 6/Length 256/CF<</StdCF<</CFM/AESV3/AuthEvent/DocOpen/Length 32>>>>"
        "/StmF/StdCF/StrF/StdCF/P "));
    out.append(static_cast<std::int64_t>(static_cast<std::int32_t>(permissions)));
    entry("/U", user.verifier);
    entry("/UE", user.encrypted);
    entry("/O", owner.verifier);
    entry("/OE", owner.encrypted);
    // A single block: without a start, chaining is the plain cipher.
    entry("/Perms", encryptAes(check, key_, std::string(kBlock, '\0'), false));
    out.append(std::string_view(">>"));
    dictionary_ = out.view();
}

PdfEncryption::~PdfEncryption() { Secret::clear(key_); }

std::string PdfEncryption::encrypt(std::string_view stream) const {
    std::string start = randomBytes(kBlock);
    return start + encryptAes(stream, key_, start, true);
}

}  // namespace qbsvrl6
