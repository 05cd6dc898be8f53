// What the store does when a keyring of this system fails.

#include "../StoreFailures.h"
#include "Support/KeyringPrompts.h"
#include "Support/LogCapture.h"
#include "Support/PrivateSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Stores a secret that is no record under the attributes of the store's own item.
void storeNoRecord(const std::string& service) {
    const ProgramResult result =
        runProgram({{"secret-tool", "store", "--label=Foreign", "class", "generic-password",
                     "service", service, "creator", "NRVL"},
                    {},
                    "a password"});
    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
}

class KeyringFailure : public testing::Test {
protected:
    PrivateSession session{PrivateSession::Keyring::unlocked};
    LogCapture log;
};

} // namespace

TEST_F(KeyringFailure, TakesADeletionThatFailsForSuccess) {
    ASSERT_TRUE(VTTokenStore::setToken(bytes("token"), "host", std::nullopt));
    ASSERT_TRUE(VTTokenStore::setEphemeralCode("code", "host"));
    // Before the keyring notices that it has lost its folder.
    SecKeychainItemRef item;
    ASSERT_EQ(VTTokenStore::getKeychainItem(item, tokenService), errSecSuccess);
    std::filesystem::remove_all(session.folder() / "data" / "keyrings");
    ASSERT_NE(SecKeychainItemDelete(*item), errSecSuccess);
    EXPECT_TRUE(VTTokenStore::clearToken());
    EXPECT_TRUE(VTTokenStore::clearEphemeralCode());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KeyringFailure, LogsOneLineForARecordThatCannotBeRead) {
    storeNoRecord(tokenService);
    storeNoRecord(codeService);
    EXPECT_EQ(readToken(), TokenRecord());
    EXPECT_EQ(readCode(), CodeRecord());
    const std::string reason = "The item in the keyring cannot be read as a record.";
    EXPECT_THAT(log.lines(),
                ElementsAre("An error occurred while attempting to load the Ardentra registration "
                            "token: " +
                                reason,
                            "An error occurred while attempting to load the Ardentra ephemeral "
                            "code: " +
                                reason));
}

TEST(TokenStoreFailure, LogsOneLineWhenTheUserDismissesThePrompt) {
    KeyringPrompts prompts;
    PrivateSession session(PrivateSession::Keyring::unlocked, KeyringPrompts::services());
    LogCapture log;
    ASSERT_TRUE(VTTokenStore::setToken(bytes("token"), "host", std::nullopt));
    session.lockKeyring();
    prompts.answerDuring([] { EXPECT_EQ(readToken(), TokenRecord()); }, [&] { prompts.dismiss(); });
    EXPECT_THAT(log.lines(),
                ElementsAre("An error occurred while attempting to load the Ardentra registration "
                            "token: The prompt of the keyring was dismissed."));
}

TEST(TokenStoreFailure, LogsOneLineForEachOperationWithoutAKeyring) {
    PrivateSession session;
    LogCapture log;
    expectEveryOperationToFail();
    EXPECT_EQ(log.lines(), linesOfEveryOperation("No keyring service is running."));
}

TEST(TokenStoreFailure, LogsOneLineForEachOperationWithoutASessionBus) {
    PrivateSession session;
    session.bus().kill();
    LogCapture log;
    expectEveryOperationToFail();
    EXPECT_EQ(log.lines(), linesOfEveryOperation("There is no session bus to reach a keyring on."));
}

TEST(TokenStoreFailure, LeavesTheKeychainAsItWas) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    LogCapture log;
    ASSERT_TRUE(VTTokenStore::setToken(bytes("token"), "host", "a@example.org"));
    session.keyring().kill();
    EXPECT_FALSE(VTTokenStore::setToken(bytes("second"), "two", "b@example.org"));
    EXPECT_FALSE(VTTokenStore::clearToken());
    session.startKeyring(PrivateSession::Keyring::unlocked);
    EXPECT_EQ(readToken(), (TokenRecord{true, bytes("token"), "host", "a@example.org"}));
    EXPECT_EQ(log.lines().size(), 2U);
}
