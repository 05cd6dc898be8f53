#pragma once

#include "Platform/Security.h"

#include <string>
#include <utility>

/// Queries and sets for the items of the keychain's tests.

inline constexpr const char* testService = "Keychain test";
inline constexpr std::int32_t testCreator = 0x4E52564C; // "NRVL"

inline platform::SecDictionary itemIdentity(const std::string& service = testService) {
    using namespace platform;
    return {{kSecClass, kSecClassGenericPassword},
            {kSecAttrService, service},
            {kSecAttrCreator, testCreator}};
}

inline platform::SecDictionary with(platform::SecDictionary dictionary,
                                    const platform::SecDictionary& more) {
    for (const auto& [key, value] : more)
        dictionary.insert_or_assign(key, value);
    return dictionary;
}

inline platform::SecDictionary referenceQuery() {
    return with(itemIdentity(), {{platform::kSecReturnRef, true},
                                 {platform::kSecMatchLimit, platform::kSecMatchLimitOne}});
}

inline platform::SecDictionary recordQuery() {
    return with(itemIdentity(), {{platform::kSecReturnAttributes, true},
                                 {platform::kSecReturnData, true},
                                 {platform::kSecMatchLimit, platform::kSecMatchLimitOne}});
}

inline platform::SecDictionary valueSet(const std::string& value) {
    return {{platform::kSecValueData, platform::encodeUTF8(value)}};
}

inline platform::OSStatus addItem(const std::string& value) {
    return platform::SecItemAdd(with(itemIdentity(), valueSet(value)));
}

/// The status of reading the item, and what was read.
inline std::pair<platform::OSStatus, platform::SecDictionary> readItem() {
    platform::SecResult result;
    const platform::OSStatus status = platform::SecItemCopyMatching(recordQuery(), result);
    auto* record = std::get_if<platform::SecDictionary>(&result);
    return {status, record != nullptr ? std::move(*record) : platform::SecDictionary()};
}

inline platform::OSStatus statusOfReading() {
    return readItem().first;
}

/// The value that reading the item yields, as text; empty when there is none.
inline std::string readValue() {
    const auto [status, record] = readItem();
    const auto entry = record.find(platform::kSecValueData);
    return entry == record.end()
               ? ""
               : platform::decodeUTF8(std::get<platform::Data>(entry->second)).value_or("");
}
