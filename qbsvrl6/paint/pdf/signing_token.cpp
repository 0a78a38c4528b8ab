// OpenSSL 3 offers tokens by engines, which it will replace by providers: Debian 12 has an engine only.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "qbsvrl6/paint/pdf/signing_token.h"

#include <openssl/crypto.h>
#include <openssl/engine.h>

#include <algorithm>
#include <optional>
#include <string_view>

#include "qbsvrl6/paint/pdf/libcrypto.h"
#include "qbsvrl6/paint/pdf/signing_key.h"
#include "qbsvrl6/support/ascii.h"

namespace qbsvrl6 {

namespace {

using namespace std::string_view_literals;

struct EngineLibrary {
    const LazyLibrary& library = libcrypto().library;
    QBSVR_LAZY_FUNCTION(library, ENGINE_by_id);
    QBSVR_LAZY_FUNCTION(library, ENGINE_ctrl_cmd);
    QBSVR_LAZY_FUNCTION(library, ENGINE_ctrl_cmd_string);
    QBSVR_LAZY_FUNCTION(library, ENGINE_free);
    QBSVR_LAZY_FUNCTION(library, ENGINE_init);
    QBSVR_LAZY_FUNCTION(library, ENGINE_load_private_key);
    QBSVR_LAZY_FUNCTION(library, OPENSSL_init_crypto);
};

const EngineLibrary& engines() {
    static const EngineLibrary& library = *new EngineLibrary;
    return library;
}

struct Address {
    std::string object;  // without the library
    std::string module;  // the library's file; empty: that of the system
};

std::string decoded(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isCode =
            text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0;
        out += isCode ? static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2])) : text[i];
        if (isCode) i += 2;
    }
    return out;
}

Address addressOf(std::string_view text) {
    const std::size_t query = std::min(text.find('?'), text.size());
    Address address{std::string(text.substr(0, query)), {}};
    std::string_view rest = text.substr(query);
    while (!rest.empty()) {
        rest.remove_prefix(1);
        const std::size_t end = std::min(rest.find('&'), rest.size());
        const std::string_view field = rest.substr(0, end);
        rest.remove_prefix(end);
        if (field.starts_with("pin-"sv))
            throw cannotSign("the PIN of its token belongs in \"sign-password\"");
        constexpr std::string_view kModule = "module-path=";
        if (field.starts_with(kModule)) address.module = decoded(field.substr(kModule.size()));
    }
    return address;
}

// For the life of the process: a library that is ended would end the sessions of all its users.
ENGINE* openEngine(const std::string& module) {
    const EngineLibrary& crypto = engines();
    crypto.OPENSSL_init_crypto(OPENSSL_INIT_ENGINE_DYNAMIC, nullptr);
    ENGINE* const engine = crypto.ENGINE_by_id("pkcs11");
    if (engine == nullptr) {
        throw cannotSign("OpenSSL has no engine for tokens: install libengine-pkcs11-openssl");
    }
    const bool hasModule =
        module.empty() || crypto.ENGINE_ctrl_cmd_string(engine, "MODULE_PATH", module.c_str(), 0) == 1;
    if (hasModule && crypto.ENGINE_init(engine) == 1) return engine;
    crypto.ENGINE_free(engine);
    throw cannotSign("the library of its token can't be loaded: \"" + module + "\"");
}

ENGINE* engineFor(const std::string& module) {
    struct Opened {
        ENGINE* engine;
        std::string module;
    };
    static std::optional<Opened>& opened = *new std::optional<Opened>;
    if (!opened) opened = Opened{openEngine(module), module};
    if (opened->module != module) throw cannotSign("this process uses another library of tokens");
    return opened->engine;
}

}  // namespace

std::mutex& tokenMutex() {
    static std::mutex& mutex = *new std::mutex;
    return mutex;
}

TokenKey openTokenKey(const std::string& address, const Secret& pin) {
    const EngineLibrary& crypto = engines();
    const Address parts = addressOf(address);
    const std::lock_guard lock(tokenMutex());
    ENGINE* const engine = engineFor(parts.module);
    std::string text(pin.view());
    const bool hasPin = crypto.ENGINE_ctrl_cmd_string(engine, "PIN", text.c_str(), 0) == 1;
    Secret::clear(text);
    TokenKey opened;
    if (hasPin) opened.key = crypto.ENGINE_load_private_key(engine, parts.object.c_str(), nullptr, nullptr);
    if (opened.key == nullptr) throw cannotSign("its token has no such key, or the PIN is wrong");
    struct {
        const char* address;
        X509* certificate;
    } query{parts.object.c_str(), nullptr};
    crypto.ENGINE_ctrl_cmd(engine, "LOAD_CERT_CTRL", 0, &query, nullptr, 1);
    opened.certificate = query.certificate;
    return opened;
}

}  // namespace qbsvrl6
