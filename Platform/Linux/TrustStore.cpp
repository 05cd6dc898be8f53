#include "Platform/TrustStore.h"

#include <array>
#include <cstdlib>
#include <filesystem>

namespace platform {

namespace {

namespace fs = std::filesystem;

constexpr std::array systemDirectories = {"/etc/ssl/certs", "/etc/pki/tls/certs",
                                          "/etc/pki/ca-trust/extracted/pem/directory-hash"};
constexpr std::array systemFiles = {
    "/etc/ssl/certs/ca-certificates.crt", "/etc/pki/tls/certs/ca-bundle.crt",
    "/etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem", "/etc/ssl/cert.pem"};

std::optional<std::string> environment(const char* name) {
    const char* const value = std::getenv(name);
    if (value == nullptr || *value == '\0')
        return std::nullopt;
    return value;
}

bool isHashedName(const std::string& name) {
    constexpr std::size_t hashLength = 8;
    return name.size() > hashLength + 1 && name[hashLength] == '.' &&
           name.find_first_not_of("0123456789abcdef") == hashLength &&
           name.find_first_not_of("0123456789", hashLength + 1) == std::string::npos;
}

bool isHashed(const fs::path& directory) {
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        if (isHashedName(entry->path().filename().string()))
            return true;
    }
    return false;
}

std::optional<std::string> systemDirectory() {
    for (const char* const directory : systemDirectories) {
        if (isHashed(directory))
            return directory;
    }
    return std::nullopt;
}

std::optional<std::string> systemFile() {
    for (const char* const file : systemFiles) {
        std::error_code error;
        if (fs::exists(file, error))
            return file;
    }
    return std::nullopt;
}

} // namespace

TrustStore TrustStore::system() {
    TrustStore store{environment("SSL_CERT_FILE"), environment("SSL_CERT_DIR"), std::nullopt};
    if (store.directory)
        return store;
    store.directory = systemDirectory();
    if (store.file)
        return store;
    (store.directory ? store.otherFile : store.file) = systemFile();
    return store;
}

} // namespace platform
