// What the store does with the user's keychain, whatever the keychain is.

#include "VTTokenStore.h"

#include "KeychainUnderTest.h"
#include "LogUnderTest.h"
#include "StoredRecords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class TokenStore : public testing::Test {
protected:
    KeychainUnderTest keychain;
    LogUnderTest log;
};

} // namespace

TEST_F(TokenStore, YieldsNoTokenWhenNothingIsStored) {
    EXPECT_EQ(readToken(), noToken());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, LeavesTheArgumentsWhenNoEphemeralCodeIsStored) {
    EXPECT_EQ(readCode(), CodeRecord());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, ClearsWhatIsNotThere) {
    EXPECT_TRUE(VTTokenStore::clearToken());
    EXPECT_TRUE(VTTokenStore::clearEphemeralCode());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, ReadsBackTheTokenThatItStored) {
    EXPECT_TRUE(VTTokenStore::setToken(bytes("token"), "host:8443", "a@example.org"));
    EXPECT_EQ(readToken(), (TokenRecord{true, bytes("token"), "host:8443", "a@example.org"}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, ReadsBackTheEphemeralCodeThatItStored) {
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("gr\xc3\xbcn", "host"));
    EXPECT_EQ(readCode(), (CodeRecord{true, "gr\xc3\xbcn", "host"}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, HoldsOneRegistrationTheLatest) {
    EXPECT_TRUE(VTTokenStore::setToken(bytes("first"), "one", "a@example.org"));
    EXPECT_TRUE(VTTokenStore::setToken(bytes("second"), "two", "b@example.org"));
    EXPECT_EQ(readToken(), (TokenRecord{true, bytes("second"), "two", "b@example.org"}));
    EXPECT_EQ(keychain.numberOfItems(tokenService), 1U);
}

TEST_F(TokenStore, HoldsOneEphemeralCodeTheLatest) {
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("first", "one"));
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("second", "two"));
    EXPECT_EQ(readCode(), (CodeRecord{true, "second", "two"}));
    EXPECT_EQ(keychain.numberOfItems(codeService), 1U);
}

TEST_F(TokenStore, CreatesARecordWithoutAccountAndServerWhenTheyAreAbsent) {
    EXPECT_TRUE(VTTokenStore::setToken(bytes("token"), std::nullopt, std::nullopt));
    EXPECT_EQ(readToken(), (TokenRecord{true, bytes("token"), "", std::nullopt}));
}

TEST_F(TokenStore, KeepsTheAccountWhenTheNewOneIsAbsent) {
    EXPECT_TRUE(VTTokenStore::setToken(bytes("first"), "one", "a@example.org"));
    EXPECT_TRUE(VTTokenStore::setToken(bytes("second"), "two", std::nullopt));
    EXPECT_EQ(readToken(), (TokenRecord{true, bytes("second"), "two", "a@example.org"}));
}

TEST_F(TokenStore, KeepsTheServerWhenTheNewOneIsAbsent) {
    EXPECT_TRUE(VTTokenStore::setToken(bytes("first"), "one", "a@example.org"));
    EXPECT_TRUE(VTTokenStore::setToken(bytes("second"), std::nullopt, std::nullopt));
    EXPECT_EQ(readToken(), (TokenRecord{true, bytes("second"), "one", "a@example.org"}));
}

TEST_F(TokenStore, KeepsTheBytesOfATokenExactly) {
    Data everyByte;
    for (int byte = 255; byte >= 0; --byte)
        everyByte.push_back(static_cast<std::byte>(byte));
    for (const Data& token : {everyByte, Data(), bytes("\xc3\x28"), Data(1 << 20, std::byte{0})}) {
        ASSERT_TRUE(VTTokenStore::setToken(token, "host", std::nullopt));
        EXPECT_TRUE(readToken().token == token) << token.size() << " bytes";
    }
}

TEST_F(TokenStore, YieldsNoServerWhenItsBytesAreNotUTF8) {
    EXPECT_TRUE(VTTokenStore::setToken(bytes("token"), "\xff", "a@example.org"));
    EXPECT_EQ(readToken(), (TokenRecord{true, bytes("token"), std::nullopt, "a@example.org"}));
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("\xc3\x28", "\xff"));
    EXPECT_EQ(readCode(), (CodeRecord{true, std::nullopt, std::nullopt}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, YieldsAnEmptyServerForAnEphemeralCodeWithoutOne) {
    ASSERT_EQ(VTTokenStore::addOrUpdateKeychainItemForService(codeService, bytes("code"),
                                                              std::nullopt, std::nullopt),
              errSecSuccess);
    EXPECT_EQ(readCode(), (CodeRecord{true, "code", ""}));
}

TEST_F(TokenStore, NeitherSeesNorTouchesATokenOfAnotherCreator) {
    keychain.storeAsAnotherProgram(tokenService, "OTHR", "theirs");
    EXPECT_EQ(readToken(), noToken());
    EXPECT_TRUE(VTTokenStore::clearToken());
    EXPECT_TRUE(VTTokenStore::setToken(bytes("mine"), "host", std::nullopt));
    EXPECT_TRUE(VTTokenStore::clearToken());
    EXPECT_EQ(keychain.readAsAnotherProgram(tokenService, "OTHR"), "theirs");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, NeitherSeesNorTouchesAnEphemeralCodeOfAnotherCreator) {
    keychain.storeAsAnotherProgram(codeService, "OTHR", "theirs");
    EXPECT_EQ(readCode(), CodeRecord());
    EXPECT_TRUE(VTTokenStore::clearEphemeralCode());
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("mine", "host"));
    EXPECT_TRUE(VTTokenStore::clearEphemeralCode());
    EXPECT_EQ(keychain.readAsAnotherProgram(codeService, "OTHR"), "theirs");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, KeepsTheTwoRecordsApart) {
    EXPECT_TRUE(VTTokenStore::setToken(bytes("token"), "one", "a@example.org"));
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("code", "two"));
    const TokenRecord token{true, bytes("token"), "one", "a@example.org"};
    EXPECT_EQ(readToken(), token);
    EXPECT_TRUE(VTTokenStore::clearEphemeralCode());
    EXPECT_EQ(readCode(), CodeRecord());
    EXPECT_EQ(readToken(), token);
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("code", "two"));
    EXPECT_TRUE(VTTokenStore::clearToken());
    EXPECT_EQ(readToken(), noToken());
    EXPECT_EQ(readCode(), (CodeRecord{true, "code", "two"}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, BuildsAQueryOfFiveEntries) {
    EXPECT_EQ(VTTokenStore::queryAttributesForService("A service"),
              (SecDictionary{{kSecClass, kSecClassGenericPassword},
                             {kSecAttrService, std::string("A service")},
                             {kSecAttrCreator, 0x4E52564C},
                             {kSecReturnRef, true},
                             {kSecMatchLimit, kSecMatchLimitOne}}));
}

TEST_F(TokenStore, LooksAnItemUp) {
    SecKeychainItemRef item;
    EXPECT_EQ(VTTokenStore::getKeychainItem(item, tokenService), errSecItemNotFound);
    EXPECT_EQ(item, nullptr);
    EXPECT_TRUE(VTTokenStore::setToken(bytes("token"), "host", std::nullopt));
    EXPECT_EQ(VTTokenStore::getKeychainItem(item, tokenService), errSecSuccess);
    EXPECT_NE(item, nullptr);
}

TEST_F(TokenStore, CountsAMissingItemAsDeleted) {
    EXPECT_EQ(VTTokenStore::deleteItemForService(tokenService), errSecSuccess);
    EXPECT_TRUE(VTTokenStore::setToken(bytes("token"), "host", std::nullopt));
    EXPECT_EQ(VTTokenStore::deleteItemForService(tokenService), errSecSuccess);
    EXPECT_EQ(keychain.numberOfItems(tokenService), 0U);
}

TEST_F(TokenStore, LogsAStatusBehindItsMessage) {
    VTTokenStore::logStatus(errSecIO, "A message with %@");
    VTTokenStore::logStatus(-1, "Another");
    EXPECT_THAT(log.lines(),
                ElementsAre("A message with %@: " + SecCopyErrorMessageString(errSecIO),
                            "Another: " + SecCopyErrorMessageString(-1)));
}

TEST_F(TokenStore, LogsOneLineForAnAccountThatCannotBeStored) {
    EXPECT_FALSE(VTTokenStore::setToken(bytes("token"), "host", "\xff"));
    EXPECT_THAT(log.lines(),
                ElementsAre("Failed to add or update the Ardentra registration token: " +
                            SecCopyErrorMessageString(errSecParam)));
    EXPECT_EQ(readToken(), noToken());
}
