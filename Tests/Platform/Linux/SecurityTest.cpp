#include "Platform/Security.h"

#include "KeychainQueries.h"
#include "Platform/Linux/SecretService.h"
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
    return std::move(std::get<SecKeychainItemRef>(result));
}

void addUpdateAndDeleteItem() {
    EXPECT_EQ(statusOfReading(), errSecItemNotFound);
    EXPECT_EQ(SecItemUpdate(referenceQuery(), valueSet("new")), errSecItemNotFound);
    ASSERT_EQ(addItem("mine"), errSecSuccess);
    ASSERT_EQ(SecItemUpdate(referenceQuery(), valueSet("mine too")), errSecSuccess);
    ASSERT_EQ(SecKeychainItemDelete(*findReference()), errSecSuccess);
}

} // namespace

TEST_F(Security, FindsNothingInAnEmptyKeychain) {
    SecResult result = itemIdentity();
    EXPECT_EQ(SecItemCopyMatching(referenceQuery(), result), errSecItemNotFound);
    EXPECT_EQ(std::get<SecDictionary>(result), itemIdentity());
    EXPECT_EQ(SecItemCopyMatching(recordQuery(), result), errSecItemNotFound);
    EXPECT_EQ(std::get<SecDictionary>(result), itemIdentity());
    EXPECT_EQ(SecItemUpdate(referenceQuery(), valueSet("new")), errSecItemNotFound);
    EXPECT_EQ(seenByAnotherProgram(testAttributes()), "");
}

TEST_F(Security, ReadsBackWhatItAdded) {
    const SecDictionary contents{{kSecValueData, encodeUTF8("token")},
                                 {kSecAttrAccount, std::string("gr\xc3\xbcn@example.org")},
                                 {kSecAttrGeneric, encodeUTF8("host:8443")}};
    ASSERT_EQ(
        SecItemAdd(with(with(itemIdentity(), contents), {{kSecMatchLimit, kSecMatchLimitOne}})),
        errSecSuccess);
    const auto [status, record] = readItem();
    EXPECT_EQ(status, errSecSuccess);
    EXPECT_EQ(record, with(itemIdentity(), contents));
}

TEST_F(Security, HandsBackOnlyWhatTheItemHas) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    EXPECT_EQ(readItem().second, with(itemIdentity(), valueSet("token")));
}

TEST_F(Security, HandsBackOnlyWhatIsAskedFor) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    SecResult result;
    EXPECT_EQ(SecItemCopyMatching(with(itemIdentity(), {{kSecReturnData, true}}), result),
              errSecSuccess);
    EXPECT_EQ(std::get<SecDictionary>(result), valueSet("token"));
    EXPECT_EQ(SecItemCopyMatching(with(itemIdentity(), {{kSecReturnAttributes, true}}), result),
              errSecSuccess);
    EXPECT_EQ(std::get<SecDictionary>(result), itemIdentity());
    EXPECT_EQ(SecItemCopyMatching(referenceQuery(), result), errSecSuccess);
    EXPECT_NE(std::get<SecKeychainItemRef>(result), nullptr);
}

TEST_F(Security, KeepsBytesExactly) {
    Data everyByte(256);
    for (std::size_t index = 0; index < everyByte.size(); ++index)
        everyByte[index] = static_cast<std::byte>(255 - index);
    const std::vector<Data> values{
        {}, encodeUTF8("\xc3\x28 nul\0"s), everyByte, Data(1 << 20, std::byte{0xFE})};
    ASSERT_EQ(addItem("first"), errSecSuccess);
    for (const Data& bytes : values) {
        const SecDictionary change{{kSecValueData, bytes}, {kSecAttrGeneric, bytes}};
        ASSERT_EQ(SecItemUpdate(referenceQuery(), change), errSecSuccess);
        EXPECT_TRUE(readItem().second == with(itemIdentity(), change)) << bytes.size() << " bytes";
    }
}

TEST_F(Security, UpdatesExactlyWhatTheChangeSetHolds) {
    const SecDictionary contents{{kSecValueData, encodeUTF8("token")},
                                 {kSecAttrAccount, std::string("a@example.org")},
                                 {kSecAttrGeneric, encodeUTF8("host")}};
    ASSERT_EQ(SecItemAdd(with(itemIdentity(), contents)), errSecSuccess);
    SecDictionary expected = with(itemIdentity(), contents);
    const std::vector<SecDictionary> changes{{{kSecValueData, encodeUTF8("second")}},
                                             {{kSecAttrAccount, std::string("b@example.org")}},
                                             {{kSecAttrGeneric, Data()}},
                                             {{kSecAttrAccount, std::string()}},
                                             {}};
    for (const SecDictionary& change : changes) {
        EXPECT_EQ(SecItemUpdate(referenceQuery(), change), errSecSuccess);
        expected = with(expected, change);
        EXPECT_EQ(readItem().second, expected);
    }
}

TEST_F(Security, AddsNoSecondItem) {
    ASSERT_EQ(addItem("first"), errSecSuccess);
    EXPECT_EQ(addItem("second"), errSecDuplicateItem);
    EXPECT_EQ(readValue(), "first");
    session.lockKeyring();
    EXPECT_EQ(addItem("second"), errSecDuplicateItem);
}

TEST_F(Security, DeletesTheItemThatTheReferenceMeans) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    const SecKeychainItemRef item = findReference();
    EXPECT_EQ(SecKeychainItemDelete(*item), errSecSuccess);
    EXPECT_EQ(statusOfReading(), errSecItemNotFound);
    EXPECT_EQ(SecKeychainItemDelete(*item), errSecItemNotFound);
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
    EXPECT_EQ(numberOf("attribute.", seen), testAttributes().size()) << seen;
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
        EXPECT_EQ(secretTool({"lookup"}, other).standardOutput, secret);
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

TEST_F(Security, RefusesWhatMakesNoSense) {
    const std::vector<SecDictionary> queries{
        {},
        {{kSecClass, kSecClassGenericPassword}, {kSecAttrService, testService}},
        with(itemIdentity(), {{kSecClass, std::string("inet")}}),
        with(itemIdentity(), {{kSecAttrCreator, std::string("NRVL")}}),
        with(itemIdentity(), {{kSecAttrService, encodeUTF8("bytes")}}),
        with(itemIdentity(), {{kSecAttrService, std::string("\xff")}}),
        with(itemIdentity(), {{kSecAttrService, "a\0b"s}}),
        with(itemIdentity(), {{kSecMatchLimit, std::string("all")}}),
        with(itemIdentity(), {{kSecReturnRef, std::string("yes")}}),
        with(recordQuery(), {{kSecAttrAccount, std::string("a")}})};
    for (const SecDictionary& query : queries) {
        SecResult result;
        EXPECT_EQ(SecItemCopyMatching(query, result), errSecParam);
        EXPECT_EQ(SecItemUpdate(query, valueSet("new")), errSecParam);
    }
    SecResult result;
    EXPECT_EQ(SecItemCopyMatching(with(recordQuery(), {{kSecReturnRef, true}}), result),
              errSecParam);
}

TEST_F(Security, RefusesSetsThatMakeNoSense) {
    const std::vector<SecDictionary> sets{{{kSecValueData, std::string("text")}},
                                          {{kSecAttrAccount, encodeUTF8("bytes")}},
                                          {{kSecAttrAccount, std::string("\xff")}},
                                          {{kSecAttrGeneric, true}},
                                          {{kSecReturnRef, true}}};
    ASSERT_EQ(addItem("token"), errSecSuccess);
    for (const SecDictionary& set : sets) {
        EXPECT_EQ(SecItemUpdate(referenceQuery(), set), errSecParam);
        const SecDictionary value = with(itemIdentity("Another"), valueSet("token"));
        EXPECT_EQ(SecItemAdd(with(value, set)), errSecParam);
    }
    EXPECT_EQ(SecItemAdd(itemIdentity("Another")), errSecParam);
    EXPECT_EQ(readItem().second, with(itemIdentity(), valueSet("token")));
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
