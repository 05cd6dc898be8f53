#include "Platform/TrustStore.h"

#include <cstdlib>
#include <filesystem>

namespace platform {

namespace {

/// The certificates that the system comes with. What a person or an administrator adds to a
/// keychain is not among them.
constexpr const char* systemFile = "/etc/ssl/cert.pem";

std::optional<std::string> environment(const char* name) {
    const char* const value = std::getenv(name);
    if (value == nullptr || *value == '\0')
        return std::nullopt;
    return value;
}

} // namespace

TrustStore TrustStore::system() {
    TrustStore store;
    store.file = environment("SSL_CERT_FILE");
    store.directory = environment("SSL_CERT_DIR");
    std::error_code error;
    if (!store.file && !store.directory && std::filesystem::exists(systemFile, error))
        store.file = systemFile;
    return store;
}

} // namespace platform
