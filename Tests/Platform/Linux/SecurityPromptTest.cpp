#include "Platform/Linux/SecretService.h"
#include "Platform/Security.h"
#include "Support/KeychainQueries.h"
#include "Support/KeyringPrompts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

using namespace platform;

namespace {

class SecurityPrompt : public testing::Test {
protected:
    /// The operation's status, with a user who does something about the prompt.
    OSStatus runWithUser(const std::function<OSStatus()>& operation,
                         const std::function<void()>& user) {
        OSStatus status = errSecSuccess;
        prompts.answerDuring([&] { status = operation(); }, user);
        return status;
    }

    KeyringPrompts prompts;
    PrivateSession session{KeyringPrompts::services()};
};

class LockedKeyring : public SecurityPrompt {
protected:
    void SetUp() override {
        session.startKeyring(PrivateSession::Keyring::unlocked);
        ASSERT_EQ(addItem("token"), errSecSuccess);
        session.lockKeyring();
    }
};

} // namespace

TEST_F(LockedKeyring, IsReadOnceTheUserHasUnlockedIt) {
    std::string value;
    EXPECT_EQ(runWithUser(
                  [&] {
                      const auto [status, record] = readItem();
                      if (status == errSecSuccess)
                          value = decodeUTF8(std::get<Data>(record.at(kSecValueData))).value();
                      return status;
                  },
                  [this] { prompts.typePassword(); }),
              errSecSuccess);
    EXPECT_EQ(value, "token");
}

TEST_F(LockedKeyring, WaitsLongerForTheUserThanForAnAnswer) {
    using Clock = std::chrono::steady_clock;
    const auto limitBefore = std::exchange(secretServiceTimeLimit, std::chrono::milliseconds(500));
    std::optional<Clock::time_point> seen;
    const auto typeLate = [&] {
        seen = seen.value_or(Clock::now());
        if (Clock::now() - *seen > 4 * secretServiceTimeLimit)
            prompts.typePassword();
    };
    EXPECT_EQ(runWithUser(statusOfReading, typeLate), errSecSuccess);
    secretServiceTimeLimit = limitBefore;
}

TEST_F(LockedKeyring, IsUpdatedOnceTheUserHasUnlockedIt) {
    EXPECT_EQ(runWithUser([] { return SecItemUpdate(referenceQuery(), valueSet("new")); },
                          [this] { prompts.typePassword(); }),
              errSecSuccess);
    EXPECT_EQ(readValue(), "new");
}

TEST_F(LockedKeyring, TakesANewItemOnceTheUserHasUnlockedIt) {
    const auto add = [] {
        return SecItemAdd(with(itemIdentity("Another"), valueSet("another token")));
    };
    EXPECT_EQ(runWithUser(add, [this] { prompts.typePassword(); }), errSecSuccess);
    EXPECT_EQ(add(), errSecDuplicateItem);
}

TEST_F(LockedKeyring, StaysLockedWhenTheUserDismissesThePrompt) {
    const std::vector<std::function<OSStatus()>> operations{
        [] { return statusOfReading(); },
        [] { return SecItemUpdate(referenceQuery(), valueSet("new")); },
        [] { return SecItemAdd(with(itemIdentity("Another"), valueSet("new"))); },
        [] {
            SecResult result;
            return SecItemCopyMatching(referenceQuery(), result);
        }};
    for (const auto& operation : operations)
        EXPECT_EQ(runWithUser(operation, [this] { prompts.dismiss(); }), errSecUserCanceled);
    session.startKeyring(PrivateSession::Keyring::unlocked);
    EXPECT_EQ(readValue(), "token");
}

TEST_F(LockedKeyring, IsMissedWhenItGoesAwayDuringThePrompt) {
    EXPECT_EQ(runWithUser(statusOfReading, [this] { session.keyring().sendSignal(SIGKILL); }),
              errSecIO);
}

TEST_F(LockedKeyring, IsMissedWhenTheBusGoesAwayDuringThePrompt) {
    EXPECT_EQ(runWithUser(statusOfReading, [this] { session.bus().sendSignal(SIGKILL); }),
              errSecIO);
}

TEST_F(LockedKeyring, CannotBeUnlockedWhereNothingCanAskTheUser) {
    PrivateSession sessionWithoutPrompter(PrivateSession::Keyring::unlocked);
    ASSERT_EQ(addItem("token"), errSecSuccess);
    sessionWithoutPrompter.lockKeyring();
    EXPECT_EQ(statusOfReading(), errSecUserCanceled);
}

TEST_F(SecurityPrompt, MakesTheDefaultKeyringWhereThereIsNone) {
    session.startKeyring(PrivateSession::Keyring::locked);
    EXPECT_EQ(statusOfReading(), errSecItemNotFound);
    // No password, and then the confirmation that none is wanted.
    const auto proceed = [this] { prompts.proceed(); };
    EXPECT_EQ(runWithUser([] { return addItem("token"); }, proceed), errSecSuccess);
    EXPECT_EQ(readValue(), "token");
}

TEST_F(SecurityPrompt, AddsNothingWhenTheUserWantsNoDefaultKeyring) {
    session.startKeyring(PrivateSession::Keyring::locked);
    EXPECT_EQ(runWithUser([] { return addItem("token"); }, [this] { prompts.dismiss(); }),
              errSecUserCanceled);
    EXPECT_EQ(statusOfReading(), errSecItemNotFound);
}
