#include "Platform/TrustStore.h"

#include "Support/SetVariable.h"

#include <gtest/gtest.h>

#include <filesystem>

using platform::TrustStore;

TEST(TrustStore, IsTheSystemsFile) {
    const SetVariable noDirectory("SSL_CERT_DIR", std::nullopt);
    const char* const file = "/etc/ssl/cert.pem";
    const TrustStore store = TrustStore::system();
    EXPECT_EQ(store.file,
              std::filesystem::exists(file) ? std::optional<std::string>(file) : std::nullopt);
    EXPECT_EQ(store.directory, std::nullopt);
}

TEST(TrustStore, IsWhatTheVariablesName) {
    const SetVariable none("SSL_CERT_DIR", std::nullopt);
    const SetVariable file("SSL_CERT_FILE", "/srv/authority.pem");
    EXPECT_EQ(TrustStore::system().file, "/srv/authority.pem");
    EXPECT_EQ(TrustStore::system().directory, std::nullopt);
    const SetVariable noFile("SSL_CERT_FILE", "");
    const SetVariable directory("SSL_CERT_DIR", "/srv/certs");
    EXPECT_EQ(TrustStore::system().file, std::nullopt);
    EXPECT_EQ(TrustStore::system().directory, "/srv/certs");
}
