#include "Platform/KeychainQuery.h"

#include <algorithm>
#include <initializer_list>

namespace platform {

namespace {

template <typename Value>
bool isAbsentOr(const SecDictionary& dictionary, std::initializer_list<SecKey> keys) {
    return std::all_of(keys.begin(), keys.end(), [&](SecKey key) {
        return !dictionary.contains(key) || findValue<Value>(dictionary, key) != nullptr;
    });
}

bool holdsOnly(const SecDictionary& dictionary, std::initializer_list<SecKey> keys) {
    return std::all_of(dictionary.begin(), dictionary.end(), [&](const auto& entry) {
        return std::find(keys.begin(), keys.end(), entry.first) != keys.end();
    });
}

bool isMatchLimitOneOrAbsent(const SecDictionary& query) {
    const auto* limit = findValue<std::string>(query, kSecMatchLimit);
    return !query.contains(kSecMatchLimit) || (limit != nullptr && *limit == kSecMatchLimitOne);
}

bool saysWhichItem(const SecDictionary& dictionary) {
    const auto* itemClass = findValue<std::string>(dictionary, kSecClass);
    const auto* service = findValue<std::string>(dictionary, kSecAttrService);
    const auto* creator = findValue<std::int32_t>(dictionary, kSecAttrCreator);
    return itemClass != nullptr && *itemClass == kSecClassGenericPassword && service != nullptr &&
           creator != nullptr && isValidUTF8(*service) && service->find('\0') == std::string::npos;
}

bool hasSoundValues(const SecDictionary& set) {
    const auto* account = findValue<std::string>(set, kSecAttrAccount);
    return isAbsentOr<Data>(set, {kSecValueData, kSecAttrGeneric}) &&
           isAbsentOr<std::string>(set, {kSecAttrAccount}) &&
           (account == nullptr || isValidUTF8(*account));
}

} // namespace

bool asks(const SecDictionary& query, SecKey key) {
    const bool* value = findValue<bool>(query, key);
    return value != nullptr && *value;
}

bool asksForRecord(const SecDictionary& query) {
    return asks(query, kSecReturnAttributes) || asks(query, kSecReturnData);
}

bool isSoundQuery(const SecDictionary& query) {
    return saysWhichItem(query) &&
           holdsOnly(query, {kSecClass, kSecAttrService, kSecAttrCreator, kSecReturnRef,
                             kSecReturnAttributes, kSecReturnData, kSecMatchLimit}) &&
           isAbsentOr<bool>(query, {kSecReturnRef, kSecReturnAttributes, kSecReturnData}) &&
           isMatchLimitOneOrAbsent(query) && !(asksForRecord(query) && asks(query, kSecReturnRef));
}

bool isSoundChangeSet(const SecDictionary& set) {
    return holdsOnly(set, {kSecValueData, kSecAttrAccount, kSecAttrGeneric}) && hasSoundValues(set);
}

bool isSoundItem(const SecDictionary& set) {
    return saysWhichItem(set) && hasSoundValues(set) && set.contains(kSecValueData) &&
           holdsOnly(set, {kSecClass, kSecAttrService, kSecAttrCreator, kSecValueData,
                           kSecAttrAccount, kSecAttrGeneric, kSecMatchLimit});
}

} // namespace platform
