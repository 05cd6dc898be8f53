#include "Platform/Linux/SecretService.h"
#include "Platform/Security.h"
#include "Support/KeychainQueries.h"
#include "Support/PrivateSession.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

using namespace platform;

namespace {

constexpr SecKeychainStatus untouched = 4711;

/// Keeps calls from asking the user for as long as this lives.
class NoUserInteraction {
public:
    NoUserInteraction() { SecKeychainSetUserInteractionAllowed(false); }
    NoUserInteraction(const NoUserInteraction&) = delete;
    NoUserInteraction& operator=(const NoUserInteraction&) = delete;
    ~NoUserInteraction() { SecKeychainSetUserInteractionAllowed(true); }
};

} // namespace

TEST(SecurityStatus, TellsWhetherTheKeychainIsUnlocked) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    SecKeychainStatus status = untouched;
    EXPECT_EQ(SecKeychainGetStatus(status), errSecSuccess);
    EXPECT_EQ(status, kSecUnlockStateStatus);
    ASSERT_EQ(addItem("token"), errSecSuccess);
    session.lockKeyring();
    EXPECT_EQ(SecKeychainGetStatus(status), errSecSuccess);
    EXPECT_EQ(status, 0U);
}

TEST(SecurityStatus, StartsNoKeychain) {
    const TemporaryFolder folder;
    const std::filesystem::path started = folder.path() / "started";
    const PrivateSession session(
        {{"org.freedesktop.secrets", "/bin/sh -c 'touch " + started.string() + "; exit 1'"}});
    SecKeychainStatus status = untouched;
    EXPECT_EQ(SecKeychainGetStatus(status), errSecServiceNotAvailable);
    EXPECT_EQ(status, untouched);
    EXPECT_FALSE(std::filesystem::exists(started));
    // Other calls do start it.
    EXPECT_EQ(statusOfReading(), errSecServiceNotAvailable);
    EXPECT_TRUE(std::filesystem::exists(started));
}

TEST(SecurityStatus, IsUnknownWithoutASessionBus) {
    const PrivateSession session;
    const SetVariable noAddress("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    SecKeychainStatus status = untouched;
    EXPECT_EQ(SecKeychainGetStatus(status), errSecNotAvailable);
    EXPECT_EQ(status, untouched);
}

TEST(SecurityStatus, IsUnknownWhenTheKeychainDoesNotAnswer) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    session.keyring().stop();
    const auto limitBefore = secretServiceTimeLimit;
    secretServiceTimeLimit = std::chrono::milliseconds(200);
    SecKeychainStatus status = untouched;
    EXPECT_EQ(SecKeychainGetStatus(status), kPOSIXErrorBase + ETIMEDOUT);
    EXPECT_EQ(status, untouched);
    secretServiceTimeLimit = limitBefore;
}

TEST(SecurityStatus, LetsNobodyAskTheUserWhereThatIsSwitchedOff) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    ASSERT_EQ(addItem("token"), errSecSuccess);
    {
        const NoUserInteraction noUserInteraction;
        EXPECT_EQ(readValue(), "token");
        session.lockKeyring();
        EXPECT_EQ(statusOfReading(), errSecInteractionNotAllowed);
        EXPECT_EQ(SecItemUpdate(referenceQuery(), valueSet("new")), errSecInteractionNotAllowed);
    }
    // Here there is nothing that could ask.
    EXPECT_EQ(statusOfReading(), errSecUserCanceled);
}
