// What the platform promises of the user's keychain, whatever the keychain is.

#include "Platform/Security.h"

#include "KeychainUnderTest.h"
#include "Support/KeychainQueries.h"

#include <gtest/gtest.h>

using namespace platform;
using namespace std::string_literals;

namespace {

class Keychain : public testing::Test {
protected:
    KeychainUnderTest keychain;
};

SecKeychainItemRef findReference() {
    SecResult result;
    EXPECT_EQ(SecItemCopyMatching(referenceQuery(), result), errSecSuccess);
    return std::get<SecKeychainItemRef>(std::move(result));
}

} // namespace

TEST_F(Keychain, FindsNothingInAnEmptyKeychain) {
    SecResult result = itemIdentity();
    EXPECT_EQ(SecItemCopyMatching(referenceQuery(), result), errSecItemNotFound);
    EXPECT_EQ(std::get<SecDictionary>(result), itemIdentity());
    EXPECT_EQ(SecItemCopyMatching(recordQuery(), result), errSecItemNotFound);
    EXPECT_EQ(std::get<SecDictionary>(result), itemIdentity());
    EXPECT_EQ(SecItemUpdate(referenceQuery(), valueSet("new")), errSecItemNotFound);
    EXPECT_EQ(keychain.numberOfItems(testService), 0U);
}

TEST_F(Keychain, ReadsBackWhatItAdded) {
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

TEST_F(Keychain, HandsBackOnlyWhatTheItemHas) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    EXPECT_EQ(readItem().second, with(itemIdentity(), valueSet("token")));
}

TEST_F(Keychain, HandsBackOnlyWhatIsAskedFor) {
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

TEST_F(Keychain, KeepsBytesExactly) {
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

TEST_F(Keychain, UpdatesExactlyWhatTheChangeSetHolds) {
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

TEST_F(Keychain, AddsNoSecondItem) {
    ASSERT_EQ(addItem("first"), errSecSuccess);
    EXPECT_EQ(addItem("second"), errSecDuplicateItem);
    EXPECT_EQ(SecItemAdd(with(with(itemIdentity(), valueSet("third")),
                              {{kSecAttrAccount, std::string("a@example.org")}})),
              errSecDuplicateItem);
    EXPECT_EQ(readValue(), "first");
    EXPECT_EQ(keychain.numberOfItems(testService), 1U);
}

TEST_F(Keychain, DeletesTheItemThatTheReferenceMeans) {
    ASSERT_EQ(addItem("token"), errSecSuccess);
    const SecKeychainItemRef item = findReference();
    EXPECT_EQ(SecKeychainItemDelete(*item), errSecSuccess);
    EXPECT_EQ(statusOfReading(), errSecItemNotFound);
    EXPECT_EQ(SecKeychainItemDelete(*item), errSecItemNotFound);
}

TEST_F(Keychain, NeitherSeesNorTouchesItemsOfAnotherCreatorOrService) {
    const std::vector<std::pair<std::string, std::string>> others{{testService, "OTHR"},
                                                                  {"Another", "NRVL"}};
    for (const auto& [service, creator] : others)
        keychain.storeAsAnotherProgram(service, creator, "theirs");
    EXPECT_EQ(statusOfReading(), errSecItemNotFound);
    EXPECT_EQ(SecItemUpdate(referenceQuery(), valueSet("mine")), errSecItemNotFound);
    ASSERT_EQ(addItem("mine"), errSecSuccess);
    ASSERT_EQ(SecItemUpdate(referenceQuery(), valueSet("mine too")), errSecSuccess);
    EXPECT_EQ(readValue(), "mine too");
    ASSERT_EQ(SecKeychainItemDelete(*findReference()), errSecSuccess);
    for (const auto& [service, creator] : others)
        EXPECT_EQ(keychain.readAsAnotherProgram(service, creator), "theirs");
}

TEST_F(Keychain, RefusesWhatMakesNoSense) {
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

TEST_F(Keychain, RefusesSetsThatMakeNoSense) {
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

TEST_F(Keychain, HasATextForEveryStatus) {
    for (const OSStatus status : {errSecSuccess, errSecParam, errSecItemNotFound, OSStatus(-1)})
        EXPECT_NE(SecCopyErrorMessageString(status), "");
    EXPECT_NE(SecCopyErrorMessageString(errSecParam),
              SecCopyErrorMessageString(errSecItemNotFound));
}
