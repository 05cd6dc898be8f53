// How the system's keychain functions are used, beyond what every keychain has to do.

#include "Desktop App/StoreFailures.h"
#include "KeychainUnderTest.h"
#include "LogUnderTest.h"
#include "Platform/Security.h"
#include "StandIns/Keychain.h"
#include "Support/KeychainQueries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace platform;
using testing::IsEmpty;

namespace {

constexpr OSStatus errSecAuthFailed = -25293;

class KeychainFailure : public testing::Test {
protected:
    KeychainUnderTest keychainUnderTest;
    standins::Keychain& keychain = standins::keychain();
    LogUnderTest log;
};

} // namespace

TEST_F(KeychainFailure, IsTheStatusThatTheSystemGives) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    keychain.failure = errSecAuthFailed;
    SecResult result = itemIdentity();
    EXPECT_EQ(SecItemCopyMatching(referenceQuery(), result), errSecAuthFailed);
    EXPECT_EQ(SecItemCopyMatching(recordQuery(), result), errSecAuthFailed);
    EXPECT_EQ(std::get<SecDictionary>(result), itemIdentity());
    EXPECT_EQ(SecItemUpdate(referenceQuery(), valueSet("new")), errSecAuthFailed);
    EXPECT_EQ(addItem("new"), errSecAuthFailed);
    keychain.failure = errSecSuccess;
    EXPECT_EQ(readValue(), "token");
}

TEST_F(KeychainFailure, IsAnItemOfAnotherCreatorThatIsTheSameToTheSystem) {
    keychainUnderTest.storeAsAnotherProgram(testService, "OTHR", "theirs");
    keychain.items.front()->account.reset();
    EXPECT_EQ(addItem("mine"), errSecDuplicateItem);
    EXPECT_EQ(keychainUnderTest.readAsAnotherProgram(testService, "OTHR"), "theirs");
}

TEST_F(KeychainFailure, IsAResultThatIsNoRecord) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    keychain.findsText = true;
    SecResult result;
    EXPECT_EQ(SecItemCopyMatching(recordQuery(), result), errSecDecode);
    EXPECT_EQ(SecItemCopyMatching(with(itemIdentity(), {{kSecReturnData, true}}), result),
              errSecDecode);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(result));
}

TEST_F(KeychainFailure, IsNotASecretThatIsEmpty) {
    ASSERT_EQ(addItem(""), errSecSuccess);
    keychain.leavesOutEmptySecrets = true;
    EXPECT_EQ(readItem().second, with(itemIdentity(), valueSet("")));
}

TEST_F(KeychainFailure, IsNotASearchForNothingButWhetherThereIsAnItem) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    SecResult result;
    EXPECT_EQ(SecItemCopyMatching(itemIdentity(), result), errSecSuccess);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(result));
}

TEST_F(KeychainFailure, IsDescribedByTheSystemOrByItsNumber) {
    EXPECT_EQ(SecCopyErrorMessageString(errSecAuthFailed), "The stand-in's text for -25293.");
    EXPECT_EQ(SecCopyErrorMessageString(1), "Unknown status 1.");
}

TEST_F(KeychainFailure, LogsOneLineForEachOperationOfTheStore) {
    keychain.failure = errSecAuthFailed;
    expectEveryOperationToFail();
    EXPECT_EQ(log.lines(), linesOfEveryOperation("The stand-in's text for -25293."));
}

TEST_F(KeychainFailure, OfADeletionIsTakenForSuccessByTheStore) {
    ASSERT_TRUE(VTTokenStore::setToken(bytes("token"), "host", std::nullopt));
    keychain.failureOfDeletion = errSecAuthFailed;
    EXPECT_TRUE(VTTokenStore::clearToken());
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(keychain.items.size(), 1U);
}

TEST_F(KeychainFailure, SaysHowTheDefaultKeychainStands) {
    SecKeychainStatus status = 77;
    EXPECT_EQ(SecKeychainGetStatus(status), errSecSuccess);
    EXPECT_EQ(status, 0U);
    keychain.status |= kSecUnlockStateStatus;
    EXPECT_EQ(SecKeychainGetStatus(status), errSecSuccess);
    EXPECT_EQ(status, kSecUnlockStateStatus);
    keychain.failureOfStatus = errSecAuthFailed;
    EXPECT_EQ(SecKeychainGetStatus(status), errSecAuthFailed);
    EXPECT_EQ(status, kSecUnlockStateStatus);
    keychain.failureOfStatus = -25307; // there is no default keychain
    EXPECT_EQ(SecKeychainGetStatus(status), errSecSuccess);
    EXPECT_EQ(status, 0U);
}

TEST_F(KeychainFailure, ComesBeforeAPromptThatIsNotAllowed) {
    EXPECT_EQ(SecKeychainSetUserInteractionAllowed(false), errSecSuccess);
    EXPECT_FALSE(keychain.mayAskUser);
    EXPECT_EQ(SecKeychainSetUserInteractionAllowed(true), errSecSuccess);
    EXPECT_TRUE(keychain.mayAskUser);
}
