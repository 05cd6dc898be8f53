#include "Platform/TrustStore.h"

#include "Support/SetVariable.h"

#include <gtest/gtest.h>

using platform::TrustStore;

TEST(TrustStore, PrefersTheHashedFolderToTheBundle) {
    const TrustStore store = TrustStore::system();
    EXPECT_EQ(store.directory, "/etc/ssl/certs");
    EXPECT_FALSE(store.file);
}

TEST(TrustStore, TakesTheFolderThatTheVariableNames) {
    const SetVariable directory("SSL_CERT_DIR", "/srv/certs:/srv/more");
    EXPECT_EQ(TrustStore::system().directory, "/srv/certs:/srv/more");
    EXPECT_FALSE(TrustStore::system().file);
}

TEST(TrustStore, TakesTheFileThatTheVariableNamesBesideTheFolder) {
    const SetVariable file("SSL_CERT_FILE", "/srv/authority.pem");
    EXPECT_EQ(TrustStore::system().file, "/srv/authority.pem");
    EXPECT_EQ(TrustStore::system().directory, "/etc/ssl/certs");
}

TEST(TrustStore, TakesAnEmptyVariableForNone) {
    const SetVariable directory("SSL_CERT_DIR", "");
    EXPECT_EQ(TrustStore::system().directory, "/etc/ssl/certs");
}
