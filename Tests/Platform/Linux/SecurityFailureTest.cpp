#include "Platform/Linux/SecretService.h"
#include "Platform/Security.h"
#include "Support/KeychainQueries.h"
#include "Support/KeyringTimeLimit.h"
#include "Support/PrivateSession.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <future>

using namespace platform;

namespace {

using Clock = std::chrono::steady_clock;

/// Every function fails with this status and leaves the result alone.
void expectEverythingToFailWith(OSStatus status) {
    SecResult result;
    EXPECT_EQ(SecItemCopyMatching(referenceQuery(), result), status);
    EXPECT_EQ(SecItemCopyMatching(recordQuery(), result), status);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(result));
    EXPECT_EQ(SecItemUpdate(referenceQuery(), valueSet("new")), status);
    EXPECT_EQ(addItem("new"), status);
}

void expectTimeOut() {
    constexpr std::chrono::milliseconds limit(1500);
    const KeyringTimeLimit limited(limit);
    const auto start = Clock::now();
    EXPECT_EQ(statusOfReading(), kPOSIXErrorBase + ETIMEDOUT);
    EXPECT_GE(Clock::now() - start, limit);
    EXPECT_LT(Clock::now() - start, 2 * limit);
}

/// Prints each message that the session bus delivers from now on.
class BusMonitor {
public:
    BusMonitor() : monitor_({{"dbus-monitor", "--session"}}) {
        // The first thing it prints is that its own name was lost to monitoring.
        waitForMessage("member=NameLost");
    }

    void waitForMessage(const std::string& part) const {
        EXPECT_TRUE(
            waitUntil([&] { return monitor_.standardOutput().find(part) != std::string::npos; }));
    }

private:
    ChildProcess monitor_;
};

} // namespace

TEST(SecurityFailure, AnswersAreBoundedToTenSeconds) {
    EXPECT_EQ(secretServiceTimeLimit, std::chrono::seconds(10));
}

TEST(SecurityFailure, SaysThatThereIsNoSessionBus) {
    PrivateSession session;
    const SetVariable noAddress("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    {
        // The folder holds a bus no longer, or not yet.
        const SetVariable runtime("XDG_RUNTIME_DIR", (session.folder() / "run").string());
        expectEverythingToFailWith(errSecNotAvailable);
    }
    const SetVariable noRuntime("XDG_RUNTIME_DIR", std::nullopt);
    expectEverythingToFailWith(errSecNotAvailable);
}

TEST(SecurityFailure, SaysThatTheSessionBusRefusesOrIsGone) {
    PrivateSession session;
    session.bus().kill();
    expectEverythingToFailWith(errSecNotAvailable);
    const SetVariable nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    expectEverythingToFailWith(errSecNotAvailable);
}

TEST(SecurityFailure, FindsTheSessionBusInTheRuntimeFolder) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    const SetVariable noAddress("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    const SetVariable runtime("XDG_RUNTIME_DIR", session.folder().string());
    EXPECT_EQ(addItem("token"), errSecSuccess);
    EXPECT_EQ(readValue(), "token");
}

TEST(SecurityFailure, SaysThatNoKeyringIsRunning) {
    PrivateSession session;
    expectEverythingToFailWith(errSecServiceNotAvailable);
}

TEST(SecurityFailure, SaysThatTheKeyringCannotBeStarted) {
    PrivateSession session(PrivateSession::Services{{"org.freedesktop.secrets", "/bin/false"}});
    expectEverythingToFailWith(errSecServiceNotAvailable);
}

TEST(SecurityFailure, HasTheBusStartTheKeyring) {
    PrivateSession session(PrivateSession::Services{
        {"org.freedesktop.secrets",
         "/usr/bin/gnome-keyring-daemon --start --foreground --components=secrets"}});
    EXPECT_EQ(statusOfReading(), errSecItemNotFound);
}

TEST(SecurityFailure, DoesNotWaitLongForAKeyringThatHangs) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    ASSERT_EQ(addItem("token"), errSecSuccess);
    session.keyring().stop();
    expectTimeOut();
    session.keyring().sendSignal(SIGCONT);
    EXPECT_EQ(readValue(), "token");
}

TEST(SecurityFailure, DoesNotWaitLongForABusThatHangs) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    ASSERT_EQ(addItem("token"), errSecSuccess);
    session.bus().stop();
    expectTimeOut();
    session.bus().sendSignal(SIGCONT);
    EXPECT_EQ(readValue(), "token");
}

TEST(SecurityFailure, DoesNotWaitLongForABusThatHangsInTheMiddle) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    ASSERT_EQ(addItem("token"), errSecSuccess);
    const KeyringTimeLimit limit(std::chrono::milliseconds(200));
    SecResult result;
    ASSERT_EQ(SecItemCopyMatching(referenceQuery(), result), errSecSuccess);
    session.bus().stop();
    EXPECT_EQ(SecKeychainItemDelete(*std::get<SecKeychainItemRef>(result)),
              kPOSIXErrorBase + ETIMEDOUT);
    session.bus().sendSignal(SIGCONT);
}

TEST(SecurityFailure, SaysThatTheKeyringWentAwayDuringACall) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    ASSERT_EQ(addItem("token"), errSecSuccess);
    const BusMonitor monitor;
    session.keyring().stop();
    auto status = std::async(std::launch::async, statusOfReading);
    monitor.waitForMessage("member=SearchItems");
    session.keyring().kill();
    EXPECT_EQ(status.get(), errSecIO);
}

TEST(SecurityFailure, SaysThatTheBusWentAwayDuringACall) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    const BusMonitor monitor;
    session.keyring().stop();
    auto status = std::async(std::launch::async, statusOfReading);
    monitor.waitForMessage("member=SearchItems");
    session.bus().kill();
    EXPECT_EQ(status.get(), errSecIO);
}

TEST(SecurityFailure, SaysThatTheKeyringWentAwayBetweenCalls) {
    PrivateSession session(PrivateSession::Keyring::unlocked);
    ASSERT_EQ(addItem("token"), errSecSuccess);
    SecResult result;
    ASSERT_EQ(SecItemCopyMatching(referenceQuery(), result), errSecSuccess);
    session.keyring().kill();
    EXPECT_EQ(SecKeychainItemDelete(*std::get<SecKeychainItemRef>(result)), errSecIO);
}

TEST(SecurityFailure, HasATextForEveryStatus) {
    const std::map<OSStatus, std::string> texts{
        {errSecSuccess, "No error."},
        {errSecParam, "The keyring cannot be asked for this."},
        {errSecUserCanceled, "The prompt of the keyring was dismissed."},
        {errSecNotAvailable, "There is no session bus to reach a keyring on."},
        {errSecServiceNotAvailable, "No keyring service is running."},
        {errSecDuplicateItem, "The item is in the keyring already."},
        {errSecItemNotFound, "The item is not in the keyring."},
        {errSecDecode, "The item in the keyring cannot be read as a record."},
        {errSecInteractionNotAllowed, "The keyring is locked."},
        {errSecIO, "The keyring went away in the middle."},
        {errSecInternalComponent, "The keyring answered with an error."},
        {kPOSIXErrorBase + ETIMEDOUT, "The keyring did not answer in time."},
        {kPOSIXErrorBase + EACCES, "Permission denied"},
        {kPOSIXErrorBase, "Unknown status 100000."},
        {-1, "Unknown status -1."}};
    for (const auto& [status, text] : texts)
        EXPECT_EQ(SecCopyErrorMessageString(status), text);
}
