#include "Platform/Security.h"

#include "Platform/Linux/SecretService.h"
#include "Support/KeychainQueries.h"
#include "Support/PrivateSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace platform;
using testing::HasSubstr;
using namespace std::string_literals;

namespace {

class Security : public testing::Test {
protected:
    PrivateSession session{PrivateSession::Keyring::unlocked};
};

using Attributes = std::map<std::string, std::string>;

Attributes testAttributes() {
    return {{"class", "generic-password"}, {"service", testService}, {"creator", "NRVL"}};
}

ProgramResult secretTool(const std::vector<std::string>& command, const Attributes& attributes,
                         const std::string& secret = "") {
    Program program{{"secret-tool"}, {}, secret};
    program.arguments.insert(program.arguments.end(), command.begin(), command.end());
    for (const auto& [name, value] : attributes)
        program.arguments.insert(program.arguments.end(), {name, value});
    return runProgram(program);
}

void storeAsAnotherProgram(const Attributes& attributes, const std::string& secret) {
    ASSERT_EQ(secretTool({"store", "--label=Foreign"}, attributes, secret).exitStatus, 0);
}

/// All that another program sees of the items that have these attributes.
std::string seenByAnotherProgram(const Attributes& attributes) {
    const ProgramResult result = secretTool({"search", "--all"}, attributes);
    return result.standardOutput + result.standardError;
}

Attributes changed(const std::string& name, const std::string& value) {
    Attributes attributes = testAttributes();
    attributes[name] = value;
    return attributes;
}

std::size_t numberOf(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

SecKeychainItemRef findReference() {
    SecResult result;
    EXPECT_EQ(SecItemCopyMatching(referenceQuery(), result), errSecSuccess);
    return std::get<SecKeychainItemRef>(std::move(result));
}

void addUpdateAndDeleteItem() {
    EXPECT_EQ(statusOfReading(), errSecItemNotFound);
    EXPECT_EQ(SecItemUpdate(referenceQuery(), valueSet("new")), errSecItemNotFound);
    ASSERT_EQ(addItem("mine"), errSecSuccess);
    ASSERT_EQ(SecItemUpdate(referenceQuery(), valueSet("mine too")), errSecSuccess);
    ASSERT_EQ(SecKeychainItemDelete(*findReference()), errSecSuccess);
}

} // namespace

TEST_F(Security, AddsNoSecondItem) {
    ASSERT_EQ(addItem("first"), errSecSuccess);
    EXPECT_EQ(addItem("second"), errSecDuplicateItem);
    EXPECT_EQ(readValue(), "first");
    session.lockKeyring();
    EXPECT_EQ(addItem("second"), errSecDuplicateItem);
}

TEST_F(Security, RefersToNoItemOfAKeyringThatWasStartedAnew) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    const SecKeychainItemRef item = findReference();
    session.startKeyring(PrivateSession::Keyring::unlocked);
    EXPECT_EQ(SecKeychainItemDelete(*item), errSecIO);
    EXPECT_EQ(readValue(), "token");
}

TEST_F(Security, KeepsItemsFromRunToRun) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    session.startKeyring(PrivateSession::Keyring::unlocked);
    EXPECT_EQ(readValue(), "token");
}

TEST_F(Security, ShowsOtherProgramsThreeAttributesAndALabel) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    const std::string seen = seenByAnotherProgram(testAttributes());
    EXPECT_THAT(seen, HasSubstr("label = "s + testService + "\n"));
    EXPECT_THAT(seen, HasSubstr("secret = {\"value\":\"dG9rZW4=\"}\n"));
    // A keyring may add attributes of its own, to this item as to any other.
    const Attributes other = changed("service", "Other");
    storeAsAnotherProgram(other, "secret");
    EXPECT_EQ(numberOf("attribute.", seen), numberOf("attribute.", seenByAnotherProgram(other)));
}

TEST_F(Security, PutsItemsInTheDefaultKeyring) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    std::unique_ptr<SecretService> service;
    ASSERT_EQ(SecretService::connect(service), errSecSuccess);
    SecretService::Matches matches;
    ASSERT_EQ(service->search(testAttributes(), matches), errSecSuccess);
    ASSERT_EQ(matches.unlocked.size(), 1U);
    EXPECT_TRUE(matches.unlocked.front().starts_with(PrivateSession::defaultCollection));
}

TEST_F(Security, WritesACodeThatCannotBePrintedAsANumber) {
    const std::int32_t unprintable = 0x4E52560A;
    ASSERT_EQ(
        SecItemAdd(with(with(itemIdentity(), valueSet("token")), {{kSecAttrCreator, unprintable}})),
        errSecSuccess);
    EXPECT_THAT(seenByAnotherProgram(changed("creator", "0x4e52560a")), HasSubstr("dG9rZW4="));
    EXPECT_EQ(statusOfReading(), errSecItemNotFound);
}

TEST_F(Security, NeitherSeesNorTouchesItemsOfAnotherCreatorServiceOrClass) {
    const std::string secret = R"({"value":"dG9rZW4="})";
    // The barest first: another program's store replaces whatever has its attributes and more.
    const std::vector<Attributes> others{{{"service", testService}},
                                         changed("creator", "OTHR"),
                                         changed("service", "Other"),
                                         changed("class", "internet-password")};
    for (const Attributes& other : others)
        storeAsAnotherProgram(other, secret);
    addUpdateAndDeleteItem();
    for (const Attributes& other : others)
        EXPECT_EQ(secretTool({"lookup"}, other).standardOutput, secret)
            << testing::PrintToString(other);
}

TEST_F(Security, StaysWithOneOfSeveralMatchingItems) {
    storeAsAnotherProgram(changed("more", "1"), R"({"value":"Zmlyc3Q="})");
    storeAsAnotherProgram(changed("more", "2"), R"({"value":"Zmlyc3Q="})");
    EXPECT_EQ(readValue(), "first");
    ASSERT_EQ(SecItemUpdate(referenceQuery(), valueSet("second")), errSecSuccess);
    EXPECT_EQ(readValue(), "second");
    EXPECT_EQ(addItem("third"), errSecDuplicateItem);
    EXPECT_EQ(numberOf("Zmlyc3Q=", seenByAnotherProgram(testAttributes())), 1U);
    ASSERT_EQ(SecKeychainItemDelete(*findReference()), errSecSuccess);
    EXPECT_EQ(readValue(), "first");
}

TEST_F(Security, RefusesToReadASecretThatIsNoRecord) {
    storeAsAnotherProgram(testAttributes(), "a password");
    EXPECT_EQ(statusOfReading(), errSecDecode);
    EXPECT_EQ(SecItemUpdate(referenceQuery(), {{kSecAttrAccount, std::string("account")}}),
              errSecDecode);
    EXPECT_EQ(secretTool({"lookup"}, testAttributes()).standardOutput, "a password");
    EXPECT_EQ(SecKeychainItemDelete(*findReference()), errSecSuccess);
    EXPECT_EQ(statusOfReading(), errSecItemNotFound);
}

TEST_F(Security, MendsASecretThatIsNoRecordWithAWholeNewValue) {
    storeAsAnotherProgram(testAttributes(), "half a rec");
    ASSERT_EQ(SecItemUpdate(referenceQuery(), valueSet("new")), errSecSuccess);
    EXPECT_EQ(readValue(), "new");
}

TEST_F(Security, TakesAnItemThatVanishesForOneThatDoesNotMatch) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    std::unique_ptr<SecretService> service;
    ASSERT_EQ(SecretService::connect(service), errSecSuccess);
    SecretService::Matches matches;
    ASSERT_EQ(service->search(testAttributes(), matches), errSecSuccess);
    const std::string item = matches.unlocked.at(0);
    ASSERT_EQ(SecKeychainItemDelete(*findReference()), errSecSuccess);
    std::string secret;
    EXPECT_EQ(service->getSecret(item, secret), errSecItemNotFound);
    EXPECT_EQ(service->setSecret(item, "{}"), errSecItemNotFound);
    EXPECT_EQ(service->deleteItem(item), errSecItemNotFound);
}
