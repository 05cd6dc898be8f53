#include "VTTokenStore.h"

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

constexpr const char* tokenService = "Ardentra Registration";
constexpr const char* codeService = "Ardentra Registration (ephemeral code)";

/// What the getter of the registration record wrote; "untouched" where it wrote nothing.
struct TokenRecord {
    bool succeeded = false;
    std::optional<Data> token = encodeUTF8("untouched");
    std::optional<std::string> server = "untouched";
    std::optional<std::string> account = "untouched";

    bool operator==(const TokenRecord&) const = default;
};

TokenRecord noToken() {
    return {true, std::nullopt, "", std::nullopt};
}

TokenRecord readToken() {
    TokenRecord record;
    record.succeeded = VTTokenStore::getToken(record.token, record.server, record.account);
    return record;
}

/// The same for the ephemeral-code record.
struct CodeRecord {
    bool succeeded = false;
    std::optional<std::string> code = "untouched";
    std::optional<std::string> server = "untouched";

    bool operator==(const CodeRecord&) const = default;
};

CodeRecord readCode() {
    CodeRecord record;
    record.succeeded = VTTokenStore::getEphemeralCode(record.code, record.server);
    return record;
}

Data bytes(const std::string& text) {
    return encodeUTF8(text);
}

/// The number of items with this service name, whoever made them.
std::size_t numberOfItems(const std::string& service) {
    const std::string found =
        runProgram({{"secret-tool", "search", "--all", "service", service}}).standardOutput;
    std::size_t count = 0;
    for (auto at = found.find("label = "); at != std::string::npos;
         at = found.find("label = ", at + 1))
        ++count;
    return count;
}

void storeAsAnotherProgram(const std::string& service, const std::string& creator,
                           const std::string& secret) {
    const ProgramResult result =
        runProgram({{"secret-tool", "store", "--label=Foreign", "class", "generic-password",
                     "service", service, "creator", creator},
                    {},
                    secret});
    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
}

/// An item that only differs in its creator from the store's own.
class ForeignItem {
public:
    explicit ForeignItem(std::string service) : service_(std::move(service)) {
        storeAsAnotherProgram(service_, "OTHR", secret);
    }

    bool isAsItWas() const {
        return runProgram({{"secret-tool", "lookup", "service", service_, "creator", "OTHR"}})
                   .standardOutput == secret;
    }

private:
    static constexpr const char* secret = R"({"value":"dG9rZW4="})";
    std::string service_;
};

class TokenStore : public testing::Test {
protected:
    PrivateSession session{PrivateSession::Keyring::unlocked};
    LogCapture log;
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
    EXPECT_EQ(numberOfItems(tokenService), 1U);
}

TEST_F(TokenStore, HoldsOneEphemeralCodeTheLatest) {
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("first", "one"));
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("second", "two"));
    EXPECT_EQ(readCode(), (CodeRecord{true, "second", "two"}));
    EXPECT_EQ(numberOfItems(codeService), 1U);
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
    const ForeignItem foreign(tokenService);
    EXPECT_EQ(readToken(), noToken());
    EXPECT_TRUE(VTTokenStore::clearToken());
    EXPECT_TRUE(VTTokenStore::setToken(bytes("mine"), "host", std::nullopt));
    EXPECT_TRUE(VTTokenStore::clearToken());
    EXPECT_TRUE(foreign.isAsItWas());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, NeitherSeesNorTouchesAnEphemeralCodeOfAnotherCreator) {
    const ForeignItem foreign(codeService);
    EXPECT_EQ(readCode(), CodeRecord());
    EXPECT_TRUE(VTTokenStore::clearEphemeralCode());
    EXPECT_TRUE(VTTokenStore::setEphemeralCode("mine", "host"));
    EXPECT_TRUE(VTTokenStore::clearEphemeralCode());
    EXPECT_TRUE(foreign.isAsItWas());
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
    EXPECT_EQ(numberOfItems(tokenService), 0U);
}

TEST_F(TokenStore, LogsAStatusBehindItsMessage) {
    VTTokenStore::logStatus(errSecIO, "A message with %@");
    VTTokenStore::logStatus(-1, "Another");
    EXPECT_THAT(log.lines(), ElementsAre("A message with %@: The keyring went away in the middle.",
                                         "Another: Unknown status -1."));
}

TEST_F(TokenStore, TakesADeletionThatFailsForSuccess) {
    ASSERT_TRUE(VTTokenStore::setToken(bytes("token"), "host", std::nullopt));
    ASSERT_TRUE(VTTokenStore::setEphemeralCode("code", "host"));
    std::filesystem::remove_all(session.folder() / "data" / "keyrings");
    SecKeychainItemRef item;
    ASSERT_EQ(VTTokenStore::getKeychainItem(item, tokenService), errSecSuccess);
    ASSERT_NE(SecKeychainItemDelete(*item), errSecSuccess);
    EXPECT_TRUE(VTTokenStore::clearToken());
    EXPECT_TRUE(VTTokenStore::clearEphemeralCode());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TokenStore, LogsOneLineForARecordThatCannotBeRead) {
    storeAsAnotherProgram(tokenService, "NRVL", "a password");
    storeAsAnotherProgram(codeService, "NRVL", "a password");
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

TEST_F(TokenStore, LogsOneLineForAnAccountThatCannotBeStored) {
    EXPECT_FALSE(VTTokenStore::setToken(bytes("token"), "host", "\xff"));
    EXPECT_THAT(log.lines(), ElementsAre("Failed to add or update the Ardentra registration token: "
                                         "The keyring cannot be asked for this."));
    EXPECT_EQ(readToken(), noToken());
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

namespace {

void expectEveryOperationToFail() {
    EXPECT_FALSE(VTTokenStore::setToken(bytes("token"), "host", "a@example.org"));
    EXPECT_FALSE(VTTokenStore::setEphemeralCode("code", "host"));
    EXPECT_EQ(readToken(), TokenRecord());
    EXPECT_EQ(readCode(), CodeRecord());
    EXPECT_FALSE(VTTokenStore::clearToken());
    EXPECT_FALSE(VTTokenStore::clearEphemeralCode());
}

/// The lines of the operations above, on a keychain that fails for this reason.
std::vector<std::string> linesOfEveryOperation(const std::string& reason) {
    return {"Failed to add or update the Ardentra registration token: " + reason,
            "Failed to add or update the Ardentra ephemeral code: " + reason,
            "An error occurred while attempting to load the Ardentra registration token: " + reason,
            "An error occurred while attempting to load the Ardentra ephemeral code: " + reason,
            "Unable to remove the Ardentra registration token: " + reason,
            "Unable to remove the Ardentra ephemeral code: " + reason};
}

} // namespace

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
