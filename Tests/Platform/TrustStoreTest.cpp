#include "Platform/TrustStore.h"

#include "Support/SetVariable.h"

#include <gtest/gtest.h>

using platform::TrustStore;

namespace {

/// Of the system itself, whatever this world trusts.
class TrustStoreTest : public testing::Test {
    SetVariable noFile_{"SSL_CERT_FILE", std::nullopt};
    SetVariable noDirectory_{"SSL_CERT_DIR", std::nullopt};
};

} // namespace

TEST_F(TrustStoreTest, PrefersTheHashedFolderToTheBundle) {
    const TrustStore store = TrustStore::system();
    EXPECT_EQ(store.directory, "/etc/ssl/certs");
    EXPECT_FALSE(store.file);
}

TEST_F(TrustStoreTest, TakesTheFolderThatTheVariableNames) {
    const SetVariable directory("SSL_CERT_DIR", "/srv/certs:/srv/more");
    EXPECT_EQ(TrustStore::system().directory, "/srv/certs:/srv/more");
    EXPECT_FALSE(TrustStore::system().file);
}

TEST_F(TrustStoreTest, TakesTheFileThatTheVariableNamesBesideTheFolder) {
    const SetVariable file("SSL_CERT_FILE", "/srv/authority.pem");
    EXPECT_EQ(TrustStore::system().file, "/srv/authority.pem");
    EXPECT_EQ(TrustStore::system().directory, "/etc/ssl/certs");
}

TEST_F(TrustStoreTest, TakesAnEmptyVariableForNone) {
    const SetVariable directory("SSL_CERT_DIR", "");
    EXPECT_EQ(TrustStore::system().directory, "/etc/ssl/certs");
}
